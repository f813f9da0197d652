// The printed form of calculations, on trees that are built by hand, since not all of them have a
// source. How statements are laid out is shown by the driver's tests.
#include <utility>

#include <gtest/gtest.h>

#include "poly_adaptors.h"
#include "support.h"

using namespace norvane::test;

namespace {

struct FunctionDeleter {
    void operator()(CFunc* func) const { calc_delete_func(func); }
};
using FunctionPtr = std::unique_ptr<CFunc, FunctionDeleter>;

std::string taken(UtilString* ustr) {
    std::string text(ustr->text, ustr->length);
    ustr_delete(ustr);
    return text;
}

PolyList* list(std::initializer_list<void*> elements) {
    PolyList* result = plist_new(nullptr, nullptr, nullptr);
    for (void* element : elements)
        plist_append(result, element);
    return result;
}

CExpr* local(const char* name) {
    return calc_new_lvar_expr(str_copy(name), 1);
}
CExpr* number(int value) {
    return calc_new_intconst_expr(value, 1);
}
CExpr* text(const char* value) {
    return calc_new_stringconst_expr(str_copy(value), 1, true);
}
CExpr* binary(COprType opr, CExpr* left, CExpr* right) {
    return calc_new_binary_expr(opr, left, right, 1);
}
CExpr* unary(COprType opr, CExpr* operand) {
    return calc_new_unary_expr(opr, operand, 1);
}
CExpr* assign(const char* name, CExpr* value) {
    return binary(COPR_ASSIGN, local(name), value);
}
CExpr* call(const char* ns_name, const char* fname, std::initializer_list<CExpr*> arguments) {
    PolyList* args = plist_new(nullptr, nullptr, norvane::poly<calc_delete_expr>);
    CExpr* result = calc_new_call_expr(str_null_copy(ns_name), str_copy(fname), args, 1);
    for (CExpr* argument : arguments)
        calc_add_call_argument(result, argument);
    return result;
}
CStmt* just(CExpr* expr) {
    return calc_new_expr_stmt(expr, 1);
}
CStmt* block(std::initializer_list<void*> stmts) {
    return calc_new_block_stmt(list(stmts), 1);
}

FunctionPtr function(CalcType type, std::initializer_list<CStmt*> stmts) {
    FunctionPtr func(calc_new_func(str_copy("f"), type, nullptr, nullptr, 1));
    for (CStmt* stmt : stmts)
        calc_add_function_stmt(func.get(), stmt);
    return func;
}

std::string printed(CExpr* expr) {
    const FunctionPtr func = function(CTYPE_INT, {calc_new_return_stmt(expr, 1)});
    const std::string code = taken(calc_prt_function_code(func.get(), 0));
    constexpr std::size_t before = sizeof "{\n  return " - 1, behind = sizeof ";\n}\n" - 1;
    return code.substr(before, code.size() - before - behind);
}

// The statement, in a function that stands at the left edge.
std::string printed(CStmt* stmt) {
    const FunctionPtr func = function(CTYPE_VOID, {stmt});
    const std::string code = taken(calc_prt_function_code(func.get(), 0));
    return code.substr(2, code.size() - 4);
}

CExpr* path() {
    CPMVar* head = calc_new_pmvar(str_copy("a"));
    CPMVar* nested = calc_new_pmvar(str_copy("b"));
    calc_add_pmvar_arr_index(head, number(1));
    calc_add_pmvar_arr_index(head, binary(COPR_PLUS, local("i"), number(2)));
    calc_set_pmvar_nested(head, nested);
    calc_set_pmvar_nested(nested, calc_new_pmvar(str_copy("c")));
    return calc_new_pmvar_expr(head, 1);
}

} // namespace

