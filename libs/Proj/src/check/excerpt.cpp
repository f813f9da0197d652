// The upper levels of an expression in print, for reports.
#include "norvane/base/strings.h"
#include "norvane/proj/printpmfile.h"
#include "staticsem_internal.h"

namespace norvane::check {

namespace {

// Levels that an excerpt shows; those below print as "...".
constexpr int shown_depth = 3;

} // namespace

Excerpt excerpt_of(Expr* expr) {
    Excerpt excerpt;
    UtilString* text = ustr_new();
    ppm_printn_expr_str(expr, text, shown_depth);
    str_snprintf(excerpt.text, sizeof excerpt.text, "%s", text->text);
    ustr_delete(text);
    return excerpt;
}

} // namespace norvane::check
