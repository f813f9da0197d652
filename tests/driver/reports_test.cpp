// How the driver shows findings, and which names it takes for similar.
#include <cstdio>
#include <fstream>

#include <unistd.h>

#include <gtest/gtest.h>

#include "as_json.h"
#include "as_text.h"
#include "plain_words.h"
#include "similar.h"

namespace norvane::driver {
namespace {

// A file with this line, which a place is in.
class Source {
  public:
    explicit Source(const std::string& line) { std::ofstream(name_) << "first\n" << line << "\n"; }
    ~Source() { std::remove(name_.c_str()); }
    Place place(unsigned column, unsigned end) const { return {name_, 2, column, 2, end}; }

  private:
    // Each test is a process of its own, and several run at a time.
    const std::string name_ = "reports_test." + std::to_string(getpid()) + ".pm";
};

// What stands below the first line of a finding at these columns.
std::string snippet(const std::string& line, unsigned column, unsigned end,
                    const std::string& replacement = "") {
    const Source source(line);
    Finding finding;
    finding.place = source.place(column, end);
    if (!replacement.empty()) finding.replacements = {{finding.place, replacement, true}};
    SourceLines sources;
    const std::string text = as_text(finding, sources, false);
    return text.substr(text.find('\n') + 1);
}

std::string marked(const std::string& line, const std::string& mark) {
    return "     2 | " + line + "\n       | " + mark + "\n";
}

TEST(Reports, UnderlineTheRange) {
    EXPECT_EQ(snippet("rule a = 1;", 6, 7), marked("rule a = 1;", "     ^"));
    EXPECT_EQ(snippet("\ta\t= bcd;", 6, 9), marked("\ta\t= bcd;", "\t \t  ^~~"));
    EXPECT_EQ(snippet("\"gr\xFCn\" = x;", 10, 11), marked("\"gr\xC3\xBCn\" = x;", "         ^"));
    EXPECT_EQ(snippet("\"\xE4\xB8\xAD\" = x;", 9, 10), marked("\"\xE4\xB8\xAD\" = x;", "       ^"));
    EXPECT_EQ(snippet("a\x01 b\r", 4, 5), marked("a? b", "   ^"));
    EXPECT_EQ(snippet("a\xC2\x9B\xE2\x80\xAE\xE2\x81\xA6\xE2\x82\xAC b", 14, 15),
              marked("a???\xE2\x82\xAC b", "      ^"));
    EXPECT_EQ(snippet("rule x;", 6, 7, "y"), marked("rule x;", "     ^") + "       |      y\n");
    EXPECT_EQ(snippet("rule", 5, 5), marked("rule", "    ^")) << "at the end of the line";
}

TEST(Reports, CountLettersOfShortAndLongLines) {
    const std::string e = "\xC3\xA9"; // one letter in two bytes
    for (const std::size_t blanks : {0u, 1023u, 5000u}) {
        const auto at = static_cast<unsigned>(blanks + 1);
        const Source source(std::string(blanks, ' ') + e + "b" + e + "\xE9z");
        SourceLines sources;
        const auto letter = [&](unsigned column) {
            const Place place = source.place(at + column, 0);
            return sources.letter(place.file, place.line, place.column) - at;
        };
        EXPECT_EQ(letter(2), 1u) << "after the first letter";
        EXPECT_EQ(letter(3), 2u);
        EXPECT_EQ(letter(1), 1u) << "inside of a letter: its column";
        EXPECT_EQ(letter(0), 0u) << "back again";
        EXPECT_EQ(letter(5), 3u) << "before the byte that is no UTF-8";
        EXPECT_EQ(letter(6), 6u) << "after it";
    }
}

TEST(Reports, CutLongLinesAroundTheRange) {
    const std::string text =
        snippet(std::string(300, 'a') + "\xC3\xA9" + "b" + std::string(300, 'c'), 303, 304);
    const std::size_t mark = text.find('^') - text.find('\n') - 1;
    EXPECT_EQ(text.substr(mark + 1, 1), "b") << "the letter before it takes two bytes: " << text;
    EXPECT_LT(text.find('\n'), 190u);
    EXPECT_NE(text.find("| ... aaa"), std::string::npos);
    EXPECT_NE(text.find("ccc ...\n"), std::string::npos);
}

TEST(Reports, CountLettersOfUtf8InSarif) {
    const Source source("\xE4\xB8\xAD x");
    Finding finding;
    finding.place = source.place(5, 6);
    SourceLines sources;
    const std::string log = as_sarif(finding, sources);
    EXPECT_NE(log.find("\"startColumn\":3,\"endLine\":2,\"endColumn\":4"), std::string::npos)
        << log;
}

TEST(Reports, FindTheNameThatWasMeant) {
    const std::vector<std::string_view> names = {"ram", "sleeper", "Sleepers", "order_no", "x"};
    const std::pair<std::string_view, std::string_view> rows[] = {{"sleper", "sleeper"},
                                                                  {"sleepre", "sleeper"},
                                                                  {"SLEEPER", "sleeper"},
                                                                  {"rma", "ram"},
                                                                  {"sleepers", "Sleepers"},
                                                                  {"y", ""},
                                                                  {"X", "x"},
                                                                  {"colour", ""},
                                                                  {"ram", ""},
                                                                  {"", ""}};
    for (const auto& [written, meant] : rows)
        EXPECT_EQ(most_similar(written, names), meant) << written;
}

TEST(Reports, TellASyntaxErrorInPlainWords) {
    const std::string error =
        "parse error, unexpected \"Identifier\", expecting error or \",\" or \":\"";
    EXPECT_EQ(in_plain_words(error), "unexpected name, expected ',' or ':'");
    EXPECT_EQ(in_plain_words(error, "a"), "unexpected name 'a', expected ',' or ':'");
    EXPECT_EQ(in_plain_words("parse error, unexpected $"), "unexpected end of file");
    EXPECT_EQ(in_plain_words("parser stack overflow"), "parser stack overflow");
}

} // namespace
} // namespace norvane::driver