TEST(PrintedCalculations, BracketBinaryExpressionsAndNoOthers) {
    const struct {
        CExpr* expr;
        const char* text;
    } rows[] = {
        {local("x"), "x"},
        {path(), "a[1][(i + 2)].b.c"},
        {number(-2147483647 - 1), "-2147483648"},
        {calc_new_floatconst_expr(2, 1), "2.0"},
        {calc_new_floatconst_expr(1e21, 1), "1000000000000000000000.0"},
        {calc_new_boolconst_expr(1, 1), "true"},
        {calc_new_boolconst_expr(0, 1), "false"},
        {text(""), "\"\""},
        {text("a \"b\" \\ \n\r\t"), "\"a \\\"b\\\" \\\\ \\n\\r\\t\""},
        {text("\xC3\xA4 \xE2\x82\xAC \xCE\xB1 \xFF"), "\"\xE4 \x80 ? ?\""},
        {unary(COPR_NOT, binary(COPR_EQ, local("a"), local("b"))), "not (a = b)"},
        {unary(COPR_MINUS, unary(COPR_MINUS, number(1))), "- - 1"},
        {binary(COPR_MULT, unary(COPR_MINUS, local("a")), local("b")), "(- a * b)"},
        {assign("x", binary(COPR_PLUS, number(1), binary(COPR_MULT, number(2), number(3)))),
         "(x := (1 + (2 * 3)))"},
        {calc_new_ite_expr(local("a"), number(1), unary(COPR_MINUS, number(2)), 1),
         "( a ? 1 : - 2)"},
        {call("N.M", "f", {}), "N.M.f()"},
        {call("N", "f", {number(1), call(nullptr, "g", {text(",")})}), "N.f(1, .g(\",\"))"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(printed(row.expr), row.text);

    std::string operators;
    for (int opr = COPR_MINUS; opr <= COPR_ASSIGN; ++opr)
        operators += printed(binary(static_cast<COprType>(opr), local("a"), local("b")));
    EXPECT_EQ(operators, "(a - b)(a = b)(a < b)(a > b)(a <> b)(a >= b)(a <= b)(a + b)(a * b)"
                         "(a / b)(a % b)(a ^ b)(a and b)(a or b)(a xor b)(a -> b)(a <-> b)(a | b)"
                         "(a := b)");
}

TEST(PrintedCalculations, IndentCodeAsFarAsTheyAreAsked) {
    const FunctionPtr func = function(CTYPE_VOID, {calc_new_do_stmt(local("a"), block({}), 1)});
    EXPECT_EQ(taken(calc_prt_function_code(func.get(), 40)),
              std::string(40, ' ') + "{\n" + std::string(42, ' ') + "do\n\n" +
                  std::string(44, ' ') + "{\n" + std::string(44, ' ') + "}\nwhile a;\n" +
                  std::string(40, ' ') + "}\n");
}

TEST(PrintedCalculations, HaveHeadersLocalsAndExternalFunctions) {
    FunctionPtr plain = function(CTYPE_VOID, {});
    EXPECT_EQ(taken(calc_prt_function(plain.get(), 2)), "  void f()\n  {\n  }\n");
    EXPECT_EQ(taken(calc_prt_function_header(plain.get(), 0)), "void f()\n");

    FunctionPtr full(calc_new_func(str_copy("full"), CTYPE_FLOAT,
                                   binary(COPR_PLUS, local("a"), number(1)), "file.cl", 3));
    calc_add_function_arg(full.get(), calc_new_func_arg(str_copy("a"), CTYPE_INT, 3));
    calc_add_function_arg(full.get(), calc_new_func_arg(str_copy("b"), CTYPE_BOOL, 3));
    calc_add_function_vardef(full.get(),
                             calc_new_func_lvar(str_copy("s"), CTYPE_STRING, text("x"), 4));
    calc_add_function_vardef(full.get(), calc_new_func_lvar(str_copy("n"), CTYPE_INT, nullptr, 5));
    calc_add_function_stmt(full.get(), calc_new_return_stmt(local("a"), 6));
    const std::string header = "  float full(integer a, boolean b) | (a + 1)\n";
    const std::string code =
        "  {\n    string s := \"x\";\n    integer n := ;\n    return a;\n  }\n";
    EXPECT_EQ(taken(calc_prt_function_header(full.get(), 2)), header);
    EXPECT_EQ(taken(calc_prt_function_code(full.get(), 2)), code);
    EXPECT_EQ(taken(calc_prt_function(full.get(), 2)), header + code);

    FunctionPtr external = function(CTYPE_STRING, {calc_new_external_stmt("a \"b\" \\", 1)});
    const std::string external_text = "  string f()\n  : external \"a \"b\" \\\";\n";
    EXPECT_EQ(taken(calc_prt_function(external.get(), 2)), external_text);

    const CalcPtr calc(calc_new());
    EXPECT_EQ(taken(calc_prt(calc.get())), "");
    calc_add_namespace(calc.get(), "Z.9");
    calc_add_function(calc.get(), "A", full.release());
    calc_add_function(calc.get(), "A", external.release());
    calc_add_function(calc.get(), "Z.9", plain.release());
    const std::string all = "namespace Z.9 {\n  void f()\n  {\n  }\n}\nnamespace A {\n" + header +
                            code + external_text + "}\n";
    EXPECT_EQ(taken(calc_prt(calc.get())), all);
    EXPECT_EQ(on_stream([&](FILE* stream) { calc_to_file(calc.get(), stream); }), all);
}

TEST(PrintedCalculations, StopOnWhatIsNoTree) {
    const FunctionPtr func = function(CTYPE_INT, {calc_new_return_stmt(number(1), 1)});
    const FunctionPtr external = function(CTYPE_INT, {calc_new_external_stmt("", 1)});
    const CalcPtr calc(calc_new());
    CStmt* stmt = static_cast<CStmt*>(plist_hd(func->stmts));
    CExpr* expr = stmt->args.return_value;
    const auto with = [&](auto& field, auto value, const std::function<void()>& body) {
        const auto before = std::exchange(field, value);
        body();
        field = before;
    };
    const auto failure = [&](const FunctionPtr& f, int n_indent) {
        return thrown([&] { calc_prt_function(f.get(), n_indent); });
    };
    EXPECT_EQ(thrown([] { calc_prt(nullptr); }), "1: calc");
    EXPECT_EQ(thrown([] { calc_to_file(nullptr, stdout); }), "1: calc");
    EXPECT_EQ(thrown([&] { calc_to_file(calc.get(), nullptr); }), "1: file");
    EXPECT_EQ(thrown([] { calc_prt_function(nullptr, 0); }), "1: func");
    EXPECT_EQ(failure(func, -1), "1: n_indent >= 0");
    EXPECT_EQ(thrown([&] { calc_prt_function_code(external.get(), 0); }), "1: false");
    with(func->stmts, nullptr, [&] { EXPECT_EQ(failure(func, 0), "1: f->stmts"); });
    with(stmt->structure, static_cast<CStmtStructure>(10),
         [&] { EXPECT_EQ(failure(func, 0), "1: false"); });
    with(expr->structure, static_cast<CExprStructure>(10),
         [&] { EXPECT_EQ(failure(func, 0), "1: Found invalid expression structure : 10"); });
}

TEST(PrintedCalculations, MayBeDeep) {
    constexpr int depth = 1000000;
    with_small_stack([] {
        CExpr* sum = local("a");
        for (int i = 0; i < depth; ++i)
            sum = binary(COPR_PLUS, sum, unary(COPR_MINUS, number(1)));
        const std::string expected = std::string(depth, '(') + "a";
        const std::string actual = printed(sum);
        EXPECT_EQ(actual.size(), expected.size() + depth * (sizeof " + - 1)" - 1));
        EXPECT_EQ(actual.substr(0, expected.size() + 7), expected + " + - 1)");

        CStmt* nested = just(nullptr);
        for (int i = 0; i < 5000; ++i)
            nested = calc_new_while_stmt(number(1), nested, 1);
        const std::string whiles = printed(nested);
        EXPECT_EQ(whiles.substr(whiles.size() - 10004), std::string(10002, ' ') + ";\n");
    });
}
