// What may be written at a position.
#include <algorithm>
#include <array>
#include <set>

#include "builtins.h"
#include "places.h"
#include "requests.h"
#include "text.h"
#include "tokens.h"
#include "unit.h"

namespace norvane::driver::lsp {
namespace {

enum ItemKind {
    function = 3,
    field = 5,
    variable = 6,
    module = 9,
    keyword = 14,
    snippet = 15,
    label = 20,
    constant = 21,
    structure = 22
};

constexpr auto types = std::to_array<const char*>({"boolean", "integer", "float", "string"});
constexpr auto type_words = std::to_array<const char*>({"optional", "array"});
constexpr auto section_words = std::to_array<const char*>({"constant", "type", "variable", "rule"});
constexpr auto modifiers = std::to_array<const char*>({"public", "private"});
constexpr auto operators =
    std::to_array<const char*>({"and", "or", "xor", "not", "if", "then", "else", "true", "false",
                                "order", "SOME", "NONE", "default", "esac"});
constexpr auto calculation_words = std::to_array<const char*>(
    {"and",    "or",      "xor",   "not",     "if",     "then",  "else",     "true",
     "false",  "switch",  "case",  "default", "break",  "while", "do",       "for",
     "return", "integer", "float", "boolean", "string", "void",  "external", "namespace"});

struct Snippet {
    const char* name;
    const char* text; // as the client expands it
};
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

class Completion {
  public:
    explicit Completion(const Context& context)
        : context_(context), names_(context.unit.names()),
          position_(position_of(member(context.params, "position"))) {
        const Lines& lines = context.document.lines;
        before_ = lines.text().substr(0, lines.offset(position_));
    }

    Json complete() {
        if (!read_words()) return Json::array();
        context_.document.is_calculation ? calculation() : model();
        return std::move(items_);
    }

  private:
    // Those before the name that is being written. False within a comment or a text.
    bool read_words() {
        const bool is_code =
            context_.document.is_calculation ? read_calculation_words() : read_model_words();
        if (!is_code) return false;
        if (words_.empty()) return true;
        const std::string& last = words_.back();
        if (last[0] == '"' && (last.size() == 1 || last.back() != '"')) return false;
        const char end = before_.back();
        const bool is_name = std::isalnum(static_cast<unsigned char>(end)) || end == '_';
        if (is_name) words_.pop_back();
        return true;
    }

    // False within a comment.
    bool read_calculation_words() {
        const Words words(context_.document.path, before_);
        for (std::size_t i = 0; i < words.size(); ++i)
            words_.emplace_back(words[i].text);
        const std::size_t line = before_.rfind('\n') + 1; // 0 where there is none
        return before_.find("//", line) == before_.npos;
    }

    // False within a comment.
    bool read_model_words() {
        const Scan found = scan(before_);
        if (found.comment_depth > 0) return false;
        for (const Token& token : found.tokens)
            words_.push_back(before_.substr(token.offset, token.length));
        return true;
    }

    std::string_view back(std::size_t i = 1) const {
        return i <= words_.size() ? std::string_view(words_[words_.size() - i]) : "";
    }

    // Items. -------------------------------------------------------------------------------------

    void add(const std::string& name, ItemKind kind, const std::string& detail = {},
             const std::string& text = {}) {
        if (!known_.insert(name).second) return;
        Json item = {{"label", name}, {"kind", static_cast<int>(kind)}};
        if (!detail.empty()) item["detail"] = detail;
        if (!text.empty()) {
            item["insertText"] = text;
            if (kind == snippet) item["insertTextFormat"] = 2;
        }
        items_.push_back(std::move(item));
    }
    template <typename Table>
    void add_words(const Table& table) {
        for (const char* word : table)
            add(word, keyword);
    }
    template <typename Table>
    void add_snippets(const Table& table) {
        for (const Snippet& row : table)
            add(row.name, snippet, "", row.text);
    }
    void add_symbol(const Symbol& symbol, ItemKind kind) {
        const std::string name = to_utf8(symbol.name);
        const bool is_plain = symbol.kind != SymbolKind::label || is_name(symbol.name);
        std::string detail = declaration_text(symbol, context_.documents);
        detail.resize(std::min(detail.find('\n'), detail.size()));
        add(name, kind, symbol.kind == SymbolKind::label ? "label" : detail,
            is_plain ? "" : "\"" + name + "\"");
    }
    static bool is_name(std::string_view text) {
        const Scan found = scan(text);
        return found.tokens.size() == 1 && found.tokens[0].kind == TokenKind::word &&
               found.tokens[0].length == text.size() && !is_reserved(text);
    }

