#include "source_lines.h"

#include <sys/stat.h>

#include "text.h"

namespace norvane::pm {
namespace {

constexpr std::size_t longest_source_line = 160;
constexpr std::size_t longest_letter = 4; // in bytes of UTF-8

// Moves to the start of the next line; false at the end of the file.
bool skip_line(std::FILE* file) {
    int c;
    do
        c = getc_unlocked(file);
    while (c != '\n' && c != EOF);
    return c == '\n';
}

// True if a source line is to be cut before its next byte, which must not be within a letter.
bool is_full(const std::string& line, int next) {
    if (line.size() < longest_source_line) return false;
    return (next & 0xC0) != 0x80 || line.size() == longest_source_line + longest_letter - 1;
}

} // namespace

// False for what cannot be read from any place, such as a pipe that a model names in a line
// directive.
bool SourceLines::open(std::string_view file) {
    if (file_ && name_ == file) return true;
    name_ = file;
    file_.reset();
    struct stat info = {};
    if (stat(name_.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
    file_.reset(std::fopen(name_.c_str(), "rb"));
    return file_ != nullptr;
}

bool SourceLines::go_to(Starts& starts, unsigned line) {
    if (starts.empty()) starts.push_back(0);
    const bool is_known = line <= starts.size();
    if (std::fseek(file_.get(), is_known ? starts[line - 1] : starts.back(), SEEK_SET) != 0)
        return false;
    while (starts.size() < line) {
        if (!skip_line(file_.get())) return false;
        starts.push_back(std::ftell(file_.get()));
    }
    return true;
}

std::string SourceLines::shown(std::string_view file, unsigned line) {
    if (line == 0 || !open(file) || !go_to(starts_[name_], line)) return "";
    std::string bytes;
    int c;
    while ((c = getc_unlocked(file_.get())) != '\n' && c != EOF && !is_full(bytes, c))
        bytes += static_cast<char>(c);
    const bool is_cut = c != '\n' && c != EOF;
    const std::string text = for_terminal(bytes);
    if (text.find_first_not_of(' ') == std::string::npos) return "";
    char gutter[16];
    std::snprintf(gutter, sizeof gutter, "%6u | ", line);
    return gutter + text + (is_cut ? " ...\n" : "\n");
}

} // namespace norvane::pm
