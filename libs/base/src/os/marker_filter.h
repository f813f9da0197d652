// Turns the line markers that the C preprocessor writes into the line directives that the scanner
// of models reads.
#ifndef NORVANE_BASE_MARKER_FILTER_H
#define NORVANE_BASE_MARKER_FILTER_H

#include <cstddef>
#include <span>

namespace norvane::os {

// Takes the output of the preprocessor block by block and hands on the same text, in which
//
//     # 12 "directory/file" 2     becomes     #line 12 "directory/file"
//
// with the escapes in the name undone. The filter drops markers for what is not a place in a file
// (line 0, names like <built-in>). Inside of comments, which nest for the scanner and not for the
// preprocessor, it leaves markers as they are: the scanner skips them. Inside of strings it drops
// them, since their quotes would end the string. Where the scanner has missed a marker in one of
// these ways, a directive before the next line that it counts sets its position right.
//
// An object is large, and is used for one file after another.
class MarkerFilter {
  public:
    using Write = void (*)(void* user, const char* data, std::size_t size);
    // Gets the name of each file that the preprocessor enters, also where the filter drops the
    // marker.
    using Enter = void (*)(const char* file);

    void begin(Write write, void* user, Enter enter);
    // Where the next bytes of input go; never empty. `received` says how many there are.
    std::span<char> room() { return {buffer_ + held_, sizeof buffer_ - held_}; }
    void received(std::size_t size);
    void end();

  private:
    struct Marker {
        unsigned long line;
        const char* name; // with its escapes
        const char* name_end;
        bool enters_file;
    };
    // How the scanner sees the text: comments nest, strings run over lines, apostrophes mean
    // nothing.
    struct Reader {
        unsigned comment_depth = 0;
        bool in_string = false;
        bool in_directive = false; // to the end of the line
        bool escaped = false;
        char previous = '\0'; // a slash or a star that may begin or end a comment
        bool counts() const { return comment_depth == 0 && !in_string; }
        void step(char c);
    };
    // How the preprocessor sees it: both quotes protect a line from comments, and a comment ends at
    // the first end mark.
    struct Preprocessor {
        bool in_comment = false;
        char quote = '\0';
        bool escaped = false;
        char previous = '\0';
        void step(char c);

      private:
        void step_at_quote(char c, bool after_backslash);
    };

    // The input that is being filtered.
    struct Block {
        const char* written; // the start of what has not been handed on yet
        const char* at;
        const char* end;
        bool is_last;
    };
    enum class Line { text, marker, incomplete };

    std::size_t filter(const char* data, std::size_t size, bool last);
    Line begin_line(Block& block);
    bool take_marker(Block& block, const Marker& marker, const char* line_end);
    void write_up_to(Block& block, const char* place);
    const char* scan(const char* data, const char* end);
    static bool parse_marker(const char* line, const char* end, Marker* marker);
    void set_position(const Marker& marker);
    bool position_is_in_a_file() const;
    void write_position();

    Write write_;
    void* user_;
    Enter enter_;
    Reader reader_;
    Preprocessor preprocessor_;
    bool at_line_start_;
    bool missed_;        // the scanner does not know its position
    unsigned long line_; // of the text that follows
    std::size_t name_length_;
    std::size_t held_;
    char buffer_[1 << 16];
    char name_[1 << 16]; // of the file; fits any name that fits the buffer
};

} // namespace norvane::os

#endif
