// What may be written at a place of a calculation.
#include <algorithm>
#include <array>
#include <string>

#include "builtins.h"
#include "completion_items.h"
#include "completion_place.h"
#include "requests.h"
#include "text.h"
#include "unit.h"

namespace norvane::driver::lsp {
namespace {

constexpr auto types =
    std::to_array<const char*>({"integer", "float", "boolean", "string", "void"});
constexpr auto statement_words = std::to_array<const char*>(
    {"if", "switch", "case", "default", "break", "while", "do", "for", "return"});
constexpr auto operand_words = std::to_array<const char*>({"not", "true", "false"});
constexpr auto operators =
    std::to_array<const char*>({"and", "or", "xor", "then", "else", "while"});
constexpr auto beginnings =
    std::to_array<std::string_view>({"{", "}", ";", ")", ":", "then", "else", "do"});

constexpr Snippet name_space_snippets[] = {
    {"namespace with a function",
     "namespace ${1:Name} {\n\n  ${2:float} ${3:function}() {\n    return ${4:0.0};\n  }\n}\n"}};
constexpr Snippet function_snippets[] = {
    {"function", "${1:float} ${2:name}() {\n  return ${3:0.0};\n}\n"},
    {"function of one expression", "${1:float} ${2:name}() = ${3:0.0};\n"},
    {"external function", "${1:string} ${2:name}() : external \"${3:text}\";\n"}};
constexpr Snippet statement_snippets[] = {
    {"if with a block", "if ${1:true} then {\n  $0\n}"},
    {"switch with a case", "switch ${1:variable} {\ncase \"${2:label}\":\n  $0\n  break;\n}"},
    {"for with a count", "for (${1:i} := 0; $1 < ${2:9}; $1 := $1 + 1) {\n  $0\n}"},
    {"while with a block", "while ${1:false} {\n  $0\n}"}};

class CalculationCompletion {
  public:
    explicit CalculationCompletion(const Context& context)
        : names_(context.unit.names()), place_(context), items_(context) {}

    Json complete() {
        if (place_.is_code()) offer();
        if (place_.is_text())
            if (const TypeNode* type = expected_type())
                items_.add_quoted_labels(*type, names_, place_);
        return items_.take();
    }

  private:
    void offer() {
        if (place_.back() == ".") return members();
        const bool is_new_name =
            place_.back() == "namespace" || std::ranges::count(types, place_.back()) > 0;
        if (is_new_name) return;
        const std::size_t depth = open_braces();
        if (depth == 0) {
            items_.add_words(std::to_array({"namespace"}));
            items_.add_snippets(name_space_snippets);
        } else if (depth == 1 && !is_in_expression()) {
            declaration();
        } else {
            statement();
        }
    }

    std::size_t open_braces() const {
        const auto open = std::ranges::count(place_.words(), "{");
        const auto closed = std::ranges::count(place_.words(), "}");
        return static_cast<std::size_t>(std::max<std::ptrdiff_t>(open - closed, 0));
    }

    // Outside of a body: after the "=", ":" or "|" of a function.
    bool is_in_expression() const {
        for (std::size_t i = 1; i <= place_.words().size(); ++i) {
            const std::string_view word = place_.back(i);
            if (word == ";" || word == "{" || word == "}") return false;
            if (word == "=" || word == ":" || word == "|") return true;
        }
        return false;
    }

    void declaration() {
        items_.add_words(types);
        const std::string_view last = place_.back();
        if (last == ";" || last == "{" || last == "}") items_.add_snippets(function_snippets);
    }

    // Completes after a dot: functions of a namespace, or members of a variable of the model.
    void members() {
        functions_of(name_space_before());
        if (const TypeNode* type = place_.type_before_last()) items_.add_members(*type, names_);
    }

    // "Truck.Weight" of "Truck.Weight."
    std::string name_space_before() const {
        std::string name(place_.back(2));
        for (std::size_t i = 3; place_.back(i) == "."; i += 2)
            name.insert(0, std::string(place_.back(i + 1)) + ".");
        return name;
    }

    void functions_of(const std::string& name_space) {
        for (const Builtin& each : builtins())
            if (each.name_space == name_space)
                items_.add(each.name, ItemKind::function, Rank::fitting, each.signature);
        for (const Symbol& symbol : names_.symbols) {
            if (symbol.kind == SymbolKind::name_space && symbol.name.starts_with(name_space + "."))
                items_.add(to_utf8(symbol.name.substr(name_space.size() + 1)), ItemKind::module,
                           Rank::name);
            if (symbol.kind == SymbolKind::function && symbol.container != none &&
                names_.symbols[symbol.container].name == name_space)
                items_.add_symbol(symbol, ItemKind::function, Rank::fitting);
        }
    }

    void statement() {
        if (place_.back() != ")" && place_.follows_operand()) return items_.add_words(operators);
        if (const TypeNode* type = expected_type()) items_.add_labels(*type, names_);
        const bool begins = std::ranges::count(beginnings, place_.back()) > 0;
        if (begins) {
            items_.add_words(statement_words);
            items_.add_words(types);
            items_.add_snippets(statement_snippets);
        }
        if (place_.back() == ")") items_.add_words(operators);
        if (place_.back() == ":") items_.add_words(std::to_array({"external"}));
        items_.add_words(operand_words);
        name_spaces();
        for (const Symbol& symbol : names_.symbols)
            if (is_seen(symbol)) items_.add_symbol(symbol, ItemKind::variable, Rank::name);
    }

    // The type of the value expected at the cursor, from the comparison, assignment or switch it is
    // in; null if unknown.
    const TypeNode* expected_type() const {
        if (place_.back() == "case") return switch_type();
        const bool is_value = place_.follows_comparison() || place_.back() == ":=";
        return is_value ? place_.type_before_last() : nullptr;
    }

    const TypeNode* switch_type() const {
        const std::vector<std::string>& words = place_.words();
        unsigned depth = 0;
        for (std::size_t i = words.size(); i-- > 0;) {
            if (words[i] == "}") ++depth;
            if (words[i] == "{" && depth-- == 0) return place_.type_before(i);
        }
        return nullptr;
    }

    void name_spaces() {
        for (const Builtin& each : builtins())
            items_.add(each.name_space, ItemKind::module, Rank::name);
        for (const Symbol& symbol : names_.symbols)
            if (symbol.kind == SymbolKind::name_space)
                items_.add(to_utf8(symbol.name), ItemKind::module, Rank::name);
    }

    bool is_seen(const Symbol& symbol) const {
        const bool is_local =
            symbol.kind == SymbolKind::argument || symbol.kind == SymbolKind::local;
        if (is_local) return place_.is_around(names_.symbols[symbol.container]);
        return symbol.kind == SymbolKind::variable && !symbol.is_private;
    }

    const NameIndex& names_;
    CompletionPlace place_;
    CompletionItems items_;
};

} // namespace

Json complete_calculation(const Context& context) {
    return CalculationCompletion(context).complete();
}

} // namespace norvane::driver::lsp
