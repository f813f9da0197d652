// A stack machine over a stream of XML, for readers that build their result while they read,
// without a tree of the document.
//
// A format is a table of its elements. The machine keeps open elements and finished children on a
// stack. When an element ends, its handler gets its children in document order and builds the
// element's data from theirs. So all data belongs to exactly one element on the stack, and is freed
// with it if reading fails.
//
// Elements that the table does not contain are skipped with their content. White space between
// elements is ignored; any other text is a child with the tag CDATA_TAG. Handlers may throw by
// except.h, and sax_parse throws that on; a C++ exception must not leave them. Memory is allocated
// for the stack only, so documents may be of any length.
#ifndef NORVANE_BASE_SAX_INCLUDE_HPP
#define NORVANE_BASE_SAX_INCLUDE_HPP

#include <cstddef>

#include "norvane/base/export.h"

// How often a child may occur at its position.
enum ChildTagState : int {
    CHILD_ONE = 0,
    CHILD_OPTIONAL = 1,
    CHILD_ONE_OR_MORE = 2,
    CHILD_ANY = 3,
};

// A row of the table of an element's children. A null tag ends the table.
struct ChildTag {
    const char* tag;
    ChildTagState state;
};

struct SaxInfo; // the state of a parse
struct SaxTag;

// An element on the stack.
struct StackData {
    void* data;        // set by the handler; freed by `delete_data` of the row
    const SaxTag* row; // of the format's table
    std::size_t attrs; // private
    int line_no;       // of the start tag
    bool is_closed;    // its handler has run
};

// The children of an element, in document order: a part of the stack.
struct SaxChildren {
    StackData* first;
    std::size_t count;

    StackData* begin() const { return first; }
    StackData* end() const { return first + count; }
    StackData& operator[](std::size_t index) const { return first[index]; }
    SaxChildren from(std::size_t index) const { return {first + index, count - index}; }
};

// Builds the data of the element `sd` from that of its children. The machine frees the children
// afterwards, so the handler sets `data` to null in a child whose data it takes over.
using SaxHandler = void (*)(SaxInfo* pi, StackData* sd, SaxChildren children);

// A row of a format's table, which the machine borrows. A null tag ends the table.
struct SaxTag {
    const char* tag;
    const ChildTag* valid_tags; // checked before the handler runs; null: the handler checks
    SaxHandler handler;
    void (*delete_data)(void* data); // called for data that is not null; may be null
};

// The tag of a text; its data is a UtilString.
#define CDATA_TAG "#cdata"

// Reads up to `size` bytes into `buffer` and returns their number; sets `at_end` at the end of the
// document. May throw.
using SaxRead = std::size_t (*)(void* user, void* buffer, std::size_t size, bool* at_end);

// Returns a new machine, freed with sax_delete, for a table of at most 127 rows. `tag_is_mixed`
// tells whether white space is text in an element with this tag and in all elements below it;
// `tag_is_text` tells it for the element only. They must not throw. Throws kind 0, "Out of memory",
// if expat cannot be started.
NORVANE_BASE_API SaxInfo* sax_new(const SaxTag* tag_handler_table, int (*tag_is_mixed)(const char*),
                                  int (*tag_is_text)(const char*));
// Frees the machine and the elements on its stack.
NORVANE_BASE_API void sax_delete(SaxInfo* pi);

// Reads the document to its end, in blocks of 2048 bytes. Returns false if it is not well-formed.
// Throws on what a handler or `read` threw.
NORVANE_BASE_API bool sax_parse(SaxInfo* pi, SaxRead read, void* user);
// The line where sax_parse stopped; expat's description of the fault, if it returned false.
NORVANE_BASE_API int sax_line(const SaxInfo* pi);
NORVANE_BASE_API const char* sax_error_text(const SaxInfo* pi);

// The stack. After a parse it holds the root element, unless its tag is unknown. stack_top is
// borrowed; stack_pop removes it and frees its data, so a caller that takes the data over sets it
// to null first.
NORVANE_BASE_API bool stack_is_empty(const SaxInfo* pi);
NORVANE_BASE_API StackData* stack_top(const SaxInfo* pi);
NORVANE_BASE_API void stack_pop(SaxInfo* pi);

// For handlers.

// Returns 1 if the children match the table. Otherwise returns 0, or, if `report` is non-zero,
// throws "Missing expected child" or "Found invalid children".
NORVANE_BASE_API int sax_check_children(const StackData* sd, SaxChildren children,
                                        const ChildTag* valid_tags, int report);

// Return an attribute's value, in code page 1252, of the element whose handler is running; borrowed
// until that handler returns. Without the attribute the first returns null and the second throws.
NORVANE_BASE_API const char* sax_get_attr(const SaxInfo* pi, const StackData* sd, const char* name);
NORVANE_BASE_API const char* sax_must_get_attr(const SaxInfo* pi, const StackData* sd,
                                               const char* name);

// Throws EXCEPT_MALFORMED_INPUT with the formatted text, truncated to 2047 bytes, and the tag and
// line of `sd`, which may be null.
[[noreturn]] NORVANE_BASE_API void sax_error(const StackData* sd, const char* format, ...)
    NORVANE_PRINTF(2, 3);

#endif
