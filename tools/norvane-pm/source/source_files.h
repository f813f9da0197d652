// The user's files: their lines, and the macros that they define.
#ifndef NORVANE_PM_SOURCE_FILES_H
#define NORVANE_PM_SOURCE_FILES_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "finding.h"

namespace norvane::driver {

// Where a macro is defined.
struct Macro {
    Place place; // of its name
    bool takes_arguments;
};

class SourceFiles {
  public:
    // Gives the text of what is not a file, such as standard input, or of a file that an editor
    // holds.
    void set(const std::string& file, std::string text);

    // The text from the start of a line to the end of the file; null where it cannot be read.
    std::string_view rest(const std::string& file, unsigned number);

    // The last definition in the files that were read; null where there is none.
    const Macro* macro(std::string_view name) const;

  private:
    struct File {
        bool is_readable = false;
        std::string text;
        std::vector<std::size_t> lines; // offsets
    };
    File& open(const std::string& file);
    void add(const std::string& name, File& file);

    std::map<std::string, File> files_;
    std::map<std::string, Macro, std::less<>> macros_;
};

} // namespace norvane::driver

#endif
