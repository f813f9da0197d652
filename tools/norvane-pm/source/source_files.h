// The lines of the user's files.
#ifndef NORVANE_PM_SOURCE_FILES_H
#define NORVANE_PM_SOURCE_FILES_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace norvane::driver {

class SourceFiles {
  public:
    // Gives the text of what is not a file, such as standard input, or of a file that an editor
    // holds.
    void set(const std::string& file, std::string text);

    // The text from the start of a line to the end of the file; null where it cannot be read.
    std::string_view rest(const std::string& file, unsigned number);

  private:
    struct File {
        bool is_readable = false;
        std::string text;
        std::vector<std::size_t> lines; // offsets
    };
    File& open(const std::string& file);
    static void add(File& file);

    std::map<std::string, File> files_;
};

} // namespace norvane::driver

#endif
