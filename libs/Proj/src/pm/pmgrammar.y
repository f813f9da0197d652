/* The grammar of PM source: builds the project of a load, declaration by declaration.
 *
 * The line of a record is the scanner's line at the reduction, which is that of the last token read.
 * There is no error recovery: every error production reports which construct was open and ends the
 * parse. */

%require "3.8"
%define api.prefix {pm}
%define api.token.prefix {PM_}
%define api.token.raw
%define parse.error custom
%parse-param {norvane::pm::Load& load}
/* After a list that may be empty, an error could belong to the list or to the construct after it.
 * These are the five conflicts, one for each such list; shifting assigns the error to the list. */
%expect 5

/* The prefix leaves these types of the generated parser alone, and a program that contains both
 * parsers may define each of them once. */
%code top {
#define yysymbol_kind_t pmsymbol_kind_t
#define yypcontext_t pmpcontext_t
#define yyalloc pmalloc
}

%code requires {
#include "norvane/proj/project.h"

#include "pmfrontend.h"
}

%code provides {
/* The next token of the load that start_scanner was given, its value in pmlval; 0 at the end of the
 * input. */
int pmlex();
}

%code {
#include <cstring>
#include <type_traits>

#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/proj/proj_errors.h"

#include "poly_adaptors.h"
#include "report.h"
#include "syntax_error.h"

/* Deep nesting and long case lists need a deep stack; the limit bounds the memory that malicious input
 * can take. */
#define YYINITDEPTH 200
#define YYMAXDEPTH 200000

/* Reports the construct that is open, and ends the parse. */
#define FAIL(builder)                                                                              \
    do {                                                                                           \
        report_error(builder(position_of(load).text));                                             \
        YYABORT;                                                                                   \
    } while (0)

using namespace norvane;
using namespace norvane::pm;

namespace {

void delete_names(PolyList* names);
void delete_arms(Arms arms);
Literal join(Literal left, Literal right);
void declare_variables(const Load& load, PolyList* names, VarType vartype, TypeCon* typecon);
void declare_fields(const Load& load, PolyList* fields, PolyList* names, VarType vartype, TypeCon* typecon);
PolyList* list_of_expressions();
PolyList* list_of_rules();
PolyList* appended(PolyList* list, void* element);
Expr* string_constant(const Load& load, Literal string);
void warn_of_bar(Load& load);
void pmerror(const Load& load, const char* message);

} // namespace
}

%union {
    int integer;
    double real;
    char* text;
    norvane::pm::Literal string;
    OprTypes opr;
    VarType vartype;
    Expr* expr;
    IdCon* idcon;
    TypeCon* typecon;
    PolyList* list;  /* owns its elements */
    PolyList* names; /* char*; without callbacks */
    RuleDecl* rule;
    norvane::pm::Arms arms;
}

/* Their order is the order of names in messages. */
%token END 0 "$"
%token CONSTANT "constant"
%token TYPE "type"
%token VARIABLE "variable"
%token RULE "rule"
%token BOOLEAN "boolean"
%token STRING "string"
%token ARRAY "array"
%token OF "of"
%token TRUE "true"
%token FALSE "false"
%token IF "if"
%token THEN "then"
%token FORALL "forall"
%token EXIST "exist"
%token SUM "sum"
%token PRODUCT "product"
%token IN "in"
%token CASE "case"
%token ESAC "esac"
%token PRIVATE "private"
%token PUBLIC "public"
%token DOTS ".."
%token SHR ">>"
%token SHL "<<"
%token DOT "."
%token COMMA ","
%token COLON ":"
%token BAR "|"
%token LPAREN "("
%token RPAREN ")"
%token LBRACKET "["
%token RBRACKET "]"
%token LBRACE "{"
%token RBRACE "}"
%token BAD_TOKEN "_ERROR"
%token OPTIONAL "optional"
%token DEFAULT "default"
%token INTEGER "integer"
%token SEMICOLON ";"
%token ELSE "else"
%token BIIMPLIES "<->"
%token IMPLIES "->"
%token XOR "xor"
%token OR "or"
%token AND "and"
%token NOT "not"
%token LT "<"
%token LE "<="
%token GT ">"
%token GE ">="
%token EQ "="
%token NEQ "<>"
%token PLUS "+"
%token MINUS "-"
%token TIMES "*"
%token DIV "/"
%token ORDER "order"
%token FLOAT "float"
%token <integer> INTCONST "Integer constant"
%token <real> FLOATCONST "Float constant"
%token <string> STRINGCONST "String constant"
%token <text> IDENTIFIER "Identifier"

