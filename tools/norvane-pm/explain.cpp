// The table of all errors, and their texts for a person.
//
// An error's texts live in its builder, so each is asked for by building it, with "..." for what
// the title would quote.
#include "explain.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "norvane/base.h"
#include "norvane/proj/proj_errors.h"

namespace norvane::pm {
namespace {

struct DeleteError {
    void operator()(ErrorInfo* error) const { err_delete(error); }
};
using Error = std::unique_ptr<ErrorInfo, DeleteError>;

template <typename T>
T placeholder() {
    if constexpr (std::is_same_v<T, const char*>)
        return "...";
    else
        return 0;
}

// For a builder that quotes all its arguments.
template <typename... Arguments>
ErrorInfo* build(ErrorInfo* (*builder)(Arguments...)) {
    return builder(placeholder<Arguments>()...);
}

// For a builder whose first argument is the place in the model.
template <typename... Arguments>
ErrorInfo* build_placed(ErrorInfo* (*builder)(const char*, Arguments...)) {
    return builder("", placeholder<Arguments>()...);
}

struct Row {
    const char* name;
    ErrorInfo* (*build)();
};

#define PLAIN(builder)                                                                             \
    {                                                                                              \
#builder, [] { return build(builder); }                                                    \
    }
#define PLACED(builder)                                                                            \
    {                                                                                              \
#builder, [] { return build_placed(builder); }                                             \
    }

const Row table[] = {
    PLACED(ERR_NAME_REDECLARED),
    PLACED(ERR_NAME_REDECLARED_SCOPE),
    PLACED(ERR_TYPE_AS_VAR),
    PLACED(ERR_EMPTY_VAR_NAME),
    PLACED(ERR_EMPTY_LABEL_NAME),
    PLACED(ERR_LABEL_RESERVED_WORD),
    PLACED(ERR_NO_LABELS),
    PLACED(ERR_INVALID_INT),
    PLACED(ERR_INVALID_TOKEN),
    PLACED(ERR_PARSER),
    PLACED(ERR_GRAM_DECL),
    PLACED(ERR_GRAM_CONSTANTDEFL),
    PLACED(ERR_GRAM_TYPEDEFL),
    PLACED(ERR_GRAM_VARIABLEDEFL),
    PLACED(ERR_GRAM_RULEDEFL),
    PLACED(ERR_GRAM_INT_ZERO),
    PLACED(ERR_GRAM_TYPE),
    PLACED(ERR_GRAM_RECFIELDL),
    PLACED(ERR_GRAM_RECRULEL),
    PLACED(ERR_GRAM_CASEDEFL),
    PLACED(ERR_GRAM_IDCON),
    PLACED(ERR_GRAM_BAR_DEPRECATED),
    PLACED(ERR_EXPR_NOT_STATIC),
    PLACED(ERR_CONSTANT_EXPR),
    PLACED(ERR_CONSTANT_TYPE),
    PLACED(ERR_DIV_NOT_CONSTANT),
    PLACED(ERR_DOMAIN_NOT_STATIC),
    PLACED(ERR_DOMAIN_TYPE),
    PLACED(ERR_DOMAIN_BOUND),
    PLACED(ERR_ARRAY_NOT_STATIC),
    PLACED(ERR_ARRAY_DIM),
    PLACED(ERR_TYPE_UNDEF),
    PLACED(ERR_VAR_AS_TYPE_NAME),
    PLACED(ERR_RULE_NOT_BOOLEAN),
    PLACED(ERR_OP_TYPES_BIN),
    PLACED(ERR_OP_TYPES_UN),
    PLACED(ERR_IF_TYPE),
    PLACED(ERR_THEN_TYPE),
    PLACED(ERR_CASE_DEFAULT_TYPE),
    PLACED(ERR_ENUM_FLOAT_COMPARE),
    PLACED(ERR_ENUM_INTEGER_COMPARE),
    PLACED(ERR_FLOATS_NOT_STATIC),
    PLACED(ERR_STRING_COMPARE),
    PLACED(ERR_STRVAR_COMPARE_LABEL),
    PLACED(ERR_RANGES_NOT_INTEGER),
    PLACED(ERR_RANGES_BEGIN),
    PLACED(ERR_RANGES_END),
    PLACED(ERR_RANGES_LT),
    PLACED(ERR_RANGES_NESTED),
    PLACED(ERR_RANGE_TYPE),
    PLACED(ERR_INDEX_NOT_STATIC),
    PLACED(ERR_INDEX_NOT_INT),
    PLACED(ERR_NEG_ARRAY_INDEX),
    PLACED(ERR_ARRAY_INDEX_OUT_OF_RANGE),
    PLACED(ERR_ARRAY_INDEX),
    PLACED(ERR_ILLEGAL_ARRAY_VAR),
    PLACED(ERR_VAR_AS_ARRAY),
    PLACED(ERR_NOT_RECORD),
    PLACED(ERR_ID_UNDECLARED),
    PLACED(ERR_TYPE_AS_VAR_NAME),
    PLAIN(ERR_NO_VARS),
    PLAIN(ERR_NO_PUBLIC_VARS),
    PLACED(ERR_NO_PUBLIC_VARS_PROD),
    PLACED(ERR_CALC_FNC_REDEF),
    PLAIN(ERR_CALC_LEX_COMMENT_NOT_CLOSED),
    PLACED(ERR_CALC_GRAM_COLON_DEPRECATED),
    PLACED(ERR_CALC_GRAM_NS_NAME),
    PLAIN(ERR_CALC_NS_NAME_RESERVED),
    PLACED(ERR_CALC_FNC),
    PLACED(ERR_CALC_VAR_VALUE),
    PLACED(ERR_CALC_PM_VAR_EXISTS),
    PLACED(ERR_CALC_FOR_INIT),
    PLACED(ERR_CALC_FOR_INCR),
    PLAIN(ERR_ZEB_NO_MAIN_FILE),
    PLAIN(ERR_ZEB_NO_MU_FILE),
    PLAIN(ERR_ZEB_PROJECT_EXISTS),
    PLAIN(ERR_ZEB_PROJECT_NOT_FOUND),
    PLAIN(ERR_ZEB_DEPLOY_CMD),
    PLAIN(ERR_ZEB_TARGET_EXISTS),
    PLAIN(ERR_ZEB_MUB_READ_ONLY),
    PLAIN(ERR_ZEB_MUB_FAILED_TO_CREATE),
    PLAIN(ERR_MUB_NO_CLXFILE),
    PLAIN(ERR_PRES_WRONG_NAME),
    PLAIN(ERR_PRES_PARSER),
    PLAIN(ERR_VARORDER_PARSER),
    PLAIN(ERR_VARORDER_DUPLICATE_VAR),
    PLAIN(ERR_FILE_NOT_EXISTS),
    PLAIN(ERR_FILE_OPEN),
    PLAIN(ERR_FILE_OPEN_WRITE),
    PLAIN(ERR_CPP),
    PLAIN(ERR_CPP_OUTPUT_NOT_FOUND),
    PLAIN(ERR_XML_MALFORMED),
    PLAIN(ERR_XML_NO_TAGS),
    PLAIN(ERR_XML_PARSER),
    PLAIN(ERR_LIBRARY_LOAD),
    PLAIN(ERR_MUB_MODULE_NOT_FOUND),
};

#undef PLAIN
#undef PLACED

int list_errors() {
    for (const Row& row : table) {
        const Error error(row.build());
        std::printf("%-28s  %s\n", row.name, error->message);
    }
    return STATUS_OK;
}

} // namespace

int explain(const Options& options) {
    if (options.error_name.empty()) return list_errors();
    for (const Row& row : table) {
        if (options.error_name != row.name) continue;
        const Error error(row.build());
        std::printf("%s: %s\n", row.name, error->message);
        if (!plist_isempty(error->paragraphs)) {
            std::putchar('\n');
            err_print_description(stdout, error.get());
        }
        return STATUS_OK;
    }
    std::fprintf(stderr, "norvane-pm: there is no error %s: see norvane-pm explain --list\n",
                 options.error_name.c_str());
    return STATUS_WRONG_USAGE;
}

} // namespace norvane::pm
