/* Calculations: sets of typed functions that work beside a product model.
 *
 * A calculation is a PolyHash that maps the names of namespaces to CNameSpace records and owns
 * both. Namespaces hold functions, functions hold arguments, local variables and statements, and
 * statements hold expressions. Records own what they point to. String constants are in UTF-8, all
 * other texts in code page 1252.
 *
 * Constructors take over the pointers they are given, except where noted, and return new records.
 * The delete function of a kind frees a record with everything it owns; calc_delete frees a whole
 * calculation. Pointer arguments must not be null, except where noted: a null is a broken
 * invariant, with the parameter's name as the text (except.h). Other throws are noted. Trees can be
 * of any depth and width. */
#ifndef NORVANE_PROJ_CALC_H
#define NORVANE_PROJ_CALC_H

#include "norvane/base/hash.h"
#include "norvane/base/list.h"
#include "norvane/base/set.h"
#include "norvane/proj/export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

NORVANE_BEGIN_DECLS

/* An unknown `line_no`, which writers leave out. */
#define CALC_UNDEF_LINENO (-1)

/* The types of calculations. */
typedef enum CalcType {
    CTYPE_UNDEF = 0, /* the result of a failed type computation; never declared */
    CTYPE_BOOL = 1,
    CTYPE_INT = 2,
    CTYPE_FLOAT = 3,
    CTYPE_STRING = 4,
    CTYPE_VOID = 5 /* only for results of functions */
} CalcType;

/* Operators. */
typedef enum COprType {
    COPR_NOT = 0,
    COPR_MINUS = 1, /* unary and binary */
    COPR_EQ = 2,
    COPR_LT = 3,
    COPR_GT = 4,
    COPR_NEQ = 5,
    COPR_GTEQ = 6,
    COPR_LTEQ = 7,
    COPR_PLUS = 8,
    COPR_MULT = 9,
    COPR_DIV = 10,
    COPR_MOD = 11,
    COPR_EXP = 12,
    COPR_AND = 13,
    COPR_OR = 14,
    COPR_XOR = 15,
    COPR_IMP = 16,
    COPR_BIIMP = 17,
    COPR_DEF = 18,
    COPR_ASSIGN = 19
} COprType;

/* The kinds of expressions. */
typedef enum CExprStructure {
    CEXPR_LVAR = 0,
    CEXPR_PMVAR = 1,
    CEXPR_INT_CONST = 2,
    CEXPR_FLOAT_CONST = 3,
    CEXPR_STRING_CONST = 4,
    CEXPR_BOOL_CONST = 5,
    CEXPR_UOP = 6,
    CEXPR_BOP = 7,
    CEXPR_ITE = 8,
    CEXPR_CALL = 9
} CExprStructure;

/* The kinds of statements. */
typedef enum CStmtStructure {
    CSTMT_ITE = 0,
    CSTMT_BLOCK = 1,
    CSTMT_EXPR = 2,
    CSTMT_SWITCH = 3,
    CSTMT_WHILE = 4,
    CSTMT_DO = 5,
    CSTMT_FOR = 6,
    CSTMT_RETURN = 7,
    CSTMT_BREAK = 8,
    CSTMT_EXTERNAL = 9
} CStmtStructure;

typedef struct CExpr CExpr;
typedef struct CStmt CStmt;
typedef struct CPMVar CPMVar;

/* A reference to a variable of the product model: a chain with one record for each component of a
 * path such as `a[1].b[2][3].c`. */
struct CPMVar {
    char* name;            /* owned; of this component */
    PolyList* arr_indices; /* owned; CExpr; empty if the component is not indexed */
    CPMVar* nested;        /* owned; the next component, null for the last */
};

