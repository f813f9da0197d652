// The printed form of what no source of the driver's tests has: trees that are built by hand, each
// operator, and functions one by one. How statements are laid out is shown there.
#include "calc_text.h"

namespace norvane::test {
namespace {

std::string taken(UtilString* ustr) {
    std::string text(ustr->text, ustr->length);
    ustr_delete(ustr);
    return text;
}

TEST(PrintedCalculations, BracketBinaryExpressionsAndNoOthers) {
    const CalcPtr calc(calc_import_from_string(
        "namespace N { void f() = N.M.f(a[1][i + 2].b.c, 1000000000000000000000.0, false, \"\","
        "\"a \\\"b\\\" \\\\ \\n\\r\\t\", not (a = b), - -1, -a * b, x := 1 + 2 * 3, a ? 1 : -2,"
        "a - b, a = b, a < b, a > b, a <> b, a >= b, a <= b, a + b, a * b, a / b, a % b, a ^ b,"
        "a and b, a or b, a xor b, a -> b, a <-> b, a | b); }"));
    CFunc* func = function_of(calc, "f");
    CExpr* call = static_cast<CStmt*>(plist_hd(func->stmts))->args.return_value;
    calc_add_call_argument(call, calc_new_intconst_expr(-2147483647 - 1, 1));
    calc_add_call_argument(
        call, calc_new_stringconst_expr(str_copy("\xC3\xA4 \xE2\x82\xAC \xCE\xB1 \xFF"), 1, true));
    PolyList* no_arguments = plist_new(nullptr, nullptr, nullptr);
    calc_add_call_argument(call, calc_new_call_expr(nullptr, str_copy("g"), no_arguments, 1));
    EXPECT_EQ(taken(calc_prt_function_code(func, 1)),
              " {\n   return N.M.f(a[1][(i + 2)].b.c, 1000000000000000000000.0, false, \"\", "
              "\"a \\\"b\\\" \\\\ \\n\\r\\t\", not (a = b), - - 1, - (a * b), "
              "(x := (1 + (2 * 3))), ( a ? 1 : - 2), "
              "(a - b), (a = b), (a < b), (a > b), (a <> b), (a >= b), (a <= b), (a + b), "
              "(a * b), (a / b), (a % b), (a ^ b), (a and b), (a or b), (a xor b), (a -> b), "
              "(a <-> b), (a | b), -2147483648, \"\xE4 \x80 ? ?\", .g());\n }\n");
}

TEST(PrintedCalculations, HaveHeadersLocalsAndExternalFunctions) {
    const CalcPtr calc(calc_import_from_string(
        "namespace N { float full(integer a, boolean b) | a + 1 { string s := \"x\"; return a; }"
        "string g() : external \"a \\\"b\\\" \\\\\"; }"));
    CFunc* full = function_of(calc, "full");
    calc_add_function_vardef(full, calc_new_func_lvar(str_copy("n"), CTYPE_INT, nullptr, 5));
    const std::string header = "  float full(integer a, boolean b) | (a + 1)\n";
    const std::string code =
        "  {\n    string s := \"x\";\n    integer n := ;\n    return a;\n  }\n";
    const std::string external = "  string g()\n  : external \"a \"b\" \\\";\n";
    EXPECT_EQ(taken(calc_prt_function_header(full, 2)), header);
    EXPECT_EQ(taken(calc_prt_function_code(full, 2)), code);
    EXPECT_EQ(taken(calc_prt_function(full, 2)), header + code);
    const std::string all = "namespace N {\n" + header + code + external + "}\n";
    EXPECT_EQ(taken(calc_prt(calc.get())), all);
    EXPECT_EQ(on_stream([&](FILE* stream) { calc_to_file(calc.get(), stream); }), all);

    CStmt* stmt = static_cast<CStmt*>(plist_hd(full->stmts));
    CExpr* expr = stmt->args.return_value;
    const auto failure = [&](auto& field, int value) {
        const auto before =
            std::exchange(field, static_cast<std::remove_reference_t<decltype(field)>>(value));
        const std::string text = thrown([&] { calc_prt_function(full, 0); });
        field = before;
        return text;
    };
    EXPECT_EQ(failure(stmt->structure, 10), "1: false");
    EXPECT_EQ(failure(expr->structure, 10), "1: Found invalid expression structure : 10");
    EXPECT_EQ(thrown([&] { calc_prt_function_code(function_of(calc, "g"), 0); }), "1: false");
    EXPECT_EQ(thrown([&] { calc_prt_function(full, -1); }), "1: n_indent >= 0");
}

} // namespace
} // namespace norvane::test
