// The names of macros, which are read from the files as they are, whether a condition leaves a line
// out or not.
#include <algorithm>
#include <cctype>

#include "name_index.h"

namespace norvane::driver::lsp {
namespace {

// The name in "define NAME"; none for another directive.
bool is_definition(const std::vector<Word>& words, std::size_t i, std::string_view text) {
    if (i == 0 || words[i - 1].text != "define" || words[i].kind != TokenKind::word) return false;
    const auto* begin = text.data();
    const std::size_t define = static_cast<std::size_t>(words[i - 1].text.data() - begin);
    const std::size_t hash = text.rfind('#', define);
    if (hash == text.npos) return false;
    const std::string_view between = text.substr(hash + 1, define - hash - 1);
    return between.find_first_not_of(" \t") == between.npos;
}

// A line that ends with a backslash goes on.
std::string_view rest_of_definition(std::string_view text, std::string_view name) {
    const std::string_view rest = text.substr(static_cast<std::size_t>(name.data() - text.data()));
    std::size_t end = rest.find('\n');
    while (end != rest.npos && end > 0 && rest[end - 1] == '\\')
        end = rest.find('\n', end + 1);
    return rest.substr(0, end);
}

void add(NameIndex& index, Symbol symbol) {
    index.symbols.push_back(std::move(symbol));
    index.macros[index.symbols.back().name].push_back(index.symbols.size() - 1);
}

bool is_at(const Symbol& symbol, const Spot& spot) {
    return symbol.spot.is_known() && *symbol.spot.file == *spot.file &&
           symbol.spot.line == spot.line && symbol.spot.column == spot.column;
}

// The definition at the place itself, else the last one before it that counts. One that stands in
// no file comes before all others.
std::size_t definition_for(const NameIndex& index, const std::vector<std::size_t>& all,
                           const Spot& use, const Definitions& definitions) {
    std::size_t found = none;
    std::size_t order = 0;
    for (const std::size_t each : all) {
        const Symbol& symbol = index.symbols[each];
        if (is_at(symbol, use)) return each;
        const Spot& spot = symbol.spot;
        const std::size_t own =
            spot.is_known() ? definitions.order_before(*spot.file, spot.line, *use.file, use.line)
                            : 0;
        if (own == none || (found != none && own < order)) continue;
        found = each;
        order = own;
    }
    if (found != none) return found;
    const auto counting = std::ranges::find_if(
        all, [&index](std::size_t each) { return !index.symbols[each].is_left_out; });
    return counting == all.end() ? all.front() : *counting;
}

} // namespace

std::vector<Word> words_in_file(const std::string* file, std::string_view text) {
    std::vector<Word> words;
    const Scan found = scan(text);
    unsigned line = 1;
    std::size_t start = 0;
    std::size_t at = 0;
    const auto add = [&](const Token& token, std::size_t base) {
        const std::size_t offset = base + token.offset;
        for (; at < offset; ++at) {
            if (text[at] != '\n') continue;
            ++line;
            start = at + 1;
        }
        if (token.kind != TokenKind::word && token.kind != TokenKind::string) return;
        const auto column = static_cast<unsigned>(offset - start + 1);
        words.push_back({text.substr(offset, token.length),
                         token.kind,
                         {file, line, column, column + static_cast<unsigned>(token.length)}});
    };
    auto directive = found.directives.begin();
    const auto add_directives = [&](std::size_t before) {
        for (; directive != found.directives.end() && *directive < before; ++directive) {
            std::string_view rest = text.substr(*directive + 1);
            rest = rest.substr(0, rest.find('\n'));
            for (const Token& token : scan(rest).tokens)
                add(token, *directive + 1);
        }
    };
    for (const Token& token : found.tokens) {
        add_directives(token.offset);
        add(token, 0);
    }
    add_directives(text.size());
    return words;
}

void read_macro_definitions(NameIndex& index, const std::string& file, std::string_view text,
                            const Definitions& definitions) {
    if (text.find("define") == text.npos) return;
    const std::string* name = index.hold_name(file);
    const std::vector<Word> words = words_in_file(name, text);
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (!is_definition(words, i, text)) continue;
        const Word& word = words[i];
        Symbol symbol{SymbolKind::macro, *index.hold_name(std::string(word.text)), word.spot,
                      word.spot, word.spot};
        symbol.is_left_out = !definitions.counts(*name, word.spot.line);
        symbol.detail = "#define " + std::string(rest_of_definition(text, word.text));
        add(index, std::move(symbol));
    }
}

void add_macro(NameIndex& index, const std::string& definition) {
    const std::size_t end = definition.find('=');
    Symbol symbol{SymbolKind::macro, *index.hold_name(definition.substr(0, end)), {}, {}, {}};
    symbol.detail = "#define " + definition.substr(0, end);
    if (end != definition.npos) symbol.detail += " " + definition.substr(end + 1);
    add(index, std::move(symbol));
}

void read_macro_uses(NameIndex& index, const std::string& file, std::string_view text,
                     const Definitions& definitions) {
    if (index.macros.empty()) return;
    const std::string* name = index.hold_name(file);
    for (const Word& word : words_in_file(name, text)) {
        const auto found = index.macros.find(word.text);
        if (found == index.macros.end()) continue;
        const std::size_t symbol = definition_for(index, found->second, word.spot, definitions);
        index.add(word.spot, symbol, is_at(index.symbols[symbol], word.spot));
    }
}

} // namespace norvane::driver::lsp
