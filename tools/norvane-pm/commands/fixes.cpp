#include "fixes.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "output.h"
#include "source_files.h"

namespace norvane::driver {
namespace {

// The replacements of a line, the last one first: those before it keep their columns.
using OfLine = std::vector<const Replacement*>;
using OfFile = std::map<unsigned, OfLine>;

bool is_applicable(const Replacement& replacement) {
    const Place& place = replacement.place;
    return replacement.is_certain && !place.file.empty() && place.column > 0 &&
           place.line == place.end_line;
}

std::map<std::string, OfFile> certain_ones(const std::vector<Finding>& findings) {
    std::map<std::string, OfFile> files;
    for (const Finding& finding : findings)
        for (const Replacement& replacement : finding.replacements)
            if (is_applicable(replacement))
                files[replacement.place.file][replacement.place.line].push_back(&replacement);
    for (auto& [file, lines] : files)
        for (auto& [line, replacements] : lines)
            std::ranges::stable_sort(replacements, [](const auto* one, const auto* other) {
                return one->place.column > other->place.column;
            });
    return files;
}

// Of replacements that overlap, the later ones are left out.
std::string replaced(std::string line, const OfLine& replacements) {
    std::size_t end = line.size() + 1;
    for (const Replacement* replacement : replacements) {
        const std::size_t first = replacement->place.column - 1;
        const std::size_t last = replacement->place.end_column - 1;
        if (last > end || last > line.size()) continue;
        line.replace(first, last - first, replacement->text);
        end = first;
    }
    return line;
}

// Prints the old and the new text of a line, as `diff -u` does. Both texts include their line feed.
void print_difference(unsigned number, const std::string& before, const std::string& after) {
    const char* no_line_feed = "\n\\ No newline at end of file\n";
    const auto print = [no_line_feed](char sign, const std::string& line) {
        std::printf("%c%s%s", sign, line.c_str(), line.ends_with('\n') ? "" : no_line_feed);
    };
    std::printf("@@ -%u +%u @@\n", number, number);
    print('-', before);
    print('+', after);
}

void fix_file(Session& session, const std::string& file, const OfFile& lines) {
    SourceFiles files;
    const std::string_view text = files.rest(file, 1);
    if (!text.data()) return;
    std::printf("--- %s\n+++ %s\n", file.c_str(), file.c_str());
    std::string fixed;
    unsigned number = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
        const std::string line(text.substr(begin, end - begin));
        begin = end;
        const auto found = lines.find(++number);
        const std::string after = found == lines.end() ? line : replaced(line, found->second);
        if (after != line) print_difference(number, line, after);
        fixed += after;
    }
    ResultFile output;
    if (!output.open(file)) {
        session.report([&file] { return ERR_FILE_OPEN_WRITE(file.c_str()); });
        throw InputAtFault();
    }
    std::fwrite(fixed.data(), 1, fixed.size(), output.stream());
    output.refused();
    if (output.close()) return;
    session.diagnostics.say("cannot write " + file + ": " + std::strerror(output.error()));
    throw InputAtFault();
}

} // namespace

// Of files that a line directive names, no line is changed: the directive may name any file.
void apply_fixes(Session& session, const ModelFiles& own, const std::vector<Finding>& findings) {
    const auto fixes = certain_ones(findings);
    if (fixes.empty()) return;
    if (own.doubt()) {
        Finding note;
        note.severity = Severity::note;
        note.message = "nothing is corrected, since this line may name files that are not read";
        note.place = *own.doubt();
        return session.diagnostics.report(note);
    }
    for (const auto& [file, lines] : fixes)
        if (own.contain(file)) fix_file(session, file, lines);
    results_refused();
}

} // namespace norvane::driver
