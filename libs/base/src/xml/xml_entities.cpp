// Checks of entity references and of the growth of documents.
#include "xml_entities.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string_view>

namespace norvane::xml {
namespace {

// expat expands nested entities recursively. Their depth cannot exceed the number of entities with
// a reference in their text, so limiting that number limits the stack. Real document types have
// few.
constexpr unsigned most_nested = 100;

// Seeded per parser, so that input cannot be crafted to collide.
std::uint64_t hash_of(const XmlEntities* e, std::string_view name) {
    std::uint64_t hash = reinterpret_cast<std::uintptr_t>(e->parser) * 0x9E3779B97F4A7C15u;
    for (const char c : name) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
        hash ^= hash >> 29;
    }
    return hash ? hash : 1;
}

// Returns the slot of the hash, or the empty slot where it belongs.
std::uint64_t* slot_of(std::uint64_t* known, std::size_t capacity, std::uint64_t hash) {
    std::size_t i = hash & (capacity - 1);
    while (known[i] && known[i] != hash)
        i = (i + 1) & (capacity - 1);
    return &known[i];
}

bool grow(XmlEntities* e) {
    const std::size_t capacity = e->known_capacity ? 2 * e->known_capacity : 64;
    auto* known = static_cast<std::uint64_t*>(std::calloc(capacity, sizeof(std::uint64_t)));
    if (!known) return false;
    for (std::size_t i = 0; i < e->known_capacity; ++i)
        if (e->known[i]) *slot_of(known, capacity, e->known[i]) = e->known[i];
    std::free(e->known);
    e->known = known;
    e->known_capacity = capacity;
    return true;
}

bool add(XmlEntities* e, std::string_view name) {
    if (2 * e->known_count >= e->known_capacity && !grow(e)) return false;
    const std::uint64_t hash = hash_of(e, name);
    std::uint64_t* slot = slot_of(e->known, e->known_capacity, hash);
    if (!*slot) ++e->known_count;
    *slot = hash;
    return true;
}

bool is_known_entity(const XmlEntities* e, std::string_view name) {
    for (const std::string_view predefined : {"amp", "apos", "gt", "lt", "quot"})
        if (name == predefined) return true;
    return e->known_capacity && *slot_of(e->known, e->known_capacity, hash_of(e, name));
}

// Returns true if the document declares all general entities that the markup refers to.
bool knows_entities(const XmlEntities* e, const char* markup, std::size_t size) {
    const char* const end = markup + size;
    const auto find = [end](const char* from, char c) {
        return static_cast<const char*>(std::memchr(from, c, static_cast<std::size_t>(end - from)));
    };
    while (const char* ampersand = find(markup, '&')) {
        const char* name = ampersand + 1;
        const char* semicolon = find(name, ';');
        if (!semicolon) return false;
        markup = semicolon + 1;
        if (*name == '#') continue; // a character reference
        if (!is_known_entity(e, {name, semicolon})) return false;
    }
    return true;
}

// The same for markup in UTF-16, of an even size. Characters above U+00FF are read as "?": a
// reference with such a name counts as unknown.
bool knows_entities_utf16(XmlEntities* e, const char* markup, std::size_t size) {
    const std::size_t low = markup[0] ? 0 : 1;
    auto* bytes = static_cast<char*>(std::malloc(size / 2));
    if (!bytes) {
        set_failure(e, XML_ERROR_NO_MEMORY);
        return false;
    }
    for (std::size_t i = 0; i < size / 2; ++i)
        bytes[i] = markup[2 * i + 1 - low] ? '?' : markup[2 * i + low];
    const bool known = knows_entities(e, bytes, size / 2);
    std::free(bytes);
    return known;
}

// Checks the markup that expat is parsing, which is in the encoding of the file.
bool knows_current_entities(XmlEntities* e) {
    int offset;
    int buffered;
    const char* buffer = XML_GetInputContext(e->parser, &offset, &buffered);
    if (!buffer) return true;
    const char* markup = buffer + offset;
    const auto size = static_cast<std::size_t>(XML_GetCurrentByteCount(e->parser));
    if (size < 2 || !std::memchr(markup, '&', size)) return true;
    const bool is_utf16 = !markup[0] || !markup[1];
    const bool known =
        is_utf16 ? knows_entities_utf16(e, markup, size) : knows_entities(e, markup, size);
    if (!known) set_failure(e, XML_ERROR_UNDEFINED_ENTITY);
    return known;
}

// The document type states a default once, and every element repeats it. expat limits the growth of
// entities but not of defaults, so the same limits are applied here.
bool defaults_are_in_proportion(XmlEntities* e, const char** attributes) {
    constexpr std::size_t harmless = 8 << 20;
    constexpr std::size_t largest_factor = 100;
    attributes += XML_GetSpecifiedAttributeCount(e->parser);
    if (!attributes[0]) return true;
    for (; attributes[0]; attributes += 2)
        e->default_bytes += 2 * sizeof(char*) + std::strlen(attributes[1]);
    if (e->default_bytes < harmless) return true;
    const auto read = static_cast<std::size_t>(XML_GetCurrentByteIndex(e->parser));
    if (e->default_bytes / largest_factor <= read) return true;
    set_failure(e, XML_ERROR_AMPLIFICATION_LIMIT_BREACH);
    return false;
}

// After this, expat accepts unknown entities and silently drops references to them in attributes.
int on_not_standalone(void* user) {
    static_cast<XmlEntities*>(user)->must_check = true;
    return XML_STATUS_OK;
}

// An entity stays unknown if its text refers to one that is not declared before it.
void on_entity_declared(void* user, const char* name, int is_parameter, const char* text, int size,
                        const char*, const char*, const char*, const char*) {
    auto* e = static_cast<XmlEntities*>(user);
    if (is_parameter || !text || e->failure != XML_ERROR_NONE) return;
    const auto length = static_cast<std::size_t>(size);
    if (length > 0 && std::memchr(text, '&', length) && ++e->nested > most_nested)
        return xml_stop(e, XML_ERROR_AMPLIFICATION_LIMIT_BREACH);
    if (knows_entities(e, text, length) && !add(e, name)) xml_stop(e, XML_ERROR_NO_MEMORY);
}

// A reference in a text to an unknown entity.
void on_skipped_entity(void* user, const char*, int) {
    xml_stop(static_cast<XmlEntities*>(user), XML_ERROR_UNDEFINED_ENTITY);
}

// A reference in a text to an entity in another file.
int on_external_entity(XML_Parser, const char*, const char*, const char*, const char*) {
    return XML_STATUS_ERROR;
}

} // namespace

