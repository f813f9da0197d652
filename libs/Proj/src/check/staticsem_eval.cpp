// Static evaluation: which expressions have a value before the product is configured, and that
// value as an integer (booleans included), a float or a string.
//
// The predicate looks at structure, operators and the symbol table alone. The evaluators rely on
// the types that the checker has written, and stop on whatever it should have refused. Integers are
// 32 bits and wrap around. While a loop operator runs, its variable lies in an environment of its
// own on the table's stack.
#include "norvane/proj/staticsem.h"

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "staticsem_internal.h"

namespace norvane {

LoopVariable::LoopVariable(Project* project, SymbolTable* symboltable, const Expr* range, int value)
    : namedata_(symtbl_new_namedata(ND_INT, nullptr, nullptr, value, 0.0, nullptr, 0)),
      scope_(symboltable, symtbl_new_symbol_table_env(1)),
      inserted_(symtbl_insert(project->line_info, symboltable, range->args.range.lambdavar,
                              namedata_, range->linenumber) == STATUS_SUCCESS) {
    scope_.own();
}

LoopVariable::~LoopVariable() {
    if (!inserted_) symtbl_delete_namedata(namedata_);
}

} // namespace norvane

namespace {

using namespace norvane;

// What all steps of one evaluation share.
struct Evaluation {
    Project* project;
    SymbolTable* symboltable;
};

// Loop variables that the predicate could not insert, in the life of the process: each of them has
// made a report.
unsigned long long refused_loop_variables = 0;

bool is_static(const Evaluation& in, const Expr* expr);
int evaluate_int(const Evaluation& in, const Expr* expr);
double evaluate_float(const Evaluation& in, const Expr* expr);

// The simple identifier that an order operator names, or null.
const IdCon* ordered_name(const Expr* expr) {
    if (expr->opr != OPR_ORDER) return nullptr;
    const Expr* arg = expr->args.arg;
    if (arg->structure != EXPR_IDCONSTRUCTOR) return nullptr;
    return arg->args.idcon->contype == IDCON_SIMPLE ? arg->args.idcon : nullptr;
}

bool is_constant(const Evaluation& in, const IdCon* idcon) {
    switch (idcon->contype) {
    case IDCON_SIMPLE: {
        NameData* namedata;
        return symtbl_lookup(in.symboltable, idcon->args.id.idname, 0, &namedata) ==
                   STATUS_SUCCESS &&
               namedata->ndtype <= ND_STRING;
    }
    case IDCON_ARRAY:
    case IDCON_COMPOSIT: return false;
    default: NORVANE_FAIL("Unknown id constructor type : %d", idcon->contype);
    }
}

bool is_label(const Evaluation& in, const IdCon* idcon) {
    NameData* namedata;
    return symtbl_lookup(in.symboltable, idcon->args.id.idname, 0, &namedata) == STATUS_SUCCESS &&
           namedata->ndtype == ND_LABEL;
}

// The lower bound of a loop is tested twice: callers that collect reports see those of a loop
// variable that collides inside of it twice. That is all that a second test can show, so without a
// report from the first it is left out; else loops nested in lower bounds would double the work at
// each level. Nobody reads more reports of one kind than `most_repeated`: beyond that a model with
// such loops forty deep would go on reporting for hours.
constexpr unsigned long long most_repeated = 1000;

[[gnu::noinline]] bool is_static_lower_bound(const Evaluation& in, const Expr* bound) {
    const unsigned long long refused_before = refused_loop_variables;
    const bool result = is_static(in, bound);
    const unsigned long long refused = refused_loop_variables - refused_before;
    return refused == 0 || refused > most_repeated ? result : is_static(in, bound);
}

// The upper bound is not tested: checking has refused one that is not static. A variable that
// cannot be inserted has been reported, and its name means in the body what it means outside.
[[gnu::noinline]] bool is_static_range(const Evaluation& in, const Expr* expr) {
    const bool bound_is_static = is_static_lower_bound(in, expr->args.range.rangebegin);
    const LoopVariable variable(in.project, in.symboltable, expr, 0);
    if (!variable.inserted()) ++refused_loop_variables;
    return bound_is_static && is_static(in, expr->args.range.lambdaexpr);
}

[[gnu::noinline]] bool is_static_case(const Evaluation& in, const Expr* expr) {
    if (!is_constant(in, expr->args.caseexpr.casevar)) return false;
    for (const Expr* condition : items<Expr>(expr->args.caseexpr.exprlist_condition)) {
        if (!is_static(in, condition)) return false;
    }
    for (const Expr* evaluation : items<Expr>(expr->args.caseexpr.exprlist_evaluation)) {
        if (!is_static(in, evaluation)) return false;
    }
    return is_static(in, expr->args.caseexpr.default_expr);
}

bool is_static_unary(const Evaluation& in, const Expr* expr) {
    const IdCon* name = ordered_name(expr);
    return name != nullptr ? is_label(in, name) : is_static(in, expr->args.arg);
}

bool is_static(const Evaluation& in, const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return is_static(in, expr); });
    NORVANE_ASSERT(expr);
    switch (expr->structure) {
    case EXPR_BINARY:
        return is_static(in, expr->args.binargs.leftarg) &&
               is_static(in, expr->args.binargs.rightarg);
    case EXPR_UNARY: return is_static_unary(in, expr);
    case EXPR_IDCONSTRUCTOR: return is_constant(in, expr->args.idcon);
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: return true;
    case EXPR_ITE:
        return is_static(in, expr->args.ite.logictest) && is_static(in, expr->args.ite.trueexpr) &&
               is_static(in, expr->args.ite.falseexpr);
    case EXPR_RANGE: return is_static_range(in, expr);
    case EXPR_CASE: return is_static_case(in, expr);
    default: NORVANE_FAIL("Encountered invalid expression structure : %d", expr->structure);
    }
}

