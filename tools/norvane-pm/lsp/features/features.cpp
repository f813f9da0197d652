// The table of the requests about documents.
#include <algorithm>
#include <iterator>
#include <string_view>

#include "context.h"

namespace norvane::pm::lsp {
namespace {

constexpr Feature features[] = {{"", nullptr}};

} // namespace

const Feature* find_feature(const std::string& method) {
    const auto* found = std::ranges::find(features, std::string_view(method),
                                          [](const Feature& row) { return row.method; });
    return found == std::end(features) ? nullptr : found;
}

Json capabilities() {
    constexpr int incremental = 2;
    return {{"positionEncoding", "utf-16"},
            {"textDocumentSync",
             {{"openClose", true}, {"change", incremental}, {"save", {{"includeText", false}}}}}};
}

} // namespace norvane::pm::lsp
