#include "dependency_rule.h"

namespace norvane::driver {

// A backslash stands for itself, except before what it quotes: there it is doubled.
std::string quoted_for_make(std::string_view name) {
    std::string quoted;
    std::size_t backslashes = 0; // just before
    for (const char c : name) {
        if (c == '$') quoted += '$';
        if (c == ' ' || c == '\t' || c == '#' || c == ':')
            quoted += std::string(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    return quoted;
}

std::string dependency_rule(const std::vector<std::string>& targets,
                            const std::vector<std::string>& files, bool with_phony) {
    std::string rule;
    for (const std::string& target : targets)
        rule += (rule.empty() ? "" : " ") + target;
    rule += ':';
    for (const std::string& file : files)
        rule += " \\\n  " + quoted_for_make(file);
    rule += '\n';
    for (std::size_t i = 1; with_phony && i < files.size(); ++i)
        rule += quoted_for_make(files[i]) + ":\n";
    return rule;
}

} // namespace norvane::driver
