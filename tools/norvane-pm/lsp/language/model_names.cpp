// The names of a model, also of one that does not parse: what cannot be read is skipped up to the
// next semicolon or section word.
#include <algorithm>
#include <optional>
#include <utility>

#include "name_index.h"

namespace norvane::driver::lsp {
namespace {

bool is_name(const Word& word) {
    return word.kind == TokenKind::word && !is_reserved(word.text);
}

bool is_loop_word(std::string_view word) {
    return word == "forall" || word == "exist" || word == "sum" || word == "product";
}

std::string_view unquoted(std::string_view text) {
    return text.size() >= 2 && text.front() == '"' ? text.substr(1, text.size() - 2) : text;
}

// What the rules of a record see: all of its fields, of each record around it those that are
// declared before, and the variables before the declaration that it is in.
struct Scope {
    std::size_t record = none; // a type
    std::size_t around = none; // a scope
    std::size_t seen_around = 0;
    bool sees_variables = true;
    std::size_t variables = none; // that are declared before; none for all
};

struct Expression {
    std::size_t first;
    std::size_t end;
    std::size_t scope;
    std::size_t container;
};

class ModelReader {
  public:
    ModelReader(NameIndex& index, const Words& words) : index_(index), words_(words) {
        scopes_.push_back({});
    }

    // Names may be used before they are declared, so expressions come last.
    void run() {
        std::string_view section;
        while (at_ < words_.size()) {
            const std::size_t before = at_;
            if (is_section_word(text())) {
                section = text();
                ++at_;
            } else if (section == "constant") {
                constant();
            } else if (section == "type") {
                type_declaration();
            } else if (section == "variable") {
                variables(none, 0);
            } else {
                rule(0, none);
            }
            if (at_ == before) ++at_;
        }
        for (const auto& [word, name] : named_types_)
            if (const auto found = index_.globals.find(name);
                found != index_.globals.end() &&
                index_.symbols[found->second].kind == SymbolKind::type)
                index_.add(words_[word].spot, found->second, false);
        for (const Expression& each : expressions_)
            read(each);
    }

  private:
    std::string_view text(std::size_t ahead = 0) const { return words_[at_ + ahead].text; }
    bool take(std::string_view what) {
        const bool is_there = text() == what;
        at_ += is_there;
        return is_there;
    }

    // Declarations. ------------------------------------------------------------------------------

    std::size_t declare(SymbolKind kind, std::size_t word, std::size_t container,
                        std::string_view name = {}) {
        Symbol symbol{kind, unquoted(words_[word].text), words_[word].spot, {}, {}, container};
        if (!name.empty()) symbol.name = name;
        index_.symbols.push_back(symbol);
        const std::size_t number = index_.symbols.size() - 1;
        index_.add(words_[word].spot, number, true);
        const bool is_global = kind <= SymbolKind::label && kind != SymbolKind::field;
        if (is_global) index_.globals.emplace(symbol.name, number);
        return number;
    }

    void end_declaration(std::size_t symbol, std::size_t first) {
        index_.symbols[symbol].first = words_[first].spot;
        index_.symbols[symbol].last = words_[at_ > first ? at_ - 1 : first].spot;
        index_.symbols[symbol].is_open = at_ >= words_.size();
    }

    // Notes an expression up to one of the words, outside of brackets.
    void expression(std::string_view end, std::size_t scope, std::size_t container) {
        const std::size_t first = at_;
        unsigned depth = 0;
        for (; at_ < words_.size(); ++at_) {
            const std::string_view word = text();
            if (depth == 0 && word == end) break;
            if (word == ";" || word == "}" || is_section_word(word)) break;
            if (word == "[" || word == "(") ++depth;
            if ((word == "]" || word == ")") && depth > 0) --depth;
        }
        if (at_ > first) expressions_.push_back({first, at_, scope, container});
    }

    void skip_statement() {
        while (at_ < words_.size() && text() != ";" && text() != "}" && !is_section_word(text()))
            ++at_;
        take(";");
    }

    void constant() {
        const std::size_t first = at_;
        if (!is_name(words_[at_]) || text(1) != ":") return skip_statement();
        const std::size_t symbol = declare(SymbolKind::constant, at_, none);
        at_ += 2;
        expression(";", 0, symbol);
        take(";");
        end_declaration(symbol, first);
    }

