// A text with its lines, and its positions as the client and as the library count them.
#ifndef NORVANE_PM_LSP_LINES_H
#define NORVANE_PM_LSP_LINES_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "json.h"

namespace norvane::driver::lsp {

// As the client counts: from 0, columns in units of UTF-16.
struct Position {
    std::size_t line = 0;
    std::size_t character = 0;
    bool operator<(const Position& other) const {
        return line < other.line || (line == other.line && character < other.character);
    }
    bool operator>(const Position& other) const { return other < *this; }
    bool operator<=(const Position& other) const { return !(other < *this); }
};

struct Range {
    Position start;
    Position end;
};

Json to_json(const Position& position);
Json to_json(const Range& range);
Position position_of(const Json& json);
Range range_of(const Json& json);

// The encoding of a file. In code page 1252 each byte is a character.
enum class Coding { codepage, utf8 };

class Lines {
  public:
    explicit Lines(std::string utf8 = {}, Coding coding = Coding::codepage);
    // The bytes of a file, in whichever of the two codes they are.
    static Lines of_bytes(std::string bytes);

    const std::string& text() const { return text_; }
    Coding coding() const { return coding_; }
    std::string bytes() const; // as the file has them
    std::size_t count() const { return starts_.size(); }
    std::string_view line(std::size_t number) const; // without its end; empty beyond the last one

    // A position beyond its line is the end of the line, and one beyond the text its end.
    std::size_t offset(const Position& position) const;
    Position position(std::size_t offset) const;
    Position end() const { return position(text_.size()); }

    // A column of the library, which counts from 1 and in bytes of the file, and back.
    Position from_file(unsigned line, unsigned column) const;
    unsigned column_in_file(const Position& position) const;

    void replace(const Range& range, std::string_view utf8);

  private:
    // A column of a line in the file, with its offset in the line and its units of UTF-16. The next
    // place on the line is often after it, and a line may be long.
    struct Walk {
        unsigned line = 0;
        std::size_t column = 0;
        std::size_t at = 0;
        std::size_t units = 0;
    };

    void find_starts(std::size_t first_line);

    std::string text_;
    Coding coding_;
    // The last place of from_file(), and some of the same line to begin at.
    mutable Walk walk_;
    mutable std::vector<Walk> landmarks_;
    std::vector<std::size_t> starts_;
};

} // namespace norvane::driver::lsp

#endif
