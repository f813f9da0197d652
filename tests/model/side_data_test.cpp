// Presentations and variable orders: the tables, their files, whole and valid by their document
// types, and what is refused.
#include "norvane/proj.hpp"
#include "test.h"
#include "xml_files.h"

namespace norvane::test {
namespace {

using NorvaneCpp::String;

using PresentationPtr = Owned<PolyHash, pres_delete>;

struct Entry {
    const char *layer, *key, *value;
};

PresentationPtr presentation(std::initializer_list<Entry> entries) {
    PresentationPtr result(pres_new());
    for (const Entry& e : entries)
        pres_add_key_value_utf8(result.get(), e.layer, e.key, e.value);
    return result;
}

// All of a presentation, in table order: "layer{key=value key=value} layer{...}".
std::string text(PolyHash* presentation) {
    std::string result;
    const ListPtr layers(pres_get_layers(presentation));
    for (const char* layer : items<char>(layers.get())) {
        result += (result.empty() ? "" : " ") + std::string(layer) + "{";
        for (const auto& [key, value] : pairs<char, char>(pres_get_layer(presentation, layer)))
            result += (result.back() == '{' ? "" : " ") + std::string(key) + "=" + value;
        result += "}";
    }
    return result;
}

std::string text(const PolyList* order) {
    std::string result;
    for (const char* name : items<char>(order))
        result += (result.empty() ? "" : "|") + std::string(name);
    return result;
}

ListPtr order(std::initializer_list<const char*> names) {
    ListPtr result(var_order_new());
    for (const char* name : names)
        var_order_add_variable(result.get(), name);
    return result;
}

// A table of documents with everything that their reading tells: the reports, then what was read.
template <typename Import>
void expect_outcomes(const char* name, Import import) {
    const TemporaryDirectory directory;
    const auto outcome = [&](std::string xml) {
        std::replace(xml.begin(), xml.end(), '^', '\n');
        const Reports reports;
        const std::string result = import(directory.write("in.xml", xml).c_str());
        return reports.text() + result;
    };
    EXPECT_EQ(test_data_rerun("model/data/" + std::string(name), outcome),
              test_data("model/data/" + std::string(name)));
}

std::string read_presentation(const char* path) {
    const PresentationPtr read(pres_import(path));
    return read ? text(read.get()) : "null";
}

std::string read_order(const char* path) {
    const ListPtr read(var_order_import(path));
    return read ? "(" + text(read.get()) + ")" : "null";
}

TEST(Presentation, LaterValuesWinAndKeepTheirPlace) {
    const PresentationPtr p = presentation({{"en", "b", "1"}, {"da", "b", "2"}, {"en", "a", "3"}});
    pres_add_key_value_utf8(p.get(), "en", "b", "4");
    EXPECT_EQ(text(p.get()), "en{b=4 a=3} da{b=2}");

    const PresentationPtr other =
        presentation({{"fr", "a", "5"}, {"en", "c", "6"}, {"en", "a", "7"}});
    pres_merge(p.get(), other.get());
    EXPECT_EQ(text(p.get()), "en{b=4 a=7 c=6} da{b=2} fr{a=5}");
    EXPECT_EQ(text(other.get()), "fr{a=5} en{c=6 a=7}");

    const PresentationPtr empty = presentation({});
    pres_merge(empty.get(), p.get());
    pres_merge(empty.get(), empty.get());
    EXPECT_EQ(text(empty.get()), text(p.get()));
}

TEST(Presentation, ValuesAreKeptInUtf8AndSeenInEither) {
    const PresentationPtr p = presentation({{"en", "k", "\xC3\xA9 \xE2\x82\xAC \xE6\x97\xA5"}});
    String value("before");
    EXPECT_FALSE(pres_get_value(p.get(), value, "en", "none"));
    EXPECT_FALSE(pres_get_value_utf8(p.get(), value, "none", "k"));
    EXPECT_STREQ(value.GetStr(), "before");
    EXPECT_TRUE(pres_get_value(p.get(), value, "en", "k"));
    EXPECT_STREQ(value.GetStr(), "\xE9 \x80 ?");
    EXPECT_TRUE(pres_get_value_utf8(p.get(), value, "en", "k"));
    EXPECT_STREQ(value.GetStr(), "\xC3\xA9 \xE2\x82\xAC \xE6\x97\xA5");
    pres_add_key_value(p.get(), "en", "\xE9", "\xE9\x80");
    EXPECT_TRUE(pres_get_value_utf8(p.get(), value, "en", "\xE9"));
    EXPECT_STREQ(value.GetStr(), "\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(pres_get_layer(p.get(), "none"), nullptr);
}

TEST(Presentation, IsWrittenWholeAndComesBackAsItWas) {
    const TemporaryDirectory directory;
    const std::string path = directory.path() + "/out.xml";
    const PresentationPtr p =
        presentation({{"\xE9", "\xE9<", "\xC3\xA9 \xE6\x97\xA5\xF0\x9F\x98\x80"},
                      {"en", "", " two\nlines\r\n "},
                      {"en", "none", ""}});
    ASSERT_EQ(pres_export(p.get(), path.c_str()), 0);
    const std::string xml = read_file(path);
    EXPECT_EQ(validity(path), "");
    const PresentationPtr back(pres_import(path.c_str()));
    EXPECT_EQ(text(back.get()), text(p.get()));
    ASSERT_EQ(pres_export(back.get(), path.c_str()), 0);
    EXPECT_EQ(read_file(path), xml);

    // A layer that does not exist is an element without entries.
    XmlDocument* none = xml_new(nullptr, pres_layer_to_xml(p.get(), "none"), nullptr);
    testing::internal::CaptureStdout();
    xml_print_indented(none, stdout);
    EXPECT_EQ(pres_export(presentation({}).get(), "-"), 0);
    EXPECT_GE(std::puts("still open"), 0);
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_NE(output.find("<layer name=\"none\"/>\n"), std::string::npos);
    EXPECT_TRUE(output.ends_with("<presentation/>\nstill open\n")) << output;
    xml_delete(none);
}

TEST(Presentation, IsReadByItsFormatAndNoOther) {
    expect_outcomes("xml/presentations.txt", read_presentation);
}

TEST(VarOrder, IsWrittenWithItsDoublesAndReadWithoutThem) {
    const TemporaryDirectory directory;
    const std::string path = directory.path() + "/out.xml";
    const ListPtr names = order({"b", "a", "b", " b", "B", "", "\xE9<", "b"});
    ASSERT_EQ(var_order_export(names.get(), path.c_str()), 0);
    EXPECT_NE(read_file(path).find("<var>\xC3\xA9&lt;</var>\n  <var>b</var>\n</var_order>"),
              std::string::npos);
    EXPECT_EQ(validity(path), "");
    const Reports reports;
    const ListPtr back(var_order_import(path.c_str()));
    EXPECT_EQ(text(back.get()), "b|a| b|B||\xE9<");
    EXPECT_EQ(
        reports.text(),
        "warning ERR_VARORDER_DUPLICATE_VAR: Duplicate variable 'b' in variable ordering file\n"
        "warning ERR_VARORDER_DUPLICATE_VAR: Duplicate variable 'b' in variable ordering file\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(var_order_export(order({}).get(), "-"), 0);
    EXPECT_GE(std::puts("still open"), 0);
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(output.ends_with("<var_order/>\nstill open\n")) << output;
}

TEST(VarOrder, IsReadByItsFormatAndNoOther) {
    expect_outcomes("xml/var_orders.txt", read_order);
}

TEST(SideData, FilesThatCannotBeOpenedAreReported) {
    const Reports reports;
    EXPECT_EQ(pres_export(presentation({}).get(), "/nowhere/p.xml"), -1);
    EXPECT_EQ(var_order_export(order({}).get(), "/nowhere/v.xml"), -1);
    EXPECT_EQ(reports.names(), "ERR_FILE_OPEN_WRITE ERR_FILE_OPEN_WRITE");
    EXPECT_EQ(pres_import("/nowhere/p.xml"), nullptr);
    EXPECT_EQ(var_order_import("/nowhere/v.xml"), nullptr);
    EXPECT_EQ(reports.names(),
              "ERR_FILE_OPEN_WRITE ERR_FILE_OPEN_WRITE ERR_FILE_OPEN ERR_FILE_OPEN");
}

} // namespace
} // namespace norvane::test
