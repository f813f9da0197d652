/* Expressions and identifiers of the product model.
 *
 * Trees of tagged records. Constructors take over what they are given, except where told; copies
 * share nothing; one delete function frees a whole tree. Every function asserts its pointer
 * arguments (except.h), with the parameter's name as the text, and throws nothing else but what
 * is told. Trees may be of any depth and width that memory holds. */
#ifndef NORVANE_PROJ_EXPR_H
#define NORVANE_PROJ_EXPR_H

#include "norvane/base/list.h"
#include "norvane/base/set.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* A place in the source: the high 16 bits index LineInfo.files (project.h), the low 16 bits are the
 * line. UNDEF_LINENO marks a node that was generated. */
#define UNDEF_LINENO 0xFFFFFFFFu

/* The kinds of expressions. */
typedef enum ExprStructure {
    EXPR_BINARY = 0,
    EXPR_UNARY = 1,
    EXPR_IDCONSTRUCTOR = 2,
    EXPR_INT_CONST = 3, /* booleans too, with OPR_BOOLCONST */
    EXPR_STRING_CONST = 4,
    EXPR_FLOAT_CONST = 5,
    EXPR_ITE = 6,
    EXPR_RANGE = 7,
    EXPR_CASE = 8
} ExprStructure;

/* Operators, those of constants and of loops among them. */
typedef enum OprTypes {
    OPR_AND = 0,
    OPR_OR = 1,
    OPR_XOR = 2,
    OPR_NOT = 3,
    OPR_IMPLIES = 4,
    OPR_BIIMPLIES = 5,
    OPR_PLUS = 6,
    OPR_MINUS = 7, /* binary and unary */
    OPR_TIMES = 8,
    OPR_DIV = 9,
    OPR_LT = 10,
    OPR_LE = 11,
    OPR_GT = 12,
    OPR_GE = 13,
    OPR_EQ = 14,
    OPR_NEQ = 15,
    OPR_SHL = 16, /* no source has the two shifts; trees may */
    OPR_SHR = 17,
    OPR_FORALL = 18,
    OPR_EXIST = 19,
    OPR_SUM = 20,
    OPR_PROD = 21,
    OPR_BOOLCONST = 22,
    OPR_INTCONST = 23,
    OPR_FLOATCONST = 24,
    OPR_ORDER = 25,
    OPR_UBOUND_EQ = 26, /* two unbounded variables equated; made by the checker from OPR_EQ */
    OPR_NONE = 27
} OprTypes;

/* Set by the constructors for constants, and by ssem_check_expr for all else. */
typedef enum ExprType {
    ETYPE_UNDEF = 0,
    ETYPE_BOOL = 1,
    ETYPE_INT = 2,
    ETYPE_SUM = 3,
    ETYPE_PROD = 4,
    ETYPE_ARRAY = 5,
    ETYPE_OPTIONAL = 6,
    ETYPE_ENUM_FLOAT = 7,
    ETYPE_ENUM_INTEGER = 8,
    ETYPE_STRING = 9
} ExprType;

/* The kinds of names. */
typedef enum IdConType { IDCON_SIMPLE = 0, IDCON_ARRAY = 1, IDCON_COMPOSIT = 2 } IdConType;

typedef struct Expr Expr;
typedef struct IdCon IdCon;

/* The name of a variable, constant or label, or a path. A path such as `a.b[1].c` is right-nested:
 * `hier` is `a` and `nested` is the composite `b[1].c`. The name stands at the same place in simple
 * and array constructors, and callers read it as `id.idname` without a test. */
struct IdCon {
    unsigned char contype; /* IdConType; names the live member of `args` */
    unsigned linenumber;
    union {
        struct {
            char* idname; /* owned */
        } id;             /* IDCON_SIMPLE */
        struct {
            char* idname;       /* owned */
            PolyList* exprlist; /* owned; the indices, Expr */
        } array;                /* IDCON_ARRAY */
        struct {
            IdCon* hier;   /* owned; the head, simple or array */
            IdCon* nested; /* owned; the rest of the path */
        } compositid;      /* IDCON_COMPOSIT */
    } args;
};

/* An expression. */
struct Expr {
    unsigned char structure; /* ExprStructure; names the live member of `args` */
    unsigned char opr;       /* OprTypes */
    unsigned char type;      /* ExprType */
    unsigned linenumber;
    union {
        struct {
            Expr* leftarg;  /* owned */
            Expr* rightarg; /* owned */
        } binargs;          /* EXPR_BINARY */
        Expr* arg;          /* EXPR_UNARY; owned */
        IdCon* idcon;       /* EXPR_IDCONSTRUCTOR; owned */
        struct {
            int value; /* 0 or 1 for OPR_BOOLCONST, but see expr_new_unary */
        } intconst;    /* EXPR_INT_CONST */
        char* str;     /* EXPR_STRING_CONST; owned */
        struct {
            double value;
        } floatconst; /* EXPR_FLOAT_CONST */
        struct {
            Expr* logictest; /* owned, as are the branches */
            Expr* trueexpr;
            Expr* falseexpr;
        } ite; /* EXPR_ITE */
        struct {
            char* lambdavar; /* owned, as are the rest */
            Expr* rangebegin;
            Expr* rangeend;
            Expr* lambdaexpr;
        } range; /* EXPR_RANGE */
        struct {
            IdCon* casevar;                /* owned, as are the rest */
            PolyList* exprlist_condition;  /* Expr, as many as evaluations */
            PolyList* exprlist_evaluation; /* Expr */
            Expr* default_expr;
        } caseexpr; /* EXPR_CASE */
    } args;
};

