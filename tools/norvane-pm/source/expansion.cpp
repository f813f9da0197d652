// The traditional mode of the preprocessor works on text: it replaces a macro by its text, with the
// text of the arguments in it, and reads the result again. Names in strings are no macros, but
// parameters are replaced in the strings of a macro. A comment stays, and hides what is in it.
#include "expansion.h"

#include <algorithm>
#include <utility>

#include "bytes.h"

namespace norvane::driver {

// Bytes with their origins.
struct TracedText {
    std::string text;
    std::vector<Expansion::Origin> origins;

    void add(char c, Expansion::Origin origin) {
        text += c;
        origins.push_back(origin);
    }
    // Within a string, what would end it is escaped.
    void add(const TracedText& from, std::size_t begin, std::size_t end, std::uint32_t use,
             bool is_quoted) {
        for (std::size_t i = begin; i < end; ++i) {
            const Expansion::Origin& origin = from.origins[i];
            if (is_quoted && (from.text[i] == '"' || from.text[i] == '\\'))
                add('\\', {origin.offset, use, false});
            add(from.text[i], {origin.offset, use, origin.is_written});
        }
    }
    void cut(std::size_t size) {
        text.resize(size);
        origins.resize(size);
    }
    std::size_t size() const { return text.size(); }
};

class Expander {
  public:
    Expander(std::string_view user, const Expansion::Find& find) : user_(user), find_(find) {
        next_line();
    }

    void run() {
        while (steps_++ < most_steps && step()) {
        }
    }

    void give(Expansion& result) {
        if (uses_.empty()) plain_length_ = out_.size();
        result.text_ = std::move(out_.text);
        result.origins_ = std::move(out_.origins);
        result.uses_ = std::move(uses_);
        result.plain_length_ = plain_length_;
    }

  private:
    // The preprocessor gives up on deeper nesting, which has no end.
    static constexpr std::size_t most_contexts = 200;
    // An expansion may be long and come to nothing.
    static constexpr std::size_t most_steps = std::size_t{1} << 20;

    // A text that is read: a line of the user's, or what a macro stands for.
    struct Context {
        TracedText text;
        std::size_t at;
        std::uint32_t use;
    };
    enum class State { text, after_name, in_arguments };

    // Reads on in the next line; false at the end of the text.
    bool next_line() {
        if (from_ >= user_.size()) return false;
        TracedText line;
        for (; from_ < user_.size() && user_[from_] != '\n'; ++from_) {
            if (const std::size_t spliced = end_of_splice(user_, from_))
                from_ = spliced - 1;
            else if (user_[from_] != '\r' || user_.substr(from_ + 1, 1) != "\n")
                line.add(user_[from_], here(from_));
        }
        ++from_;
        contexts_.resize(0);
        contexts_.push_back({std::move(line), 0, Expansion::no_use});
        return true;
    }
    static Expansion::Origin here(std::size_t offset) {
        return {static_cast<std::uint32_t>(offset), Expansion::no_use, true};
    }

    Context& top() { return contexts_.back(); }
    char next() { return top().at < top().text.size() ? top().text.text[top().at] : '\0'; }
    char take() {
        Context& from = top();
        const char c = from.text.text[from.at];
        Expansion::Origin origin = from.text.origins[from.at++];
        if (from.use != Expansion::no_use) origin.use = from.use;
        out_.add(c, origin);
        return c;
    }

    // False at the end.
    bool step() {
        if (top().at == top().text.size()) return leave();
        const char c = take();
        if (c == ' ' || c == '\t' || c == '\f' || c == '\v') return true;
        if (c == '/' && !quote_ && next() == '*') return comment();
        if (begins_word(c) && !quote_) return word();
        const bool opens_arguments = state_ == State::after_name && c == '(' && !quote_;
        if (opens_arguments) return open_arguments();
        if (state_ == State::after_name) state_ = State::text;
        return mark(c);
    }

