// Rules for make and ninja that name the files which a result was made from.
#ifndef NORVANE_PM_DEPENDENCY_RULE_H
#define NORVANE_PM_DEPENDENCY_RULE_H

#include <string>
#include <string_view>
#include <vector>

namespace norvane::driver {

// The name as make reads it in a rule; ninja reads it in the same way.
std::string quoted_for_make(std::string_view name);

// The rule that makes the targets, which are quoted already, depend on the files. With
// `with_phony`, each file but the first also gets a rule without a recipe, so that make goes on
// where that file has been removed.
std::string dependency_rule(const std::vector<std::string>& targets,
                            const std::vector<std::string>& files, bool with_phony);

} // namespace norvane::driver

#endif
