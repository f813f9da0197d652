// String, the conversions between code page 1252 and UTF-8, and numbers from text.
#include <map>

#include "norvane/base/text.hpp"
#include "test.h"

namespace {

using NorvaneCpp::String;
using NorvaneCpp::UTF8;

std::string text_of(const String& string) {
    EXPECT_EQ('\0', string.GetStr()[string.Size()]);
    return {string.GetStr(), string.Size()};
}

std::string to_codepage(const std::string& utf8) {
    return text_of(UTF8::ToCodepage(String(utf8.data(), utf8.size()), 1252, false));
}

std::string to_utf8(const std::string& codepage) {
    return text_of(UTF8::ToUnicode(String(codepage.data(), codepage.size())));
}

TEST(String, IsAValue) {
    String a("text");
    String b(a);
    a.printf("<%s|%s>", a.GetStr(), std::string(5000, 'x').c_str());
    EXPECT_EQ("text", text_of(b));
    EXPECT_EQ("<text|" + std::string(5000, 'x') + ">", text_of(a));
    b = b.GetStr() + 2;
    const String& same = b;
    b = same;
    String c(std::move(b));
    EXPECT_EQ("xt", text_of(c));
    EXPECT_EQ("", text_of(b)) << "what was moved away is empty";
    b = a;
    b = std::move(c);
    EXPECT_EQ("xt", text_of(b));
    b = static_cast<const char*>(nullptr);
    EXPECT_EQ("", text_of(b) + text_of(String()) + text_of(String(nullptr)));
}

// The code points of the bytes 0x80 to 0x9F.
constexpr char32_t high[] =
    U"\u20AC\x81\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039"
    U"\u0152\x8D\u017D\x8F\x90\u2018\u2019\u201C\u201D\u2022\u2013\u2014"
    U"\u02DC\u2122\u0161\u203A\u0153\x9D\u017E\u0178";

std::string utf8_of(uint32_t point) {
    const auto tail = [point](int shift) {
        return static_cast<char>(0x80 | (point >> shift & 0x3F));
    };
    if (point < 0x80) return {static_cast<char>(point)};
    if (point < 0x800) return {static_cast<char>(0xC0 | point >> 6), tail(0)};
    if (point < 0x10000) return {static_cast<char>(0xE0 | point >> 12), tail(6), tail(0)};
    return {static_cast<char>(0xF0 | point >> 18), tail(12), tail(6), tail(0)};
}

// The UTF-8 form of each byte.
const std::map<std::string, char>& code_page() {
    static const std::map<std::string, char> table = [] {
        std::map<std::string, char> result;
        for (uint32_t byte = 0; byte < 256; ++byte)
            result[utf8_of(byte >= 0x80 && byte < 0xA0 ? high[byte - 0x80] : byte)] =
                static_cast<char>(byte);
        return result;
    }();
    return table;
}

TEST(CodePage, HasEachByteForOneCodePointAndQuestionMarksForAllOthers) {
    ASSERT_EQ(256u, code_page().size());
    for (uint32_t point = 0; point < 0x110000; ++point) {
        if (point >= 0xD800 && point < 0xE000) continue;
        const std::string utf8 = utf8_of(point);
        const auto found = code_page().find(utf8);
        const bool is_in = found != code_page().end();
        const std::string expected(1, is_in ? found->second : '?');
        ASSERT_EQ("some plain text " + expected, to_codepage("some plain text " + utf8)) << point;
        ASSERT_TRUE(!is_in || to_utf8(expected) == utf8) << point;
    }
    EXPECT_EQ("1: codepage == 1252",
              norvane::test::thrown([] { UTF8::ToCodepage("", 850, false); }));
}

// True if the bytes are what one code point is encoded as.
bool is_encoding(const std::string& bytes) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
    uint32_t point = bytes.size() == 1 ? byte(0) : byte(0) & 0x7Fu >> bytes.size();
    for (size_t i = 1; i < bytes.size(); ++i)
        point = point << 6 | (byte(i) & 0x3Fu);
    return (point < 0xD800 || (point >= 0xE000 && point < 0x110000)) && utf8_of(point) == bytes;
}

std::string plain_to_codepage(const std::string& text) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        size_t length = 4;
        while (length > 1 && !is_encoding(text.substr(at, length)))
            --length;
        const auto found = code_page().find(text.substr(at, length));
        result += found == code_page().end() ? '?' : found->second;
        at += length;
    }
    return result;
}

TEST(CodePage, EachMalformedByteIsAQuestionMark) {
    // All short sequences, and random longer ones, of the bytes at which the rules change.
    const std::string edges = "az\x7F\x80\x8F\x90\x9F\xA0\xA6\xBF\xC0\xC1\xC2\xC3\xDF\xE0\xE1\xE2"
                              "\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xFF";
    for (const char a : edges)
        for (const char b : edges)
            for (const char c : edges)
                ASSERT_EQ(plain_to_codepage({a, b, c}), to_codepage({a, b, c}));
    std::mt19937 random(3);
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (auto n = random() % 24; n > 0; --n)
            text += edges[random() % edges.size()];
        ASSERT_EQ(plain_to_codepage(text), to_codepage(text));
    }
}

TEST(Numbers, AreReadAsTheCLibraryReadsThemAndIntegersSaturate) {
    const std::string zeros(400, '0');
    std::istringstream texts(
        "|x1|-|.|+-1|-+1|--1| \t\n\v\f\r-1.5e3x|+.5|+08x|5.|1e|1e+|1,5|0.1|2147483647|2147483648|"
        "-2147483648|-99999999999999999999|1e308|1e309|-1e309|1e-323|4.9e-324|-1e-400|0e999|-0|"
        "1e99999999999999999999|1e-99999999999999999999|0x1.8p1|-0X.8|0x|0xg|0x-1|0x1p5000|"
        "0x1p-5000|0xinf|inf|-Infinity|nan|-nan(1)|1" +
        zeros + "|0." + zeros + "1|1" + zeros + "e-400|0." + zeros + "1e401");
    for (std::string text; std::getline(texts, text, '|');) {
        const double expected = std::strtod(text.c_str(), nullptr);
        const double value = str_to_double(text.c_str());
        EXPECT_TRUE(expected == value || (std::isnan(expected) && std::isnan(value))) << text;
        EXPECT_EQ(std::signbit(expected), std::signbit(value)) << text;
        const long number = std::strtol(text.c_str(), nullptr, 10);
        EXPECT_EQ(std::clamp<long>(number, INT_MIN, INT_MAX), str_to_int(text.c_str())) << text;
    }
}

} // namespace
