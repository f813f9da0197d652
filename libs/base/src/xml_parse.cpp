// Parsing a file into an XML tree, with expat.
//
// Nodes, names and texts lie in one arena of the document, so that a node costs a few instructions
// and a tree is released at once. expat calls us, and nothing may jump through its frames: memory
// comes from malloc here, and a failure is remembered and raised when expat has returned.
//
// White space between elements is layout and is not kept: it would double the nodes. White space
// that is the whole content of an element is its text.
//
// Nothing outside of the file is ever opened. Documents name a document type in another file, and
// expat then takes an entity that it does not know for one that is declared there, and drops the
// reference: that would lose text in silence, so such references are refused here.

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <expat.h>
#include <fcntl.h>
#include <initializer_list>
#include <new>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "codepage.h"
#include "norvane/base/diagnostics.h"
#include "norvane/base/except.h"
#include "norvane/base/xml.h"
#include "xml_node.h"

// Blocks of memory in a chain; a block that is larger than usual holds one large text.
struct XmlArena {
    struct Block {
        Block* previous;
    };
    Block* newest;
    char* free;
    std::size_t left;
};

namespace norvane {

namespace {

constexpr std::size_t block_size = 256 * 1024;
constexpr int smallest_chunk = 64 * 1024;
constexpr int largest_chunk = 256 * 1024 * 1024;

using TagPredicate = int (*)(const char*);

// A name of a tag, an attribute or an entity, once.
struct Name {
    std::uint32_t hash;
    bool is_utf;    // as a tag: the texts below it stay in UTF-8
    bool is_entity; // it may be referred to
    char text[1];   // terminated; as long as need be
};

struct Builder {
    XML_Parser parser;
    XmlArena* arena;
    TagPredicate is_utf;
    XmlNode* root;
    // The open elements, innermost last.
    struct Open {
        XmlNode* node;
        bool is_utf;
    };
    Open* open;
    std::size_t open_count;
    std::size_t open_capacity;
    // The text that is being read, in UTF-8.
    char* text;
    std::size_t text_size;
    std::size_t text_capacity;
    unsigned text_line;
    // All names: a hash table with linear probing, at most half full, of a size that is a power of
    // two.
    Name** names;
    std::size_t name_count;
    std::size_t name_capacity;
    std::uint32_t hash_start;
    bool must_check_entities;  // expat does not
    std::size_t default_bytes; // of attributes that come from the document type
    XML_Error failure;         // the first one; also why a callback has stopped expat
    const char* error_text;
    int error_line;
};

void set_failure(Builder* b, XML_Error failure) {
    if (b->failure == XML_ERROR_NONE) b->failure = failure;
}

void stop(Builder* b, XML_Error failure) {
    set_failure(b, failure);
    XML_StopParser(b->parser, XML_FALSE);
}

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
        // A large text gets a block of its own and leaves the current one in use.
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
        size = utf8_to_codepage(text, size, copy);
    }
    copy[size] = '\0';
    return copy;
}

// The slot of the name, or the empty one where it belongs.
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
    std::uint32_t hash = b->hash_start;
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
    name->is_entity = false;
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

bool is_blank(const char* text, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i)
        if (!is_xml_blank(text[i])) return false;
    return true;
}

// Makes a node of the text read so far. `is_whole` tells that it ends its element.
bool end_text(Builder* b, bool is_whole) {
    if (b->text_size == 0) return true;
    const std::size_t size = b->text_size;
    b->text_size = 0;
    const Builder::Open& parent = b->open[b->open_count - 1];
    const bool is_layout = !is_whole || parent.node->first;
    if (is_layout && is_blank(b->text, size)) return true;
    XmlNode* node = new_node(b, b->text_line);
    if (!node) return false;
    node->text = stored_text(b, b->text, size, parent.is_utf);
    if (!node->text) return false;
    node->utf8 = parent.is_utf;
    xml_link_child(parent.node, node);
    return true;
}

// A default stands once in the document type and comes with each element. expat bounds what
// entities grow to, and not this, so the same bounds hold here.
bool defaults_are_out_of_proportion(const Builder* b) {
    constexpr std::size_t harmless = 8 << 20;
    constexpr std::size_t largest_factor = 100;
    if (b->default_bytes < harmless) return false;
    return b->default_bytes / largest_factor >
           static_cast<std::size_t>(XML_GetCurrentByteIndex(b->parser));
}

