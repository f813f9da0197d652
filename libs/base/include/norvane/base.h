/* All of the base library.
 *
 * Pointer arguments must not be null, except where noted: a null is a broken invariant
 * (norvane/base/except.h). */
#ifndef NORVANE_BASE_H
#define NORVANE_BASE_H

#include "norvane/base/callbacks.h"
#include "norvane/base/chunk.h"
#include "norvane/base/diagnostics.h"
#include "norvane/base/except.h"
#include "norvane/base/hash.h"
#include "norvane/base/list.h"
#include "norvane/base/memory.h"
#include "norvane/base/os.h"
#include "norvane/base/progress.h"
#include "norvane/base/set.h"
#include "norvane/base/settings.h"
#include "norvane/base/strings.h"
#include "norvane/base/util.h"
#include "norvane/base/work.h"
#include "norvane/base/xml.h"

#ifdef __cplusplus
#include "norvane/base/call_guard.hpp"
#include "norvane/base/packages.hpp"
#include "norvane/base/sax_include.hpp"
#include "norvane/base/text.hpp"
#endif

#endif
