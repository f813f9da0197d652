/* Reads a model from XML. */
#ifndef NORVANE_PROJ_XML_IMPORT_H
#define NORVANE_PROJ_XML_IMPORT_H

#include "norvane/proj/export.h"
#include "norvane/proj/project.h"

NORVANE_BEGIN_DECLS

/* Reads a file, whose name is borrowed and asserted. Returns a new project, freed with proj_delete,
 * or null after reporting ERR_FILE_OPEN, ERR_XML_MALFORMED or ERR_XML_PARSER. The project has the
 * file's name, and its records have the lines of the XML file, of which messages show the low 16
 * bits.
 *
 * Only the format is checked: callers pass the model to proj_static_sem_check, like any parsed
 * one. */
NORVANE_PROJ_API Project* proj_import_from_xmlfile(const char* filename);

NORVANE_END_DECLS

#endif