    // Paths. -------------------------------------------------------------------------------------

    bool is_around(const Symbol& symbol) const {
        if (!symbol.first.is_known() || !symbol.last.is_known() ||
            *symbol.first.file != context_.document.path)
            return false;
        const auto line = static_cast<unsigned>(position_.line + 1);
        return symbol.first.line <= line && line <= symbol.last.line;
    }

    // Of a name alone: what the declaration around the position has, or else what all see.
    std::size_t symbol_of(std::string_view name) const {
        for (std::size_t i = 0; i < names_.symbols.size(); ++i) {
            const Symbol& symbol = names_.symbols[i];
            if (symbol.kind == SymbolKind::field && symbol.name == name &&
                symbol.container != none && is_around(names_.symbols[symbol.container]))
                return i;
        }
        const auto found = names_.globals.find(name);
        return found == names_.globals.end() ? none : found->second;
    }

    // The type of the path that ends before the last `ahead` words.
    const TypeNode* path_type(std::size_t ahead) const {
        const std::vector<std::string_view> steps = path_steps(ahead);
        if (steps.empty()) return nullptr;
        const std::size_t base = symbol_of(steps.back());
        if (base == none) return nullptr;
        std::size_t type = names_.symbols[base].type;
        for (auto step = steps.rbegin() + 1; step != steps.rend(); ++step)
            type = type_of_step(type, *step);
        return names_.real(type);
    }

    // Last first, with "[" for an index; none where the path lacks its name.
    std::vector<std::string_view> path_steps(std::size_t ahead) const {
        std::vector<std::string_view> steps;
        std::size_t i = words_.size() - std::min(ahead, words_.size());
        while (i > 0) {
            i = take_indices(i, steps);
            if (i == 0) return {};
            steps.push_back(words_[--i]);
            if (i == 0 || words_[i - 1] != ".") break;
            --i;
        }
        return steps;
    }

    // Those that end before a word. Returns where the first of them begins.
    std::size_t take_indices(std::size_t i, std::vector<std::string_view>& steps) const {
        unsigned depth = 0;
        while (i > 0 && (words_[i - 1] == "]" || depth > 0)) {
            if (words_[i - 1] == "]") ++depth;
            if (words_[i - 1] == "[" && --depth == 0) steps.push_back("[");
            --i;
        }
        return i;
    }

    std::size_t type_of_step(std::size_t type, std::string_view step) const {
        const TypeNode* node = names_.real(type);
        if (!node) return none;
        if (step == "[") return node->kind == TypeNode::Kind::array ? node->base : none;
        if (step == "SOME") return node->kind == TypeNode::Kind::optional ? node->base : none;
        const std::size_t found = names_.field_of(*node, step);
        return found == none ? none : names_.symbols[found].type;
    }

    void members(const TypeNode* type) {
        if (!type) return;
        if (type->kind == TypeNode::Kind::optional) add("SOME", keyword, "the value");
        if (type->kind == TypeNode::Kind::record)
            for (const std::size_t each : type->fields)
                add_symbol(names_.symbols[each], field);
    }

    void labels_of(const TypeNode* type, bool as_text) {
        if (!type) return;
        if (type->kind == TypeNode::Kind::optional) {
            add("SOME", keyword);
            add("NONE", keyword);
        }
        if (type->kind != TypeNode::Kind::enumeration) return;
        for (const std::size_t each : type->fields) {
            const Symbol& symbol = names_.symbols[each];
            if (as_text)
                add("\"" + to_utf8(symbol.name) + "\"", label);
            else
                add_symbol(symbol, label);
        }
    }

