#include "shown_findings.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>

#include "uri.h"

namespace norvane::driver::lsp {
namespace {

constexpr int unnecessary = 1; // a tag: shown in a lighter color

constexpr auto unused = std::to_array<std::string_view>({"unused-name", "unused-private"});

int severity_of(Severity severity) {
    switch (severity) {
    case Severity::error: return 1;
    case Severity::warning: return 2;
    case Severity::note: break;
    }
    return 3;
}

// The pages, as they are installed beside the driver or lie in the sources; empty where they are
// not there.
std::string find_pages() {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path driver = fs::read_symlink("/proc/self/exe", error);
    for (fs::path at = driver.parent_path(); at != at.root_path(); at = at.parent_path())
        for (const char* below : {"share/doc/norvane-proj/docs", "docs"})
            if (fs::is_regular_file(at / below / "diagnostics.md", error)) return at / below;
    return "";
}

Json link_to(const std::string& name) {
    static const std::string pages = find_pages();
    if (pages.empty() || name.empty()) return nullptr;
    std::string anchor = name;
    std::ranges::transform(anchor, anchor.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const char* page = name.starts_with("ERR_") ? "/diagnostics.md" : "/warnings.md";
    return {{"href", uri_of(pages + page) + "#" + anchor}};
}

Range whole_line(const Lines& lines, std::size_t number) {
    const std::string_view line = lines.line(number);
    const std::size_t first = std::min(line.find_first_not_of(" \t"), line.size());
    const std::size_t end = line.find_last_not_of(" \t") + 1; // 0 where there is none
    const std::size_t start = lines.offset({number, 0});
    return {lines.position(start + first), lines.position(start + std::max(first, end))};
}

} // namespace

Range range_of(const Place& place, const Documents& documents) {
    const Lines* lines = documents.lines(place.file);
    if (!lines || place.line == 0) return {};
    if (place.column == 0) return whole_line(*lines, place.line - 1);
    const Position start = lines->from_file(place.line, place.column);
    if (place.end_column == 0) return {start, start};
    return {start, lines->from_file(place.end_line, place.end_column)};
}

Json to_diagnostic(const Finding& finding, const Documents& documents) {
    Json json = {{"range", to_json(range_of(finding.place, documents))},
                 {"severity", severity_of(finding.severity)},
                 {"source", "norvane-pm"},
                 {"message", finding.message + (finding.hint.empty() ? "" : "\n" + finding.hint)}};
    if (!finding.name.empty()) json["code"] = finding.name;
    if (Json link = link_to(finding.name); !link.is_null()) json["codeDescription"] = link;
    if (std::ranges::count(unused, finding.name) > 0) json["tags"] = {unnecessary};
    for (const Note& note : finding.notes)
        json["relatedInformation"].push_back(
            {{"location",
              {{"uri", documents.uri(note.place.file)},
               {"range", to_json(range_of(note.place, documents))}}},
             {"message", note.text}});
    return json;
}

} // namespace norvane::driver::lsp
