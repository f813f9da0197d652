#include "places.h"

#include <algorithm>

#include "text.h"
#include "unit.h"

namespace norvane::driver::lsp {
namespace {

// Comments of one line each, above each other: the last begins at `line` and ends before `end`.
std::string line_comments(const std::string& text, std::size_t line, std::size_t end) {
    std::string comment;
    for (;;) {
        const std::size_t begin = text.find_first_not_of(" \t", line);
        if (begin >= end || text.compare(begin, 2, "//") != 0) return comment;
        comment.insert(0, text.substr(begin + 2, end - begin - 2) + "\n");
        if (line < 2) return comment;
        end = line - 1;
        line = text.rfind('\n', end - 1) + 1; // 0 where there is none
    }
}

} // namespace

Range range_of(const Spot& spot, const Documents& documents) {
    return range_of(spot, spot, documents);
}

Range range_of(const Spot& first, const Spot& last, const Documents& documents) {
    const Lines* lines = documents.lines(*first.file);
    if (!lines) return {};
    return {lines->from_file(first.line, first.column),
            lines->from_file(last.line, last.end_column)};
}

Json location_of(const Spot& spot, const Documents& documents) {
    return {{"uri", documents.uri(*spot.file)}, {"range", to_json(range_of(spot, documents))}};
}

const Occurrence* name_at(const Context& context) {
    const Position position = position_of(member(context.params, "position"));
    const unsigned column = context.document.lines.column_in_file(position);
    return context.unit.names().at(context.document.path, static_cast<unsigned>(position.line + 1),
                                   column);
}

std::string declaration_text(const Symbol& symbol, const Documents& documents) {
    constexpr std::size_t longest = 1200;
    if (!symbol.detail.empty()) return to_utf8(symbol.detail);
    if (!symbol.first.is_known() || !symbol.last.is_known()) return "";
    if (*symbol.first.file != *symbol.last.file) return "";
    const Lines* lines = documents.lines(*symbol.first.file);
    if (!lines) return "";
    const Range range = range_of(symbol.first, symbol.last, documents);
    const std::size_t begin = lines->offset(range.start);
    const std::size_t end = std::max(begin, lines->offset(range.end));
    if (end - begin <= longest) return lines->text().substr(begin, end - begin);
    return std::string(lines->line(range.start.line)) + " ...";
}

// A comment that ends on the line before the declaration, or with only blank lines between.
std::string comment_above(const Symbol& symbol, const Documents& documents) {
    if (!symbol.first.is_known()) return "";
    const Lines* lines = documents.lines(*symbol.first.file);
    if (!lines || symbol.first.line < 2) return "";
    const std::string& text = lines->text();
    const std::size_t start = lines->offset({symbol.first.line - 1, 0});
    std::size_t end = text.find_last_not_of(" \t\r\n", start - 1);
    if (end == text.npos) return "";
    const std::size_t line = text.rfind('\n', end) + 1; // 0 where there is none
    const std::size_t words = text.find_first_not_of(" \t", line);
    if (text.compare(words, 2, "//") == 0) return line_comments(text, line, end + 1);
    if (end < 1 || text.compare(end - 1, 2, "*/") != 0) return "";
    const std::size_t open = text.rfind("/*", end);
    if (open == text.npos) return "";
    const std::size_t before = text.rfind('\n', open) + 1;
    if (text.find_first_not_of(" \t", before) != open) return ""; // of what is before it
    return text.substr(open + 2, end - open - 3);
}

const char* kind_name(SymbolKind kind) {
    constexpr const char* names[] = {"constant", "type",          "variable",      "field",
                                     "label",    "loop variable", "macro",         "namespace",
                                     "function", "argument",      "local variable"};
    return names[static_cast<int>(kind)];
}

// By the path of the declaration, or else of the named type that it has.
std::vector<std::string> cuts_of(const Context& context, std::size_t symbol) {
    const NameIndex& names = context.unit.names();
    const Symbol& declared = names.symbols[symbol];
    const bool can_have_classes = declared.kind == SymbolKind::variable ||
                                  declared.kind == SymbolKind::field ||
                                  declared.kind == SymbolKind::type;
    if (!can_have_classes) return {};
    std::string path(declared.name);
    for (std::size_t at = declared.container; at != none && path.size() <= Facts::longest_path;
         at = names.symbols[at].container)
        path.insert(0, std::string(names.symbols[at].name) + ".");
    const auto& classes = context.unit.result().facts.classes;
    std::size_t type = declared.type;
    for (std::size_t steps = 0; steps <= names.types.size(); ++steps) {
        const auto found = classes.find(path);
        if (found != classes.end()) return found->second;
        while (type != none && names.types[type].base != none)
            type = names.types[type].base;
        if (type == none || names.types[type].kind != TypeNode::Kind::named) return {};
        path = names.types[type].name;
        const auto named = names.globals.find(names.types[type].name);
        type = named == names.globals.end() ? none : names.symbols[named->second].type;
    }
    return {};
}

std::size_t order_of(const NameIndex& names, std::size_t label) {
    for (const TypeNode& type : names.types) {
        if (type.kind != TypeNode::Kind::enumeration) continue;
        const auto found = std::ranges::find(type.fields, label);
        if (found != type.fields.end())
            return static_cast<std::size_t>(found - type.fields.begin());
    }
    return none;
}

} // namespace norvane::driver::lsp
