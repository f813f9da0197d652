// The lines of the user's sources, as reports show them.
#ifndef NORVANE_PM_SOURCE_LINES_H
#define NORVANE_PM_SOURCE_LINES_H

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace norvane::driver {

// A line, or the part of a long one that is to be looked at.
struct Excerpt {
    std::string bytes; // as they are in the file
    std::string text;  // in UTF-8, without control characters except tabs
    unsigned first_column = 1;
    bool is_cut = false; // more of the line follows
    bool is_in_utf8 = true;

    unsigned end_column() const { return first_column + static_cast<unsigned>(bytes.size()); }
    // Parts of the text, by columns of the file.
    std::string before(unsigned column) const { return between(first_column, column); }
    std::string between(unsigned column, unsigned end) const;
    std::string shown(std::string_view part) const;
};

// Reads lines by number. Thousands of reports may be about one file, so where its lines begin is
// kept: each part of a file is looked through once.
class SourceLines {
  public:
    // Gives the text of what can be read once only, such as standard input.
    void set(const std::string& file, std::string text);

    // The line, around `column` if it is long. Empty if it cannot be read.
    Excerpt excerpt(std::string_view file, unsigned line, unsigned column);

    // Which letter of a line is at a column: a letter of UTF-8 takes several columns.
    unsigned letter(std::string_view file, unsigned line, unsigned column);

  private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    // What has been looked through of a file.
    struct Known {
        std::vector<long> starts = {0}; // where its first lines begin
        long end = -1;                  // of the file; -1: not reached yet
    };
    // The line that letters were counted in last.
    struct Counted {
        std::string file;
        unsigned line = 0; // 0: none
        std::string bytes;
        std::size_t utf8_size = 0;    // up to the first byte that is not UTF-8
        std::vector<unsigned> inside; // how many bytes before each block do not begin a letter
    };

    bool open(std::string_view file);
    bool find(std::string_view file, unsigned line);
    std::size_t length(unsigned line);
    std::string read(unsigned line, std::size_t from, std::size_t size);
    void count(std::string_view file, unsigned line);

    std::map<std::string, std::string> texts_; // that were given
    std::map<std::string, Known, std::less<>> known_;
    std::string name_; // of the file that is open
    std::unique_ptr<std::FILE, CloseFile> file_;
    Counted counted_;
};

} // namespace norvane::driver

#endif
