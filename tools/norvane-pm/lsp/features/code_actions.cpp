// Changes that the client may offer: what reports say to write instead, a declaration for a name
// that has none, and the arms that a case lacks.
#include <algorithm>
#include <array>
#include <optional>
#include <set>

#include "places.h"
#include "requests.h"
#include "shown_findings.h"
#include "text.h"
#include "tokens.h"
#include "unit.h"

namespace norvane::driver::lsp {
namespace {

constexpr auto operators_of_numbers =
    std::to_array<std::string_view>({"<", "<=", ">", ">=", "+", "-", "*", "/"});

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
    // name.
    void declare(const Finding& finding) {
        const Lines& lines = context_.document.lines;
        const Range range = range_of(finding.place, context_.documents);
        const std::size_t begin = lines.offset(range.start);
        const std::string name = lines.text().substr(begin, lines.offset(range.end) - begin);
        const Scan found = scan(name);
        if (found.tokens.size() != 1 || found.tokens[0].kind != TokenKind::word) return;
        // A macro may stand there; and only rules see variables, outside of their indices.
        const bool is_meant = finding.message.find("'" + name + "'") != std::string::npos;
        const auto section = section_before(begin);
        if (!is_meant || !section || lines.text().compare(*section, 4, "rule") != 0) return;
        if (lines.text().find_last_not_of(" \t\n", begin - 1) == lines.text().rfind('[', begin))
            return;
        const Symbol* last = nullptr;
        for (const Symbol& symbol : context_.unit.names().symbols)
            if (symbol.kind == SymbolKind::variable && symbol.last.is_known() &&
                *symbol.last.file == context_.document.path)
                last = &symbol;
        const bool is_number = is_number_at(begin, begin + name.size());
        const std::string title =
            "declare '" + name + "' as " + (is_number ? "an integer" : "a boolean") + " variable";
        const std::string declaration =
            "\n  public " + name + " : " + (is_number ? "integer" : "boolean") + ";";
        if (last)
            insert_after(*last, title, declaration, finding);
        else
            insert(title, "quickfix", lines.position(*section), "variable" + declaration + "\n\n",
                   &finding);
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
        if (rest.find_first_not_of(" \t") == rest.find("/*") && rest.ends_with("*/"))
            at = lines.position(end + rest.size());
        insert(title, "quickfix", at, text, &finding);
    }

    // Whether an operator of numbers stands on the line beside what is there.
    bool is_number_at(std::size_t begin, std::size_t end) const {
        const Lines& lines = context_.document.lines;
        const std::string_view text = lines.text();
        const std::size_t line = lines.offset({lines.position(begin).line, 0});
        const std::string_view before = text.substr(line, begin - line);
        const std::string_view after = text.substr(end, text.find('\n', end) - end);
        const Scan first = scan(before);
        const Scan second = scan(after);
        return (!first.tokens.empty() && is_of_numbers(before, first.tokens.back())) ||
               (!second.tokens.empty() && is_of_numbers(after, second.tokens.front()));
    }

    static bool is_of_numbers(std::string_view text, const Token& token) {
        return std::ranges::count(operators_of_numbers, text.substr(token.offset, token.length)) >
               0;
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
        const Spot& before = words[has_default ? arms.default_word : end].spot;
        const std::size_t value = has_default ? arms.default_word : arms.last_then;
        if (!before.is_known() || value == none) return;
        const Position at = range_of(before, context_.documents).start;
        insert_arms(*type, arms.labels, text_between(words, value + 1, end), at, has_default);
    }

    // The new arms get the value that the case has without them, or else that of its last arm.
    std::string text_between(const Words& words, std::size_t first, std::size_t end) const {
        const Spot& begin = words[first].spot;
        const Spot& last = words[end - 1].spot;
        if (first >= end || !begin.is_known() || !last.is_known()) return "true";
        const Lines& lines = context_.document.lines;
        const std::size_t from = lines.offset(range_of(begin, context_.documents).start);
        const std::size_t to = lines.offset(range_of(last, context_.documents).end);
        return from < to ? lines.text().substr(from, to - from) : "true";
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
                     const std::string& value, const Position& at, bool is_before_default) {
        const std::string_view line = context_.document.lines.line(at.line).substr(0, at.character);
        const bool begins_line = line.find_first_not_of(" \t") == line.npos;
        const std::string end = begins_line ? "\n" + std::string(line) : " ";
        std::string text;
        std::string missing;
        for (const std::size_t each : type.fields) {
            const Symbol& symbol = context_.unit.names().symbols[each];
            if (present.contains(symbol.name)) continue;
            const std::string name = to_utf8(symbol.name);
            text += (is_before_default ? "" : "| ") + as_label(name) + " then ";
            text += value;
            text += (is_before_default ? " |" : "") + end;
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
    Json actions_ = Json::array();
};

} // namespace

Json code_actions(const Context& context) {
    return Actions(context).find();
}

} // namespace norvane::driver::lsp
