// The stack machine over expat.
//
// Nothing jumps through frames of expat: what a callback throws is caught there, kept, and thrown
// on when expat has returned. The callbacks after it are ignored.
//
// Most of the time goes into expat and into what handlers make. So the row of an element is found
// once, at its start; children are handed over where they lie on the stack; and attributes lie one
// behind the other in one buffer, those of the innermost element last.

#include "norvane/base/sax_include.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <new>

#include "codepage.h"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"
#include "xml_entities.h"
#include "xml_node.h"

struct SaxInfo : norvane::XmlEntities {
    const SaxTag* tag_handler_table;
    int (*tag_is_mixed)(const char*);
    int (*tag_is_text)(const char*);
    int depth;          // of the next element, from 1
    int skip_depth;     // of the unknown element that is passed over; 0 if there is none
    int open_mixed_cnt; // open elements of mixed content
    StackData* s;
    std::size_t s_count;
    std::size_t s_capacity;
    // "NAME\0VALUE\0NAME\0VALUE\0\0" for each element that is open.
    char* attrs;
    std::size_t attrs_size;
    std::size_t attrs_capacity;
    // The rows by the hashes of their tags: numbers from 1, linear probing, 0 in an empty slot.
    unsigned char slots[256];
    bool is_thrown; // a callback has thrown `thrown`
    ExceptionState thrown;
};

namespace {

using norvane::xml_stop;
using norvane::XmlEntities;

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

// Null for an unknown tag.
const SaxTag* find_row(const SaxInfo* pi, const char* tag) {
    for (unsigned char slot = slot_of(tag); pi->slots[slot]; ++slot) {
        const SaxTag* row = &pi->tag_handler_table[pi->slots[slot] - 1];
        if (std::strcmp(row->tag, tag) == 0) return row;
    }
    return nullptr;
}

// The stack. What may throw is run by `guarded`, which is false if it threw.

template <typename Body>
bool guarded(SaxInfo* pi, Body body) {
    const auto run = [](void* user) { (*static_cast<Body*>(user))(); };
    if (!except_catch(run, &body, &pi->thrown)) return true;
    pi->is_thrown = true;
    xml_stop(pi, XML_ERROR_ABORTED);
    return false;
}

// Room for `count` more.
template <typename T>
bool make_room(SaxInfo* pi, T** array, std::size_t used, std::size_t* capacity, std::size_t count) {
    if (*capacity - used >= count) return true;
    return guarded(pi, [=] {
        const std::size_t larger = std::max(2 * *capacity, used + count);
        *array = static_cast<T*>(util_realloc_throw(*array, larger * sizeof(T)));
        *capacity = larger;
    });
}

StackData* top(const SaxInfo* pi) {
    return &pi->s[pi->s_count - 1];
}

void count_mixed(SaxInfo* pi, const SaxTag* row, int change) {
    if (!pi->tag_is_mixed(row->tag)) return;
    pi->open_mixed_cnt += change;
    NORVANE_ASSERT(pi->open_mixed_cnt >= 0);
}

bool push_open(SaxInfo* pi, const SaxTag* row) {
    if (!make_room(pi, &pi->s, pi->s_count, &pi->s_capacity, 1)) return false;
    pi->s[pi->s_count++] = {nullptr, row, pi->attrs_size, sax_line(pi), false};
    return true;
}

void destroy(StackData* sd) {
    if (sd->data && sd->row->delete_data) sd->row->delete_data(sd->data);
}

// Attributes.

char* append_attr_text(SaxInfo* pi, const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    if (!make_room(pi, &pi->attrs, pi->attrs_size, &pi->attrs_capacity, size)) return nullptr;
    char* copy = pi->attrs + pi->attrs_size;
    std::memcpy(copy, text, size);
    pi->attrs_size += size;
    return copy;
}

bool append_attr_value(SaxInfo* pi, const char* value) {
    char* copy = append_attr_text(pi, value);
    if (!copy) return false;
    const auto size = static_cast<std::size_t>(pi->attrs + pi->attrs_size - copy - 1);
    const std::size_t converted = norvane::utf8_to_codepage(copy, size, copy);
    copy[converted] = '\0';
    pi->attrs_size -= size - converted;
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

// While an unknown element is passed over, nothing but its depth is looked at.
void set_skip_depth(SaxInfo* pi, int depth) {
    pi->skip_depth = depth;
    XML_SetCharacterDataHandler(pi->parser, depth ? nullptr : on_text);
    norvane::xml_refuse_entities_in_text(pi, !depth);
}

void on_start(void* user, const char* tag, const char** attributes) {
    SaxInfo* pi = sax_info(user);
    if (pi->failure != XML_ERROR_NONE) return;
    const int depth = pi->depth++;
    if (pi->skip_depth) return;
    const SaxTag* row = find_row(pi, tag);
    if (!row) return set_skip_depth(pi, depth);
    if (!norvane::xml_accepts_attributes(pi, attributes)) return xml_stop(pi, pi->failure);
    if (!push_open(pi, row) || !push_attrs(pi, attributes)) return;
    count_mixed(pi, row, 1);
}

// All that lies above the innermost open element of the tag is its children: elements that have
// closed, and texts.
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
    pi->attrs_size = sd->attrs;
    pi->s_count -= count;
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

// expat may cut a text anywhere. So that this does not show, blanks that do not count are dropped
// wherever they come before a text, and once it has begun, all of it is kept.
void on_text(void* user, const char* text, int length) {
    SaxInfo* pi = sax_info(user);
    if (pi->failure != XML_ERROR_NONE) return;
    const char* const end = text + length;
    const bool is_continued = top(pi)->row == &cdata_row;
    const bool keeps_blanks = is_continued || pi->open_mixed_cnt > 0 ||
                              (!top(pi)->is_closed && pi->tag_is_text(top(pi)->row->tag));
    if (!keeps_blanks) text = std::find_if_not(text, end, norvane::is_xml_blank);
    if (text == end) return;
    if (!is_continued && !push_open(pi, &cdata_row)) return;
    guarded(pi, [=] {
        if (!is_continued) top(pi)->data = ustr_new();
        auto* all = static_cast<UtilString*>(top(pi)->data);
        ustr_append_chars(all, text, static_cast<std::size_t>(end - text));
    });
}

} // namespace

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
    pi->s = static_cast<StackData*>(util_malloc_throw(first_capacity * sizeof(StackData)));
    pi->s_capacity = first_capacity;
    pi->parser = XML_ParserCreate("UTF-8");
    if (!pi->parser) {
        sax_delete(pi);
        except_report_errormsg("Out of memory");
        except_throw(0, __LINE__, __FILE__);
    }
    XML_SetElementHandler(pi->parser, on_start, on_end);
    XML_SetCharacterDataHandler(pi->parser, on_text);
    norvane::xml_watch_entities(pi);
    return pi;
}

