// The texts of the errors that the check of a model finds: values that are not static, types that
// do not fit, loops, arrays, and the project as a whole.
#ifndef NORVANE_PROJ_ERRORS_SEMANTICS_H
#define NORVANE_PROJ_ERRORS_SEMANTICS_H

#include "proj_errors_catalogue.h"

namespace norvane {

NORVANE_ERROR(ERR_EXPR_NOT_STATIC){
    "%sExpression representing value for constant '%s' is not a static expression: %s",
    {{ERROR_P_ORDINARY,
      {text("A static expression is an expression which the compiler can \n"
            "  evaluate at compile-time. That is, static expressions can \n"
            "  only contain constants and variables bound by loop operators such\n"
            "  as "),
       code("forall"), text(" and "), code("sum"), text(". ")}},
     {ERROR_P_ORDINARY,
      {text("For example, "), code("5"), text(" and "), code("2*(N+3)"),
       text(" are static expressions,\n"
            "  assuming that "),
       code("N"),
       text(" is either a constant or a variable defined in\n"
            "  a loop operator.")}},
     {ERROR_P_ORDINARY,
      {text("You must use static expressions when defining range\n"
            "  variables, the size of arrays, when indexing into arrays and when\n"
            "  defining  the bounds of the loop operators. \n")}}}};

NORVANE_ERROR(ERR_CONSTANT_EXPR){
    "%sInvalid constant expression: %s",
    {{ERROR_P_ORDINARY,
      {text("Constant expression can only contain\n"
            "  constants and variables bound by loop operators such as\n"
            "  "),
       code("forall"), text(" and "), code("sum"), text(" (see "),
       section("Boolean Operators", "BooleanOperators"),
       text(").\n"
            "  \n"
            "  For example, "),
       code("5"), text(" and "), code("2*(N+3)"),
       text(" are constant expressions,\n"
            "  assuming that "),
       code("N"),
       text(" is either a constant or a variable defined in\n"
            "  a loop operator.")}}}};

NORVANE_ERROR(ERR_CONSTANT_TYPE){"%sType of constant '%s' must be Boolean or integer",
                                 {{ERROR_P_ORDINARY,
                                   {text("The expression defining the value of a\n"
                                         "  constant must have integer or boolean type. See "),
                                    section("Constants", "Constants"),
                                    text("\n"
                                         "  for more information on constant declarations. ")}}}};

NORVANE_ERROR(ERR_DIV_NOT_CONSTANT){
    "%sBoth operands in a division must have static values: %s",
    {{ERROR_P_ORDINARY,
      {text("It is only possible to divide two\n"
            "  static expressions in PM. A static expression is an expression which\n"
            "    the compiler can determine at compile-time.  Static expressions\n"
            "   can only contain\n"
            "  constants and variables bound by loop operators such as\n"
            "  "),
       code("forall"), text(" and "), code("sum"), text(".")}}}};

NORVANE_ERROR(ERR_DOMAIN_NOT_STATIC){
    "%sExpression defining domain for type is not a static expression: %s",
    {{ERROR_P_ORDINARY,
      {text("A static expression is an expression\n"
            "  which the compiler can evaluate at compile-time.  For example,\n"
            "  "),
       code("5"), text(" and "), code("2*(N+3)"),
       text(" are static expressions, assuming\n"
            "  that "),
       code("N"), text(" is a constant.")}},
     {ERROR_P_ORDINARY,
      {text("You must use static expressions when defining range\n"
            "  variables. For example, the following declarations are not\n"
            "  legal:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "    variable \n"
            "      a : [0..3];\n"
            "      b : [0..a];\n"
            "  ")}}}};

NORVANE_ERROR(ERR_DOMAIN_TYPE){"%sExpression defining domain of range must be of integer type: %s",
                               {{ERROR_P_ORDINARY,
                                 {text("When declaring a range variable, the expression defining\n"
                                       "    the range must be of integer type.")}},
                                {ERROR_P_ORDINARY, {text("For example:")}},
                                {ERROR_P_ORDINARY,
                                 {code("\n"
                                       "      variable\n"
                                       "        a : [0..3];\n"
                                       "        b : [0..3+3];\n"
                                       "  ")}}}};

NORVANE_ERROR(ERR_DOMAIN_BOUND){
    "%sUpper bound of a range must be larger than 0 and smaller than 16777216 (24 "
    "bits) : %s",
    {{ERROR_P_ORDINARY,
      {text("When specifying the upper bound of a\n"
            " range type, the upper bound must be a positive number larger\n"
            "than 0 and smaller than 16777216 (24 bits). ")}},
     {ERROR_P_ORDINARY,
      {text("If you need  negative numbers or really large integer numbers,\n"
            "consider using the integer type.")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "variable\n"
            "  b : integer;\n")}}}};

