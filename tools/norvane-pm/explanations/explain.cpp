// The table of all errors, and their texts for a person.
//
// An error's texts live in its builder, so each is asked for by building it, with "..." for what
// the title would quote.
#include "explain.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "norvane/proj.hpp"

#include "examples.h"
#include "explain_warnings.h"
#include "similar.h"
#include "warning_table.h"

namespace norvane::driver {
namespace {

struct DeleteError {
    void operator()(ErrorInfo* error) const { err_delete(error); }
};
using Error = std::unique_ptr<ErrorInfo, DeleteError>;

// Stands for an integer argument until title_of writes dots for it.
constexpr int any_number = -2147483647;
constexpr const char* any_number_text = "-2147483647";

template <typename T>
T placeholder() {
    if constexpr (std::is_same_v<T, const char*>)
        return "...";
    else
        return any_number;
}

// True for a builder whose first argument is the place in the model, which the titles leave out.
constexpr bool is_placed(std::string_view parameters) {
    return parameters.starts_with("(const char* position");
}

template <bool placed, typename... Arguments>
requires(!placed) ErrorInfo* build(ErrorInfo* (*builder)(Arguments...)) {
    return builder(placeholder<Arguments>()...);
}

template <bool placed, typename... Arguments>
requires placed ErrorInfo* build(ErrorInfo* (*builder)(const char*, Arguments...)) {
    return builder("", placeholder<Arguments>()...);
}

struct Row {
    const char* name;
    ErrorInfo* (*build)();
};

const Row table[] = {
// The project library's, in the order of its header.
#define PROJ_ERROR(builder, parameters, arguments)                                                 \
    {#builder, [] { return build<is_placed(#parameters)>(builder); }},
#include "proj_errors.inc"
// The base library's.
#define BASE_ERROR(builder)                                                                        \
    {                                                                                              \
#builder, [] { return build<false>(builder); }                                             \
    }
    BASE_ERROR(ERR_FILE_NOT_EXISTS),      BASE_ERROR(ERR_FILE_OPEN),
    BASE_ERROR(ERR_FILE_OPEN_WRITE),      BASE_ERROR(ERR_CPP),
    BASE_ERROR(ERR_CPP_OUTPUT_NOT_FOUND), BASE_ERROR(ERR_XML_MALFORMED),
    BASE_ERROR(ERR_XML_NO_TAGS),          BASE_ERROR(ERR_XML_PARSER),
    BASE_ERROR(ERR_LIBRARY_LOAD),         BASE_ERROR(ERR_MUB_MODULE_NOT_FOUND),
};

#undef PROJ_ERROR
#undef BASE_ERROR

std::string title_of(const ErrorInfo* error) {
    std::string title = error->message;
    for (std::size_t at; (at = title.find(any_number_text)) != title.npos;)
        title.replace(at, std::string_view(any_number_text).size(), "...");
    return title;
}

void list_errors() {
    for (const Row& row : table) {
        const Error error(call(row.build));
        std::printf("%-28s  %s\n", row.name, title_of(error.get()).c_str());
    }
}

// The library's texts refer to sections of a manual that is not there. What they are about is in
// these sections of our pages.
struct Section {
    std::string_view anchor;
    const char* title;
    const char* page;
};
constexpr const char* language = "docs/pm-language.md";
constexpr const char* grammar = "docs/pm-grammar.md";
constexpr const char* formats = "docs/file-formats.md";
constexpr Section sections[] = {
    {"Arrays", "\"Arrays\"", language},
    {"BooleanOperators", "\"Rules and operators\"", language},
    {"ConstandDeclarationGrammar", "\"Constant Declarations\"", grammar},
    {"Constants", "\"Constants\"", language},
    {"Enumerations", "\"Enumerations\"", language},
    {"ExpressionGrammar", "\"Expressions\"", grammar},
    {"Identifiers", "\"Names\"", language},
    {"Optionals", "\"Optionals\"", language},
    {"PMGrammar", "\"PM grammar\"", grammar},
    {"PresentationLayers", "\"Presentations and variable orders\"", formats},
    {"ProductModelsGrammar", "\"Product Models\"", grammar},
    {"Records", "\"Records\"", language},
    {"RuleDeclarationGrammar", "\"Rule Declarations\"", grammar},
    {"RuleOverview", "\"Rules and operators\"", language},
    {"RulesAndOperators", "\"Rules and operators\"", language},
    {"TypeDeclarationGrammar", "\"Type Declarations\"", grammar},
    {"TypesGrammar", "\"Types\"", grammar},
    {"VariableDeclarationGrammar", "\"Variable Declarations\"", grammar},
    {"VariableOrderingDTD", "\"Presentations and variable orders\"", formats},
    {"VariablesAndTypes", "\"Variables and types\"", language}};

void replace(char*& text, const char* other) {
    if (text) str_delete(text);
    text = str_copy(other);
}

// Runs in a frame.
void lead_to_our_pages(ErrorDescRun* run) {
    if (run->kind == ERROR_RUN_MANREF) {
        run->kind = ERROR_RUN_SECREF;
        replace(run->anchor, "PMGrammar");
    }
    if (run->kind != ERROR_RUN_SECREF) return;
    const auto* section =
        std::ranges::find(sections, std::string_view(run->anchor), &Section::anchor);
    if (section == std::end(sections)) return;
    replace(run->text, section->title);
    replace(run->document, section->page);
}

// Runs in a frame.
void lead_to_our_pages(const ErrorInfo* error) {
    for (const auto* paragraph : items<ErrorDescParagraph>(error->paragraphs))
        for (auto* run : items<ErrorDescRun>(paragraph->runs))
            lead_to_our_pages(run);
}

void explain(const Row& row) {
    const Error error(call(row.build));
    std::printf("%s: %s\n", row.name, title_of(error.get()).c_str());
    if (!plist_isempty(error->paragraphs)) {
        std::putchar('\n');
        call([&error] {
            lead_to_our_pages(error.get());
            err_print_description(stdout, error.get());
        });
    }
    std::printf("\n%s", example_text(row.name).c_str());
}

} // namespace

void explain(Session& session) {
    const std::string& name = session.options.error_name;
    if (session.options.list_warnings) return list_warnings();
    if (name.empty()) return list_errors();
    if (explain_warning(name)) return;
    for (const Row& row : table) {
        if (name == row.name) return explain(row);
    }
    std::vector<std::string_view> names;
    for (const Row& row : table)
        names.emplace_back(row.name);
    for (const WarningRow& row : warning_rows())
        names.emplace_back(row.name);
    const std::string meant = did_you_mean(name, names);
    throw WrongUsage{"there is no error or warning '" + name + "'",
                     meant.empty() ? "norvane-pm explain --list lists them" : meant};
}

} // namespace norvane::driver
