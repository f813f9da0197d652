#include "included_names.h"

#include <algorithm>

namespace norvane::driver::lsp {
namespace {

void skip_blanks(std::string_view& line) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
}

bool skip(std::string_view& line, std::string_view word) {
    skip_blanks(line);
    const bool is_there = line.starts_with(word);
    if (is_there) line.remove_prefix(word.size());
    return is_there;
}

// "define NAME".
bool skip_definition(std::string_view& line) {
    if (!skip(line, "define")) return false;
    skip_blanks(line);
    line.remove_prefix(std::min(line.find_first_of(" \t"), line.size()));
    return true;
}

} // namespace

std::vector<std::string> included_names(std::string_view source) {
    std::vector<std::string> names;
    for (std::size_t at = source.find('#'); at < source.size(); at = source.find('#', at + 1)) {
        std::string_view line = source.substr(at + 1);
        line = line.substr(0, line.find('\n'));
        if (!skip(line, "include") && !skip_definition(line)) continue;
        skip_blanks(line);
        if (line.empty() || (line[0] != '"' && line[0] != '<')) continue;
        const std::size_t end = line.find(line[0] == '<' ? '>' : '"', 1);
        if (end != line.npos) names.emplace_back(line.substr(1, end - 1));
    }
    return names;
}

} // namespace norvane::driver::lsp
