#include "placed_finding.h"

#include <algorithm>

namespace norvane::driver {

std::vector<Finding> in_order(std::vector<PlacedFinding> all) {
    std::ranges::stable_sort(all, {}, &PlacedFinding::token);
    std::vector<Finding> findings;
    findings.reserve(all.size());
    for (PlacedFinding& found : all)
        findings.push_back(std::move(found.finding));
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

void add(PlacedFinding& found, const Place& place, std::string text, bool is_certain) {
    if (place.column > 0)
        found.finding.replacements.push_back({place, std::move(text), is_certain});
}

} // namespace

void replace(const SourceText& source, PlacedFinding& found, TokenRange range, std::string text,
             bool is_certain) {
    if (source.is_from_macro(range.first) || source.is_from_macro(range.last)) return;
    add(found, source.place(range), std::move(text), is_certain);
}

void insert_before(const SourceText& source, PlacedFinding& found, std::size_t token,
                   std::string text, bool is_certain) {
    if (source.is_from_macro(token)) return;
    Place place = source.place(token);
    place.end_line = place.line;
    place.end_column = place.column;
    add(found, place, std::move(text), is_certain);
}

void insert_after(const SourceText& source, PlacedFinding& found, std::size_t token,
                  std::string text, bool is_certain) {
    if (source.is_from_macro(token)) return;
    add(found, source.place_after(token), std::move(text), is_certain);
}

} // namespace norvane::driver
