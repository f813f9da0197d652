/* Linkage of the project library's public names. Every header of norvane_proj includes it. */
#ifndef NORVANE_PROJ_EXPORT_H
#define NORVANE_PROJ_EXPORT_H

#include "norvane/base/export.h"

#define NORVANE_PROJ_API __attribute__((visibility("default")))

#endif
