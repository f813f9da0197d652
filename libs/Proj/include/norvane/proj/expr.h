/* Expressions and identifiers of the product model: trees of tagged records.
 *
 * Every function asserts its pointer arguments (except.h), with the parameter's name as the text.
 * It throws nothing else but the failures that its comment names, and "Out of memory" (memory.h).
 * Trees may be as deep and as wide as memory allows. */
#ifndef NORVANE_PROJ_EXPR_H
#define NORVANE_PROJ_EXPR_H

#include "norvane/base/list.h"
#include "norvane/base/set.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* The line number of a generated node, which has no place in the source. In all other line numbers
 * the high 16 bits index LineInfo.files (project.h) and the low 16 bits are the line. */
#define UNDEF_LINENO 0xFFFFFFFFu

/* The kinds of expressions. */
typedef enum ExprStructure {
    EXPR_BINARY = 0,
    EXPR_UNARY = 1,
    EXPR_IDCONSTRUCTOR = 2,
    EXPR_INT_CONST = 3, /* booleans too: their operator is OPR_BOOLCONST */
    EXPR_STRING_CONST = 4,
    EXPR_FLOAT_CONST = 5,
    EXPR_ITE = 6,
    EXPR_RANGE = 7,
    EXPR_CASE = 8
} ExprStructure;

/* Operators, including those that mark constants and loops. */
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
    OPR_SHL = 16, /* the language has no shifts; trees built by callers may */
    OPR_SHR = 17,
    OPR_FORALL = 18,
    OPR_EXIST = 19,
    OPR_SUM = 20,
    OPR_PROD = 21,
    OPR_BOOLCONST = 22,
    OPR_INTCONST = 23,
    OPR_FLOATCONST = 24,
    OPR_ORDER = 25,
    OPR_UBOUND_EQ = 26, /* OPR_EQ of two unbounded variables; set by the checker */
    OPR_NONE = 27
} OprTypes;

/* The type of an expression. Constructors set it for constants, ssem_check_expr for all others. */
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
 * `hier` is `a` and `nested` is the composite `b[1].c`. Simple and array constructors have the name
 * at the same offset, so callers may read `id.idname` of both. */
struct IdCon {
    unsigned char contype; /* IdConType; names the live member of `args` */
    unsigned linenumber;
    union {
        struct {
            char* idname; /* owned */
        } id;             /* IDCON_SIMPLE */
        struct {
            char* idname;       /* owned */
            PolyList* exprlist; /* owned; Expr, the indices */
        } array;                /* IDCON_ARRAY */
        struct {
            IdCon* hier;   /* owned; the first step, simple or array */
            IdCon* nested; /* owned; the other steps */
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
            Expr* logictest; /* owned, like the branches */
            Expr* trueexpr;
            Expr* falseexpr;
        } ite; /* EXPR_ITE */
        struct {
            char* lambdavar; /* owned, like the other members */
            Expr* rangebegin;
            Expr* rangeend;
            Expr* lambdaexpr;
        } range; /* EXPR_RANGE */
        struct {
            IdCon* casevar;                /* owned, like the other members */
            PolyList* exprlist_condition;  /* Expr, as many as evaluations */
            PolyList* exprlist_evaluation; /* Expr */
            Expr* default_expr;
        } caseexpr; /* EXPR_CASE */
    } args;
};

/* Constructors. Each takes over its pointer arguments, unless its comment says otherwise, and
 * returns a new node, which the caller owns and frees with expr_delete. `type` is ETYPE_UNDEF
 * unless the comment names another. */
NORVANE_PROJ_API Expr* expr_new_binary(OprTypes opr, Expr* leftarg, Expr* rightarg,
                                       unsigned linenumber);

/* OPR_MINUS on an integer or float constant makes no node: it negates `arg` in place and returns
 * it, with its own line. Only `structure` is tested, so a boolean constant is negated too, which
 * the later checks expect. The smallest integer stays unchanged. */
NORVANE_PROJ_API Expr* expr_new_unary(OprTypes opr, Expr* arg, unsigned linenumber);

/* An identifier as an expression. */
NORVANE_PROJ_API Expr* expr_new_idcon(IdCon* idcon, unsigned linenumber);

/* `opr` is OPR_INTCONST (type ETYPE_INT) or OPR_BOOLCONST (type ETYPE_BOOL, `value` at most 1);
 * asserted. */
NORVANE_PROJ_API Expr* expr_new_intconst(OprTypes opr, int value, unsigned linenumber);

/* Borrows and copies `str`, unlike the other constructors. Type ETYPE_STRING, operator OPR_NONE. */
NORVANE_PROJ_API Expr* expr_new_stringconst(const char* str, unsigned linenumber);

