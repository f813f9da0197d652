// From PM source to a project: the language as it prints back and as it refuses, the places that
// records and reports carry, what outlives a load, and input that is hostile by its size.
#include "test.h"

namespace norvane::test {
namespace {

// Everything that a load tells: the reports, then the project as it prints after its heading.
std::string outcome(const std::string& source) {
    const Reports reports;
    const ProjectPtr project = parse(source);
    const std::string heading = "/* Project     : model.pm\n   Description : \n*/\n";
    if (!project) return reports.text();
    const std::string text = print(project.get());
    EXPECT_EQ(text.substr(0, heading.size()), heading);
    return reports.text() + text.substr(heading.size());
}

void expect_rows(const std::string& path) {
    const auto run = [](std::string source) {
        std::replace(source.begin(), source.end(), '^', '\n');
        return outcome(source);
    };
    EXPECT_EQ(test_data_rerun(path, run), test_data(path));
}

TEST(Grammar, SourcesGiveTheirTrees) {
    expect_rows("model/data/frontend_trees.txt");
}

TEST(Grammar, SyntaxErrorsNameTheTokenAndTheOpenConstruct) {
    expect_rows("model/data/frontend_errors.txt");
}

TEST(Scanner, NumbersAreExactUpToTheirLimits) {
    Reports reports;
    EXPECT_EQ(expression("2147483647")->args.intconst.value, 2147483647);
    EXPECT_EQ(expression(std::string(5000, '0') + "12")->args.intconst.value, 12);
    EXPECT_EQ(expression("000.5")->args.floatconst.value, 0.5);
    EXPECT_EQ(expression("1234567890123456789.125")->args.floatconst.value,
              1234567890123456789.125);
    EXPECT_EQ(expression("0." + std::string(322, '0') + "5")->args.floatconst.value, 5e-323);
    EXPECT_EQ(expression("00." + std::string(400, '0') + "5")->args.floatconst.value, 0.0);
    EXPECT_EQ(expression(std::string(400, '5') + ".0")->args.floatconst.value, HUGE_VAL);
    EXPECT_EQ(reports.text(), "");
    EXPECT_EQ(expression("4294967297"), nullptr);
    EXPECT_EQ(reports.names(), "ERR_INVALID_INT ERR_PARSER ERR_GRAM_RULEDEFL");
}

// The files that directives named, and where each variable and rule is, as FILE-INDEX:LINE.
std::string places(const std::string& source) {
    const Reports reports;
    const ProjectPtr project = parse(source);
    if (!project) return reports.text();
    std::string text;
    const auto place = [](unsigned line) {
        return std::to_string(line >> 16) + ":" + std::to_string(line & 0xFFFF);
    };
    for (const char* file : items<const char>(project->line_info->files))
        text += std::string(file) + " ";
    text += "|";
    for (const VarDecl* v : items<VarDecl>(project->vardecllist))
        text += std::string(" ") + v->name + "@" + place(v->linenumber);
    for (const RuleDecl* r : items<RuleDecl>(project->ruledecllist))
        text += " rule@" + place(r->linenumber) + "/" + place(r->rule->linenumber);
    return text;
}

TEST(Lines, AreThoseOfTheTokenThatEndsAConstruct) {
    const std::pair<std::string, std::string> rows[] = {
        {"variable\nx :\nboolean\n;", "| x@0:2"},
        {"rule\na\n+\nb\n;", "| rule@0:4/0:4"},
        {"\r\n\f\v\t\nvariable x : boolean;", "| x@0:2"},
        {"/*\n/*\n*/\n//\n*/ variable x : boolean;", "| x@0:4"},
        {"#line 7 \"a.pm\"\nvariable x : boolean;\n#line 7 \"a.pm\"\n\nvariable y : boolean;",
         "a.pm a.pm | x@0:7 y@1:8"},
        {"#line 65534 \"a\"\n\n\n\nvariable x : boolean;", "a | x@0:1"},
        {"#line 1 \"a\"\n#line 65535 \"b\"\n/*\n*/variable x : boolean;", "a b | x@1:0"},
        {"#line 65537 \"a\"\nvariable x : boolean;", "a | x@1:1"},
        {"#line -2 \"a\"\nvariable x : boolean;", "a | x@65535:65534"},
        {"#line\t+3\"a b\" 2 3\nvariable x : boolean;", "a b | x@0:3"},
        {"#line5\"a\"\nvariable x : boolean;", "a | x@0:5"},
        {"#line 3 \"" + std::string(3000, 'f') + "\"\nvariable x : boolean;",
         std::string(2047, 'f') + " | x@0:3"},
        // What is no line directive is passed over.
        {"#\n#pragma once\n#line\n#line \"a\"\n#line 1\n#line 1 a\nvariable x : boolean;",
         "| x@0:6"},
        {"# line 1 \"a\"\n#line 1 \"\"\n#line 1 \"a\n#LINE 1 \"a\"\nvariable x : boolean;",
         "| x@0:4"},
        {"#line 2147483648 \"a\"\n#line +-1 \"a\"\nvariable x : boolean;", "| x@0:2"},
        {std::string("#line 1") + '\0' + " \"a\"\nvariable x : boolean;", "| x@0:1"},
        // A "#" begins a directive at the start of a line alone.
        {"#", "|"},
        {"variable x : boolean;\n #line 1 \"a\"\n",
         "ERR_INVALID_TOKEN: model.pm (1): Invalid token '#' found\n"
         "ERR_PARSER: model.pm (1): parse error, unexpected _ERROR\n"
         "ERR_GRAM_DECL: model.pm (1): Expecting a section delimiter: one of 'constant', 'type', "
         "'variable', or 'rule'.\n"},
        // A name that starts with "#" is a text for messages.
        {"#line 4 \"#Sheet 2, row 7:\"\nconstant a : 1 2;",
         "ERR_PARSER: Sheet 2, row 7: parse error, unexpected \"Integer constant\", expecting "
         "\";\"\nERR_GRAM_CONSTANTDEFL: Sheet 2, row 7: Illegal constant declaration.\n"},
    };
    for (const auto& [source, expected] : rows)
        EXPECT_EQ(places(source), expected) << source;
}

TEST(Scanner, NewlinesInStringsGoToStandardOutputAndAreNotCounted) {
    testing::internal::CaptureStdout();
    const std::string found = places("rule a = \"x\n\ny\\\nn\";\nvariable x : boolean;");
    const ExprPtr tree = expression("\"x\n\ny\\\nn\"");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n\n\n\n\n\n");
    EXPECT_EQ(found, "| x@0:1 rule@0:0/0:0");
    EXPECT_STREQ(tree->args.str, "xy\n");
}

TEST(Scanner, StringsAreUnescapedAndJoined) {
    const std::pair<std::string, std::string> rows[] = {
        {R"("")", ""},
        {R"("a" "" "b"  "cd")", "abcd"},
        {R"("\n\r\t\"\\\q/* */")", "\n\r\t\"\\q/* */"},
        {R"("\"a\"")", "\"a\""},
        {"\"\xE6\x01\xFE\"", "\xE6\x01\xFE"},
        {std::string("\"ab\0cd\" \"e\"", 11), "abe"},
        {std::string("\"ab\\\0cd\"", 8), "ab"},
    };
    for (const auto& [source, expected] : rows) {
        const ExprPtr tree = expression(source);
        ASSERT_TRUE(tree) << source;
        EXPECT_STREQ(tree->args.str, expected.c_str()) << source;
    }
}

