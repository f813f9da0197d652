// Changes that the client may offer: what reports say to write instead, a declaration for a name
// that has none, and the arms that a case lacks.
#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <vector>

#include "places.h"
#include "requests.h"
#include "shown_findings.h"
#include "text.h"
#include "tokens.h"
#include "unit.h"

namespace norvane::driver::lsp {
namespace {

constexpr auto arithmetic = std::to_array<std::string_view>({"+", "-", "*", "/"});
constexpr auto comparisons = std::to_array<std::string_view>({"<", "<=", ">", ">="});
constexpr auto logic = std::to_array<std::string_view>({"and", "or", "xor", "not", "->", "<->"});

template <typename Table>
bool is_one_of(std::string_view word, const Table& table) {
    return std::ranges::find(table, word) != table.end();
}

// The type that a name must have where it is used, and what to call it; empty where it is open.
struct UsedType {
    std::string type;
    std::string name;
};

// What stands beside a name in a rule, outside of the parentheses around it.
class Use {
  public:
    Use(std::string_view text, std::size_t begin, std::size_t name) : text_(text.substr(begin)) {
        tokens_ = scan(text_).tokens;
        const auto at = std::ranges::find(tokens_, name - begin, &Token::offset);
        is_found_ = at != tokens_.end() && at != tokens_.begin();
        first_ = last_ = static_cast<std::size_t>(at - tokens_.begin());
        while (is_found_ && word(first_ - 1) == "(" && word(last_ + 1) == ")") {
            --first_;
            ++last_;
        }
    }

    UsedType type() const {
        if (!is_found_ || is_in_index()) return {};
        const std::string_view before = word(first_ - 1);
        const std::string_view after = word(last_ + 1);
        if (is_one_of(before, arithmetic) || is_one_of(after, arithmetic))
            return {"[0..100]", "a number from 0 to 100"};
        if (is_one_of(after, comparisons)) return compared_with(last_ + 2, word(last_ + 3));
        if (is_one_of(before, comparisons))
            return compared_with(first_ - 2, first_ > 2 ? word(first_ - 3) : "");
        const bool is_rule = (before == "rule" || before == ";") && after == ";";
        const bool is_operand = (is_one_of(before, logic) && ends_operand(after)) ||
                                (is_one_of(after, logic) && begins_operand(before));
        if (is_rule || is_operand) return {"boolean", "a boolean variable"};
        return {};
    }

  private:
    std::string_view word(std::size_t i) const {
        return i < tokens_.size() ? text_.substr(tokens_[i].offset, tokens_[i].length) : "";
    }

    bool ends_operand(std::string_view after) const {
        return is_one_of(after, logic) || after == ";" || after == ")" || after == "|" ||
               after == "then" || after == "else" || after == "esac";
    }
    bool begins_operand(std::string_view before) const {
        return is_one_of(before, logic) || before == ";" || before == "rule" || before == "(" ||
               before == "if" || before == "then" || before == "else" || before == "default";
    }

    // An unbounded variable is compared with values alone; one with a range, with others too.
    UsedType compared_with(std::size_t other, std::string_view beyond) const {
        const bool is_number = other < tokens_.size() && tokens_[other].kind == TokenKind::number;
        if (!is_number || is_one_of(beyond, arithmetic))
            return {"[0..100]", "a number from 0 to 100"};
        if (word(other).find('.') != std::string_view::npos) return {"float", "a float variable"};
        return {"integer", "an integer variable"};
    }

    // Also in the bounds of a loop.
    bool is_in_index() const {
        unsigned closed = 0;
        for (std::size_t i = first_; i-- > 0 && word(i) != ";";) {
            if (word(i) == "]") ++closed;
            if (word(i) == "[" && closed-- == 0) return true;
        }
        return false;
    }

