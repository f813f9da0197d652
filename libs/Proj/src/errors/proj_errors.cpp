// Makes a report from an entry of the error catalogue. Every builder of the library comes through
// here, so that all reports have the same shape.
#include "proj_errors_catalogue.h"

#include <cstdarg>

#include "norvane/base/except.h"

namespace norvane {
namespace {

// The one manual that descriptions point into.
constexpr const char* manual_key = "developer";

void append_run(ErrorDescParagraph* paragraph, const CatalogueRun& run) {
    switch (run.kind) {
    case ERROR_RUN_TEXT: return err_p_append_text(paragraph, run.text);
    case ERROR_RUN_CODE: return err_p_append_code(paragraph, run.text);
    case ERROR_RUN_SECREF: return err_p_append_secref(paragraph, manual_key, run.text, run.anchor);
    case ERROR_RUN_MANREF: return err_p_append_manref(paragraph, manual_key);
    }
}

} // namespace

ErrorInfo* build_error(const CatalogueEntry* entry, ...) {
    ErrorInfo* error = err_new();
    NORVANE_ASSERT_TEXT(error, "einfo");
    str_snprintf(error->name, sizeof error->name, "%s", entry->name);
    std::va_list arguments;
    va_start(arguments, entry);
    str_vsnprintf(error->message, sizeof error->message, entry->title, arguments);
    va_end(arguments);
    for (const CatalogueParagraph& described : entry->paragraphs) {
        ErrorDescParagraph* paragraph = err_p_new(described.align);
        plist_append(error->paragraphs, paragraph);
        for (const CatalogueRun& run : described.runs)
            append_run(paragraph, run);
    }
    return error;
}

} // namespace norvane