    void type_declaration() {
        const std::size_t first = at_;
        if (!is_name(words_[at_]) || text(1) != ":") return skip_statement();
        const std::size_t symbol = declare(SymbolKind::type, at_, none);
        at_ += 2;
        scopes_.push_back({none, none, 0, false, 0});
        const std::size_t number = type(scopes_.size() - 1, symbol); // which declares symbols
        index_.symbols[symbol].type = number;
        skip_statement();
        end_declaration(symbol, first);
    }

    void rule(std::size_t scope, std::size_t container) {
        expression(";", scope, container);
        take(";");
    }

    std::vector<std::size_t> listed_names() { // words
        std::vector<std::size_t> names;
        while (is_name(words_[at_])) {
            names.push_back(at_++);
            if (!take(",")) break;
        }
        return names;
    }

    std::vector<std::size_t> declare_all(SymbolKind kind, const std::vector<std::size_t>& names,
                                         std::size_t container) {
        std::vector<std::size_t> symbols;
        symbols.reserve(names.size());
        for (const std::size_t name : names)
            symbols.push_back(declare(kind, name, container));
        return symbols;
    }

    // Names that share a type; fields where there is a record.
    void variables(std::size_t record, std::size_t scope) {
        const std::size_t first = at_;
        const bool is_private = text() == "private";
        if (is_private || text() == "public") ++at_;
        const std::vector<std::size_t> names = listed_names();
        if (names.empty() || !take(":")) return skip_statement();
        const std::vector<std::size_t> symbols =
            record == none ? global_variables(names) : fields(names, record, scope);
        for (const std::size_t symbol : symbols) {
            index_.symbols[symbol].is_private = is_private;
            end_declaration(symbol, first);
        }
    }

    std::vector<std::size_t> global_variables(const std::vector<std::size_t>& names) {
        scopes_.push_back({none, none, 0, true, variables_});
        const std::size_t inner = scopes_.size() - 1;
        std::vector<std::size_t> symbols = declare_all(SymbolKind::variable, names, none);
        shared_type(symbols, inner);
        for (const std::size_t symbol : symbols)
            position_.emplace(symbol, variables_++);
        return symbols;
    }

    std::vector<std::size_t> fields(const std::vector<std::size_t>& names, std::size_t record,
                                    std::size_t scope) {
        std::vector<std::size_t> symbols =
            declare_all(SymbolKind::field, names, containers_.back());
        shared_type(symbols, scope);
        std::vector<std::size_t>& all = index_.types[record].fields;
        all.insert(all.end(), symbols.begin(), symbols.end());
        return symbols;
    }

    // Reads the type of the symbols, up to the end of their declaration.
    void shared_type(const std::vector<std::size_t>& symbols, std::size_t scope) {
        containers_.push_back(symbols.front());
        const std::size_t number = type(scope, symbols.front());
        containers_.pop_back();
        skip_statement();
        for (const std::size_t symbol : symbols)
            index_.symbols[symbol].type = number;
    }

    // Types. -------------------------------------------------------------------------------------

    std::size_t type(std::size_t scope, std::size_t container) {
        const std::size_t number = index_.types.size();
        index_.types.emplace_back();
        TypeNode node = type_node(number, scope, container);
        node.fields.insert(node.fields.end(), index_.types[number].fields.begin(),
                           index_.types[number].fields.end());
        index_.types[number] = std::move(node);
        return number;
    }

    TypeNode type_node(std::size_t number, std::size_t scope, std::size_t container) {
        TypeNode node;
        if (++depth_ > deepest) {
            skip_statement();
        } else if (take("integer") || take("float") || take("string")) {
            node.kind = TypeNode::Kind::unbounded;
        } else if (take("boolean")) {
        } else if (take("optional")) {
            node.kind = TypeNode::Kind::optional;
            node.base = type(scope, container);
        } else if (take("array")) {
            node.kind = TypeNode::Kind::array;
            expression("of", scope, container);
            if (take("of")) node.base = type(scope, container);
        } else if (take("{")) {
            node.kind = TypeNode::Kind::record;
            containers_.push_back(container);
            record(number, scope, container);
            containers_.pop_back();
        } else if (text() == "[" && text(2) == "..") {
            at_ += 3;
            expression("]", scope, container);
            take("]");
        } else if (take("[")) {
            node.kind = TypeNode::Kind::enumeration;
            labels(node, container);
        } else if (is_name(words_[at_])) {
            node.kind = TypeNode::Kind::named;
            node.name = text();
            named_types_.emplace_back(at_++, node.name);
        }
        --depth_;
        return node;
    }

