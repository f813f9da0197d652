/* The grammar of calculation source, which builds the calculation namespace by namespace.
 *
 * A node has the line of its first symbol; unary and binary expressions have that of the operator. The
 * parser stops at the first syntax error. */

%require "3.8"
%define api.prefix {cl}
%define api.token.prefix {CL_}
%define api.token.raw
%define parse.error custom
%locations
%parse-param {norvane::calculations::Load& load}
/* A statement may follow a condition directly, as in "if a b := 1;". Two of the conflicts are "("
 * after a name there, which makes it a call, and two are "else", which belongs to the nearest
 * "if". */
%expect 4

/* The prefix leaves these types of the generated parser alone, and a program that contains both
 * parsers may define each of them once. */
%code top {
#define yysymbol_kind_t clsymbol_kind_t
#define yypcontext_t clpcontext_t
#define yyalloc clalloc
}

%code requires {
#include "norvane/proj/calc.h"

#include "clfrontend.h"
}

%code {
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/proj/proj_errors.h"

#include "calc_position.h"
#include "poly_adaptors.h"
#include "report.h"
#include "scanning.h"
#include "syntax_error.h"

/* The limit is part of the language. */
#define YYINITDEPTH 200
#define YYMAXDEPTH 10000

/* Only the first line of a location is used. An empty symbol has the line of the symbol before it. */
#define YYLLOC_DEFAULT(current, rhs, n) ((current) = (rhs)[(n) != 0])

using namespace norvane;
using namespace norvane::calculations;

namespace {

void delete_with(PolyList* list, PolyDelete delete_element);
void delete_name(NamePart* name);
NamePart* new_name(char* text, PolyList* indices, NamePart* rest);
char* number_text(int number);
void add_functions(Load& load, NamePart* ns_name, PolyList* functions);
CFunc* finished(Load& load, CFunc* func, PolyList* args, PolyList* vardefs, PolyList* stmts);
CFuncArg* argument(Load& load, CalcType type, char* name, int line);
CFuncLVar* local_variable(Load& load, CalcType type, char* name, CExpr* init, int line);
CStmt* switch_statement(CExpr* value, PolyList* cases, PolyList* default_stmts, int line);
CExpr* variable(const Load& load, char* name, int line);
CExpr* product_variable(NamePart* name, int line);
CExpr* call(const Load& load, NamePart* name, PolyList* args, int line);
PolyList* bare_list();
PolyList* list_of_expressions();
PolyList* appended(PolyList* list, void* element);
void warn_of_colon(const Load& load);
void clerror(const Load& load, const char* message);

} // namespace
}

%union {
    int integer;
    double real;
    char* text;
    CalcType type;
    CExpr* expr; /* null where it is absent */
    CStmt* stmt;
    CFunc* func;
    CFuncArg* arg;
    CFuncLVar* lvar;
    CCase* ccase;
    norvane::calculations::NamePart* name;
    PolyList* exprs; /* owns its elements */
    /* These have no delete callback. */
    PolyList* funcs;
    PolyList* args; /* null if there are none */
    PolyList* lvars;
    PolyList* stmts;
    PolyList* cases;
}

/* Their order is the order of names in messages. */
%token END 0 "$"
%token BOOLEAN "boolean"
%token TRUE "true"
%token FALSE "false"
%token IF "if"
%token THEN "then"
%token ELSE "else"
%token SWITCH "switch"
%token DEFAULT "default"
%token EXTERNAL "external"
%token DO "do"
%token CASE "case"
%token WHILE "while"
%token DOT "."
%token COMMA ","
%token COLON ":"
%token LPAREN "("
%token RPAREN ")"
%token LBRACKET "["
%token RBRACKET "]"
%token LBRACE "{"
%token RBRACE "}"
%token STRING "string"
%token INTEGER "integer"
%token SEMICOLON ";"
%token VOID "void"
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
%token FLOAT "float"
%token ASSIGN ":="
%token QUESTION "?"
%token RETURN "return"
%token BREAK "break"
%token FOR "for"
%token NAMESPACE "namespace"
%token MOD "%"
%token POWER "^"
%token BAR "|"
%token BAD_TOKEN "_ERROR"
%token <integer> INTCONST "An integer constant"
%token <real> FLOATCONST "A float constant"
%token <text> IDENTIFIER "An identifier"
%token <text> STRINGCONST "A string constant"
%token <text> NAMESPACEID "Namespace Identifier"

