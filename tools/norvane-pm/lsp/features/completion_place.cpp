#include "completion_place.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "unit.h"

namespace norvane::driver::lsp {
namespace {

constexpr auto ends_of_operands =
    std::to_array<std::string_view>({")", "]", "true", "false", "SOME", "NONE", "esac"});

bool is_name_byte(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

} // namespace

CompletionPlace::CompletionPlace(const Context& context)
    : context_(context), names_(context.unit.names()),
      language_(context.document.is_calculation ? Language::calculation : Language::model),
      position_(position_of(member(context.params, "position"))) {
    const Lines& lines = context.document.lines;
    part_ = read_words(lines.text().substr(0, lines.offset(position_)));
}

CompletionPlace::Part CompletionPlace::read_words(const std::string& before) {
    const Scan found = scan(before, 0, language_);
    if (found.comment_depth > 0) return Part::comment;
    for (const Token& token : found.tokens)
        words_.push_back(before.substr(token.offset, token.length));
    if (words_.empty()) return ends_in_line_comment(before) ? Part::comment : Part::code;
    const std::string& last = words_.back();
    if (last[0] == '"' && (last.size() == 1 || last.back() != '"')) {
        words_.pop_back();
        const std::size_t quote = found.tokens.back().offset;
        if (before.find('\n', quote) != before.npos) return Part::comment; // no text has two lines
        find_text(quote);
        return Part::text;
    }
    const Token& token = found.tokens.back();
    if (ends_in_line_comment(std::string_view(before).substr(token.offset + token.length)))
        return Part::comment;
    if (is_name_byte(before.back())) words_.pop_back();
    return Part::code;
}

// The next quote on the line closes the text, unless what is between belongs to a rule.
void CompletionPlace::find_text(std::size_t quote) {
    const Lines& lines = context_.document.lines;
    const std::size_t here = lines.offset(position_);
    const std::size_t end =
        std::min(lines.text().find_first_of("\"\n=<>();|,", here), lines.text().size());
    is_text_closed_ = end < lines.text().size() && lines.text()[end] == '"';
    text_range_ = {lines.position(quote + 1), is_text_closed_ ? lines.position(end) : position_};
}

// Of what follows the last word.
bool CompletionPlace::ends_in_line_comment(std::string_view text) const {
    const std::size_t line = text.rfind('\n') + 1; // 0 where there is none
    return language_ == Language::calculation && text.find("//", line) != text.npos;
}

bool CompletionPlace::follows_operand() const {
    const std::string_view word = back();
    if (word.empty()) return false;
    if (std::ranges::count(ends_of_operands, word) > 0 || word[0] == '"') return true;
    return is_name_byte(word[0]) && !is_reserved(word, language_);
}

bool CompletionPlace::is_around(const Symbol& symbol) const {
    if (!symbol.first.is_known() || !symbol.last.is_known() ||
        *symbol.first.file != context_.document.path)
        return false;
    const auto line = static_cast<unsigned>(position_.line + 1);
    return symbol.first.line <= line && (symbol.is_open || line <= symbol.last.line);
}

// Of a name alone: what the declaration around the position has, or else what all see.
std::size_t CompletionPlace::symbol_of(std::string_view name) const {
    for (std::size_t i = 0; i < names_.symbols.size(); ++i) {
        const Symbol& symbol = names_.symbols[i];
        if (symbol.kind == SymbolKind::field && symbol.name == name && symbol.container != none &&
            is_around(names_.symbols[symbol.container]))
            return i;
    }
    const auto found = names_.globals.find(name);
    return found == names_.globals.end() ? none : found->second;
}

const TypeNode* CompletionPlace::type_before(std::size_t word) const {
    const std::vector<std::string_view> steps = path_steps(word);
    if (steps.empty()) return nullptr;
    const std::size_t base = symbol_of(steps.back());
    if (base == none) return nullptr;
    std::size_t type = names_.symbols[base].type;
    for (auto step = steps.rbegin() + 1; step != steps.rend(); ++step)
        type = type_of_step(type, *step);
    return names_.real(type);
}

// Last first, with "[" for an index; none where the path lacks its name.
std::vector<std::string_view> CompletionPlace::path_steps(std::size_t end) const {
    std::vector<std::string_view> steps;
    std::size_t i = end;
    while (i > 0) {
        i = take_indices(i, steps);
        if (i == 0) return {};
        steps.push_back(words_[--i]);
        if (i == 0 || words_[i - 1] != ".") break;
        --i;
    }
    return steps;
}

// Those that end before a word. Returns where the first of them begins.
std::size_t CompletionPlace::take_indices(std::size_t i,
                                          std::vector<std::string_view>& steps) const {
    unsigned depth = 0;
    while (i > 0 && (words_[i - 1] == "]" || depth > 0)) {
        if (words_[i - 1] == "]") ++depth;
        if (words_[i - 1] == "[" && --depth == 0) steps.push_back("[");
        --i;
    }
    return i;
}

std::size_t CompletionPlace::type_of_step(std::size_t type, std::string_view step) const {
    const TypeNode* node = names_.real(type);
    if (!node) return none;
    if (step == "[") return node->kind == TypeNode::Kind::array ? node->base : none;
    if (step == "SOME") return node->kind == TypeNode::Kind::optional ? node->base : none;
    const std::size_t found = names_.field_of(*node, step);
    return found == none ? none : names_.symbols[found].type;
}

} // namespace norvane::driver::lsp