bool set_attributes(Builder* b, XmlNode* node, const char** attributes) {
    unsigned count = 0;
    while (attributes[2 * count])
        ++count;
    if (count == 0) return true;
    node->attributes = static_cast<char**>(arena_alloc(b, 2 * count * sizeof(char*)));
    if (!node->attributes) return false;
    node->attribute_count = count & largest_attribute_count;
    const auto in_the_tag = static_cast<unsigned>(XML_GetSpecifiedAttributeCount(b->parser)) / 2;
    for (unsigned i = 0; i < count; ++i) {
        Name* name = intern(b, attributes[2 * i]);
        const char* value = attributes[2 * i + 1];
        const std::size_t size = std::strlen(value);
        if (!name) return false;
        node->attributes[2 * i] = name->text;
        node->attributes[2 * i + 1] = stored_text(b, value, size, false);
        if (!node->attributes[2 * i + 1]) return false;
        if (i >= in_the_tag) b->default_bytes += 2 * sizeof(char*) + size;
    }
    if (!defaults_are_out_of_proportion(b)) return true;
    set_failure(b, XML_ERROR_AMPLIFICATION_LIMIT_BREACH);
    return false;
}

template <typename T>
bool grow(T** array, std::size_t* capacity, std::size_t wanted) {
    if (wanted <= *capacity) return true;
    std::size_t larger = *capacity ? *capacity * 2 : 64;
    while (larger < wanted)
        larger *= 2;
    auto* memory = static_cast<T*>(std::realloc(*array, larger * sizeof(T)));
    if (!memory) return false;
    *array = memory;
    *capacity = larger;
    return true;
}

bool start_element(Builder* b, const char* tag, const char** attributes) {
    if (!end_text(b, false)) return false;
    Name* name = intern(b, tag);
    XmlNode* node = new_node(b, current_line(b));
    if (!name || !node) return false;
    node->tag = name->text;
    if (!set_attributes(b, node, attributes)) return false;
    if (!grow(&b->open, &b->open_capacity, b->open_count + 1)) return false;
    const Builder::Open* parent = b->open_count > 0 ? &b->open[b->open_count - 1] : nullptr;
    if (parent)
        xml_link_child(parent->node, node);
    else
        b->root = node;
    b->open[b->open_count++] = {node, name->is_utf || (parent && parent->is_utf)};
    return true;
}

bool character_data(Builder* b, const char* text, std::size_t size) {
    if (b->text_size == 0) b->text_line = current_line(b);
    if (!grow(&b->text, &b->text_capacity, b->text_size + size)) return false;
    std::memcpy(b->text + b->text_size, text, size);
    b->text_size += size;
    return true;
}

bool is_known_entity(Builder* b, std::string_view name) {
    for (const std::string_view predefined : {"amp", "apos", "gt", "lt", "quot"})
        if (name == predefined) return true;
    const Name* entity = intern(b, name.data(), name.size());
    return entity && entity->is_entity;
}

// True if all general entities that the markup refers to are declared in the document.
bool knows_entities(Builder* b, const char* markup, std::size_t size) {
    const char* const end = markup + size;
    const auto find = [end](const char* from, char c) {
        return static_cast<const char*>(std::memchr(from, c, static_cast<std::size_t>(end - from)));
    };
    while (const char* ampersand = find(markup, '&')) {
        const char* name = ampersand + 1;
        const char* semicolon = find(name, ';');
        if (!semicolon) return false;
        markup = semicolon + 1;
        if (*name == '#') continue; // the number of a character
        if (!is_known_entity(b, {name, semicolon})) return false;
    }
    return true;
}

// The same for the markup that expat is at, which is in the encoding of the file. In UTF-16 only
// what is ASCII is told apart, which all that we look for is.
bool knows_current_entities(Builder* b) {
    int offset;
    int buffered;
    const char* buffer = XML_GetInputContext(b->parser, &offset, &buffered);
    if (!buffer) return true;
    const char* markup = buffer + offset;
    const auto size = static_cast<std::size_t>(XML_GetCurrentByteCount(b->parser));
    if (size < 2 || !std::memchr(markup, '&', size)) return true;
    if (markup[0] && markup[1]) return knows_entities(b, markup, size);
    const std::size_t low = markup[0] ? 0 : 1;
    auto* ascii = static_cast<char*>(std::malloc(size / 2));
    if (!ascii) {
        set_failure(b, XML_ERROR_NO_MEMORY);
        return false;
    }
    for (std::size_t i = 0; i < size / 2; ++i)
        ascii[i] = markup[2 * i + 1 - low] ? '?' : markup[2 * i + low];
    const bool known = knows_entities(b, ascii, size / 2);
    std::free(ascii);
    return known;
}

// From here on expat accepts unknown entities, and drops references to them in attributes without
// a word.
int on_not_standalone(void* user) {
    static_cast<Builder*>(user)->must_check_entities = true;
    return XML_STATUS_OK;
}

// An entity whose own text refers to one that is not declared further up stays unknown.
void on_entity_declared(void* user, const char* name, int is_parameter, const char* text, int size,
                        const char*, const char*, const char*, const char*) {
    auto* b = static_cast<Builder*>(user);
    if (is_parameter || !text || !knows_entities(b, text, static_cast<std::size_t>(size))) return;
    if (Name* entity = intern(b, name)) entity->is_entity = true;
}

// A reference in a text to an entity that is unknown ...
void on_skipped_entity(void* user, const char*, int) {
    stop(static_cast<Builder*>(user), XML_ERROR_UNDEFINED_ENTITY);
}

