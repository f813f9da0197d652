#include "completion_items.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "places.h"
#include "text.h"
#include "tokens.h"

namespace norvane::driver::lsp {
namespace {

bool is_plain_name(std::string_view text) {
    const Scan found = scan(text);
    return found.tokens.size() == 1 && found.tokens[0].kind == TokenKind::word &&
           found.tokens[0].length == text.size() && !is_reserved(text);
}

// For a client that does not fill in places: each place with its own text. "$1" repeats
// "${1:text}".
std::string plain_text(std::string_view snippet) {
    std::map<char, std::string> texts;
    std::string plain;
    for (std::size_t i = 0; i < snippet.size(); ++i) {
        if (snippet[i] != '$') {
            plain += snippet[i];
            continue;
        }
        if (snippet[++i] != '{') {
            plain += texts[snippet[i]];
            continue;
        }
        const std::size_t end = snippet.find('}', i);
        const std::string_view text = snippet.substr(i + 3, end - i - 3);
        texts[snippet[i + 1]] = text;
        plain += text;
        i = end;
    }
    return plain;
}

std::string first_line(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

} // namespace

void CompletionItems::add(const std::string& name, ItemKind kind, Rank rank,
                          const std::string& detail, const std::string& text) {
    if (!known_.insert(name).second) return;
    std::string order(1, static_cast<char>(rank));
    if (rank == Rank::fitting) order += std::to_string(1'000'000 + items_.size());
    Json item = {{"label", name}, {"kind", static_cast<int>(kind)}, {"sortText", order + name}};
    if (!detail.empty()) item["detail"] = detail;
    const bool is_filled_in = kind == ItemKind::snippet && context_.client.takes_snippets;
    if (is_filled_in) item["insertTextFormat"] = 2;
    if (!text.empty())
        item["insertText"] = kind == ItemKind::snippet && !is_filled_in ? plain_text(text) : text;
    items_.push_back(std::move(item));
}

void CompletionItems::add_symbol(const Symbol& symbol, ItemKind kind, Rank rank) {
    const std::string name = to_utf8(symbol.name);
    const bool is_plain = symbol.kind != SymbolKind::label || is_plain_name(symbol.name);
    const std::string detail = symbol.kind == SymbolKind::label
                                   ? "label"
                                   : first_line(declaration_text(symbol, context_.documents));
    add(name, kind, rank, detail, is_plain ? "" : "\"" + name + "\"");
}

void CompletionItems::add_labels(const TypeNode& type, const NameIndex& names) {
    if (type.kind == TypeNode::Kind::optional)
        for (const char* word : {"SOME", "NONE"})
            add(context_.document.is_calculation ? "\"" + std::string(word) + "\"" : word,
                ItemKind::keyword, Rank::fitting);
    if (type.kind != TypeNode::Kind::enumeration) return;
    for (const std::size_t each : type.fields) {
        const Symbol& symbol = names.symbols[each];
        if (context_.document.is_calculation)
            add("\"" + to_utf8(symbol.name) + "\"", ItemKind::label, Rank::fitting);
        else
            add_symbol(symbol, ItemKind::label, Rank::fitting);
    }
}

void CompletionItems::add_quoted_labels(const TypeNode& type, const NameIndex& names,
                                        const CompletionPlace& place) {
    if (type.kind != TypeNode::Kind::enumeration) return;
    for (const std::size_t each : type.fields) {
        const std::string name = to_utf8(names.symbols[each].name);
        add(name, ItemKind::label, Rank::fitting);
        items_.back()["textEdit"] = {{"range", to_json(place.text_range())},
                                     {"newText", name + (place.is_text_closed() ? "" : "\"")}};
    }
}

void CompletionItems::add_members(const TypeNode& type, const NameIndex& names) {
    if (type.kind == TypeNode::Kind::optional)
        add("SOME", ItemKind::keyword, Rank::fitting, "the value");
    if (type.kind != TypeNode::Kind::record) return;
    for (const std::size_t each : type.fields)
        add_symbol(names.symbols[each], ItemKind::field, Rank::fitting);
}

} // namespace norvane::driver::lsp
