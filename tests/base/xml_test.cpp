// XML: what is written, what is read back, and what files may hold.
#include <string_view>

#include "norvane/base/text.hpp"
#include "test.h"

namespace {

using norvane::test::repeated;
using norvane::test::Reports;
using norvane::test::TemporaryDirectory;
using norvane::test::thrown;
using norvane::test::with_small_stack;
using NorvaneCpp::String;
using NorvaneCpp::UTF8;

using Document = norvane::test::Owned<XmlDocument, xml_delete>;

int every_tag(const char*) {
    return 1;
}

int value_tag(const char* tag) {
    return std::strcmp(tag, "value") == 0;
}

std::string print(XmlDocument* document) {
    return norvane::test::on_stream([&](FILE* stream) { xml_print_indented(document, stream); });
}

// The same without the first line, which all documents share.
std::string body(XmlDocument* document) {
    constexpr std::string_view prolog = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    const std::string text = print(document);
    EXPECT_EQ(prolog, text.substr(0, prolog.size()));
    return text.substr(prolog.size());
}

Document parse(const std::string& text) {
    const TemporaryDirectory directory;
    return Document(
        xml_parse_file_utf(directory.write("a.xml", text).c_str(), every_tag, value_tag));
}

// What becomes of a file: its printed form, or the reports with its name as "FILE".
std::string outcome(const std::string& path) {
    Reports reports;
    const Document document(xml_parse_file(path.c_str(), every_tag));
    std::string text = reports.text();
    if (document) return text + body(document.get());
    const size_t at = text.find(path);
    return at == std::string::npos ? text : text.replace(at, path.size(), "FILE");
}

std::string outcome_of_text(const std::string& text) {
    const TemporaryDirectory directory;
    return outcome(directory.write("a.xml", text));
}

std::string malformed(int line, const std::string& text) {
    return "ERR_XML_MALFORMED: FILE (" + std::to_string(line) + "): Malformed XML: " + text + "\n";
}

XmlNode* add(XmlNode* parent, XmlNode* child) {
    xml_node_add_child(parent, child);
    return child;
}

TEST(XmlPrint, WritesTheWholeDocument) {
    XmlNode* root = xml_node_new_tag("root");
    XmlNode* tag = add(root, xml_node_new_tag("attributes"));
    xml_set_attr(xml_node_alloc_attributes(tag, 1), 0, "first", "dropped");
    char** attributes = xml_node_alloc_attributes(tag, 4);
    xml_set_attr(attributes, 0, "first", "&<>\"'\t\n\r\x01\x7F\x80\xE6\x81");
    xml_set_attr_utf8(attributes, 3, "last", "\xE2\x98\x80");
    EXPECT_EQ(attributes, xml_node_alloc_attributes(tag, 2)) << "never less than there is";
    EXPECT_STREQ("\xE2\x98\x80", xml_node_find_attr(tag, "last"));
    EXPECT_STREQ("?", xml_parse_mustbe_attr(tag, "last").GetStr()) << "converted";
    XmlNode* texts = add(root, xml_node_new_tag("texts"));
    add(add(texts, xml_node_new_tag("a")), xml_node_new_text(" &<>\"'\t\n\r\x1F\x80 "));
    add(add(texts, xml_node_new_tag("b")),
        xml_node_new_utf8_text("\xE2\x98\x80 \xFF \xEF\xBF\xBF"));
    add(add(texts, xml_node_new_tag("c")), xml_node_new_text(""));
    XmlNode* mixed = add(root, xml_node_new_tag("mixed"));
    add(add(mixed, xml_node_new_tag("d")), xml_node_new_tag("e"));
    add(mixed, xml_node_new_text("x"));
    const Document document(xml_new("some.dtd", root, "some.xsl"));
    EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<?xml-stylesheet type=\"text/xsl\" href=\"some.xsl\"?>\n"
              "<!DOCTYPE root SYSTEM \"some.dtd\">\n"
              "<root>\n"
              "  <attributes first=\"&amp;&lt;&gt;&quot;'&#9;&#10;&#13;?\x7F\xE2\x82\xAC\xC3\xA6"
              "\xC2\x81\" last=\"\xE2\x98\x80\"/>\n"
              "  <texts>\n"
              "    <a> &amp;&lt;&gt;\"'\t\n&#13;?\xE2\x82\xAC </a>\n"
              "    <b>\xE2\x98\x80 ? ?</b>\n"
              "    <c></c>\n"
              "  </texts>\n"
              "  <mixed><d><e/></d>x</mixed>\n"
              "</root>\n",
              print(document.get()));
}

