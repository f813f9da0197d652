#include "macros.h"

#include <algorithm>
#include <utility>

#include "bytes.h"

namespace norvane::driver {
namespace {

// Stands for a comment, which ends a word and is nothing else.
constexpr char comment = '\0';

std::size_t skip_blanks(std::string_view line, std::size_t at) {
    return std::min(line.find_first_not_of(" \t", at), line.size());
}

std::size_t end_of_word(std::string_view text, std::size_t at) {
    while (at < text.size() && is_word_byte(text[at]))
        ++at;
    return at;
}

// The first line of a text with those that continue it.
std::string logical_line(std::string_view text) {
    std::string line;
    char quote = '\0';
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (const std::size_t spliced = end_of_splice(text, at)) {
            at = spliced - 1;
        } else if (!quote && text.substr(at, 2) == "/*") {
            const std::size_t end = text.find("*/", at + 2);
            if (end == text.npos) return line;
            at = end + 1;
            line += comment;
        } else if (c == '\n') {
            return line;
        } else {
            quote = quote_after(c, quote);
            line += c;
        }
    }
    return line;
}

// The names between parentheses.
std::vector<std::string> read_parameters(std::string_view text) {
    std::vector<std::string> names;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = end_of_word(text, at);
        if (end > at) names.emplace_back(text.substr(at, end - at));
        at = end + 1;
    }
    return names;
}

// Parameters count within strings, too.
std::vector<Macro::Piece> read_body(std::string_view text, const std::vector<std::string>& names) {
    std::vector<Macro::Piece> pieces;
    const auto add_text = [&pieces](std::string_view part) {
        if (pieces.empty() || pieces.back().parameter != Macro::no_parameter)
            pieces.push_back({"", Macro::no_parameter});
        pieces.back().text += part;
    };
    char quote = '\0';
    for (std::size_t at = 0; at < text.size();) {
        quote = quote_after(text[at], quote);
        const std::size_t end = begins_word(text[at]) ? end_of_word(text, at) : at + 1;
        const std::string_view part = text.substr(at, end - at);
        const auto name = std::ranges::find(names, part);
        if (name != names.end())
            pieces.push_back({"", static_cast<std::size_t>(name - names.begin()), quote != '\0'});
        else if (part[0] != comment && part[0] != '\r')
            add_text(part);
        at = end;
    }
    return pieces;
}

} // namespace

std::size_t name_in_definition(std::string_view line) {
    constexpr std::string_view word = "define";
    if (!line.starts_with('#')) return line.npos;
    const std::size_t begin = skip_blanks(line, 1);
    if (line.substr(begin, word.size()) != word) return line.npos;
    const std::size_t name = skip_blanks(line, begin + word.size());
    return name < line.size() && begins_word(line[name]) ? name : line.npos;
}

std::optional<Macro> read_definition(std::string_view text) {
    const std::string line = logical_line(text);
    const std::size_t begin = name_in_definition(line);
    if (begin == line.npos) return {};
    std::size_t at = end_of_word(line, begin);
    Macro macro;
    macro.name = line.substr(begin, at - begin);
    macro.takes_arguments = at < line.size() && line[at] == '(';
    std::vector<std::string> names;
    if (macro.takes_arguments) {
        const std::size_t close = std::min(line.find(')', at), line.size() - 1);
        names = read_parameters(std::string_view(line).substr(at + 1, close - at - 1));
        at = close + 1;
    }
    macro.parameters = names.size();
    macro.pieces = read_body(std::string_view(line).substr(skip_blanks(line, at)), names);
    return macro;
}

void Macros::define(std::size_t offset, Macro macro) {
    std::vector<Change>& changes = changes_[macro.name];
    changes.push_back({offset, std::make_unique<Macro>(std::move(macro))});
}

void Macros::undefine(std::size_t offset, std::string_view name) {
    const auto found = changes_.find(name);
    if (found != changes_.end()) found->second.push_back({offset, nullptr});
}

const Macro* Macros::find(std::string_view name, std::size_t offset) const {
    const auto found = changes_.find(name);
    if (found == changes_.end()) return nullptr;
    const auto after = std::ranges::upper_bound(found->second, offset, {}, &Change::offset);
    return after == found->second.begin() ? nullptr : after[-1].macro.get();
}

} // namespace norvane::driver
