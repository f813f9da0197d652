/* Reading a model from XML. */
#ifndef NORVANE_PROJ_XML_IMPORT_H
#define NORVANE_PROJ_XML_IMPORT_H

#include "norvane/proj/export.h"
#include "norvane/proj/project.h"

NORVANE_BEGIN_DECLS

/* Reads a file, whose name is required and borrowed: a new project, freed with proj_delete, or null
 * after reporting ERR_FILE_OPEN, ERR_XML_MALFORMED or ERR_XML_PARSER. The project has the file's
 * name, and the lines of its records are those of the XML file; messages about lines past 65535
 * show their low 16 bits.
 *
 * Nothing is checked but the format: what comes back goes through proj_static_sem_check, as any
 * parsed model does. */
NORVANE_PROJ_API Project* proj_import_from_xmlfile(const char* filename);

NORVANE_END_DECLS

#endif