NORVANE_ERROR(ERR_ARRAY_NOT_STATIC){
    "%sExpression defining range of array type is not a static expression: %s",
    {{ERROR_P_ORDINARY,
      {text("  A static expression is an expression which the compiler can \n"
            "  evaluate at compile-time. That is, static expressions can \n"
            "  only contain constants and variables bound by loop operators such\n"
            "  as "),
       code("forall"), text(" and "), code("sum"),
       text(". \n"
            "  \n"
            "  For example, "),
       code("5"), text(" and "), code("2*(N+3)"),
       text(" are static expressions,\n"
            "  assuming that "),
       code("N"),
       text(" is either a constant or a variable defined in\n"
            "  a loop operator.\n"
            "  \n"
            "  You must use static expressions when defining the size of arrays. \n"
            "  For example, the following declarations are not legal:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "     variable\n"
            "       a : [0..3];\n"
            "       b : array a of [0..3];\n"
            "  ")}}}};

NORVANE_ERROR(ERR_ARRAY_DIM){
    "%sDimension of array must be declared as a positive integer number. Declared as '%s'",
    {{ERROR_P_ORDINARY,
      {text("The size of an array must be declared by a\n"
            "  static expression, which evaluates to a positive integer number. For\n"
            "  example, the following declaration is meaningless:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "    variable\n"
            "      b : array -3 of [0..3];\n"
            "  ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Arrays", "Arrays"),
       text(" for more\n"
            "  information on arrays in PM. ")}}}};

NORVANE_ERROR(ERR_TYPE_UNDEF){
    "%sUndefined type '%s'",
    {{ERROR_P_ORDINARY,
      {text("  You have defined a variable to be of a type that you have not\n"
            "  defined. Make sure you have typed the name of the type correctly, "
            "both \n"
            "  when defining the type and where you declare the variable. \n"
            "  For example:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "     type\n"
            "       foo: [0..4];\n"
            "     variable\n"
            "       x : Foo;\n"
            "  ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Enumerations", "Enumerations"),
       text(" for detailed information on user\n"
            "  defined types.")}}}};

NORVANE_ERROR(ERR_VAR_AS_TYPE_NAME){"%sVariable identifier is used as a type '%s'", {}};

NORVANE_ERROR(ERR_RULE_NOT_BOOLEAN){
    "%sRule is not of boolean type: %s",
    {{ERROR_P_ORDINARY,
      {text("  Each rule must be of boolean type. It is meaningless to \n"
            "  have rules of, e.g., integer or range type as in the following "
            "example:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "    variable\n"
            "       a : [0..3];\n"
            "       x : boolean;\n"
            "\n"
            "    rule\n"
            "      if x then a else 3;\n")}}}};

