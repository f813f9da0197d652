// What the driver tells about the user's sources: the library's reports and its own, with places,
// notes and ways out.
#ifndef NORVANE_PM_FINDING_H
#define NORVANE_PM_FINDING_H

#include <string>
#include <vector>

namespace norvane::driver {

// A range of a source file. Lines and columns count from 1, columns in bytes, and the range ends
// before its end. 0 stands for what is not known: a place without a column is a whole line, one
// without a line is a file.
struct Place {
    std::string file;
    unsigned line = 0;
    unsigned column = 0;
    unsigned end_line = 0;
    unsigned end_column = 0;
};

enum class Severity { note, warning, error };

// A further place that explains a finding: "declared here", "included from here".
struct Note {
    Place place;
    std::string text;
};

// What to write instead of a range.
struct Replacement {
    Place place;
    std::string text;
    bool is_certain = false; // may be applied without asking
};

struct Finding {
    Severity severity = Severity::error;
    std::string name; // such as "ERR_ID_UNDECLARED", or a warning's, such as "unused-name"
    std::string message;
    Place place;
    std::vector<Note> notes;
    std::string hint; // how to fix it; may be empty
    std::vector<Replacement> replacements;
};

} // namespace norvane::driver

#endif
