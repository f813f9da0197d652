// The stack machine over XML, on a small format of its own: what handlers are given, what counts as
// text, what is passed over, and how it ends; all of it in blocks of any size.
#include "norvane/base/sax_include.hpp"
#include "test.h"

namespace norvane::test {
namespace {

void append_child(UtilString* text, const StackData& child) {
    const auto* own = static_cast<UtilString*>(child.data);
    ustr_printf(text, "%s'%s'", child.row->tag, own->text);
}

// An element amounts to a text of its attributes and its children.
void describe(SaxInfo* pi, StackData* sd, SaxChildren children) {
    UtilString* text = ustr_new();
    sd->data = text;
    for (const char* name : {"a", "b"})
        if (const char* value = sax_get_attr(pi, sd, name))
            ustr_printf(text, "%s=%s ", name, value);
    for (const StackData& child : children)
        append_child(text, child);
}

void refuse(SaxInfo* pi, StackData* sd, SaxChildren) {
    sax_error(sd, "%s", sax_must_get_attr(pi, sd, "why"));
}

void fail(SaxInfo*, StackData*, SaxChildren) {
    NORVANE_FAIL("broken");
}

void delete_text(void* text) {
    ustr_delete(static_cast<UtilString*>(text));
}

constexpr ChildTag in_pair[] = {
    {"x", CHILD_ONE}, {"y", CHILD_OPTIONAL}, {"x", CHILD_ONE_OR_MORE}, {"y", CHILD_ANY}, {}};
constexpr ChildTag in_odd[] = {{"x", static_cast<ChildTagState>(7)}, {}};

constexpr SaxTag table[] = {
    {"x", nullptr, describe, delete_text},
    {"y", nullptr, describe, delete_text},
    {"mixed", nullptr, describe, delete_text},
    {"text", nullptr, describe, delete_text},
    {"pair", in_pair, describe, delete_text},
    {"odd", in_odd, describe, delete_text},
    {"refuse", nullptr, refuse, nullptr},
    {"fail", nullptr, fail, nullptr},
    {},
};

int is_mixed(const char* tag) {
    return str_is_equal(tag, "mixed");
}

int is_text(const char* tag) {
    return str_is_equal(tag, "text");
}

struct Bytes {
    std::string text;
    std::size_t block;
    std::size_t at = 0;
};

std::size_t read_bytes(void* user, void* buffer, std::size_t size, bool* at_end) {
    auto* bytes = static_cast<Bytes*>(user);
    const std::size_t count = std::min({size, bytes->block, bytes->text.size() - bytes->at});
    std::memcpy(buffer, bytes->text.data() + bytes->at, count);
    bytes->at += count;
    *at_end = bytes->at == bytes->text.size();
    return count;
}

// What the document amounts to, or why not.
std::string outcome(const std::string& xml, std::size_t block) {
    Bytes bytes{xml, block};
    SaxInfo* pi = sax_new(table, is_mixed, is_text);
    bool is_well_formed = false;
    std::string text = thrown([&] { is_well_formed = sax_parse(pi, read_bytes, &bytes); });
    if (!text.empty()) {
        text += " at line " + std::to_string(sax_line(pi));
    } else if (!is_well_formed) {
        text = sax_error_text(pi);
    } else if (stack_is_empty(pi)) {
        text = "nothing";
    } else {
        text = stack_top(pi)->row->tag + std::string(": ") +
               static_cast<UtilString*>(stack_top(pi)->data)->text;
        stack_pop(pi);
        EXPECT_TRUE(stack_is_empty(pi));
    }
    sax_delete(pi);
    return text;
}

TEST(SaxMachine, FoldsElementsInBlocksOfAnySize) {
    const std::string skipped = "<what x='&no;' y='1'>&no;<x/> text <x><what/></x></what>";
    const std::pair<std::string, std::string> rows[] = {
        {"<x/>", "x: "},
        {"<x b='2' c='3' a='\xC3\xA6\xE2\x98\x80'/>", "x: a=\xE6? b=2 "},
        {"<x> \n <y a='1'/>\t<x><y/><y/></x> </x>", "x: y'a=1 'x'y''y'''"},
        {"<x> a b \n c <y/> \n d</x>", "x: #cdata'a b \n c 'y''#cdata'd'"},
        {"<text> <y> </y> </text>", "text: #cdata' 'y''"},
        {"<mixed> <y> </y> </mixed>", "mixed: #cdata' 'y'#cdata' ''#cdata' '"},
        {"<x><mixed/> </x>", "x: mixed''"},
        {"<what><x/></what>", "nothing"},
        {"<!DOCTYPE x SYSTEM 'no.dtd'><x>" + skipped + "<y/>" + skipped + "</x>", "x: y''"},
        {"<!DOCTYPE x SYSTEM 'no.dtd'><x>" + skipped + "<y a='&no;'/></x>", "undefined entity"},
        {"<!DOCTYPE x SYSTEM 'no.dtd'><x>" + skipped + "<y>&no;</y></x>", "undefined entity"},
        {"<x>" + skipped + "</x>", "undefined entity"},
        {"<pair><x/><x/></pair>", "pair: x''x''"},
        {"<pair><x/><y/><x/><x/><y/><y/></pair>", "pair: x''y''x''x''y''y''"},
        {"<x><pair a='1'>\n<y/></pair></x>",
         "2: Error in XML file tag <pair> in line 1: Missing expected child 'x'\n at line 2"},
        {"<pair><x/><y/>\n</pair>",
         "2: Error in XML file tag <pair> in line 1: Missing expected child 'x'\n at line 2"},
        {"<pair><x/><x/><y/><text/><x/></pair>",
         "2: Error in XML file tag <pair> in line 1: Found invalid children: text\n at line 1"},
        {"<pair>text<x/></pair>",
         "2: Error in XML file tag <pair> in line 1: Missing expected child 'x'\n at line 1"},
        {"<x>\n<refuse/>\n<no></x>",
         "2: Error in XML file tag <refuse> in line 2: No attribute 'why'\n at line 2"},
        {"<x><refuse why='%d'/></x>",
         "2: Error in XML file tag <refuse> in line 1: %d\n at line 1"},
        {"<x><y>\n</y><fail/><refuse/></x>", "1: broken at line 2"},
        {"<odd/>", "1: Found invalid ChildTagState : 7 at line 1"},
        {"<x><y></x>", "mismatched tag"},
        {"", "no element found"},
    };
    for (const auto& [xml, expected] : rows)
        for (const std::size_t block : {1u, 2u, 3u, 4u, 5u, 4096u})
            EXPECT_EQ(outcome(xml, block), expected) << xml << " in blocks of " << block;
}

// The reader reads ahead only within a long token, and reports faults before the point where
// reading fails.
TEST(SaxMachine, WhatWasReadBeforeAFailureIsLookedAtFirst) {
    const auto read_and_fail = [](void* user, void* buffer, std::size_t size, bool* at_end) {
        const std::size_t count = read_bytes(user, buffer, size, at_end);
        if (count == 0) NORVANE_FAIL("broken");
        *at_end = false;
        return count;
    };
    const std::string token = "<x a='" + std::string(4 * 2048, '1') + "'>\n";
    const std::pair<const char*, const char*> rows[] = {
        {"</y>", "mismatched tag at line 2"},
        {"<refuse/>",
         "2: Error in XML file tag <refuse> in line 2: No attribute 'why'\n at line 2"},
        {"<y>", "1: broken at line 2"},
        {"<y", "1: broken at line 2"},
    };
    for (const auto& [end, expected] : rows) {
        Bytes bytes{token + end, 2048};
        SaxInfo* pi = sax_new(table, is_mixed, is_text);
        std::string text = thrown([&] { sax_parse(pi, read_and_fail, &bytes); });
        if (text.empty()) text = sax_error_text(pi);
        EXPECT_EQ(text + " at line " + std::to_string(sax_line(pi)), expected) << end;
        sax_delete(pi);
    }
}

// A token of some megabytes, looked at again with each block, would take minutes.
TEST(SaxMachine, LongTokensTakeLinearTime) {
    const std::string text(30'000'000, 'x');
    EXPECT_EQ(outcome("<what><y a='" + text + "'/><" + text + "/><!--" + text + "--></what>", 2048),
              "nothing");
    EXPECT_EQ(outcome("<x a='" + text + "'/>", 2048).size(), text.size() + std::strlen("x: a= "));
}

} // namespace
} // namespace norvane::test