// The record of a constant of one of two kinds, by its name.
const NameData* constant_named(const Evaluation& in, const IdCon* idcon, NameDataType kind,
                               NameDataType other_kind) {
    if (idcon->contype == IDCON_ARRAY) NORVANE_FAIL("Array type variable is used as a constant");
    if (idcon->contype == IDCON_COMPOSIT) NORVANE_FAIL("Record variable is used as a constant");
    if (idcon->contype != IDCON_SIMPLE) {
        NORVANE_FAIL("Invalid id constructor type '%d'", idcon->contype);
    }
    char* name = idcon->args.id.idname;
    NameData* namedata;
    if (symtbl_lookup(in.symboltable, name, 0, &namedata) != STATUS_SUCCESS) {
        NORVANE_FAIL("Constant '%s' is unknown", name);
    }
    if (namedata->ndtype != kind && namedata->ndtype != other_kind) {
        NORVANE_FAIL("'%s' is used as a constant, but is not declared as such", name);
    }
    return namedata;
}

// The evaluation that a case selects. Each condition is compared with the selector as `selector =
// condition`, on nodes that borrow both and live no longer than the comparison, so that the model's
// own nodes stay as they are. `stamped` writes the types of the comparison first. A case of floats
// goes without them, and thus stops at its first condition: callers rely on a case of floats having
// no value.
[[gnu::noinline]] const Expr* selected(const Evaluation& in, const Expr* expr, bool stamped) {
    Expr selector = {EXPR_IDCONSTRUCTOR, OPR_NONE, ETYPE_UNDEF, expr->linenumber, {}};
    selector.args.idcon = expr->args.caseexpr.casevar;
    Expr comparison = {EXPR_BINARY, OPR_EQ, ETYPE_UNDEF, expr->linenumber, {}};
    if (stamped) comparison.type = ETYPE_BOOL;

    const PolyListNode* evaluation = expr->args.caseexpr.exprlist_evaluation->first;
    for (Expr* condition : items<Expr>(expr->args.caseexpr.exprlist_condition)) {
        if (evaluation == nullptr) break;
        if (stamped) selector.type = condition->type;
        comparison.args.binargs = {&selector, condition};
        if (evaluate_int(in, &comparison) != 0) return static_cast<Expr*>(evaluation->element);
        evaluation = evaluation->next;
    }
    return expr->args.caseexpr.default_expr;
}

int compare_floats(unsigned opr, double left, double right) {
    switch (opr) {
    case OPR_LT: return left < right;
    case OPR_LE: return left <= right;
    case OPR_GT: return left > right;
    case OPR_GE: return left >= right;
    case OPR_EQ: return left == right;
    case OPR_NEQ: return left != right;
    default: NORVANE_FAIL("Invalid operator in binary expression : %d", static_cast<int>(opr));
    }
}

