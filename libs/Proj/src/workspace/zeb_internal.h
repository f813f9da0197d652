// What the modules of workspaces share.
#ifndef NORVANE_PROJ_ZEB_INTERNAL_H
#define NORVANE_PROJ_ZEB_INTERNAL_H

#include "norvane/base/callbacks.h"
#include "norvane/base/items.hpp"
#include "norvane/base/list.h"
#include "norvane/base/text.hpp"
#include "norvane/proj/zeb.h"

namespace norvane {

// A new empty list that owns copies of the texts that it is given.
inline PolyList* zeb_new_text_list() {
    return plist_new(poly_compare_string, poly_copy_string, poly_delete_string);
}

// Containers take what they copy as `void*`.
inline void zeb_append(PolyList* list, const char* text) {
    plist_append(list, const_cast<char*>(text));
}

// The empty text that all Strings share: one object, known by its address.
inline const char* zeb_empty_text() {
    return NorvaneCpp::String().GetStr();
}

} // namespace norvane

#endif