/* Constructors. Each takes over its pointer arguments and returns a new node, freed with
 * expr_delete; `type` is ETYPE_UNDEF where not told otherwise. */
NORVANE_PROJ_API Expr* expr_new_binary(OprTypes opr, Expr* leftarg, Expr* rightarg,
                                       unsigned linenumber);

/* OPR_MINUS on an integer or float constant negates it in place and returns it: no node is made,
 * and it keeps its own line. The test is on `structure` alone, so a boolean constant is negated
 * too; the checks that follow deal with it. The smallest integer stays as it is. */
NORVANE_PROJ_API Expr* expr_new_unary(OprTypes opr, Expr* arg, unsigned linenumber);

/* A name as an expression. */
NORVANE_PROJ_API Expr* expr_new_idcon(IdCon* idcon, unsigned linenumber);

/* OPR_INTCONST (ETYPE_INT) or OPR_BOOLCONST (ETYPE_BOOL, `value` at most 1); asserts both. */
NORVANE_PROJ_API Expr* expr_new_intconst(OprTypes opr, int value, unsigned linenumber);

/* The one constructor that copies: `str` stays the caller's. ETYPE_STRING, OPR_NONE. */
NORVANE_PROJ_API Expr* expr_new_stringconst(const char* str, unsigned linenumber);

/* ETYPE_ENUM_FLOAT, OPR_FLOATCONST. */
NORVANE_PROJ_API Expr* expr_new_floatconst(double value, unsigned linenumber);

/* if ... then ... else ... */
NORVANE_PROJ_API Expr* expr_new_ite(Expr* logictest, Expr* trueexpr, Expr* falseexpr,
                                    unsigned linenumber);

/* `opr` is OPR_FORALL, OPR_EXIST, OPR_SUM or OPR_PROD; asserted. */
NORVANE_PROJ_API Expr* expr_new_range(OprTypes opr, char* lambdavar, Expr* rangebegin,
                                      Expr* rangeend, Expr* lambdaexpr, unsigned linenumber);

/* `casevar` is compared with each condition in turn; the lists, of Expr, are of one length. */
NORVANE_PROJ_API Expr* expr_new_case(IdCon* casevar, PolyList* exprlist_condition,
                                     PolyList* exprlist_evaluation, Expr* default_expr,
                                     unsigned linenumber);

/* Names: `name`, `name[exprlist]`, and `hier.nested`. Freed with expr_delete_idcon. */
NORVANE_PROJ_API IdCon* expr_new_simpleid(char* name, unsigned linenumber);
NORVANE_PROJ_API IdCon* expr_new_arrayid(char* name, PolyList* exprlist, unsigned linenumber);
NORVANE_PROJ_API IdCon* expr_new_compositid(IdCon* hier, IdCon* nested, unsigned linenumber);

/* Free a whole tree. Fail with "Invalid expression structure '%d'" and "Invalid id constructor type
 * '%d'" on a bad tag. */
NORVANE_PROJ_API void expr_delete(Expr* expr);
NORVANE_PROJ_API void expr_delete_idcon(IdCon* idcon);

/* Deep copies, owned by the caller, `type` and lines included. The same failures. A unary minus
 * around a constant, which only a tree built by hand holds, folds in the copy. */
NORVANE_PROJ_API Expr* expr_copy_expr(const Expr* expr);
NORVANE_PROJ_API IdCon* expr_copy_idcon(IdCon* idcon);

/* Total order by structure, operator and operands; negative, zero or positive. Types and lines play
 * no part. They take the addresses of the pointers, as compare callbacks do. Two float constants at
 * the same place have no order: that fails with "Invalid expression structure '%d'". */
NORVANE_PROJ_API int expr_compare_expr(Expr** exprp1, Expr** exprp2);
NORVANE_PROJ_API int expr_compare_idcon(IdCon** idconp1, IdCon** idconp2);

/* A number from 0 below `size`, by the printed text. */
NORVANE_PROJ_API int expr_hash_idcon(IdCon* idcon, int size);

/* Appends a copy of the path `expansion` at the end of `composit`, in place. */
NORVANE_PROJ_API void expr_expand_composit_idcon(IdCon* composit, IdCon* expansion);

/* Removes the last step of a path of two steps or more, in place. Asserts "composit->contype ==
 * IDCON_COMPOSIT". */
NORVANE_PROJ_API void expr_collaps_composit_idcon(IdCon* composit);

/* The free identifiers: a new set of copies, freed with pset_delete. Indices are not walked. The
 * variable of a loop is taken out when its loop has been walked, and an equal name that was found
 * before goes with it. */
NORVANE_PROJ_API PolySet* expr_get_free_idconstructors(Expr* expr);

/* New trees, owned by the caller; the input stays. `type` is not carried over. The first puts the
 * path `idcon` in front of every identifier, indices excepted, and fails with "Range expressions
 * should have been removed before expand" on a loop. The second puts a copy of `replacement` in the
 * place of every identifier equal to `idcon`; the selector of a case stays, and a loop variable of
 * the same name does not shadow. */
NORVANE_PROJ_API Expr* expr_expand_expr_with_idcon(Expr* expr, IdCon* idcon);
NORVANE_PROJ_API Expr* expr_replace_idcon_with_expr(Expr* expr, IdCon* idcon, Expr* replacement);

/* "boolean", "range", ...: static text of the node's `type`. Fails with "Invalid expression type
 * '%d'". */
NORVANE_PROJ_API const char* expr_type_to_string(Expr* expr);

NORVANE_END_DECLS

#endif
