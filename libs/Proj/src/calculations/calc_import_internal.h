// The reader of calculations in XML, on any source of bytes.
#ifndef NORVANE_PROJ_CALC_IMPORT_INTERNAL_H
#define NORVANE_PROJ_CALC_IMPORT_INTERNAL_H

#include "norvane/base/except.h"
#include "norvane/base/hash.h"
#include "norvane/base/sax_include.hpp"

namespace norvane {

struct CalcXmlSource {
    SaxRead read;
    void* user;
    const char* name; // for reports
};

// Reads the source to its end. Never throws: what is no fault of the document's is left in `state`,
// to be thrown on by except_rethrow when the source is closed; the result is then null, and
// `is_thrown` set.
PolyHash* calc_import_from_source(const CalcXmlSource& source, ExceptionState* state,
                                  bool* is_thrown);

} // namespace norvane

#endif
