// From calculation source to a set: the language as its trees show and as it refuses, the lines
// that records and reports carry, what outlives a parse, and input that is hostile by its bytes or
// its size.
#include <cctype>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "calc_text.h"

namespace norvane::test {
namespace {

CalcPtr parse_text(const std::string& source) {
    return CalcPtr(calc_import_from_string(source.c_str()));
}

// Source with any bytes in it, as a file can hold them.
CalcPtr parse_bytes(const std::string& source) {
    static const TemporaryDirectory directory;
    return CalcPtr(calc_import_from_clfile(directory.write("bytes.cl", source).c_str()));
}

// Everything that a parse tells: the reports, then the source as it is printed.
std::string outcome(const std::string& source) {
    const Reports reports;
    const CalcPtr calc = parse_text(source);
    return reports.text() + (calc ? printed(calc.get()) : "");
}

CalcPtr parse_expression(const std::string& text) {
    return parse_text("namespace N { void f() = " + text + "; }");
}

// What the one function of a set returns.
const CExpr* result_of(const CalcPtr& calc) {
    return static_cast<CStmt*>(plist_hd(function_of(calc)->stmts))->args.return_value;
}

// Resets the scanner: source that ends inside a comment or string leaves it in that state for the
// next parse.
void end_what_is_open() {
    const Reports reports;
    testing::internal::CaptureStdout();
    parse_text("\n*/ x");
    parse_text("\"x\"");
    testing::internal::GetCapturedStdout();
}

// Of a row of a table: a calculation, or statements of the function N.f.
std::string outcome_of_row(std::string row) {
    std::replace(row.begin(), row.end(), '$', '\n');
    if (row.starts_with("namespace") || row.starts_with("//")) return outcome(row);
    const std::string found = outcome("namespace N { void f() { " + row + " } }");
    const std::string head = "namespace N { void f() { ";
    return found.starts_with(head) ? found.substr(head.size(), found.size() - head.size() - 5)
                                   : found;
}

TEST(CalcSyntax, SourcesGiveTheirTreesOrReports) {
    for (const char* table : {"calc/data/syntax_trees.txt", "calc/data/syntax_errors.txt"})
        EXPECT_EQ(test_data_rerun(table, outcome_of_row), test_data(table));
}

// Each name, and whether it is one of the function.
TEST(CalcSyntax, NamesAreThoseOfTheFunctionFromTheirDeclarationOn) {
    const CalcPtr calc = parse_text(
        "namespace N { integer f(integer a) | a + x { integer x := x; integer y := x + a; return y "
        "+ z; } integer g() { return a.a[x] + x; } void h(integer b) = b.b[b] + f(b); }");
    EXPECT_EQ(found(calc.get(), R"re(<(l|pm)var name="(\w+)")re"),
              "l@a pm@x pm@x l@x l@a l@y pm@z pm@a pm@a pm@x pm@x pm@b pm@b l@b l@b");
}

TEST(CalcSyntax, LinesAreThoseOfTheFirstSymbolAndOfOperators) {
    const CalcPtr calc =
        parse_text("namespace\nN {\ninteger\nf\n(integer\na\n,float\nb)\n|\n1 { float\nc\n;"
                   "integer\nd\n:=\n1\n+\nnot\n2\n;\nif\na\nthen\n{\n;\n} else\n;do\na\n(\n)\n"
                   ";\nwhile\na\n.\nb\n(\n)\n?\n\"x\"\n:\na\n:=\n2;}}");
    EXPECT_EQ(found(calc.get()),
              "function@4 expr@10 arg@6 arg@8 vardef@11 expr@11 vardef@13 expr@16 expr@15 expr@17 "
              "expr@18 stmt@20 expr@21 stmt@23 stmt@24 stmt@26 stmt@26 expr@32 expr@32 expr@38 "
              "expr@41 expr@40 expr@42 stmt@27 expr@27");
}

TEST(CalcScanner, NumbersAreExactUpToTheirLimits) {
    const Reports reports;
    EXPECT_EQ(result_of(parse_expression("2147483647"))->args.int_value, 2147483647);
    EXPECT_EQ(result_of(parse_expression(std::string(5000, '0') + "12"))->args.int_value, 12);
    EXPECT_EQ(result_of(parse_expression("000.5"))->args.float_value, 0.5);
    EXPECT_EQ(result_of(parse_expression("0.1"))->args.float_value, 0.1);
    EXPECT_EQ(result_of(parse_expression("0." + std::string(322, '0') + "5"))->args.float_value,
              5e-323);
    EXPECT_EQ(result_of(parse_expression(std::string(400, '5') + ".0"))->args.float_value,
              HUGE_VAL);
    EXPECT_EQ(reports.text(), "");
}

TEST(CalcScanner, StringsAreUnescapedAndHeldAsUtf8) {
    const std::pair<std::string, std::string> rows[] = {
        {R"("")", ""},
        {R"("\n\r\t\"\\\q/* */ //")", "\n\r\t\"\\q/* */ //"},
        {R"("\"a\"")", "\"a\""},
        {"\"\xE6 \x80 \x01\xFE\"", "\xC3\xA6 \xE2\x82\xAC \x01\xC3\xBE"},
        {std::string("\"ab\0cd\"", 7), "ab"},
        {std::string("\"ab\\\0cd\"", 8), "ab"},
    };
    for (const auto& [source, expected] : rows) {
        const CalcPtr calc = parse_bytes("namespace N { void f() = " + source + "; }");
        ASSERT_TRUE(calc) << source;
        EXPECT_STREQ(result_of(calc)->args.string_value, expected.c_str()) << source;
    }
    // A byte 0xFF means nothing in a text in memory.
    EXPECT_STREQ(result_of(parse_expression("\"\xFF\""))->args.string_value, "\xC3\xBF");
}