TEST(Scanner, AByteFFEndsAReadAndTheInputWhereAReadBeginsWithIt) {
    const std::string x = "variable x : boolean;";
    const std::string y = "variable y : boolean;";
    const auto padded = [&](std::size_t size) { return x + std::string(size - x.size(), ' '); };
    const std::pair<std::string, std::string> rows[] = {
        {"\xFF" + x, "|"},
        {"vari\xFF" + std::string("able x : boo\xFFlean;"), "| x@0:0"},
        {x + "\xFF" + y + "\xFF", "| x@0:0 y@0:0"},
        {x + "\xFF\xFF" + y, "| x@0:0"},
        {padded(8191) + "\xFF" + y, "| x@0:0 y@0:0"},
        {padded(8192) + "\xFF" + y, "| x@0:0"},
        {padded(8193) + "\xFF" + y, "| x@0:0 y@0:0"},
        {padded(100) + "\xFF" + std::string(8192, ' ') + "\xFF" + y, "| x@0:0"},
        {padded(40000) + "\xFF" + y, "| x@0:0 y@0:0"},
    };
    for (const auto& [source, expected] : rows)
        EXPECT_EQ(places(source), expected) << source.substr(0, 60) << " " << source.size();
}

TEST(Scanner, ANulByteIsAnInvalidTokenWithAnEmptyText) {
    EXPECT_EQ(outcome(std::string("rule a\0;", 8)),
              "ERR_INVALID_TOKEN: model.pm (0): Invalid token '' found\n"
              "ERR_PARSER: model.pm (0): parse error, unexpected _ERROR, expecting \";\"\n"
              "ERR_GRAM_RULEDEFL: model.pm (0): Illegal rule declaration.\n");
}

