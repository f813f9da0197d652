// The lines of the user's sources, as reports show them.
#ifndef NORVANE_PM_SOURCE_LINES_H
#define NORVANE_PM_SOURCE_LINES_H

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace norvane::pm {

// Reads lines by number. Thousands of reports may be about one file, so where its lines begin is
// kept: each part of a file is looked through once.
class SourceLines {
  public:
    // The line as it is shown under a report, after its line number, cut where it is too long to be
    // looked at. Empty if it is blank or cannot be read.
    std::string shown(std::string_view file, unsigned line);

  private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    using Starts = std::vector<long>; // where the first lines of a file begin

    bool open(std::string_view file);
    bool go_to(Starts& starts, unsigned line);

    std::map<std::string, Starts, std::less<>> starts_;
    std::string name_; // of the file that is open
    std::unique_ptr<std::FILE, CloseFile> file_;
};

} // namespace norvane::pm

#endif