TEST(CalcScanner, LineFeedsInStringsGoToStandardOutputAndAreNotCounted) {
    testing::internal::CaptureStdout();
    const CalcPtr calc = parse_text("namespace N { void f() {\n\"a\\nb\n\n\\\nc\";\nx; } }");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n\n\n");
    EXPECT_EQ(printed(calc.get()), "namespace N { void f() { \"a\\nbc\"; x; } } ");
    EXPECT_EQ(found(calc.get()), "function@1 stmt@2 expr@2 stmt@3 expr@3");
}

TEST(CalcScanner, BytesThatBeginNoTokenAreRefused) {
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        if (byte < 127 && std::strchr("\t\n\v\f\r <>=+-*/.,:;()[]{}?%^|\"_", c) && c) continue;
        if (byte < 127 && std::isalnum(byte)) continue;
        if (byte == 0xFF) continue;
        const Reports reports;
        EXPECT_FALSE(parse_bytes(std::string("namespace N\n") + c));
        const std::string shown = c ? std::string(1, c) : "";
        ASSERT_EQ(reports.names(), "ERR_INVALID_TOKEN ERR_PARSER") << byte;
        EXPECT_EQ(reports.all()[0].title, "Invalid token '" + shown + "' found");
        EXPECT_TRUE(reports.all()[1].title.ends_with(
            "bytes.cl (2): parse error, unexpected _ERROR, expecting \"{\""));
    }
}

TEST(CalcScanner, AByteFFEndsAReadAndTheFileWhereAReadBeginsWithIt) {
    const std::string x = "namespace X { void f() {} }";
    const std::string y = "namespace Y { void f() {} }";
    const auto padded = [&](std::size_t size) { return x + std::string(size - x.size(), ' '); };
    const std::pair<std::string, unsigned> rows[] = {
        {"\xFF" + x, 0},
        {"names\xFFpace X { void f() { \"\xFF\"; } }\xFF", 1},
        {x + "\xFF" + y, 2},
        {x + "\xFF\xFF" + y, 1},
        {padded(8191) + "\xFF" + y, 2},
        {padded(8192) + "\xFF" + y, 1},
        {padded(40000) + "\xFF" + y, 2},
    };
    for (const auto& [source, namespaces] : rows) {
        const Reports reports;
        const CalcPtr calc = parse_bytes(source);
        EXPECT_EQ(calc ? phash_size(calc.get()) : 0, namespaces) << source.substr(0, 60);
    }
}

