// Numbers that the finite form has: those of labels, and of the classes of unbounded variables.
#include "classes.h"
#include "places.h"
#include "requests.h"
#include "unit.h"

namespace norvane::pm::lsp {

Json inlay_hints(const Context& context) {
    Json hints = Json::array();
    const NameIndex& names = context.unit.names();
    const Range wanted = range_of(member(context.params, "range"));
    const auto add = [&](const Spot& spot, const std::string& text) {
        if (!spot.is_known() || *spot.file != context.document.path) return;
        const Position end = range_of(spot, context.documents).end;
        if (end < wanted.start || wanted.end < end) return;
        hints.push_back({{"position", to_json(end)}, {"label", text}, {"paddingLeft", true}});
    };
    for (const TypeNode& type : names.types) {
        if (type.kind != TypeNode::Kind::enumeration) continue;
        for (std::size_t i = 0; i < type.fields.size(); ++i)
            add(names.symbols[type.fields[i]].spot, "= " + std::to_string(i));
    }
    const Facts& facts = context.unit.result().facts;
    for (const Symbol& symbol : names.symbols) {
        if (symbol.kind != SymbolKind::variable) continue;
        const auto cuts = facts.classes.find(std::string(symbol.name));
        if (cuts == facts.classes.end()) continue;
        add(symbol.spot, std::to_string(classes_of(cuts->second).size()) + " classes");
    }
    return hints;
}

} // namespace norvane::pm::lsp
