// Static evaluation: which expressions have a value before the product is configured, and that
// value as an integer (booleans included), a float or a string.
//
// The predicate reads structure, operators and the symbol table alone. The evaluators rely on the
// types that the checker has written, and stop on what it should have refused. While a loop
// operator runs, its variable is in an environment of its own on the table's stack.
#include "norvane/proj/staticsem.h"

#include <cstring>
#include <iterator>

#include "context.h"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/work.h"
#include "operators.h"
#include "tags.h"

namespace norvane::check {

LoopVariable::LoopVariable(const Context& in, const Expr* range, int value)
    : namedata_(symtbl_new_namedata(ND_INT, nullptr, nullptr, value, 0.0, nullptr, 0)),
      environment_(symtbl_new_symbol_table_env(1)), scope_(in.symboltable, environment_),
      inserted_(symtbl_insert(in.project->line_info, in.symboltable, range->args.range.lambdavar,
                              namedata_, range->linenumber) == STATUS_SUCCESS) {
    scope_.own();
}

LoopVariable::~LoopVariable() {
    if (!inserted_) symtbl_delete_namedata(namedata_);
}

NameData* LoopVariable::find(SymbolTable* symboltable, char* name) {
    NORVANE_ASSERT(name);
    const auto first = static_cast<unsigned char>(name[0]);
    const auto second = static_cast<unsigned char>(first == 0 ? 0 : name[1]);
    Found& found = found_[(first + 5u * second) % std::size(found_)];
    // Most variables of loops have one letter.
    const bool is_same = second == 0 ? found.name[0] == name[0] && found.name[1] == '\0'
                                     : std::strcmp(found.name, name) == 0;
    if (is_same && found.namedata) return found.namedata;
    NameData* namedata = nullptr;
    if (symtbl_lookup(symboltable, name, 0, &namedata) != STATUS_SUCCESS) return nullptr;
    const std::size_t length = std::strlen(name);
    if (length >= sizeof found.name) return namedata;
    std::memcpy(found.name, name, length + 1);
    found.namedata = namedata;
    return namedata;
}

namespace {

constexpr char invalid_structure[] = "Encountered invalid expression structure : %d";

// The simple identifier that an order operator names, or null.
const IdCon* ordered_name(const Expr* expr) {
    if (expr->opr != OPR_ORDER) return nullptr;
    const Expr* arg = expr->args.arg;
    if (arg->structure != EXPR_IDCONSTRUCTOR) return nullptr;
    return arg->args.idcon->contype == IDCON_SIMPLE ? arg->args.idcon : nullptr;
}

// The predicate.

struct StaticTest {
    Context context;
    // Loop variables whose names were taken: each has made a report.
    unsigned long long refused;
};

bool test(StaticTest& in, const Expr* expr);

bool is_constant(const StaticTest& in, const IdCon* idcon) {
    switch (model::kind_of(idcon)) {
    case IDCON_SIMPLE: {
        const NameData* namedata = find_name(in.context, idcon->args.id.idname);
        return namedata && namedata->ndtype <= ND_STRING;
    }
    case IDCON_ARRAY:
    case IDCON_COMPOSIT: return false;
    }
    NORVANE_FAIL("Unknown id constructor type : %d", idcon->contype);
}

bool is_label(const StaticTest& in, const IdCon* idcon) {
    const NameData* namedata = find_name(in.context, idcon->args.id.idname);
    return namedata && namedata->ndtype == ND_LABEL;
}

// Up to this many reports of a taken name inside a lower bound are repeated. Without a limit, forty
// loops nested in lower bounds would report for hours.
constexpr unsigned long long most_repeated = 1000;

// Callers that collect reports see those of a lower bound twice, so a bound that has made reports
// is tested a second time. One that made none is not: a second test could not show, and loops
// nested in lower bounds would double the work at each level.
[[gnu::noinline]] bool test_lower_bound(StaticTest& in, const Expr* bound) {
    const unsigned long long refused_before = in.refused;
    const bool result = test(in, bound);
    const unsigned long long refused = in.refused - refused_before;
    return refused == 0 || refused > most_repeated ? result : test(in, bound);
}

// The upper bound is not tested, since the checker refuses one that is not static. If the name of
// the variable is taken, it means in the body what it means outside.
[[gnu::noinline]] bool test_range(StaticTest& in, const Expr* expr) {
    const bool bound_is_static = test_lower_bound(in, expr->args.range.rangebegin);
    const LoopVariable variable(in.context, expr, 0);
    if (!variable.inserted()) ++in.refused;
    return bound_is_static && test(in, expr->args.range.lambdaexpr);
}

bool test_all(StaticTest& in, const PolyList* exprs) {
    for (const Expr* expr : items<Expr>(exprs))
        if (!test(in, expr)) return false;
    return true;
}

[[gnu::noinline]] bool test_case(StaticTest& in, const Expr* expr) {
    const auto& caseexpr = expr->args.caseexpr;
    return is_constant(in, caseexpr.casevar) && test_all(in, caseexpr.exprlist_condition) &&
           test_all(in, caseexpr.exprlist_evaluation) && test(in, caseexpr.default_expr);
}

bool test_unary(StaticTest& in, const Expr* expr) {
    const IdCon* name = ordered_name(expr);
    return name ? is_label(in, name) : test(in, expr->args.arg);
}

bool test(StaticTest& in, const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return test(in, expr); });
    NORVANE_ASSERT(expr);
    const auto& args = expr->args;
    switch (model::structure_of(expr)) {
    case EXPR_BINARY: return test(in, args.binargs.leftarg) && test(in, args.binargs.rightarg);
    case EXPR_UNARY: return test_unary(in, expr);
    case EXPR_IDCONSTRUCTOR: return is_constant(in, args.idcon);
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: return true;
    case EXPR_ITE:
        return test(in, args.ite.logictest) && test(in, args.ite.trueexpr) &&
               test(in, args.ite.falseexpr);
    case EXPR_RANGE: return test_range(in, expr);
    case EXPR_CASE: return test_case(in, expr);
    }
    NORVANE_FAIL(invalid_structure, expr->structure);
}

