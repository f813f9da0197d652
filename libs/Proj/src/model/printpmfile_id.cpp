// Prints identifiers: plain, quoted or cleaned.
#include <array>

#include "norvane/proj/printpmfile.h"
#include "printpmfile_internal.h"

namespace norvane::model {
namespace {

// What a byte may be in a plain identifier. Bytes above 127 are never part of one, so that the
// result does not depend on a code page.
enum ByteClass : unsigned char { OTHER, DIGIT, LETTER };

constexpr std::array<ByteClass, 256> make_byte_classes() {
    std::array<ByteClass, 256> classes{};
    for (std::size_t c = '0'; c <= '9'; ++c)
        classes[c] = DIGIT;
    for (std::size_t c = 'a'; c <= 'z'; ++c)
        classes[c] = classes[c - 'a' + 'A'] = LETTER;
    classes['_'] = LETTER;
    return classes;
}

constexpr std::array<ByteClass, 256> byte_classes = make_byte_classes();

ByteClass class_of(char c) {
    return byte_classes[static_cast<unsigned char>(c)];
}

// Without "integer", whose label is printed without quotes: kept for compatibility.
constexpr std::string_view reserved_words[] = {
    "and",      "array", "boolean", "case",    "constant", "default", "else", "esac",
    "exist",    "false", "float",   "forall",  "if",       "in",      "not",  "of",
    "optional", "or",    "order",   "private", "product",  "public",  "rule", "string",
    "sum",      "then",  "true",    "type",    "variable", "xor"};
constexpr std::size_t longest_word = 8;

// For each first byte the lengths of the reserved words that begin with it, as bits: most names
// begin like no reserved word of their length.
constexpr std::array<unsigned short, 256> make_lengths() {
    std::array<unsigned short, 256> lengths{};
    for (const std::string_view word : reserved_words) {
        unsigned short& bits = lengths[static_cast<unsigned char>(word[0])];
        bits = static_cast<unsigned short>(bits | 1u << word.size());
    }
    return lengths;
}

constexpr std::array<unsigned short, 256> reserved_lengths = make_lengths();

[[gnu::noinline]] bool is_reserved_word(std::string_view id) {
    for (const std::string_view word : reserved_words)
        if (id == word) return true;
    return false;
}

inline bool is_reserved(std::string_view id) {
    if (id.empty() || id.size() > longest_word) return false;
    const unsigned lengths = reserved_lengths[static_cast<unsigned char>(id[0])];
    return (lengths >> id.size() & 1) != 0 && is_reserved_word(id);
}

// The length of a plain identifier, or 0 if the identifier needs quotes, as the empty one does.
std::size_t plain_length(const char* id) {
    if (class_of(id[0]) != LETTER) return 0;
    std::size_t length = 1;
    while (class_of(id[length]) != OTHER)
        ++length;
    if (id[length] != '\0' || is_reserved({id, length})) return 0;
    return length;
}

UtilString* new_quoted(const char* id) {
    UtilString* text = ustr_new();
    ustr_append_string(text, id);
    ustr_quote(text);
    return text;
}

UtilString* new_clean(const char* id) {
    UtilString* text = ustr_new();
    if (is_reserved(id)) {
        ustr_append_string(text, id);
        ustr_append_char(text, '_');
        return text;
    }
    // The first byte is converted even if it is the terminator, so that an empty name gets a text.
    const char* c = id;
    do {
        const bool plain = class_of(*c) == LETTER || (class_of(*c) == DIGIT && c != id);
        if (plain) {
            ustr_append_char(text, *c);
        } else {
            ustr_printf(text, "A%03d", static_cast<unsigned char>(*c));
        }
    } while (*c != '\0' && *++c != '\0');
    return text;
}

char* take_text(UtilString* text) {
    char* copy = str_copy(text->text);
    ustr_delete(text);
    return copy;
}

unsigned print_and_delete(FILE* stream, UtilString* text) {
    const unsigned length = put(stream, {text->text, text->length});
    ustr_delete(text);
    return length;
}

} // namespace
} // namespace norvane::model

using namespace norvane;
using namespace norvane::model;

unsigned ppm_print_id(FILE* stream, char* id) {
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(id);
    if (const std::size_t length = plain_length(id)) return put(stream, {id, length});
    return print_and_delete(stream, new_quoted(id));
}

char* ppm_quoted_id(char* id) {
    NORVANE_ASSERT(id);
    return plain_length(id) != 0 ? str_copy(id) : take_text(new_quoted(id));
}

char* ppm_clean_id(char* id) {
    NORVANE_ASSERT(id);
    return take_text(new_clean(id));
}

unsigned ppm_print_clean_id(FILE* stream, char* id) {
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(id);
    return print_and_delete(stream, new_clean(id));
}