const char* const sound = "namespace N { void f() { } }";
const char* const sound_tree = "namespace N { void f() { } } ";

// What a source leaves open goes on in the next parse: each row is parsed one after the other.
TEST(CalcState, WhatIsLeftOpenGoesOnInTheNextParse) {
    const std::string whole = sound;
    const auto warning = [](const char* line, const char* start) {
        return "warning ERR_CALC_LEX_COMMENT_NOT_CLOSED: input string (" + std::string(line) +
               "): comment starting on line " + start +
               " not closed before reaching end of input\n";
    };
    const auto refused = [](const std::string& unexpected, const std::string& expected) {
        return "ERR_PARSER: input string (1): parse error, unexpected " + unexpected +
               ", expecting " + expected + "\n";
    };
    const std::string early = refused("$", "\"namespace\"");
    const std::string text = refused("\"A string constant\"", "\"namespace\"");
    const std::pair<std::string, std::string> rows[] = {
        {whole + "\n/* open\n", warning("3", "2") + sound_tree},
        {"still /* open", warning("1", "2") + early},
        {"closed **/ " + whole, sound_tree},
        {whole + "// open", sound_tree},
        {"still open\n" + whole + "//\n", sound_tree},
        {"namespace \"left",
         refused("$", "\"An integer constant\" or \"An identifier\" or \"A string constant\" or "
                      "\"Namespace Identifier\"")},
        {"n closed \" namespace", text},
        {"\"\\\"\\\\", early},
        {"n closed \" namespace", text},
        {whole, sound_tree},
    };
    for (const auto& [source, expected] : rows)
        EXPECT_EQ(outcome(source), expected) << source;
}

// A process of its own, since nothing takes the warning back.
TEST(CalcStateDeathTest, TheColonIsWarnedOfOnceInAProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        const std::string first = outcome("namespace N {\nvoid f() : 1\n{ } void g() : a { } ?");
        std::fprintf(stderr, "%s", first.c_str());
        std::exit(outcome("namespace N { void f() : 2 { } }") == "namespace N { void f() | 2 { } } "
                      ? EXIT_SUCCESS
                      : EXIT_FAILURE);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(EXIT_SUCCESS),
                "^warning ERR_CALC_GRAM_COLON_DEPRECATED: input string .3.: Using a colon to "
                "define a default expression is deprecated, use a bar instead\n"
                "ERR_PARSER: input string .3.: parse error, unexpected \"\\?\"");
}

TEST(CalcLimits, NestingIsParsedUpToTheStackOfTheParser) {
    // How often each fits beside what stands around it in a stack of 10000 entries.
    const struct {
        std::string before, opening, middle, closing, behind;
        std::size_t times;
    } rows[] = {
        {"namespace N { void f() = ", "(", "a", ")", "; }", 9987},
        {"namespace N { void f() = ", "a[", "a", "]", "; }", 4993},
        {"namespace N { void f() { ", "if a ", ";", "", "} }", 4992},
        {"namespace ", "\"\".", "N", "", "{ void f() { } }", 4998},
    };
    with_small_stack([&] {
        for (const auto& row : rows) {
            const auto source = [&](std::size_t times) {
                return row.before + repeated(row.opening, times) + row.middle +
                       repeated(row.closing, times) + row.behind;
            };
            const Reports reports;
            EXPECT_TRUE(parse_text(source(row.times))) << row.opening << reports.text();
            EXPECT_FALSE(parse_text(source(row.times + 1))) << row.opening;
            EXPECT_EQ(reports.text(), "ERR_PARSER: input string (1): parser stack overflow\n");
        }
    });
}

