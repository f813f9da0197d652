// Tables of test cases as text: one case a line, its fields divided by "=>".
#ifndef NORVANE_TESTS_MODEL_ROWS_H
#define NORVANE_TESTS_MODEL_ROWS_H

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace norvane::test {

// The fields of each line, without the blanks around them. "^" stands for a line feed.
inline std::vector<std::vector<std::string>> rows(const std::string& table) {
    std::vector<std::vector<std::string>> result;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) continue;
        auto& row = result.emplace_back();
        for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 2) {
            end = line.find("=>", begin);
            const std::size_t first = std::min(line.find_first_not_of(' ', begin), end);
            std::string field = first == end ? "" : line.substr(first, end - first);
            field.erase(field.find_last_not_of(' ') + 1);
            std::replace(field.begin(), field.end(), '^', '\n');
            row.push_back(field);
        }
    }
    return result;
}

} // namespace norvane::test

#endif
