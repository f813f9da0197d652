// A stack machine over a stream of XML: for readers that build their result as the elements close,
// without a tree of the document.
//
// A format is a table of its elements. The machine keeps a stack of those that are open and those
// that have closed; when an element closes, its handler gets the closed elements inside of it, in
// document order, and folds what they hold into what it holds itself. So everything that has been
// read belongs to exactly one element of the stack, and is freed with it if the reading fails.
//
// Elements that are not in the table are passed over in silence, with all that is in them.
// White space between elements does not count; any other text is a child of the tag CDATA_TAG.
// Handlers may throw (except.h): the throw comes out of sax_parse. No more is allocated than the
// stack: one machine reads documents of any length.
#ifndef NORVANE_BASE_SAX_INCLUDE_HPP
#define NORVANE_BASE_SAX_INCLUDE_HPP

#include <cstddef>

#include "norvane/base/export.h"

// How often a child stands at its place.
enum ChildTagState : int {
    CHILD_ONE = 0,
    CHILD_OPTIONAL = 1,
    CHILD_ONE_OR_MORE = 2,
    CHILD_ANY = 3,
};

// A row of a table of the children that an element may have, which a null tag ends.
struct ChildTag {
    const char* tag;
    ChildTagState state;
};

struct SaxInfo; // the state of a parse
struct SaxTag;

// An element on the stack.
struct StackData {
    void* data;        // what its handler stored; freed by the row's `delete_data`
    const SaxTag* row; // of the table
    std::size_t attrs; // private
    int line_no;       // of the start tag
    bool is_closed;    // its handler has run
};

// The children of an element, in document order, where they lie on the stack.
struct SaxChildren {
    StackData* first;
    std::size_t count;

    StackData* begin() const { return first; }
    StackData* end() const { return first + count; }
    StackData& operator[](std::size_t index) const { return first[index]; }
    SaxChildren from(std::size_t index) const { return {first + index, count - index}; }
};

// Stores in `sd` what the element amounts to. What it takes out of a child it sets to null there:
// the children are freed when it returns.
using SaxHandler = void (*)(SaxInfo* pi, StackData* sd, SaxChildren children);

// A row of the table of a format, which a null tag ends. All is borrowed.
struct SaxTag {
    const char* tag;
    const ChildTag* valid_tags; // checked before the handler is called; null if that checks itself
    SaxHandler handler;
    void (*delete_data)(void* data); // called for data that is not null; may be null
};

// The tag of a text; its data is a UtilString.
#define CDATA_TAG "#cdata"

// Puts up to `size` bytes into `buffer` and returns their number; sets `at_end` once there are no
// more. May throw.
using SaxRead = std::size_t (*)(void* user, void* buffer, std::size_t size, bool* at_end);

// A new machine for the table of at most 127 rows, freed with sax_delete. `tag_is_mixed` tells of a
// tag whether white space counts as text in the element and in all below, `tag_is_text` whether it
// does in the element; they must not throw. Throws kind 0, "Out of memory", if expat cannot start.
NORVANE_BASE_API SaxInfo* sax_new(const SaxTag* tag_handler_table, int (*tag_is_mixed)(const char*),
                                  int (*tag_is_text)(const char*));
// Frees the machine with all that is left on its stack.
NORVANE_BASE_API void sax_delete(SaxInfo* pi);

// Reads the document to its end, in blocks of 2048 bytes: true, or false if it is not well-formed.
// Throws what a handler threw.
NORVANE_BASE_API bool sax_parse(SaxInfo* pi, SaxRead read, void* user);
// Where sax_parse has stopped; why, in expat's words, if it returned false.
NORVANE_BASE_API int sax_line(const SaxInfo* pi);
NORVANE_BASE_API const char* sax_error_text(const SaxInfo* pi);

// The stack: after a parse it holds the root, unless that is unknown. Who takes the data of the top
// sets it to null there; stack_pop frees what is left of the top.
NORVANE_BASE_API bool stack_is_empty(const SaxInfo* pi);
NORVANE_BASE_API StackData* stack_top(const SaxInfo* pi);
NORVANE_BASE_API void stack_pop(SaxInfo* pi);

// For handlers.

// 1 if the children are as the table has them. If not: 0, or, with `report`, throws "Missing
// expected child" or "Found invalid children".
NORVANE_BASE_API int sax_check_children(const StackData* sd, SaxChildren children,
                                        const ChildTag* valid_tags, int report);

// The value of an attribute of the element whose handler is running, in code page 1252: borrowed,
// until that returns. Without such an attribute the one gives null, and the other throws.
NORVANE_BASE_API const char* sax_get_attr(const SaxInfo* pi, const StackData* sd, const char* name);
NORVANE_BASE_API const char* sax_must_get_attr(const SaxInfo* pi, const StackData* sd,
                                               const char* name);

// Throws kind 2 with the formatted text, cut at 2047 bytes, for the place of `sd`, which may be
// null.
[[noreturn]] NORVANE_BASE_API void sax_error(const StackData* sd, const char* format, ...)
    NORVANE_PRINTF(2, 3);

#endif
