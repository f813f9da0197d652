// Defines the builders of the error catalogue. All of them make their reports by build_error.
#include "norvane/proj/proj_errors.h"

#include <cstdarg>

#include "norvane/base/except.h"
#include "proj_errors_calculations.h"
#include "proj_errors_semantics.h"
#include "proj_errors_syntax.h"

namespace norvane {
namespace {

// The manual that all references of descriptions name.
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

ErrorInfo* build_error(const char* name, const CatalogueEntry* entry, ...) {
    ErrorInfo* error = err_new();
    NORVANE_ASSERT_TEXT(error, "einfo");
    str_snprintf(error->name, sizeof error->name, "%s", name);
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

// NOLINTBEGIN(bugprone-macro-parentheses): a definition takes no parentheses.
#define PROJ_ERROR(name, parameters, arguments)                                                    \
    ErrorInfo* name parameters {                                                                   \
        return norvane::Builder<norvane::name##_entry>{#name} arguments;                           \
    }
// NOLINTEND(bugprone-macro-parentheses)
#include "proj_errors.inc"
