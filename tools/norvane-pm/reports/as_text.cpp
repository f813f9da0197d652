#include "as_text.h"

#include <cstdio>

#include "text.h"

namespace norvane::driver {
namespace {

constexpr const char* program = "norvane-pm";
constexpr const char* empty_gutter = "       | ";
// A replacement that is longer would not be read under the line.
constexpr std::size_t longest_shown_replacement = 40;

// Escape sequences; empty texts without colour.
struct Style {
    const char* strong = "";
    const char* severities[3] = {"", "", ""}; // by Severity
    const char* mark = "";
    const char* reset = "";
};

constexpr Style plain;
constexpr Style colored{
    "\x1b[1m", {"\x1b[1;36m", "\x1b[1;35m", "\x1b[1;31m"}, "\x1b[1;32m", "\x1b[0m"};

const char* severity_text(Severity severity) {
    constexpr const char* texts[] = {"note", "warning", "error"};
    return texts[static_cast<int>(severity)];
}

std::string place_text(const Place& place) {
    if (place.file.empty()) return "";
    std::string text = for_terminal(place.file);
    if (place.line > 0) text += ":" + std::to_string(place.line);
    if (place.line > 0 && place.column > 0) text += ":" + std::to_string(place.column);
    return text + ": ";
}

// "file:line:column: error: message [NAME]"
std::string head(const Place& place, Severity severity, const std::string& message,
                 const std::string& name, const Style& style) {
    return style.strong + place_text(place) + style.severities[static_cast<int>(severity)] +
           severity_text(severity) + ": " + style.reset + style.strong + for_terminal(message) +
           style.reset + (name.empty() ? "" : " [" + name + "]") + "\n";
}

// The line of a place, and below it the mark and the replacements that are about this line.
class Snippet {
  public:
    Snippet(const Place& place, SourceLines& sources, const Style& style)
        : place_(place), line_(sources.excerpt(place.file, place.line, place.column)),
          style_(style) {}

    std::string shown(const std::vector<Replacement>& replacements) const {
        if (is_blank()) return "";
        char gutter[16];
        std::snprintf(gutter, sizeof gutter, "%6u | ", place_.line);
        std::string text =
            gutter + std::string(before_cut()) + line_.text + (line_.is_cut ? " ...\n" : "\n");
        if (place_.column == 0) return text;
        return text + mark() + below(replacements);
    }

  private:
    bool is_blank() const { return line_.text.find_first_not_of(" \t") == std::string::npos; }
    const char* before_cut() const { return line_.first_column > 1 ? "... " : ""; }

    // Blanks up to a column of the line.
    std::string indent(unsigned column) const {
        return empty_gutter + std::string(before_cut()) + padding(line_.before(column), ' ');
    }

    std::string mark() const {
        const bool ends_here = place_.end_line <= place_.line;
        const unsigned end = ends_here ? place_.end_column : line_.end_column();
        std::string marked = padding(line_.between(place_.column, end), '~');
        if (marked.empty()) marked = "~";
        marked[0] = '^';
        return indent(place_.column) + style_.mark + marked + style_.reset + "\n";
    }

    bool is_shown(const Replacement& replacement) const {
        const Place& where = replacement.place;
        return where.file == place_.file && where.line == place_.line &&
               where.end_line <= where.line && where.column >= line_.first_column &&
               !replacement.text.empty() && replacement.text.size() <= longest_shown_replacement &&
               replacement.text.find('\n') == std::string::npos;
    }

    std::string below(const std::vector<Replacement>& replacements) const {
        std::string text;
        for (const Replacement& replacement : replacements) {
            if (is_shown(replacement))
                text += indent(replacement.place.column) + style_.mark +
                        for_terminal(replacement.text) + style_.reset + "\n";
        }
        return text;
    }

    const Place& place_;
    Excerpt line_;
    const Style& style_;
};

// A note without a column names a line that need not be looked at, such as that of an include.
std::string note_text(const Note& note, SourceLines& sources, const Style& style) {
    std::string text = note.place.file.empty() ? "  " : "";
    text += head(note.place, Severity::note, note.text, "", style);
    if (note.place.column > 0) text += Snippet(note.place, sources, style).shown({});
    return text;
}

// A report about no file is the program's own.
Place said_by(const Finding& finding) {
    Place place = finding.place;
    if (place.file.empty()) place.file = program;
    return place;
}

} // namespace

std::string as_text(const Finding& finding, SourceLines& sources, bool is_colored) {
    const Style& style = is_colored ? colored : plain;
    std::string text =
        head(said_by(finding), finding.severity, finding.message, finding.name, style);
    text += Snippet(finding.place, sources, style).shown(finding.replacements);
    for (const Note& note : finding.notes)
        text += note_text(note, sources, style);
    if (!finding.hint.empty()) text += "  help: " + for_terminal(finding.hint) + "\n";
    return text;
}

std::string as_lines(const Finding& finding) {
    const Place place = said_by(finding);
    std::string text = head(place, finding.severity, finding.message, finding.name, plain);
    for (const Note& note : finding.notes) {
        const Place& where = note.place.file.empty() ? place : note.place;
        text += head(where, Severity::note, note.text, "", plain);
    }
    if (!finding.hint.empty()) text += head(place, Severity::note, finding.hint, "", plain);
    return text;
}

} // namespace norvane::driver
