// Calculations as XML: what is written, whole and valid by its document type; what is read, with
// its lines and its refusals, in blocks of any size; packages; round trips; and documents that are
// hostile by their shape.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <malloc.h>
#include <unistd.h>

#include "calc_import_internal.h"
#include "norvane/base/items.hpp"
#include "support.h"
#include "xml_files.h"

namespace norvane::test {
namespace {

struct CalcDeleter {
    void operator()(PolyHash* c) const { calc_delete(c); }
};
using CalcPtr = std::unique_ptr<PolyHash, CalcDeleter>;

// The tree with the lines that are known, as "KIND@LINE".

std::string at(int line) {
    return line == CALC_UNDEF_LINENO ? "" : "@" + std::to_string(line);
}

template <typename T, typename Print>
std::string tree_list(const PolyList* list, Print print) {
    std::string text;
    for (const T* item : items<T>(list))
        text += (text.empty() ? "" : ", ") + print(item);
    return text;
}

std::string tree(const CExpr* expr);

std::string exprs(const PolyList* list) {
    return tree_list<CExpr>(list, [](const CExpr* e) { return tree(e); });
}

std::string tree(const CPMVar* pmvar) {
    std::string text = pmvar->name;
    if (!plist_isempty(pmvar->arr_indices)) text += "[" + exprs(pmvar->arr_indices) + "]";
    return pmvar->nested ? text + "." + tree(pmvar->nested) : text;
}

std::string tree(const CExpr* expr) {
    if (!expr) return "-";
    const auto& args = expr->args;
    const std::string line = at(expr->line_no);
    switch (expr->structure) {
    case CEXPR_LVAR: return "lvar" + line + " " + args.lvar_name;
    case CEXPR_PMVAR: return "pmvar" + line + " " + tree(args.pmvar);
    case CEXPR_INT_CONST: return "int" + line + " " + std::to_string(args.int_value);
    case CEXPR_FLOAT_CONST: return "float" + line + " " + util_double_to_str(args.float_value);
    case CEXPR_STRING_CONST: return "string" + line + " '" + args.string_value + "'";
    case CEXPR_BOOL_CONST: return "bool" + line + " " + std::to_string(args.bool_value);
    case CEXPR_UOP: return calc_opr2string(args.uop.opr) + line + "(" + tree(args.uop.arg) + ")";
    case CEXPR_BOP:
        return calc_opr2string(args.bop.opr) + line + "(" + tree(args.bop.left_arg) + ", " +
               tree(args.bop.right_arg) + ")";
    case CEXPR_ITE:
        return "if" + line + "(" + tree(args.ite.cond) + ", " + tree(args.ite.then_expr) + ", " +
               tree(args.ite.else_expr) + ")";
    case CEXPR_CALL:
        return "call" + line + " " + (args.call.ns_name ? args.call.ns_name : "-") + "." +
               args.call.fname + "(" + exprs(args.call.args) + ")";
    }
    return "?";
}

std::string tree(const CStmt* stmt);

std::string stmts(const PolyList* list) {
    return "{" + tree_list<CStmt>(list, [](const CStmt* s) { return tree(s); }) + "}";
}

std::string tree(const CCase* branch) {
    return tree(branch->expr) + ": " + stmts(branch->stmts);
}

std::string tree(const CStmt* stmt) {
    const auto& args = stmt->args;
    const std::string line = at(stmt->line_no);
    switch (stmt->structure) {
    case CSTMT_ITE:
        return "if" + line + "(" + tree(args.ite.cond) + ") " + tree(args.ite.then_stmt) +
               (args.ite.else_stmt ? " else " + tree(args.ite.else_stmt) : "");
    case CSTMT_BLOCK: return "block" + line + stmts(args.block_stmts);
    case CSTMT_EXPR: return "expr" + line + " " + tree(args.expr);
    case CSTMT_SWITCH:
        return "switch" + line + "(" + tree(args.switch_args.switch_value) + ") " +
               tree_list<CCase>(args.switch_args.cases, [](const CCase* c) { return tree(c); }) +
               (args.switch_args.default_case ? "; " + tree(args.switch_args.default_case) : "");
    case CSTMT_WHILE:
        return "while" + line + "(" + tree(args.while_args.cond) + ") " +
               tree(args.while_args.stmt);
    case CSTMT_DO:
        return "do" + line + " " + tree(args.do_args.stmt) + " while(" + tree(args.do_args.cond) +
               ")";
    case CSTMT_FOR:
        return "for" + line + "(" + tree(args.for_args.init) + "; " + tree(args.for_args.cond) +
               "; " + tree(args.for_args.incr) + ") " + tree(args.for_args.stmt);
    case CSTMT_RETURN: return "return" + line + " " + tree(args.return_value);
    case CSTMT_BREAK: return "break" + line;
    case CSTMT_EXTERNAL: return "external" + line + " '" + args.external_ref + "'";
    }
    return "?";
}

std::string tree(const CFunc* func) {
    std::string text = calc_type2string(func->type) + (" " + std::string(func->name)) + "(";
    text += tree_list<CFuncArg>(func->args, [](const CFuncArg* a) {
        return calc_type2string(a->type) + (" " + std::string(a->name)) + at(a->line_no);
    });
    text += ")" + at(func->line_no);
    if (func->filename) text += " of '" + std::string(func->filename) + "'";
    if (func->def_value) text += " default " + tree(func->def_value);
    for (const CFuncLVar* v : items<CFuncLVar>(func->vardefs))
        text += " var " + std::string(calc_type2string(v->type)) + " " + v->name + at(v->line_no) +
                " := " + tree(v->init);
    return text + " " + stmts(func->stmts);
}

std::string tree(const PolyHash* calc) {
    std::string text = "calculation";
    PolyHashIter iter;
    phash_iter_init(&iter, calc);
    for (void* value; phash_iter_next(&iter, nullptr, &value);) {
        const auto* ns = static_cast<CNameSpace*>(value);
        text += "; " + std::string(ns->name) + ": " +
                tree_list<CFunc>(ns->func_list, [](const CFunc* f) { return tree(f); });
    }
    return text;
}

// Reading from memory, in blocks of at most `block` bytes.

struct Bytes {
    const std::string* text;
    std::size_t block;
    std::size_t at;
};

std::size_t read_bytes(void* user, void* buffer, std::size_t size, bool* at_end) {
    auto* bytes = static_cast<Bytes*>(user);
    const std::size_t count = std::min({size, bytes->block, bytes->text->size() - bytes->at});
    std::memcpy(buffer, bytes->text->data() + bytes->at, count);
    bytes->at += count;
    *at_end = bytes->at == bytes->text->size();
    return count;
}

CalcPtr read(const std::string& xml, std::size_t block = 2048) {
    Bytes bytes{&xml, block, 0};
    ExceptionState state;
    bool is_thrown;
    CalcPtr calc(calc_import_from_source({read_bytes, &bytes, "FILE"}, &state, &is_thrown));
    if (is_thrown) except_rethrow(&state);
    return calc;
}

// Everything that the reading of a document tells: the reports, then the tree, if there is one.
std::string outcome(const std::string& xml, std::size_t block) {
    const Reports reports;
    CalcPtr calc;
    const std::string failure = thrown([&] { calc = read(xml, block); });
    return reports.text() + (failure.empty() ? "" : "threw " + failure) +
           (calc ? tree(calc.get()) : "");
}

// "<e>...</e>" in a row stands for the body of a function, "<x>...</x>" for the expression of its
// only statement, and "^" for a line feed.
std::string document(std::string row) {
    const auto replace = [&](const std::string& from, const std::string& to) {
        const std::size_t place = row.find(from);
        if (place != row.npos) row.replace(place, from.size(), to);
    };
    const std::string head =
        "<calculation><namespace name=\"N\"><function name=\"f\" type=\"int\">";
    const std::string tail = "</function></namespace></calculation>";
    replace("<e>", head);
    replace("</e>", tail);
    replace("<x>", head + "<stmt><return_stmt><expr>");
    replace("</x>", "</expr></return_stmt></stmt>" + tail);
    std::replace(row.begin(), row.end(), '^', '\n');
    return row;
}

void expect_outcomes(const std::string& path) {
    const std::string expected = test_data(path);
    for (const std::size_t block : {2048u, 1u, 2u, 3u, 4u, 5u})
        EXPECT_EQ(test_data_rerun(
                      path, [&](const std::string& row) { return outcome(document(row), block); }),
                  expected)
            << "in blocks of " << block;
}

std::string written(PolyHash* calc, int line_info) {
    char* text = nullptr;
    std::size_t size = 0;
    FILE* stream = open_memstream(&text, &size);
    calc_export_to_stream(stream, calc, line_info);
    fclose(stream);
    std::string result(text, size);
    std::free(text);
    return result;
}

TEST(CalcXml, WhatIsReadIsTheTreeWithTheLinesOfTheWrappers) {
    expect_outcomes("calc/data/xml/reads.txt");
}

TEST(CalcXml, WhatIsRefusedIsReportedOnceAndLeavesNothing) {
    expect_outcomes("calc/data/xml/refusals.txt");
}

// A file with every element, as the writer lays it out.
TEST(CalcXml, WhatIsWrittenIsWhatWasRead) {
    const TemporaryFolder folder;
    const std::string xml = test_data("calc/data/xml/every_construct.clx");
    const std::string path = folder.write("every.clx", xml);
    EXPECT_EQ(validity(path), "");
    const CalcPtr calc(calc_import_from_xmlfile(path.c_str()));
    ASSERT_TRUE(calc);
    EXPECT_EQ(written(calc.get(), 1), xml);

    // Without lines, and nothing of them comes back.
    const std::string bare = folder.path() + "/bare.clx";
    ASSERT_EQ(calc_export_to_file(bare.c_str(), calc.get(), 0), 0);
    EXPECT_EQ(validity(bare), "");
    const CalcPtr back(calc_import_from_xmlfile(bare.c_str()));
    ASSERT_TRUE(back);
    EXPECT_EQ(tree(back.get()).find('@'), std::string::npos);
    EXPECT_EQ(written(back.get(), 1), read_file(bare));
}

CFunc* function(PolyHash* calc, CStmt* stmt) {
    CFunc* func = calc_new_func(str_copy("f"), CTYPE_VOID, nullptr, "f.cl", CALC_UNDEF_LINENO);
    calc_add_function_stmt(func, stmt);
    calc_add_function(calc, "N", func);
    return func;
}

PolyList* no_args() {
    return plist_new(nullptr, nullptr, nullptr);
}

TEST(CalcXml, WritingFillsInWhatTheLanguageLeavesOut) {
    const CalcPtr calc(calc_new());
    calc_add_namespace(calc.get(), "Empty");
    CExpr* call = calc_new_call_expr(nullptr, str_copy("g"), no_args(), 5);
    CFunc* func = function(calc.get(), calc_new_expr_stmt(call, 4));
    for (const CalcType type : {CTYPE_BOOL, CTYPE_INT, CTYPE_FLOAT, CTYPE_STRING})
        calc_add_function_vardef(
            func, calc_new_func_lvar(str_copy(calc_type2string(type)), type, nullptr, 3));
    const std::string xml = written(calc.get(), 1);
    EXPECT_NE(xml.find("<namespace name=\"Empty\"/>"), std::string::npos);
    EXPECT_EQ(xml.find("filename"), std::string::npos) << "not without a line";
    EXPECT_EQ(tree(read(xml).get()),
              "calculation; N: void f() var boolean boolean@3 := bool@3 0 var integer integer@3 := "
              "int@3 0 var float float@3 := float@3 0.0 var string string@3 := string@3 '' "
              "{expr@4 call@5 N.g()}");
    EXPECT_EQ(tree(func).find("-"), tree(func).find("-.g")) << "the locals changed in the tree";
}

TEST(CalcXml, TextsPassThroughTheCodePage) {
    const CalcPtr calc(calc_new());
    const std::string latin = "\xC3\xA6\xC3\xB8 \t\n\r<&>\"'";
    const std::string text = latin + "\xE2\x98\x80";
    CExpr* constant = calc_new_stringconst_expr(str_copy(text.c_str()), 1, true);
    CFunc* func = function(calc.get(), calc_new_return_stmt(constant, 1));
    func->line_no = 1;
    calc_add_function_stmt(func, calc_new_external_stmt("lib\xE6::f", 1));
    for (const double number : {0.1, 1e300, 5e-324, HUGE_VAL, -0.0})
        calc_add_function_vardef(func, calc_new_func_lvar(str_copy("\xF8"), CTYPE_FLOAT,
                                                          calc_new_floatconst_expr(number, 1), 1));
    const std::string xml = written(calc.get(), 1);
    EXPECT_NE(xml.find("\xE2\x98\x80"), std::string::npos);
    EXPECT_NE(xml.find("lib\xC3\xA6::f"), std::string::npos);
    const CalcPtr back = read(xml);
    std::string expected = tree(func);
    expected.replace(expected.find("\xE2\x98\x80"), 3, "?");
    EXPECT_EQ(tree(back.get()), "calculation; N: " + expected);
    const std::string again = written(back.get(), 1);
    EXPECT_EQ(written(read(again).get(), 1), again);
}

TEST(CalcXml, BrokenTreesStopTheWriterBeforeTheFileIsTouched) {
    const TemporaryFolder folder;
    const std::string path = folder.write("a.clx", "untouched");
    const CalcPtr calc(calc_new());
    CExpr* leaf = calc_new_boolconst_expr(1, 1);
    CExpr* expr = calc_new_unary_expr(COPR_NOT, leaf, 1);
    CStmt* stmt = calc_new_return_stmt(expr, 1);
    CFunc* func = function(calc.get(), stmt);
    CFuncLVar* lvar =
        calc_new_func_lvar(str_copy("v"), CTYPE_VOID, calc_new_boolconst_expr(1, 1), 1);
    calc_add_function_vardef(func, lvar);
    EXPECT_EQ(calc_export_to_file((folder.path() + "/b.clx").c_str(), calc.get(), 1), 0);

    const auto failure = [&](auto& field, auto value) {
        const auto before = field;
        field = static_cast<std::remove_reference_t<decltype(field)>>(value);
        const std::string text = thrown([&] { calc_export_to_file(path.c_str(), calc.get(), 1); });
        field = before;
        return text;
    };
    EXPECT_EQ(failure(func->type, 0), "1: Found invalid calculational type : 0");
    EXPECT_EQ(failure(func->type, 6), "1: Found invalid calculational type : 6");
    CExpr* const init = lvar->init;
    lvar->init = nullptr;
    EXPECT_EQ(failure(lvar->type, CTYPE_VOID), "1: Found invalid calculational type : 5");
    lvar->init = init;
    EXPECT_EQ(failure(expr->args.uop.opr, 20), "1: Found invalid operator : 20");
    EXPECT_EQ(failure(leaf->structure, 10), "1: Found invalid expression structure : 10");
    EXPECT_EQ(failure(stmt->structure, 10), "1: Found invalid statement structure : 10");
    EXPECT_EQ(read_file(path), "untouched");

    EXPECT_EQ(thrown([&] { calc_export_to_file(nullptr, calc.get(), 1); }), "1: filename");
    EXPECT_EQ(thrown([&] { calc_export_to_stream(nullptr, calc.get(), 1); }), "1: out");
    EXPECT_EQ(thrown([&] { calc_export_to_stream(stdout, nullptr, 1); }), "1: calc");
    EXPECT_EQ(thrown([&] { calc_import_from_xmlfile(nullptr); }), "1: path");
}

// A file that cannot be opened is all that is told, and the tree stays as it was.
TEST(CalcXml, NothingIsFilledInForAFileThatCannotBeOpened) {
    const CalcPtr calc(calc_new());
    CFunc* func = function(calc.get(), calc_new_break_stmt(1));
    CFuncLVar* lvar = calc_new_func_lvar(str_copy("v"), CTYPE_INT, nullptr, 1);
    calc_add_function_vardef(func, lvar);
    const Reports reports;
    EXPECT_EQ(calc_export_to_file("/nowhere/a.clx", calc.get(), 1), -1);
    EXPECT_EQ(lvar->init, nullptr);
    lvar->type = CTYPE_VOID; // which has no zero
    EXPECT_EQ(thrown([&] { calc_export_to_file("/nowhere/a.clx", calc.get(), 1); }), "");
    EXPECT_EQ(reports.names(), "ERR_FILE_OPEN_WRITE ERR_FILE_OPEN_WRITE");
}

TEST(CalcXml, TheNameOfAMinusIsTheStandardOutputWhichStaysOpen) {
    const TemporaryFolder folder;
    const std::string path = folder.write("out", "");
    const CalcPtr calc(calc_new());
    fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    FILE* out = fopen(path.c_str(), "w");
    dup2(fileno(out), STDOUT_FILENO);
    EXPECT_EQ(calc_export_to_file("-", calc.get(), 1), 0);
    EXPECT_NE(fputs("<!-- open -->\n", stdout), EOF);
    fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    fclose(out);
    EXPECT_EQ(read_file(path), written(calc.get(), 1) + "<!-- open -->\n");
}

// Files and packages.

// The jobs of progress, as "text: status".
class Progress {
  public:
    Progress() { msg_set_progress_sink(receive, this); }
    ~Progress() { msg_set_progress_sink(nullptr, nullptr); }
    std::string text;