TEST(Scanner, AnOpenCommentGoesOnInTheNextLoadAtDepthZero) {
    EXPECT_EQ(places("variable x : boolean; /* /* left open"), "| x@0:0");
    // One end is one too many for a depth of zero, so this does not close it, but the next does.
    EXPECT_EQ(places("variable x : boolean; */ variable y : boolean;"), "|");
    EXPECT_EQ(places("still /* closed\n*/ variable x : boolean;"), "| x@0:1");
}

TEST(Scanner, AnOpenStringGoesOnInTheNextLoad) {
    for (const std::string open : {"rule a = \"left", "rule a = \"left\\"}) {
        EXPECT_EQ(outcome(open), "ERR_PARSER: model.pm (0): parse error, unexpected $\n"
                                 "ERR_GRAM_RULEDEFL: model.pm (0): Illegal rule declaration.\n");
        EXPECT_TRUE(
            outcome("variable x : boolean;\"")
                .starts_with(
                    "ERR_PARSER: model.pm (0): parse error, unexpected \"String constant\"\n"));
        EXPECT_EQ(places("variable x : boolean;"), "| x@0:0");
    }
}

TEST(Scanner, AnOpenDirectiveIsEchoedAndGoesOnInTheNextLoad) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(places("variable x : boolean;\n#line 5 \"a\""), "| x@0:0");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "line 5 \"a\"");
    EXPECT_EQ(places("line 8 \"b\"\nvariable x : boolean;"), "b | x@0:8");
}

TEST(Limits, LongTokensTakeLinearTime) {
    constexpr std::size_t size = 20'000'000;
    const std::string x(size, 'x');
    const std::string nul(size, '\0');
    const std::pair<const char*, std::string> rows[] = {
        {"identifier", "variable " + x + " : boolean;"},
        {"digits", "rule a = " + std::string(size, '0') + "1;"},
        {"string", "rule a = \"" + x + "\";"},
        {"string with NUL bytes", "rule a = \"" + nul + "\";"},
        {"comment", "/*" + x + "*/"},
        {"comments", repeated("/*", size / 4) + repeated("*/", size / 4)},
        {"directive with NUL bytes", "#" + nul + "\n"},
        {"reads ended early", repeated("/* */\xFF", size / 6)},
    };
    for (const auto& [what, source] : rows) {
        const std::clock_t start = std::clock();
        EXPECT_NE(parse(source), nullptr) << what;
        // A rescan of the whole token at every read would take minutes.
        EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, 10) << what;
    }
}

} // namespace
} // namespace norvane::test
