// The stack machine over expat.
//
// A throw must not jump over frames of expat: a callback catches what a handler throws, the
// callbacks after it do nothing, and sax_parse throws it on after expat has returned.
//
// Reading is fast because the row of an element is looked up once, handlers get the children in
// place on the stack, and the attributes of all open elements share one buffer.

#include "norvane/base/sax_include.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "codepage.h"
#include "norvane/base/array.hpp"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"
#include "xml_entities.h"
#include "xml_node.h"

struct SaxInfo : norvane::xml::XmlEntities {
    const SaxTag* tag_handler_table;
    int (*tag_is_mixed)(const char*);
    int (*tag_is_text)(const char*);
    int depth;          // of the next element, from 1
    int skip_depth;     // of the unknown element that is skipped; 0 if there is none
    int open_mixed_cnt; // number of open elements with mixed content
    norvane::Array<StackData> stack;
    // "NAME\0VALUE\0NAME\0VALUE\0\0" for each open element, the innermost last.
    norvane::Array<char> attrs;
    // A hash table of the rows, by tag: row numbers from 1, linear probing, 0 in an empty slot.
    unsigned char slots[256];
    bool is_thrown; // a callback has thrown `thrown`
    ExceptionState thrown;
};

namespace norvane::xml {
namespace {

constexpr std::size_t first_capacity = 1000;
constexpr int block_size = 2048;

void delete_text(void* text) {
    ustr_delete(static_cast<UtilString*>(text));
}

constexpr SaxTag cdata_row = {CDATA_TAG, nullptr, nullptr, delete_text};

SaxInfo* sax_info(void* user) {
    return static_cast<SaxInfo*>(static_cast<XmlEntities*>(user));
}

// Rows.

unsigned char slot_of(const char* tag) {
    unsigned hash = 0;
    for (; *tag; ++tag)
        hash = hash * 31 + static_cast<unsigned char>(*tag);
    return static_cast<unsigned char>(hash ^ (hash >> 8));
}

void add_rows(SaxInfo* pi) {
    for (unsigned char number = 0; pi->tag_handler_table[number].tag; ++number) {
        NORVANE_ASSERT(number < sizeof pi->slots / 2 - 1);
        unsigned char slot = slot_of(pi->tag_handler_table[number].tag);
        while (pi->slots[slot])
            ++slot;
        pi->slots[slot] = static_cast<unsigned char>(number + 1);
    }
}

// Returns null for an unknown tag.
const SaxTag* find_row(const SaxInfo* pi, const char* tag) {
    for (unsigned char slot = slot_of(tag); pi->slots[slot]; ++slot) {
        const SaxTag* row = &pi->tag_handler_table[pi->slots[slot] - 1];
        if (std::strcmp(row->tag, tag) == 0) return row;
    }
    return nullptr;
}

// The stack.

// Runs the body, and keeps what it throws. Returns false if it threw.
template <typename Body>
bool guarded(SaxInfo* pi, Body body) {
    const auto run = [](void* user) { (*static_cast<Body*>(user))(); };
    if (!except_catch(run, &body, &pi->thrown)) return true;
    pi->is_thrown = true;
    xml_stop(pi, XML_ERROR_ABORTED);
    return false;
}

// Makes room for `count` more elements; keeps the throw and returns false if there is no memory.
template <typename T>
bool make_room(SaxInfo* pi, Array<T>* array, std::size_t count) {
    return array->has_room_for(count) || guarded(pi, [=] { array->reserve(count); });
}

StackData* top(SaxInfo* pi) {
    return &pi->stack.last();
}

void count_mixed(SaxInfo* pi, const SaxTag* row, int change) {
    if (!pi->tag_is_mixed(row->tag)) return;
    pi->open_mixed_cnt += change;
    NORVANE_ASSERT(pi->open_mixed_cnt >= 0);
}

bool push_open(SaxInfo* pi, const SaxTag* row) {
    if (!make_room(pi, &pi->stack, 1)) return false;
    pi->stack.push({nullptr, row, pi->attrs.size(), sax_line(pi), false});
    return true;
}

void destroy(StackData* sd) {
    if (sd->data && sd->row->delete_data) sd->row->delete_data(sd->data);
}

// Attributes.

// Returns the copy, or null if there is no memory.
char* append_attr_text(SaxInfo* pi, const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    if (!make_room(pi, &pi->attrs, size)) return nullptr;
    return pi->attrs.append_reserved(text, size);
}

bool append_attr_value(SaxInfo* pi, const char* value) {
    char* copy = append_attr_text(pi, value);
    if (!copy) return false;
    const auto size = static_cast<std::size_t>(pi->attrs.end() - copy - 1);
    const std::size_t converted = text::utf8_to_codepage(copy, size, copy);
    copy[converted] = '\0';
    pi->attrs.truncate(pi->attrs.size() - (size - converted));
    return true;
}

bool push_attrs(SaxInfo* pi, const char** attributes) {
    for (; attributes[0]; attributes += 2)
        if (!append_attr_text(pi, attributes[0]) || !append_attr_value(pi, attributes[1]))
            return false;
    return append_attr_text(pi, "") != nullptr; // no attribute has an empty name
}

// The callbacks.

void on_start(void* user, const char* tag, const char** attributes);
void on_end(void* user, const char* tag);
void on_text(void* user, const char* text, int length);

// While an unknown element is skipped, only the depth is tracked.
void set_skip_depth(SaxInfo* pi, int depth) {
    pi->skip_depth = depth;
    XML_SetCharacterDataHandler(pi->parser, depth ? nullptr : on_text);
    xml_refuse_entities_in_text(pi, !depth);
}

void on_start(void* user, const char* tag, const char** attributes) {
    SaxInfo* pi = sax_info(user);
    if (pi->failure != XML_ERROR_NONE) return;
    const int depth = pi->depth++;
    if (pi->skip_depth) return;
    const SaxTag* row = find_row(pi, tag);
    if (!row) return set_skip_depth(pi, depth);
    if (!xml_accepts_attributes(pi, attributes)) return xml_stop(pi, pi->failure);
    if (!push_open(pi, row) || !push_attrs(pi, attributes)) return;
    count_mixed(pi, row, 1);
}

// The innermost open element ends. Everything above it on the stack is its children: finished
// elements and texts.
void close_element(SaxInfo* pi, const char* tag) {
    std::size_t count = 0;
    StackData* sd = top(pi);
    for (; sd->is_closed || sd->row == &cdata_row; --sd)
        ++count;
    NORVANE_ASSERT(str_is_equal(sd->row->tag, tag));
    const SaxTag* row = sd->row;
    const SaxChildren children{sd + 1, count};
    if (row->valid_tags) sax_check_children(sd, children, row->valid_tags, 1);
    row->handler(pi, sd, children);
    count_mixed(pi, row, -1);
    sd->is_closed = true;
    pi->attrs.truncate(sd->attrs);
    pi->stack.truncate(pi->stack.size() - count);
    for (StackData& child : children)
        destroy(&child);
}

void on_end(void* user, const char* tag) {
    SaxInfo* pi = sax_info(user);
    if (pi->failure != XML_ERROR_NONE) return;
    --pi->depth;
    if (!pi->skip_depth) guarded(pi, [=] { close_element(pi, tag); });
    if (pi->skip_depth == pi->depth) set_skip_depth(pi, 0);
}

// expat may pass a text in pieces. So that the result does not depend on them, ignorable white
// space is dropped before a text starts, and everything after that is kept.
void on_text(void* user, const char* text, int length) {
    SaxInfo* pi = sax_info(user);
    if (pi->failure != XML_ERROR_NONE) return;
    const char* const end = text + length;
    const bool is_continued = top(pi)->row == &cdata_row;
    const bool keeps_blanks = is_continued || pi->open_mixed_cnt > 0 ||
                              (!top(pi)->is_closed && pi->tag_is_text(top(pi)->row->tag));
    if (!keeps_blanks) text = std::find_if_not(text, end, is_xml_blank);
    if (text == end) return;
    if (!is_continued && !push_open(pi, &cdata_row)) return;
    guarded(pi, [=] {
        if (!is_continued) top(pi)->data = ustr_new();
        auto* all = static_cast<UtilString*>(top(pi)->data);
        ustr_append_chars(all, text, static_cast<std::size_t>(end - text));
    });
}

// What expat is given at once: one block, or more while a token is incomplete.
struct Chunk {
    SaxRead read;
    void* user;
    char* buffer;
    std::size_t room;
    std::size_t size;
    bool at_end;
};

void fill(void* user) {
    auto* chunk = static_cast<Chunk*>(user);
    do {
        const std::size_t block = std::min<std::size_t>(block_size, chunk->room - chunk->size);
        chunk->size += chunk->read(chunk->user, chunk->buffer + chunk->size, block, &chunk->at_end);
    } while (!chunk->at_end && chunk->room > block_size && chunk->size < chunk->room);
}

// The children.

bool has_tag(const StackData& sd, const char* tag) {
    return sd.row->tag == tag || std::strcmp(sd.row->tag, tag) == 0;
}

// How many children of a tag may follow each other.
struct ChildCount {
    std::size_t least;
    std::size_t most;
};

ChildCount count_of(ChildTagState state) {
    switch (state) {
    case CHILD_ONE: return {1, 1};
    case CHILD_OPTIONAL: return {0, 1};
    case CHILD_ONE_OR_MORE: return {1, SIZE_MAX};
    case CHILD_ANY: return {0, SIZE_MAX};
    }
    NORVANE_FAIL("Found invalid ChildTagState : %d", static_cast<int>(state));
}

} // namespace
} // namespace norvane::xml

