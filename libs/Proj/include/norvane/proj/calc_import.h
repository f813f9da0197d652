/* Reads a calculation from XML: from a file, or from a model in a package.
 *
 * Each function borrows its arguments and returns a new calculation, which the caller frees with
 * calc_delete, or null after a report: ERR_FILE_OPEN for a file or package that cannot be opened,
 * ERR_XML_MALFORMED for a document that is not well-formed or does not follow the format,
 * ERR_XML_NO_TAGS for a document of another kind. A duplicate function is reported as by
 * calc_add_function and left out, and the import continues. Progress is reported as the job
 * "Importing calculations".
 *
 * Only the format is checked. Unknown elements are skipped with their content, so a calculation can
 * be part of a larger document with the root `mu`. Texts are converted to code page 1252 first:
 * characters outside it become "?". Memory use depends on the nesting of the document and the size
 * of the calculation only.
 *
 * A root that is an element of the format other than `calculation` and `mu` throws kind 1
 * (except.h), as does a file that cannot be read to its end ("fread error"). Memory and files are
 * released then. Only one import can run at a time. */
#ifndef NORVANE_PROJ_CALC_IMPORT_H
#define NORVANE_PROJ_CALC_IMPORT_H

#include "norvane/base/hash.h"
#include "norvane/proj/export.h"

#ifdef __cplusplus
#include "norvane/base/packages.hpp"
#include "norvane/base/text.hpp"
#endif

NORVANE_BEGIN_DECLS

/* From an XML file. Asserts "path". */
NORVANE_PROJ_API PolyHash* calc_import_from_xmlfile(const char* path);

#ifdef __cplusplus
/* From the package file `filename`. Reports the same as the function below. */
NORVANE_PROJ_API PolyHash* calc_import_from_mubfile(const NorvaneCpp::String& filename,
                                                    const NorvaneCpp::String& model);

/* From an open package, which stays open. Asserts "pkg.isOpen() == true". Reports
 * ERR_MUB_MODULE_NOT_FOUND if the package does not have the model, and ERR_MUB_NO_CLXFILE if the
 * model has no calculation. */
NORVANE_PROJ_API PolyHash* calc_import_from_mubpackage(NorvaneCpp::CMubPackage& pkg,
                                                       const NorvaneCpp::String& model);
#endif

NORVANE_END_DECLS

#endif
