// The table of all errors, and their texts for a person.
//
// An error's texts live in its builder, so each is asked for by building it, with "..." for what
// the title would quote.
#include "explain.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "norvane/proj.hpp"

#include "similar.h"

namespace norvane::pm {
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

} // namespace

void explain(Session& session) {
    const std::string& name = session.options.error_name;
    if (name.empty()) return list_errors();
    for (const Row& row : table) {
        if (name != row.name) continue;
        const Error error(call(row.build));
        std::printf("%s: %s\n", row.name, title_of(error.get()).c_str());
        if (!plist_isempty(error->paragraphs)) {
            std::putchar('\n');
            call([&error] { err_print_description(stdout, error.get()); });
        }
        return;
    }
    std::vector<std::string_view> names;
    for (const Row& row : table)
        names.emplace_back(row.name);
    const std::string meant = did_you_mean(name, names);
    throw WrongUsage{"there is no error '" + name + "'",
                     meant.empty() ? "norvane-pm explain --list lists them" : meant};
}

} // namespace norvane::pm
