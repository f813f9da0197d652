// What the driver does not do with calculations, of any depth on a small stack: copied, and
// searched for names.
#include "calc_text.h"

namespace norvane::test {
namespace {

TEST(DeepTrees, AreCopiedAndSearchedOnASmallStack) {
    with_small_stack([] {
        const auto leaf = [] { return calc_new_pmvar_expr(calc_new_pmvar(str_copy("x")), 1); };
        CExpr* expr = leaf();
        CStmt* stmt = calc_new_break_stmt(1);
        for (int i = 0; i < 30'000; ++i) {
            expr = calc_new_unary_expr(COPR_MINUS, expr, 1);
            expr = calc_new_binary_expr(COPR_PLUS, leaf(), expr, 1);
            expr = calc_new_ite_expr(leaf(), leaf(), expr, 1);
            stmt = calc_new_ite_stmt(leaf(), stmt, nullptr, 1);
        }
        CExpr* copy = calc_copy_expr(expr);
        calc_delete_expr(expr);
        PolyList* stmts = plist_new(nullptr, nullptr, nullptr);
        plist_append(stmts, calc_new_expr_stmt(copy, 1));
        plist_append(stmts, stmt);
        PolySet* names = pset_new(10, poly_compare_string, poly_copy_string, poly_hash_string,
                                  poly_delete_string);
        calc_find_free_vars(stmts, names);
        EXPECT_EQ(pset_size(names), 1u);
        pset_delete(names);
        for (CStmt* each : items<CStmt>(stmts))
            calc_delete_stmt(each);
        plist_delete(stmts);
    });
}

} // namespace
} // namespace norvane::test
