// The filter follows two scanners at once: the preprocessor's, to know which lines are markers, and
// that of models, to know which of those it would take for directives.
#include "marker_filter.h"

#include <array>
#include <charconv>
#include <cstring>

namespace norvane::os {
namespace {

// The bytes that change the state of one of the scanners. Another byte matters only right after one
// of these.
constexpr std::array<bool, 256> special = [] {
    std::array<bool, 256> table{};
    for (const char c : {'"', '\'', '/', '*', '\\', '\n'})
        table[static_cast<unsigned char>(c)] = true;
    return table;
}();

bool is_special(char c) {
    return special[static_cast<unsigned char>(c)];
}

// Tests four characters without a branch between them, since most of a model is ordinary text.
bool none_is_special(const char* four) {
    const int any = int{is_special(four[0])} | int{is_special(four[1])} | int{is_special(four[2])} |
                    int{is_special(four[3])};
    return any == 0;
}

// The first special character, or the end.
inline const char* next_special(const char* data, const char* end) {
    while (end - data >= 4 && none_is_special(data))
        data += 4;
    while (data < end && !is_special(*data))
        ++data;
    return data;
}

char half_of_a_comment_mark(char c) {
    return c == '/' || c == '*' ? c : '\0';
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_octal(const char* digits, const char* end) {
    if (end - digits < 3) return false;
    for (int i = 0; i < 3; ++i) {
        if (digits[i] < '0' || digits[i] > '7') return false;
    }
    return true;
}

// Undoes the escapes of a name; returns the end of the result. A line feed (written \n or \012)
// and a zero byte stay escaped, since a directive cannot hold them.
char* unescape(char* to, const char* from, const char* end) {
    while (from < end) {
        char c = *from++;
        if (c == '\\' && from < end && (*from == '\\' || *from == '"')) {
            c = *from++;
        } else if (c == '\\' && is_octal(from, end)) {
            const int code = (from[0] - '0') * 64 + (from[1] - '0') * 8 + (from[2] - '0');
            if (code != 0 && code != '\n') {
                c = static_cast<char>(code);
                from += 3;
            }
        }
        *to++ = c;
    }
    return to;
}

} // namespace

void MarkerFilter::Reader::step(char c) {
    if (c == '\n') in_directive = false;
    if (in_directive) return;
    if (in_string) {
        if (escaped)
            escaped = false;
        else if (c == '\\')
            escaped = true;
        else if (c == '"')
            in_string = false;
        return;
    }
    const char before = previous;
    previous = '\0';
    if (before == '/' && c == '*')
        ++comment_depth;
    else if (before == '*' && c == '/' && comment_depth > 0)
        --comment_depth;
    else if (c == '"' && comment_depth == 0)
        in_string = true;
    else
        previous = half_of_a_comment_mark(c);
}

void MarkerFilter::Preprocessor::step(char c) {
    const char before = previous;
    const bool after_backslash = escaped;
    previous = '\0';
    escaped = false;
    const bool is_quote = c == '"' || c == '\'';
    if (in_comment) {
        in_comment = before != '*' || c != '/';
        if (in_comment) previous = half_of_a_comment_mark(c);
    } else if (c == '\n') {
        quote = '\0';
    } else if (c == '\\') {
        escaped = !after_backslash;
    } else if (is_quote) {
        step_at_quote(c, after_backslash);
    } else if (quote == '\0') {
        in_comment = before == '/' && c == '*';
        if (!in_comment) previous = half_of_a_comment_mark(c);
    }
}

// A quote after a backslash counts for nothing, and inside of quotes neither does the other one.
void MarkerFilter::Preprocessor::step_at_quote(char c, bool after_backslash) {
    if (after_backslash) return;
    if (quote == '\0')
        quote = c;
    else if (quote == c)
        quote = '\0';
}

void MarkerFilter::begin(Write write, void* user, Enter enter) {
    write_ = write;
    user_ = user;
    enter_ = enter;
    reader_ = {};
    preprocessor_ = {};
    at_line_start_ = true;
    missed_ = false;
    line_ = 0;
    name_length_ = 0;
    held_ = 0;
}

void MarkerFilter::received(std::size_t size) {
    held_ += size;
    const std::size_t done = filter(buffer_, held_, false);
    held_ -= done;
    std::memmove(buffer_, buffer_ + done, held_);
}

void MarkerFilter::end() {
    filter(buffer_, held_, true);
}

void MarkerFilter::write_up_to(Block& block, const char* place) {
    if (place > block.written)
        write_(user_, block.written, static_cast<std::size_t>(place - block.written));
    block.written = place;
}

// Returns how many bytes have been handled: all, but for a last line that may become a marker.
std::size_t MarkerFilter::filter(const char* data, std::size_t size, bool last) {
    Block block = {data, data, data + size, last};
    while (block.at < block.end) {
        const Line line = at_line_start_ ? begin_line(block) : Line::text;
        if (line == Line::incomplete) break;
        if (line == Line::text) block.at = scan(block.at, block.end);
    }
    write_up_to(block, block.at);
    return static_cast<std::size_t>(block.at - data);
}

MarkerFilter::Line MarkerFilter::begin_line(Block& block) {
    const char first = *block.at;
    if (first == '#' && !preprocessor_.in_comment) {
        const auto rest = static_cast<std::size_t>(block.end - block.at);
        const auto* line_end = static_cast<const char*>(std::memchr(block.at, '\n', rest));
        if (!line_end && !block.is_last && rest < sizeof buffer_) return Line::incomplete;
        Marker marker;
        if (line_end && parse_marker(block.at, line_end, &marker) &&
            take_marker(block, marker, line_end))
            return Line::marker;
    }
    if (missed_ && reader_.counts() && position_is_in_a_file()) {
        write_up_to(block, block.at);
        write_position();
        missed_ = false;
    }
    reader_.in_directive = first == '#' && reader_.counts();
    at_line_start_ = false;
    return Line::text;
}

// False if the marker stays in the text, as in a comment, of which it is a line itself.
bool MarkerFilter::take_marker(Block& block, const Marker& marker, const char* line_end) {
    write_up_to(block, block.at);
    set_position(marker);
    if (marker.enters_file) {
        name_[name_length_] = '\0';
        enter_(name_);
    }
    missed_ = !reader_.counts() || !position_is_in_a_file();
    if (!missed_) write_position();
    if (reader_.comment_depth > 0) {
        --line_;
        return false;
    }
    block.at = block.written = line_end + 1;
    return true;
}

// Follows the text to the end of the line, line feed included; returns where it has stopped.
const char* MarkerFilter::scan(const char* data, const char* end) {
    for (;;) {
        const bool pending =
            reader_.previous || reader_.escaped || preprocessor_.previous || preprocessor_.escaped;
        if (!pending) data = next_special(data, end);
        if (data == end) return end;
        const char c = *data++;
        reader_.step(c);
        preprocessor_.step(c);
        if (c == '\n') {
            ++line_;
            at_line_start_ = true;
            return data;
        }
    }
}

// A marker is '# 12 "name"', and numbers may follow. `end` is at the line feed.
bool MarkerFilter::parse_marker(const char* line, const char* end, Marker* marker) {
    if (end - line < 2 || line[1] != ' ') return false;
    const std::from_chars_result number = std::from_chars(line + 2, end, marker->line);
    const char* at = number.ptr;
    if (number.ec != std::errc() || end - at < 3 || at[0] != ' ' || at[1] != '"') return false;
    at += 2;
    marker->name = at;
    while (at < end && *at != '"')
        at += *at == '\\' ? 2 : 1;
    if (at >= end) return false;
    marker->name_end = at++;
    marker->enters_file = end - at >= 2 && at[0] == ' ' && at[1] == '1';
    while (at < end && (*at == ' ' || is_digit(*at)))
        ++at;
    return at == end;
}

void MarkerFilter::set_position(const Marker& marker) {
    line_ = marker.line;
    name_length_ = static_cast<std::size_t>(unescape(name_, marker.name, marker.name_end) - name_);
}

bool MarkerFilter::position_is_in_a_file() const {
    if (line_ == 0 || name_length_ == 0) return false;
    return name_[0] != '<' || name_[name_length_ - 1] != '>';
}

void MarkerFilter::write_position() {
    char number[32];
    const std::to_chars_result end = std::to_chars(number, number + sizeof number, line_);
    write_(user_, "#line ", 6);
    write_(user_, number, static_cast<std::size_t>(end.ptr - number));
    write_(user_, " \"", 2);
    write_(user_, name_, name_length_);
    write_(user_, "\"\n", 2);
}

} // namespace norvane::os
