// Where a name is declared, and where it is used.
#include <filesystem>

#include "included_names.h"
#include "places.h"
#include "requests.h"
#include "unit.h"

namespace norvane::driver::lsp {
namespace {

// The file that an include in the line names; null where the line has none.
Json included_file(const Context& context) {
    const Position position = position_of(member(context.params, "position"));
    const auto names = included_names(context.document.lines.line(position.line));
    if (names.empty()) return nullptr;
    std::vector<std::string> places = context.unit.settings().directories;
    places.insert(places.begin(), std::filesystem::path(context.document.path).parent_path());
    for (const std::string& place : places) {
        const auto path = (std::filesystem::path(place) / names[0]).lexically_normal();
        if (context.unit.sources().contains(path))
            return {{"uri", context.documents.uri(path)}, {"range", to_json(Range{})}};
    }
    return nullptr;
}

// Where the preprocessor has failed, any of a macro's.
Json definitions_of(const Context& context, const Symbol& macro) {
    Json found = Json::array();
    const NameIndex& names = context.unit.names();
    for (const std::size_t each : names.macros.at(macro.name))
        if (names.symbols[each].spot.is_known())
            found.push_back(location_of(names.symbols[each].spot, context.documents));
    return found;
}

} // namespace

Json find_definition(const Context& context) {
    const Occurrence* name = name_at(context);
    if (!name) return included_file(context);
    const Symbol& symbol = context.unit.names().symbols[name->symbol];
    if (symbol.kind == SymbolKind::macro && !context.unit.result().definitions.are_known())
        return definitions_of(context, symbol);
    const Spot& spot = symbol.spot;
    return spot.is_known() ? location_of(spot, context.documents) : Json();
}

Json find_references(const Context& context) {
    Json found = Json::array();
    const Occurrence* name = name_at(context);
    if (!name) return found;
    const bool with_declaration = member(context.params, "context", "includeDeclaration") != false;
    for (const Occurrence& each : context.unit.names().of_symbol(name->symbol))
        if (with_declaration || !each.is_declaration)
            found.push_back(location_of(each.spot, context.documents));
    return found;
}

Json highlight(const Context& context) {
    constexpr int read = 2;
    constexpr int write = 3;
    Json found = Json::array();
    const Occurrence* name = name_at(context);
    if (!name) return found;
    for (const Occurrence& each : context.unit.names().of_file(context.document.path))
        if (each.symbol == name->symbol)
            found.push_back({{"range", to_json(range_of(each.spot, context.documents))},
                             {"kind", each.is_declaration ? write : read}});
    return found;
}

} // namespace norvane::driver::lsp
