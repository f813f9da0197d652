// Static evaluation of trees that no model holds, since the checker refuses them. The random models
// cover the others.
#include <limits>

#include "test.h"

namespace {

using namespace norvane::test;

class EvaluateInModel : public testing::Test {
  protected:
    Expr* number(int value) { return expr_new_intconst(OPR_INTCONST, value, 1); }
    Expr* real(double value) { return expr_new_floatconst(value, 1); }

    // The value of a tree by hand, whose root has the type.
    int value(ExprType type, Expr* tree) {
        tree->type = static_cast<unsigned char>(type);
        const int result =
            ssem_static_evaluate_intexpr(model.project.get(), model.table.get(), tree);
        expr_delete(tree);
        return result;
    }
    int combined(OprTypes opr, Expr* left, Expr* right) {
        const bool of_floats = left->structure == EXPR_FLOAT_CONST;
        return value(of_floats ? ETYPE_BOOL : ETYPE_INT, expr_new_binary(opr, left, right, 1));
    }

    Model model = check("constant N : 3; B : true; variable x : [0..N]; a : array 2 of boolean;"
                        "         color : [red, green];");
};

TEST_F(EvaluateInModel, ShiftsLoopsWithoutATurnAndNoNumberHaveValues) {
    EXPECT_EQ(combined(OPR_SHL, number(1), number(33)), 2);
    EXPECT_EQ(combined(OPR_SHL, number(-1), number(31)), std::numeric_limits<int>::min());
    EXPECT_EQ(combined(OPR_SHR, number(-8), number(1)), -4);
    EXPECT_EQ(combined(OPR_IMPLIES, number(5), number(6)), 6);
    const auto loop = [&](OprTypes opr) {
        return value(ETYPE_INT,
                     expr_new_range(opr, str_copy("i"), number(1), number(0), number(4), 1));
    };
    EXPECT_EQ(loop(OPR_FORALL), 1);
    EXPECT_EQ(loop(OPR_EXIST), 0);
    EXPECT_EQ(loop(OPR_SUM), 0);
    EXPECT_EQ(loop(OPR_PROD), 1);
    const double nan = std::nan("");
    EXPECT_EQ(combined(OPR_LT, real(nan), real(1)), 0);
    EXPECT_EQ(combined(OPR_EQ, real(nan), real(nan)), 0);
    EXPECT_EQ(combined(OPR_NEQ, real(nan), real(nan)), 1);
}

TEST_F(EvaluateInModel, WhatHasNoValueStops) {
    const std::tuple<const char*, ExprType, const char*> rows[] = {
        {"missing", ETYPE_INT, "1: Constant 'missing' is unknown"},
        {"x", ETYPE_BOOL, "1: 'x' is used as a constant, but is not declared as such"},
        {"a[0]", ETYPE_BOOL, "1: Array type variable is used as a constant"},
        {"\"s\"", ETYPE_INT, "1: Encountered invalid expression structure : 4"},
        {"N", ETYPE_STRING, "1: expr->type == ETYPE_INT || expr->type == ETYPE_BOOL"},
        // Both branches are evaluated.
        {"if B then 1 else missing", ETYPE_INT,
         "1: expr->type == ETYPE_INT || expr->type == ETYPE_BOOL"},
    };
    for (const auto& [source, type, failure] : rows) {
        Expr* tree = expression(source).release();
        EXPECT_EQ(thrown([&, t = type] { value(t, tree); }), failure) << source;
        expr_delete(tree);
    }
}

TEST_F(EvaluateInModel, LoopsNestedInLowerBoundsAreTestedInLinearTime) {
    std::string nest = "1";
    for (int depth = 0; depth < 100; ++depth)
        nest = "sum i in [" + nest + "..1] : (i)";
    const ExprPtr expr = expression(nest);
    EXPECT_EQ(ssem_is_static_expr(model.project.get(), model.table.get(), expr.get()), 1);
}

} // namespace