%right "else"
%right "<->"
%right "->"
%left "xor"
%left "or"
%left "and"
%precedence "not"
%nonassoc "<" "<=" ">" ">=" "=" "<>"
%left "+" "-"
%left "*" "/"

%type <names> idl
%type <vartype> modifier
%type <typecon> type
%type <list> recfieldl recrules recrulel enumvariablel arrayindex
%type <rule> recrule
%type <text> enumvariable
%type <expr> expr
%type <arms> casedefl
%type <idcon> idcon path
%type <opr> rangeopr
%type <integer> boolean
%type <string> str

%destructor { str_delete($$); } <text>
%destructor { str_delete($$.text); } <string>
%destructor { expr_delete($$); } <expr>
%destructor { expr_delete_idcon($$); } <idcon>
%destructor { tc_delete_typecon($$); } <typecon>
%destructor { plist_delete($$); } <list>
%destructor { delete_names($$); } <names>
%destructor { decl_delete_ruledecl($$); } <rule>
%destructor { delete_arms($$); } <arms>

%start start

%%

start: decll;

decll: decll decl
     | %empty
     ;

decl: constantdecl
    | typedecl
    | variabledecl
    | ruledecl
    | error { FAIL(ERR_GRAM_DECL); }
    ;

constantdecl: "constant" constantdefl;

constantdefl: constantdefl constantdef ";"
            | %empty
            | error { FAIL(ERR_GRAM_CONSTANTDEFL); }
            ;

constantdef: "Identifier" ":" expr {
                 proj_add_constantdecl(load.project, decl_new_constantdecl($1, $3, load.line));
             };

typedecl: "type" typedefl;

typedefl: typedefl typedef ";"
        | %empty
        | error { FAIL(ERR_GRAM_TYPEDEFL); }
        ;

typedef: "Identifier" ":" type {
             proj_add_typedecl(load.project, decl_new_typedecl($1, $3, load.line));
         };

variabledecl: "variable" variabledefl;

variabledefl: variabledefl variabledef ";"
            | %empty
            | error { FAIL(ERR_GRAM_VARIABLEDEFL); }
            ;

idl: idl "," "Identifier" { $$ = appended($1, $3); }
   | "Identifier"         { $$ = appended(plist_new(nullptr, nullptr, nullptr), $1); }
   ;

variabledef: modifier idl ":" type { declare_variables(load, $2, $1, $4); };

ruledecl: "rule" ruledefl;

ruledefl: ruledefl ruledef ";"
        | %empty
        | error { FAIL(ERR_GRAM_RULEDEFL); }
        ;

ruledef: expr { proj_add_ruledecl(load.project, decl_new_ruledecl($1, nullptr, load.line)); };

type: "Identifier"        { $$ = tc_new_named_tc($1, load.line); }
    | "boolean"           { $$ = tc_new_bool_tc(load.line); }
    | "float"             { $$ = tc_new_float_tc(load.line); }
    | "integer"           { $$ = tc_new_integer_tc(load.line); }
    | "string"            { $$ = tc_new_string_tc(load.line); }
    | "[" "Integer constant" ".." expr "]" {
          if ($2 != 0) {
              expr_delete($4);
              FAIL(ERR_GRAM_INT_ZERO);
          }
          $$ = tc_new_subrange_tc($4, load.line);
      }
    | "optional" type     { $$ = tc_new_optional_tc($2, load.line); }
    | "array" expr "of" type { $$ = tc_new_array_tc($2, $4, load.line); }
    | "{" recfieldl recrules "}" { $$ = tc_new_prod_tc_varlist($2, $3, load.line); }
    | "[" enumvariablel "]" { $$ = tc_new_sum_tc_varlist($2, load.line); }
    | error               { $$ = nullptr; FAIL(ERR_GRAM_TYPE); }
    ;

recfieldl: recfieldl recfield ";"
         | %empty { $$ = plist_new(nullptr, nullptr, poly<decl_delete_vardecl>); }
         | error  { $$ = nullptr; FAIL(ERR_GRAM_RECFIELDL); }
         ;

/* $0 is the list of fields, which is below a recfield on the parser's stack. */
recfield: modifier idl ":" type { declare_fields(load, $<list>0, $2, $1, $4); };

recrules: "rule" recrulel { $$ = $2; }
        | "rule"          { $$ = list_of_rules(); }
        | %empty          { $$ = list_of_rules(); }
        | error           { $$ = nullptr; FAIL(ERR_GRAM_RECRULEL); }
        ;