/* Type ETYPE_ENUM_FLOAT, operator OPR_FLOATCONST. */
NORVANE_PROJ_API Expr* expr_new_floatconst(double value, unsigned linenumber);

/* if ... then ... else ... */
NORVANE_PROJ_API Expr* expr_new_ite(Expr* logictest, Expr* trueexpr, Expr* falseexpr,
                                    unsigned linenumber);

/* `opr` is OPR_FORALL, OPR_EXIST, OPR_SUM or OPR_PROD; asserted. */
NORVANE_PROJ_API Expr* expr_new_range(OprTypes opr, char* lambdavar, Expr* rangebegin,
                                      Expr* rangeend, Expr* lambdaexpr, unsigned linenumber);

/* Compares `casevar` with each condition in order. Both lists are of Expr and have the same
 * length. */
NORVANE_PROJ_API Expr* expr_new_case(IdCon* casevar, PolyList* exprlist_condition,
                                     PolyList* exprlist_evaluation, Expr* default_expr,
                                     unsigned linenumber);

/* Identifiers: `name`, `name[exprlist]` and `hier.nested`. They take over their pointer arguments;
 * the caller owns the result and frees it with expr_delete_idcon. */
NORVANE_PROJ_API IdCon* expr_new_simpleid(char* name, unsigned linenumber);
NORVANE_PROJ_API IdCon* expr_new_arrayid(char* name, PolyList* exprlist, unsigned linenumber);
NORVANE_PROJ_API IdCon* expr_new_compositid(IdCon* hier, IdCon* nested, unsigned linenumber);

/* Free a whole tree. A bad tag throws "Invalid expression structure '%d'" or "Invalid id
 * constructor type '%d'". */
NORVANE_PROJ_API void expr_delete(Expr* expr);
NORVANE_PROJ_API void expr_delete_idcon(IdCon* idcon);

/* Deep copies, owned by the caller, with types and lines. They throw the failures of the delete
 * functions. A unary minus on a constant, which only a caller's own tree can contain, becomes a
 * negative constant in the copy. */
NORVANE_PROJ_API Expr* expr_copy_expr(const Expr* expr);
NORVANE_PROJ_API IdCon* expr_copy_idcon(IdCon* idcon);

/* Order two trees by structure, operator and operands, ignoring types and lines: negative, zero or
 * positive. They borrow the addresses of the pointers, as compare callbacks do. Two float constants
 * have no order: comparing them throws "Invalid expression structure '%d'". */
NORVANE_PROJ_API int expr_compare_expr(Expr** exprp1, Expr** exprp2);
NORVANE_PROJ_API int expr_compare_idcon(IdCon** idconp1, IdCon** idconp2);

/* A hash of the printed text, from 0 to `size` - 1. Asserts "size >= 1". */
NORVANE_PROJ_API int expr_hash_idcon(IdCon* idcon, int size);

/* Appends a copy of the path `expansion`, which is borrowed, to the path `composit`, in place. */
NORVANE_PROJ_API void expr_expand_composit_idcon(IdCon* composit, IdCon* expansion);

/* Removes and frees the last step of a path of two steps or more, in place. Asserts
 * "composit->contype == IDCON_COMPOSIT". */
NORVANE_PROJ_API void expr_collaps_composit_idcon(IdCon* composit);

/* The free identifiers of an expression: a new set of copies (IdCon), owned by the caller and freed
 * with pset_delete. Indices are not searched. A loop's variable is removed from the set after the
 * loop has been searched, so an equal name that was found earlier is removed with it. */
NORVANE_PROJ_API PolySet* expr_get_free_idconstructors(Expr* expr);

/* Rewritten copies, owned by the caller. They borrow their arguments and do not copy types.
 * expr_expand_expr_with_idcon prefixes every identifier, except those in indices, with the path
 * `idcon`; a loop throws "Range expressions should have been removed before expand".
 * expr_replace_idcon_with_expr replaces every identifier that equals `idcon` by a copy of
 * `replacement`, even inside a loop over a variable of that name, but not the selector of a
 * case. */
NORVANE_PROJ_API Expr* expr_expand_expr_with_idcon(Expr* expr, IdCon* idcon);
NORVANE_PROJ_API Expr* expr_replace_idcon_with_expr(Expr* expr, IdCon* idcon, Expr* replacement);

/* The name of the node's `type`: "boolean", "range", ..., a static text. Throws "Invalid expression
 * type '%d'". */
NORVANE_PROJ_API const char* expr_type_to_string(Expr* expr);

NORVANE_END_DECLS

#endif
