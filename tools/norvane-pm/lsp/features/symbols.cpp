// What a document declares, as a tree.
#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <tuple>

#include "places.h"
#include "requests.h"
#include "text.h"
#include "unit.h"

namespace norvane::driver::lsp {

// The protocol's number for each kind of symbol.
int protocol_kind(SymbolKind kind) {
    switch (kind) {
    case SymbolKind::constant: return 14;
    case SymbolKind::type: return 23;
    case SymbolKind::field: return 8;
    case SymbolKind::label: return 22;
    case SymbolKind::name_space: return 3;
    case SymbolKind::function: return 12;
    default: return 13;
    }
}

bool is_part_of_outline(const Symbol& symbol) {
    return symbol.spot.is_known() && symbol.first.is_known() &&
           symbol.kind != SymbolKind::loop_variable && symbol.kind != SymbolKind::macro &&
           symbol.kind != SymbolKind::argument && symbol.kind != SymbolKind::local &&
           symbol.kind != SymbolKind::label;
}

namespace {

// Whether the text has the query in it, in any case.
bool holds(std::string_view text, std::string_view query) {
    const auto is_same = [](unsigned char a, unsigned char b) {
        return std::tolower(a) == std::tolower(b);
    };
    return std::search(text.begin(), text.end(), query.begin(), query.end(), is_same) !=
               text.end() ||
           query.empty();
}

class Outline {
  public:
    explicit Outline(const Context& context) : context_(context), names_(context.unit.names()) {
        for (std::size_t i = 0; i < names_.symbols.size(); ++i) {
            const Symbol& symbol = names_.symbols[i];
            if (is_part_of_outline(symbol) && *symbol.spot.file == context.document.path)
                children_[symbol.container].push_back(i);
        }
    }

    Json below(std::size_t container) const {
        Json list = Json::array();
        const auto found = children_.find(container);
        if (found == children_.end()) return list;
        for (const std::size_t number : found->second) {
            const Symbol& symbol = names_.symbols[number];
            const Range own = range_of(symbol.spot, context_.documents);
            Range whole = own;
            if (symbol.last.is_known() && *symbol.last.file == *symbol.first.file)
                whole = range_of(symbol.first, symbol.last, context_.documents);
            if (whole.start > own.start || whole.end < own.end) whole = own;
            Json entry = {{"name", to_utf8(symbol.name)},
                          {"kind", protocol_kind(symbol.kind)},
                          {"detail", kind_name(symbol.kind)},
                          {"range", to_json(whole)},
                          {"selectionRange", to_json(own)}};
            if (Json parts = below(number); !parts.empty()) entry["children"] = std::move(parts);
            list.push_back(std::move(entry));
        }
        return list;
    }

  private:
    const Context& context_;
    const NameIndex& names_;
    std::map<std::size_t, std::vector<std::size_t>> children_;
};

} // namespace

Json document_symbols(const Context& context) {
    return Outline(context).below(none);
}

Json workspace_symbols(const std::vector<const Unit*>& units, const Documents& documents,
                       const std::string& query) {
    Json found = Json::array();
    std::set<std::tuple<std::string_view, unsigned, unsigned>> known; // parts of several models
    for (const Unit* unit : units) {
        const NameIndex& names = unit->names();
        for (const Symbol& symbol : names.symbols) {
            if (!is_part_of_outline(symbol) || !holds(symbol.name, query)) continue;
            if (!known.emplace(*symbol.spot.file, symbol.spot.line, symbol.spot.column).second)
                continue;
            Json entry = {{"name", to_utf8(symbol.name)},
                          {"kind", protocol_kind(symbol.kind)},
                          {"location", location_of(symbol.spot, documents)}};
            if (symbol.container != none)
                entry["containerName"] = to_utf8(names.symbols[symbol.container].name);
            found.push_back(std::move(entry));
        }
    }
    return found;
}

} // namespace norvane::driver::lsp
