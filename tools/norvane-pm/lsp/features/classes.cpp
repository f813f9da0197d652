#include "classes.h"

#include <cstdlib>

namespace norvane::driver::lsp {
namespace {

std::vector<std::string> of_integers(const std::vector<std::string>& cuts) {
    std::vector<std::string> classes;
    long long next = 0; // the first value after the cut before
    for (std::size_t i = 0; i < cuts.size(); ++i) {
        const long long cut = std::atoll(cuts[i].c_str());
        if (i == 0)
            classes.push_back("up to " + std::to_string(cut - 1));
        else if (cut > next)
            classes.push_back(std::to_string(next) +
                              (cut - 1 > next ? " to " + std::to_string(cut - 1) : ""));
        classes.push_back(cuts[i]);
        next = cut + 1;
    }
    classes.push_back("from " + std::to_string(next));
    return classes;
}

std::vector<std::string> of_floats(const std::vector<std::string>& cuts) {
    std::vector<std::string> classes = {"below " + cuts.front()};
    for (std::size_t i = 0; i < cuts.size(); ++i) {
        if (i > 0) classes.push_back("between " + cuts[i - 1] + " and " + cuts[i]);
        classes.push_back(cuts[i]);
    }
    classes.push_back("above " + cuts.back());
    return classes;
}

} // namespace

std::vector<std::string> classes_of(const std::vector<std::string>& cuts) {
    if (cuts.empty()) return {};
    if (cuts.front().starts_with('"')) {
        std::vector<std::string> classes = cuts;
        classes.push_back("any other text");
        return classes;
    }
    const bool is_integer = cuts.front().find_first_of(".en") == std::string::npos;
    return is_integer ? of_integers(cuts) : of_floats(cuts);
}

} // namespace norvane::driver::lsp
