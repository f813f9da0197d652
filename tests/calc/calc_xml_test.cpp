// Calculations as XML: what is written, whole and valid by its document type; what is read, with
// its lines and its refusals, in blocks of any size; packages; round trips; and documents that are
// hostile by their shape.
#include <filesystem>
#include <malloc.h>
#include <unistd.h>

#include "calc_import_internal.h"
#include "calc_text.h"
#include "xml_files.h"

namespace norvane::test {
namespace {

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
    return CalcPtr(calculations::import_from_source({read_bytes, &bytes, "FILE"}));
}

// In a row of a table, "<e>...</e>" stands for the body of a function, "<x>...</x>" for the
// expression of its only statement, and "^" for a line feed.
const std::pair<std::string, std::string> abbreviations[] = {
    {"<x>", "<e><stmt><return_stmt><expr>"},
    {"</x>", "</expr></return_stmt></stmt></e>"},
    {"<e>", "<calculation><namespace name=\"N\"><function name=\"f\" type=\"int\">"},
    {"</e>", "</function></namespace></calculation>"},
};

void replace(std::string& text, const std::string& from, const std::string& to) {
    const std::size_t place = text.find(from);
    if (place != text.npos) text.replace(place, from.size(), to);
}

std::string document(std::string row) {
    for (const auto& [brief, whole] : abbreviations)
        replace(row, brief, whole);
    std::replace(row.begin(), row.end(), '^', '\n');
    return row;
}

// Everything that the reading of a document tells: the reports, then what is read, as XML.
std::string outcome(const std::string& xml, std::size_t block) {
    const Reports reports;
    std::string text;
    const std::string failure = thrown([&] {
        const CalcPtr calc = read(xml, block);
        if (calc) text = std::regex_replace(written(calc.get()), std::regex("\n *"), "");
    });
    text.erase(0, text.find("<calculation"));
    for (auto at = std::rbegin(abbreviations); at != std::rend(abbreviations); ++at)
        replace(text, at->second, at->first);
    return reports.text() + (failure.empty() ? "" : "threw " + failure) + text;
}

void expect_outcomes(const std::string& path) {
    const std::string expected = test_data(path);
    for (const std::size_t block : {2048u, 1u, 2u, 3u, 4u, 5u})
        EXPECT_EQ(test_data_rerun(
                      path, [&](const std::string& row) { return outcome(document(row), block); }),
                  expected)
            << "in blocks of " << block;
}

bool is_empty(const CalcPtr& calc) {
    return calc && phash_size(calc.get()) == 0;
}

TEST(CalcXml, WhatIsReadIsTheTreeWithTheLinesOfTheWrappers) {
    expect_outcomes("calc/data/xml/reads.txt");
}

TEST(CalcXml, WhatIsRefusedIsReportedOnceAndLeavesNothing) {
    expect_outcomes("calc/data/xml/refusals.txt");
}

// What is written of what is read is valid, and gives the same again, with lines and without. The
// examples show how it is laid out.
TEST(CalcXml, WhatIsWrittenIsWhatWasRead) {
    const TemporaryDirectory directory;
    const std::string path = directory.path() + "/a.clx";
    const auto round = [&](const std::string& row) {
        const Reports reports;
        const CalcPtr calc = read(document(row));
        for (const int line_info : {1, 0}) {
            EXPECT_EQ(calc_export_to_file(path.c_str(), calc.get(), line_info), 0);
            EXPECT_EQ(validity(path), "") << row;
            const CalcPtr back(calc_import_from_xmlfile(path.c_str()));
            EXPECT_EQ(written(back.get(), 1), read_file(path)) << row;
            EXPECT_EQ(written(back.get(), 0), written(calc.get(), 0)) << row;
        }
        return std::string();
    };
    test_data_rerun("calc/data/xml/reads.txt", round);
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
    EXPECT_EQ(found(read(xml).get()), "vardef@3 expr@3 vardef@3 expr@3 vardef@3 expr@3 vardef@3 "
                                      "expr@3 stmt@4 expr@5");
    const std::string locals = "{ boolean boolean := false; integer integer := 0; float float := "
                               "0.0; string string := \"\"; ";
    EXPECT_EQ(printed(read(xml).get()), "namespace N { void f() " + locals + "N.g(); } } ");
    EXPECT_NE(printed(calc.get()).find(locals), std::string::npos) << "in the tree, too";
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
    EXPECT_EQ(written(read(xml).get()), std::regex_replace(xml, std::regex("\xE2\x98\x80"), "?"));
}

// A file that cannot be opened is all that is reported, and nothing is filled in for it.
TEST(CalcXml, BrokenTreesStopTheWriterBeforeTheFileIsTouched) {
    const TemporaryDirectory directory;
    const std::string path = directory.write("a.clx", "untouched");
    const CalcPtr calc(
        calc_import_from_string("namespace N { void f() { void v := true; return not true; } }"));
    CFunc* func = function_of(calc);
    CStmt* stmt = static_cast<CStmt*>(plist_hd(func->stmts));
    CExpr* expr = stmt->args.return_value;
    auto* lvar = static_cast<CFuncLVar*>(plist_hd(func->vardefs));
    EXPECT_EQ(calc_export_to_file((directory.path() + "/b.clx").c_str(), calc.get(), 1), 0);

    const auto failure = [&](auto& field, int value) {
        const auto before = field;
        field = static_cast<std::remove_reference_t<decltype(field)>>(value);
        const std::string text = thrown([&] { calc_export_to_file(path.c_str(), calc.get(), 1); });
        field = before;
        return text;
    };
    const auto open_files = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const auto open_before = open_files();
    work_begin();
    EXPECT_EQ(failure(func->type, 0), "1: Found invalid calculational type : 0");
    EXPECT_EQ(open_files(), open_before);
    EXPECT_EQ(work_mark.subject, func);
    EXPECT_EQ(failure(expr->args.uop.opr, 20), "1: Found invalid operator : 20");
    EXPECT_EQ(failure(expr->args.uop.arg->structure, 10),
              "1: Found invalid expression structure : 10");
    EXPECT_EQ(failure(stmt->structure, 10), "1: Found invalid statement structure : 10");
    CExpr* const init = std::exchange(lvar->init, nullptr);
    EXPECT_EQ(failure(lvar->type, CTYPE_VOID), "1: Found invalid calculational type : 5");
    EXPECT_EQ(read_file(path), "untouched");

    const Reports reports;
    EXPECT_EQ(calc_export_to_file("/nowhere/a.clx", calc.get(), 1), -1);
    EXPECT_EQ(lvar->init, nullptr);
    EXPECT_EQ(reports.names(), "ERR_FILE_OPEN_WRITE");
    lvar->init = init;
    EXPECT_EQ(thrown([&] { calc_export_to_stream(nullptr, calc.get(), 1); }), "1: out");
    EXPECT_EQ(thrown([&] { calc_import_from_xmlfile(nullptr); }), "1: path");
}

TEST(CalcXml, TheNameOfAMinusIsTheStandardOutputWhichStaysOpen) {
    const CalcPtr calc(calc_new());
    testing::internal::CaptureStdout();
    EXPECT_EQ(calc_export_to_file("-", calc.get(), 1), 0);
    EXPECT_NE(std::fputs("<!-- open -->\n", stdout), EOF);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), written(calc.get(), 1) + "<!-- open -->\n");
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
    const TemporaryDirectory directory;
    const Reports reports;
    const Progress progress;
    EXPECT_EQ(calc_import_from_xmlfile((directory.path() + "/none.clx").c_str()), nullptr);
    EXPECT_EQ(calc_import_from_xmlfile(directory.path().c_str()), nullptr);
    EXPECT_EQ(reports.names(), "ERR_FILE_OPEN ERR_FILE_OPEN");
    EXPECT_EQ(progress.text, "");
    EXPECT_EQ(thrown([] { calc_import_from_xmlfile("/proc/self/mem"); }), "1: fread error");
    const CalcPtr calc(calc_import_from_xmlfile(directory.write("a.clx", "<mu/>").c_str()));
    EXPECT_TRUE(is_empty(calc));
    EXPECT_EQ(progress.text, "Importing calculations: -1; Importing calculations: 0; ");
}

