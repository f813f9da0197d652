// Parses a file into an XML tree, with expat.
//
// Nodes, names and texts are in one arena per document, so that a node costs a few instructions and
// a tree is freed at once. A throw must not jump over frames of expat: callbacks allocate with
// malloc and record a failure, which is thrown after expat has returned.
//
// White space between elements is dropped, because it would double the number of nodes. White space
// that is the whole content of an element is its text.
//
// Nothing outside the file is ever opened, and nothing in it may grow out of proportion
// (xml_entities.h).

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <expat.h>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

#include "codepage.h"
#include "norvane/base/array.hpp"
#include "norvane/base/diagnostics.h"
#include "norvane/base/except.h"
#include "norvane/base/xml.h"
#include "xml_entities.h"
#include "xml_node.h"

// A list of memory blocks. A block that is larger than usual contains one large text.
struct XmlArena {
    struct Block {
        Block* previous;
    };
    Block* newest;
    char* free;
    std::size_t left;
};

namespace norvane::xml {
namespace {

constexpr std::size_t block_size = 256 * 1024;
constexpr int smallest_chunk = 64 * 1024;

using TagPredicate = int (*)(const char*);

// A name of tags or attributes, stored once.
struct Name {
    std::uint32_t hash;
    bool is_utf;  // texts below tags of this name stay in UTF-8
    char text[1]; // terminated; extends beyond the record
};

struct Builder : XmlEntities {
    XmlArena* arena;
    TagPredicate is_utf;
    XmlNode* root;
    // The open elements, the innermost last.
    struct Open {
        XmlNode* node;
        bool is_utf;
    };
    Array<Open> open;
    Array<char> text; // the current text, in UTF-8
    unsigned text_line;
    // All names: a hash table with linear probing, at most half full, whose capacity is a power of
    // two.
    Name** names;
    std::size_t name_count;
    std::size_t name_capacity;
    std::uint32_t hash_seed;
    const char* error_text;
    int error_line;
};

void* arena_alloc(Builder* b, std::size_t size) {
    size = (size + 7) & ~std::size_t{7};
    XmlArena* arena = b->arena;
    if (size > arena->left) {
        const std::size_t usual = block_size - sizeof(XmlArena::Block);
        const std::size_t room = size > usual ? size : usual;
        auto* block = static_cast<XmlArena::Block*>(std::malloc(sizeof(XmlArena::Block) + room));
        if (!block) {
            set_failure(b, XML_ERROR_NO_MEMORY);
            return nullptr;
        }
        block->previous = arena->newest;
        arena->newest = block;
        // A large text gets its own block, so that the rest of the current one is not wasted.
        if (room != usual) return block + 1;
        arena->free = reinterpret_cast<char*>(block + 1);
        arena->left = room;
    }
    void* memory = arena->free;
    arena->free += size;
    arena->left -= size;
    return memory;
}

unsigned current_line(const Builder* b) {
    return static_cast<unsigned>(XML_GetCurrentLineNumber(b->parser));
}

char* stored_text(Builder* b, const char* text, std::size_t size, bool keep_utf8) {
    auto* copy = static_cast<char*>(arena_alloc(b, size + 1));
    if (!copy) return nullptr;
    if (keep_utf8) {
        std::memcpy(copy, text, size);
    } else {
        size = text::utf8_to_codepage(text, size, copy);
    }
    copy[size] = '\0';
    return copy;
}

// Returns the slot of the name, or the empty slot where it belongs.
Name** name_slot(const Builder* b, std::uint32_t hash, const char* text, std::size_t size) {
    const std::size_t mask = b->name_capacity - 1;
    for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
        Name* name = b->names[i];
        if (!name) return &b->names[i];
        if (name->hash == hash && std::strncmp(name->text, text, size) == 0 && !name->text[size])
            return &b->names[i];
    }
}

bool grow_names(Builder* b) {
    const std::size_t old_capacity = b->name_capacity;
    Name** old_names = b->names;
    const std::size_t capacity = old_capacity ? 2 * old_capacity : 256;
    auto** names = static_cast<Name**>(std::calloc(capacity, sizeof(Name*)));
    if (!names) {
        set_failure(b, XML_ERROR_NO_MEMORY);
        return false;
    }
    b->names = names;
    b->name_capacity = capacity;
    for (std::size_t i = 0; i < old_capacity; ++i)
        if (Name* name = old_names[i])
            *name_slot(b, name->hash, name->text, std::strlen(name->text)) = name;
    std::free(old_names);
    return true;
}

Name* intern(Builder* b, const char* text, std::size_t size) {
    std::uint32_t hash = b->hash_seed;
    for (std::size_t i = 0; i < size; ++i)
        hash = (hash ^ static_cast<unsigned char>(text[i])) * 16777619u;
    hash ^= hash >> 15;
    if (2 * b->name_count >= b->name_capacity && !grow_names(b)) return nullptr;
    Name** slot = name_slot(b, hash, text, size);
    if (*slot) return *slot;
    auto* name = static_cast<Name*>(arena_alloc(b, sizeof(Name) + size));
    if (!name) return nullptr;
    name->hash = hash;
    std::memcpy(name->text, text, size);
    name->text[size] = '\0';
    name->is_utf = b->is_utf && b->is_utf(name->text);
    ++b->name_count;
    return *slot = name;
}

Name* intern(Builder* b, const char* text) {
    return intern(b, text, std::strlen(text));
}

XmlNode* new_node(Builder* b, unsigned line) {
    auto* node = static_cast<XmlNode*>(arena_alloc(b, sizeof(XmlNode)));
    if (!node) return nullptr;
    *node = XmlNode{};
    node->line = line;
    node->in_arena = 1;
    return node;
}

// Returns true if the text, of at least one byte, is white space. Half of an indented file is
// layout, so the loop has no early exit: the compiler can then compare many bytes at once.
bool is_blank(const char* text, std::size_t size) {
    if (!is_xml_blank(text[0])) return false;
    bool blank = true;
    for (std::size_t i = 1; i < size; ++i)
        blank &= is_xml_blank(text[i]);
    return blank;
}

// Makes a node of the current text. `is_whole` tells that the text ends its element.
bool end_text(Builder* b, bool is_whole) {
    if (b->text.empty()) return true;
    const char* text = b->text.data();
    const std::size_t size = b->text.size();
    b->text.truncate(0);
    const Builder::Open& parent = b->open.last();
    const bool is_layout = !is_whole || parent.node->first;
    if (is_layout && is_blank(text, size)) return true;
    XmlNode* node = new_node(b, b->text_line);
    if (!node) return false;
    node->text = stored_text(b, text, size, parent.is_utf);
    if (!node->text) return false;
    node->utf8 = parent.is_utf;
    xml_link_child(parent.node, node);
    return true;
}

bool set_attributes(Builder* b, XmlNode* node, const char** attributes) {
    unsigned count = 0;
    while (attributes[2 * count])
        ++count;
    if (count == 0) return true;
    node->attributes = static_cast<char**>(arena_alloc(b, 2 * count * sizeof(char*)));
    if (!node->attributes) return false;
    node->attribute_count = count & largest_attribute_count;
    for (unsigned i = 0; i < count; ++i) {
        Name* name = intern(b, attributes[2 * i]);
        const char* value = attributes[2 * i + 1];
        if (!name) return false;
        node->attributes[2 * i] = name->text;
        node->attributes[2 * i + 1] = stored_text(b, value, std::strlen(value), false);
        if (!node->attributes[2 * i + 1]) return false;
    }
    return true;
}

bool start_element(Builder* b, const char* tag, const char** attributes) {
    if (!end_text(b, false)) return false;
    Name* name = intern(b, tag);
    XmlNode* node = new_node(b, current_line(b));
    if (!name || !node) return false;
    node->tag = name->text;
    if (!set_attributes(b, node, attributes)) return false;
    if (!b->open.try_reserve(1)) return false;
    const Builder::Open* parent = b->open.empty() ? nullptr : &b->open.last();
    if (parent)
        xml_link_child(parent->node, node);
    else
        b->root = node;
    b->open.push({node, name->is_utf || (parent && parent->is_utf)});
    return true;
}

bool character_data(Builder* b, const char* text, std::size_t size) {
    if (b->text.empty()) b->text_line = current_line(b);
    if (!b->text.try_reserve(size)) return false;
    b->text.append_reserved(text, size);
    return true;
}

Builder* builder(void* user) {
    return static_cast<Builder*>(static_cast<XmlEntities*>(user));
}

void on_start(void* user, const char* tag, const char** attributes) {
    Builder* b = builder(user);
    if (b->failure != XML_ERROR_NONE) return;
    if (!xml_accepts_attributes(b, attributes)) return xml_stop(b, b->failure);
    if (!start_element(b, tag, attributes)) xml_stop(b, XML_ERROR_NO_MEMORY);
}

void on_end(void* user, const char*) {
    Builder* b = builder(user);
    if (b->failure != XML_ERROR_NONE) return;
    if (!end_text(b, true)) return xml_stop(b, XML_ERROR_NO_MEMORY);
    b->open.pop();
}

void on_text(void* user, const char* text, int size) {
    Builder* b = builder(user);
    if (b->failure != XML_ERROR_NONE) return;
    if (!character_data(b, text, static_cast<std::size_t>(size))) xml_stop(b, XML_ERROR_NO_MEMORY);
}

int open_file(const char* path) {
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
    struct stat status;
    if (descriptor >= 0 && (fstat(descriptor, &status) != 0 || S_ISDIR(status.st_mode))) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

// Reads `wanted` bytes, or fewer at the end of the file. Returns -1 if the file cannot be read.
ssize_t read_chunk(int descriptor, char* buffer, int wanted) {
    ssize_t done = 0;
    while (done < wanted) {
        const ssize_t size =
            read(descriptor, buffer + done, static_cast<std::size_t>(wanted - done));
        if (size == 0) break;
        if (size > 0)
            done += size;
        else if (errno != EINTR)
            return -1;
    }
    return done;
}

enum class Result { parsed, unreadable, malformed, out_of_memory };

Result parse_descriptor(Builder* b, int descriptor) {
    for (;;) {
        const int wanted = xml_next_chunk(b, smallest_chunk);
        auto* buffer = static_cast<char*>(XML_GetBuffer(b->parser, wanted));
        if (!buffer) return Result::out_of_memory;
        const ssize_t size = read_chunk(descriptor, buffer, wanted);
        if (size < 0) return Result::unreadable;
        if (XML_ParseBuffer(b->parser, static_cast<int>(size), size == 0) != XML_STATUS_OK) break;
        if (size == 0) return Result::parsed;
    }
    set_failure(b, XML_GetErrorCode(b->parser)); // kept if a callback has set one
    if (b->failure == XML_ERROR_NO_MEMORY) return Result::out_of_memory;
    b->error_text = XML_ErrorString(b->failure);
    b->error_line = static_cast<int>(current_line(b));
    return Result::malformed;
}

void set_handlers(Builder* b) {
    XML_SetElementHandler(b->parser, on_start, on_end);
    XML_SetCharacterDataHandler(b->parser, on_text);
    xml_watch_entities(b);
}

// Closes the file and frees everything but the arena.
Result parse_path(Builder* b, const char* path) {
    const int descriptor = open_file(path);
    if (descriptor < 0) return Result::unreadable;
    Result result = Result::out_of_memory;
    b->parser = XML_ParserCreate(nullptr);
    b->arena = static_cast<XmlArena*>(std::calloc(1, sizeof(XmlArena)));
    if (b->parser && b->arena) {
        // Seeded by an address, so that input cannot be crafted to make names collide.
        b->hash_seed = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(b->arena) >> 4);
        set_handlers(b);
        result = parse_descriptor(b, descriptor);
    }
    if (b->parser) XML_ParserFree(b->parser);
    xml_forget_entities(b);
    b->open.release();
    b->text.release();
    std::free(b->names);
    close(descriptor);
    return result;
}

void report(ErrorInfo* error, int line) {
    err_set_position(error, line, __FILE__);
    msg_report_error(ERROR_TYPE_ERROR, error);
}

XmlDocument* parse_file(const char* path, TagPredicate is_utf) {
    Builder b{};
    b.is_utf = is_utf;
    const Result result = parse_path(&b, path);
    if (result == Result::parsed) {
        if (void* memory = std::calloc(1, sizeof(XmlDocument)))
            return new (memory) XmlDocument{nullptr, b.root, nullptr, b.arena};
    }
    xml_arena_delete(b.arena);
    switch (result) {
    case Result::unreadable: report(ERR_FILE_OPEN(path), __LINE__); break;
    case Result::malformed:
        report(ERR_XML_MALFORMED(path, b.error_line, b.error_text), __LINE__);
        break;
    case Result::parsed:
    case Result::out_of_memory: NORVANE_FAIL("Out of memory");
    }
    return nullptr;
}

} // namespace

void xml_arena_delete(XmlArena* arena) {
    if (!arena) return;
    for (XmlArena::Block* block = arena->newest; block;) {
        XmlArena::Block* previous = block->previous;
        std::free(block);
        block = previous;
    }
    std::free(arena);
}

} // namespace norvane::xml

using namespace norvane::xml;

XmlDocument* xml_parse_file(const char* path, int (*is_tag)(const char*)) {
    return xml_parse_file_utf(path, is_tag, nullptr);
}

XmlDocument* xml_parse_file_utf(const char* path, int (*is_tag)(const char*),
                                int (*is_utf)(const char*)) {
    NORVANE_ASSERT(path);
    NORVANE_ASSERT(is_tag);
    return parse_file(path, is_utf);
}