// ... or in another file.
int on_external_entity(XML_Parser, const char*, const char*, const char*, const char*) {
    return XML_STATUS_ERROR;
}

void on_start(void* user, const char* tag, const char** attributes) {
    auto* b = static_cast<Builder*>(user);
    if (b->failure != XML_ERROR_NONE) return;
    if (b->must_check_entities && attributes[0] && !knows_current_entities(b))
        return stop(b, XML_ERROR_UNDEFINED_ENTITY);
    if (!start_element(b, tag, attributes)) stop(b, XML_ERROR_NO_MEMORY);
}

void on_end(void* user, const char*) {
    auto* b = static_cast<Builder*>(user);
    if (b->failure != XML_ERROR_NONE) return;
    if (!end_text(b, true)) return stop(b, XML_ERROR_NO_MEMORY);
    --b->open_count;
}

void on_text(void* user, const char* text, int size) {
    auto* b = static_cast<Builder*>(user);
    if (b->failure != XML_ERROR_NONE) return;
    if (!character_data(b, text, static_cast<std::size_t>(size))) stop(b, XML_ERROR_NO_MEMORY);
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

// expat goes through a token that is not complete again from its beginning each time it is called.
// So it is given as much as it holds already, and a token as large as the file takes no longer than
// many small ones.
int next_chunk_size(const Builder* b) {
    int offset;
    int buffered;
    if (!XML_GetInputContext(b->parser, &offset, &buffered)) return smallest_chunk;
    return std::clamp(buffered - offset, smallest_chunk, largest_chunk);
}

// Fills the buffer unless the file ends; -1 where it cannot be read.
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

enum class Result { Parsed, Unreadable, Malformed, OutOfMemory };

Result parse_descriptor(Builder* b, int descriptor) {
    for (;;) {
        const int wanted = next_chunk_size(b);
        auto* buffer = static_cast<char*>(XML_GetBuffer(b->parser, wanted));
        if (!buffer) return Result::OutOfMemory;
        const ssize_t size = read_chunk(descriptor, buffer, wanted);
        if (size < 0) return Result::Unreadable;
        if (XML_ParseBuffer(b->parser, static_cast<int>(size), size == 0) != XML_STATUS_OK) break;
        if (size == 0) return Result::Parsed;
    }
    set_failure(b, XML_GetErrorCode(b->parser)); // unless it was a callback that stopped it
    if (b->failure == XML_ERROR_NO_MEMORY) return Result::OutOfMemory;
    b->error_text = XML_ErrorString(b->failure);
    b->error_line = static_cast<int>(current_line(b));
    return Result::Malformed;
}

void set_handlers(Builder* b) {
    XML_SetUserData(b->parser, b);
    XML_SetElementHandler(b->parser, on_start, on_end);
    XML_SetCharacterDataHandler(b->parser, on_text);
    XML_SetSkippedEntityHandler(b->parser, on_skipped_entity);
    XML_SetExternalEntityRefHandler(b->parser, on_external_entity);
    XML_SetNotStandaloneHandler(b->parser, on_not_standalone);
    XML_SetEntityDeclHandler(b->parser, on_entity_declared);
}

// Leaves nothing open, and nothing in memory but the arena.
Result parse_path(Builder* b, const char* path) {
    const int descriptor = open_file(path);
    if (descriptor < 0) return Result::Unreadable;
    Result result = Result::OutOfMemory;
    b->parser = XML_ParserCreate(nullptr);
    b->arena = static_cast<XmlArena*>(std::calloc(1, sizeof(XmlArena)));
    if (b->parser && b->arena) {
        // Nobody can make up a file whose names all collide in memory that is not his.
        b->hash_start = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(b->arena) >> 4);
        set_handlers(b);
        result = parse_descriptor(b, descriptor);
    }
    if (b->parser) XML_ParserFree(b->parser);
    std::free(b->open);
    std::free(b->text);
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
    if (result == Result::Parsed) {
        if (void* memory = std::calloc(1, sizeof(XmlDocument)))
            return new (memory) XmlDocument{nullptr, b.root, nullptr, b.arena};
    }
    xml_arena_delete(b.arena);
    switch (result) {
    case Result::Unreadable: report(ERR_FILE_OPEN(path), __LINE__); break;
    case Result::Malformed:
        report(ERR_XML_MALFORMED(path, b.error_line, b.error_text), __LINE__);
        break;
    case Result::Parsed:
    case Result::OutOfMemory: NORVANE_FAIL("Out of memory");
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

} // namespace norvane

using namespace norvane;

XmlDocument* xml_parse_file(const char* path, int (*is_tag)(const char*)) {
    return xml_parse_file_utf(path, is_tag, nullptr);
}

XmlDocument* xml_parse_file_utf(const char* path, int (*is_tag)(const char*),
                                int (*is_utf)(const char*)) {
    NORVANE_ASSERT(path);
    NORVANE_ASSERT(is_tag);
    return parse_file(path, is_utf);
}
