/* Reading a calculation from XML: from a file, or from a model's member of a compiled package.
 *
 * Each returns a new calculation, freed with calc_delete, or null after reporting what is wrong:
 * ERR_FILE_OPEN for a file or package that cannot be opened, ERR_XML_MALFORMED for a document that
 * is not well-formed or not as the format has it, ERR_XML_NO_TAGS for one that is of another kind.
 * Elements that the format does not know are passed over with all that is in them, so a calculation
 * may stand in a larger document, below a root `mu`. A function whose name is taken is reported as
 * by calc_add_function and left out, and the import goes on. Progress is told as the job "Importing
 * calculations".
 *
 * Nothing is checked but the format. Strings pass through code page 1252 on their way into the
 * tree: other characters become "?". Memory follows the nesting of the document and the size of the
 * calculation, whatever else is in the file.
 *
 * A document whose root is another element of the format than `calculation` and `mu` ends in a
 * failure of kind 1 (except.h), as does a file that cannot be read to its end ("fread error");
 * nothing is lost then. One import runs at a time. */
#ifndef NORVANE_PROJ_CALC_IMPORT_H
#define NORVANE_PROJ_CALC_IMPORT_H

#include "norvane/base/hash.h"
#include "norvane/proj/export.h"

#ifdef __cplusplus
#include "norvane/base/packages.hpp"
#include "norvane/base/text.hpp"
#endif

NORVANE_BEGIN_DECLS

/* The path is required and borrowed. */
NORVANE_PROJ_API PolyHash* calc_import_from_xmlfile(const char* path);

#ifdef __cplusplus
/* From the package in the file `filename`. */
NORVANE_PROJ_API PolyHash* calc_import_from_mubfile(const NorvaneCpp::String& filename,
                                                    const NorvaneCpp::String& model);

/* From an open package, which stays open; asserts "pkg.isOpen() == true". Reports
 * ERR_MUB_MODULE_NOT_FOUND for a model that is not in the package, and ERR_MUB_NO_CLXFILE for one
 * without a calculation. */
NORVANE_PROJ_API PolyHash* calc_import_from_mubpackage(NorvaneCpp::CMubPackage& pkg,
                                                       const NorvaneCpp::String& model);
#endif

NORVANE_END_DECLS

#endif