// The evaluators.

// The record of a constant of one of two kinds, by its name.
const NameData* constant_named(const Context& in, const IdCon* idcon, NameDataType kind,
                               NameDataType other_kind) {
    if (idcon->contype == IDCON_ARRAY) NORVANE_FAIL("Array type variable is used as a constant");
    if (idcon->contype == IDCON_COMPOSIT) NORVANE_FAIL("Record variable is used as a constant");
    if (idcon->contype != IDCON_SIMPLE)
        NORVANE_FAIL("Invalid id constructor type '%d'", idcon->contype);
    char* name = idcon->args.id.idname;
    const NameData* namedata = find_name(in, name);
    if (!namedata) NORVANE_FAIL("Constant '%s' is unknown", name);
    if (namedata->ndtype != kind && namedata->ndtype != other_kind)
        NORVANE_FAIL("'%s' is used as a constant, but is not declared as such", name);
    return namedata;
}

// The evaluation that a case selects. Each condition is compared with the selector as `selector =
// condition`, on nodes that borrow both for the length of the comparison, so that the model's own
// nodes stay as they are. `stamped` writes the types of the comparison first. Without it the
// comparison stops: callers rely on a case of floats having no value.
[[gnu::noinline]] const Expr* selected(const Context& in, const Expr* expr, bool stamped) {
    Expr selector = {EXPR_IDCONSTRUCTOR, OPR_NONE, ETYPE_UNDEF, expr->linenumber, {}};
    selector.args.idcon = expr->args.caseexpr.casevar;
    Expr comparison_node = {EXPR_BINARY, OPR_EQ, ETYPE_UNDEF, expr->linenumber, {}};
    if (stamped) comparison_node.type = ETYPE_BOOL;

    const PolyListNode* evaluation = expr->args.caseexpr.exprlist_evaluation->first;
    for (Expr* condition : items<Expr>(expr->args.caseexpr.exprlist_condition)) {
        if (!evaluation) break;
        if (stamped) selector.type = condition->type;
        comparison_node.args.binargs = {&selector, condition};
        if (evaluate_int(in, &comparison_node) != 0) return static_cast<Expr*>(evaluation->element);
        evaluation = evaluation->next;
    }
    return expr->args.caseexpr.default_expr;
}

