// The reports of the base library: files, the preprocessor, packages and XML. Each builder has one
// entry with all its texts.
#include <cstdarg>
#include <initializer_list>

#include "norvane/base/diagnostics.h"

namespace norvane::diagnostics {
namespace {

struct Run {
    ErrorRunKind kind;
    const char* text;
};

constexpr Run text(const char* t) {
    return {ERROR_RUN_TEXT, t};
}
constexpr Run code(const char* t) {
    return {ERROR_RUN_CODE, t};
}

struct Entry {
    const char* name;
    const char* title; // a format
    std::initializer_list<std::initializer_list<Run>> paragraphs;
};

constexpr Entry cpp_entry = {
    "ERR_CPP",
    "The preprocessor failed",
    {{text("A product model goes through the C preprocessor before it is read. The preprocessor "
           "could not be started, or it did not accept the model; its own messages, on standard "
           "error, then name the file and the line.")},
     {text("Usually a file that "), code("#include"),
      text(" names is not found, or a condition lacks its "), code("#endif"),
      text(". Check the names, and the directories that are searched, which are given by "),
      code("-I"), text(". If there is no message at all, check that the program "), code("cpp"),
      text(" is installed and found by way of "), code("PATH"),
      text(", and that the directory for temporary files has room.")},
     {text("A model whose macros grow without end is stopped after a minute, or when it has "
           "grown to a gigabyte.")}}};

constexpr Entry cpp_output_not_found_entry = {
    "ERR_CPP_OUTPUT_NOT_FOUND",
    "The input file '%s' cannot be opened",
    {{text("The file exists, or has just been written by the preprocessor, but cannot be opened "
           "for reading.")},
     {text("For a preprocessed model, this happens when another program clears the directory for "
           "temporary files ("),
      code("TMPDIR"), text(", or else "), code("/tmp"),
      text(") in the meantime: try again. For any other file, check that you are allowed to read "
           "it.")}}};

constexpr Entry file_not_exists_entry = {
    "ERR_FILE_NOT_EXISTS",
    "The file '%s' does not exist",
    {{text("A file that is needed is not there. It may have been moved, renamed or deleted since "
           "it was added, or it is made by an earlier step that has not been run yet.")},
     {text("Check the spelling of the name. A name without a directory is looked up in the "
           "directory that the program was started in.")}}};

constexpr Entry file_open_entry = {
    "ERR_FILE_OPEN",
    "The file '%s' cannot be opened",
    {{text("Either the file does not exist, or you are not allowed to open it, or, in the case "
           "of a package, it is damaged.")},
     {text(
         "Check the spelling of the name, and the permissions of the file and of its directory. A "
         "name without a directory is looked up in the directory that the program was started "
         "in.")}}};

constexpr Entry file_open_write_entry = {
    "ERR_FILE_OPEN_WRITE",
    "The file '%s' cannot be opened for writing",
    {{text("The result cannot be written. Usually the directory does not exist, or the file or "
           "its directory is protected against writing.")},
     {text("Create the directory, remove the protection, or choose another name.")}}};

constexpr Entry library_load_entry = {
    "ERR_LIBRARY_LOAD",
    "The library '%s' cannot be loaded: %s",
    {{text("Packages are read and written by another library, which is loaded when the first "
           "package is opened. It is not installed, or it is another version than the one that "
           "this program was built with.")},
     {text("Install it. On Debian, the package "), code("libzip4"), text(" holds it.")}}};

constexpr Entry mub_module_not_found_entry = {
    "ERR_MUB_MODULE_NOT_FOUND",
    "The model '%s' is not found in the package '%s'",
    {{text("The package can be opened, but it holds no model of this name. Names of models are "
           "written without an extension, and capital letters count.")},
     {text("Check the name. If the model has been renamed or added lately, make the package "
           "again.")}}};

constexpr Entry xml_malformed_entry = {
    "ERR_XML_MALFORMED",
    "%s (%d): Malformed XML: %s",
    {{text("The file is not an XML document, or is damaged at the given line. Reading stops at "
           "the first fault.")},
     {text("This happens when a file is edited by hand, when it was cut short while it was "
           "written or copied, or when a file of another kind is given. In XML, each tag needs "
           "its end tag, and the characters "),
      code("<"), text(" and "), code("&"), text(" are written "), code("&lt;"), text(" and "),
      code("&amp;"),
      text(" inside texts. Correct the file, or export it again from its source.")}}};

constexpr Entry xml_no_tags_entry = {
    "ERR_XML_NO_TAGS",
    "The XML document contains no known tags",
    {{text("The document is well-formed, but nothing in it is known to the reader.")},
     {text("Usually a document of another kind has been given. Check that the file is what its "
           "name says.")}}};

constexpr Entry xml_parser_entry = {
    "ERR_XML_PARSER",
    "The XML document is not valid: %s",
    {{text("The document is well-formed XML, but its content is not what the reader expects: a "
           "tag or an attribute is missing, misplaced or misspelt, or has a value that makes no "
           "sense there.")},
     {text("This happens when a file is edited by hand, or was written by another version of the "
           "program. Correct the file, or export it again from its source.")}}};

ErrorInfo* build(const Entry* entry, ...) {
    ErrorInfo* error = err_new();
    str_snprintf(error->name, sizeof error->name, "%s", entry->name);
    std::va_list arguments;
    va_start(arguments, entry);
    str_vsnprintf(error->message, sizeof error->message, entry->title, arguments);
    va_end(arguments);
    for (const std::initializer_list<Run>& runs : entry->paragraphs) {
        ErrorDescParagraph* paragraph = err_p_new(ERROR_P_ORDINARY);
        plist_append(error->paragraphs, paragraph);
        for (const Run& run : runs) {
            const auto append = run.kind == ERROR_RUN_CODE ? err_p_append_code : err_p_append_text;
            append(paragraph, run.text);
        }
    }
    return error;
}

const char* given(const char* text) {
    return text ? text : "";
}

} // namespace
} // namespace norvane::diagnostics

using namespace norvane::diagnostics;

ErrorInfo* ERR_CPP(void) {
    return build(&cpp_entry);
}

ErrorInfo* ERR_CPP_OUTPUT_NOT_FOUND(const char* name) {
    return build(&cpp_output_not_found_entry, given(name));
}

ErrorInfo* ERR_FILE_NOT_EXISTS(const char* name) {
    return build(&file_not_exists_entry, given(name));
}

ErrorInfo* ERR_FILE_OPEN(const char* name) {
    return build(&file_open_entry, given(name));
}

ErrorInfo* ERR_FILE_OPEN_WRITE(const char* name) {
    return build(&file_open_write_entry, given(name));
}

ErrorInfo* ERR_LIBRARY_LOAD(const char* library, const char* reason) {
    return build(&library_load_entry, given(library), given(reason));
}

ErrorInfo* ERR_MUB_MODULE_NOT_FOUND(const char* model, const char* package) {
    return build(&mub_module_not_found_entry, given(model), given(package));
}

ErrorInfo* ERR_XML_MALFORMED(const char* file, int line, const char* text) {
    return build(&xml_malformed_entry, given(file), line, given(text));
}

ErrorInfo* ERR_XML_NO_TAGS(void) {
    return build(&xml_no_tags_entry);
}

ErrorInfo* ERR_XML_PARSER(const char* message) {
    return build(&xml_parser_entry, given(message));
}