TEST(XmlParse, KeepsTextsAndDropsLayout) {
    const std::string utf16("\xFE\xFF\0<\0a\0>\x20\xAC\0<\0/\0a\0>", 18);
    const std::pair<std::string, std::string> rows[] = {
        {"<a/>", "<a/>\n"},
        {"\xEF\xBB\xBF<?xml version='1.0'?>\n<!-- c --><a x='1' y='2'/>\n",
         "<a x=\"1\" y=\"2\"/>\n"},
        {"<a>\n \t<b> </b>\r\n<c>\n</c><unknown/>\n</a>",
         "<a>\n  <b> </b>\n  <c>\n</c>\n  <unknown/>\n</a>\n"},
        {"<a> x <b/> y<b/>  </a>", "<a> x <b/> y<b/></a>\n"},
        {"<a>1<!-- c -->2<![CDATA[<&]]>3<?p i?>4&#65;&#x20AC;&lt;</a>",
         "<a>12&lt;&amp;34A\xE2\x82\xAC&lt;</a>\n"},
        {"<a v=' 1\n2\t&#10;3\r\n'>1\r\n2\r3&#13;</a>", "<a v=\" 1 2 &#10;3 \">1\n2\n3&#13;</a>\n"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><a v='\xE6'>\x81</a>",
         "<a v=\"\xC3\xA6\">\xC2\x81</a>\n"},
        {utf16, "<a>\xE2\x82\xAC</a>\n"},
        {"<a>\xE2\x98\x80</a>", "<a>?</a>\n"},
        {"<!DOCTYPE a SYSTEM 'no.dtd' [<!ENTITY f 'F'><!ENTITY e 'E&lt;<b v=\"&f;\"/>'>"
         "<!ATTLIST a w CDATA 'W'>]><a v='&f;&amp;'>&e;</a>",
         "<a v=\"F&amp;\" w=\"W\">E&lt;<b v=\"F\"/></a>\n"},
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(expected, outcome_of_text(text)) << text;
}

TEST(XmlParse, ReportsWhatIsNoXml) {
    // Entities, each of which is the one before, so many times.
    const auto entities = [](int count, unsigned times) {
        std::string text = "<!DOCTYPE a [\n<!ENTITY e0 'lollollollollollol'>";
        for (int i = 0; i < count; ++i)
            text += "<!ENTITY e" + std::to_string(i + 1) + " '" +
                    repeated("&e" + std::to_string(i) + ";", times) + "'>";
        return text + "]>\n";
    };
    const std::string bomb = entities(10, 10);
    const std::string chain = entities(100'000, 1); // expat follows it on its stack
    const std::string undefined = "undefined entity";
    const std::string bomb_text = "limit on input amplification factor (from DTD and entities) "
                                  "breached";
    const std::string external = "<!DOCTYPE a SYSTEM 'no.dtd'>\n";
    // The same in UTF-16, where it is looked for in another way.
    std::string wide = "\xFF\xFE";
    for (const char c : external + "<a v='&lt;&no;'/>")
        wide += {c, '\0'};
    const std::tuple<std::string, int, std::string> rows[] = {
        {"", 1, "no element found"},
        {"<a>\n<b>\n", 3, "no element found"},
        {"<a>\n\n\xFF</a>", 3, "not well-formed (invalid token)"},
        {std::string("<a>\0</a>", 8), 1, "not well-formed (invalid token)"},
        {"<a>\n&no;</a>", 2, undefined},
        {"<a>\n<b v='&no;'/></a>", 2, undefined},
        {external + "<a>&no;</a>", 2, undefined},
        {external + "<a v='1'>\n<b v='x&lt;&no;'/></a>", 3, undefined},
        {wide, 2, undefined},
        {"<!DOCTYPE a SYSTEM 'no.dtd' [<!ENTITY e '&no;'>]>\n<a v='&e;'/>", 2, undefined},
        {"<!DOCTYPE a [<!ENTITY e '<b v=\"&no;\"/>'> %p; ]>\n<a>&e;</a>", 2, undefined},
        {chain + "<a>&e100000;</a>", 2, bomb_text},
        {chain + "<a v='&e100000;'/>", 2, bomb_text},
        {bomb + "<a>&e10;</a>", 3, bomb_text},
        {bomb + "<a v='&e10;'/>", 3, bomb_text},
    };
    for (const auto& [text, line, expected] : rows)
        EXPECT_EQ(malformed(line, expected), outcome_of_text(text)) << text.substr(0, 200);
}

TEST(XmlParse, OpensNothingButTheFile) {
    const TemporaryDirectory directory;
    const std::string other =
        directory.write("other.dtd", "<!ENTITY e 'loaded'><!ATTLIST a v CDATA 'loaded'>");
    const auto read = [&](const std::string& text) {
        return outcome(directory.write("a.xml", text));
    };
    EXPECT_EQ("<a/>\n", read("<!DOCTYPE a SYSTEM '" + other + "'><a/>"));
    EXPECT_EQ("<a/>\n", read("<!DOCTYPE a [<!ENTITY % p SYSTEM '" + other + "'>%p;]><a/>"));
    EXPECT_EQ(malformed(1, "error in processing external entity reference"),
              read("<!DOCTYPE a [<!ENTITY e SYSTEM '" + other + "'>]><a>&e;</a>"));
    EXPECT_EQ(malformed(1, "reference to external entity in attribute"),
              read("<!DOCTYPE a [<!ENTITY e SYSTEM '" + other + "'>]><a v='&e;'/>"));

    const std::string unopened = "ERR_FILE_OPEN: The file 'FILE' cannot be opened\n";
    EXPECT_EQ(unopened, outcome(directory.path() + "/missing.xml"));
    EXPECT_EQ(unopened, outcome(directory.path()));
}

TEST(XmlRead, IteratorsTakeWhatIsThereAndThrowForTheRest) {
    const Document document =
        parse("<a x='1'>\n<b/>\n<c>text</c>\n<d> </d>\n<e>t<f/></e>\n<value>\xC3\xA6</value></a>");
    XmlNode* a = document->root;
    XmlNodeIter iter;
    XmlNode* b = xml_node_iter_init(a, &iter, 1);
    EXPECT_EQ(nullptr, xml_parse_have(&iter, "c"));
    EXPECT_EQ(b, xml_parse_have(&iter, "b"));
    EXPECT_EQ(2u, xml_node_get_line(b));
    EXPECT_STREQ("", xml_parse_mustbe_text_node(b)) << "an empty element has the empty text";

    String value("unchanged");
    EXPECT_FALSE(xml_node_get_attr(a, value, "y"));
    EXPECT_STREQ("unchanged", value.GetStr());
    EXPECT_TRUE(xml_node_get_attr(a, value, "x"));
    EXPECT_STREQ("1", value.GetStr());
    EXPECT_STREQ("1", xml_parse_mustbe_attr(a, "x").GetStr());

    const auto refused = [&](const char* tag) {
        return thrown([&] { xml_parse_mustbe(&iter, tag); });
    };
    EXPECT_EQ("2: Expecting tag <d> in <a>, but found c (line 3)", refused("d"));
    EXPECT_EQ("2: Expecting the end of <a>, but found c (line 3)",
              thrown([&] { xml_parse_mustbe_empty(&iter); }));
    EXPECT_EQ("2: Expecting attribute 'y' of tag <a> (line 1)",
              thrown([&] { xml_parse_mustbe_attr(a, "y"); }));
    EXPECT_STREQ("text", xml_parse_mustbe_text_node(xml_parse_mustbe(&iter, "c")));

    XmlNode* d = xml_parse_mustbe(&iter, "d");
    EXPECT_STREQ(" ", xml_parse_mustbe_text_node(d));
    XmlNodeIter inside;
    EXPECT_EQ(nullptr, xml_node_iter_init(d, &inside, 1)) << "blank texts are passed over";
    xml_parse_mustbe_empty(&inside);
    XmlNode* text = xml_node_iter_init(d, &inside, 0);
    EXPECT_EQ(nullptr, xml_node_get_tag(text));
    EXPECT_EQ("2: Expecting tag <x> in <d>, but found a text (line 4)",
              thrown([&] { xml_parse_mustbe(&inside, "x"); }));

    XmlNode* e = xml_parse_mustbe(&iter, "e");
    EXPECT_EQ("2: Expecting the end of <e>, but found f (line 5)",
              thrown([&] { xml_parse_mustbe_text_node(e); }));
    xml_parse_mustbe(&iter, "value");
    EXPECT_EQ("2: Expecting tag <z> in <a>, but found its end (line 1)", refused("z"));
    xml_parse_mustbe_empty(&iter);

    ErrorInfo* error = ERR_XML_PARSER(refused(repeated("n", 3000).c_str()).c_str());
    EXPECT_TRUE(std::string(error->message).ends_with("n (line 1)"))
        << "the place stays, also in the title that a reader makes of the text";
    err_delete(error);
    EXPECT_EQ("2: 5%", thrown([] { xml_parse_report_error(nullptr, "%d%%", 5); }));
}

std::string random_bytes(std::mt19937& random) {
    // Mostly what matters to XML and to UTF-8.
    // clang-format off
    constexpr std::string_view pieces[] = {
        "&", "<", ">", "]]>", "\"", "'", "\t", "\n", "\r", " ", "a", "\x01", "\x80", "\xC3\xA6",
        "\xE2\x82\xAC", "\xEF\xBF\xBE", "\xED\xB0\x80", "\xF0\x9F\x98\x80", "\xF4\x90\x80\x80"};
    // clang-format on
    std::string text;
    for (auto n = random() % 12; n > 0; --n) {
        const std::string any(1, static_cast<char>(1 + random() % 255));
        text += random() % 3 == 0 ? any : pieces[random() % std::size(pieces)];
    }
    return text;
}

std::string without_controls(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 && !std::strchr("\t\n\r", c)) c = '?';
    return text;
}

TEST(XmlRoundTrip, WhateverBytesTextsHoldTheyComeBackAsFarAsXmlCanHoldThem) {
    std::mt19937 random(7);
    for (int round = 0; round < 50; ++round) {
        std::vector<std::string> texts;
        XmlNode* root = xml_node_new_tag("root");
        for (int i = 0; i < 200; ++i) {
            const std::string text = texts.emplace_back(random_bytes(random));
            XmlNode* node = add(root, xml_node_new_tag("node"));
            char** attributes = xml_node_alloc_attributes(node, 2);
            xml_set_attr(attributes, 0, "codepage", text.c_str());
            xml_set_attr_utf8(attributes, 1, "utf8", text.c_str());
            add(add(node, xml_node_new_tag("codepage")), xml_node_new_text(text.c_str()));
            add(add(node, xml_node_new_tag("value")), xml_node_new_utf8_text(text.c_str()));
        }
        const Document built(xml_new("x.dtd", root, nullptr));
        const std::string printed = print(built.get());
        const Document read = parse(printed);
        ASSERT_TRUE(read) << printed;
        XmlNodeIter iter;
        xml_node_iter_init(read->root, &iter, 1);
        for (const std::string& text : texts) {
            const std::string expected = without_controls(text);
            const std::string converted = UTF8::ToCodepage(expected.c_str(), 1252, false).GetStr();
            XmlNode* node = xml_parse_mustbe(&iter, "node");
            EXPECT_EQ(expected, xml_node_find_attr(node, "codepage"));
            EXPECT_EQ(converted, xml_node_find_attr(node, "utf8"));
            XmlNodeIter inside;
            xml_node_iter_init(node, &inside, 1);
            EXPECT_EQ(expected, xml_parse_mustbe_text_node(xml_parse_mustbe(&inside, "codepage")));
            const char* value = xml_parse_mustbe_text_node(xml_parse_mustbe(&inside, "value"));
            EXPECT_EQ(converted, UTF8::ToCodepage(value, 1252, false).GetStr());
        }
        EXPECT_EQ(body(parse(body(read.get())).get()), body(read.get())) << "a fixpoint";
    }
}

TEST(XmlSize, DeepAndWideDocumentsNeedNoStackAndNoPatience) {
    constexpr size_t n = 1000000;
    std::string attributes;
    for (size_t i = 0; i < n; ++i)
        attributes += " a" + std::to_string(i) + "=\"\"";
    const std::string rows[] = {
        repeated("<a>", n) + "<b/>" + repeated("</a>", n),
        "<a>" + repeated("<b/>", n) + "</a>",
        "<a" + attributes + "/>",
        "<a>" + repeated("text <b/> ", n) + "</a>",
        "<a>" + std::string(20 * n, 'x') + "</a>",
    };
    with_small_stack([&] {
        for (std::string expected : rows) {
            const Document document = parse(expected);
            ASSERT_TRUE(document);
            std::string printed = body(document.get());
            EXPECT_LT(printed.size(), expected.size() * 30)
                << "deep levels are indented no further";
            const auto is_layout = [](char c) { return c == ' ' || c == '\n'; };
            std::erase_if(printed, is_layout);
            std::erase_if(expected, is_layout);
            EXPECT_TRUE(printed == expected) << expected.substr(0, 40);
        }
        XmlNode* root = xml_node_new_tag("a");
        XmlNode* node = root;
        for (size_t i = 0; i < n; ++i)
            node = add(node, xml_node_new_tag("a"));
        add(node, xml_node_new_text("x"));
        xml_node_delete(root);
    });
}

// Half a minute, if the parser went through what it holds of a token again with each piece of it.
TEST(XmlSize, ATokenAsLargeAsTheFileIsReadInTimeThatFollowsItsSize) {
    const std::string large(40'000'000, 'x');
    const Reports reports;
    const std::clock_t begin = std::clock();
    EXPECT_TRUE(parse("<a><!--" + large + "--></a>"));
    EXPECT_FALSE(parse("<a v='" + large));
    EXPECT_LT(std::clock() - begin, 8 * CLOCKS_PER_SEC);
    EXPECT_EQ("ERR_XML_MALFORMED", reports.names());
}

} // namespace