using namespace norvane::xml;

SaxInfo* sax_new(const SaxTag* tag_handler_table, int (*tag_is_mixed)(const char*),
                 int (*tag_is_text)(const char*)) {
    NORVANE_ASSERT(tag_handler_table);
    NORVANE_ASSERT(tag_is_mixed);
    NORVANE_ASSERT(tag_is_text);
    auto* pi = new (util_calloc_throw(sizeof(SaxInfo))) SaxInfo{};
    pi->tag_handler_table = tag_handler_table;
    pi->tag_is_mixed = tag_is_mixed;
    pi->tag_is_text = tag_is_text;
    pi->depth = 1;
    add_rows(pi);
    pi->stack.reserve(first_capacity);
    pi->parser = XML_ParserCreate("UTF-8");
    if (!pi->parser) {
        sax_delete(pi);
        except_report_errormsg("Out of memory");
        except_throw(0, __LINE__, __FILE__);
    }
    XML_SetElementHandler(pi->parser, on_start, on_end);
    XML_SetCharacterDataHandler(pi->parser, on_text);
    xml_watch_entities(pi);
    return pi;
}

void sax_delete(SaxInfo* pi) {
    NORVANE_ASSERT(pi);
    for (std::size_t i = pi->stack.size(); i-- > 0;)
        destroy(&pi->stack[i]);
    if (pi->parser) XML_ParserFree(pi->parser);
    xml_forget_entities(pi);
    pi->~SaxInfo();
    std::free(pi);
}