NORVANE_ERROR(ERR_OP_TYPES_BIN){
    "%sOperator type mismatch: Left operand is %s type, right operand is %s type in '%s'",
    {{ERROR_P_ORDINARY,
      {text("  You have compared two variables or labels of different types. \n"
            "  For example, the following product model will result in this error.\n"
            "  ")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "      variable\n"
            "          size :  [0..4];\n"
            "          color : [ red, green, blue ];\n"
            "      rule\n"
            "          if size > green then ... // ERROR\n")}},
     {ERROR_P_ORDINARY,
      {text(" In this example, the error can be corrected by using the\n"
            "  "),
       code("order"),
       text(" operator and expressing the rule as\n"
            "  ")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "    if size > order(green) then ... // OK\n"
            "  ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Overview", "RuleOverview"),
       text(" for an overview of the different operators and\n"
            "  the types of their operands.\n")}}}};

NORVANE_ERROR(ERR_OP_TYPES_UN){
    "%sOperator type mismatch: Operand is of type '%s' in expression '%s'",
    {{ERROR_P_ORDINARY,
      {text("  You have applied unary operator to a variable or label \n"
            "  with an incorrect type. For example, a unary minus\n"
            "  cannot be applied to boolean or enumeration type variables.\n")}}}};

NORVANE_ERROR(ERR_IF_TYPE){
    "%sThe 'if'-expression is of type %s, but should be of type boolean in "
    "if-then-else expression '%s'",
    {{ERROR_P_ORDINARY,
      {text("  The test-condition in an if-then or if-then-else expression must\n"
            "  be a boolean expression. It is meaningless to have a rule of the\n"
            "  form ``"),
       code("if 8 then ..."), text("''. ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Boolean Operators", "BooleanOperators"),
       text(" for more on if-then-else expressions.\n")}}}};

NORVANE_ERROR(ERR_THEN_TYPE){
    "%sThe 'then'-branch is of type %s and the 'else'-branch of type %s (they must "
    "both be either range or boolean) in if-then-else  expression '%s'",
    {{ERROR_P_ORDINARY,
      {text("  The type of the then-branch must be identical to the type of the\n"
            "  else-branch. It is meaningless to have a rule of the\n"
            "  form ``"),
       code("if a > b then 7 else true;"), text("''. ")}},
     {ERROR_P_ORDINARY,
      {text("The type of both the then- and else-branch must be either boolean or \n"
            "  integer")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Boolean Operators", "BooleanOperators"),
       text(" for more on if-then-else expressions.\n")}}}};

NORVANE_ERROR(ERR_CASE_DEFAULT_TYPE){
    "%sDefault expression is of %s type, but case expression is of %s type: %s",
    {{ERROR_P_ORDINARY,
      {text("  All expressions following the "), code("then"),
       text("-term and following the \n"
            "  "),
       code("default"),
       text(" term in a case-construct  must be of the same\n"
            "  type. \n"
            "  The following case-construct is meaningless:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "    case a of\n"
            "    1 then 3 \n"
            "    | default false\n"
            "    esac;\n"
            "  ")}}}};

NORVANE_ERROR(ERR_ENUM_FLOAT_COMPARE){
    "%sFloat type variables can only be compared with static float expression : %s",
    {{ERROR_P_ORDINARY,
      {text("When comparing two float operands,\n"
            "  one of the operands must be a float type variable, and the other\n"
            "  operand must be a float type constant. Comparison of two float type\n"
            "  variables is not supported.")}}}};

NORVANE_ERROR(ERR_ENUM_INTEGER_COMPARE){
    "%sInteger type variables can only be compared with static integer expressions: %s",
    {{ERROR_P_ORDINARY,
      {text("When comparing two integer\n"
            "  operands, one of the operands must be an integer type variable, and\n"
            "  the other operand must be an integer type constant. Comparison of\n"
            "  two integer type variables is not supported. ")}}}};

