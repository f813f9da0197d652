#include "edited_tokens.h"

#include <algorithm>

namespace norvane::driver {
namespace {

// Replaces an unclosed string: each token is on a line of its own, and the string would swallow all
// later tokens.
void append_line(std::string& text, std::string_view word) {
    const bool is_open =
        !word.empty() && word[0] == '"' && (word.size() == 1 || word.back() != '"');
    if (is_open) word = "@";
    if (!word.empty() && word[0] == '#') text += ' '; // or else it would begin a directive
    const bool has_lines = word.find('\n') != std::string_view::npos;
    if (has_lines)
        std::ranges::copy_if(word, std::back_inserter(text), [](char c) { return c != '\n'; });
    else
        text += word;
    text += '\n';
}

// A token with two edits: the second one changes what the first has made.
Edit merged(const Edit& first, const Edit& second) {
    const auto joined = [](const std::string& a, const std::string& b) {
        return a.empty() || b.empty() ? a + b : a + " " + b;
    };
    return {joined(first.before, second.before), second.instead ? second.instead : first.instead,
            joined(first.after, second.after)};
}

} // namespace

void EditedTokens::append_token(std::string& text, std::size_t token, const Edits* more) const {
    if (dropped_[token]) return append_line(text, "");
    const Edit* edit = nullptr;
    Edit both;
    if (const auto found = edits_.find(token); found != edits_.end()) edit = &found->second;
    if (more)
        if (const auto found = more->find(token); found != more->end()) {
            both = edit ? merged(*edit, found->second) : found->second;
            edit = &both;
        }
    if (!edit) return append_line(text, source_.word(token));
    const std::string_view word = edit->instead ? *edit->instead : source_.word(token);
    append_line(text, edit->before + " " + std::string(word) + " " + edit->after);
}

void EditedTokens::add(const Edits& edits) {
    for (const auto& [token, edit] : edits)
        edits_[token] = merged(edits_[token], edit);
}

void EditedTokens::drop(std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < std::min(end, dropped_.size()); ++i)
        dropped_[i] = true;
}

std::vector<ParsedToken> EditedTokens::parsed() const {
    std::vector<ParsedToken> tokens;
    const auto add_text = [this, &tokens](std::string_view text, std::size_t token) {
        for (const Token& part : scan(text, 0, source_.language()).tokens)
            tokens.push_back({part.kind, text.substr(part.offset, part.length), token});
    };
    for (std::size_t i = 0; i < source_.size(); ++i) {
        if (dropped_[i]) continue;
        const auto found = edits_.find(i);
        if (found == edits_.end()) {
            tokens.push_back({source_.tokens()[i].kind, source_.word(i), i});
            continue;
        }
        const Edit& edit = found->second;
        add_text(edit.before, i);
        add_text(edit.instead ? std::string_view(*edit.instead) : source_.word(i), i);
        add_text(edit.after, i);
    }
    return tokens;
}

} // namespace norvane::driver
