// Prints identifiers, plain, quoted or cleaned, and paths of them.
#include <algorithm>
#include <array>
#include <cstdint>

#include "norvane/base/deep.hpp"
#include "norvane/base/items.hpp"
#include "norvane/proj/printpmfile.h"
#include "printpmfile_internal.h"
#include "tags.h"

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

// The bytes of a word as one number, so that words are compared in one step.
constexpr std::uint64_t number_of(std::string_view word) {
    std::uint64_t number = 0;
    for (const char c : word)
        number = number << 8 | static_cast<unsigned char>(c);
    return number;
}

constexpr auto reserved_numbers = [] {
    std::array<std::uint64_t, std::size(reserved_words)> numbers{};
    std::ranges::transform(reserved_words, numbers.begin(), number_of);
    return numbers;
}();

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

inline bool is_reserved(std::string_view id) {
    if (id.empty() || id.size() > longest_word) return false;
    const unsigned lengths = reserved_lengths[static_cast<unsigned char>(id[0])];
    return (lengths >> id.size() & 1) != 0 &&
           std::ranges::find(reserved_numbers, number_of(id)) != reserved_numbers.end();
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

// Inline, since a path is a row of names.
inline unsigned print_name(FILE* stream, const char* id) {
    NORVANE_ASSERT(id);
    if (const std::size_t length = plain_length(id)) return put(stream, {id, length});
    return print_and_delete(stream, new_quoted(id));
}

// Nominal widths used for line breaking, regardless of the real width. Kept for compatibility: the
// line breaks of existing models depend on them.
constexpr unsigned index_width = 5;
constexpr unsigned composite_width = 0;

// Nearly every index of a flat rule is a number.
void print_index(FILE* stream, Expr* index) {
    if (index && index->structure == EXPR_INT_CONST)
        print_int_const(stream, index);
    else
        ppm_print_expr(stream, index);
}

unsigned print_array_id(FILE* stream, const IdCon* idcon) {
    unsigned width = print_name(stream, idcon->args.array.idname);
    for (Expr* index : items<Expr>(idcon->args.array.exprlist)) {
        put(stream, "[");
        print_index(stream, index);
        put(stream, "]");
        width += index_width;
    }
    return width;
}

unsigned print_step(FILE* stream, const IdCon* idcon) {
    switch (kind_of(idcon)) {
    case IDCON_SIMPLE: return print_name(stream, idcon->args.id.idname);
    case IDCON_ARRAY: return print_array_id(stream, idcon);
    case IDCON_COMPOSIT: break;
    }
    NORVANE_FAIL("Invalid id constructor type '%d'", idcon->contype);
}

} // namespace
} // namespace norvane::model

using namespace norvane;
using namespace norvane::model;

unsigned ppm_print_id(FILE* stream, char* id) {
    NORVANE_ASSERT(stream);
    return print_name(stream, id);
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

unsigned ppm_print_idcon(FILE* stream, IdCon* idcon) {
    if (stack_is_low()) return on_fresh_stack([&] { return ppm_print_idcon(stream, idcon); });
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(idcon);
    const bool is_path = idcon->contype == IDCON_COMPOSIT;
    while (idcon->contype == IDCON_COMPOSIT) {
        IdCon* head = idcon->args.compositid.hier;
        if (head && head->contype != IDCON_COMPOSIT)
            print_step(stream, head);
        else
            ppm_print_idcon(stream, head);
        put(stream, ".");
        idcon = idcon->args.compositid.nested;
        NORVANE_ASSERT(idcon);
    }
    const unsigned width = print_step(stream, idcon);
    return is_path ? composite_width : width;
}

void ppm_print_idcon_stderr(IdCon* idcon) {
    ppm_print_idcon(stderr, idcon);
    put(stderr, "\n");
}

void ppm_print_idcon_str(IdCon* idcon, UtilString* string) {
    NORVANE_ASSERT(idcon);
    NORVANE_ASSERT(string);
    print_into(string, [&](FILE* stream) { ppm_print_idcon(stream, idcon); });
}
