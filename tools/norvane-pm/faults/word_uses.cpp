#include "word_uses.h"

namespace norvane::driver {

bool is_type_mark(std::string_view word) {
    return word == ":" || word == "of" || word == "optional";
}

WordUses::WordUses(const SourceText& source) {
    const auto word = [&source](std::size_t at) {
        return at < source.size() ? source.word(at) : std::string_view();
    };
    for (std::size_t i = 0; i < source.size(); ++i) {
        const TokenKind kind = source.tokens()[i].kind;
        if (kind == TokenKind::string)
            uses_[word(i).substr(1, word(i).size() - 2)].is_in_quotes = true;
        if (kind != TokenKind::word) continue;
        WordUse& use = uses_[word(i)];
        const std::string_view next = word(i + 1);
        ++use.count;
        use.is_declared |= next == ":";
        use.is_listed |= next == ":" || next == ",";
        use.is_array |= next == "[" || (next == ":" && word(i + 2) == "array");
        use.is_type |= i > 0 && is_type_mark(word(i - 1));
    }
}

const WordUse& WordUses::of(std::string_view word) const {
    static const WordUse unused;
    const auto found = uses_.find(word);
    return found == uses_.end() ? unused : found->second;
}

} // namespace norvane::driver
