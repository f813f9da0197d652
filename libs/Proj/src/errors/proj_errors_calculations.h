// The texts of the errors in everything beside the model: calculations, workspaces, packages,
// presentations and variable orders.
#ifndef NORVANE_PROJ_ERRORS_CALCULATIONS_H
#define NORVANE_PROJ_ERRORS_CALCULATIONS_H

#include "proj_errors_catalogue.h"

namespace norvane {

NORVANE_ERROR(ERR_CALC_FNC_REDEF){
    "%sMultiple definitions of function '%s' in namespace '%s'",
    {{ERROR_P_ORDINARY,
      {text("\n"
            "       It is not legal to have multiple functions with the same name\n"
            "    in the same namespace, even if their signature differ, i.e.,  they\n"
            "    take differnet number or types of arguments.\n"
            "    ")}}}};

NORVANE_ERROR(ERR_CALC_LEX_COMMENT_NOT_CLOSED){
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

NORVANE_ERROR(ERR_CALC_GRAM_COLON_DEPRECATED){
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

NORVANE_ERROR(ERR_CALC_GRAM_NS_NAME){
    "%sArray indices illegal in namespace/function name",
    {{ERROR_P_ORDINARY,
      {text("A name of a namespace of function contains array indices\n"
            "       ("),
       code("[...]"),
       text("). Array indices can only be used to index PM\n"
            "       variables.")}}}};

NORVANE_ERROR(ERR_CALC_NS_NAME_RESERVED){
    "'%s' is a reserved namespace name",
    {{ERROR_P_ORDINARY,
      {text("Certain names of namespaces are pre-defined and cannot\n"
            "             used by the user. Currently the names 'CtrlMngr' and\n"
            "    'System' are reserved.\n"
            "    ")}}}};

NORVANE_ERROR(ERR_CALC_FNC){"%sError in function '%s.%s': %s", {}};

NORVANE_ERROR(ERR_CALC_VAR_VALUE){
    "%sError in function '%s.%s': '%s' is not a legal value for the variable '%s'", {}};

NORVANE_ERROR(ERR_CALC_PM_VAR_EXISTS){
    "%sLocal variable '%s' in function '%s.%s' shadows a product model variable",
    {{ERROR_P_ORDINARY,
      {text("\n"
            "       This error is produced when a local variable has a name\n"
            "       identical to a name of a variable in the product model. Thus,\n"
            "  it is not possible to refer to the product model variable within the\n"
            "  function. To avoid the error, either rename the local variable in\n"
            "  the calculation layer or the product model variable.\n"
            "   ")}}}};

NORVANE_ERROR(ERR_CALC_FOR_INIT){
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

NORVANE_ERROR(ERR_CALC_FOR_INCR){
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

NORVANE_ERROR(ERR_ZEB_NO_MAIN_FILE){"No main file is specified.", {}};

NORVANE_ERROR(ERR_ZEB_NO_MU_FILE){"No virtual table and no main file is specified.",
                                  {{ERROR_P_ORDINARY,
                                    {text("Either a main PM file or a MU file must be specied,\n"
                                          "    otherwise it is unknown what MU file "),
                                     code("kelscope"),
                                     text(" should\n"
                                          "    be given as input.")}}}};

NORVANE_ERROR(ERR_ZEB_PROJECT_EXISTS){
    "Project with name '%s' already exists in workspace. Project names must be unique", {}};

NORVANE_ERROR(ERR_ZEB_PROJECT_NOT_FOUND){"Project '%s' not found in workspace", {}};

NORVANE_ERROR(ERR_ZEB_DEPLOY_CMD){"No deploy command for project '%s' is specified", {}};

NORVANE_ERROR(ERR_ZEB_TARGET_EXISTS){
    "Attempting to add target '%s' to project, but a target with this name already exists", {}};

NORVANE_ERROR(ERR_ZEB_MUB_READ_ONLY){"The MUB file '%s' is marked ReadOnly", {}};

NORVANE_ERROR(ERR_ZEB_MUB_FAILED_TO_CREATE){"Unable to create MUB file '%s'", {}};

NORVANE_ERROR(ERR_MUB_NO_CLXFILE){"The mub package '%s' does not contain a clx file for model: %s",
                                  {{ERROR_P_ORDINARY,
                                    {text("The module does not contain a calculation (.clx) file\n"
                                          "             in its build folder.")}}}};

NORVANE_ERROR(ERR_PRES_WRONG_NAME){
    "Name '%s' is not a valid name of a presentation layer",
    {{ERROR_P_ORDINARY,
      {text("  The given name of the presentation layer is not available in the MU "
            "file. \n"
            "  Please check the spelling of the layer name. ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Presentation Layers", "PresentationLayers"),
       text(" for more on defining presentation layers. \n")}}}};

NORVANE_ERROR(ERR_PRES_PARSER){"Could not parse presentation file: %s",
                               {{ERROR_P_ORDINARY,
                                 {text("The program attempts to load presentation \n"
                                       "    file, but the data structure is corrupted. See "),
                                  section("Presentation Layers", "PresentationLayers"),
                                  text(" for more on how to define presentation layers.")}}}};

NORVANE_ERROR(ERR_VARORDER_PARSER){"Could not parse variable ordering file: %s",
                                   {{ERROR_P_ORDINARY,
                                     {text("The program attempts to load variable ordering \n"
                                           "    file, but the data structure is corrupted. See "),
                                      section("Variable     Ordering Files", "VariableOrderingDTD"),
                                      text(" for a description of variable ordering files.")}}}};

NORVANE_ERROR(ERR_VARORDER_DUPLICATE_VAR){
    "Duplicate variable '%s' in variable ordering file",
    {{ERROR_P_ORDINARY,
      {text("The variable is occurs multiple times in the variable\n"
            "    ordering file. The first occurrence is used as the position \n"
            "    for the variable")}}}};

} // namespace norvane

#endif
