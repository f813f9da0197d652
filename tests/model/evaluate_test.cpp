// Static evaluation: the values of constants, what counts as static, and what only trees built by
// hand can hold, since the checker refuses it.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "norvane/base/util.h"
#include "support.h"

namespace {

using namespace norvane::test;

constexpr int max_int = std::numeric_limits<int>::max();

class EvaluateInModel : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(model.table); }

    int is_static(Expr* expr) {
        const int result = ssem_is_static_expr(model.project.get(), model.table.get(), expr);
        EXPECT_EQ(plist_length(model.table->local_table), 1u);
        return result;
    }

    Model model = check("constant N : 3; B : true; F : 2.5; S : \"text\";"
                        "type T : { a : boolean; };"
                        "variable x : [0..N]; a : array 2 of boolean; t : T;"
                        "         color : [red, green];");
};

TEST_F(EvaluateInModel, TestsLoopsNestedInLowerBoundsInLinearTime) {
    std::string nest = "1";
    for (int depth = 0; depth < 100; ++depth)
        nest = "sum i in [" + nest + "..1] : (i)";
    EXPECT_EQ(is_static(expression(nest).get()), 1);
}

// Trees by hand, with their types.
Expr* typed(ExprType type, Expr* expr) {
    expr->type = static_cast<unsigned char>(type);
    return expr;
}
Expr* number(int value) {
    return expr_new_intconst(OPR_INTCONST, value, 1);
}
Expr* truth(bool value) {
    return expr_new_intconst(OPR_BOOLCONST, value, 1);
}
Expr* real(double value) {
    return expr_new_floatconst(value, 1);
}
Expr* text(const char* value) {
    return expr_new_stringconst(value, 1);
}
Expr* name(ExprType type, const char* name) {
    return typed(type, expr_new_idcon(expr_new_simpleid(str_copy(name), 1), 1));
}
Expr* path(ExprType type, const char* text) {
    return typed(type, expression(text).release());
}
Expr* binary(ExprType type, OprTypes opr, Expr* left, Expr* right) {
    return typed(type, expr_new_binary(opr, left, right, 1));
}
Expr* unary(ExprType type, OprTypes opr, Expr* arg) {
    return typed(type, expr_new_unary(opr, arg, 1));
}
Expr* range(OprTypes opr, const char* variable, int lower, int upper, Expr* body) {
    return typed(ETYPE_INT,
                 expr_new_range(opr, str_copy(variable), number(lower), number(upper), body, 1));
}
Expr* ite(ExprType type, Expr* test, Expr* yes, Expr* no) {
    return typed(type, expr_new_ite(test, yes, no, 1));
}
Expr* one_armed_case(ExprType type, const char* selector, Expr* condition, Expr* evaluation,
                     Expr* fallback) {
    const auto list = [](Expr* expr) {
        PolyList* result =
            plist_new(nullptr, nullptr, [](void* e) { expr_delete(static_cast<Expr*>(e)); });
        plist_append(result, expr);
        return result;
    };
    return typed(type, expr_new_case(expr_new_simpleid(str_copy(selector), 1), list(condition),
                                     list(evaluation), fallback, 1));
}

// The value by the tree's type, or what was thrown.
std::string evaluated(const Model& model, Expr* expr) {
    const ExprPtr owner(expr);
    Project* project = model.project.get();
    SymbolTable* table = model.table.get();
    std::string value;
    const std::string failure = thrown([&] {
        if (expr->type == ETYPE_STRING)
            value = ssem_static_evaluate_stringexpr(project, table, expr);
        else if (expr->type == ETYPE_ENUM_FLOAT)
            value = util_double_to_str(ssem_static_evaluate_floatexpr(project, table, expr));
        else
            value = std::to_string(ssem_static_evaluate_intexpr(project, table, expr));
    });
    while (plist_length(table->local_table) > 1)
        symtbl_pop_env(table);
    return failure + value;
}

TEST_F(EvaluateInModel, EvaluatesTreesThatNoModelHolds) {
    const auto i = ETYPE_INT, b = ETYPE_BOOL, f = ETYPE_ENUM_FLOAT;
    const double nan = std::nan("");
    const std::string int_type = "1: expr->type == ETYPE_INT || expr->type == ETYPE_BOOL";
    const std::string bad_structure = "1: Encountered invalid expression structure : ";
    const struct {
        Expr* expr;
        std::string value;
    } cases[] = {
        {binary(i, OPR_SHL, number(1), number(33)), "2"},
        {binary(i, OPR_SHL, number(-1), number(31)), "-2147483648"},
        {binary(i, OPR_SHR, number(-8), number(1)), "-4"},
        {binary(i, OPR_IMPLIES, number(5), number(6)), "6"},
        {range(OPR_FORALL, "i", 1, 0, truth(false)), "1"},
        {range(OPR_SUM, "i", 1, 0, number(4)), "0"},
        {range(OPR_SUM, "i", max_int - 2, max_int, name(i, "i")), "2147483642"},
        {binary(b, OPR_LT, real(nan), real(1)), "0"},
        {binary(b, OPR_GE, real(1), real(nan)), "0"},
        {binary(b, OPR_EQ, real(nan), real(nan)), "0"},
        {binary(b, OPR_NEQ, real(nan), real(nan)), "1"},
        {unary(i, OPR_ORDER, name(ETYPE_SUM, "green")), "1"},
        // Both branches are evaluated.
        {ite(i, truth(true), number(1), name(i, "missing")), "1: Constant 'missing' is unknown"},
        {ite(f, truth(false), name(f, "N"), real(1)),
         "1: 'N' is used as a constant, but is not declared as such"},
        {unary(i, OPR_PLUS, number(1)), "1: Invalid operator in unary expression : 6"},
        {name(b, "x"), "1: 'x' is used as a constant, but is not declared as such"},
        {path(b, "a[0]"), "1: Array type variable is used as a constant"},
        {typed(i, text("s")), bad_structure + "4"},
        // A case of floats has no value as soon as it has an arm.
        {one_armed_case(i, "F", real(2.5), number(1), number(0)), "1"},
        {one_armed_case(f, "F", real(2.5), real(1), real(0)), int_type},
        {one_armed_case(i, "S", text("text"), number(1), number(0)), int_type},
    };
    for (std::size_t row = 0; row < std::size(cases); ++row) {
        Reports reports;
        EXPECT_EQ(evaluated(model, cases[row].expr), cases[row].value) << "in row " << row;
    }
}

TEST_F(EvaluateInModel, WalksChainsOfAnyDepthOnASmallStack) {
    Project* project = model.project.get();
    SymbolTable* table = model.table.get();
    with_small_stack([&] {
        Expr* sum = number(0);
        Expr* floats = real(0);
        Expr* branches = number(0);
        for (int i = 0; i < 1'000'000; ++i) {
            sum = binary(ETYPE_INT, OPR_PLUS, sum, number(2));
            floats = binary(ETYPE_ENUM_FLOAT, OPR_MINUS, real(1), floats);
            branches = ite(ETYPE_INT, truth(i % 2 == 0), number(i), branches);
        }
        EXPECT_EQ(ssem_static_evaluate_intexpr(project, table, sum), 2'000'000);
        EXPECT_EQ(ssem_static_evaluate_floatexpr(project, table, floats), 0.0);
        EXPECT_EQ(ssem_static_evaluate_intexpr(project, table, branches), 999'998);
        for (Expr* expr : {sum, floats, branches}) {
            EXPECT_EQ(is_static(expr), 1);
            expr_delete(expr);
        }
    });
}

} // namespace