// The logical operators work on all 32 bits, on integers and booleans alike.
int combine_ints(unsigned opr, int l, int r) {
    const unsigned left = static_cast<unsigned>(l);
    const unsigned right = static_cast<unsigned>(r);
    switch (opr) {
    case OPR_AND: return l & r;
    case OPR_OR: return l | r;
    case OPR_XOR: return l ^ r;
    case OPR_IMPLIES: return (l == 0) | r;
    case OPR_BIIMPLIES:
    case OPR_EQ: return l == r;
    case OPR_NEQ: return l != r;
    case OPR_PLUS: return static_cast<int>(left + right);
    case OPR_MINUS: return static_cast<int>(left - right);
    case OPR_TIMES: return static_cast<int>(left * right);
    case OPR_LT: return l < r;
    case OPR_LE: return l <= r;
    case OPR_GT: return l > r;
    case OPR_GE: return l >= r;
    case OPR_SHL: return static_cast<int>(left << (right & 31));
    case OPR_SHR: return l >> (right & 31);
    default: NORVANE_FAIL("Invalid operator in binary expression : %d", static_cast<int>(opr));
    }
}

int evaluate_int_binary(const Evaluation& in, const Expr* expr) {
    const Expr* left_expr = expr->args.binargs.leftarg;
    const Expr* right_expr = expr->args.binargs.rightarg;
    if (left_expr->type == ETYPE_ENUM_FLOAT && right_expr->type == ETYPE_ENUM_FLOAT) {
        const double left = evaluate_float(in, left_expr);
        return compare_floats(expr->opr, left, evaluate_float(in, right_expr));
    }
    const int left = evaluate_int(in, left_expr);
    const int right = evaluate_int(in, right_expr);
    NORVANE_ASSERT_TEXT(left_expr->type == right_expr->type &&
                            (left_expr->type == ETYPE_INT || left_expr->type == ETYPE_BOOL),
                        "left_expr->type == right_expr->type && ( left_expr->type == ETYPE_INT || "
                        "left_expr->type == ETYPE_BOOL )");
    return combine_ints(expr->opr, left, right);
}

// The position of a label. The kind of the name is the predicate's to look at: what has no position
// gives 0, and no stop.
int evaluate_order(const Evaluation& in, const IdCon* idcon) {
    NameData* namedata;
    NORVANE_ASSERT_TEXT(
        symtbl_lookup(in.symboltable, idcon->args.id.idname, 0, &namedata) == STATUS_SUCCESS,
        "symtbl_lookup( symboltable, idcon->args.id.idname, false, &namedata) == STATUS_SUCCESS");
    return namedata->ndtype == ND_LABEL ? namedata->label_index : 0;
}

int evaluate_int_unary(const Evaluation& in, const Expr* expr) {
    if (const IdCon* name = ordered_name(expr)) return evaluate_order(in, name);
    const int value = evaluate_int(in, expr->args.arg);
    switch (expr->opr) {
    case OPR_NOT: return value == 0;
    case OPR_MINUS: return static_cast<int>(0u - static_cast<unsigned>(value));
    default: NORVANE_FAIL("Invalid operator in unary expression : %d", expr->opr);
    }
}

// Both branches are evaluated, so that a conditional that cannot be evaluated as a whole stops
// whatever its condition says.
int evaluate_int_ite(const Evaluation& in, const Expr* expr) {
    const int condition = evaluate_int(in, expr->args.ite.logictest);
    const int when_true = evaluate_int(in, expr->args.ite.trueexpr);
    const int when_false = evaluate_int(in, expr->args.ite.falseexpr);
    return condition != 0 ? when_true : when_false;
}

int combine_turns(unsigned opr, int so_far, int turn) {
    switch (opr) {
    case OPR_FORALL: return so_far != 0 && turn != 0;
    case OPR_EXIST: return so_far != 0 || turn != 0;
    case OPR_SUM: return combine_ints(OPR_PLUS, so_far, turn);
    case OPR_PROD: return combine_ints(OPR_TIMES, so_far, turn);
    default: NORVANE_FAIL("Encountered invalid range operator : %d", static_cast<int>(opr));
    }
}

// The body is evaluated for every value, also when the result is settled.
[[gnu::noinline]] int evaluate_int_range(const Evaluation& in, const Expr* expr) {
    const int lower = evaluate_int(in, expr->args.range.rangebegin);
    const int upper = evaluate_int(in, expr->args.range.rangeend);
    int result = expr->opr == OPR_FORALL || expr->opr == OPR_PROD;
    LoopVariable variable(in.project, in.symboltable, expr, lower);
    if (!variable.inserted()) {
        NORVANE_FAIL("Could not insert symbol '%s' into symbol table", expr->args.range.lambdavar);
    }
    // Counted in 64 bits: a loop may end at the largest integer.
    for (long long i = lower; i <= upper; ++i) {
        variable.set(static_cast<int>(i));
        result = combine_turns(expr->opr, result, evaluate_int(in, expr->args.range.lambdaexpr));
    }
    return result;
}

