// The parameters of the function that is being called.
#include <algorithm>

#include "builtins.h"
#include "places.h"
#include "requests.h"
#include "text.h"
#include "unit.h"

namespace norvane::driver::lsp {
namespace {

// The innermost call whose brackets are around the position.
const Call* call_around(const Context& context, const Position& position) {
    const Call* found = nullptr;
    for (const Call& call : context.unit.names().calls) {
        if (!call.open.is_known()) continue;
        const Position open = range_of(call.open, context.documents).end;
        if (position < open) continue;
        if (call.close.is_known() && range_of(call.close, context.documents).start < position)
            continue;
        if (!found || range_of(found->open, context.documents).end < open) found = &call;
    }
    return found;
}

Json parameters_of(const std::string& signature) {
    Json parameters = Json::array();
    const std::size_t open = signature.find('(');
    const std::size_t close = signature.find(')');
    if (open == signature.npos || close == signature.npos) return parameters;
    std::string_view inner = std::string_view(signature).substr(open + 1, close - open - 1);
    while (!inner.empty()) {
        const std::string_view one = inner.substr(0, inner.find(", "));
        parameters.push_back({{"label", std::string(one)}});
        inner.remove_prefix(std::min(one.size() + 2, inner.size()));
    }
    return parameters;
}

} // namespace

Json signature_help(const Context& context) {
    const Position position = position_of(member(context.params, "position"));
    const Call* call = call_around(context, position);
    if (!call) return nullptr;
    const NameIndex& names = context.unit.names();
    const std::string signature = call->symbol != none ? to_utf8(names.symbols[call->symbol].detail)
                                                       : builtin_signature(call->name);
    if (signature.empty()) return nullptr;
    const auto active = std::ranges::count_if(call->commas, [&](const Spot& comma) {
        return range_of(comma, context.documents).end <= position;
    });
    return {{"signatures", {{{"label", signature}, {"parameters", parameters_of(signature)}}}},
            {"activeSignature", 0},
            {"activeParameter", active}};
}

} // namespace norvane::driver::lsp