    void labels(TypeNode& node, std::size_t container) {
        while (is_name(words_[at_]) || words_[at_].kind == TokenKind::string) {
            const std::size_t first = at_++;
            std::string name(unquoted(words_[first].text));
            const bool is_text = words_[first].kind == TokenKind::string;
            for (; is_text && words_[at_].kind == TokenKind::string; ++at_) // pieces of one text
                name += unquoted(words_[at_].text);
            const bool is_whole = at_ == first + 1;
            node.fields.push_back(declare(SymbolKind::label, first, container,
                                          is_whole ? std::string_view() : *index_.hold_name(name)));
            if (!take(",") && !take("|")) break;
        }
        take("]");
    }

    void record(std::size_t number, std::size_t around, std::size_t container) {
        Scope scope = scopes_[around];
        scope.record = number;
        scope.around = around;
        const std::size_t record_around = scopes_[around].record;
        scope.seen_around = record_around == none ? 0 : index_.types[record_around].fields.size();
        scopes_.push_back(scope);
        const std::size_t inner = scopes_.size() - 1;
        bool in_rules = false;
        while (at_ < words_.size() && text() != "}") {
            const std::size_t before = at_;
            if (take("rule")) {
                in_rules = true;
                continue;
            }
            if (is_section_word(text())) return; // the record is not closed
            if (in_rules)
                rule(inner, container);
            else
                variables(number, inner);
            if (at_ == before) ++at_;
        }
        take("}");
    }

    // Expressions. -------------------------------------------------------------------------------

    struct Loop {
        std::string_view name;
        std::size_t symbol;
        std::size_t end; // of its body
    };

    void read(const Expression& expression) {
        loops_.clear();
        cases_.clear();
        last_type_ = nullptr;
        label_before_ = none;
        scope_ = expression.scope;
        container_ = expression.container;
        read(expression.first, expression.end);
    }

    void read(std::size_t first, std::size_t end) {
        at_ = end;
        if (depth_ >= deepest) return;
        ++depth_;
        for (at_ = first; at_ < end;) {
            const std::size_t here = at_;
            while (!loops_.empty() && loops_.back().end <= here)
                loops_.pop_back();
            if (is_loop_word(text()))
                loop(end);
            else if (is_name(words_[at_]))
                path(end);
            else if (words_[at_].kind == TokenKind::string)
                label_text();
            else
                mark();
        }
        --depth_;
    }

    std::size_t closing(std::size_t open, std::size_t end) const {
        unsigned depth = 0;
        for (std::size_t i = open; i < end; ++i) {
            if (words_[i].text == "[" || words_[i].text == "(") ++depth;
            if (words_[i].text == "]" || words_[i].text == ")")
                if (depth > 0 && --depth == 0) return i;
        }
        return end;
    }

    // As a modeller would write them: i in [0..n - 1].
    std::string joined(std::size_t first, std::size_t end) const {
        constexpr std::string_view without_space = "[]().";
        std::string text;
        bool is_tight = true;
        for (std::size_t i = first; i < end; ++i) {
            const std::string_view word = words_[i].text;
            const bool is_bracket = without_space.find(word[0]) != without_space.npos;
            const bool begins_range = word == "[" && i == first + 2;
            if (begins_range || (!is_tight && !is_bracket)) text += ' ';
            text += word;
            is_tight = is_bracket && word != "]" && word != ")";
        }
        return text;
    }

    // forall i in [0..n] : ( ... ): the bounds do not see the variable.
    void loop(std::size_t end) {
        ++at_;
        const std::size_t name = at_;
        if (!is_name(words_[name]) || text(1) != "in" || text(2) != "[") return;
        const std::size_t bounds_end = closing(name + 2, end);
        read(name + 3, bounds_end);
        at_ = std::min(bounds_end + 1, end);
        take(":");
        const std::size_t body_end = text() == "(" ? closing(at_, end) : at_;
        const std::size_t body = at_;
        const std::size_t symbol = declare(SymbolKind::loop_variable, name, container_);
        index_.symbols[symbol].detail = joined(name, std::min(bounds_end + 1, end));
        at_ = body;
        index_.symbols[symbol].first = words_[name - 1].spot;
        index_.symbols[symbol].last = words_[std::min(body_end, end - 1)].spot;
        index_.symbols[symbol].is_open = body_end >= words_.size();
        loops_.push_back({words_[name].text, symbol, body_end});
    }

