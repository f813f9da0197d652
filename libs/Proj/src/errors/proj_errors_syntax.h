// The texts of the errors in the syntax and the declarations of the product-model language.
#ifndef NORVANE_PROJ_ERRORS_SYNTAX_H
#define NORVANE_PROJ_ERRORS_SYNTAX_H

#include "proj_errors_catalogue.h"

namespace norvane {

NORVANE_ERROR(ERR_NAME_REDECLARED){
    "%sThe %s name '%s' is already declared as a %s",
    {{ERROR_P_ORDINARY,
      {text("  You have used the same identifier for several things. All constants,\n"
            "  values, types, labels,  and variables must have distinct names. \n")}}}};

NORVANE_ERROR(ERR_NAME_REDECLARED_SCOPE){
    "%sThe %s name '%s' is already declared in the same scope",
    {{ERROR_P_ORDINARY,
      {text("  You have defined an identifier multiple times within the same\n"
            "  scope.  That is, two variables or constants have the same name \n"
            "  on the same scope level, i.e., within a record type or on the\n"
            "  top-most level.  \n")}}}};

NORVANE_ERROR(ERR_TYPE_AS_VAR){
    "%sThe type '%s' is used as a variable",
    {{ERROR_P_ORDINARY,
      {text("  You have used the name of a type in a rule rather than using a\n"
            "  the name of a variable. "),
       code("x := y+z;"), text(" For example:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "     type\n"
            "       Size : [0..3];\n"
            "\n"
            "     variable\n"
            "       size : Size;\n"
            "\n"
            "     rule\n"
            "       Size > 2;\n"
            "  ")}}}};

NORVANE_ERROR(ERR_EMPTY_VAR_NAME){
    "%sThe empty variable name is not allowed",
    {{ERROR_P_ORDINARY,
      {text("All variables must be given a valid name. The empty\n"
            "             string is not recognized as a valid variable name.")}}}};

NORVANE_ERROR(ERR_EMPTY_LABEL_NAME){
    "%sThe empty label name is not allowed",
    {{ERROR_P_ORDINARY,
      {text("All labels in an enum type must be given a valid name. The empty\n"
            "             string is not recognized as a valid label name.")}}}};

NORVANE_ERROR(ERR_LABEL_RESERVED_WORD){
    "%s'NONE' and 'SOME' are reserved words and cannot be used as labels",
    {{ERROR_P_ORDINARY,
      {text("  The strings ``"), code("SOME"), text("'' or ``"), code("NONE"),
       text("'' are reserved and \n"
            "  cannot be used as labels. See "),
       section("Optionals", "Optionals"),
       text(" for more on\n"
            "  optional variables.\n")}}}};

NORVANE_ERROR(ERR_NO_LABELS){
    "%sEnumeration type contains no labels",
    {{ERROR_P_ORDINARY, {text("The specified enumeration type does not contain any labels ")}}}};

NORVANE_ERROR(ERR_INVALID_INT){
    "%sIntegers must be in the range [-2147483648..2147483647] (32 bits). The value: "
    "'%s' is invalid",
    {}};

NORVANE_ERROR(ERR_INVALID_TOKEN){
    "%sInvalid token '%s' found",
    {{ERROR_P_ORDINARY,
      {text("  The file contains characters or strings that cannot be recognized\n"
            "  by the parser. For example, the character '#' is not recognized by\n"
            "  the parser:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "     variable\n"
            "        x : #;\n"
            "  ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("PM Grammar", "PMGrammar"),
       text(" for the precise definition of \n"
            "  the PM grammar. ")}}}};

NORVANE_ERROR(ERR_PARSER){"%s%s",
                          {{ERROR_P_ORDINARY,
                            {text("The input could not be parsed, i.e., it does not \n"
                                  "  follow the syntactic rules of the input.")}},
                           {ERROR_P_ORDINARY,
                            {text("See "), section("PM Grammar", "PMGrammar"),
                             text(" for the precise definition of \n"
                                  "     the PM grammar. ")}}}};

NORVANE_ERROR(ERR_GRAM_DECL){
    "%sExpecting a section delimiter: one of 'constant', 'type', 'variable', or 'rule'.",
    {{ERROR_P_ORDINARY,
      {text("  The parser could not find one of the three possible section\n"
            "  identifiers. Check that you have type the name of the \n"
            "  section identifier correctly. ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Products Models", "ProductModelsGrammar"),
       text(" \n"
            "  in "),
       manual(),
       text(" for the precise description of the syntax of legal section  "
            "declarations.  \n")}}}};

NORVANE_ERROR(ERR_GRAM_CONSTANTDEFL){
    "%sIllegal constant declaration.",
    {{ERROR_P_ORDINARY, {text("  The parser could not understand the constant definition. ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Constants", "Constants"),
       text(" for an introduction to defining\n"
            "  constants in PM. "),
       section("Constant Declarations", "ConstandDeclarationGrammar"),
       text(" in\n"
            "  "),
       section("PM Grammar", "PMGrammar"),
       text(" contains the precise description of the\n"
            "  syntax of a constant declaration.  ")}}}};

NORVANE_ERROR(ERR_GRAM_TYPEDEFL){
    "%sIllegal type declaration.",
    {{ERROR_P_ORDINARY, {text("  The parser could not understand the type definition. ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Enumerations", "Enumerations"),
       text(" for an introduction to defining user\n"
            "  declared types in PM. Sections \n"
            "  "),
       section("Type Declarations", "TypeDeclarationGrammar"),
       text(" and \n"
            "  "),
       section("Types", "TypesGrammar"),
       text(" in \n"
            "  "),
       section("PM Grammar", "PMGrammar"),
       text(" contains the\n"
            "  precise description of the syntax of a user-declared type\n"
            "  declaration.  ")}}}};

NORVANE_ERROR(ERR_GRAM_VARIABLEDEFL){
    "%sIllegal variable declaration.",
    {{ERROR_P_ORDINARY, {text("  The parser could not understand the variable definition. ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Variables and Types", "VariablesAndTypes"),
       text(" for an introduction to declaring\n"
            "  variables in PM. "),
       section("Variable Declarations", "VariableDeclarationGrammar"),
       text(" in\n"
            "  "),
       section("PM Grammar", "PMGrammar"),
       text(" contains \n"
            "  the precise description of the syntax of a variable declaration.  \n")}}}};

NORVANE_ERROR(ERR_GRAM_RULEDEFL){
    "%sIllegal rule declaration.",
    {{ERROR_P_ORDINARY, {text("  The parser could not understand the rule definition. ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Rules and Operators", "RulesAndOperators"),
       text(" for an introduction to defining rules in\n"
            "  PM. "),
       section("Rule Declarations", "RuleDeclarationGrammar"),
       text(" in\n"
            "  "),
       section("PM Grammar", "PMGrammar"),
       text("\n"
            "  contains the precise description of the syntax of a rule\n"
            "  declaration.  ")}}}};

NORVANE_ERROR(ERR_GRAM_INT_ZERO){
    "%sRange intervals must start at 0",
    {{ERROR_P_ORDINARY,
      {text("  Range variables cannot be negative and the ranges must start with "
            "0. \n"
            "  See "),
       section("Types", "TypesGrammar"),
       text(" for the precise description of the syntax\n"
            "  of range declarations.\n")}}}};

NORVANE_ERROR(ERR_GRAM_TYPE){
    "%sIllegal type declaration.",
    {{ERROR_P_ORDINARY, {text("  The parser could not understand the type definition. ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Enumerations", "Enumerations"),
       text(" for an introduction to variable types\n"
            "  in PM. "),
       section("Type Declarations", "TypeDeclarationGrammar"), text(" and "),
       section("Types", "TypesGrammar"), text(" in "), section("PM Grammar", "PMGrammar"),
       text(" contains the\n"
            "  precise description of the syntax of type declarations.  ")}}}};

NORVANE_ERROR(ERR_GRAM_RECFIELDL){
    "%sIllegal record field declaration.",
    {{ERROR_P_ORDINARY,
      {text("  The parser could not understand the declaration of a variable in a\n"
            "  record. ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Records", "Records"),
       text(" for an introduction to the declaration\n"
            "  of records PM. "),
       section("Types", "TypesGrammar"), text(" in "), section("PM Grammar", "PMGrammar"),
       text(" contains the\n"
            "  precise description of the syntax of record declarations.  ")}}}};

NORVANE_ERROR(ERR_GRAM_RECRULEL){
    "%sIllegal record rule declaration.",
    {{ERROR_P_ORDINARY,
      {text("  The parser could not understand the declaration of a rule in a\n"
            "  record. ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Records", "Records"),
       text(" for an introduction to the declaration\n"
            "  of records PM. For an introduction to defining rules in PM, \n"
            "  see "),
       section("Rules and Operators", "RulesAndOperators"), text(".")}},
     {ERROR_P_ORDINARY,
      {section("Rule Declarations", "RuleDeclarationGrammar"),
       text(" \n"
            "  in "),
       section("PM Grammar", "PMGrammar"),
       text("\n"
            "  contains the precise description of the syntax of a rule\n"
            "  declaration. ")}}}};

NORVANE_ERROR(ERR_GRAM_CASEDEFL){
    "%sIllegal case declaration.",
    {{ERROR_P_ORDINARY, {text("The parser could not understand the case-construct. ")}},
     {ERROR_P_ORDINARY,
      {text("The case-construct is described in\n"
            "  "),
       section("Boolean Operators", "BooleanOperators"), text(" and the syntax is defined in "),
       section("Expressions", "ExpressionGrammar"),
       text(" as:\n"
            "  ")}},
     {ERROR_P_DISPLAY,
      {code("\n"
            "      'case' <idcon> 'of' (<expr> 'then' <expr> '|')* 'default' "
            "<expr> 'esac'\n"
            "  ")}}}};

NORVANE_ERROR(ERR_GRAM_IDCON){
    "%sIllegal identifier",
    {{ERROR_P_ORDINARY, {text("  The parser could not recognize the identifier. ")}},
     {ERROR_P_ORDINARY,
      {text("The syntax for identifiers is described in\n"
            "  "),
       section("Expressions", "ExpressionGrammar"),
       text(":\n"
            "  ")}},
     {ERROR_P_DISPLAY,
      {code("\n"
            "     <idcon> ::= <v> [ '[' <staticexpr> ']' ][ '.' <idcon> ]\n"
            "   ")}},
     {ERROR_P_ORDINARY,
      {text("\n"
            "  For example, "),
       code("x"), text(", "), code("B[3]"), text(" and "), code("A[N-1].size.l"),
       text("\n"
            "  are examples of legal identifiers. ")}}}};

NORVANE_ERROR(ERR_GRAM_BAR_DEPRECATED){
    "%sUsing a bar to seperate labels is deprecated, use a comma instead",
    {{ERROR_P_ORDINARY,
      {text("  As of PM version 3.0 using a bar as seperator for labels in an\n"
            "  enumerator type is depricated. The recommended syntax is to use a\n"
            "  comma.")}},
     {ERROR_P_ORDINARY, {text("Previous syntax for defining an enumeration type :")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "    type\n"
            "      Color : [red | green | blue];\n"
            "   ")}},
     {ERROR_P_ORDINARY, {text("Recommended syntax:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "    type\n"
            "      Color : [red, green, blue];\n"
            "  ")}},
     {ERROR_P_ORDINARY,
      {text("Note : using a comma as label seperator is not backward compatible\n"
            "  with compilers prior to version 3.0.")}}}};

} // namespace norvane

#endif