NORVANE_ERROR(ERR_FLOATS_NOT_STATIC){
    "%sThe expression contains float variables, but only static float values are "
    "allowed: %s",
    {{ERROR_P_ORDINARY,
      {text("Arithmetic type expressions can not\n"
            "contain float type variables, only float type constants are\n"
            "supported. The expression")}},
     {ERROR_P_DISPLAY, {code("MY_CONST + 2.2 * 3.2")}},
     {ERROR_P_ORDINARY,
      {text("is allowed if \n"), code("MY_CONST"), text(" is a float constant, but \n")}},
     {ERROR_P_DISPLAY, {code("my_var + 2.2 * 3.2")}},
     {ERROR_P_ORDINARY, {text("is not allowed if "), code("my_var"), text(" is a variable.\n")}}}};

NORVANE_ERROR(ERR_STRING_COMPARE){
    "%sString type variables can only be compared with constant strings or enum "
    "variables: %s",
    {{ERROR_P_ORDINARY,
      {text("When comparing two string\n"
            "  operands, one of the operands must be a string constant or an enum "
            "variable. Comparison of\n"
            "  two string variables is not supported. ")}}}};

NORVANE_ERROR(ERR_STRVAR_COMPARE_LABEL){
    "%sString variable cannot be compared with enum value: %s",
    {{ERROR_P_ORDINARY,
      {text("A string variable can be compared with an enum variable,\n"
            "  but not with an enum value ")}}}};

NORVANE_ERROR(ERR_RANGES_NOT_INTEGER){
    "%sThe ranges must be integers in expression: %s",
    {{ERROR_P_ORDINARY,
      {text("The range definition in a loop\n"
            "  operators must have integer type.  For example, the loop operator\n"
            "  ``"),
       code("forall i in [0..b] : ..."), text("'' only makes sense if "), code("b"),
       text("\n"
            "    is of integer type.")}}}};

NORVANE_ERROR(ERR_RANGES_BEGIN){
    "%sExpression defining the beginning of the range is not static: %s",
    {{ERROR_P_ORDINARY,
      {text("  A static expression is an expression which the compiler can \n"
            "  evaluate at compile-time. That is, static expressions can \n"
            "  only contain constants and variables bound by loop operators such\n"
            "  as "),
       code("forall"), text(" and "), code("sum"), text(" (see "),
       section("Boolean Operators", "BooleanOperators"),
       text("). \n"
            "  \n"
            "  For example, "),
       code("5"), text(" and "), code("2*(N+3)"),
       text(" are static expressions,\n"
            "  assuming that "),
       code("N"),
       text(" is either a constant or a variable defined in\n"
            "  a loop operator.\n"
            "  \n"
            "  You must use static expressions when defining the bounds used in a\n"
            "  loop operator. For example, ``"),
       code("forall i in [a..4] : ..."),
       text("''\n"
            "  only makes sense if "),
       code("a"), text(" is a static integer expression. \n")}}}};

NORVANE_ERROR(ERR_RANGES_END){
    "%sExpression defining the end of the range is not static: %s",
    {{ERROR_P_ORDINARY,
      {text("  A static expression is an expression which the compiler can \n"
            "  evaluate at compile-time. That is, static expressions can \n"
            "  only contain constants and variables bound by loop operators such\n"
            "  as "),
       code("forall"), text(" and "), code("sum"),
       text(". \n"
            "  \n"
            "  For example, "),
       code("5"), text(" and "), code("2*(N+3)"),
       text(" are static expressions,\n"
            "  assuming that "),
       code("N"),
       text(" is either a constant or a variable defined in\n"
            "  a loop operator.\n"
            "  \n"
            "  You must use static expressions when defining the bounds used in a\n"
            "  loop operator. For example, ``"),
       code("forall i in [4..a] : ..."),
       text("''\n"
            "  only makes sense if "),
       code("a"), text(" is a static integer expression. \n")}}}};

