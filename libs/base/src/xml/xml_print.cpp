// Writes XML documents.
//
// The output is well-formed for any texts: characters that XML cannot represent become "?", and
// those that a parser would change (white space in attributes, carriage returns) become references.

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "codepage.h"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"
#include "norvane/base/xml.h"
#include "xml_node.h"

namespace norvane::xml {
namespace {

// Deeper levels are indented like this one, so that the size of the output stays linear: the
// indentation of a chain of a million elements would not fit on a disk.
constexpr std::size_t deepest_indent = 32;

// A buffer, because the output is written in very small pieces.
struct Output {
    FILE* stream;
    std::size_t used;
    char bytes[16 << 10];
};

void flush(Output* out) {
    std::fwrite(out->bytes, 1, out->used, out->stream);
    out->used = 0;
}

void put(Output* out, const char* text, std::size_t size) {
    if (size > sizeof out->bytes - out->used) {
        flush(out);
        if (size > sizeof out->bytes) {
            std::fwrite(text, 1, size, out->stream);
            return;
        }
    }
    std::memcpy(out->bytes + out->used, text, size);
    out->used += size;
}

void put(Output* out, const char* text) {
    put(out, text, std::strlen(text));
}

void put(Output* out, char c) {
    if (out->used == sizeof out->bytes) flush(out);
    out->bytes[out->used++] = c;
}

// Returns what replaces a byte below 128, or null if it is written unchanged.
constexpr const char* escape(unsigned char c, bool in_attribute) {
    switch (c) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '"': return in_attribute ? "&quot;" : nullptr;
    case '\t': return in_attribute ? "&#9;" : nullptr;
    case '\n': return in_attribute ? "&#10;" : nullptr;
    case '\r': return "&#13;";
    default: return c < 0x20 ? "?" : nullptr;
    }
}

// Tells for each byte whether it is always written unchanged.
using PlainBytes = std::array<bool, 256>;

constexpr PlainBytes plain_bytes(bool in_attribute) {
    PlainBytes plain{};
    for (unsigned c = 0; c < 0x80; ++c)
        plain[c] = !escape(static_cast<unsigned char>(c), in_attribute);
    return plain;
}

constexpr PlainBytes plain_in_text = plain_bytes(false);
constexpr PlainBytes plain_in_attribute = plain_bytes(true);

// Returns true for code points that a document must not contain.
bool is_forbidden(int code_point) {
    return code_point < 0 || code_point == 0xFFFE || code_point == 0xFFFF;
}

void put_utf8(Output* out, const char* text, std::size_t size, bool in_attribute) {
    const PlainBytes& plain = in_attribute ? plain_in_attribute : plain_in_text;
    std::size_t begin = 0; // of the bytes that are not written yet
    for (std::size_t i = 0; i < size;) {
        const auto c = static_cast<unsigned char>(text[i]);
        std::size_t length = 1;
        const char* instead = nullptr;
        if (!plain[c]) {
            if (c < 0x80)
                instead = escape(c, in_attribute);
            else if (is_forbidden(text::utf8_decode(text + i, size - i, &length)))
                instead = "?";
        }
        if (instead) {
            put(out, text + begin, i - begin);
            put(out, instead);
            begin = i + length;
        }
        i += length;
    }
    put(out, text + begin, size - begin);
}

// Not inlined, because its buffer would enlarge the frames of the recursive functions.
[[gnu::noinline]] void put_codepage(Output* out, const char* text, std::size_t size,
                                    bool in_attribute) {
    constexpr std::size_t step = 256;
    char converted[3 * step];
    for (std::size_t i = 0; i < size; i += step) {
        const std::size_t bytes = std::min(step, size - i);
        put_utf8(out, converted, text::codepage_to_utf8(text + i, bytes, converted), in_attribute);
    }
}

void put_text(Output* out, const char* text, bool is_utf8, bool in_attribute) {
    const std::size_t size = std::strlen(text);
    if (is_utf8 || text::ascii_prefix(text, size) == size)
        put_utf8(out, text, size, in_attribute);
    else
        put_codepage(out, text, size, in_attribute);
}

void put_indent(Output* out, std::size_t depth) {
    constexpr char blanks[] = "                                                                ";
    static_assert(sizeof blanks - 1 == 2 * deepest_indent);
    put(out, blanks, 2 * std::min(depth, deepest_indent));
}

void put_start(Output* out, const XmlNode* node) {
    put(out, '<');
    put(out, node->tag);
    for (unsigned i = 0; i < node->attribute_count; ++i) {
        const char* name = node->attributes[2 * i];
        if (!name) continue;
        put(out, ' ');
        put(out, name);
        put(out, "=\"", 2);
        put_text(out, node->attributes[2 * i + 1], node->utf8, true);
        put(out, '"');
    }
    if (!node->first) put(out, '/');
    put(out, '>');
}

void put_end(Output* out, const XmlNode* node) {
    put(out, "</", 2);
    put(out, node->tag);
    put(out, '>');
}

bool has_text(const XmlNode* node) {
    for (const XmlNode* child = node->first; child; child = child->next)
        if (!child->tag) return true;
    return false;
}

// Writes a node without layout: inside an element that contains text, added white space would be
// content.
void put_inline(Output* out, const XmlNode* node) {
    if (stack_is_low()) return on_fresh_stack([&] { put_inline(out, node); });
    if (!node->tag) return put_text(out, node->text, node->utf8, false);
    put_start(out, node);
    for (const XmlNode* child = node->first; child; child = child->next)
        put_inline(out, child);
    if (node->first) put_end(out, node);
}

void put_indented(Output* out, const XmlNode* node, std::size_t depth) {
    if (stack_is_low()) return on_fresh_stack([&] { put_indented(out, node, depth); });
    put_indent(out, depth);
    if (!node->first || has_text(node)) {
        put_inline(out, node);
    } else {
        put_start(out, node);
        put(out, '\n');
        for (const XmlNode* child = node->first; child; child = child->next)
            put_indented(out, child, depth + 1);
        put_indent(out, depth);
        put_end(out, node);
    }
    put(out, '\n');
}

void put_prolog(Output* out, const XmlDocument* document) {
    put(out, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    if (document->xsl) {
        put(out, "<?xml-stylesheet type=\"text/xsl\" href=\"");
        put(out, document->xsl);
        put(out, "\"?>\n");
    }
    if (document->dtd) {
        put(out, "<!DOCTYPE ");
        put(out, document->root->tag);
        put(out, " SYSTEM \"");
        put(out, document->dtd);
        put(out, "\">\n");
    }
}

} // namespace
} // namespace norvane::xml

using namespace norvane::xml;

void xml_print_indented(XmlDocument* document, FILE* stream) {
    NORVANE_ASSERT(document);
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(document->root);
    auto* out = static_cast<Output*>(util_malloc_throw(sizeof(Output)));
    out->stream = stream;
    out->used = 0;
    put_prolog(out, document);
    put_indented(out, document->root, 0);
    flush(out);
    std::free(out);
}
