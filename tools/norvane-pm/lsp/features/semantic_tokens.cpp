// What each name is, for colors that a grammar cannot know.
#include "places.h"
#include "requests.h"
#include "unit.h"

namespace norvane::driver::lsp {
namespace {

constexpr const char* types[] = {"variable",  "type",  "property",  "enumMember",
                                 "parameter", "macro", "namespace", "function"};
constexpr const char* modifiers[] = {"declaration", "readonly"};

struct Look {
    unsigned type;
    unsigned modifiers;
};

// In the order of SymbolKind.
constexpr Look looks[] = {{0, 2}, {1, 0}, {0, 0}, {2, 0}, {3, 2}, {4, 2},
                          {5, 0}, {6, 0}, {7, 0}, {4, 0}, {0, 0}};

} // namespace

Json semantic_token_types() {
    return {{"tokenTypes", types}, {"tokenModifiers", modifiers}};
}

Json semantic_tokens(const Context& context) {
    Json data = Json::array();
    Position last;
    for (const Occurrence& each : context.unit.names().of_file(context.document.path)) {
        const Range range = range_of(each.spot, context.documents);
        if (range.start.line != range.end.line || range.end <= range.start) continue;
        const bool is_same_line = range.start.line == last.line;
        if (is_same_line && range.start.character < last.character) continue; // sent already
        const Look look = looks[static_cast<int>(context.unit.names().symbols[each.symbol].kind)];
        data.push_back(range.start.line - last.line);
        data.push_back(range.start.character - (is_same_line ? last.character : 0));
        data.push_back(range.end.character - range.start.character);
        data.push_back(look.type);
        data.push_back(look.modifiers | (each.is_declaration ? 1u : 0u));
        last = range.start;
    }
    return {{"data", data}};
}

} // namespace norvane::driver::lsp
