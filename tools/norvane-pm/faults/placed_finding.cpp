#include "placed_finding.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace norvane::driver {

std::vector<Finding> in_order(std::vector<PlacedFinding> all) {
    std::ranges::stable_sort(all, {}, &PlacedFinding::token);
    std::vector<Finding> findings;
    findings.reserve(all.size());
    std::set<std::tuple<std::string, unsigned, unsigned, std::string>> known;
    for (PlacedFinding& found : all) {
        const Place& place = found.finding.place;
        const bool is_new =
            place.column == 0 ||
            known.emplace(place.file, place.line, place.column, found.finding.message).second;
        if (is_new) findings.push_back(std::move(found.finding));
    }
    return findings;
}

PlacedFinding error_at(const SourceText& source, TokenRange range, std::string name,
                       std::string message) {
    PlacedFinding found{range.first, {}};
    found.finding.name = std::move(name);
    found.finding.message = std::move(message);
    found.finding.place = source.place(range);
    found.finding.notes = source.notes(range.first);
    // A line directive may give what a rule comes from, after "#", in the place of a file.
    Place& place = found.finding.place;
    if (place.file.starts_with('#')) {
        found.finding.message = place.file.substr(1) + " " + found.finding.message;
        place = {source.file(), 0, 0, 0, 0};
    }
    return found;
}

namespace {

// What remains of a correction is never certain: one half of a pair is not written without the
// other.
void leave_out(PlacedFinding& found) {
    found.has_all_places = false;
    for (Replacement& written : found.finding.replacements)
        written.is_certain = false;
}

void add(PlacedFinding& found, const Place& place, std::string text, bool is_certain) {
    if (place.column == 0) return leave_out(found);
    found.finding.replacements.push_back(
        {place, std::move(text), is_certain && found.has_all_places});
}

bool is_part_of_a_name(char c) {
    return c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// With spaces where the text and what it touches would be read as one word.
std::string set_apart(std::string text, std::string_view before, std::string_view after) {
    const bool joins_before = !before.empty() && is_part_of_a_name(before.back());
    const bool joins_after = !after.empty() && is_part_of_a_name(after.front());
    if (text.empty()) return joins_before && joins_after ? " " : "";
    if (joins_before && is_part_of_a_name(text.front())) text.insert(0, " ");
    if (joins_after && is_part_of_a_name(text.back())) text += ' ';
    return text;
}

// The word that ends where the token begins; none if space is between them.
std::string_view touching_before(const SourceText& source, std::size_t token) {
    return source.touches_the_one_before(token) ? source.word(token - 1) : "";
}
std::string_view touching_after(const SourceText& source, std::size_t token) {
    const std::size_t next = token + 1;
    return next < source.size() && source.touches_the_one_before(next) ? source.word(next) : "";
}

} // namespace

void replace(const SourceText& source, PlacedFinding& found, TokenRange range, std::string text,
             bool is_certain) {
    if (source.is_from_macro(range.first) || source.is_from_macro(range.last))
        return leave_out(found);
    text = set_apart(std::move(text), touching_before(source, range.first),
                     touching_after(source, range.last));
    add(found, source.place(range), std::move(text), is_certain);
}

void insert_before(const SourceText& source, PlacedFinding& found, std::size_t token,
                   std::string text, bool is_certain) {
    if (source.is_from_macro(token)) return leave_out(found);
    Place place = source.place(token);
    place.end_line = place.line;
    place.end_column = place.column;
    text = set_apart(std::move(text), touching_before(source, token), source.word(token));
    add(found, place, std::move(text), is_certain);
}

void insert_after(const SourceText& source, PlacedFinding& found, std::size_t token,
                  std::string text, bool is_certain) {
    if (source.is_from_macro(token)) return leave_out(found);
    text = set_apart(std::move(text), source.word(token), touching_after(source, token));
    add(found, source.place_after(token), std::move(text), is_certain);
}

} // namespace norvane::driver
