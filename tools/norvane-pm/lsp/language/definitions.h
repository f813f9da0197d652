// Which definitions of macros count: those that no condition of the preprocessor leaves out.
#ifndef NORVANE_PM_LSP_DEFINITIONS_H
#define NORVANE_PM_LSP_DEFINITIONS_H

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace norvane::driver::lsp {

class Definitions {
  public:
    // Nothing is known.
    Definitions() = default;
    // Reads the text that the preprocessor wrote, in which the definitions stand that it took.
    explicit Definitions(std::string_view text);

    bool are_known() const { return are_known_; }
    // Whether the one at that place counts. True where nothing is known.
    bool counts(const std::string& file, unsigned line) const {
        return !are_known_ || orders_.contains({file, line});
    }
    // The place of a definition in the order; none for one that does not count, or not yet at a
    // line of a file. Where nothing is known, the lines of a file are its order.
    std::size_t order_before(const std::string& definition_file, unsigned definition_line,
                             const std::string& file, unsigned line) const;

  private:
    using Spot = std::pair<std::string, unsigned>;

    void enter(const std::string& file, unsigned line);
    void add_definition();

    bool are_known_ = false;
    std::map<Spot, std::size_t> orders_;
    std::vector<std::vector<Spot>> places_;        // of each, and where its file is included, ...
    std::map<std::string, std::size_t> entrances_; // of each file: how many come before it
    std::vector<Spot> here_;                       // while the text is read
};

} // namespace norvane::driver::lsp

#endif
