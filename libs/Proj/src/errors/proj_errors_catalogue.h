// How the error catalogue is written down, and the one mechanism that turns an entry into a report.
//
// A group of errors is a file of entries and of builders of one line each; the title's conversions
// are checked against the builder's arguments when it is compiled.
#ifndef NORVANE_PROJ_PROJ_ERRORS_CATALOGUE_H
#define NORVANE_PROJ_PROJ_ERRORS_CATALOGUE_H

#include <initializer_list>
#include <string_view>
#include <type_traits>

#include "norvane/base/diagnostics.h"

namespace norvane {

struct CatalogueRun {
    ErrorRunKind kind;
    const char* text;   // null for a reference to a manual as a whole
    const char* anchor; // null but for a section
};

struct CatalogueParagraph {
    ErrorPAlign align;
    std::initializer_list<CatalogueRun> runs;
};

struct CatalogueEntry {
    const char* name;
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

// A new report from the entry and the arguments of its title, which are `const char*` and `int`.
ErrorInfo* build_error(const CatalogueEntry* entry, ...);

// Tells whether the conversions of `format` are those of the arguments, one by one.
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

template <const CatalogueEntry& entry, typename... Arguments>
ErrorInfo* build(Arguments... arguments) {
    static_assert(format_takes<Arguments...>(entry.title));
    return build_error(&entry, title_argument(arguments)...);
}

} // namespace norvane

#endif
