// Calculations as text: as XML, which shows each node of the tree, as source, and as names alone.
#ifndef NORVANE_TESTS_CALC_TEXT_H
#define NORVANE_TESTS_CALC_TEXT_H

#include <regex>

#include "norvane/proj.hpp"
#include "test.h"

namespace norvane::test {

inline std::string written(PolyHash* calc, int line_info = 1) {
    return on_stream([&](FILE* stream) { calc_export_to_stream(stream, calc, line_info); });
}

// The source on one line.
inline std::string printed(PolyHash* calc) {
    const std::string text = on_stream([&](FILE* stream) { calc_to_file(calc, stream); });
    return std::regex_replace(text, std::regex("\\s+"), " ");
}

// What the two groups of the pattern find in the XML, as "ONE@OTHER", in order: the lines of all
// nodes, for one.
inline std::string found(PolyHash* calc,
                         const char* pattern = R"re(<(\w+)[^>]*line_no="(\d+)")re") {
    const std::string xml = written(calc);
    const std::regex regex(pattern);
    std::string text;
    for (std::sregex_iterator at(xml.begin(), xml.end(), regex), end; at != end; ++at)
        text += (text.empty() ? "" : " ") + at->str(1) + "@" + at->str(2);
    return text;
}

// The names of the functions, "ns: f g; ns2: h", the containers of each namespace being compared on
// the way.
inline std::string functions(const PolyHash* calc) {
    std::string result;
    for (const auto& [name, ns] : pairs<char, CNameSpace>(calc)) {
        EXPECT_EQ(phash_size(ns->functions), plist_length(ns->func_list));
        result += (result.empty() ? "" : "; ") + std::string(name) + ":";
        for (CFunc* func : items<CFunc>(ns->func_list)) {
            EXPECT_EQ(calc_get_function(ns, func->name), func);
            result += std::string(" ") + func->name;
        }
    }
    return result;
}

inline CFunc* function_of(const CalcPtr& calc, const char* name = "f") {
    return calc_get_function(calc_get_namespace(calc.get(), "N"), name);
}

} // namespace norvane::test

#endif
