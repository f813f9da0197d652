// Tables of sources and what becomes of them: a case is a block of lines "> SOURCE" and, up to the
// next such block, what is expected. What stands before the first case is a comment.
#ifndef NORVANE_TESTS_CASES_H
#define NORVANE_TESTS_CASES_H

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "support.h"

namespace norvane::test {

struct Case {
    int line;
    std::string source;
    std::string expected;
};

inline std::vector<Case> cases_of(const std::string& data) {
    std::vector<Case> cases;
    std::istringstream lines(data);
    bool in_source = false;
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        const bool is_source = line.starts_with(">");
        if (is_source && !in_source) cases.push_back({number, "", ""});
        if (is_source)
            cases.back().source += (in_source ? "\n" : "") + line.substr(line.size() > 1 ? 2 : 1);
        else if (!cases.empty())
            cases.back().expected += line + "\n";
        in_source = is_source;
    }
    return cases;
}

inline std::string without_blank_end(std::string text) {
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

// Holds outcome(source) against each case of a data file, named by its path below tests.
inline void expect_outcomes(const std::string& path,
                            const std::function<std::string(const std::string&)>& outcome) {
    for (const Case& c : cases_of(test_data(path)))
        EXPECT_EQ(without_blank_end(outcome(c.source)), without_blank_end(c.expected))
            << path << ":" << c.line << ": " << c.source;
}

} // namespace norvane::test

#endif
