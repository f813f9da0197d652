// The text of a syntax error, for both grammars. It is made from the tables of the parser that
// bison wrote, because callers rely on its exact words.
#ifndef NORVANE_PROJ_SYNTAX_ERROR_H
#define NORVANE_PROJ_SYNTAX_ERROR_H

#include <cstdio>

namespace norvane {

// One state's row in the action table of a parser, and the names of the symbols. The names of the
// end of the input, of bison's `error` and of `bad_token` are printed without quotes.
template <typename Check>
struct ActionRow {
    const Check* check; // yycheck
    int last;           // YYLAST
    int tokens;         // YYNTOKENS
    int row;            // yypact of the state
    bool is_default;    // the state has no row
    int bad_token;
    const char* (*name)(int symbol);

    // Calls each(symbol) for every terminal that has an entry.
    template <typename Each>
    void for_each(Each each) const {
        for (int symbol = row < 0 ? -row : 0; symbol < tokens && row + symbol <= last; ++symbol)
            if (check[row + symbol] == symbol) each(symbol);
    }

    // Writes `prefix` and the symbol's name at `text`, and returns the end.
    char* print_symbol(char* text, const char* prefix, int symbol) const {
        const bool is_bare = symbol <= 1 || symbol == bad_token;
        const char* quote = is_bare ? "" : "\"";
        return text + std::sprintf(text, "%s%s%s%s", prefix, quote, name(symbol), quote);
    }

    // Writes the message. It lists the expected tokens if there are fewer than five; bison's
    // `error` counts as one in a state with an error production.
    void print_syntax_error(char* text, int unexpected) const {
        text += std::sprintf(text, "parse error");
        if (is_default) return;
        text = print_symbol(text, ", unexpected ", unexpected);
        int count = 0;
        for_each([&](int) { ++count; });
        if (count >= 5) return;
        const char* prefix = ", expecting ";
        for_each([&](int symbol) {
            text = print_symbol(text, prefix, symbol);
            prefix = " or ";
        });
    }
};

} // namespace norvane

#endif