[[noreturn]] void fail_binary(const Expr* expr) {
    NORVANE_FAIL("Invalid operator in binary expression : %d", expr->opr);
}

[[noreturn]] void fail_unary(const Expr* expr) {
    NORVANE_FAIL("Invalid operator in unary expression : %d", expr->opr);
}

int evaluate_int_binary(const Context& in, const Expr* expr) {
    const Expr* left_expr = expr->args.binargs.leftarg;
    const Expr* right_expr = expr->args.binargs.rightarg;
    const Operator& opr = meaning_of(expr->opr);
    if (left_expr->type == ETYPE_ENUM_FLOAT && right_expr->type == ETYPE_ENUM_FLOAT) {
        const double left = evaluate_float(in, left_expr);
        const double right = evaluate_float(in, right_expr);
        if (!opr.compare_floats) fail_binary(expr);
        return opr.compare_floats(left, right);
    }
    const int left = evaluate_int(in, left_expr);
    const int right = evaluate_int(in, right_expr);
    NORVANE_ASSERT_TEXT(left_expr->type == right_expr->type &&
                            (left_expr->type == ETYPE_INT || left_expr->type == ETYPE_BOOL),
                        "left_expr->type == right_expr->type && ( left_expr->type == ETYPE_INT || "
                        "left_expr->type == ETYPE_BOOL )");
    if (!opr.of_ints) fail_binary(expr);
    return opr.of_ints(left, right);
}

// The position of a label; 0 for any other name, which is_static rejects.
int evaluate_order(const Context& in, const IdCon* idcon) {
    const NameData* namedata = find_name(in, idcon->args.id.idname);
    NORVANE_ASSERT_TEXT(
        namedata,
        "symtbl_lookup( symboltable, idcon->args.id.idname, false, &namedata) == STATUS_SUCCESS");
    return namedata->ndtype == ND_LABEL ? namedata->label_index : 0;
}

int evaluate_int_unary(const Context& in, const Expr* expr) {
    if (const IdCon* name = ordered_name(expr)) return evaluate_order(in, name);
    const int value = evaluate_int(in, expr->args.arg);
    const Operator& opr = meaning_of(expr->opr);
    if (!opr.of_int) fail_unary(expr);
    return opr.of_int(value);
}

// Both branches are evaluated: callers rely on a conditional with a branch that cannot be evaluated
// stopping whatever its condition says.
int evaluate_int_ite(const Context& in, const Expr* expr) {
    const int condition = evaluate_int(in, expr->args.ite.logictest);
    const int when_true = evaluate_int(in, expr->args.ite.trueexpr);
    const int when_false = evaluate_int(in, expr->args.ite.falseexpr);
    return condition != 0 ? when_true : when_false;
}

// The body is evaluated for every value, also when the result is known before the last one.
[[gnu::noinline]] int evaluate_int_range(const Context& in, const Expr* expr) {
    const int lower = evaluate_int(in, expr->args.range.rangebegin);
    const int upper = evaluate_int(in, expr->args.range.rangeend);
    LoopVariable variable(in, expr, lower);
    if (!variable.inserted())
        NORVANE_FAIL("Could not insert symbol '%s' into symbol table", expr->args.range.lambdavar);

    const Operator& loop = meaning_of(expr->opr);
    const Operator& joining = meaning_of(static_cast<unsigned char>(loop.joins));
    int result = loop.start;
    const Context inside = variable.inside(in);
    WorkTurns turns(turn_count(lower, upper));
    // Counted in 64 bits, since a loop may end at the largest integer.
    for (long long i = lower; i <= upper; ++i) {
        variable.set(static_cast<int>(i));
        const int turn = evaluate_int(inside, expr->args.range.lambdaexpr);
        if (!joining.of_ints) NORVANE_FAIL("Encountered invalid range operator : %d", expr->opr);
        result = joining.of_ints(result, loop.body == ETYPE_BOOL ? turn != 0 : turn);
        turns.next();
    }
    return result;
}

