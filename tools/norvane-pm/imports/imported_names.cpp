#include "imported_names.h"

#include <algorithm>

#include "escapes.h"

namespace norvane::driver {
namespace {

bool is_letter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool is_plain(std::string_view text) {
    return !text.empty() && is_letter(text[0]) && !is_reserved(text) &&
           text.find("__") == std::string_view::npos && std::ranges::all_of(text, [](char c) {
               return is_letter(c) || (c >= '0' && c <= '9') || c == '_';
           });
}

// Runs of other characters become one underscore.
std::string plain_name(std::string_view text) {
    std::string name;
    for (const char c : text) {
        const bool is_kept = is_letter(c) || (c >= '0' && c <= '9');
        if (is_kept)
            name += c;
        else if (name.empty() || name.back() != '_')
            name += '_';
    }
    if (name.empty() || !is_letter(name[0])) name.insert(0, name.starts_with('_') ? "n" : "n_");
    if (is_reserved(name)) name += "_";
    return name;
}

} // namespace

bool is_quotable(std::string_view text) {
    return !text.empty() && text.find("__") == std::string_view::npos &&
           std::ranges::all_of(text, [](char c) {
               return c >= ' ' && c < 0x7F && c != '"' && c != '\\' && c != '#';
           });
}

std::string ImportedNames::make_new(std::string_view wanted) {
    std::string plain = is_plain(wanted) ? std::string(wanted) : plain_name(wanted);
    const auto [place, is_new] = used_.try_emplace(plain, 1);
    if (is_new) return plain;
    const std::string before = plain + (plain.back() == '_' ? "" : "_");
    for (;;) {
        std::string name = before + std::to_string(++used_[plain]);
        if (used_.try_emplace(name, 1).second) return name;
    }
}

std::string ImportedNames::make(std::string_view original) {
    std::string name = make_new(original);
    if (name != original) renamed_.emplace_back(name, original);
    return name;
}

std::string ImportedNames::make_label(std::string_view original, const std::string& variable) {
    if (!is_quotable(original)) return make(original);
    if (is_plain(original) && used_.try_emplace(std::string(original), 1).second)
        return std::string(original);
    std::string quoted = '"' + std::string(original) + '"';
    const bool is_free = !is_plain(original) && original[0] != '{';
    if (is_free && used_.try_emplace(quoted, 1).second) return quoted;
    // Text in braces is not displayed, so it makes equal labels of different variables unique.
    const std::string marked = "\"{" + variable + "}" + std::string(original) + '"';
    return used_.try_emplace(marked, 1).second ? marked : make(original);
}

} // namespace norvane::driver
