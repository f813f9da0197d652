#include "name_index.h"

#include <algorithm>
#include <tuple>

namespace norvane::driver::lsp {
namespace {

auto order(const Spot& spot) {
    return std::tuple(spot.line, spot.column);
}

} // namespace

void NameIndex::add(const Spot& spot, std::size_t symbol, bool is_declaration) {
    if (spot.is_known())
        by_file_[*spot.file].push_back({spot, symbol, is_declaration});
    else
        in_macros.insert(symbol);
}

void NameIndex::sort() {
    for (auto& [file, list] : by_file_) {
        std::ranges::stable_sort(list, {}, [](const Occurrence& each) { return order(each.spot); });
        // A macro may use an argument more than once.
        const auto rest = std::unique(
            list.begin(), list.end(), [](const Occurrence& one, const Occurrence& other) {
                return order(one.spot) == order(other.spot) && one.symbol == other.symbol;
            });
        list.erase(rest, list.end());
    }
}

const std::vector<Occurrence>& NameIndex::of_file(const std::string& file) const {
    static const std::vector<Occurrence> nothing;
    const auto found = by_file_.find(file);
    return found == by_file_.end() ? nothing : found->second;
}

const Occurrence* NameIndex::at(const std::string& file, unsigned line, unsigned column) const {
    const std::vector<Occurrence>& list = of_file(file);
    const auto after =
        std::ranges::upper_bound(list, std::tuple(line, column), {},
                                 [](const Occurrence& each) { return order(each.spot); });
    if (after == list.begin()) return nullptr;
    const Occurrence& found = after[-1];
    return found.spot.line == line && column <= found.spot.end_column ? &found : nullptr;
}

std::vector<Occurrence> NameIndex::of_symbol(std::size_t symbol) const {
    std::vector<Occurrence> found;
    for (const auto& [file, list] : by_file_)
        std::ranges::copy_if(list, std::back_inserter(found),
                             [symbol](const Occurrence& each) { return each.symbol == symbol; });
    return found;
}

// A chain of names is as long as there are types at most.
const TypeNode* NameIndex::real(std::size_t type) const {
    for (std::size_t steps = 0; type != none && steps <= types.size(); ++steps) {
        const TypeNode& node = types[type];
        if (node.kind != TypeNode::Kind::named) return &node;
        const auto found = globals.find(node.name);
        type = found != globals.end() && symbols[found->second].kind == SymbolKind::type
                   ? symbols[found->second].type
                   : none;
    }
    return nullptr;
}

std::size_t NameIndex::field_of(const TypeNode& record, std::string_view name) const {
    const auto found = std::ranges::find(record.fields, name,
                                         [this](std::size_t field) { return symbols[field].name; });
    return found == record.fields.end() ? none : *found;
}

} // namespace norvane::driver::lsp