%precedence ":="
%left "|"
%right "<->"
%left "?" ":"
%right "->"
%left "xor"
%left "or"
%left "and"
%precedence "not"
%nonassoc "=" "<" ">" "<>" ">=" "<="
%left "+" "-"
%left "*" "/"
%left "%" "^"

%type <funcs> functions
%type <func> function
%type <expr> opt_default opt_expr condition expr
%type <args> args args1
%type <arg> arg
%type <lvars> vardefs
%type <lvar> vardef
%type <stmts> stmts default_label
%type <stmt> stmt
%type <cases> case_labels
%type <ccase> case_label
%type <exprs> fnargs fnargs1 arrayindex
%type <name> ns_name dotted_name path
%type <text> ns_component
%type <type> type

%destructor { str_delete($$); } <text>
%destructor { if ($$) calc_delete_expr($$); } <expr>
%destructor { calc_delete_stmt($$); } <stmt>
%destructor { calc_delete_func($$); } <func>
%destructor { calc_delete_func_arg($$); } <arg>
%destructor { calc_delete_func_lvar($$); } <lvar>
%destructor { calc_delete_case($$); } <ccase>
%destructor { delete_name($$); } <name>
%destructor { plist_delete($$); } <exprs>
%destructor { delete_with($$, poly<calc_delete_func>); } <funcs>
%destructor { if ($$) delete_with($$, poly<calc_delete_func_arg>); } <args>
%destructor { delete_with($$, poly<calc_delete_func_lvar>); } <lvars>
%destructor { delete_with($$, poly<calc_delete_stmt>); } <stmts>
%destructor { delete_with($$, poly<calc_delete_case>); } <cases>

%start start

%%

start: namespaces;

namespaces: namespace
          | namespaces namespace
          ;

namespace: "namespace" ns_name "{" functions "}" { add_functions(load, $2, $4); };

functions: function           { $$ = appended(bare_list(), $1); }
         | functions function { $$ = appended($1, $2); }
         ;

function: type "An identifier" "(" args ")" opt_default "{" vardefs stmts "}" {
              CFunc* func = calc_new_func($2, $1, $6, load.input_name, @2.first_line);
              $$ = finished(load, func, $4, $8, $9);
          }
        | type "An identifier" "(" args ")" "=" expr ";" {
              CFunc* func = calc_new_func($2, $1, nullptr, load.input_name, @2.first_line);
              calc_add_function_stmt(func, calc_new_return_stmt($7, @7.first_line));
              $$ = finished(load, func, $4, nullptr, nullptr);
          }
        | type "An identifier" "(" args ")" ":" "external" "A string constant" ";" {
              CFunc* func = calc_new_func($2, $1, nullptr, load.input_name, @2.first_line);
              calc_add_function_stmt(func, calc_new_external_stmt($8, @8.first_line));
              str_delete($8);
              $$ = finished(load, func, $4, nullptr, nullptr);
          }
        ;

opt_default: %empty   { $$ = nullptr; }
           | ":" expr { $$ = $2; warn_of_colon(load); }
           | "|" expr { $$ = $2; }
           ;

args: %empty { $$ = nullptr; }
    | args1
    ;

args1: args1 "," arg { $$ = appended($1, $3); }
     | arg           { $$ = appended(bare_list(), $1); }
     ;

arg: type "An identifier" { $$ = argument(load, $1, $2, @2.first_line); };

vardefs: %empty         { $$ = bare_list(); }
       | vardefs vardef { $$ = appended($1, $2); }
       ;

vardef: type "An identifier" ":=" expr ";" { $$ = local_variable(load, $1, $2, $4, @2.first_line); }
      | type "An identifier" ";"           { $$ = local_variable(load, $1, $2, nullptr, @2.first_line); }
      ;

stmts: %empty     { $$ = bare_list(); }
     | stmts stmt { $$ = appended($1, $2); }
     ;

/* A condition is as long as it can be: "if a - b;" tests a - b. */
condition: expr %prec ":=";