NORVANE_ERROR(ERR_RANGES_LT){
    "%sLower range (%d) must be less than or equal to the upper range (%d) in "
    "expression: %s",
    {{ERROR_P_ORDINARY,
      {text("  The lower bound must be less than (or equal to) the upper bound in\n"
            "  the bound used in a loop operator. \n"
            "  For example, ``"),
       code("forall i in [a..b] : ..."),
       text("''\n"
            "  only makes sense if "),
       code("a"), text(" is smaller than or equal to "), code("b"), text(".\n")}}}};

NORVANE_ERROR(ERR_RANGES_NESTED){
    "%sNested expression in a product range must be a constant expression: %s",
    {{ERROR_P_ORDINARY,
      {text("  The expression used in a product-operator must be static. \n"
            "  \n"
            "  A static expression is an expression which the compiler can evaluate\n"
            "  at compile-time.  For example, "),
       code("5"), text(" and "), code("2*(N+3)"),
       text(" are\n"
            "  static expressions, assuming that "),
       code("N"),
       text(" is either a constant or\n"
            "  a variable defined in a loop operator.")}}}};

NORVANE_ERROR(ERR_RANGE_TYPE){"%sRange expression has %s type: %s",
                              {{ERROR_P_ORDINARY,
                                {text("The expression in "), code("forall"),
                                 text("- and\n"
                                      "  "),
                                 code("exists"),
                                 text("-operators must be of boolean type and the expression\n"
                                      "  in "),
                                 code("sum"), text("- and "), code("product"),
                                 text("-operators must be of range\n"
                                      "  type.")}}}};

NORVANE_ERROR(ERR_INDEX_NOT_STATIC){
    "%sIndex in array type '%s' is not static: %s",
    {{ERROR_P_ORDINARY,
      {text("  The expression used to index an array-element must be static.\n"
            "  For example, ``"),
       code("A[i]"),
       text("''\n"
            "  is only legal if "),
       code("i"), text(" is a static integer expression. ")}},
     {ERROR_P_ORDINARY,
      {text("A static expression is an expression which the compiler can \n"
            "  evaluate at compile-time. That is, static expressions can \n"
            "  only contain constants and variables bound by loop operators such\n"
            "  as "),
       code("forall"), text(" and "), code("sum"), text(". ")}},
     {ERROR_P_ORDINARY,
      {text("For example, "), code("5"), text(" and "), code("2*(N+3)"),
       text(" are static expressions,\n"
            "  assuming that "),
       code("N"),
       text(" is either a constant or a variable defined in\n"
            "  a loop operator.\n")}}}};

NORVANE_ERROR(ERR_INDEX_NOT_INT){
    "%sExpression defining index in dimension %d of array variable is not of integer "
    "type: %s",
    {{ERROR_P_ORDINARY,
      {text("The expression used to index an\n"
            "  array-element of an array variable must be of integer type.")}},
     {ERROR_P_ORDINARY, {text("For example:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "      variable\n"
            "        x : array 5 of boolean;\n"
            "      rule\n"
            "        x[0] or x[1+1];\n"
            "  ")}}}};

NORVANE_ERROR(ERR_NEG_ARRAY_INDEX){
    "%sIndex in dimension %d of array variable '%s' is negative",
    {{ERROR_P_ORDINARY,
      {text("  You have indexed an element in an array with a negative value. \n"
            "  Arrays are indexed from 0 to n-1 where n is the\n"
            "  number of elements in the array.")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Arrays", "Arrays"),
       text(" for more information on arrays in PM. \n")}}}};

NORVANE_ERROR(ERR_ARRAY_INDEX_OUT_OF_RANGE){
    "%sIndex in dimension %d of array variable '%s' is %d, but must be in [0..%d]",
    {{ERROR_P_ORDINARY,
      {text("  You have indexed an element in an array with a value which is larger\n"
            "  than the size of the array. \n"
            "  Arrays are indexed from 0 to n-1 where n is the\n"
            "  number of elements in the array.")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Arrays", "Arrays"),
       text(" for more information on arrays in PM. \n")}}}};