    std::optional<std::size_t> field_in_sight(std::string_view name) const {
        const Scope* scope = &scopes_[scope_];
        std::size_t seen = none;
        while (scope->record != none) {
            const std::vector<std::size_t>& fields = index_.types[scope->record].fields;
            for (std::size_t i = 0; i < std::min(seen, fields.size()); ++i)
                if (index_.symbols[fields[i]].name == name) return fields[i];
            seen = scope->seen_around;
            scope = &scopes_[scope->around];
        }
        return {};
    }

    std::optional<std::size_t> meaning_of(std::string_view name) const {
        for (auto loop = loops_.rbegin(); loop != loops_.rend(); ++loop)
            if (loop->name == name) return loop->symbol;
        if (const auto field = field_in_sight(name)) return field;
        const auto found = index_.globals.find(name);
        if (found == index_.globals.end()) return {};
        const Scope& scope = scopes_[scope_];
        const auto position = position_.find(found->second);
        if (position == position_.end()) return found->second;
        const bool is_seen =
            scope.sees_variables && (scope.variables == none || position->second < scope.variables);
        return is_seen ? std::optional(found->second) : std::nullopt;
    }

    // The indices after a name, and the type that they lead to.
    std::size_t indices(std::size_t type, std::size_t end) {
        while (text() == "[" && at_ < end) {
            const std::size_t close = closing(at_, end);
            read(at_ + 1, close);
            at_ = std::min(close + 1, end);
            const TypeNode* node = index_.real(type);
            type = node && node->kind == TypeNode::Kind::array ? node->base : none;
        }
        return type;
    }

    void path(std::size_t end) {
        const auto meaning = meaning_of(text());
        const std::size_t label = std::exchange(label_before_, none); // an index has paths, too
        if (meaning) index_.add(words_[at_].spot, *meaning, false);
        ++at_;
        std::size_t type = meaning ? index_.symbols[*meaning].type : none;
        type = indices(type, end);
        while (text() == "." && at_ + 1 < end && words_[at_ + 1].kind == TokenKind::word) {
            ++at_;
            type = step(type);
            type = indices(type, end);
        }
        last_type_ = index_.real(type);
        if (label != none) add_label(label, last_type_);
    }

    std::size_t step(std::size_t type) {
        const TypeNode* node = index_.real(type);
        const Word& word = words_[at_++];
        if (!node) return none;
        if (node->kind == TypeNode::Kind::optional) return word.text == "SOME" ? node->base : none;
        if (node->kind != TypeNode::Kind::record) return none;
        const std::size_t field = index_.field_of(*node, word.text);
        if (field == none) return none;
        index_.add(word.spot, field, false);
        return index_.symbols[field].type;
    }

    // What is neither a name nor a text.
    void mark() {
        if (text() == "of") cases_.push_back(last_type_);
        if (text() == "esac" && !cases_.empty()) cases_.pop_back();
        ++at_;
    }

    // A text that is compared with an enumeration, on either side, is a label if that has it.
    void label_text() {
        const std::string_view before = at_ > 0 ? words_[at_ - 1].text : "";
        if (is_comparison(before))
            add_label(at_, last_type_);
        else if (is_comparison(text(1)))
            label_before_ = at_;
        else if ((before == "of" || before == "|") && !cases_.empty())
            add_label(at_, cases_.back());
        ++at_;
    }

    static bool is_comparison(std::string_view word) { return word == "=" || word == "<>"; }

    void add_label(std::size_t word, const TypeNode* type) {
        if (!type || type->kind != TypeNode::Kind::enumeration) return;
        const std::size_t label = index_.field_of(*type, unquoted(words_[word].text));
        if (label != none) index_.add(words_[word].spot, label, false);
    }

    static constexpr unsigned deepest = 200; // brackets or types that a modeller nests

    NameIndex& index_;
    const Words& words_;
    std::size_t at_ = 0;
    unsigned depth_ = 0;
    std::vector<Scope> scopes_;
    std::vector<std::size_t> containers_; // of the fields that are declared
    std::vector<Expression> expressions_;
    std::vector<std::pair<std::size_t, std::string_view>> named_types_;
    std::size_t variables_ = 0;
    std::unordered_map<std::size_t, std::size_t> position_; // of variables, by symbol
    // Of the expression that is read.
    std::size_t scope_ = 0;
    std::size_t container_ = none;
    std::vector<Loop> loops_;
    std::vector<const TypeNode*> cases_;  // of what each asks, the innermost last
    const TypeNode* last_type_ = nullptr; // of the path before
    std::size_t label_before_ = none;     // the word of a text that is compared with the next path
};

} // namespace

void read_model_names(NameIndex& index, const Words& words) {
    ModelReader(index, words).run();
}

} // namespace norvane::driver::lsp
