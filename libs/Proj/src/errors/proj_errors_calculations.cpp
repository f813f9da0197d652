// The catalogue of what lies beside the model: calculations, workspaces and packages, presentations
// and variable orders.
//
// The texts are what users have come to know, and documentation and tools quote them: they stay as
// they are, misspellings and odd blanks included.
#include "proj_errors_catalogue.h"

#include "norvane/proj/proj_errors.h"

namespace norvane {
namespace {

constexpr CatalogueEntry calc_fnc_redef_entry = {
    "ERR_CALC_FNC_REDEF",
    "%sMultiple definitions of function '%s' in namespace '%s'",
    {{ERROR_P_ORDINARY,
      {text("\n"
            "       It is not legal to have multiple functions with the same name\n"
            "    in the same namespace, even if their signature differ, i.e.,  they\n"
            "    take differnet number or types of arguments.\n"
            "    ")}}}};

constexpr CatalogueEntry calc_lex_comment_not_closed_entry = {
    "ERR_CALC_LEX_COMMENT_NOT_CLOSED",
    "%s (%d): comment starting on line %d not closed before reaching end of input",
    {{ERROR_P_ORDINARY,
      {text("\n"
            "       The is a begin comment ("),
       code("/*"),
       text(") which is not closed by an end\n"
            "    comment ("),
       code("*/"),
       text("). \n"
            "    ")}}}};

constexpr CatalogueEntry calc_gram_colon_deprecated_entry = {
    "ERR_CALC_GRAM_COLON_DEPRECATED",
    "%sUsing a colon to define a default expression is deprecated, use a bar instead",
    {{ERROR_P_ORDINARY,
      {text("As of PM version 3.6 using a colon to define a default\n"
            "  expression for a calculation function is deprecated. The "
            "recommended syntax is to use a\n"
            "  vertical bar instead.")}},
     {ERROR_P_ORDINARY, {text("Previous syntax for defining a default expression :")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "    integer f() : -1 { \n"
            "      return x;\n"
            "    }\n"
            "   ")}},
     {ERROR_P_ORDINARY, {text("Recommended syntax:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "    integer f() | -1 { \n"
            "      return x;\n"
            "    }\n"
            "   ")}},
     {ERROR_P_ORDINARY,
      {text("Note: using a bar to define a default expression is not backwards "
            "compatible\n"
            "  with compilers prior to version 3.6.")}}}};

constexpr CatalogueEntry calc_gram_ns_name_entry = {
    "ERR_CALC_GRAM_NS_NAME",
    "%sArray indices illegal in namespace/function name",
    {{ERROR_P_ORDINARY,
      {text("A name of a namespace of function contains array indices\n"
            "       ("),
       code("[...]"),
       text("). Array indices can only be used to index PM\n"
            "       variables.")}}}};

constexpr CatalogueEntry calc_ns_name_reserved_entry = {
    "ERR_CALC_NS_NAME_RESERVED",
    "'%s' is a reserved namespace name",
    {{ERROR_P_ORDINARY,
      {text("Certain names of namespaces are pre-defined and cannot\n"
            "             used by the user. Currently the names 'CtrlMngr' and\n"
            "    'System' are reserved.\n"
            "    ")}}}};

constexpr CatalogueEntry calc_fnc_entry = {"ERR_CALC_FNC", "%sError in function '%s.%s': %s", {}};

constexpr CatalogueEntry calc_var_value_entry = {
    "ERR_CALC_VAR_VALUE",
    "%sError in function '%s.%s': '%s' is not a legal value for the variable '%s'",
    {}};

constexpr CatalogueEntry calc_pm_var_exists_entry = {
    "ERR_CALC_PM_VAR_EXISTS",
    "%sLocal variable '%s' in function '%s.%s' shadows a product model variable",
    {{ERROR_P_ORDINARY,
      {text("\n"
            "       This error is produced when a local variable has a name\n"
            "       identical to a name of a variable in the product model. Thus,\n"
            "  it is not possible to refer to the product model variable within the\n"
            "  function. To avoid the error, either rename the local variable in\n"
            "  the calculation layer or the product model variable.\n"
            "   ")}}}};

constexpr CatalogueEntry calc_for_init_entry = {
    "ERR_CALC_FOR_INIT",
    "%sInitial statement is of Boolean type",
    {{ERROR_P_ORDINARY,
      {text("\n"
            "        This message\n"
            "        is intended to warn about a  typically mistake of writing "),
       code("for ( i = 0; ... )"),
       text(" instead of \n"
            "        "),
       code("for ( i := 0; ...)"),
       text(". \n"
            "   ")}}}};

constexpr CatalogueEntry calc_for_incr_entry = {
    "ERR_CALC_FOR_INCR",
    "%sIncremental statement is of Boolean type",
    {{ERROR_P_ORDINARY,
      {text("\n"
            "        This message\n"
            "        is intended to warn about a  typically mistake of writing\n"
            "    "),
       code("for ( ...; i = i + 1 )"),
       text(" instead of \n"
            "        "),
       code("for ( ...; i := i + 1 )"),
       text("'. \n"
            "   ")}}}};

constexpr CatalogueEntry zeb_no_main_file_entry = {
    "ERR_ZEB_NO_MAIN_FILE", "No main file is specified.", {}};

constexpr CatalogueEntry zeb_no_mu_file_entry = {
    "ERR_ZEB_NO_MU_FILE",
    "No virtual table and no main file is specified.",
    {{ERROR_P_ORDINARY,
      {text("Either a main PM file or a MU file must be specied,\n"
            "    otherwise it is unknown what MU file "),
       code("kelscope"),
       text(" should\n"
            "    be given as input.")}}}};

constexpr CatalogueEntry zeb_project_exists_entry = {
    "ERR_ZEB_PROJECT_EXISTS",
    "Project with name '%s' already exists in workspace. Project names must be unique",
    {}};

constexpr CatalogueEntry zeb_project_not_found_entry = {
    "ERR_ZEB_PROJECT_NOT_FOUND", "Project '%s' not found in workspace", {}};

constexpr CatalogueEntry zeb_deploy_cmd_entry = {
    "ERR_ZEB_DEPLOY_CMD", "No deploy command for project '%s' is specified", {}};

constexpr CatalogueEntry zeb_target_exists_entry = {
    "ERR_ZEB_TARGET_EXISTS",
    "Attempting to add target '%s' to project, but a target with this name already exists",
    {}};

constexpr CatalogueEntry zeb_mub_read_only_entry = {
    "ERR_ZEB_MUB_READ_ONLY", "The MUB file '%s' is marked ReadOnly", {}};

constexpr CatalogueEntry zeb_mub_failed_to_create_entry = {
    "ERR_ZEB_MUB_FAILED_TO_CREATE", "Unable to create MUB file '%s'", {}};

constexpr CatalogueEntry mub_no_clxfile_entry = {
    "ERR_MUB_NO_CLXFILE",
    "The mub package '%s' does not contain a clx file for model: %s",
    {{ERROR_P_ORDINARY,
      {text("The module does not contain a calculation (.clx) file\n"
            "             in its build folder.")}}}};

constexpr CatalogueEntry pres_wrong_name_entry = {
    "ERR_PRES_WRONG_NAME",
    "Name '%s' is not a valid name of a presentation layer",
    {{ERROR_P_ORDINARY,
      {text("  The given name of the presentation layer is not available in the MU "
            "file. \n"
            "  Please check the spelling of the layer name. ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Presentation Layers", "PresentationLayers"),
       text(" for more on defining presentation layers. \n")}}}};

constexpr CatalogueEntry pres_parser_entry = {
    "ERR_PRES_PARSER",
    "Could not parse presentation file: %s",
    {{ERROR_P_ORDINARY,
      {text("The program attempts to load presentation \n"
            "    file, but the data structure is corrupted. See "),
       section("Presentation Layers", "PresentationLayers"),
       text(" for more on how to define presentation layers.")}}}};

constexpr CatalogueEntry varorder_parser_entry = {
    "ERR_VARORDER_PARSER",
    "Could not parse variable ordering file: %s",
    {{ERROR_P_ORDINARY,
      {text("The program attempts to load variable ordering \n"
            "    file, but the data structure is corrupted. See "),
       section("Variable     Ordering Files", "VariableOrderingDTD"),
       text(" for a description of variable ordering files.")}}}};

constexpr CatalogueEntry varorder_duplicate_var_entry = {
    "ERR_VARORDER_DUPLICATE_VAR",
    "Duplicate variable '%s' in variable ordering file",
    {{ERROR_P_ORDINARY,
      {text("The variable is occurs multiple times in the variable\n"
            "    ordering file. The first occurrence is used as the position \n"
            "    for the variable")}}}};

} // namespace
} // namespace norvane