void sax_delete(SaxInfo* pi) {
    NORVANE_ASSERT(pi);
    for (std::size_t i = pi->s_count; i-- > 0;)
        destroy(&pi->s[i]);
    if (pi->parser) XML_ParserFree(pi->parser);
    norvane::xml_forget_entities(pi);
    std::free(pi->s);
    std::free(pi->attrs);
    std::free(pi);
}

namespace {

// What expat is given at once: one block, or as many as a long token makes it want.
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

} // namespace

// What was read before a read failed is looked at first, as it would be if expat were given one
// block at a time.
bool sax_parse(SaxInfo* pi, SaxRead read, void* user) {
    NORVANE_ASSERT(pi);
    NORVANE_ASSERT(read);
    for (bool at_end = false; !at_end;) {
        const int room = norvane::xml_next_chunk(pi, block_size);
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
    return pi->s_count == 0;
}

StackData* stack_top(const SaxInfo* pi) {
    NORVANE_ASSERT(!stack_is_empty(pi));
    return top(pi);
}

void stack_pop(SaxInfo* pi) {
    destroy(stack_top(pi));
    --pi->s_count;
}

namespace {

bool has_tag(const StackData& sd, const char* tag) {
    return sd.row->tag == tag || std::strcmp(sd.row->tag, tag) == 0;
}

} // namespace

int sax_check_children(const StackData* sd, SaxChildren children, const ChildTag* valid_tags,
                       int report) {
    NORVANE_ASSERT(sd);
    NORVANE_ASSERT(valid_tags);
    const StackData* child = children.begin();
    for (const ChildTag* valid = valid_tags; valid->tag; ++valid) {
        const bool fits = child != children.end() && has_tag(*child, valid->tag);
        const auto pass_all = [&] {
            while (child != children.end() && has_tag(*child, valid->tag))
                ++child;
        };
        switch (valid->state) {
        case CHILD_ONE:
        case CHILD_ONE_OR_MORE:
            if (!fits && !report) return 0;
            if (!fits) sax_error(sd, "Missing expected child '%s'", valid->tag);
            ++child;
            if (valid->state == CHILD_ONE_OR_MORE) pass_all();
            break;
        case CHILD_OPTIONAL: child += fits; break;
        case CHILD_ANY: pass_all(); break;
        default: NORVANE_FAIL("Found invalid ChildTagState : %d", static_cast<int>(valid->state));
        }
    }
    if (child == children.end()) return 1;
    if (report) sax_error(sd, "Found invalid children: %s", child->row->tag);
    return 0;
}

const char* sax_get_attr(const SaxInfo* pi, const StackData* sd, const char* name) {
    for (const char* attr = pi->attrs + sd->attrs; *attr;) {
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
