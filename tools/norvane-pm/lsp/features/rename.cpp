// Renames a declaration, where this cannot change the meaning of another name.
#include <algorithm>
#include <cctype>
#include <set>
#include <tuple>
#include <vector>

#include "norvane/proj.hpp"

#include "connection.h"
#include "places.h"
#include "requests.h"
#include "text.h"
#include "tokens.h"
#include "unit.h"

namespace norvane::driver::lsp {
namespace {

[[noreturn]] void refuse(const std::string& why) {
    throw RequestError{ErrorCode::request_failed, why};
}

bool is_of_optionals(std::string_view word) {
    return word == "SOME" || word == "NONE";
}

bool is_plain_name(std::string_view name, Language language) {
    return (language != Language::model || !is_of_optionals(name)) && !name.empty() &&
           !std::isdigit(static_cast<unsigned char>(name[0])) && !is_reserved(name, language) &&
           std::ranges::all_of(name, [](char c) {
               return c == '_' || (static_cast<unsigned char>(c) < 0x80 &&
                                   std::isalnum(static_cast<unsigned char>(c)));
           });
}

const Symbol& renamed_symbol(const Context& context) {
    const Occurrence* name = name_at(context);
    if (!name) refuse("there is no name to rename here");
    const Symbol& symbol = context.unit.names().symbols[name->symbol];
    if (symbol.kind == SymbolKind::macro) refuse("macros cannot be renamed");
    if (symbol.kind == SymbolKind::name_space) refuse("namespaces cannot be renamed");
    if (context.unit.is_calculation() && symbol.kind < SymbolKind::name_space)
        refuse("this name is the model's: rename it there");
    if (!symbol.spot.is_known() || context.unit.names().in_macros.contains(name->symbol))
        refuse("the name stands in a macro too");
    return symbol;
}

// The name as it is written in the file.
std::string word_text(const Spot& spot, const Documents& documents) {
    const Lines* lines = documents.lines(*spot.file);
    const Range range = range_of(spot, documents);
    const std::size_t begin = lines->offset(range.start);
    return lines->text().substr(begin, lines->offset(range.end) - begin);
}

Language language_of(const Context& context) {
    return context.unit.is_calculation() ? Language::calculation : Language::model;
}

// Macros that stand in no file: those of the settings, and what the preprocessor defines itself.
void check_macros(const Context& context, const std::string& new_name) {
    if (context.unit.is_calculation()) return;
    if (new_name.starts_with("__")) refuse("names that begin with '__' are the preprocessor's");
    for (const std::string& option : context.unit.settings().macros)
        if (option == "-D" + new_name || option.starts_with("-D" + new_name + "="))
            refuse("'" + new_name + "' is a macro of the settings");
}

// As the file has it, and the library reads it: byte by byte.
std::string bytes_in(Coding coding, const std::string& utf8) {
    return coding == Coding::utf8 ? utf8 : utf8_to_codepage(utf8);
}

// A label is any text that stands in quotes.
void check_label(const std::string& label) {
    const bool has_other_bytes = std::ranges::any_of(label, [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == '"' || c == '\\' || c == '\x7f';
    });
    if (label.empty() || has_other_bytes)
        refuse("a label is a text without quotes, backslashes and control characters");
    if (codepage_to_utf8(utf8_to_codepage(label)) != label)
        refuse("code page 1252 lacks letters of '" + label + "'");
}

std::string place_text(const Spot& spot) {
    return *spot.file + ":" + std::to_string(spot.line);
}

// Also of a label that the word gives in quotes.
bool is_name(const Word& word, std::string_view name, bool is_label) {
    if (word.kind != TokenKind::string) return word.text == name;
    return is_label && word.text.substr(1, word.text.size() - 2) == name;
}

// Pieces that stand side by side are one text, of which an edit would change a part.
void check_pieces(const Context& context, const Symbol& symbol) {
    const Words* words = context.unit.names().words();
    for (std::size_t i = 0; words && i < words->size(); ++i) {
        const bool is_first =
            (*words)[i].kind == TokenKind::string && (*words)[i + 1].kind == TokenKind::string;
        if (!is_first) continue;
        std::string text;
        const Spot& spot = (*words)[i].spot;
        for (; (*words)[i].kind == TokenKind::string; ++i)
            text += (*words)[i].text.substr(1, (*words)[i].text.size() - 2);
        if (text == symbol.name || (spot.is_known() && spot == symbol.spot))
            refuse("the label is written in pieces" +
                   (spot.is_known() ? " at " + place_text(spot) : ""));
    }
}

// A name in a part that a condition leaves out, or in a macro, would keep its old form; and where
// the new one stands already, it would get another meaning.
void check_words(const Context& context, const Symbol& symbol, const std::string& name) {
    const std::string old_name(symbol.name);
    const std::string new_name =
        bytes_in(context.documents.lines(*symbol.spot.file)->coding(), name);
    const bool is_label = symbol.kind == SymbolKind::label;
    const auto check = [&](const Word& word) {
        if (is_name(word, new_name, is_label))
            refuse("'" + name + "' stands at " + place_text(word.spot) + " already");
        const Spot& spot = word.spot;
        if (is_name(word, old_name, is_label) &&
            !context.unit.names().at(*spot.file, spot.line, spot.column))
            refuse("'" + to_utf8(old_name) + "' stands at " + place_text(spot) +
                   " too, in a macro, in a part that is left out, or with an unknown meaning");
    };
    for (const auto& [file, bytes] : context.unit.sources()) {
        if (!context.unit.is_calculation()) {
            for (const Word& word : words_in_file(&file, bytes))
                check(word);
        } else if (file == context.document.path) {
            const Words words(file, bytes);
            for (std::size_t i = 0; i < words.size(); ++i)
                check(words[i]);
        }
    }
}

void check_is_open(const Context& context, const std::string& includer, const std::string& file) {
    if (std::ranges::none_of(context.all,
                             [&](const Unit* unit) { return unit->sources().contains(includer); }))
        refuse(includer + " includes " + file + " too: open it first");
}

// Models that include the file of the declaration would keep the old name, unless they are open.
void check_includers(const Context& context, const std::string& file) {
    for (const Settings& model : named_models(file, context.documents))
        if (files_of(model.model, model.directories, context.documents).contains(file))
            check_is_open(context, model.model, file);
    std::vector<std::string> files = {file};
    for (std::size_t i = 0; i < files.size(); ++i)
        for (const std::string& includer :
             includers_of(files[i], context.unit.settings(), context.documents)) {
            check_is_open(context, includer, files[i]);
            if (std::ranges::find(files, includer) == files.end()) files.push_back(includer);
        }
}

// In all open models that have the declaration.
std::vector<Occurrence> occurrences_of(const Context& context, const Symbol& symbol,
                                       const std::string& new_name) {
    std::vector<Occurrence> found;
    for (const Unit* unit : context.all) {
        const bool is_own = unit == &context.unit;
        if (!is_own && (unit->is_calculation() || !unit->sources().contains(*symbol.spot.file)))
            continue;
        const Context other{context.documents, context.document, *unit,
                            context.all,       context.params,   context.client};
        check_macros(other, new_name);
        check_words(other, symbol, new_name);
        if (symbol.kind == SymbolKind::label) check_pieces(other, symbol);
        const Occurrence* name =
            unit->names().at(*symbol.spot.file, symbol.spot.line, symbol.spot.column);
        if (!name) continue;
        if (unit->names().in_macros.contains(name->symbol))
            refuse("a macro has the name in " + unit->settings().model);
        const std::vector<Occurrence> own = unit->names().of_symbol(name->symbol);
        found.insert(found.end(), own.begin(), own.end());
    }
    return found;
}

// Letters beyond ASCII are other bytes in files of another code, and so another label.
void check_coding(const Context& context, const std::vector<Occurrence>& occurrences,
                  const std::string& new_name) {
    if (occurrences.empty()) return;
    const auto bytes = [&](const Occurrence& each) {
        return bytes_in(context.documents.lines(*each.spot.file)->coding(), new_name);
    };
    const std::string first = bytes(occurrences.front());
    for (const Occurrence& each : occurrences)
        if (bytes(each) != first)
            refuse(*each.spot.file + " and " + *occurrences.front().spot.file +
                   " are in different codes: keep to letters of ASCII");
}

} // namespace

Json prepare_rename(const Context& context) {
    const Symbol& symbol = renamed_symbol(context);
    const Range range = range_of(name_at(context)->spot, context.documents);
    return {{"range", to_json(range)}, {"placeholder", to_utf8(symbol.name)}};
}

Json rename(const Context& context) {
    const Symbol& symbol = renamed_symbol(context);
    const std::string new_name = text_of(member(context.params, "newName"));
    const bool is_label = symbol.kind == SymbolKind::label;
    const bool is_plain = is_plain_name(new_name, language_of(context));
    if (!is_plain && (!is_label || is_of_optionals(new_name)))
        refuse("'" + new_name + "' cannot be a name");
    if (!is_plain) check_label(new_name);
    check_includers(context, *symbol.spot.file);
    std::set<std::tuple<std::string, unsigned, unsigned>> known; // models may share a part
    Json changes = Json::object();
    const std::vector<Occurrence> occurrences = occurrences_of(context, symbol, new_name);
    check_coding(context, occurrences, new_name);
    for (const Occurrence& each : occurrences) {
        if (!known.emplace(*each.spot.file, each.spot.line, each.spot.column).second) continue;
        const bool is_quoted = word_text(each.spot, context.documents).starts_with('"');
        const std::string text = is_quoted || !is_plain ? "\"" + new_name + "\"" : new_name;
        changes[context.documents.uri(*each.spot.file)].push_back(
            {{"range", to_json(range_of(each.spot, context.documents))}, {"newText", text}});
    }
    return {{"changes", changes}};
}

} // namespace norvane::driver::lsp