stmt: "if" condition stmt { $$ = calc_new_ite_stmt($2, $3, nullptr, @1.first_line); }
    | "if" condition "then" stmt { $$ = calc_new_ite_stmt($2, $4, nullptr, @1.first_line); }
    | "if" condition stmt "else" stmt { $$ = calc_new_ite_stmt($2, $3, $5, @1.first_line); }
    | "if" condition "then" stmt "else" stmt {
          $$ = calc_new_ite_stmt($2, $4, $6, @1.first_line);
      }
    | "{" stmts "}" { $$ = calc_new_block_stmt($2, @1.first_line); }
    | opt_expr ";" { $$ = calc_new_expr_stmt($1, $1 ? @1.first_line : @2.first_line); }
    | "switch" expr "{" case_labels "}" { $$ = switch_statement($2, $4, nullptr, @1.first_line); }
    | "switch" expr "{" case_labels default_label "}" {
          $$ = switch_statement($2, $4, $5, @1.first_line);
      }
    | "break" ";" { $$ = calc_new_break_stmt(@1.first_line); }
    | "while" condition stmt { $$ = calc_new_while_stmt($2, $3, @1.first_line); }
    | "do" stmt "while" expr ";" { $$ = calc_new_do_stmt($4, $2, @1.first_line); }
    | "for" "(" opt_expr ";" opt_expr ";" opt_expr ")" stmt {
          $$ = calc_new_for_stmt($3, $5, $7, $9, @1.first_line);
      }
    | "return" expr ";" { $$ = calc_new_return_stmt($2, @1.first_line); }
    ;

case_labels: %empty                 { $$ = bare_list(); }
           | case_labels case_label { $$ = appended($1, $2); }
           ;

case_label: "case" expr ":" stmts { $$ = calc_new_case($2, $4); };

default_label: "default" ":" stmts { $$ = $3; };

opt_expr: %empty { $$ = nullptr; }
        | expr
        ;

expr: expr "and" expr { $$ = calc_new_binary_expr(COPR_AND, $1, $3, @2.first_line); }
    | expr "or" expr  { $$ = calc_new_binary_expr(COPR_OR, $1, $3, @2.first_line); }
    | expr "xor" expr { $$ = calc_new_binary_expr(COPR_XOR, $1, $3, @2.first_line); }
    | expr "->" expr  { $$ = calc_new_binary_expr(COPR_IMP, $1, $3, @2.first_line); }
    | expr "<->" expr { $$ = calc_new_binary_expr(COPR_BIIMP, $1, $3, @2.first_line); }
    | expr "|" expr   { $$ = calc_new_binary_expr(COPR_DEF, $1, $3, @2.first_line); }
    | expr "+" expr   { $$ = calc_new_binary_expr(COPR_PLUS, $1, $3, @2.first_line); }
    | expr "-" expr   { $$ = calc_new_binary_expr(COPR_MINUS, $1, $3, @2.first_line); }
    | expr "*" expr   { $$ = calc_new_binary_expr(COPR_MULT, $1, $3, @2.first_line); }
    | expr "/" expr   { $$ = calc_new_binary_expr(COPR_DIV, $1, $3, @2.first_line); }
    | expr "%" expr   { $$ = calc_new_binary_expr(COPR_MOD, $1, $3, @2.first_line); }
    | expr "^" expr   { $$ = calc_new_binary_expr(COPR_EXP, $1, $3, @2.first_line); }
    | expr "<" expr   { $$ = calc_new_binary_expr(COPR_LT, $1, $3, @2.first_line); }
    | expr "<=" expr  { $$ = calc_new_binary_expr(COPR_LTEQ, $1, $3, @2.first_line); }
    | expr ">" expr   { $$ = calc_new_binary_expr(COPR_GT, $1, $3, @2.first_line); }
    | expr ">=" expr  { $$ = calc_new_binary_expr(COPR_GTEQ, $1, $3, @2.first_line); }
    | expr "=" expr   { $$ = calc_new_binary_expr(COPR_EQ, $1, $3, @2.first_line); }
    | expr "<>" expr  { $$ = calc_new_binary_expr(COPR_NEQ, $1, $3, @2.first_line); }
    | "not" expr      { $$ = calc_new_unary_expr(COPR_NOT, $2, @1.first_line); }
    | "-" expr        { $$ = calc_new_unary_expr(COPR_MINUS, $2, @1.first_line); }
    | "(" expr ")"    { $$ = $2; }
    | expr "?" expr ":" expr { $$ = calc_new_ite_expr($1, $3, $5, @1.first_line); }
    | "An integer constant" { $$ = calc_new_intconst_expr($1, @1.first_line); }
    | "true"          { $$ = calc_new_boolconst_expr(1, @1.first_line); }
    | "false"         { $$ = calc_new_boolconst_expr(0, @1.first_line); }
    | "A float constant" { $$ = calc_new_floatconst_expr($1, @1.first_line); }
    | "A string constant" { $$ = calc_new_stringconst_expr($1, @1.first_line, false); }
    /* Most names are single identifiers, which have rules of their own for speed. */
    | "An identifier" { $$ = variable(load, $1, @1.first_line); }
    | "An identifier" ":=" expr {
          CExpr* target = variable(load, $1, @1.first_line);
          $$ = calc_new_binary_expr(COPR_ASSIGN, target, $3, @2.first_line);
      }
    | "An identifier" "(" fnargs ")" { $$ = calc_new_call_expr(nullptr, $1, $3, @1.first_line); }
    | path            { $$ = product_variable($1, @1.first_line); }
    | path ":=" expr  {
          CExpr* target = product_variable($1, @1.first_line);
          $$ = calc_new_binary_expr(COPR_ASSIGN, target, $3, @2.first_line);
      }
    | path "(" fnargs ")" {
          $$ = call(load, $1, $3, @1.first_line);
          if (!$$) YYABORT;
      }
    ;

