// The values of messages.
#ifndef NORVANE_PM_LSP_JSON_H
#define NORVANE_PM_LSP_JSON_H

#include <string>

#include <nlohmann/json.hpp>

namespace norvane::driver::lsp {

using Json = nlohmann::json;

// The member at the end of a path of names, as "textDocument", "uri"; null where there is none.
template <typename... Names>
const Json& member(const Json& json, const Names&... names) {
    static const Json null;
    const Json* at = &json;
    for (const char* name : {static_cast<const char*>(names)...}) {
        if (!at->is_object()) return null;
        const auto found = at->find(name);
        if (found == at->end()) return null;
        at = &*found;
    }
    return *at;
}

inline std::string text_of(const Json& json) {
    return json.is_string() ? json.get<std::string>() : std::string();
}

// A number that is not an index becomes the largest one: positions beyond a line mean its end.
inline std::size_t index_of(const Json& json) {
    if (json.is_number_unsigned()) return json.get<std::size_t>();
    return json.is_number_integer() ? 0 : static_cast<std::size_t>(-1);
}

} // namespace norvane::driver::lsp

#endif