int evaluate_int(const Evaluation& in, const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return evaluate_int(in, expr); });
    NORVANE_ASSERT(expr);
    NORVANE_ASSERT(expr->type == ETYPE_INT || expr->type == ETYPE_BOOL);
    switch (expr->structure) {
    case EXPR_BINARY: return evaluate_int_binary(in, expr);
    case EXPR_UNARY: return evaluate_int_unary(in, expr);
    case EXPR_IDCONSTRUCTOR:
        return constant_named(in, expr->args.idcon, ND_BOOL, ND_INT)->int_value;
    case EXPR_INT_CONST: return expr->args.intconst.value;
    case EXPR_ITE: return evaluate_int_ite(in, expr);
    case EXPR_RANGE: return evaluate_int_range(in, expr);
    case EXPR_CASE: return evaluate_int(in, selected(in, expr, true));
    default: NORVANE_FAIL("Encountered invalid expression structure : %d", expr->structure);
    }
}

double evaluate_float_binary(const Evaluation& in, const Expr* expr) {
    const double left = evaluate_float(in, expr->args.binargs.leftarg);
    const double right = evaluate_float(in, expr->args.binargs.rightarg);
    switch (expr->opr) {
    case OPR_PLUS: return left + right;
    case OPR_MINUS: return left - right;
    case OPR_TIMES: return left * right;
    case OPR_DIV: return left / right;
    default: NORVANE_FAIL("Invalid operator in binary expression : %d", expr->opr);
    }
}

double evaluate_float_unary(const Evaluation& in, const Expr* expr) {
    const double value = evaluate_float(in, expr->args.arg);
    if (expr->opr != OPR_MINUS) {
        NORVANE_FAIL("Invalid operator in unary expression : %d", expr->opr);
    }
    return -value;
}

double evaluate_float_ite(const Evaluation& in, const Expr* expr) {
    const int condition = evaluate_int(in, expr->args.ite.logictest);
    const double when_true = evaluate_float(in, expr->args.ite.trueexpr);
    const double when_false = evaluate_float(in, expr->args.ite.falseexpr);
    return condition != 0 ? when_true : when_false;
}

double evaluate_float(const Evaluation& in, const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return evaluate_float(in, expr); });
    NORVANE_ASSERT(expr);
    NORVANE_ASSERT(expr->type == ETYPE_ENUM_FLOAT);
    switch (expr->structure) {
    case EXPR_BINARY: return evaluate_float_binary(in, expr);
    case EXPR_UNARY: return evaluate_float_unary(in, expr);
    case EXPR_IDCONSTRUCTOR:
        return constant_named(in, expr->args.idcon, ND_FLOAT, ND_FLOAT)->float_value;
    case EXPR_FLOAT_CONST: return expr->args.floatconst.value;
    case EXPR_ITE: return evaluate_float_ite(in, expr);
    case EXPR_CASE: return evaluate_float(in, selected(in, expr, false));
    default: NORVANE_FAIL("Encountered invalid expression structure : %d", expr->structure);
    }
}

} // namespace

int ssem_is_static_expr(Project* project, SymbolTable* symboltable, Expr* expr) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(expr);
    return is_static({project, symboltable}, expr);
}

int ssem_static_evaluate_intexpr(Project* project, SymbolTable* symboltable, Expr* expr) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(expr);
    return evaluate_int({project, symboltable}, expr);
}

double ssem_static_evaluate_floatexpr(Project* project, SymbolTable* symboltable, Expr* expr) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(expr);
    return evaluate_float({project, symboltable}, expr);
}

const char* ssem_static_evaluate_stringexpr(Project* project, SymbolTable* symboltable,
                                            Expr* expr) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(expr);
    NORVANE_ASSERT(expr->type == ETYPE_STRING);
    switch (expr->structure) {
    case EXPR_IDCONSTRUCTOR:
        return constant_named({project, symboltable}, expr->args.idcon, ND_STRING, ND_STRING)
            ->string_value;
    case EXPR_STRING_CONST: return expr->args.str;
    default: NORVANE_FAIL("Encountered invalid expression structure : %d", expr->structure);
    }
}
