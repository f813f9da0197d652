#include "suggestions.h"

#include <algorithm>
#include <array>
#include <utility>

#include "mistakes.h"
#include "similar.h"

namespace norvane::driver {
namespace {

// Comparisons of names in all: thousands of faults in a model of many names are not typing errors.
constexpr std::size_t most_comparisons = 1'000'000;

constexpr auto values_of_other_languages =
    std::to_array<std::pair<std::string_view, std::string_view>>(
        {{"TRUE", "true"}, {"True", "true"}, {"FALSE", "false"}, {"False", "false"}});

struct Synonym {
    std::string_view word;
    std::string_view instead;
};
constexpr auto types_of_other_languages = std::to_array<Synonym>({
    {"bool", "boolean"},
    {"Boolean", "boolean"},
    {"int", "integer"},
    {"Integer", "integer"},
    {"real", "float"},
    {"double", "float"},
    {"decimal", "float"},
    {"text", "string"},
    {"String", "string"},
    {"str", "string"},
    {"Float", "float"},
    {"number", "integer"},
});
} // namespace

void say(PlacedFinding& found, std::string hint) {
    if (found.finding.hint.empty()) found.finding.hint = std::move(hint);
}

std::string_view value_instead_of(std::string_view word) {
    for (const auto& [other, instead] : values_of_other_languages)
        if (other == word) return instead;
    return {};
}

std::string_view type_instead_of(std::string_view word) {
    const auto found = std::ranges::find(types_of_other_languages, word, &Synonym::word);
    return found == types_of_other_languages.end() ? std::string_view() : found->instead;
}

void add_names(const PolyHash* table, std::vector<std::string_view>& names, bool types) {
    for (const auto& [name, namedata] : pairs<char, NameData>(table))
        if ((namedata->ndtype == ND_TYPE) == types) names.push_back(name);
}

bool Suggestions::can_compare(std::size_t names) const {
    return comparisons_ + names <= most_comparisons;
}

bool Suggestions::suggest(PlacedFinding& found, std::string_view name, std::size_t token,
                          const std::vector<std::string_view>& names) {
    if (!can_compare(names.size())) return false;
    comparisons_ += names.size();
    const std::string_view similar = most_similar(name, names);
    if (similar.empty()) return false;
    say(found, "did you mean " + in_quotes(similar) + "?");
    replace(text_, found, {token, token}, std::string(similar), false);
    return true;
}

} // namespace norvane::driver
