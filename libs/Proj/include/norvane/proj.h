/* All of the project library. */
#ifndef NORVANE_PROJ_H
#define NORVANE_PROJ_H

#include "norvane/base.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/calc_export.h"
#include "norvane/proj/calc_import.h"
#include "norvane/proj/calc_print.h"
#include "norvane/proj/calc_typecheck.h"
#include "norvane/proj/decl.h"
#include "norvane/proj/expandrules.h"
#include "norvane/proj/expr.h"
#include "norvane/proj/loadclfile.h"
#include "norvane/proj/loadpmfile.h"
#include "norvane/proj/presentation.h"
#include "norvane/proj/printpmfile.h"
#include "norvane/proj/proj_errors.h"
#include "norvane/proj/project.h"
#include "norvane/proj/simplify.h"
#include "norvane/proj/staticsem.h"
#include "norvane/proj/symboltable.h"
#include "norvane/proj/typecon.h"
#include "norvane/proj/varorder.h"
#include "norvane/proj/xml_export.h"
#include "norvane/proj/xml_import.h"
#include "norvane/proj/zeb.h"

#endif