NORVANE_ERROR(ERR_ARRAY_INDEX){
    "%sThe %d-dimensional array '%s' cannot be indexed with %d dimensions",
    {{ERROR_P_ORDINARY,
      {text("An n-dimensional array has been indexed as if it was of some\n"
            "higher dimension. For example:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "      variable\n"
            "         A : array 3 of [0..4];\n"
            "\n"
            "      rule\n"
            "         A[2][1] > 2;\n"
            "  ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Arrays", "Arrays"),
       text(" for more information on arrays in PM. \n")}}}};

NORVANE_ERROR(ERR_ILLEGAL_ARRAY_VAR){
    "%sThe type '%s' is used as an array variable",
    {{ERROR_P_ORDINARY,
      {text("  You have used an identifier as if it was an array, but it has not\n"
            "  been declared as such. For example:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "      type\n"
            "        x : boolean;\n"
            "\n"
            "      rule\n"
            "         x[2] > 2;\n"
            "  ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Arrays", "Arrays"),
       text(" for more information on arrays in PM. \n")}}}};

NORVANE_ERROR(ERR_VAR_AS_ARRAY){"%sThe %s variable '%s' is used as an array variable",
                                {{ERROR_P_ORDINARY,
                                  {text("  A variable which is not an array type, is used as\n"
                                        "    such. For example:")}},
                                 {ERROR_P_ORDINARY,
                                  {code("\n"
                                        "      variable\n"
                                        "        x : [0..4];\n"
                                        "\n"
                                        "      rule\n"
                                        "        x[2] > 2;\n"
                                        "  ")}}}};

NORVANE_ERROR(ERR_NOT_RECORD){
    "%s'%s' is not a record type variable",
    {{ERROR_P_ORDINARY,
      {text("  You have ``dotted'' into a variable which is not a record type\n"
            "  variable. For example:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "     variable\n"
            "       x : [0..4];\n"
            "\n"
            "     rule\n"
            "       x.size > 2;\n"
            "  ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Records", "Records"),
       text(" for more information on records in PM. \n")}}}};

NORVANE_ERROR(ERR_ID_UNDECLARED){
    "%sUndeclared identifier '%s'",
    {{ERROR_P_ORDINARY,
      {text("  You have used an identifier which has not been defined. Check the \n"
            "  spelling of the identifier (e.g., the variable name). ")}},
     {ERROR_P_ORDINARY,
      {text("See "), section("Identifiers", "Identifiers"),
       text(" for more information on identifiers in PM.\n")}}}};

NORVANE_ERROR(ERR_TYPE_AS_VAR_NAME){
    "%sType identifier is used as a variable '%s'",
    {{ERROR_P_ORDINARY,
      {text("  A type identifier is used as an array variable. For\n"
            "    example:")}},
     {ERROR_P_ORDINARY,
      {code("\n"
            "      type\n"
            "        X : [0..4];\n"
            "\n"
            "      rule\n"
            "        X > 2;\n"
            "  ")}}}};

NORVANE_ERROR(ERR_NO_VARS){"Project contains no variables",
                           {{ERROR_P_ORDINARY,
                             {text("  The product model contains no variables. Thus, there are\n"
                                   "  no parameters for the end-user to configure on. \n")}}}};

NORVANE_ERROR(ERR_NO_PUBLIC_VARS){
    "Project contains no public variables",
    {{ERROR_P_ORDINARY,
      {text("  All variables have been declared as private and thus there are\n"
            "  no parameters for the end-user to configure on. \n")}}}};

NORVANE_ERROR(ERR_NO_PUBLIC_VARS_PROD){
    "%sThe type constructor contains no public variables",
    {{ERROR_P_ORDINARY,
      {text("In a record type constructor, at\n"
            "  least one variable must be a public variable. This error is caused\n"
            "  by either declaring a record type constructor without any variables,\n"
            "  or by declaring all variables in the record type for private.")}}}};

} // namespace norvane

#endif
