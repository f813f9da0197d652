#include "plain_words.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace norvane::driver {
namespace {

// The tokens that are not words of a source: one that was met, and one that was expected.
struct Kind {
    std::string_view token;
    std::string_view met;
    std::string_view expected;
};
constexpr Kind kinds[] = {{"$", "end of file", "the end of the file"},
                          {"_ERROR", "character", "a character"},
                          {"Identifier", "name", "a name"},
                          {"An identifier", "name", "a name"},
                          {"Namespace Identifier", "name", "a name with a namespace"},
                          {"Integer constant", "integer", "an integer"},
                          {"An integer constant", "integer", "an integer"},
                          {"Float constant", "decimal number", "a decimal number"},
                          {"A float constant", "decimal number", "a decimal number"},
                          {"String constant", "text", "a text in quotes"},
                          {"A string constant", "text", "a text in quotes"}};

// Bison's token for its own recovery.
constexpr std::string_view recovery_token = "error";

// The construct that was open.
constexpr std::pair<std::string_view, std::string_view> constructs[] = {
    {"ERR_GRAM_DECL", "where 'constant', 'type', 'variable' or 'rule' must stand"},
    {"ERR_GRAM_CONSTANTDEFL", "in a declaration of a constant"},
    {"ERR_GRAM_TYPEDEFL", "in a declaration of a type"},
    {"ERR_GRAM_VARIABLEDEFL", "in a declaration of variables"},
    {"ERR_GRAM_RULEDEFL", "in a rule"},
    {"ERR_GRAM_TYPE", "in a type"},
    {"ERR_GRAM_RECFIELDL", "in a record"},
    {"ERR_GRAM_RECRULEL", "in a record"},
    {"ERR_GRAM_CASEDEFL", "in a case"},
    {"ERR_GRAM_IDCON", "in a name"}};

std::string_view construct_of(std::string_view name) {
    for (const auto& [report, construct] : constructs)
        if (report == name) return construct;
    return "";
}

const Kind* find_kind(std::string_view token) {
    const auto* kind = std::ranges::find(kinds, token, &Kind::token);
    return kind == std::end(kinds) ? nullptr : kind;
}

std::string in_quotes(std::string_view word) {
    return "'" + std::string(word) + "'";
}

std::string text_of_met(std::string_view token, std::string_view word) {
    const Kind* kind = find_kind(token);
    if (!kind) return in_quotes(token);
    return std::string(kind->met) + (word.empty() ? "" : " " + in_quotes(word));
}

std::string text_of_expected(std::string_view token) {
    const Kind* kind = find_kind(token);
    return kind ? std::string(kind->expected) : in_quotes(token);
}

// The message of a parser, read word by word: "parse error, unexpected A, expecting B or C", where
// a token is in quotes if it is a word of the language.
class ParseError {
  public:
    explicit ParseError(std::string_view text) : rest_(text) {
        if (!skip("parse error, unexpected ")) return;
        unexpected_ = token();
        if (!skip(", expecting ")) return;
        do
            expected_.push_back(token());
        while (skip(" or "));
    }
    bool is_understood() const { return !unexpected_.empty() && rest_.empty(); }

    std::string in_plain_words(std::string_view word) const {
        std::string text = "unexpected " + text_of_met(unexpected_, word);
        const char* before = ", expected ";
        for (const std::string_view token : expected_) {
            if (token == recovery_token) continue;
            text += before + text_of_expected(token);
            before = " or ";
        }
        return text;
    }

  private:
    bool skip(std::string_view words) {
        if (!rest_.starts_with(words)) return false;
        rest_.remove_prefix(words.size());
        return true;
    }
    std::string_view token() {
        const bool is_quoted = skip("\"");
        const std::size_t size =
            std::min(rest_.find_first_of(is_quoted ? "\"" : ", "), rest_.size());
        const std::string_view found = rest_.substr(0, size);
        rest_.remove_prefix(size);
        if (is_quoted) skip("\"");
        return found;
    }

    std::string_view rest_;
    std::string_view unexpected_;
    std::vector<std::string_view> expected_;
};

bool is_from_scanner(const Finding& finding) {
    return finding.name == "ERR_INVALID_TOKEN" || finding.name == "ERR_INVALID_INT";
}

} // namespace

std::string in_plain_words(const std::string& parse_error, std::string_view word) {
    const ParseError error(parse_error);
    return error.is_understood() ? error.in_plain_words(word) : parse_error;
}

bool is_first_step(const Finding& finding) {
    return finding.name == "ERR_PARSER" || is_from_scanner(finding);
}

bool join_syntax_error(Finding& finding, const Finding& next) {
    if (!is_first_step(finding) || finding.place.file != next.place.file) return false;
    // The scanner of calculations does not tell the line.
    const bool is_same_line =
        finding.place.line == next.place.line || (finding.place.line == 0 && is_first_step(next));
    if (!is_same_line) return false;
    finding.place = next.place;
    // The parser has met what the scanner has reported.
    if (is_from_scanner(finding) && next.name == "ERR_PARSER") return true;
    const std::string_view construct = construct_of(next.name);
    if (construct.empty()) return false;
    // Prefer the name of the grammar error (ERR_GRAM_...): its explanation says more than
    // ERR_PARSER's.
    if (!is_from_scanner(finding)) {
        finding.name = next.name;
        finding.message += " " + std::string(construct);
    }
    return true;
}

} // namespace norvane::driver
