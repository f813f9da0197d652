// What may be written at a place of a model.
#include <algorithm>
#include <array>

#include "completion_items.h"
#include "completion_place.h"
#include "requests.h"
#include "unit.h"

namespace norvane::driver::lsp {
namespace {

constexpr auto type_words =
    std::to_array<const char*>({"boolean", "integer", "float", "string", "optional", "array"});
constexpr auto section_words = std::to_array<const char*>({"constant", "type", "variable", "rule"});
constexpr auto modifiers = std::to_array<const char*>({"public", "private"});
constexpr auto operand_words = std::to_array<const char*>({"not", "if", "true", "false", "order"});
constexpr auto operators =
    std::to_array<const char*>({"and", "or", "xor", "then", "else", "of", "esac"});

constexpr Snippet rule_snippets[] = {
    {"forall", "forall ${1:i} in [${2:0}..${3:n}] : ($0)"},
    {"exist", "exist ${1:i} in [${2:0}..${3:n}] : ($0)"},
    {"sum", "sum ${1:i} in [${2:0}..${3:n}] : ($0)"},
    {"product", "product ${1:i} in [${2:0}..${3:n}] : ($0)"},
    {"case", "case ${1:variable} of\n  ${2:label} then ${3:true} |\n  default ${4:true}\nesac"}};
constexpr Snippet section_snippets[] = {
    {"variable section", "variable\n  public ${1:name} : ${2:boolean};\n"},
    {"type section", "type\n  ${1:Name} : [${2:label}];\n"},
    {"constant section", "constant\n  ${1:NAME} : ${2:0};\n"},
    {"rule section", "rule\n  ${1:true};\n"}};
constexpr Snippet type_snippets[] = {{"record", "{\n  public ${1:name} : ${2:boolean};\n}"},
                                     {"enumeration", "[${1:label}, ${2:label}]"},
                                     {"range", "[0..${1:9}]"}};

bool is_loop_word(std::string_view word) {
    return word == "forall" || word == "exist" || word == "sum" || word == "product";
}

class ModelCompletion {
  public:
    explicit ModelCompletion(const Context& context)
        : names_(context.unit.names()), place_(context), items_(context) {}

    Json complete() {
        if (place_.is_code()) offer();
        if (place_.is_text())
            if (const TypeNode* type = expected_type())
                items_.add_quoted_labels(*type, names_, place_);
        return items_.take();
    }

  private:
    std::string_view section() const {
        std::vector<std::string_view> open = {""};
        for (const std::string& word : place_.words()) {
            if (word == "{") open.emplace_back("variable");
            if (word == "}" && open.size() > 1) open.pop_back();
            if (is_section_word(word)) open.back() = word;
        }
        return open.back();
    }

    void offer() {
        const std::string_view last = place_.back();
        if (last == ".") return members();
        const bool is_new_name = is_loop_word(last) || last == "public" || last == "private";
        if (is_new_name) return;
        const std::string_view here = section();
        const bool begins = last.empty() || last == ";" || last == "{" || is_section_word(last);
        if (begins) {
            items_.add_words(section_words);
            items_.add_snippets(section_snippets);
        }
        if (here == "rule") return rule();
        if (here == "variable" && begins) items_.add_words(modifiers);
        if (begins || here.empty()) return;
        if (here == "constant") return constant_expression();
        type();
    }

    void members() {
        if (const TypeNode* type = place_.type_before_last()) items_.add_members(*type, names_);
    }

    void type() {
        const std::string_view last = place_.back();
        if (last == ":" || last == "of" || last == "optional") return type_names();
        const bool is_bound = last == "array" || last == ".." || last == "+" || last == "-" ||
                              last == "*" || last == "/";
        if (is_bound) add_all(SymbolKind::constant, ItemKind::constant, Rank::fitting);
    }

    void type_names() {
        add_all(SymbolKind::type, ItemKind::structure, Rank::name);
        items_.add_words(type_words);
        items_.add_snippets(type_snippets);
    }

    void add_all(SymbolKind kind, ItemKind item, Rank rank) {
        for (const Symbol& symbol : names_.symbols)
            if (symbol.kind == kind) items_.add_symbol(symbol, item, rank);
    }

    void constant_expression() {
        if (place_.follows_operand()) return items_.add_words(operators);
        add_all(SymbolKind::constant, ItemKind::constant, Rank::name);
        add_all(SymbolKind::macro, ItemKind::constant, Rank::name);
        items_.add_words(operand_words);
        add_all(SymbolKind::label, ItemKind::label, Rank::other);
    }

    void rule() {
        if (is_loop_word(place_.back(2))) return items_.add_words(std::to_array({"in"}));
        if (place_.follows_operand()) return items_.add_words(operators);
        const TypeNode* arms_of = case_type();
        if (arms_of) items_.add_labels(*arms_of, names_);
        if (place_.back() == "|") items_.add_words(std::to_array({"default"}));
        if (arms_of && arms_of->kind == TypeNode::Kind::enumeration) return;
        const TypeNode* compared = compared_type();
        if (compared) items_.add_labels(*compared, names_);
        if (!compared && place_.follows_comparison())
            items_.add_words(std::to_array({"SOME", "NONE"}));
        variables();
        const bool is_label_known = compared && compared->kind == TypeNode::Kind::enumeration;
        if (is_label_known) return;
        add_all(SymbolKind::constant, ItemKind::constant, Rank::name);
        add_all(SymbolKind::macro, ItemKind::constant, Rank::name);
        items_.add_words(operand_words);
        items_.add_snippets(rule_snippets);
        add_all(SymbolKind::label, ItemKind::label, Rank::other);
    }

    // With what loops and records around the place declare.
    void variables() {
        for (const Symbol& symbol : names_.symbols) {
            const bool is_seen =
                symbol.kind == SymbolKind::variable ||
                (symbol.kind == SymbolKind::loop_variable && place_.is_around(symbol)) ||
                (symbol.kind == SymbolKind::field && symbol.container != none &&
                 place_.is_around(names_.symbols[symbol.container]));
            const bool is_field = symbol.kind == SymbolKind::field;
            if (is_seen)
                items_.add_symbol(symbol, is_field ? ItemKind::field : ItemKind::variable,
                                  Rank::name);
        }
    }

    // Of the path before a comparison; null where none ends here.
    const TypeNode* compared_type() const {
        return place_.follows_comparison() ? place_.type_before_last() : nullptr;
    }

    const TypeNode* expected_type() const {
        const TypeNode* arms_of = case_type();
        return arms_of ? arms_of : compared_type();
    }

    // Of the case of which an arm begins here; null where none does.
    const TypeNode* case_type() const {
        if (place_.back() != "of" && place_.back() != "|") return nullptr;
        const std::vector<std::string>& words = place_.words();
        const std::size_t first = open_case();
        std::size_t of = std::min(first, words.size());
        while (of < words.size() && words[of] != "of")
            ++of;
        return of < words.size() ? place_.type_before(of) : nullptr;
    }

    // The index of the word that begins the innermost open case, or none.
    std::size_t open_case() const {
        const std::vector<std::string>& words = place_.words();
        unsigned depth = 0;
        for (std::size_t i = words.size(); i-- > 0 && words[i] != ";";) {
            if (words[i] == "esac") ++depth;
            if (words[i] == "case" && depth-- == 0) return i;
        }
        return none;
    }

    const NameIndex& names_;
    CompletionPlace place_;
    CompletionItems items_;
};

} // namespace

Json complete(const Context& context) {
    return context.document.is_calculation ? complete_calculation(context)
                                           : ModelCompletion(context).complete();
}

} // namespace norvane::driver::lsp