double evaluate_float_binary(const Context& in, const Expr* expr) {
    const double left = evaluate_float(in, expr->args.binargs.leftarg);
    const double right = evaluate_float(in, expr->args.binargs.rightarg);
    const Operator& opr = meaning_of(expr->opr);
    if (!opr.of_floats) fail_binary(expr);
    return opr.of_floats(left, right);
}

double evaluate_float_unary(const Context& in, const Expr* expr) {
    const double value = evaluate_float(in, expr->args.arg);
    const Operator& opr = meaning_of(expr->opr);
    if (!opr.of_float) fail_unary(expr);
    return opr.of_float(value);
}

double evaluate_float_ite(const Context& in, const Expr* expr) {
    const int condition = evaluate_int(in, expr->args.ite.logictest);
    const double when_true = evaluate_float(in, expr->args.ite.trueexpr);
    const double when_false = evaluate_float(in, expr->args.ite.falseexpr);
    return condition != 0 ? when_true : when_false;
}

} // namespace

bool is_static(const Context& in, const Expr* expr) {
    StaticTest testing{in, 0};
    return test(testing, expr);
}

int evaluate_int(const Context& in, const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return evaluate_int(in, expr); });
    NORVANE_ASSERT(expr);
    NORVANE_ASSERT(expr->type == ETYPE_INT || expr->type == ETYPE_BOOL);
    switch (model::structure_of(expr)) {
    case EXPR_BINARY: return evaluate_int_binary(in, expr);
    case EXPR_UNARY: return evaluate_int_unary(in, expr);
    case EXPR_IDCONSTRUCTOR:
        return constant_named(in, expr->args.idcon, ND_BOOL, ND_INT)->int_value;
    case EXPR_INT_CONST: return expr->args.intconst.value;
    case EXPR_ITE: return evaluate_int_ite(in, expr);
    case EXPR_RANGE: return evaluate_int_range(in, expr);
    case EXPR_CASE: return evaluate_int(in, selected(in, expr, true));
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: break;
    }
    NORVANE_FAIL(invalid_structure, expr->structure);
}

double evaluate_float(const Context& in, const Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { return evaluate_float(in, expr); });
    NORVANE_ASSERT(expr);
    NORVANE_ASSERT(expr->type == ETYPE_ENUM_FLOAT);
    switch (model::structure_of(expr)) {
    case EXPR_BINARY: return evaluate_float_binary(in, expr);
    case EXPR_UNARY: return evaluate_float_unary(in, expr);
    case EXPR_IDCONSTRUCTOR:
        return constant_named(in, expr->args.idcon, ND_FLOAT, ND_FLOAT)->float_value;
    case EXPR_FLOAT_CONST: return expr->args.floatconst.value;
    case EXPR_ITE: return evaluate_float_ite(in, expr);
    case EXPR_CASE: return evaluate_float(in, selected(in, expr, false));
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_RANGE: break;
    }
    NORVANE_FAIL(invalid_structure, expr->structure);
}

const char* evaluate_string(const Context& in, const Expr* expr) {
    NORVANE_ASSERT(expr->type == ETYPE_STRING);
    switch (model::structure_of(expr)) {
    case EXPR_IDCONSTRUCTOR:
        return constant_named(in, expr->args.idcon, ND_STRING, ND_STRING)->string_value;
    case EXPR_STRING_CONST: return expr->args.str;
    case EXPR_BINARY:
    case EXPR_UNARY:
    case EXPR_INT_CONST:
    case EXPR_FLOAT_CONST:
    case EXPR_ITE:
    case EXPR_RANGE:
    case EXPR_CASE: break;
    }
    NORVANE_FAIL(invalid_structure, expr->structure);
}

} // namespace norvane::check

using namespace norvane::check;

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
    return evaluate_string({project, symboltable}, expr);
}