/* An expression. */
struct CExpr {
    CExprStructure structure; /* names the live member of `args` */
    int line_no;
    union {
        char* lvar_name;    /* CEXPR_LVAR; owned; a local variable or argument */
        CPMVar* pmvar;      /* CEXPR_PMVAR; owned */
        int int_value;      /* CEXPR_INT_CONST */
        double float_value; /* CEXPR_FLOAT_CONST */
        char* string_value; /* CEXPR_STRING_CONST; owned */
        int bool_value;     /* CEXPR_BOOL_CONST; 0 or 1 */
        struct {
            COprType opr;
            CExpr* arg; /* owned */
        } uop;          /* CEXPR_UOP */
        struct {
            COprType opr;
            CExpr* left_arg; /* owned, as is the right */
            CExpr* right_arg;
        } bop; /* CEXPR_BOP */
        struct {
            CExpr* cond; /* owned, as are the branches */
            CExpr* then_expr;
            CExpr* else_expr;
        } ite; /* CEXPR_ITE */
        struct {
            char* ns_name;  /* owned; null for the namespace of the call */
            char* fname;    /* owned */
            PolyList* args; /* owned; CExpr */
        } call;             /* CEXPR_CALL */
    } args;
};

/* A branch of a switch. */
typedef struct CCase {
    CExpr* expr;     /* owned; the label, null for the default branch */
    PolyList* stmts; /* owned; CStmt; never null */
} CCase;

/* A statement. */
struct CStmt {
    CStmtStructure structure; /* names the live member of `args` */
    int line_no;
    union {
        struct {
            CExpr* cond;       /* owned */
            CStmt* then_stmt;  /* owned */
            CStmt* else_stmt;  /* owned; null if absent */
        } ite;                 /* CSTMT_ITE */
        PolyList* block_stmts; /* CSTMT_BLOCK; owned; CStmt */
        CExpr* expr;           /* CSTMT_EXPR; owned; null for the empty statement */
        struct {
            CExpr* switch_value; /* owned */
            PolyList* cases;     /* owned; CCase */
            CCase* default_case; /* owned; null if absent */
        } switch_args;           /* CSTMT_SWITCH */
        struct {
            CExpr* cond; /* owned */
            CStmt* stmt; /* owned */
        } while_args;    /* CSTMT_WHILE */
        struct {
            CExpr* cond; /* owned */
            CStmt* stmt; /* owned */
        } do_args;       /* CSTMT_DO */
        struct {
            CExpr* init; /* owned, as are the others; each clause is null if absent */
            CExpr* cond;
            CExpr* incr;
            CStmt* stmt;
        } for_args;          /* CSTMT_FOR */
        CExpr* return_value; /* CSTMT_RETURN; owned; never null */
        char* external_ref;  /* CSTMT_EXTERNAL; owned; tells an evaluator where the body is */
    } args;                  /* CSTMT_BREAK has no member */
};

/* An argument of a function. */
typedef struct CFuncArg {
    char* name; /* owned */
    CalcType type;
    int line_no;
} CFuncArg;

/* The definition of a local variable. */
typedef struct CFuncLVar {
    char* name; /* owned */
    int line_no;
    CalcType type;
    CExpr* init; /* owned; null if there is no initial expression */
} CFuncLVar;

/* A function. An external function has one statement, a CSTMT_EXTERNAL. */
typedef struct CFunc {
    char* name;        /* owned */
    char* filename;    /* owned; of its source; null if unknown */
    int line_no;       /* of the definition */
    CalcType type;     /* of the result */
    CExpr* def_value;  /* owned; the default expression, null if absent */
    PolyList* args;    /* owned; CFuncArg, in the order of declaration */
    PolyList* vardefs; /* owned; CFuncLVar, in the order of declaration */
    PolyList* stmts;   /* owned; CStmt */
} CFunc;

/* A namespace. Both containers hold the same functions: the list in a stable order, the table for
 * lookups. */
typedef struct CNameSpace {
    char* name;          /* owned */
    PolyHash* functions; /* owned; maps names to CFunc, and owns both */
    PolyList* func_list; /* owned, its elements borrowed; CFunc in the order of definition */
} CNameSpace;

/* The keyword of a type: "boolean", "integer", "float", "string" or "void"; else "undef". */
NORVANE_PROJ_API const char* calc_type2string(CalcType type);

/* The spelling of an operator in source. Throws "Invalid operator '%d'" for any other number. */
NORVANE_PROJ_API const char* calc_opr2string(COprType opr);

/* Expressions. */

/* New leaves: a local variable or argument, a variable of the product model, constants. Pointers
 * are taken over. */
