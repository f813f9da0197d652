// Strings on the heap, UtilString, numbers as text, and file names.
#include <bit>
#include <charconv>
#include <clocale>
#include <filesystem>
#include <limits>

#include "test.h"

namespace {

using norvane::test::repeated;
using norvane::test::TemporaryDirectory;

using Text = norvane::test::Owned<char, free>;
using Growing = norvane::test::Owned<UtilString, ustr_delete>;

Growing growing(const std::string& text = "") {
    Growing u(ustr_new());
    ustr_append_chars(u.get(), text.data(), text.size());
    return u;
}

// The whole text; checks the terminator.
std::string all_of(const Growing& u) {
    EXPECT_EQ('\0', u->text[u->length]);
    return {u->text, ustr_length(u.get())};
}

std::string unquoted(const std::string& text) {
    const Growing u = growing(text);
    ustr_unquote(u.get());
    return all_of(u);
}

TEST(Strings, CopyJoinAndCompare) {
    EXPECT_STREQ("abc", Text(str_copy("abc")).get());
    EXPECT_STREQ("abcd", Text(str_cat("ab", "cd")).get());
    EXPECT_FALSE(str_null_copy(nullptr));
    str_null_delete(nullptr);
    EXPECT_TRUE(str_is_equal("a", "a") && !str_is_equal("a", "A"));
    EXPECT_TRUE(str_is_set(" ") && !str_is_set("") && !str_is_set(nullptr));
    EXPECT_EQ("1: s", norvane::test::thrown([] { str_copy(nullptr); }));
    const char* low = "z";
    const char* high = "\xE6";
    EXPECT_LT(poly_compare_string(&low, &high), 0) << "as unsigned bytes";
}

TEST(UtilString, GrowsByAllKindsOfAppending) {
    const Growing u = growing();
    std::string expected;
    for (int i = 0; i < 300; ++i) {
        const int number = i % 2 == 0 ? i : std::numeric_limits<int>::min() + i;
        const std::string digits = std::to_string(i);
        ustr_append_char(u.get(), static_cast<char>(i));
        ustr_append_chars(u.get(), "a\0b", 3);
        ustr_append_string(u.get(), "text");
        ustr_append_string(u.get(), nullptr);
        ustr_append_int(u.get(), number);
        ustr_printf(u.get(), "[%s|%5d]", "%", i);
        expected += static_cast<char>(i) + std::string("a\0btext", 7) + std::to_string(number) +
                    "[%|" + std::string(5 - digits.size(), ' ') + digits + "]";
        ASSERT_EQ(expected, all_of(u));
    }
    ustr_append_ustr(u.get(), u.get());
    EXPECT_EQ(expected + expected, all_of(u));
    ustr_reset(u.get());
    EXPECT_EQ("", all_of(u));
    // Around the size of the memory that a new one has, and far beyond.
    for (const size_t n : {62u, 63u, 64u, 65u, 200000u}) {
        const Growing printed = growing("<");
        ustr_printf(printed.get(), "%s>", std::string(n, 'x').c_str());
        EXPECT_EQ("<" + std::string(n, 'x') + ">", all_of(printed));
    }
}

TEST(UtilString, UnquotesWhatIsThere) {
    const std::pair<const char*, const char*> rows[] = {
        {R"("abc")", "abc"}, {"abc", "abc"},      {"", ""},
        {R"(")", ""},        {R"("")", ""},       {R"("""")", R"("")"},
        {R"("a)", "a"},      {R"(a")", "a"},      {R"("a\"")", R"(a")"},
        {R"("\\")", R"(\)"}, {R"(a\")", R"(a")"}, {R"("\n")", "n"},
        {R"(a\)", R"(a\)"},  {R"("\)", R"(\)"}};
    for (const auto& [literal, text] : rows)
        EXPECT_EQ(text, unquoted(literal)) << literal;
}

TEST(UtilString, UnquotingUndoesQuotingForEveryByte) {
    std::string bytes;
    for (int i = 0; i < 256; ++i)
        bytes += static_cast<char>(i);
    for (const std::string& text : {bytes, "\\" + bytes + "\\", "\"" + bytes + bytes + "\""}) {
        const Growing u = growing(text);
        ustr_quote(u.get());
        // As the scanner does: the byte after the backslash is translated, the backslash stays.
        std::string scanned = all_of(u);
        for (size_t i = 0; i + 1 < scanned.size(); ++i) {
            if (scanned[i] != '\\') continue;
            char& c = scanned[++i];
            c = c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
        }
        EXPECT_EQ(text, unquoted(scanned));
    }
}

TEST(DoubleText, IsTheShortestInFixedNotation) {
    const double infinity = std::numeric_limits<double>::infinity();
    const std::string zeros = repeated("0", 323);
    // clang-format off
    const std::pair<double, std::string> rows[] = {
        {0.0, "0.0"}, {-0.0, "-0.0"}, {-2.25, "-2.25"}, {0.1, "0.1"}, {5e-324, "0." + zeros + "5"},
        {123456789012345680.0, "123456789012345680.0"}, {1e22, "1" + zeros.substr(301) + ".0"},
        {infinity, "inf"}, {-infinity, "-inf"}, {std::nan(""), "nan"}, {-std::nan(""), "nan"}};
    // clang-format on
    for (const auto& [value, text] : rows)
        EXPECT_EQ(text, util_double_to_str(value));
    EXPECT_EQ(311u, std::strlen(util_double_to_str(std::numeric_limits<double>::max())));
}

TEST(DoubleText, ReadsBackAsTheSameDoubleInAnyLocale) {
    std::mt19937_64 random(1);
    const std::string before = setlocale(LC_ALL, nullptr);
    for (const char* locale : {"C", "de_DE.UTF-8", "da_DK.UTF-8", "fr_FR.UTF-8"}) {
        if (!setlocale(LC_ALL, locale)) continue;
        for (int i = 0; i < 50000; ++i) {
            const double value = std::bit_cast<double>(random());
            if (!std::isfinite(value)) continue;
            const std::string text = util_double_to_str(value);
            ASSERT_EQ(std::string::npos, text.find_first_not_of("-.0123456789"));
            ASSERT_NE(std::string::npos, text.find('.'));
            double back = 0.0;
            std::from_chars(text.data(), text.data() + text.size(), back);
            ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(back))
                << text;
        }
    }
    setlocale(LC_ALL, before.c_str());
}

TEST(FileNames, AreClassifiedAndStrippedByTheirExtension) {
    const std::tuple<const char*, int, const char*> rows[] = {
        {"car.pm", FILETYPE_PM, "car"},
        {"car.XML", FILETYPE_XML, "car"},
        {"m.Mub", FILETYPE_MUB, "m"},
        {"index.mui", FILETYPE_MUI, "index"},
        {"dir/calc.clX", 8, "dir/calc"},
        {"a.b/c", FILETYPE_UNKNOWN, "a.b/c"},
        {"a.pm\\c", FILETYPE_UNKNOWN, "a.pm\\c"},
        {"c:\\a\\b.pm", FILETYPE_PM, "c:\\a\\b"},
        {".pm", FILETYPE_UNKNOWN, ".pm"},
        {"name.", FILETYPE_UNKNOWN, "name"},
        {"", FILETYPE_UNKNOWN, ""},
        {"a.clxx", FILETYPE_UNKNOWN, "a"}};
    for (const auto& [path, filetype, stripped] : rows) {
        EXPECT_EQ(filetype, util_get_filetype(path)) << path;
        EXPECT_STREQ(stripped, Text(util_strip_file_extension(path)).get());
    }
}

TEST(FileNames, OfTemporaryFilesAreNewAndCreateNothing) {
    const TemporaryDirectory directory;
    const char* set = std::getenv("TMPDIR");
    const std::string before = set ? set : "";
    setenv("TMPDIR", directory.path().c_str(), 1);
    const Text first(util_temp_filename(".pm"));
    EXPECT_STRNE(first.get(), Text(util_temp_filename(".pm")).get());
    EXPECT_TRUE(std::string(first.get()).starts_with(directory.path() + "/"));
    EXPECT_EQ(FILETYPE_PM, util_get_filetype(first.get()));
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));

    setenv("TMPDIR", (directory.path() + "/missing").c_str(), 1);
    EXPECT_FALSE(util_temp_filename(".pm"));
    util_set_temp_directory(directory.path().c_str());
    EXPECT_TRUE(std::string(Text(util_temp_filename(".pm")).get()).starts_with(directory.path()));
    util_set_temp_directory(nullptr);
    unsetenv("TMPDIR");
    EXPECT_TRUE(std::string(Text(util_temp_filename(".clx")).get()).starts_with("/tmp/"));
    if (set) setenv("TMPDIR", before.c_str(), 1);
}

} // namespace