void xml_stop(XmlEntities* e, XML_Error failure) {
    set_failure(e, failure);
    XML_StopParser(e->parser, XML_FALSE);
}

void xml_watch_entities(XmlEntities* e) {
    XML_SetUserData(e->parser, e);
    XML_SetNotStandaloneHandler(e->parser, on_not_standalone);
    XML_SetEntityDeclHandler(e->parser, on_entity_declared);
    xml_refuse_entities_in_text(e, true);
}

void xml_refuse_entities_in_text(XmlEntities* e, bool refuse) {
    XML_SetSkippedEntityHandler(e->parser, refuse ? on_skipped_entity : nullptr);
    XML_SetExternalEntityRefHandler(e->parser, refuse ? on_external_entity : nullptr);
}

bool xml_accepts_attributes(XmlEntities* e, const char** attributes) {
    if (!attributes[0]) return true;
    if (e->must_check && !knows_current_entities(e)) return false;
    return defaults_are_in_proportion(e, attributes);
}

int xml_next_chunk(const XmlEntities* e, int smallest) {
    constexpr int largest = 256 * 1024 * 1024;
    int offset;
    int buffered;
    if (!XML_GetInputContext(e->parser, &offset, &buffered)) return smallest;
    return std::clamp(buffered - offset, smallest, largest);
}

void xml_forget_entities(XmlEntities* e) {
    std::free(e->known);
    e->known = nullptr;
    e->known_count = e->known_capacity = 0;
}

} // namespace norvane::xml