fnargs: %empty  { $$ = list_of_expressions(); }
      | fnargs1
      ;

/* Callers rely on a comma being accepted before the first argument. */
fnargs1: expr            { $$ = appended(list_of_expressions(), $1); }
       | fnargs "," expr { $$ = appended($1, $3); }
       ;

ns_name: ns_component             { $$ = new_name($1, nullptr, nullptr); }
       | ns_component "." ns_name { $$ = new_name($1, nullptr, $3); }
       ;

ns_component: "Namespace Identifier"
            | "An identifier"
            | "An integer constant" { $$ = number_text($1); }
            | "A string constant"
            ;

dotted_name: "An identifier" { $$ = new_name($1, nullptr, nullptr); }
           | path
           ;

path: "An identifier" arrayindex                 { $$ = new_name($1, $2, nullptr); }
    | "An identifier" "." dotted_name            { $$ = new_name($1, nullptr, $3); }
    | "An identifier" arrayindex "." dotted_name { $$ = new_name($1, $2, $4); }
    ;

arrayindex: arrayindex "[" expr "]" { $$ = appended($1, $3); }
          | "[" expr "]"            { $$ = appended(list_of_expressions(), $2); }
          ;

type: "integer" { $$ = CTYPE_INT; }
    | "string"  { $$ = CTYPE_STRING; }
    | "boolean" { $$ = CTYPE_BOOL; }
    | "float"   { $$ = CTYPE_FLOAT; }
    | "void"    { $$ = CTYPE_VOID; }
    ;

%%