recrulel: recrulel recrule ";" { $$ = appended($1, $2); }
        | recrule ";"          { $$ = appended(list_of_rules(), $1); }
        ;

recrule: expr { $$ = decl_new_ruledecl($1, nullptr, load.line); };

enumvariablel: enumvariablel "|" enumvariable { $$ = appended($1, $3); warn_of_bar(load); }
             | enumvariablel "," enumvariable { $$ = appended($1, $3); }
             | enumvariable {
                   $$ = appended(plist_new(nullptr, nullptr, poly_delete_string), $1);
               }
             ;

enumvariable: str { $$ = $1.text; }
            | "Identifier"
            ;

expr: expr "and" expr { $$ = expr_new_binary(OPR_AND, $1, $3, load.line); }
    | expr "or" expr  { $$ = expr_new_binary(OPR_OR, $1, $3, load.line); }
    | expr "xor" expr { $$ = expr_new_binary(OPR_XOR, $1, $3, load.line); }
    | expr "->" expr  { $$ = expr_new_binary(OPR_IMPLIES, $1, $3, load.line); }
    | expr "<->" expr { $$ = expr_new_binary(OPR_BIIMPLIES, $1, $3, load.line); }
    | expr "+" expr   { $$ = expr_new_binary(OPR_PLUS, $1, $3, load.line); }
    | expr "-" expr   { $$ = expr_new_binary(OPR_MINUS, $1, $3, load.line); }
    | expr "*" expr   { $$ = expr_new_binary(OPR_TIMES, $1, $3, load.line); }
    | expr "/" expr   { $$ = expr_new_binary(OPR_DIV, $1, $3, load.line); }
    | expr "<" expr   { $$ = expr_new_binary(OPR_LT, $1, $3, load.line); }
    | expr "<=" expr  { $$ = expr_new_binary(OPR_LE, $1, $3, load.line); }
    | expr ">" expr   { $$ = expr_new_binary(OPR_GT, $1, $3, load.line); }
    | expr ">=" expr  { $$ = expr_new_binary(OPR_GE, $1, $3, load.line); }
    | expr "=" expr   { $$ = expr_new_binary(OPR_EQ, $1, $3, load.line); }
    | expr "<>" expr  { $$ = expr_new_binary(OPR_NEQ, $1, $3, load.line); }
    | "not" expr      { $$ = expr_new_unary(OPR_NOT, $2, load.line); }
    | "order" "(" expr ")" { $$ = expr_new_unary(OPR_ORDER, $3, load.line); }
    | "-" expr        { $$ = expr_new_unary(OPR_MINUS, $2, load.line); }
    | boolean         { $$ = expr_new_intconst(OPR_BOOLCONST, $1, load.line); }
    | "Integer constant" { $$ = expr_new_intconst(OPR_INTCONST, $1, load.line); }
    | "Float constant" { $$ = expr_new_floatconst($1, load.line); }
    | "(" expr ")"    { $$ = $2; }
    | "if" expr "then" expr "else" expr { $$ = expr_new_ite($2, $4, $6, load.line); }
    | "if" expr "then" expr %prec "else" {
          /* Without an else branch it is an implication. */
          $$ = expr_new_ite($2, $4, expr_new_intconst(OPR_BOOLCONST, 1, load.line), load.line);
      }
    | "Identifier"    { $$ = expr_new_idcon(expr_new_simpleid($1, load.line), load.line); }
    | path            { $$ = expr_new_idcon($1, load.line); }
    | str             { $$ = string_constant(load, $1); }
    | rangeopr "Identifier" "in" "[" expr ".." expr "]" ":" "(" expr ")" {
          $$ = expr_new_range($1, $2, $5, $7, $11, load.line);
      }
    | "case" idcon "of" casedefl "default" expr "esac" {
          $$ = expr_new_case($2, $4.conditions, $4.evaluations, $6, load.line);
      }
    ;

casedefl: casedefl expr "then" expr "|" {
              plist_append($1.conditions, $2);
              plist_append($1.evaluations, $4);
              $$ = $1;
          }
        | %empty { $$ = {list_of_expressions(), list_of_expressions()}; }
        | error  { $$ = {}; FAIL(ERR_GRAM_CASEDEFL); }
        ;

/* A name alone is an expression without a step through this rule, which most names would take. */
idcon: "Identifier" { $$ = expr_new_simpleid($1, load.line); }
     | path
     ;

