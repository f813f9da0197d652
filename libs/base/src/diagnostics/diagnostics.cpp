// The records of a report, and the sink.
#include "norvane/base/diagnostics.h"

#include <cstdlib>

#include "norvane/base/except.h"
#include "norvane/base/memory.h"

namespace norvane::diagnostics {
namespace {

void delete_run(void* element) {
    auto* run = static_cast<ErrorDescRun*>(element);
    std::free(run->text);
    std::free(run->document);
    std::free(run->anchor);
    std::free(run);
}

void delete_paragraph(void* element) {
    auto* paragraph = static_cast<ErrorDescParagraph*>(element);
    plist_delete(paragraph->runs);
    std::free(paragraph);
}

void append_run(ErrorDescParagraph* paragraph, ErrorRunKind kind, const char* text,
                const char* document, const char* anchor) {
    auto* run = static_cast<ErrorDescRun*>(util_malloc_throw(sizeof(ErrorDescRun)));
    run->kind = kind;
    run->text = str_null_copy(text);
    run->document = str_null_copy(document);
    run->anchor = str_null_copy(anchor);
    plist_append(paragraph->runs, run);
}

void print_title(ErrorType type, ErrorInfo* error, void*) {
    err_print(stderr, type, error, ERR_PRINT_TITLE);
    err_delete(error);
}

struct {
    MsgErrorSink function = print_title;
    void* user = nullptr;
} sink;

} // namespace
} // namespace norvane::diagnostics

using namespace norvane::diagnostics;

ErrorInfo* err_new(void) {
    auto* error = static_cast<ErrorInfo*>(util_calloc_throw(sizeof(ErrorInfo)));
    error->paragraphs = plist_new(nullptr, nullptr, delete_paragraph);
    return error;
}

void err_delete(ErrorInfo* error) {
    if (!error) return;
    plist_delete(error->paragraphs);
    std::free(error);
}

ErrorDescParagraph* err_p_new(ErrorPAlign align) {
    auto* paragraph =
        static_cast<ErrorDescParagraph*>(util_malloc_throw(sizeof(ErrorDescParagraph)));
    paragraph->align = align;
    paragraph->runs = plist_new(nullptr, nullptr, delete_run);
    return paragraph;
}

void err_p_append_text(ErrorDescParagraph* p, const char* text) {
    NORVANE_ASSERT(p);
    NORVANE_ASSERT(text);
    append_run(p, ERROR_RUN_TEXT, text, nullptr, nullptr);
}

void err_p_append_code(ErrorDescParagraph* p, const char* text) {
    NORVANE_ASSERT(p);
    NORVANE_ASSERT(text);
    append_run(p, ERROR_RUN_CODE, text, nullptr, nullptr);
}

void err_p_append_secref(ErrorDescParagraph* p, const char* document, const char* section,
                         const char* anchor) {
    NORVANE_ASSERT(p);
    NORVANE_ASSERT(document);
    NORVANE_ASSERT(section);
    NORVANE_ASSERT(anchor);
    append_run(p, ERROR_RUN_SECREF, section, document, anchor);
}

void err_p_append_manref(ErrorDescParagraph* p, const char* document) {
    NORVANE_ASSERT(p);
    NORVANE_ASSERT(document);
    append_run(p, ERROR_RUN_MANREF, nullptr, document, nullptr);
}

void err_set_position(ErrorInfo* error, int line, const char* file) {
    NORVANE_ASSERT(error);
    NORVANE_ASSERT(file);
    error->line = line;
    str_snprintf(error->file, sizeof error->file, "%s", file);
}

void msg_set_error_sink(MsgErrorSink function, void* user) {
    sink.function = function ? function : print_title;
    sink.user = user;
}

MsgErrorSink msg_get_error_sink(void** user) {
    NORVANE_ASSERT(user);
    *user = sink.user;
    return sink.function == print_title ? nullptr : sink.function;
}

void msg_report_error(ErrorType type, ErrorInfo* error) {
    NORVANE_ASSERT(error);
    sink.function(type, error, sink.user);
}
