// How the texts of an error are written down, and the one function that makes a report of them.
//
// An error is a declaration in norvane/proj/proj_errors.h and an entry of texts in one of the three
// tables, proj_errors_*.h, under the same name. Its builder (proj_errors.cpp), its row in the list
// of norvane-pm explain, its export and its test are made from these two. The compiler compares the
// conversions of the title with the arguments of the builder.
//
// Users know the texts, and documentation and tools quote them, so they stay as they are,
// misspellings and odd blanks included.
#ifndef NORVANE_PROJ_ERRORS_CATALOGUE_H
#define NORVANE_PROJ_ERRORS_CATALOGUE_H

#include <initializer_list>
#include <string_view>
#include <type_traits>

#include "norvane/base/diagnostics.h"

namespace norvane {

struct CatalogueRun {
    ErrorRunKind kind;
    const char* text;   // null for a reference to a whole manual
    const char* anchor; // of a section; null for the other kinds
};

struct CatalogueParagraph {
    ErrorPAlign align;
    std::initializer_list<CatalogueRun> runs;
};

struct CatalogueEntry {
    const char* title; // a format with %s and %d, in the order of the builder's arguments
    std::initializer_list<CatalogueParagraph> paragraphs;
};

constexpr CatalogueRun text(const char* t) {
    return {ERROR_RUN_TEXT, t, nullptr};
}
constexpr CatalogueRun code(const char* t) {
    return {ERROR_RUN_CODE, t, nullptr};
}
constexpr CatalogueRun section(const char* title, const char* anchor) {
    return {ERROR_RUN_SECREF, title, anchor};
}
constexpr CatalogueRun manual() {
    return {ERROR_RUN_MANREF, nullptr, nullptr};
}

// Begins the entry of an error: NORVANE_ERROR(ERR_NAME){title, {paragraphs}};
#define NORVANE_ERROR(name) inline constexpr CatalogueEntry name##_entry

// A new report, owned by the caller, from an entry and the arguments of its title, which are
// `const char*` and `int`.
ErrorInfo* build_error(const char* name, const CatalogueEntry* entry, ...);

// True if `format` has one conversion for each argument, in order and of its type.
template <typename... Arguments>
constexpr bool format_takes(std::string_view format) {
    constexpr char wanted[] = {(std::is_same_v<Arguments, int> ? 'd' : 's')..., '\0'};
    std::size_t found = 0;
    for (std::size_t i = format.find('%'); i != format.npos; i = format.find('%', i + 2)) {
        if (found == sizeof...(Arguments) || i + 1 == format.size()) return false;
        if (format[i + 1] != wanted[found++]) return false;
    }
    return found == sizeof...(Arguments);
}

constexpr int title_argument(int value) {
    return value;
}
constexpr const char* title_argument(const char* value) {
    return value ? value : "";
}

template <const CatalogueEntry& entry>
struct Builder {
    const char* name;
    template <typename... Arguments>
    ErrorInfo* operator()(Arguments... arguments) const {
        static_assert(format_takes<Arguments...>(entry.title));
        return build_error(name, &entry, title_argument(arguments)...);
    }
};

} // namespace norvane

#endif