  private:
    static void receive(const MsgProgress* progress, void* user) {
        auto& text = static_cast<Progress*>(user)->text;
        text += progress->started ? progress->text : ": " + std::to_string(progress->status) + "; ";
    }
};

TEST(CalcXml, FilesThatCannotBeReadAreReported) {
    const TemporaryFolder folder;
    const Reports reports;
    const Progress progress;
    EXPECT_EQ(calc_import_from_xmlfile((folder.path() + "/none.clx").c_str()), nullptr);
    EXPECT_EQ(calc_import_from_xmlfile(folder.path().c_str()), nullptr);
    EXPECT_EQ(reports.names(), "ERR_FILE_OPEN ERR_FILE_OPEN");
    EXPECT_EQ(progress.text, "");
    EXPECT_EQ(thrown([] { calc_import_from_xmlfile("/proc/self/mem"); }), "1: fread error");
    const CalcPtr calc(calc_import_from_xmlfile(folder.write("a.clx", "<mu/>").c_str()));
    EXPECT_EQ(tree(calc.get()), "calculation");
    EXPECT_EQ(progress.text, "Importing calculations: -1; Importing calculations: 0; ");
}

using NorvaneCpp::CFilePackage;
using NorvaneCpp::CMubPackage;

// A package of the models, each with a calculation unless it is empty.
std::string make_package(const TemporaryFolder& folder,
                         std::initializer_list<std::pair<const char*, std::string>> models) {
    const std::string path = folder.path() + "/a.mub";
    CFilePackage package;
    EXPECT_TRUE(package.createPackage(path.c_str(), ""));
    for (const auto& [name, clx] : models) {
        const std::string member = "workspace/" + std::string(name) + "/build/" + name;
        EXPECT_TRUE(package.importFile(folder.write("mu", "mu").c_str(), (member + ".mu").c_str()));
        if (clx.empty()) continue;
        EXPECT_TRUE(
            package.importFile(folder.write("clx", clx).c_str(), (member + ".clx").c_str()));
    }
    EXPECT_TRUE(package.closeAndSave());
    return path;
}

TEST(CalcXml, CalculationsAreReadOutOfPackages) {
    const TemporaryFolder folder;
    const std::string every = test_data("calc/data/xml/every_construct.clx");
    // A member that ends where a block does, and one that is larger than the reader's memory of it.
    std::string block = "<calculation/>";
    block.resize(4096, ' ');
    const std::string large =
        "<mu><what>" + std::string(5'000'000, 'x') + "</what><calculation/></mu>";
    const std::string path = make_package(folder, {{"Every", every},
                                                   {"Block", block},
                                                   {"Large", large},
                                                   {"Bad", "<mu>\n<calculation>"},
                                                   {"True", "<true/>"},
                                                   {"None", ""}});
    const auto import = [&](const char* model) {
        return CalcPtr(calc_import_from_mubfile(path.c_str(), model));
    };
    const Reports reports;
    EXPECT_EQ(written(import("Every").get(), 1), every);
    EXPECT_EQ(tree(import("Block").get()), "calculation");
    EXPECT_EQ(tree(import("Large").get()), "calculation");
    EXPECT_EQ(reports.text(), "");
    EXPECT_FALSE(import("Bad"));
    EXPECT_FALSE(import("None"));
    EXPECT_FALSE(import("every"));
    EXPECT_EQ(calc_import_from_mubfile("no.mub", "M"), nullptr);
    std::string text = reports.text();
    for (std::size_t i; (i = text.find(path)) != text.npos;)
        text.replace(i, path.size(), "MUB");
    EXPECT_EQ(text,
              "ERR_XML_MALFORMED: MUB (2): Malformed XML: no element found\n"
              "ERR_MUB_NO_CLXFILE: The mub package 'MUB' does not contain a clx file for model: "
              "None\n"
              "ERR_MUB_MODULE_NOT_FOUND: The model 'every' is not found in the package 'MUB'\n"
              "ERR_FILE_OPEN: The file 'no.mub' cannot be opened\n");

    const std::string wrong_root =
        "1: str_is_equal( sd->tag, \"calculation\" ) || str_is_equal( sd->tag, \"mu\" )";
    EXPECT_EQ(thrown([&] { import("True"); }), wrong_root);
    CMubPackage package;
    EXPECT_EQ(thrown([&] { calc_import_from_mubpackage(package, "Every"); }),
              "1: pkg.isOpen() == true");
    ASSERT_TRUE(package.openPackage(path.c_str(), ""));
    EXPECT_EQ(thrown([&] { calc_import_from_mubpackage(package, "True"); }), wrong_root);
    const CalcPtr calc(calc_import_from_mubpackage(package, "Every"));
    EXPECT_EQ(written(calc.get(), 1), every);
    EXPECT_TRUE(package.isOpen());
}

// Shapes.

TEST(CalcXml, AMillionNestedElementsAreReadWrittenAndRefused) {
    const struct {
        std::size_t levels;
        const char *head, *begin, *core, *end, *tail;
    } shapes[] = {
        {500'000, "<x>", "<uop opr='not'><expr>", "<true/>", "</expr></uop>", "</x>"},
        {50'000, "<x>", "<bop opr='plus'><expr>", "<true/>", "</expr><expr><true/></expr></bop>",
         "</x>"},
        {50'000, "<x>", "<ite_expr><expr><true/></expr><expr><true/></expr><expr>", "<true/>",
         "</expr></ite_expr>", "</x>"},
        {50'000, "<x>", "<call namespace='' fname=''><expr>", "<true/>", "</expr></call>", "</x>"},
        {50'000, "<x>", "<pmvar name='a'>", "", "</pmvar>", "</x>"},
        {50'000, "<x>", "<pmvar name='a'><expr>", "<true/>", "</expr></pmvar>", "</x>"},
        {50'000, "<e><stmt>", "<block_stmt><stmt>", "<break_stmt/>", "</stmt></block_stmt>",
         "</stmt></e>"},
        {50'000, "<e><stmt>", "<do_stmt><expr><true/></expr><stmt>", "<break_stmt/>",
         "</stmt></do_stmt>", "</stmt></e>"},
        {50'000, "<e><stmt>", "<switch_stmt><expr><true/></expr><default_label><stmt>",
         "<break_stmt/>", "</stmt></default_label></switch_stmt>", "</stmt></e>"},
    };
    with_small_stack([&] {
        for (const auto& shape : shapes) {
            const auto nested = [&](const char* core) {
                return document(shape.head + repeated(shape.begin, shape.levels) + core +
                                repeated(shape.end, shape.levels) + shape.tail);
            };
            const CalcPtr calc = read(nested(shape.core));
            ASSERT_TRUE(calc) << shape.begin;
            const std::string xml = written(calc.get(), 1);
            if (shape.levels < 100'000) {
                EXPECT_EQ(written(read(xml).get(), 1), xml);
            }
            const Reports reports;
            EXPECT_FALSE(read(nested("<case_label/>")));
            EXPECT_FALSE(read(nested(shape.core) + "<!"));
            EXPECT_EQ(reports.names(), "ERR_XML_MALFORMED ERR_XML_MALFORMED");
        }
        const CalcPtr calc = read("<mu>" + repeated("<what>", 1'000'000) +
                                  repeated("</what>", 1'000'000) + "<calculation/></mu>");
        EXPECT_TRUE(calc);
    });
}

TEST(CalcXml, WideDocumentsAreReadToTheirEnd) {
    constexpr unsigned count = 300'000;
    const CalcPtr calc = read(document("<e>" + repeated("<arg name='a' type='int'/>", count) +
                                       repeated("<stmt><break_stmt/></stmt>", count) + "</e>"));
    ASSERT_TRUE(calc);
    const CFunc* func = calc_get_function(calc_get_namespace(calc.get(), "N"), "f");
    EXPECT_EQ(func->args->len, count);
    EXPECT_EQ(func->stmts->len, count);
}

// A document of 40 MB, all of it unknown but for an empty calculation; it is never in memory.
struct Surroundings {
    unsigned parts = 700'000;
    std::size_t most_memory = 0;
};

std::size_t read_surroundings(void* user, void* buffer, std::size_t, bool* at_end) {
    auto* surroundings = static_cast<Surroundings*>(user);
    const struct mallinfo2 used = mallinfo2();
    surroundings->most_memory = std::max(surroundings->most_memory, used.uordblks + used.hblkhd);
    const unsigned left = surroundings->parts--;
    const std::string part = left == 700'000 ? "<mu>"
                             : left > 0
                                 ? "<what a='1'>text <calculation><x/></calculation></what>\n"
                                 : "<calculation/></mu>";
    *at_end = left == 0;
    std::memcpy(buffer, part.data(), part.size());
    return part.size();
}

TEST(CalcXml, WhatSurroundsACalculationTakesNoMemory) {
    Surroundings surroundings;
    const struct mallinfo2 before = mallinfo2();
    ExceptionState state;
    bool is_thrown;
    const CalcPtr calc(
        calc_import_from_source({read_surroundings, &surroundings, "FILE"}, &state, &is_thrown));
    EXPECT_EQ(tree(calc.get()), "calculation");
    EXPECT_LT(surroundings.most_memory, before.uordblks + before.hblkhd + 200'000);
}

} // namespace
} // namespace norvane::test
