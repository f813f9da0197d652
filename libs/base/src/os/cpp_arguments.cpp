// The preprocessor has options that write files and load programs, and an argument "@FILE" makes it
// read more options from a file, even when it is the value of another option: the program that does
// the work gets that value as an argument of its own. So only three options are passed on, and a
// value never begins with a character that could give it another meaning.
#include "cpp_arguments.h"

#include <cstring>

namespace norvane::os {
namespace {

bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool is_name_character(char c) {
    return is_letter(c) || (c >= '0' && c <= '9') || c == '$';
}

// The end of the macro name at the start of a text: the text itself if there is none.
const char* end_of_name(const char* text) {
    if (!is_letter(*text)) return text;
    while (is_name_character(*text))
        ++text;
    return text;
}

// NAME, NAME=VALUE, NAME(PARAMETERS)=VALUE. The preprocessor would drop what follows a line feed.
bool is_definition(const char* text) {
    const char* end = end_of_name(text);
    const bool is_complete = *end == '\0' || *end == '=' || *end == '(';
    return end != text && is_complete && !std::strchr(text, '\n');
}

bool is_name(const char* text) {
    const char* end = end_of_name(text);
    return end != text && *end == '\0';
}

bool is_directory(const char* text) {
    return *text != '\0';
}

struct Option {
    char letter;
    bool (*takes)(const char* value);
    const char* wants; // for the message
};
constexpr Option options_passed_on[] = {
    {'I', is_directory, "a directory"},
    {'D', is_definition, "a macro name, as in NAME or NAME=VALUE"},
    {'U', is_name, "a macro name"},
};

const Option* find_option(const char* text) {
    if (text[0] != '-') return nullptr;
    for (const Option& option : options_passed_on)
        if (text[1] == option.letter) return &option;
    return nullptr;
}

// True if a name has to be given as "./NAME": "-" begins an option, "@" a file of options, "=" and
// "$" name the root of another system.
bool is_ambiguous(const char* name) {
    return *name != '\0' && std::strchr("-@=$", *name);
}

void append_joined(PolyList* arguments, const char* first, const char* second) {
    plist_append(arguments, str_cat(first, second));
}

} // namespace

bool append_options(PolyList* arguments, const PolyList* options, UtilString* error) {
    for (const PolyListNode* node = options->first; node; node = node->next) {
        const auto* text = static_cast<const char*>(node->element);
        const Option* option = find_option(text);
        if (!option) {
            ustr_printf(error,
                        "the preprocessor option '%s' is refused: only -I, -D and -U are passed on",
                        text);
            return false;
        }
        const char* value = text + 2;
        if (!*value && node->next) {
            node = node->next;
            value = static_cast<const char*>(node->element);
        }
        if (!option->takes(value)) {
            ustr_printf(error,
                        "the value '%s' of the preprocessor option -%c is refused: it takes %s",
                        value, option->letter, option->wants);
            return false;
        }
        const bool is_path = option->letter == 'I';
        const char letters[] = {'-', option->letter, '\0'};
        char* prefix = str_cat(letters, is_path && is_ambiguous(value) ? "./" : "");
        append_joined(arguments, prefix, value);
        str_delete(prefix);
    }
    return true;
}

void append_file(PolyList* arguments, const char* path) {
    append_joined(arguments, is_ambiguous(path) ? "./" : "", path);
}

} // namespace norvane::os
