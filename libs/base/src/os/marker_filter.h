// Turns the line markers of the C preprocessor into line directives, on the way from the one to
// whoever reads the other.
#ifndef NORVANE_BASE_MARKER_FILTER_H
#define NORVANE_BASE_MARKER_FILTER_H

#include <cstddef>
#include <span>

namespace norvane {

// Reads the output of the preprocessor block by block and hands on the same text, in which
//
//     # 12 "folder/file" 2     is     #line 12 "folder/file"
//
// with the escapes in the name undone. Markers for what is no place in a file (line 0, names like
// <built-in>) are left out. Inside of comments, which nest for the reader and not for the
// preprocessor, markers stay what they are: text that is skipped. Inside of strings they are left
// out, since their quotes would end the string. Where the reader has missed a marker in one of
// these ways, a directive before the next line that it counts tells it where it is.
//
// An object is large, and is used for one file after the other.
class MarkerFilter {
  public:
    using Write = void (*)(void* user, const char* data, std::size_t size);

    void begin(Write write, void* user);
    // The place for the next bytes of input; never empty. `received` says how many there are.
    std::span<char> room() { return {buffer_ + held_, sizeof buffer_ - held_}; }
    void received(std::size_t size);
    void end();

  private:
    struct Marker {
        unsigned long line;
        const char* name; // with its escapes
        const char* name_end;
    };
    // How the reader sees the text. Comments nest; strings run over lines; apostrophes are nothing.
    struct Reader {
        unsigned comment_depth = 0;
        bool in_string = false;
        bool in_directive = false; // to the end of the line
        bool escaped = false;
        char previous = '\0'; // a slash or a star that may begin or end a comment
        bool counts() const { return comment_depth == 0 && !in_string; }
        void step(char c);
    };
    // How the preprocessor sees it. Both quotes protect a line from comments; a comment is over at
    // its first end.
    struct Preprocessor {
        bool in_comment = false;
        char quote = '\0';
        bool escaped = false;
        char previous = '\0';
        void step(char c);
    };

    std::size_t filter(const char* data, std::size_t size, bool last);
    const char* scan(const char* data, const char* end);
    static bool parse_marker(const char* line, const char* end, Marker* marker);
    void set_position(const Marker& marker);
    bool position_is_in_a_file() const;
    void write_position();

    Write write_;
    void* user_;
    Reader reader_;
    Preprocessor preprocessor_;
    bool at_line_start_;
    bool missed_;        // the reader does not know its position
    unsigned long line_; // of the text that follows
    std::size_t name_length_;
    std::size_t held_;
    char buffer_[1 << 16];
    char name_[1 << 16]; // of the file; fits any name that fits the buffer
};

} // namespace norvane

#endif