    std::string_view text_;
    std::vector<Token> tokens_;
    bool is_found_;
    std::size_t first_;
    std::size_t last_;
};

// A cursor wants what there is on its line, a selection what it touches.
bool wants(const Range& wanted, const Range& found) {
    if (wanted.end <= wanted.start)
        return found.start.line <= wanted.start.line && wanted.start.line <= found.end.line;
    return wanted.start <= found.end && found.start <= wanted.end;
}

class Actions {
  public:
    explicit Actions(const Context& context)
        : context_(context), wanted_(range_of(member(context.params, "range"))) {}

    Json find() {
        Json all_certain = Json::object();
        for (const Finding& finding : context_.unit.result().findings) {
            if (finding.place.file != context_.document.path) continue;
            const bool is_certain =
                !finding.replacements.empty() && finding.replacements[0].is_certain;
            if (is_certain) add_edits(all_certain, finding);
            if (!wants(wanted_, range_of(finding.place, context_.documents))) continue;
            if (!finding.replacements.empty()) fix(finding, is_certain);
            if (finding.name == "ERR_ID_UNDECLARED") declare(finding);
        }
        if (!all_certain.empty())
            add("correct all that is certain", "source.fixAll", all_certain, nullptr);
        if (!context_.document.is_calculation) missing_arms();
        return std::move(actions_);
    }

  private:
    void add(const std::string& title, const char* kind, const Json& changes,
             const Finding* finding, bool is_preferred = false) {
        Json action = {{"title", title}, {"kind", kind}, {"edit", {{"changes", changes}}}};
        if (finding) action["diagnostics"] = {to_diagnostic(*finding, context_.documents)};
        if (is_preferred) action["isPreferred"] = true;
        actions_.push_back(std::move(action));
    }

    void add_edits(Json& changes, const Finding& finding) const {
        for (const Replacement& each : finding.replacements)
            changes[context_.documents.uri(each.place.file)].push_back(
                {{"range", to_json(range_of(each.place, context_.documents))},
                 {"newText", each.text}});
    }

    void fix(const Finding& finding, bool is_certain) {
        Json changes = Json::object();
        add_edits(changes, finding);
        const std::string title =
            finding.hint.empty() ? "write '" + finding.replacements[0].text + "'" : finding.hint;
        add(title, "quickfix", changes, &finding, is_certain);
    }

    // After the last variable of the document; where it has none, in a section before that of the
    // name. Only rules see variables, outside of their indices.
    void declare(const Finding& finding) {
        const Lines& lines = context_.document.lines;
        const Range range = range_of(finding.place, context_.documents);
        const std::size_t begin = lines.offset(range.start);
        const std::string name = lines.text().substr(begin, lines.offset(range.end) - begin);
        const Scan found = scan(name);
        if (found.tokens.size() != 1 || found.tokens[0].kind != TokenKind::word) return;
        // A macro may stand there.
        if (finding.message.find("'" + name + "'") == std::string::npos) return;
        const auto section = section_before(begin);
        if (!section || lines.text().compare(*section, 4, "rule") != 0) return;
        const auto [type, type_name] = Use(lines.text(), *section, begin).type();
        if (type.empty() || !declared_.insert(name).second) return;
        const std::string end = lines.text().find("\r\n") == std::string::npos ? "\n" : "\r\n";
        const std::string title = "declare '" + name + "' as " + type_name;
        const std::string declaration = end + "  public " + name + " : " + type + ";";
        const Symbol* last = nullptr;
        for (const Symbol& symbol : context_.unit.names().symbols)
            if (symbol.kind == SymbolKind::variable && symbol.last.is_known() &&
                *symbol.last.file == context_.document.path)
                last = &symbol;
        if (last)
            insert_after(*last, title, declaration, finding);
        else
            insert(title, "quickfix", lines.position(*section),
                   "variable" + declaration + end + end, &finding);
    }