// After a failed read, the bytes before the failure are parsed first, so that a fault in them is
// reported whatever the size of the chunk.
bool sax_parse(SaxInfo* pi, SaxRead read, void* user) {
    NORVANE_ASSERT(pi);
    NORVANE_ASSERT(read);
    for (bool at_end = false; !at_end;) {
        const int room = xml_next_chunk(pi, block_size);
        auto* buffer = static_cast<char*>(XML_GetBuffer(pi->parser, room));
        if (!buffer) return false;
        Chunk chunk = {read, user, buffer, static_cast<std::size_t>(room), 0, false};
        ExceptionState failure;
        const bool is_broken = except_catch(fill, &chunk, &failure);
        at_end = chunk.at_end && !is_broken;
        const XML_Status status = XML_ParseBuffer(pi->parser, static_cast<int>(chunk.size),
                                                  at_end ? XML_TRUE : XML_FALSE);
        if (pi->is_thrown) except_rethrow(&pi->thrown);
        if (status != XML_STATUS_OK) return false;
        if (is_broken) except_rethrow(&failure);
    }
    return true;
}

int sax_line(const SaxInfo* pi) {
    return static_cast<int>(XML_GetCurrentLineNumber(pi->parser));
}

const char* sax_error_text(const SaxInfo* pi) {
    const bool is_ours = pi->failure != XML_ERROR_NONE;
    return XML_ErrorString(is_ours ? pi->failure : XML_GetErrorCode(pi->parser));
}

bool stack_is_empty(const SaxInfo* pi) {
    NORVANE_ASSERT(pi);
    return pi->stack.empty();
}

StackData* stack_top(const SaxInfo* pi) {
    NORVANE_ASSERT(!stack_is_empty(pi));
    return top(const_cast<SaxInfo*>(pi));
}

void stack_pop(SaxInfo* pi) {
    destroy(stack_top(pi));
    pi->stack.pop();
}

int sax_check_children(const StackData* sd, SaxChildren children, const ChildTag* valid_tags,
                       int report) {
    NORVANE_ASSERT(sd);
    NORVANE_ASSERT(valid_tags);
    const StackData* child = children.begin();
    for (const ChildTag* valid = valid_tags; valid->tag; ++valid) {
        const ChildCount count = count_of(valid->state);
        std::size_t found = 0;
        for (; found < count.most && child != children.end() && has_tag(*child, valid->tag);
             ++found)
            ++child;
        if (found >= count.least) continue;
        if (!report) return 0;
        sax_error(sd, "Missing expected child '%s'", valid->tag);
    }
    if (child == children.end()) return 1;
    if (report) sax_error(sd, "Found invalid children: %s", child->row->tag);
    return 0;
}

const char* sax_get_attr(const SaxInfo* pi, const StackData* sd, const char* name) {
    for (const char* attr = &pi->attrs[sd->attrs]; *attr;) {
        const char* value = attr + std::strlen(attr) + 1;
        if (std::strcmp(attr, name) == 0) return value;
        attr = value + std::strlen(value) + 1;
    }
    return nullptr;
}

const char* sax_must_get_attr(const SaxInfo* pi, const StackData* sd, const char* name) {
    const char* value = sax_get_attr(pi, sd, name);
    if (!value) sax_error(sd, "No attribute '%s'", name);
    return value;
}

void sax_error(const StackData* sd, const char* format, ...) {
    char tag[100] = "";
    char line[100] = "";
    if (sd) str_snprintf(tag, sizeof tag, " tag <%s>", sd->row->tag);
    if (sd && sd->line_no >= 0) str_snprintf(line, sizeof line, " in line %d", sd->line_no);
    char message[MESSAGE_BUFFER_SIZE];
    va_list args;
    va_start(args, format);
    str_vsnprintf(message, sizeof message, format, args);
    va_end(args);
    except_report_errormsg("Error in XML file%s%s: %s\n", tag, line, message);
    except_throw(EXCEPT_MALFORMED_INPUT, __LINE__, __FILE__);
}