namespace {

/* The stacks of the parser are copied as plain memory when they grow. */
static_assert(std::is_trivially_copyable_v<YYSTYPE> && sizeof(YYSTYPE) == 8);

/* A process warns of colons once. */
bool has_warned_of_colon;

/* The prefix of reports on the current line. */
Position position_of(const Load& load) {
    return norvane::calculations::position_of(load.input_name, cllloc.first_line);
}

PolyList* bare_list() { return plist_new(nullptr, nullptr, nullptr); }

PolyList* list_of_expressions() { return plist_new(nullptr, nullptr, poly<calc_delete_expr>); }

PolyList* appended(PolyList* list, void* element) {
    plist_append(list, element);
    return list;
}

void delete_with(PolyList* list, PolyDelete delete_element) {
    list->delete_element = delete_element;
    plist_delete(list);
}

/* Replaces an empty list of the tree by a list of the parser, unless that is null. */
void adopt(PolyList** place, PolyList* list) {
    if (!list) return;
    list->delete_element = (*place)->delete_element;
    plist_delete(*place);
    *place = list;
}

NamePart* new_name(char* text, PolyList* indices, NamePart* rest) {
    auto* name = static_cast<NamePart*>(util_malloc_throw(sizeof(NamePart)));
    *name = {text, indices, rest};
    return name;
}

/* Frees one component without its parts, and returns the next one. */
NamePart* freed(NamePart* name) {
    NamePart* rest = name->rest;
    std::free(name);
    return rest;
}

void delete_name(NamePart* name) {
    while (name) {
        str_null_delete(name->text);
        plist_delete(name->indices);
        name = freed(name);
    }
}

char* number_text(int number) {
    char digits[16];
    str_snprintf(digits, sizeof digits, "%d", number);
    return str_copy(digits);
}

/* False after a report if a component has indices. */
bool is_plain(const Load& load, const NamePart* name) {
    for (; name; name = name->rest) {
        if (!name->indices) continue;
        report_error(ERR_CALC_GRAM_NS_NAME(position_of(load).text));
        return false;
    }
    return true;
}

/* A new text: the components before `end`, at least one, joined by dots. */
char* joined(const NamePart* name, const NamePart* end) {
    std::size_t size = 0;
    for (const NamePart* part = name; part != end; part = part->rest)
        size += std::strlen(part->text) + 1;
    auto* text = static_cast<char*>(util_malloc_throw(size));
    char* to = text;
    for (; name != end; name = name->rest) {
        const std::size_t length = std::strlen(name->text);
        std::memcpy(to, name->text, length);
        to += length;
        *to++ = '.';
    }
    text[size - 1] = '\0';
    return text;
}

/* Adds to the namespace if there is one of this name. calc_add_function reports what it refuses. */
void add_functions(Load& load, NamePart* ns_name, PolyList* functions) {
    char* name = joined(ns_name, nullptr);
    for (CFunc* func : items<CFunc>(functions))
        if (calc_add_function(load.calc, name, func) != 0) calc_delete_func(func);
    str_delete(name);
    delete_name(ns_name);
    plist_delete(functions);
}

/* Completes a function by its lists, each of which may be null, and ends the scope of its names. */
CFunc* finished(Load& load, CFunc* func, PolyList* args, PolyList* vardefs, PolyList* stmts) {
    adopt(&func->args, args);
    adopt(&func->vardefs, vardefs);
    adopt(&func->stmts, stmts);
    pset_empty(load.local_names);
    load.local_places = 0;
    return func;
}

/* One of 64 bits for a name. */
std::uint64_t place_of(const char* name) {
    return std::uint64_t{1} << ((name[0] * 5 + name[1]) & 63);
}

/* The set borrows the text from the definition. */
void insert_local(Load& load, char* name) {
    pset_insert(load.local_names, name);
    load.local_places |= place_of(name);
}

bool is_local(const Load& load, const char* name) {
    return (load.local_places & place_of(name)) && pset_peek(load.local_names, name, nullptr) == 0;
}

CFuncArg* argument(Load& load, CalcType type, char* name, int line) {
    insert_local(load, name);
    return calc_new_func_arg(name, type, line);
}

CFuncLVar* local_variable(Load& load, CalcType type, char* name, CExpr* init, int line) {
    insert_local(load, name);
    return calc_new_func_lvar(name, type, init, line);
}

CStmt* switch_statement(CExpr* value, PolyList* cases, PolyList* default_stmts, int line) {
    CStmt* stmt = calc_new_switch_stmt(value, line);
    adopt(&stmt->args.switch_args.cases, cases);
    if (default_stmts) calc_add_switch_default(stmt, default_stmts);
    return stmt;
}

/* A local variable if one of this name is declared so far, else a variable of the product model. */
CExpr* variable(const Load& load, char* name, int line) {
    if (is_local(load, name)) return calc_new_lvar_expr(name, line);
    return calc_new_pmvar_expr(calc_new_pmvar(name), line);
}

/* An indexed or dotted name is of the product model, even if its first component names a local. */
CExpr* product_variable(NamePart* name, int line) {
    CPMVar* first = nullptr;
    CPMVar* last = nullptr;
    for (; name; name = freed(name)) {
        CPMVar* component = calc_new_pmvar(name->text);
        adopt(&component->arr_indices, name->indices);
        if (last)
            calc_set_pmvar_nested(last, component);
        else
            first = component;
        last = component;
    }
    return calc_new_pmvar_expr(first, line);
}

/* The last component names the function, those before it the namespace. After a report, frees the
 * arguments and returns null. */
CExpr* call(const Load& load, NamePart* name, PolyList* args, int line) {
    if (!is_plain(load, name)) {
        delete_name(name);
        plist_delete(args);
        return nullptr;
    }
    NamePart* last = name;
    while (last->rest)
        last = last->rest;
    /* Nearly all names have two components, whose texts are taken over. */
    char* ns_name = name->rest == last ? std::exchange(name->text, nullptr)
                                       : joined(name, last);
    char* fname = std::exchange(last->text, nullptr);
    delete_name(name);
    return calc_new_call_expr(ns_name, fname, args, line);
}

void warn_of_colon(const Load& load) {
    if (has_warned_of_colon) return;
    has_warned_of_colon = true;
    report(ERROR_TYPE_WARNING, ERR_CALC_GRAM_COLON_DEPRECATED(position_of(load).text));
}

/* The parser calls this only when its stack is full. */
void clerror(const Load& load, const char*) {
    report_error(ERR_PARSER(position_of(load).text, "parser stack overflow"));
}

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