    // On the next line; a comment beside the declaration stays with it.
    void insert_after(const Symbol& symbol, const std::string& title, const std::string& text,
                      const Finding& finding) {
        const Lines& lines = context_.document.lines;
        Position at = range_of(symbol.last, context_.documents).end;
        const std::size_t end = lines.offset(at);
        if (end == 0 || lines.text()[end - 1] != ';') return;
        const std::string_view line = lines.line(at.line);
        const std::size_t here = end - lines.offset({at.line, 0});
        const std::string_view rest = line.substr(std::min(here, line.size()));
        const std::size_t comment = rest.find_first_not_of(" \t");
        const bool is_whole = rest.find("/*") == comment && rest.ends_with("*/");
        if (comment != rest.npos && is_whole) at = lines.position(end + rest.size());
        insert(title, "quickfix", at, text, &finding);
    }

    // Where the section that an offset is in begins.
    std::optional<std::size_t> section_before(std::size_t offset) const {
        const std::string_view text = context_.document.lines.text();
        std::optional<std::size_t> section;
        std::size_t depth = 0;
        for (const Token& token : scan(text.substr(0, offset)).tokens) {
            const std::string_view word = text.substr(token.offset, token.length);
            if (word == "{") ++depth;
            if (word == "}" && depth > 0) --depth;
            if (depth == 0 && is_section_word(word)) section = token.offset;
        }
        return section;
    }

    void insert(const std::string& title, const char* kind, const Position& at,
                const std::string& text, const Finding* finding) {
        Json changes = Json::object();
        changes[context_.document.uri].push_back(
            {{"range", to_json(Range{at, at})}, {"newText", text}});
        add(title, kind, changes, finding);
    }

    // Of the innermost case around the range, over a name whose type is an enumeration.
    void missing_arms() {
        const Words* words = context_.unit.names().words();
        if (!words) return;
        std::vector<std::size_t> open;
        for (std::size_t i = 0; i < words->size(); ++i) {
            const Word& word = (*words)[i];
            if (word.text == "case") open.push_back(i);
            if (word.text != "esac" || open.empty()) continue;
            const std::size_t first = open.back();
            open.pop_back();
            const Spot& begin = (*words)[first].spot;
            if (!begin.is_known() || !word.spot.is_known() ||
                *begin.file != context_.document.path || *word.spot.file != *begin.file)
                continue;
            const Range whole = range_of(begin, word.spot, context_.documents);
            if (whole.start <= wanted_.start && wanted_.end <= whole.end)
                return add_arms(*words, first, i);
        }
    }

    void add_arms(const Words& words, std::size_t first, std::size_t end) {
        std::size_t of = first;
        while (of < end && words[of].text != "of")
            ++of;
        const TypeNode* type = type_before(words, of);
        if (!type || type->kind != TypeNode::Kind::enumeration) return;
        const Arms arms = arms_between(words, of, end);
        const bool has_default = arms.default_word != none;
        const std::size_t place = has_default ? arms.default_word : end;
        const std::size_t value = has_default ? arms.default_word : arms.last_then;
        if (!words[place].spot.is_known() || value == none) return;
        const auto text = text_between(words, value + 1, end);
        if (!text || has_other_faults(words[first].spot, words[end].spot, has_default)) return;
        const Position at = range_of(words[place].spot, context_.documents).start;
        if (has_default)
            insert_arms(*type, arms.labels, *text, at);
        else
            insert("add the default", "quickfix", at, "| default " + *text + " ", nullptr);
    }

    // What is faulty for another reason may be something else than it looks.
    bool has_other_faults(const Spot& first, const Spot& last, bool has_default) const {
        return std::ranges::any_of(context_.unit.result().findings, [&](const Finding& finding) {
            const Place& place = finding.place;
            if (finding.severity != Severity::error || place.file != *first.file ||
                place.line < first.line || place.line > last.line)
                return false;
            const bool is_at_end = place.line == last.line && place.column == last.column;
            return has_default || !is_at_end || finding.name != "ERR_GRAM_CASEDEFL";
        });
    }

