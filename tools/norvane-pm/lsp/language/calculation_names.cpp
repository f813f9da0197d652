// The names of a calculation, also of one that does not parse.
#include <algorithm>
#include <array>

#include "name_index.h"

namespace norvane::driver::lsp {
namespace {

constexpr auto type_words =
    std::to_array<std::string_view>({"integer", "string", "boolean", "float", "void"});

class CalculationReader {
  public:
    CalculationReader(NameIndex& index, const Words& words) : index_(index), words_(words) {}

    // Functions may be called before they are declared, so bodies come last.
    void run() {
        while (at_ < words_.size())
            if (take("namespace"))
                name_space();
            else
                ++at_;
        for (const Function& function : functions_)
            body(function);
    }

  private:
    struct Function {
        std::size_t symbol;
        std::size_t first; // word: the parameters' bracket
        std::size_t end;
        std::string name_space;
    };

    std::string_view text(std::size_t ahead = 0) const { return words_[at_ + ahead].text; }
    bool take(std::string_view what) {
        const bool is_there = text() == what;
        at_ += is_there;
        return is_there;
    }
    bool is_type() const { return std::ranges::count(type_words, text()) > 0; }
    static bool is_name(const Word& word) {
        return word.kind == TokenKind::word && !is_reserved(word.text, Language::calculation);
    }

    std::size_t declare(SymbolKind kind, std::size_t first, std::size_t word,
                        std::size_t container) {
        index_.symbols.push_back({kind, words_[word].text, words_[word].spot, words_[first].spot,
                                  words_[word].spot, container});
        const std::size_t symbol = index_.symbols.size() - 1;
        index_.add(words_[word].spot, symbol, true);
        return symbol;
    }

    // Declarations. ------------------------------------------------------------------------------

    void name_space() {
        const std::size_t first = at_ - 1;
        std::string name;
        const std::size_t begin = at_;
        while (at_ < words_.size() && text() != "{")
            name += words_[at_++].text;
        if (!take("{")) return;
        std::size_t symbol = none;
        if (at_ > begin + 1) {
            index_.symbols.push_back({SymbolKind::name_space, *index_.hold_name(name),
                                      words_[begin].spot, words_[first].spot, words_[begin].spot});
            symbol = index_.symbols.size() - 1;
        }
        while (at_ < words_.size() && text() != "}" && text() != "namespace") {
            if (is_type() && is_name(words_[at_ + 1]) && text(2) == "(")
                function(name, symbol);
            else
                ++at_;
        }
        take("}");
        if (symbol != none) index_.symbols[symbol].last = words_[at_ - 1].spot;
    }

    void function(const std::string& in, std::size_t container) {
        const std::size_t first = at_;
        const std::size_t symbol = declare(SymbolKind::function, first, at_ + 1, container);
        at_ += 2;
        const std::size_t open = at_;
        std::string header =
            std::string(words_[first].text) + " " + in + "." + std::string(words_[first + 1].text);
        for (std::size_t i = open; i <= parameters_end(open) && i < words_.size(); ++i)
            header += separated(header, words_[i].text);
        unsigned depth = 0;
        for (; at_ < words_.size() && text() != "namespace"; ++at_) {
            if (text() == "{") ++depth;
            if (text() == "}" && (depth == 0 || --depth == 0)) break;
            if (depth == 0 && text() == ";") break;
        }
        index_.symbols[symbol].is_open = at_ >= words_.size();
        if (depth == 0 && at_ < words_.size() && text() != "namespace") ++at_;
        index_.symbols[symbol].last = words_[at_ - 1].spot;
        index_.symbols[symbol].detail = header;
        functions_.push_back({symbol, open, at_, in});
        by_name_.emplace(in + "." + std::string(index_.symbols[symbol].name), symbol);
    }

    static std::string separated(const std::string& before, std::string_view word) {
        const bool is_mark = word == "(" || word == ")" || word == ",";
        return (is_mark || before.ends_with('(') ? "" : " ") + std::string(word);
    }

    std::size_t parameters_end(std::size_t open) const {
        for (std::size_t i = open; i < words_.size(); ++i)
            if (words_[i].text == ")" || words_[i].text == "{" || words_[i].text == ";") return i;
        return words_.size();
    }

    // Bodies. ------------------------------------------------------------------------------------

