// Calculations of any depth on a small stack, from their XML on: read, checked, searched for names,
// copied, written, freed, and refused for a fault at the bottom.
#include <gtest/gtest.h>

#include <utility>

#include "calc_text.h"

namespace norvane::test {
namespace {

TEST(DeepTrees, PassThroughAllInASmallStack) {
    const std::string expr_head = "<expr_stmt><expr>", expr_tail = "</expr></expr_stmt>";
    const std::string stmt_head = "<while_stmt><expr><true/></expr><stmt>";
    const std::string stmt_tail = "</stmt></while_stmt>";
    const std::string one = "<expr><int_const value='1'/></expr>", truth = "<expr><true/></expr>";
    const struct {
        std::size_t levels;
        std::string begin, end;
        bool is_expr = true;
    } shapes[] = {
        {500'000, "<uop opr='minus'><expr>", "</expr></uop>"},
        {30'000, "<bop opr='plus'><expr>", "</expr>" + one + "</bop>"},
        {30'000, "<bop opr='plus'>" + one + "<expr>", "</expr></bop>"},
        {30'000, "<ite_expr>" + truth + one + "<expr>", "</expr></ite_expr>"},
        {30'000, "<call namespace='System' fname='Abs'><expr>", "</expr></call>"},
        {30'000, "<pmvar name='grid'>" + one + "<expr>", "</expr></pmvar>"},
        {200'000, "<block_stmt><stmt>", "</stmt></block_stmt>", false},
        {30'000, "<do_stmt>" + truth + "<stmt>", "</stmt></do_stmt>", false},
        {200'000, "<ite_stmt>" + truth + "<stmt><break_stmt/></stmt><stmt>", "</stmt></ite_stmt>",
         false},
        {30'000, "<switch_stmt>" + one + "<case_label>" + one + "<stmt>",
         "</stmt></case_label></switch_stmt>", false},
    };
    const TemporaryFolder folder;
    const auto read = [&](const std::string& stmt, const char* behind = "") {
        const std::string xml = "<calculation><namespace name='N'><function name='f' type='void'>"
                                "<stmt>" +
                                stmt + "</stmt></function></namespace></calculation>" + behind;
        return CalcPtr(calc_import_from_xmlfile(folder.write("a.clx", xml).c_str()));
    };
    const Model model = check(test_data("calc/data/check/model.pm"));
    const auto checks = [&](const CalcPtr& calc) {
        return calc_check_functions(calc.get(), model.table.get()) == 1;
    };
    with_small_stack([&] {
        for (const auto& [levels, begin, end, is_expr] : shapes) {
            const auto nested = [&, &begin = begin, &end = end, levels = levels,
                                 is_expr = is_expr](const std::string& core) {
                return (is_expr ? expr_head : stmt_head) + repeated(begin, levels) + core +
                       repeated(end, levels) + (is_expr ? expr_tail : stmt_tail);
            };
            const std::string sound = nested(is_expr ? "<int_const value='1'/>" : "<break_stmt/>");
            const Reports reports;
            const CalcPtr calc = read(sound);
            ASSERT_TRUE(calc) << begin;
            EXPECT_TRUE(checks(calc)) << begin << reports.text();
            const std::string xml = written(calc.get());
            PolyList* stmts = function_of(calc)->stmts;
            if (is_expr) {
                auto& expr = static_cast<CStmt*>(plist_hd(stmts))->args.expr;
                CExpr* original = std::exchange(expr, calc_copy_expr(expr));
                calc_delete_expr(original);
                EXPECT_TRUE(written(calc.get()) == xml) << begin;
            }
            PolySet* names = pset_new(10, poly_compare_string, poly_copy_string, poly_hash_string,
                                      poly_delete_string);
            calc_find_free_vars(stmts, names);
            pset_delete(names);
            EXPECT_EQ(reports.text(), "");

            const std::string nobody = "<pmvar name='nobody'/>";
            EXPECT_FALSE(checks(read(nested(is_expr ? nobody : expr_head + nobody + expr_tail))));
            EXPECT_FALSE(read(nested("<case_label/>")));
            EXPECT_FALSE(read(sound, "<!"));
            EXPECT_EQ(reports.names(), "ERR_CALC_FNC ERR_XML_MALFORMED ERR_XML_MALFORMED");
        }
        const Reports reports;
        const CalcPtr path =
            read(expr_head + "<pmvar name='maybe'>" + repeated("<pmvar name='SOME'>", 100'000) +
                 repeated("</pmvar>", 100'001) + expr_tail);
        EXPECT_FALSE(checks(path));
        EXPECT_TRUE(reports.text().ends_with("'SOME' is not of product or optional type\n"));
    });
}

} // namespace
} // namespace norvane::test