    bool is_comparison(std::string_view word) const { return word == "=" || word == "<>"; }

    // Models. ------------------------------------------------------------------------------------

    std::string_view section() const {
        std::vector<std::string_view> open = {""};
        for (const std::string& word : words_) {
            if (word == "{") open.emplace_back("variable");
            if (word == "}" && open.size() > 1) open.pop_back();
            if (is_section_word(word)) open.back() = word;
        }
        return open.back();
    }

    void model() {
        const std::string_view here = section();
        if (back() == ".") return members(path_type(1));
        const bool begins =
            words_.empty() || back() == ";" || back() == "{" || is_section_word(back());
        if (begins) {
            add_words(section_words);
            add_snippets(section_snippets);
        }
        if (here == "variable" || here == "type") {
            if (here == "variable" && begins) add_words(modifiers);
            if (back() == ":" || back() == "of" || back() == "optional") return type_names();
            if (begins) return;
        }
        if (here.empty()) return;
        if (is_comparison(back())) labels_of(path_type(2), false);
        expression();
    }

    void type_names() {
        for (const Symbol& symbol : names_.symbols)
            if (symbol.kind == SymbolKind::type) add_symbol(symbol, structure);
        add_words(types);
        add_words(type_words);
        add_snippets(type_snippets);
    }

    void expression() {
        for (const Symbol& symbol : names_.symbols) {
            switch (symbol.kind) {
            case SymbolKind::constant: add_symbol(symbol, constant); break;
            case SymbolKind::variable: add_symbol(symbol, variable); break;
            case SymbolKind::label: add_symbol(symbol, label); break;
            case SymbolKind::macro: add_symbol(symbol, constant); break;
            case SymbolKind::loop_variable:
                if (is_around(symbol)) add_symbol(symbol, variable);
                break;
            case SymbolKind::field:
                if (symbol.container != none && is_around(names_.symbols[symbol.container]))
                    add_symbol(symbol, field);
                break;
            default: break;
            }
        }
        add_words(operators);
        add_snippets(rule_snippets);
    }

    // Calculations. ------------------------------------------------------------------------------

    void calculation() {
        if (back() == ".") {
            functions_of(back(2));
            return members(path_type(1));
        }
        if (is_comparison(back())) labels_of(path_type(2), true);
        if (back() == "=" && back(2) == ":") labels_of(path_type(3), true);
        if (back() == ":=") labels_of(path_type(2), true);
        built_in_name_spaces();
        for (const Symbol& symbol : names_.symbols)
            calculation_symbol(symbol);
        add_words(calculation_words);
    }

    void built_in_name_spaces() {
        std::set<std::string> spaces;
        for (const Builtin& each : builtins())
            spaces.insert(each.name_space);
        for (const std::string& each : spaces)
            add(each, module);
    }

    // Where the position sees it.
    void calculation_symbol(const Symbol& symbol) {
        if (symbol.kind == SymbolKind::name_space) add_symbol(symbol, module);
        if (symbol.kind == SymbolKind::variable && !symbol.is_private) add_symbol(symbol, variable);
        const bool is_local =
            symbol.kind == SymbolKind::argument || symbol.kind == SymbolKind::local;
        if (is_local && is_around(names_.symbols[symbol.container])) add_symbol(symbol, variable);
    }

    void functions_of(std::string_view name_space) {
        for (const Builtin& each : builtins())
            if (each.name_space == name_space) add(each.name, function, each.signature);
        for (const Symbol& symbol : names_.symbols)
            if (symbol.kind == SymbolKind::function && symbol.container != none &&
                names_.symbols[symbol.container].name == name_space)
                add_symbol(symbol, function);
    }

    const Context& context_;
    const NameIndex& names_;
    Position position_;
    std::string before_;
    std::vector<std::string> words_;
    Json items_ = Json::array();
    std::set<std::string> known_;
};

} // namespace

Json complete(const Context& context) {
    return Completion(context).complete();
}

} // namespace norvane::driver::lsp
