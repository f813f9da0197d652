// What a document may do to who drives expat: the entities that it may refer to, and what may grow.
//
// Documents name a document type in another file, and expat then takes an entity that it does not
// know for one that is declared there, and drops the reference: that would lose text in silence, so
// such references are refused here. Nothing outside of the file is ever opened. Neither entities
// nor default attributes may outgrow the file.
#ifndef NORVANE_BASE_XML_ENTITIES_H
#define NORVANE_BASE_XML_ENTITIES_H

#include <cstddef>
#include <cstdint>
#include <expat.h>
#include <string_view>

namespace norvane {

// Who drives expat derives from this and gives its address to expat as the user data. All zero to
// begin with, but for the parser.
struct XmlEntities {
    XML_Parser parser;
    XML_Error failure;         // the first one; also why a callback has stopped expat
    bool must_check;           // expat accepts references to unknown entities
    unsigned nested;           // entities whose text refers to others
    std::size_t default_bytes; // of attributes that come from the document type
    // The hashes of the names of known entities: a table with linear probing, at most half full, of
    // a size that is a power of two; 0 is an empty slot.
    std::uint64_t* known;
    std::size_t known_count;
    std::size_t known_capacity;
};

inline void set_failure(XmlEntities* e, XML_Error failure) {
    if (e->failure == XML_ERROR_NONE) e->failure = failure;
}

// Sets the failure and ends the parsing. expat may still call: callbacks look at the failure first.
void xml_stop(XmlEntities* e, XML_Error failure);

// Installs the handlers of this module, and the user data; then, to pass over a part of the
// document that is not looked at, takes out those that refuse references in texts, and puts them
// back.
void xml_watch_entities(XmlEntities* e);
void xml_refuse_entities_in_text(XmlEntities* e, bool refuse);

// In the callback of a start tag: false if its attributes refer to an unknown entity, or outgrow
// the file, or memory is out; which sets the failure.
bool xml_accepts_attributes(XmlEntities* e, const char** attributes);

// How much expat is to be given next, at least `smallest`. It goes through a token that is not
// complete again from its beginning each time it is called: so it is given as much as it holds
// already, and a token as large as the file takes no longer than many small ones.
int xml_next_chunk(const XmlEntities* e, int smallest);

void xml_forget_entities(XmlEntities* e);

} // namespace norvane

#endif