// A member that ends where a block does, one that is larger than the reader's memory of it, and
// one that is refused. The driver's tests show what else a package may lack.
TEST(CalcXml, CalculationsAreReadOutOfPackages) {
    const TemporaryDirectory directory;
    std::string block = "<calculation/>";
    block.resize(4096, ' ');
    const std::pair<std::string, std::string> models[] = {
        {"Block", block},
        {"Large", "<mu><what>" + std::string(5'000'000, 'x') + "</what><calculation/></mu>"},
        {"True", "<true/>"}};
    const std::string path = directory.path() + "/a.mub";
    NorvaneCpp::CFilePackage file;
    ASSERT_TRUE(file.createPackage(path.c_str(), ""));
    for (const auto& [name, clx] : models) {
        const std::string member = "workspace/" + name + "/build/" + name + ".clx";
        ASSERT_TRUE(file.importFile(directory.write("clx", clx).c_str(), member.c_str()));
    }
    ASSERT_TRUE(file.closeAndSave());

    NorvaneCpp::CMubPackage package;
    const auto import = [&](const char* model) {
        return CalcPtr(calc_import_from_mubpackage(package, model));
    };
    EXPECT_EQ(thrown([&] { import("Block"); }), "1: pkg.isOpen() == true");
    ASSERT_TRUE(package.openPackage(path.c_str(), ""));
    const Reports reports;
    EXPECT_TRUE(is_empty(import("Block")));
    EXPECT_TRUE(is_empty(import("Large")));
    EXPECT_EQ(reports.text(), "");
    EXPECT_EQ(thrown([&] { import("True"); }),
              "1: str_is_equal( sd->tag, \"calculation\" ) || str_is_equal( sd->tag, \"mu\" )");
    EXPECT_TRUE(package.isOpen());
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
    const CalcPtr calc(
        calculations::import_from_source({read_surroundings, &surroundings, "FILE"}));
    EXPECT_TRUE(is_empty(calc));
    EXPECT_LT(surroundings.most_memory, before.uordblks + before.hblkhd + 200'000);
}

} // namespace
} // namespace norvane::test
