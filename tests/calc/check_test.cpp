// The type check of calculations, and the catalogue of built-in functions.
#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "calc_builtins.h"
#include "norvane/base/items.hpp"
#include "support.h"

namespace norvane::test {
namespace {

// The text with every `from` replaced.
std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

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

    // "ns: f g; ns2: h"
    static std::string functions(const PolyHash* calc) {
        std::string result;
        PolyHashIter iter;
        phash_iter_init(&iter, calc);
        for (void* value; phash_iter_next(&iter, nullptr, &value);) {
            const auto* ns = static_cast<CNameSpace*>(value);
            EXPECT_EQ(phash_size(ns->functions), plist_length(ns->func_list));
            result += (result.empty() ? "" : "; ") + std::string(ns->name) + ":";
            for (CFunc* func : items<CFunc>(ns->func_list))
                result += std::string(" ") + func->name;
        }
        return result;
    }

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

// Trees that no reader makes. What is thrown leaves everything in order, and the next check works.
// A sink of the host that throws: the set, the table and the frames stay in order.
TEST_F(CalcCheckTest, ExceptionsOfASinkPass) {
    const CalcPtr calc = calculation("namespace N { integer f() { return true; } }");
    const TemporaryFolder folder;
    const std::string malformed = folder.write("a.clx", "<calculation><namespace/></calculation>");
    const auto expect_exception = [&](auto call) {
        const auto sink = [](ErrorType, ErrorInfo* error, void*) {
            err_delete(error);
            throw 1;
        };
        msg_set_error_sink(sink, nullptr);
        EXPECT_THROW(call(), int);
        msg_set_error_sink(nullptr, nullptr);
        EXPECT_EQ(__exception_last, nullptr);
    };
    expect_exception([&] { calc_check_functions(calc.get(), model_.table.get()); });
    expect_exception([&] { calc_import_from_xmlfile(malformed.c_str()); });
    EXPECT_EQ(functions(calc.get()), "N: f");
    EXPECT_EQ(plist_length(model_.table->local_table), 1u);
}

TEST_F(CalcCheckTest, BrokenTrees) {
    const auto number = [] { return calc_new_intconst_expr(1, 1); };
    const auto truth = [] { return calc_new_boolconst_expr(1, 1); };
    const auto empty = [] { return calc_new_expr_stmt(nullptr, 1); };
    const auto list = [] { return plist_new(nullptr, nullptr, nullptr); };
    const auto tag = [&](int structure) {
        CExpr* e = calc_new_unary_expr(COPR_MINUS, number(), 1);
        e->structure = static_cast<CExprStructure>(structure);
        return e;
    };
    const auto text_of = [&](CStmt* stmt, const std::function<void()>& repair) {
        const CalcPtr calc = calculation("namespace N { void f() { } void g() { } }");
        CFunc* func = calc_get_function(calc_get_namespace(calc.get(), "N"), "f");
        calc_add_function_stmt(func, stmt);
        const std::string output = run(calc.get());
        repair();
        return output;
    };
    // Sets what `slot` names to null for the check.
    const auto without = [&](CStmt* stmt, auto& slot) {
        auto* kept = slot;
        slot = nullptr;
        return text_of(stmt, [&slot, kept] { slot = kept; });
    };
    const auto with_expr = [&](CExpr* e, auto& slot) {
        return without(calc_new_expr_stmt(e, 1), slot);
    };

    CExpr* e = calc_new_lvar_expr(str_copy("a"), 1);
    EXPECT_EQ(with_expr(e, e->args.lvar_name), "1: e->args.lvar_name ");
    for (int operand = 0; operand < 3; ++operand) {
        e = calc_new_ite_expr(truth(), number(), number(), 1);
        CExpr** const slots[] = {&e->args.ite.cond, &e->args.ite.then_expr, &e->args.ite.else_expr};
        const char* const names[] = {"cond", "then_expr", "else_expr"};
        EXPECT_EQ(with_expr(e, *slots[operand]),
                  std::string("1: e->args.ite.") + names[operand] + " ");
    }
    e = tag(15);
    EXPECT_EQ(text_of(calc_new_expr_stmt(e, 1), [&] { e->structure = CEXPR_UOP; }),
              "1: Invalid expression structure ");
    EXPECT_EQ(text_of(calc_new_expr_stmt(calc_new_unary_expr(COPR_XOR, truth(), 1), 1), [] {}),
              "1: Invalid operator: xor  ");
    EXPECT_EQ(
        text_of(calc_new_expr_stmt(calc_new_binary_expr(COPR_NOT, truth(), truth(), 1), 1), [] {}),
        "1: Invalid operator: not  ");
    EXPECT_EQ(
        text_of(calc_new_expr_stmt(calc_new_binary_expr(COPR_ASSIGN, number(), number(), 1), 1),
                [] {}),
        "0 ERR_CALC_FNC: input string (1): Error in function 'N.f': Left-hand operand to "
        "assignment operator (':=') must be either a local variable or a product model "
        "variable\n");
    e = calc_new_binary_expr(COPR_PLUS, number(), number(), 1);
    EXPECT_EQ(
        with_expr(e, e->args.bop.right_arg),
        "0 ERR_CALC_FNC: input string (1): Error in function 'N.f': Right operand to '+' is of "
        "type undefined, it must be of numeric type\n");

    // Two operands that are missing are of one type.
    const auto without_operands = [&](COprType opr) {
        CExpr* bop = calc_new_binary_expr(opr, number(), number(), 1);
        CExpr* const left = std::exchange(bop->args.bop.left_arg, nullptr);
        CExpr* const right = std::exchange(bop->args.bop.right_arg, nullptr);
        return text_of(calc_new_expr_stmt(bop, 1), [=] {
            bop->args.bop.left_arg = left;
            bop->args.bop.right_arg = right;
        });
    };
    EXPECT_EQ(without_operands(COPR_EQ), "1 ");
    EXPECT_EQ(without_operands(COPR_ASSIGN),
              "0 ERR_CALC_FNC: input string (1): Error in function 'N.f': Left-hand operand to "
              "assignment operator (':=') must be either a local variable or a product model "
              "variable\n");
    const auto bits = [&] {
        CPMVar* pmvar = calc_new_pmvar(str_copy("bits"));
        calc_add_pmvar_arr_index(pmvar, number());
        return calc_new_pmvar_expr(pmvar, 1);
    };
    e = bits();
    EXPECT_EQ(with_expr(e, e->args.pmvar), "1: e->args.pmvar ");
    e = bits();
    EXPECT_EQ(with_expr(e, e->args.pmvar->arr_indices), "1: pmvar->arr_indices ");
    e = bits();
    EXPECT_EQ(with_expr(e, e->args.pmvar->arr_indices->first->element),
              "0 ERR_CALC_FNC: Error in function 'N.f': Array index is of type undefined, it must "
              "be of integer type\n");

// The assertion names the field that is null.
#define EXPECT_ASSERTED(make, field)                                                               \
    {                                                                                              \
        CStmt* stmt = make;                                                                        \
        EXPECT_EQ(without(stmt, stmt->args.field), "1: stmt->args." #field " ");                   \
    }
    EXPECT_ASSERTED(calc_new_ite_stmt(truth(), empty(), nullptr, 1), ite.cond);
    EXPECT_ASSERTED(calc_new_ite_stmt(truth(), empty(), nullptr, 1), ite.then_stmt);
    EXPECT_ASSERTED(calc_new_block_stmt(list(), 1), block_stmts);
    EXPECT_ASSERTED(calc_new_switch_stmt(number(), 1), switch_args.switch_value);
    EXPECT_ASSERTED(calc_new_switch_stmt(number(), 1), switch_args.cases);
    EXPECT_ASSERTED(calc_new_while_stmt(truth(), empty(), 1), while_args.cond);
    EXPECT_ASSERTED(calc_new_while_stmt(truth(), empty(), 1), while_args.stmt);
    EXPECT_ASSERTED(calc_new_do_stmt(truth(), empty(), 1), do_args.cond);
    EXPECT_ASSERTED(calc_new_do_stmt(truth(), empty(), 1), do_args.stmt);
    EXPECT_ASSERTED(calc_new_return_stmt(number(), 1), return_value);
    CStmt* s = calc_new_for_stmt(nullptr, nullptr, nullptr, empty(), 1);
    EXPECT_EQ(without(s, s->args.for_args.stmt), "1: stmt ");
    s = calc_new_switch_stmt(number(), 1);
    calc_add_switch_default(s, list());
    EXPECT_EQ(without(s, s->args.switch_args.default_case->stmts), "1: stmts ");
    s = calc_new_break_stmt(1);
    s->structure = static_cast<CStmtStructure>(15);
    EXPECT_EQ(text_of(s, [s] { s->structure = CSTMT_BREAK; }), "1: Invalid statement structure ");
    s = calc_new_switch_stmt(number(), 1);
    calc_add_switch_case(s, calc_new_case(nullptr, list()));
    EXPECT_EQ(text_of(s, [] {}),
              "0 ERR_CALC_FNC: Error in function 'N.f': Type mis-match: The type of the "
              "case-expression is integer while the type of the switch-condition is undefined\n");

    const CalcPtr calc = calculation("namespace N { void f() { } }");
    CFunc* func = calc_get_function(calc_get_namespace(calc.get(), "N"), "f");
    func->type = static_cast<CalcType>(7);
    calc_add_function_stmt(func, calc_new_return_stmt(number(), 1));
    EXPECT_EQ(run(calc.get()), "1: Invalid type: 7 ");

    for (const auto& call : {+[] { return calc_check_functions(nullptr, nullptr); },
                             +[] { return calc_check_function(nullptr, "N", nullptr, nullptr); }})
        EXPECT_NE(thrown(call), "");
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

// The driver's list of them shows the catalogue.
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

constexpr int longest = 1'000'000; // sum, which no parser limits
constexpr int depth = 200'000;

// Trees of any depth. A fault at the bottom unwinds all of it.
TEST_F(CalcCheckTest, DeepTreesInASmallStack) {
    const auto number = [] { return calc_new_intconst_expr(1, 1); };
    const auto truth = [] { return calc_new_boolconst_expr(1, 1); };
    const auto nobody = [] { return calc_new_pmvar_expr(calc_new_pmvar(str_copy("nobody")), 1); };
    const auto checked = [&](CStmt* stmt) {
        const CalcPtr calc = calculation("namespace N { void f() { } }");
        calc_add_function_stmt(calc_get_function(calc_get_namespace(calc.get(), "N"), "f"), stmt);
        return run(calc.get());
    };
    const auto nested = [&](CExpr* e, const std::function<CExpr*(CExpr*)>& around,
                            int levels = depth) {
        for (int i = 0; i < levels; ++i)
            e = around(e);
        return checked(calc_new_expr_stmt(e, 1));
    };
    const std::string fault =
        "0 ERR_CALC_FNC: input string (1): Error in function 'N.f': No product "
        "model variable named 'nobody'\n";
    with_small_stack([&] {
        const auto left = [&](CExpr* e) { return calc_new_binary_expr(COPR_PLUS, e, number(), 1); };
        EXPECT_EQ(nested(number(), left, longest), "1 ");
        EXPECT_EQ(nested(nobody(), left, longest), fault);
        EXPECT_EQ(nested(number(),
                         [&](CExpr* e) { return calc_new_binary_expr(COPR_PLUS, number(), e, 1); }),
                  "1 ");
        EXPECT_EQ(nested(truth(), [](CExpr* e) { return calc_new_unary_expr(COPR_NOT, e, 1); }),
                  "1 ");
        EXPECT_EQ(
            nested(number(), [&](CExpr* e) { return calc_new_ite_expr(truth(), number(), e, 1); }),
            "1 ");
        EXPECT_EQ(nested(number(),
                         [&](CExpr* e) {
                             PolyList* args = plist_new(nullptr, nullptr, [](void* arg) {
                                 calc_delete_expr(static_cast<CExpr*>(arg));
                             });
                             plist_append(args, e);
                             return calc_new_call_expr(str_copy("System"), str_copy("Abs"), args,
                                                       1);
                         }),
                  "1 ");
        EXPECT_EQ(nested(number(),
                         [&](CExpr* e) {
                             CPMVar* grid = calc_new_pmvar(str_copy("grid"));
                             calc_add_pmvar_arr_index(grid, number());
                             calc_add_pmvar_arr_index(grid, e);
                             return calc_new_pmvar_expr(grid, 1);
                         }),
                  "1 ");

        CStmt* chain = calc_new_expr_stmt(nobody(), 1);
        for (int i = 0; i < depth; ++i)
            chain = calc_new_ite_stmt(truth(), calc_new_break_stmt(1), chain, 1);
        EXPECT_EQ(checked(calc_new_while_stmt(truth(), chain, 1)), fault);
        CStmt* block = calc_new_expr_stmt(nullptr, 1);
        for (int i = 0; i < depth; ++i) {
            PolyList* stmts = plist_new(nullptr, nullptr, nullptr);
            plist_append(stmts, block);
            block = calc_new_block_stmt(stmts, 1);
        }
        EXPECT_EQ(checked(block), "1 ");

        CPMVar* path = nullptr;
        for (int i = 0; i < depth; ++i) {
            CPMVar* outer = calc_new_pmvar(str_copy(i + 1 < depth ? "SOME" : "maybe"));
            if (path != nullptr) calc_set_pmvar_nested(outer, path);
            path = outer;
        }
        EXPECT_EQ(
            checked(calc_new_expr_stmt(calc_new_pmvar_expr(path, 1), 1)),
            "0 ERR_CALC_FNC: input string (1): Error in function 'N.f': Product model variable "
            "'SOME' is not of product or optional type\n");
    });
}

// Everything that is looked up by name, in numbers that no walk of a list would live through.
TEST_F(CalcCheckTest, ManyNames) {
    constexpr int count = 100'000;
    std::string labels;
    for (int i = 0; i < count; ++i)
        labels += "\"{" + std::to_string(i) + "}label" + std::to_string(i) + "\", ";
    model_.table.reset();
    model_ = check("variable color : [" + labels + "last];");
    std::string source = "namespace A { void f(";
    for (int i = 0; i < count; ++i)
        source += (i == 0 ? "" : ", ") + std::string("integer a") + std::to_string(i);
    source += ") { ";
    for (int i = 0; i < count; ++i)
        source += "integer l" + std::to_string(i) + " := a" + std::to_string(i) + "; ";
    for (int i = 0; i < count; ++i)
        source += "l" + std::to_string(i) + " := 1; color := \"label" + std::to_string(i) + "\"; ";
    source += "} ";
    for (int i = 0; i < count; ++i)
        source += "integer f" + std::to_string(i) + "() = N" + std::to_string(i) + ".f(); ";
    source += "} ";
    for (int i = 0; i < count; ++i)
        source += "namespace N" + std::to_string(i) + " { integer f() = A.f" + std::to_string(i) +
                  "(); } ";
    EXPECT_EQ(run(source), "1 ");
}

} // namespace
} // namespace norvane::test
