// What the modules of workspaces share.
#ifndef NORVANE_PROJ_ZEB_INTERNAL_H
#define NORVANE_PROJ_ZEB_INTERNAL_H

#include "norvane/base/callbacks.h"
#include "norvane/base/items.hpp"
#include "norvane/base/list.h"
#include "norvane/base/strings.h"
#include "norvane/base/text.hpp"
#include "norvane/proj/zeb.h"

namespace norvane::workspace {

// A new empty list that owns copies of the texts that it is given.
inline PolyList* new_text_list() {
    return plist_new(poly_compare_string, poly_copy_string, poly_delete_string);
}

// Appends a copy of the text.
inline void append(PolyList* list, const char* text) {
    plist_append(list, const_cast<char*>(text));
}

// Replaces the text of a field by a copy. Copies first: if that throws, the field still owns its
// old text.
inline void replace(char*& field, const char* text) {
    char* copy = str_copy(text);
    str_null_delete(field);
    field = copy;
}

// The text of every empty String: one object, distinguished from other empty texts by its address.
inline const char* shared_empty_text() {
    return NorvaneCpp::String().GetStr();
}

} // namespace norvane::workspace

#endif
