// What can be folded: sections, records and functions, and comments of several lines.
#include <algorithm>
#include <vector>

#include "requests.h"
#include "tokens.h"

namespace norvane::driver::lsp {
namespace {

class Folding {
  public:
    explicit Folding(const Document& document)
        : lines_(document.lines),
          language_(document.is_calculation ? Language::calculation : Language::model) {}

    Json find() {
        comments();
        std::vector<std::size_t> open;
        std::size_t section = none_;
        std::size_t last = 0;
        const Scan found = scan(lines_.text(), 0, language_);
        for (const Token& token : found.tokens) {
            const std::string_view word =
                std::string_view(lines_.text()).substr(token.offset, token.length);
            if (open.empty() && language_ == Language::model && is_section_word(word)) {
                end_section(section, last);
                section = token.offset;
            }
            if (word == "{") open.push_back(token.offset);
            if (word == "}" && !open.empty()) {
                add(open.back(), token.offset, nullptr, true);
                open.pop_back();
            }
            last = token.offset;
        }
        end_section(section, last);
        return std::move(ranges_);
    }

  private:
    void end_section(std::size_t section, std::size_t last) {
        if (section != none_) add(section, last, "region", false);
    }

    // `keeps_last`: the line of the closing bracket stays in sight.
    void add(std::size_t first, std::size_t last, const char* kind, bool keeps_last) {
        const std::size_t begin = lines_.position(first).line;
        const std::size_t end = lines_.position(last).line;
        if (end < begin + 1 + keeps_last) return;
        Json range = {{"startLine", begin}, {"endLine", end - keeps_last}};
        if (kind) range["kind"] = kind;
        ranges_.push_back(std::move(range));
    }

    void comments() {
        const std::string& text = lines_.text();
        for (std::size_t at = text.find("/*"); at != text.npos; at = text.find("/*", at)) {
            const std::size_t end = text.find("*/", at + 2);
            if (end == text.npos) return;
            add(at, end, "comment", false);
            at = end + 2;
        }
    }

    static constexpr std::size_t none_ = static_cast<std::size_t>(-1);
    const Lines& lines_;
    const Language language_;
    Json ranges_ = Json::array();
};

} // namespace

Json folding_ranges(const Context& context) {
    return Folding(context.document).find();
}

} // namespace norvane::driver::lsp