    // The new arms get the value that the case has without them, or else that of its last arm.
    // Nothing where a macro or another arm is a part of it.
    std::optional<std::string> text_between(const Words& words, std::size_t first,
                                            std::size_t end) const {
        unsigned depth = 0;
        for (std::size_t i = first; i < end; ++i) {
            if (words[i].text == "case") ++depth;
            if (words[i].text == "esac" && depth > 0) --depth;
            if (!words[i].spot.is_known() || (depth == 0 && words[i].text == "|")) return {};
        }
        if (first >= end) return {};
        const Lines& lines = context_.document.lines;
        const std::size_t from =
            lines.offset(range_of(words[first].spot, context_.documents).start);
        const std::size_t to = lines.offset(range_of(words[end - 1].spot, context_.documents).end);
        if (from >= to) return {};
        return lines.text().substr(from, to - from);
    }

    // The type of the path that ends before a word; after SOME, that of the optional's value.
    const TypeNode* type_before(const Words& words, std::size_t i) const {
        if (words[i - 1].text != "SOME") return type_at(words[i - 1]);
        const TypeNode* type = type_at(words[i - 3]);
        return type ? context_.unit.names().real(type->base) : nullptr;
    }

    struct Arms {
        std::size_t default_word = none;
        std::size_t last_then = none;
        std::set<std::string_view> labels;
    };

    // Without those of the cases within.
    static Arms arms_between(const Words& words, std::size_t of, std::size_t end) {
        Arms arms;
        unsigned depth = 0;
        for (std::size_t i = of; i < end; ++i) {
            if (words[i].text == "case") ++depth;
            if (words[i].text == "esac") --depth;
            if (depth > 0) continue;
            if (words[i].text == "default") arms.default_word = i;
            const bool begins_arm =
                i > of && (words[i - 1].text == "of" || words[i - 1].text == "|");
            if (!begins_arm || words[i + 1].text != "then") continue;
            arms.labels.insert(unquoted(words[i].text));
            arms.last_then = i + 1;
        }
        return arms;
    }

    // Inserts an arm for each label that has none.
    void insert_arms(const TypeNode& type, const std::set<std::string_view>& present,
                     const std::string& value, const Position& at) {
        const std::string_view line = context_.document.lines.line(at.line).substr(0, at.character);
        const bool begins_line = line.find_first_not_of(" \t") == line.npos;
        const std::string end = begins_line ? "\n" + std::string(line) : " ";
        std::string text;
        std::string missing;
        for (const std::size_t each : type.fields) {
            const Symbol& symbol = context_.unit.names().symbols[each];
            if (present.contains(symbol.name)) continue;
            const std::string name = to_utf8(symbol.name);
            text += as_label(name) + " then ";
            text += value;
            text += " |" + end;
            missing += (missing.empty() ? "" : ", ") + name;
        }
        if (!text.empty())
            insert("add the arms of " + missing, "refactor.rewrite", at, text, nullptr);
    }

    // Quoted unless it is a plain word.
    static std::string as_label(const std::string& name) {
        const Scan found = scan(name);
        const bool is_plain = found.tokens.size() == 1 && !is_reserved(name) &&
                              found.tokens[0].kind == TokenKind::word;
        return is_plain ? name : "\"" + name + "\"";
    }

    static std::string_view unquoted(std::string_view text) {
        return text.size() >= 2 && text[0] == '"' ? text.substr(1, text.size() - 2) : text;
    }

    // Of the name that ends a path.
    const TypeNode* type_at(const Word& word) const {
        const NameIndex& names = context_.unit.names();
        if (!word.spot.is_known()) return nullptr;
        const Occurrence* name = names.at(*word.spot.file, word.spot.line, word.spot.column);
        return name ? names.real(names.symbols[name->symbol].type) : nullptr;
    }

    const Context& context_;
    Range wanted_;
    std::set<std::string> declared_;
    Json actions_ = Json::array();
};

} // namespace

Json code_actions(const Context& context) {
    return Actions(context).find();
}

} // namespace norvane::driver::lsp