TEST(CalcLimits, LongSourceTakesLinearTimeInASmallStack) {
    constexpr std::size_t count = 200'000;
    const std::string long_text(5'000'000, 'x');
    std::string locals;
    std::string namespaces;
    for (std::size_t i = 0; i < count / 4; ++i) {
        const std::string name = "n" + std::to_string(i);
        locals += "float " + name + ":=" + name + ";";
        namespaces += "namespace " + name + "{void f(){}}";
    }
    const auto in_body = [](const std::string& text) {
        return "namespace N { void f() { " + text + "; } void g() {} }";
    };
    const std::pair<const char*, std::string> rows[] = {
        {"local names", in_body(locals)},
        {"namespaces", namespaces},
        {"else branches", in_body(repeated("if a {} ", count))},
        {"cases", in_body("switch a { " + repeated("case 1:", count) + "}")},
        {"identifier", in_body(long_text)},
        {"string with escapes", in_body("\"" + repeated("\\\"", 2'500'000) + "\"")},
        {"comment", "/*" + long_text + "*/" + sound},
    };
    with_small_stack([&] {
        for (const auto& [what, source] : rows) {
            const Reports reports;
            const std::clock_t start = std::clock();
            EXPECT_TRUE(parse_text(source)) << what << ": " << reports.text();
            EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, 10) << what;
        }
    });
}

TEST(CalcLimits, AnyBytesAreParsedOrReportedAndTheNextParseIsWhole) {
    std::istringstream words(
        "namespace~N~{ void~f( integer~a )~{ float~b~:= if~ then~ else~ case~ "
        "switch~a~{ default: do~ while~ for~( a.b[ ]~ return~ break; a ( ) } ; "
        ", := ? : | - not~ = <-> 1 1.5 \"s\" 2d~ external~ \n /* */ // \" \\ "
        "\xFF \xE6 # ~ .");
    std::vector<std::string> tokens;
    for (std::string word; std::getline(words, word, ' '); tokens.push_back(word))
        std::replace(word.begin(), word.end(), '~', ' ');
    std::mt19937 random(7);
    for (int round = 0; round < 500; ++round) {
        std::string source = round % 2 ? "namespace N { void f() { " : "";
        for (auto length = random() % 60; length > 0; --length)
            source += random() % 20 ? tokens[random() % tokens.size()]
                                    : std::string(1, static_cast<char>(random()));
        const Reports reports;
        testing::internal::CaptureStdout();
        const CalcPtr calc = parse_bytes(source);
        testing::internal::GetCapturedStdout();
        EXPECT_TRUE(calc || !reports.all().empty()) << source;
        end_what_is_open();
        ASSERT_EQ(outcome(sound), sound_tree) << source;
    }
}

TEST(CalcFiles, GiveTheirNameToReportsAndFunctions) {
    const TemporaryDirectory directory;
    const std::string path = directory.write("a%s%n.cl", std::string(sound) + "\n" + sound);
    const Reports reports;
    const CalcPtr calc(calc_import_from_clfile(path.c_str()));
    EXPECT_EQ(reports.text(), "ERR_CALC_FNC_REDEF: " + path +
                                  " (2): Multiple definitions of function 'f' in namespace 'N'\n");
    EXPECT_EQ(function_of(calc)->filename, path);
    const std::string detour = directory.path() + repeated("/.", 1200) + "/a%s%n.cl";
    const CalcPtr again(calc_import_from_clfile(detour.c_str()));
    EXPECT_EQ(function_of(again)->filename, detour.substr(0, 2047));
}

TEST(CalcFiles, ThatAreMissingOrCannotBeOpenedAreReported) {
    const TemporaryDirectory directory;
    const std::string socket_path = directory.path() + "/socket";
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    socket_path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);

    EXPECT_EQ(thrown([] { calc_import_from_clfile(nullptr); }), "1: path");
    EXPECT_EQ(thrown([] { calc_import_from_string(nullptr); }), "1: text");
    const Reports reports;
    EXPECT_EQ(calc_import_from_clfile((directory.path() + "/absent").c_str()), nullptr);
    EXPECT_EQ(calc_import_from_clfile(socket_path.c_str()), nullptr);
    EXPECT_EQ(calc_import_from_clfile(directory.path().c_str()), nullptr);
    EXPECT_EQ(reports.names(), "ERR_FILE_OPEN ERR_CPP_OUTPUT_NOT_FOUND ERR_PARSER");
    close(descriptor);
}

} // namespace
} // namespace norvane::test
