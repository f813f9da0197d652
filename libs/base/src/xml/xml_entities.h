// Limits for documents that expat parses: the entities that they may refer to, and how far they may
// grow.
//
// Documents name a document type in another file. expat then assumes that an unknown entity is
// declared there and drops the reference, which would silently lose text, so this module rejects
// such references. Nothing outside the file is ever opened. Entities and default attributes may not
// grow out of proportion to the file.
#ifndef NORVANE_BASE_XML_ENTITIES_H
#define NORVANE_BASE_XML_ENTITIES_H

#include <cstddef>
#include <cstdint>
#include <expat.h>

namespace norvane::xml {

// The base of the state of every user of expat, and the user data of its callbacks. All members but
// `parser` start as zero.
struct XmlEntities {
    XML_Parser parser;
    XML_Error failure;         // the first failure, and why a callback stopped expat
    bool must_check;           // expat accepts references to unknown entities
    unsigned nested;           // number of entities whose text refers to others
    std::size_t default_bytes; // of attributes with default values
    // The hashes of the names of known entities: a table with linear probing, at most half full,
    // whose capacity is a power of two. 0 is an empty slot.
    std::uint64_t* known;
    std::size_t known_count;
    std::size_t known_capacity;
};

inline void set_failure(XmlEntities* e, XML_Error failure) {
    if (e->failure == XML_ERROR_NONE) e->failure = failure;
}

// Sets the failure and stops expat, which may still call callbacks: they check the failure first.
void xml_stop(XmlEntities* e, XML_Error failure);

// The first installs the handlers of this module and the user data. The second removes, while a
// part of the document is skipped, the handlers that reject references in texts, and restores them.
void xml_watch_entities(XmlEntities* e);
void xml_refuse_entities_in_text(XmlEntities* e, bool refuse);

// For the callback of a start tag: sets the failure and returns false if the attributes refer to an
// unknown entity or grow out of proportion, or if memory runs out.
bool xml_accepts_attributes(XmlEntities* e, const char** attributes);

// Returns how many bytes to pass to expat next, at least `smallest`. expat scans an incomplete
// token from its start in each call, so the chunks double while a token is incomplete, and large
// tokens take linear time.
int xml_next_chunk(const XmlEntities* e, int smallest);

void xml_forget_entities(XmlEntities* e);

} // namespace norvane::xml

#endif
