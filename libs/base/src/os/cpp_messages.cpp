// A message is a line such as
//
//     In file included from engine.pm:4,
//                      from car.pm:13:
//     limits.pm:8:2: fatal error: wheels.pm: No such file or directory
//
// whose first lines tell the way of #include lines that led to the file. Lines of another form,
// such as "compilation terminated.", add nothing.
//
// In its traditional mode the preprocessor has read a directive to its end before it acts on it. So
// it gives the line after the directive for the #include lines on the way, and for messages with a
// column, but not for #error and #warning. This module corrects these lines, and drops the columns,
// which mean nothing.
#include "cpp_messages.h"

#include <charconv>
#include <cstring>
#include <iterator>

namespace norvane::os {
namespace {

struct Severity {
    const char* words;
    bool is_error;
    bool is_note;
};
constexpr Severity severities[] = {{": fatal error: ", true, false},
                                   {": error: ", true, false},
                                   {": warning: ", false, false},
                                   {": note: ", false, true}};

// Cuts ":NUMBER" off the end of a text and delivers the number; false if there is none.
bool cut_number(char* text, unsigned* number) {
    char* colon = std::strrchr(text, ':');
    if (!colon) return false;
    const char* end = colon + std::strlen(colon);
    const std::from_chars_result result = std::from_chars(colon + 1, end, *number);
    if (result.ec != std::errc() || result.ptr != end) return false;
    *colon = '\0';
    return true;
}

// What stands before the severity: "FILE:LINE:COLUMN", "FILE:LINE" or the name of a program.
struct Place {
    OsPlace place = {nullptr, 0};
    bool has_column = false;

    explicit Place(char* text) {
        unsigned last;
        unsigned line;
        if (!cut_number(text, &last)) return;
        has_column = cut_number(text, &line);
        place = {text, has_column ? line : last};
    }
};

OsPlace one_line_up(OsPlace place) {
    return {place.file, place.line > 1 ? place.line - 1 : place.line};
}

// The way of #include lines. More than fit are left out: deeper nesting is an error by itself.
struct IncludedFrom {
    OsPlace places[200];
    unsigned count = 0;

    // Takes "...from FILE:LINE," or "...from FILE:LINE:"; false for other lines.
    bool take(char* line) {
        constexpr char first[] = "In file included from ";
        constexpr char next[] = "                 from ";
        if (std::strncmp(line, first, std::strlen(first)) == 0)
            count = 0;
        else if (std::strncmp(line, next, std::strlen(next)) != 0)
            return false;
        char* place = line + std::strlen(first);
        static_assert(sizeof first == sizeof next);
        if (*place) place[std::strlen(place) - 1] = '\0'; // a comma or a colon
        const Place parsed(place);
        if (parsed.place.file && count < std::size(places))
            places[count++] = one_line_up(parsed.place);
        return true;
    }
};

// Where the severity stands: the first of the words that follows a number, as a place ends in one,
// or else the first, as in "cpp: fatal error: ...". A message may contain such words itself.
char* find_severity(char* line, const Severity** found) {
    char* first = nullptr;
    bool is_after_number = false;
    for (const Severity& severity : severities) {
        char* words = std::strstr(line, severity.words);
        if (!words) continue;
        const bool after_number = words > line && words[-1] >= '0' && words[-1] <= '9';
        if (first && (is_after_number != after_number ? is_after_number : words > first)) continue;
        first = words;
        is_after_number = after_number;
        *found = &severity;
    }
    return first;
}

bool read_message(char* line, OsPreprocessorMessage* message) {
    const Severity* severity = nullptr;
    char* words = find_severity(line, &severity);
    if (!words) return false;
    *words = '\0';
    message->is_error = severity->is_error;
    message->is_note = severity->is_note;
    message->text = words + std::strlen(severity->words);
    const Place parsed(line);
    const bool is_own_line = std::strncmp(message->text, "#error", 6) == 0 ||
                             std::strncmp(message->text, "#warning", 8) == 0;
    const bool is_late = parsed.has_column && !is_own_line;
    message->place = is_late ? one_line_up(parsed.place) : parsed.place;
    return true;
}

} // namespace

unsigned for_each_message(char* text, OsPreprocessorSink sink, void* user) {
    unsigned errors = 0;
    IncludedFrom included_from;
    for (char* line = text; *line;) {
        char* end = line + std::strcspn(line, "\n");
        char* next = *end ? end + 1 : end;
        *end = '\0';
        OsPreprocessorMessage message = {};
        if (!included_from.take(line) && read_message(line, &message)) {
            message.included_from = included_from.places;
            message.included_count = included_from.count;
            errors += message.is_error != 0;
            sink(&message, user);
            included_from.count = 0;
        }
        line = next;
    }
    return errors;
}

} // namespace norvane::os