NORVANE_PROJ_API CExpr* calc_new_lvar_expr(char* varname, int line_no);
NORVANE_PROJ_API CExpr* calc_new_pmvar_expr(CPMVar* pmvar, int line_no);
NORVANE_PROJ_API CExpr* calc_new_intconst_expr(int value, int line_no);
NORVANE_PROJ_API CExpr* calc_new_boolconst_expr(int value, int line_no);
NORVANE_PROJ_API CExpr* calc_new_floatconst_expr(double value, int line_no);

/* Takes over `value`; null stands for the empty text. With `is_utf8` false the text is converted
 * from code page 1252. */
NORVANE_PROJ_API CExpr* calc_new_stringconst_expr(char* value, int line_no, bool is_utf8);

/* New inner nodes, which take over their operands. */
NORVANE_PROJ_API CExpr* calc_new_unary_expr(COprType opr, CExpr* arg, int line_no);
NORVANE_PROJ_API CExpr* calc_new_binary_expr(COprType opr, CExpr* left_arg, CExpr* right_arg,
                                             int line_no);
NORVANE_PROJ_API CExpr* calc_new_ite_expr(CExpr* cond, CExpr* then_expr, CExpr* else_expr,
                                          int line_no);

/* `ns_name` may be null. `args` is a list of CExpr with calc_delete_expr as its delete callback. */
NORVANE_PROJ_API CExpr* calc_new_call_expr(char* ns_name, char* fname, PolyList* args, int line_no);

/* Appends an argument. Asserts "call->structure == CEXPR_CALL". */
NORVANE_PROJ_API void calc_add_call_argument(CExpr* call, CExpr* arg);

/* A deep copy with the same lines; null for an unknown structure. Callers rely on string constants
 * being converted from code page 1252 again: in a copy, characters outside ASCII are encoded twice.
 */
NORVANE_PROJ_API CExpr* calc_copy_expr(const CExpr* expr);

/* Frees a whole tree. Throws "Found invalid expression structure : %d" for an unknown structure. */
NORVANE_PROJ_API void calc_delete_expr(CExpr* expr);

/* One component of a path, without indices and without a next component. */
NORVANE_PROJ_API CPMVar* calc_new_pmvar(char* name);
NORVANE_PROJ_API void calc_add_pmvar_arr_index(CPMVar* pmvar, CExpr* idx);
/* Sets the next component without freeing the one that it replaces. */
NORVANE_PROJ_API void calc_set_pmvar_nested(CPMVar* pmvar, CPMVar* nested);
/* A deep copy of the whole path. */
NORVANE_PROJ_API CPMVar* calc_copy_pmvar(CPMVar* pmvar);
NORVANE_PROJ_API void calc_delete_pmvar(CPMVar* pmvar);

/* Statements. Lists of statements need no delete callback: their statements are freed with them. */

/* `else_stmt` may be null. */
NORVANE_PROJ_API CStmt* calc_new_ite_stmt(CExpr* cond, CStmt* then_stmt, CStmt* else_stmt,
                                          int line_no);
NORVANE_PROJ_API CStmt* calc_new_block_stmt(PolyList* stmts, int line_no);
/* A null `expr` makes the empty statement. */
NORVANE_PROJ_API CStmt* calc_new_expr_stmt(CExpr* expr, int line_no);
/* A switch without branches. */
NORVANE_PROJ_API CStmt* calc_new_switch_stmt(CExpr* switch_value, int line_no);
NORVANE_PROJ_API CStmt* calc_new_while_stmt(CExpr* cond, CStmt* stmt, int line_no);
NORVANE_PROJ_API CStmt* calc_new_do_stmt(CExpr* cond, CStmt* stmt, int line_no);
/* Each of the three clauses, which are expressions such as assignments, may be null. */
NORVANE_PROJ_API CStmt* calc_new_for_stmt(CExpr* init, CExpr* cond, CExpr* incr, CStmt* stmt,
                                          int line_no);
NORVANE_PROJ_API CStmt* calc_new_return_stmt(CExpr* return_value, int line_no);
NORVANE_PROJ_API CStmt* calc_new_break_stmt(int line_no);
/* Copies the text. */
NORVANE_PROJ_API CStmt* calc_new_external_stmt(const char* external_ref, int line_no);
/* Throws "Found invalid statement structure : %d" for an unknown structure. */
NORVANE_PROJ_API void calc_delete_stmt(CStmt* stmt);