using namespace norvane;

// clang-format off
ErrorInfo* ERR_CALC_FNC_REDEF(const char* position, const char* function_name,
                              const char* namespace_name) {
    return build<calc_fnc_redef_entry>(position, function_name, namespace_name);
}
ErrorInfo* ERR_CALC_LEX_COMMENT_NOT_CLOSED(const char* file_name, int current_line,
                                           int start_line) {
    return build<calc_lex_comment_not_closed_entry>(file_name, current_line, start_line);
}
ErrorInfo* ERR_CALC_GRAM_COLON_DEPRECATED(const char* position) {
    return build<calc_gram_colon_deprecated_entry>(position);
}
ErrorInfo* ERR_CALC_GRAM_NS_NAME(const char* position) {
    return build<calc_gram_ns_name_entry>(position);
}
ErrorInfo* ERR_CALC_NS_NAME_RESERVED(const char* namespace_name) {
    return build<calc_ns_name_reserved_entry>(namespace_name);
}
ErrorInfo* ERR_CALC_FNC(const char* position, const char* namespace_name,
                        const char* function_name, const char* message) {
    return build<calc_fnc_entry>(position, namespace_name, function_name, message);
}
ErrorInfo* ERR_CALC_VAR_VALUE(const char* position, const char* namespace_name,
                              const char* function_name, const char* value,
                              const char* variable_name) {
    return build<calc_var_value_entry>(position, namespace_name, function_name, value,
                                       variable_name);
}
ErrorInfo* ERR_CALC_PM_VAR_EXISTS(const char* position, const char* variable_name,
                                  const char* namespace_name, const char* function_name) {
    return build<calc_pm_var_exists_entry>(position, variable_name, namespace_name, function_name);
}
ErrorInfo* ERR_CALC_FOR_INIT(const char* position) { return build<calc_for_init_entry>(position); }
ErrorInfo* ERR_CALC_FOR_INCR(const char* position) { return build<calc_for_incr_entry>(position); }
ErrorInfo* ERR_ZEB_NO_MAIN_FILE() { return build<zeb_no_main_file_entry>(); }
ErrorInfo* ERR_ZEB_NO_MU_FILE() { return build<zeb_no_mu_file_entry>(); }
ErrorInfo* ERR_ZEB_PROJECT_EXISTS(const char* project_name) {
    return build<zeb_project_exists_entry>(project_name);
}
ErrorInfo* ERR_ZEB_PROJECT_NOT_FOUND(const char* project_name) {
    return build<zeb_project_not_found_entry>(project_name);
}
ErrorInfo* ERR_ZEB_DEPLOY_CMD(const char* project_name) {
    return build<zeb_deploy_cmd_entry>(project_name);
}
ErrorInfo* ERR_ZEB_TARGET_EXISTS(const char* target_name) {
    return build<zeb_target_exists_entry>(target_name);
}
ErrorInfo* ERR_ZEB_MUB_READ_ONLY(const char* file_name) {
    return build<zeb_mub_read_only_entry>(file_name);
}
ErrorInfo* ERR_ZEB_MUB_FAILED_TO_CREATE(const char* file_name) {
    return build<zeb_mub_failed_to_create_entry>(file_name);
}
ErrorInfo* ERR_MUB_NO_CLXFILE(const char* package_name, const char* model_name) {
    return build<mub_no_clxfile_entry>(package_name, model_name);
}
ErrorInfo* ERR_PRES_WRONG_NAME(const char* layer_name) {
    return build<pres_wrong_name_entry>(layer_name);
}
ErrorInfo* ERR_PRES_PARSER(const char* parser_message) {
    return build<pres_parser_entry>(parser_message);
}
ErrorInfo* ERR_VARORDER_PARSER(const char* parser_message) {
    return build<varorder_parser_entry>(parser_message);
}
ErrorInfo* ERR_VARORDER_DUPLICATE_VAR(const char* variable_name) {
    return build<varorder_duplicate_var_entry>(variable_name);
}
// clang-format on
