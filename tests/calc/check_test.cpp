// The type check of calculations, and the catalogue of built-in functions.
#include "calc_builtins.h"
#include "calc_text.h"

namespace norvane::test {
namespace {

CalcPtr calculation(const std::string& source) {
    return CalcPtr(calc_import_from_string(source.c_str()));
}

class CalcCheckTest : public ::testing::Test {
  protected:
    void SetUp() override {
        model_ = check(test_data("calc/data/check/model.pm"));
        ASSERT_TRUE(model_.table);
    }

    // Checks a set and returns the result and the reports, or what was thrown. On every way out the
    // set and the table must be as they were.
    std::string run(PolyHash* calc) {
        const std::string before = functions(calc);
        Reports reports;
        int result = -1;
        const std::string failure =
            thrown([&] { result = calc_check_functions(calc, model_.table.get()); });
        EXPECT_EQ(functions(calc), before);
        EXPECT_EQ(plist_length(model_.table->local_table), 1u);
        return (failure.empty() ? std::to_string(result) : failure) + " " + reports.text();
    }
    std::string run(const std::string& source) { return run(calculation(source).get()); }

    Model model_;
};

TEST_F(CalcCheckTest, Expressions) {
    const std::string head = "namespace N { void f(integer i, integer j, float x, float y, string "
                             "s, string z, boolean b, boolean c) { return ";
    const std::string others = "; } } namespace Other { void nothing() { } integer zero() = 0; "
                               "float one(float p) = p; string two(integer p, string q) = q; }";
    const std::string mismatch = "Type mis-match: The type of the expression in the return "
                                 "statement is ";
    const auto type_or_report = [&](const std::string& expression) {
        std::string output = run(head + expression + others);
        output =
            replaced(output, "0 ERR_CALC_FNC: input string (1): Error in function 'N.f': ", "");
        if (output == "1 ") return std::string("void");
        if (!output.starts_with(mismatch)) return output;
        output.erase(0, mismatch.size());
        return output.substr(0, output.find(' '));
    };
    EXPECT_EQ(test_data_rerun("calc/data/check/expressions.txt", type_or_report),
              test_data("calc/data/check/expressions.txt"));
}

TEST_F(CalcCheckTest, FunctionsAndSets) {
    const auto reports = [&](const std::string& row) {
        const std::string source = replaced(row, "$", "\n");
        std::string output =
            run(row.starts_with("namespace") ? source : "namespace N { " + source + " }");
        for (int line = 1; line < 6; ++line) {
            const std::string number = std::to_string(line);
            output = replaced(output, "input string (" + number + "): Error in function 'N.f'",
                              "@" + number);
        }
        return output;
    };
    EXPECT_EQ(test_data_rerun("calc/data/check/functions.txt", reports),
              test_data("calc/data/check/functions.txt"));
}

// Labels are in the model's encoding, constants in UTF-8.
TEST_F(CalcCheckTest, LabelsAreComparedInTheEncodingOfTheModel) {
    model_.table.reset();
    model_ = check("variable color : [\"Gr\xFCn\", \"{1}\x80\"];");
    const std::string head = "namespace N { void f() { color = \"";
    EXPECT_EQ(run(head + "Gr\xFCn\"; color = \"\x80\"; } }"), "1 ");
    EXPECT_EQ(
        run(head + "Gr\xDCn\"; } }"),
        "0 ERR_CALC_FNC: input string (1): Error in function 'N.f': 'Gr\xDCn' is not a legal value "
        "for the variable 'color'\n");
}

TEST_F(CalcCheckTest, ReportsWithoutAPlace) {
    const CalcPtr calc(calc_new());
    CFunc* lineless = calc_new_func(str_copy("f"), CTYPE_INT, nullptr, "calc.cl", -1);
    CFunc* fileless = calc_new_func(str_copy("g"), CTYPE_INT, nullptr, nullptr, 3);
    calc_add_function_arg(lineless, calc_new_func_arg(str_copy("flag"), CTYPE_INT, 7));
    for (CFunc* func : {lineless, fileless}) {
        calc_add_function_stmt(func, calc_new_expr_stmt(calc_new_intconst_expr(1, 4), 4));
        calc_add_function(calc.get(), "N", func);
    }
    EXPECT_EQ(run(calc.get()),
              "0 warning ERR_CALC_PM_VAR_EXISTS: Local variable 'flag' in function 'N.f' shadows a "
              "product model variable\n"
              "ERR_CALC_FNC: calc.cl (4): Error in function 'N.f': The last statement of the "
              "function must be a 'return'-statement\n"
              "ERR_CALC_FNC: Error in function 'N.g': The last statement of the function must be a "
              "'return'-statement\n");
}

// Names of any length are cut to what a report holds.
TEST_F(CalcCheckTest, LongNames) {
    const std::string name(100'000, 'x');
    const std::string output =
        run("namespace " + name + " { void f() { " + name + "." + name + "; } }");
    EXPECT_TRUE(output.starts_with("0 ERR_CALC_FNC: input string (1): Error in function 'xxx"));
    EXPECT_LT(output.size(), 2100u);
}

// The field at this place of the first statement.
#define FIELD(field) [](CStmt* s) -> void* { return &s->args.field; }

// Trees that no reader makes. What is thrown leaves everything in order.
TEST_F(CalcCheckTest, TreesWithoutAPart) {
    const std::string fault = "0 ERR_CALC_FNC: input string (1): Error in function 'N.f': ";
    const struct {
        const char* source;
        void* (*place)(CStmt*); // of the part that is null during the check
        std::string expected;
    } rows[] = {
        {"integer a := 1; a;", FIELD(expr->args.lvar_name), "1: e->args.lvar_name "},
        {"1 + 2;", FIELD(expr->args.bop.right_arg),
         fault + "Right operand to '+' is of type undefined, it must be of numeric type\n"},
        {"bits[1];", FIELD(expr->args.pmvar->arr_indices), "1: pmvar->arr_indices "},
        {"bits[1];", FIELD(expr->args.pmvar->arr_indices->first->element),
         "0 ERR_CALC_FNC: Error in function 'N.f': Array index is of type undefined, it must be of "
         "integer type\n"},
        {"if true ;", FIELD(ite.cond), "1: stmt->args.ite.cond "},
        {"switch 1 { default: ; }", FIELD(switch_args.default_case->stmts), "1: stmts "},
        {"return 1;", FIELD(return_value), "1: stmt->args.return_value "},
        {"for (;;) ;", FIELD(for_args.stmt), "1: stmt "},
    };
    for (const auto& [source, place, expected] : rows) {
        const CalcPtr calc =
            calculation("namespace N { void f() { " + std::string(source) + " } }");
        CFunc* func = function_of(calc);
        void* const field = place(static_cast<CStmt*>(plist_hd(func->stmts)));
        void* part;
        std::memcpy(&part, field, sizeof part);
        std::memset(field, 0, sizeof part);
        EXPECT_EQ(run(calc.get()), expected) << source;
        std::memcpy(field, &part, sizeof part);
    }
}

TEST_F(CalcCheckTest, UnknownTags) {
    const CalcPtr calc = calculation("namespace N { integer f() { -1; 1 + 2; return 1; } }");
    CFunc* func = function_of(calc);
    auto* stmt = static_cast<CStmt*>(plist_hd(func->stmts));
    auto& sum = static_cast<CStmt*>(plist_nth(func->stmts, 1))->args.expr->args;
    const auto with = [&](auto& field, int value) {
        const auto before = field;
        field = static_cast<std::remove_reference_t<decltype(field)>>(value);
        const std::string output = run(calc.get());
        field = before;
        return output;
    };
    EXPECT_EQ(with(func->type, 7), "1: Invalid type: 7 ");
    EXPECT_EQ(with(stmt->structure, 15), "1: Invalid statement structure ");
    EXPECT_EQ(with(stmt->args.expr->structure, 15), "1: Invalid expression structure ");
    EXPECT_EQ(with(sum.bop.opr, COPR_NOT), "1: Invalid operator: not  ");
    EXPECT_EQ(with(sum.bop.opr, COPR_ASSIGN),
              "0 ERR_CALC_FNC: input string (1): Error in function 'N.f': Left-hand operand to "
              "assignment operator (':=') must be either a local variable or a product model "
              "variable\n");

    // Two missing operands count as having the same type.
    const auto kept = sum.bop;
    sum.bop = {COPR_EQ, nullptr, nullptr};
    EXPECT_EQ(run(calc.get()), "1 ");
    sum.bop = kept;
}

class CalcCheckOneTest : public CalcCheckTest {
  protected:
    // A function of no set.
    static CFunc* function(const std::string& source) {
        const CalcPtr calc = calculation("namespace N { " + source + " }");
        const CNameSpace* ns = calc_get_namespace(calc.get(), "N");
        ns->functions->delete_value = nullptr;
        return static_cast<CFunc*>(plist_hd(ns->func_list));
    }

    std::string run_one(CFunc* func, const char* ns_name, PolyHash* calc) {
        Reports reports;
        int result = -1;
        const std::string failure =
            thrown([&] { result = calc_check_function(func, ns_name, calc, model_.table.get()); });
        EXPECT_EQ(plist_length(model_.table->local_table), 1u);
        return (failure.empty() ? std::to_string(result) : failure) + " " + reports.text();
    }
};

TEST_F(CalcCheckOneTest, TheFunctionReplacesItsNamesakeAndStays) {
    const CalcPtr calc = calculation("namespace A { void f() { nobody; } void g() { nobody; } }");
    EXPECT_EQ(
        run_one(function("integer f(integer flag) = A.g();"), "A", calc.get()),
        "0 warning ERR_CALC_PM_VAR_EXISTS: input string (1): Local variable 'flag' in function "
        "'A.f' shadows a product model variable\n"
        "ERR_CALC_FNC: input string (1): Error in function 'A.f': Type mis-match: The type of the "
        "expression in the return statement is void while the type of the function is "
        "integer\n");
    EXPECT_EQ(functions(calc.get()), "A: g f");
    EXPECT_EQ(run_one(function("integer h() = System.Max(A.f(1), 2);"), "B.C", calc.get()), "1 ");
    EXPECT_EQ(functions(calc.get()), "A: g f; B.C: h");
    EXPECT_EQ(run_one(function("void i() { A.i(); f(); }"), "A", calc.get()), "1: ns_name ");
    EXPECT_EQ(functions(calc.get()), "A: g f i; B.C: h");

    // What is in the set already stays where it is.
    CFunc* present = calc_get_function(calc_get_namespace(calc.get(), "A"), "f");
    EXPECT_EQ(run_one(present, "A", calc.get()).front(), '0');
    EXPECT_EQ(functions(calc.get()), "A: g f i; B.C: h");
    EXPECT_EQ(calc_get_function(calc_get_namespace(calc.get(), "A"), "f"), present);
}

TEST_F(CalcCheckOneTest, NamespacesOfTheCatalogueAreRefusedAndDoNotLast) {
    const CalcPtr calc = calculation("namespace A { void f() { } }"
                                     "namespace System { string Max() = \"a\"; void own() { } }");
    CFunc* func = function("string g() { System.own(); return System.Max(); }");
    EXPECT_EQ(run_one(func, "String", calc.get()),
              "0 ERR_CALC_NS_NAME_RESERVED: 'String' is a reserved namespace name\n");
    EXPECT_EQ(functions(calc.get()), "A: f; System: Max own");
    EXPECT_EQ(
        run_one(func, "A", calc.get()),
        "1 ERR_CALC_FNC_REDEF: Multiple definitions of function 'Max' in namespace 'System'\n");
    EXPECT_EQ(functions(calc.get()), "A: f g");
}

// Each row of the catalogue is found by its name. (The driver prints the catalogue itself.)
TEST(CalcBuiltins, AreFoundByTheirNames) {
    for (const CFuncSignature* row = calculations::catalogue; row->ns_name != nullptr; ++row) {
        EXPECT_EQ(calc_get_build_in_func_signature(row->ns_name, row->fn_name), row);
        EXPECT_TRUE(calc_ns_name_is_reserved(row->ns_name));
    }

    for (const auto& [ns, fn] : {std::pair{"System", "max"},
                                 {"system", "Max"},
                                 {"", "System.Max"},
                                 {"System.Max", ""},
                                 {"", ""}})
        EXPECT_EQ(calc_get_build_in_func_signature(ns, fn), nullptr) << ns << "." << fn;
    const std::string name(5000, 'x');
    EXPECT_EQ(calc_get_build_in_func_signature(name.c_str(), name.c_str()), nullptr);
    EXPECT_EQ(thrown([] { calc_get_build_in_func_signature(nullptr, "f"); }), "1: ns_name");
    EXPECT_EQ(thrown([] { calc_get_build_in_func_signature("N", nullptr); }), "1: fn_name");
}

// 100,000 of everything that is looked up by name: a linear search would exceed the time limit.
TEST_F(CalcCheckTest, ManyNames) {
    const auto many = [](const std::string& text) {
        std::string result;
        for (int i = 0; i < 100'000; ++i)
            result += replaced(text, "#", std::to_string(i));
        return result;
    };
    model_.table.reset();
    model_ = check("variable color : [" + many("\"{#}label#\", ") + "last];");
    EXPECT_EQ(run("namespace A { void f(" + many("integer a#, ") + "integer a) { " +
                  many("integer l# := a#; ") + many("l# := 1; color := \"label#\"; ") + "} " +
                  many("integer f#() = N#.f(); ") + "} " +
                  many("namespace N# { integer f() = A.f#(); } ")),
              "1 ");
}

} // namespace
} // namespace norvane::test
