#include "calculation_mistakes.h"

#include <algorithm>
#include <array>

#include "similar.h"

namespace norvane::driver {
namespace {

constexpr auto foreign_words = std::to_array<Foreign>({
    {"=>", ">=", "write '>=' for a comparison, or '->' for an implication", false},
    {"**", "^", ""},
    {"mod", "%", ""},
    {"div", "/", ""},
    {"++", "", "write 'x := x + 1'"},
    {"+=", "", "write 'x := x + ...'"},
    {"-=", "", "write 'x := x - ...'"},
    {"*=", "", "write 'x := x * ...'"},
    {"/=", "", "write 'x := x / ...'"},
    {"int", "integer", ""},
    {"bool", "boolean", ""},
    {"double", "float", ""},
    {"real", "float", ""},
    {"'", "", "texts are in double quotes"},
    {"#", "", "comments go from '/*' to '*/', or from '//' to the end of the line"},
});
constexpr auto type_words =
    std::to_array<std::string_view>({"boolean", "float", "integer", "string", "void"});
constexpr auto marks = std::to_array<std::string_view>({")", "]", ",", ":", "{"});

class Search : MistakeSearch {
  public:
    using MistakeSearch::MistakeSearch;

    std::vector<Mistake> run() {
        open_string();
        initial_value();
        nameless_namespace();
        return_without_value();
        late_declaration();
        replaced_words(foreign_words);
        missing_semicolon();
        surplus_semicolon();
        chained_comparison();
        missing_marks(marks);
        return std::move(found_);
    }

  private:
    // integer n = 3;
    void initial_value() {
        const bool is_declaration = is_type_word(source_.word(error_.statement.first));
        if (error_.word() == "=" && is_declaration) other_mark(":=", "a variable is set by ':='");
    }

    void explain(std::size_t at, const char* message, const char* hint) {
        Mistake mistake = mistake_at(at);
        mistake.message = message;
        mistake.hint = hint;
        add(std::move(mistake));
    }

    void nameless_namespace() {
        if (error_.word() == "{" && error_.word(-1) == "namespace")
            explain(token() - 1, "no name after 'namespace'", "calls say it before a function");
    }

    void return_without_value() {
        if (error_.word() == ";" && error_.word(-1) == "return")
            explain(token() - 1, "no value after 'return'",
                    "write a value; a function without one ends with its last statement");
    }

    void late_declaration() {
        const bool is_declaration = token() == error_.statement.first &&
                                    is_type_word(error_.word()) && error_.word(2) != "(";
        if (is_declaration)
            explain(token(), "a local variable after a statement",
                    "declare it where the body of the function begins");
    }
};

} // namespace

std::vector<Mistake> possible_calculation_mistakes(const SyntaxError& error) {
    return Search(error).run();
}

bool is_type_word(std::string_view word) {
    return std::ranges::binary_search(type_words, word);
}

bool is_like_type_word(std::string_view word) {
    if (is_type_word(word)) return true;
    if (is_reserved(word, Language::calculation)) return false;
    const auto foreign = std::ranges::find(foreign_words, word, &Foreign::word);
    return foreign != foreign_words.end() ? is_type_word(foreign->instead)
                                          : !most_similar(word, type_words).empty();
}

} // namespace norvane::driver
