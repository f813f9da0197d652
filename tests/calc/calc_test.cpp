// The calculation tree: who owns what, the sets of functions, copies, and the names that statements
// use.
#include "calc_text.h"

namespace norvane::test {
namespace {

CFunc* function(const char* name, int line_no = 7, const char* filename = "f.cl") {
    return calc_new_func(str_copy(name), CTYPE_INT, nullptr, filename, line_no);
}

TEST(Calculation, NamesArePerNamespaceAndTheFirstDefinitionStays) {
    const CalcPtr calc(calc_new());
    const Reports reports;
    CFunc* first = function("f");
    EXPECT_EQ(calc_add_function(calc.get(), "A", first), 0);
    EXPECT_EQ(calc_add_function(calc.get(), "B.C", function("f")), 0);
    EXPECT_EQ(calc_add_function(calc.get(), "A", function("g")), 0);

    // A refused function stays the caller's, and the place is told only where it is known.
    for (CFunc* refused :
         {function("f"), function("f", CALC_UNDEF_LINENO), function("f", 7, nullptr)}) {
        EXPECT_EQ(calc_add_function(calc.get(), "A", refused), -1);
        calc_delete_func(refused);
    }
    EXPECT_EQ(calc_get_function(calc_get_namespace(calc.get(), "A"), "f"), first);
    EXPECT_EQ(functions(calc.get()), "A: f g; B.C: f");
    ASSERT_EQ(reports.all().size(), 3u);
    EXPECT_EQ(reports.all()[0].name, "ERR_CALC_FNC_REDEF");
    EXPECT_EQ(reports.all()[0].title, "f.cl (7): " + reports.all()[1].title);
    EXPECT_EQ(reports.all()[1].title, reports.all()[2].title);
}

TEST(Calculation, MergesInOrderAndLeavesTheRefusedAlone) {
    const CalcPtr target(calc_new());
    PolyHash* source = calc_new();
    CFunc* refused = function("f");
    calc_add_function(target.get(), "N", function("f"));
    calc_add_function(source, "N", refused);
    for (const char* name : {"b", "c", "a"})
        calc_add_function(source, "N", function(name));
    calc_add_function(source, "M", function("f"));
    const Reports reports;
    calc_merge(target.get(), source);
    EXPECT_EQ(reports.names(), "ERR_CALC_FNC_REDEF");
    EXPECT_EQ(functions(target.get()), "N: f b c a; M: f");
    calc_delete_func(refused); // still the caller's, and whole

    EXPECT_EQ(calc_remove_function(target.get(), "N", "c"), 0);
    EXPECT_EQ(calc_remove_function(target.get(), "N", "c"), -1);
    EXPECT_EQ(calc_remove_function(target.get(), "B", "f"), -1);
    EXPECT_EQ(functions(target.get()), "N: f b a; M: f");
}

TEST(Calculation, TextsAreUtf8AndCopiesAreConvertedOnceMore) {
    CExpr* expr = calc_new_stringconst_expr(str_copy("\xE9"), 1, false);
    EXPECT_STREQ(expr->args.string_value, "\xC3\xA9");
    CExpr* copy = calc_copy_expr(expr);
    EXPECT_STREQ(copy->args.string_value, "\xC3\x83\xC2\xA9");
    calc_delete_expr(copy);
    calc_delete_expr(expr);
    expr = calc_new_stringconst_expr(nullptr, 1, true);
    EXPECT_STREQ(expr->args.string_value, "");
    calc_delete_expr(expr);
}

TEST(Calculation, CopiesShareNothing) {
    const auto copied = [] {
        const CalcPtr calc(
            calc_import_from_string("namespace N { integer f(boolean i) = i\n? "
                                    "-a[i].b[1][2\n].c : g(1.5, \"s\", M.h(true)); }"));
        auto* stmt = static_cast<CStmt*>(plist_hd(function_of(calc)->stmts));
        return std::pair{written(calc.get()), calc_copy_expr(stmt->args.return_value)};
    };
    const auto [xml, copy] = copied();
    const CalcPtr calc(calc_import_from_string("namespace N { integer f(boolean i) = 1; }"));
    auto& value = static_cast<CStmt*>(plist_hd(function_of(calc)->stmts))->args.return_value;
    calc_delete_expr(std::exchange(value, copy));
    EXPECT_EQ(written(calc.get()), xml);
}

TEST(Calculation, FindsTheNamesOfAllStatementsButNotThoseOfIndices) {
    const CalcPtr calc(calc_import_from_string(
        "namespace N { integer f(boolean t, integer i) {"
        "  x := a.b[i]; if t then x; else e; switch s { case c: in_case; break; }"
        "  for (; limit;) break; do { } while 1; while not w w;"
        "  return M.g(1, arg) ? yes : -no; } }"));
    PolyList* stmts = function_of(calc)->stmts;
    auto* choice = static_cast<CStmt*>(plist_nth(stmts, 2));
    PolySet* names =
        pset_new(10, poly_compare_string, poly_copy_string, poly_hash_string, poly_delete_string);
    calc_find_free_vars(stmts, names);
    std::string found;
    PolySetIter iter;
    pset_iter_init(&iter, names);
    for (void* name; pset_iter_next(&iter, &name);)
        found += static_cast<char*>(name) + std::string(" ");
    EXPECT_EQ(found, "x ab t e s c in_case limit w arg yes no ");

    // Lists with these two are never handed in.
    CStmt* empty = calc_new_expr_stmt(nullptr, 1);
    plist_append(stmts, empty);
    EXPECT_EQ(thrown([&] { calc_find_free_vars(stmts, names); }), "1: expr");
    empty->args.expr = calc_new_intconst_expr(1, 1);
    calc_add_switch_default(choice, plist_new(nullptr, nullptr, nullptr));
    EXPECT_EQ(thrown([&] { calc_find_free_vars(stmts, names); }), "1: expr");
    PolyList* second = plist_new(nullptr, nullptr, nullptr);
    EXPECT_EQ(thrown([&] { calc_add_switch_default(choice, second); }),
              "1: switch_stmt->args.switch_args.default_case == NULL");
    plist_delete(second);

    pset_delete(names);
}

TEST(Calculation, UnknownTagsAreBrokenInvariants) {
    CExpr* expr = calc_new_intconst_expr(1, 1);
    expr->structure = static_cast<CExprStructure>(15);
    EXPECT_EQ(calc_copy_expr(expr), nullptr);
    EXPECT_EQ(thrown([&] { calc_delete_expr(expr); }),
              "1: Found invalid expression structure : 15");
    expr->structure = CEXPR_INT_CONST;
    EXPECT_EQ(thrown([&] { calc_add_call_argument(expr, expr); }),
              "1: call->structure == CEXPR_CALL");
    calc_delete_expr(expr);
    CStmt* stmt = calc_new_break_stmt(1);
    stmt->structure = static_cast<CStmtStructure>(15);
    EXPECT_EQ(thrown([&] { calc_delete_stmt(stmt); }), "1: Found invalid statement structure : 15");
    stmt->structure = CSTMT_BREAK;
    calc_delete_stmt(stmt);
    EXPECT_EQ(thrown([] { calc_opr2string(static_cast<COprType>(20)); }),
              "1: Invalid operator '20'");
    EXPECT_STREQ(calc_type2string(CTYPE_UNDEF), "undef");
}

} // namespace
} // namespace norvane::test
