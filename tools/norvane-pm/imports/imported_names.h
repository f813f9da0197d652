// Names of PM for names of other languages.
#ifndef NORVANE_PM_IMPORTED_NAMES_H
#define NORVANE_PM_IMPORTED_NAMES_H

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace norvane::driver {

// Constants, labels, types and variables share their names, so there is one of these for a model.
class ImportedNames {
  public:
    // A name that was not given out yet: the original where PM can hold it.
    std::string make(std::string_view original);
    // The same for a name that stands for no original one, which needs no display text.
    std::string make_new(std::string_view wanted);
    // The label of a variable, as source; in quotes where it is no plain name.
    std::string make_label(std::string_view original, const std::string& variable);
    // Pairs of a name and the original, where they differ.
    const std::vector<std::pair<std::string, std::string>>& renamed() const { return renamed_; }

  private:
    std::unordered_map<std::string, unsigned> used_; // with the last number that follows it
    std::vector<std::pair<std::string, std::string>> renamed_;
};

// Whether the bytes can stand in quotes as they are. Sources without a "#", a backslash and two
// underscores in a row are read without the preprocessor, which might replace words in them.
bool is_quotable(std::string_view text);

} // namespace norvane::driver

#endif