/* A branch of a switch; a null `expr` makes a default branch. */
NORVANE_PROJ_API CCase* calc_new_case(CExpr* expr, PolyList* stmts);
/* Accepts null. */
NORVANE_PROJ_API void calc_delete_case(CCase* ccase);

/* Appends a branch. Asserts "switch_stmt->structure == CSTMT_SWITCH" and
 * "switch_stmt->args.switch_args.cases". */
NORVANE_PROJ_API void calc_add_switch_case(CStmt* switch_stmt, CCase* ccase);
/* Makes the default branch. Asserts "switch_stmt->args.switch_args.default_case == NULL": there is
 * at most one. */
NORVANE_PROJ_API void calc_add_switch_default(CStmt* switch_stmt, PolyList* stmts);

/* Inserts every name that the statements (CStmt) read or write, of locals and of the product model,
 * into `free_vars`, a set that copies its texts. The components of a path are joined without a
 * separator, so that `a.b` gives "ab"; indices are not visited. Asserts "expr" on an empty
 * statement and on a default branch. */
NORVANE_PROJ_API void calc_find_free_vars(PolyList* stmts, PolySet* free_vars);

/* Functions. */

/* An argument of a function, which takes over the name. */
NORVANE_PROJ_API CFuncArg* calc_new_func_arg(char* name, CalcType type, int line_no);
NORVANE_PROJ_API void calc_delete_func_arg(CFuncArg* arg);

/* `init` may be null. */
NORVANE_PROJ_API CFuncLVar* calc_new_func_lvar(char* name, CalcType type, CExpr* init, int line_no);
NORVANE_PROJ_API void calc_delete_func_lvar(CFuncLVar* lvar);

/* A function without arguments, locals and statements. `def_value` and `filename` may be null;
 * `filename` is copied. */
NORVANE_PROJ_API CFunc* calc_new_func(char* name, CalcType type, CExpr* def_value,
                                      const char* filename, int line_no);
NORVANE_PROJ_API void calc_add_function_arg(CFunc* func, CFuncArg* arg);
NORVANE_PROJ_API void calc_add_function_vardef(CFunc* func, CFuncLVar* lvar);
NORVANE_PROJ_API void calc_add_function_stmt(CFunc* func, CStmt* stmt);
NORVANE_PROJ_API void calc_delete_func(CFunc* func);

/* Calculations. */

/* An empty calculation. */
NORVANE_PROJ_API PolyHash* calc_new(void);
NORVANE_PROJ_API void calc_delete(PolyHash* calc);

/* An empty namespace; the name is copied. */
NORVANE_PROJ_API CNameSpace* calc_new_namespace(const char* name);
NORVANE_PROJ_API void calc_delete_namespace(CNameSpace* ns);

/* The namespace of that name, borrowed, or null. */
NORVANE_PROJ_API CNameSpace* calc_get_namespace(const PolyHash* calc, const char* ns_name);
/* The namespace of that name, borrowed. It is created if there is none. */
NORVANE_PROJ_API CNameSpace* calc_add_namespace(PolyHash* calc, const char* ns_name);

/* The function of that name, borrowed, or null. */
NORVANE_PROJ_API CFunc* calc_get_function(const CNameSpace* ns, const char* f_name);

/* Adds the function, which the calculation takes over, and returns 0. The namespace is created if
 * there is none. If the namespace has a function of that name, with whatever arguments: -1 after
 * reporting ERR_CALC_FNC_REDEF, and the caller keeps `func`. */
NORVANE_PROJ_API int calc_add_function(PolyHash* calc, const char* ns_name, CFunc* func);

/* Removes and frees the function: 0, or -1 if there is no such namespace or function. */
NORVANE_PROJ_API int calc_remove_function(PolyHash* calc, const char* ns_name, const char* f_name);

/* Moves all functions of `calc2` into `calc1` and frees `calc2`. A function whose name is taken is
 * reported as by calc_add_function and not freed, since callers keep pointers to the functions that
 * they merge. */
NORVANE_PROJ_API void calc_merge(PolyHash* calc1, PolyHash* calc2);

/* 1 if the name is exactly that of a namespace of the catalogue ("CtrlMngr", "System", "String",
 * "Calc", "Pricing", "Environment"), else 0. */
NORVANE_PROJ_API int calc_ns_name_is_reserved(const char* ns_name);

NORVANE_END_DECLS

#endif
