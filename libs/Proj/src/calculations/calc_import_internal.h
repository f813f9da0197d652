// The reader of calculations in XML, on any source of bytes.
#ifndef NORVANE_PROJ_CALC_IMPORT_INTERNAL_H
#define NORVANE_PROJ_CALC_IMPORT_INTERNAL_H

#include "norvane/base/hash.h"
#include "norvane/base/sax_include.hpp"

namespace norvane::calculations {

struct XmlSource {
    SaxRead read;
    void* user;
    const char* name; // for reports
};

// Reads the source to its end: a new calculation, or null after a report on the document. Other
// failures, such as that of the source, are thrown; nothing is lost then.
PolyHash* import_from_source(const XmlSource& source);

} // namespace norvane::calculations

#endif