path: "Identifier" arrayindex { $$ = expr_new_arrayid($1, $2, load.line); }
    | "Identifier" "." idcon {
          $$ = expr_new_compositid(expr_new_simpleid($1, load.line), $3, load.line);
      }
    | "Identifier" arrayindex "." idcon {
          $$ = expr_new_compositid(expr_new_arrayid($1, $2, load.line), $4, load.line);
      }
    ;

arrayindex: arrayindex "[" expr "]" { $$ = appended($1, $3); }
          | "[" expr "]"            { $$ = appended(list_of_expressions(), $2); }
          ;

rangeopr: "forall"  { $$ = OPR_FORALL; }
        | "exist"   { $$ = OPR_EXIST; }
        | "sum"     { $$ = OPR_SUM; }
        | "product" { $$ = OPR_PROD; }
        ;

boolean: "true"  { $$ = 1; }
       | "false" { $$ = 0; }
       ;

modifier: "private" { $$ = VARTYPE_PRIVATE; }
        | "public"  { $$ = VARTYPE_PUBLIC; }
        | %empty    { $$ = VARTYPE_PUBLIC; }
        ;

str: "String constant"
   | str "String constant" { $$ = join($1, $2); }
   ;

%%

namespace {

/* The parser copies its stacks as plain memory when they grow. */
static_assert(std::is_trivially_copyable_v<YYSTYPE> && sizeof(YYSTYPE) == 16);

void delete_names(PolyList* names) {
    names->delete_element = poly_delete_string;
    plist_delete(names);
}

void delete_arms(Arms arms) {
    plist_delete(arms.conditions);
    plist_delete(arms.evaluations);
}

Literal join(Literal left, Literal right) {
    const std::size_t length = left.length + right.length;
    if (room_for(length) > room_for(left.length))
        left.text = static_cast<char*>(util_realloc_throw(left.text, room_for(length)));
    std::memcpy(left.text + left.length, right.text, right.length + 1);
    str_delete(right.text);
    return {left.text, length};
}

/* Calls declare(variable) for each name, and frees the list. Each variable owns its type: the last one
 * takes over the given type, the others get copies. */
template <typename Declare>
void for_each_declared(const Load& load, PolyList* names, VarType vartype, TypeCon* typecon, Declare declare) {
    for (const PolyListNode* node = names->first; node; node = node->next) {
        TypeCon* own = node->next ? tc_copy_typecon(typecon) : typecon;
        declare(decl_new_vardecl(static_cast<char*>(node->element), vartype, own, load.line));
    }
    plist_delete(names);
}

void declare_variables(const Load& load, PolyList* names, VarType vartype, TypeCon* typecon) {
    for_each_declared(load, names, vartype, typecon,
                      [&](VarDecl* variable) { proj_add_vardecl(load.project, variable); });
}

void declare_fields(const Load& load, PolyList* fields, PolyList* names, VarType vartype, TypeCon* typecon) {
    for_each_declared(load, names, vartype, typecon,
                      [fields](VarDecl* field) { plist_append(fields, field); });
}

PolyList* list_of_expressions() { return plist_new(nullptr, nullptr, poly<expr_delete>); }

PolyList* list_of_rules() { return plist_new(nullptr, nullptr, poly<decl_delete_ruledecl>); }

PolyList* appended(PolyList* list, void* element) {
    plist_append(list, element);
    return list;
}

Expr* string_constant(const Load& load, Literal string) {
    Expr* constant = expr_new_stringconst(string.text, load.line);
    str_delete(string.text);
    return constant;
}

void warn_of_bar(Load& load) {
    if (load.is_warned_of_bar) return;
    load.is_warned_of_bar = true;
    report(ERROR_TYPE_WARNING, ERR_GRAM_BAR_DEPRECATED(position_of(load).text));
}

/* The parser calls this only when its stack is full. */
void pmerror(const Load& load, const char*) { report_error(ERR_PARSER(position_of(load).text, "parser stack overflow")); }

} // namespace

static int yyreport_syntax_error(const yypcontext_t* context, Load& load) {
    const int row = yypact[*context->yyssp];
    const ActionRow<std::remove_extent_t<decltype(yycheck)>> actions = {
        yycheck, YYLAST, YYNTOKENS, row, yypact_value_is_default(row), YYSYMBOL_BAD_TOKEN,
        [](int symbol) { return yysymbol_name(static_cast<yysymbol_kind_t>(symbol)); }};
    char message[MESSAGE_BUFFER_SIZE];
    actions.print_syntax_error(message, context->yytoken);
    report_error(ERR_PARSER(position_of(load).text, message));
    return 0;
}