    void body(const Function& function) {
        locals_.clear();
        open_calls_.clear();
        at_ = function.first;
        const std::size_t parameters = parameters_end(function.first);
        while (at_ < function.end) {
            if (is_type() && is_name(words_[at_ + 1]) && text(2) != "(") {
                const auto kind = at_ < parameters ? SymbolKind::argument : SymbolKind::local;
                const std::size_t symbol = declare(kind, at_, at_ + 1, function.symbol);
                index_.symbols[symbol].detail = std::string(text()) + " " + std::string(text(1));
                locals_[text(1)] = symbol;
                at_ += 2;
            } else if (is_name(words_[at_])) {
                name(function);
            } else {
                bracket();
                ++at_;
            }
        }
        while (!open_calls_.empty())
            close_call(words_[at_ - 1].spot);
    }

    void close_call(const Spot& spot) {
        if (open_calls_.back() != none) index_.calls[open_calls_.back()].close = spot;
        open_calls_.pop_back();
    }

    void bracket() {
        const std::string_view word = text();
        if (word == "(") open_calls_.push_back(none);
        if (open_calls_.empty()) return;
        if (word == "," && open_calls_.back() != none)
            index_.calls[open_calls_.back()].commas.push_back(words_[at_].spot);
        if (word == ")") return close_call(words_[at_].spot);
        if (word != ";" && word != "}") return;
        // A call without its bracket ends with the statement; a semicolon may be that of a loop.
        while (!open_calls_.empty() && open_calls_.back() != none)
            close_call(words_[at_].spot);
    }

    // A local name, a call, or a path into the model.
    void name(const Function& function) {
        const std::size_t first = at_;
        std::size_t last = at_;
        while (words_[last + 1].text == "." && words_[last + 2].kind == TokenKind::word)
            last += 2;
        if (words_[last + 1].text == "(") return call(first, last, function);
        if (const auto local = locals_.find(text()); local != locals_.end() && last == first) {
            index_.add(words_[at_++].spot, local->second, false);
            return;
        }
        path();
    }

    void call(std::size_t first, std::size_t last, const Function& function) {
        Call call;
        for (std::size_t i = first; i <= last; ++i)
            call.name += words_[i].text;
        if (first == last) call.name = function.name_space + "." + call.name;
        if (const auto found = by_name_.find(call.name); found != by_name_.end()) {
            call.symbol = found->second;
            index_.add(words_[last].spot, found->second, false);
        }
        call.name_spot = words_[last].spot;
        call.open = words_[last + 1].spot;
        open_calls_.push_back(index_.calls.size());
        index_.calls.push_back(std::move(call));
        at_ = last + 2;
    }

    // Records a use of the model's variable that the word names and returns its type; none if it
    // names no variable.
    std::size_t variable_type() {
        const auto found = index_.globals.find(text());
        if (found == index_.globals.end()) return none;
        const Symbol& symbol = index_.symbols[found->second];
        if (symbol.kind != SymbolKind::variable) return none;
        index_.add(words_[at_].spot, found->second, false);
        return symbol.type;
    }

    void path() {
        std::size_t type = variable_type();
        ++at_;
        while (type != none) {
            const TypeNode* node = index_.real(type);
            if (!node || !leads_on(*node)) return;
            type = step(*node);
        }
    }

    // Whether an index or a member follows, as the type has it.
    bool leads_on(const TypeNode& node) const {
        if (node.kind == TypeNode::Kind::array) return text() == "[" && text(2) == "]";
        const bool has_members =
            node.kind == TypeNode::Kind::optional || node.kind == TypeNode::Kind::record;
        return has_members && text() == ".";
    }

    // The type that the index or the member leads to, or none.
    std::size_t step(const TypeNode& node) {
        if (node.kind == TypeNode::Kind::array) return element(node);
        if (node.kind == TypeNode::Kind::record) return field(node);
        const bool is_value = text(1) == "SOME";
        at_ += 2;
        return is_value ? node.base : none;
    }

    std::size_t element(const TypeNode& array) {
        const Word& index = words_[at_ + 1];
        at_ += 3;
        if (!is_name(index)) return array.base;
        if (const auto local = locals_.find(index.text); local != locals_.end())
            index_.add(index.spot, local->second, false);
        return array.base;
    }

    std::size_t field(const TypeNode& record) {
        const Word& name = words_[at_ + 1];
        at_ += 2;
        const std::size_t field = index_.field_of(record, name.text);
        if (field == none) return none;
        index_.add(name.spot, field, false);
        return index_.symbols[field].type;
    }

    NameIndex& index_;
    const Words& words_;
    std::size_t at_ = 0;
    std::vector<Function> functions_;
    std::unordered_map<std::string, std::size_t> by_name_;
    std::unordered_map<std::string_view, std::size_t> locals_;
    std::vector<std::size_t> open_calls_; // none for another bracket
};

} // namespace

void read_calculation_names(NameIndex& index, const Words& words) {
    CalculationReader(index, words).run();
}

} // namespace norvane::driver::lsp