    // The end of a macro's text, or of a line.
    bool leave() {
        if (contexts_.size() > 1) {
            contexts_.pop_back();
            return true;
        }
        if (state_ == State::text || !next_line()) return false;
        out_.add(state_ == State::in_arguments ? ' ' : '\n', here(from_ - 1));
        return true;
    }

    bool comment() {
        take(); // the star
        for (char before = '\0';;) {
            if (top().at < top().text.size()) {
                const char c = take();
                if (before == '*' && c == '/') return true;
                before = c;
            } else {
                if (contexts_.size() > 1 || !next_line()) return false;
                out_.add('\n', here(from_ - 1));
                before = '\n';
            }
            if (++steps_ > most_steps) return false;
        }
    }

    bool word() {
        const std::size_t begin = out_.size() - 1;
        while (is_word_byte(next()))
            take();
        if (state_ == State::in_arguments) return true;
        const Macro* macro = find_(std::string_view(out_.text).substr(begin));
        state_ = State::text;
        if (!macro) return true;
        if (uses_.empty()) plain_length_ = begin;
        called_ = {macro, begin, out_.origins[begin].offset, top().use};
        if (!macro->takes_arguments) return replace();
        state_ = State::after_name;
        return true;
    }

    bool open_arguments() {
        state_ = State::in_arguments;
        depth_ = 1;
        out_.cut(called_.begin);
        arguments_ = {called_.begin};
        return true;
    }

    bool mark(char c) {
        if (c == '\\') {
            if (next() == '\\' || next() == '"' || next() == '\'') take();
        } else if (c == '"' || c == '\'') {
            quote_ = quote_after(c, quote_);
        } else if (!quote_ && state_ == State::in_arguments) {
            return mark_in_arguments(c);
        }
        return true;
    }

    bool mark_in_arguments(char c) {
        if (c == '(') ++depth_;
        if (c == ',' && depth_ == 1) arguments_.push_back(out_.size());
        if (c != ')' || --depth_ > 0) return true;
        state_ = State::text;
        arguments_.push_back(out_.size());
        return replace();
    }

    // Replaces the call that ends here. What has a wrong number of arguments stays.
    bool replace() {
        const Macro& macro = *called_.macro;
        if (macro.takes_arguments) {
            const bool is_empty = arguments_[0] + 1 == out_.size();
            const std::size_t count = arguments_.size() - 1;
            if (count != macro.parameters && !(macro.parameters == 0 && is_empty)) return true;
        }
        if (contexts_.size() >= most_contexts) return false;
        const auto use = static_cast<std::uint32_t>(uses_.size());
        uses_.push_back({&macro, called_.around});
        TracedText made;
        for (const Macro::Piece& piece : macro.pieces) {
            if (piece.parameter != Macro::no_parameter)
                made.add(out_, arguments_[piece.parameter], arguments_[piece.parameter + 1] - 1,
                         use, piece.is_quoted);
            for (const char c : piece.text)
                made.add(c, {called_.offset, use, false});
        }
        steps_ += made.size();
        out_.cut(called_.begin);
        contexts_.push_back({std::move(made), 0, use});
        return true;
    }

    // The macro that is called, or may be.
    struct Call {
        const Macro* macro = nullptr;
        std::size_t begin = 0;    // of its name in the output
        std::uint32_t offset = 0; // of its name in the user's text
        std::uint32_t around = Expansion::no_use;
    };

    std::string_view user_;
    const Expansion::Find& find_;
    std::size_t from_ = 0; // the next line
    std::vector<Context> contexts_;
    TracedText out_;
    std::vector<Expansion::Use> uses_;
    std::size_t plain_length_ = 0;
    State state_ = State::text;
    char quote_ = '\0';
    Call called_;
    std::vector<std::size_t> arguments_; // where each begins in the output; at last, their end
    unsigned depth_ = 0;                 // of parentheses in the arguments
    std::size_t steps_ = 0;
};

Expansion::Expansion(std::string_view text, const Find& find) {
    if (text.empty()) return;
    Expander expander(text, find);
    expander.run();
    expander.give(*this);
}

} // namespace norvane::driver
