// Calculations from source text, for the tests of what comes behind the parser. It takes
// well-formed text only: anything else throws.
#ifndef NORVANE_TESTS_CALC_SOURCE_H
#define NORVANE_TESTS_CALC_SOURCE_H

#include <cctype>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"

namespace norvane::test {

struct CalcDeleter {
    void operator()(PolyHash* c) const { calc_delete(c); }
};
using CalcPtr = std::unique_ptr<PolyHash, CalcDeleter>;

class CalcSource {
  public:
    CalcSource(const std::string& text, const char* filename)
        : at_(text.c_str()), filename_(filename) {
        next();
    }

    PolyHash* set() {
        PolyHash* calc = calc_new();
        while (!token_.empty()) {
            expect("namespace");
            std::string name = word();
            while (accept("."))
                name += "." + word();
            for (expect("{"); !accept("}");)
                calc_add_function(calc, name.c_str(), function());
        }
        return calc;
    }

    CFunc* function() {
        locals_.clear();
        const CalcType result = type();
        const int line = line_;
        const std::string name = word();
        PolyList* args = plist_new(nullptr, nullptr, nullptr);
        for (expect("("); !accept(")"); accept(",")) {
            const CalcType of = type();
            const int at = line_;
            plist_append(args, calc_new_func_arg(local(), of, at));
        }
        CExpr* fallback = accept("|") ? expr() : nullptr;
        CFunc* func = calc_new_func(copy(name), result, fallback, filename_, line);
        for (PolyListNode* node = args->first; node != nullptr; node = node->next)
            calc_add_function_arg(func, static_cast<CFuncArg*>(node->element));
        plist_delete(args);
        body(func);
        return func;
    }

  private:
    static char* copy(const std::string& text) { return str_copy(text.c_str()); }

    void skip_to(const char* end) {
        for (; at_ < end; ++at_)
            if (*at_ == '\n') ++line_;
    }

    // A token is its text; a string constant keeps its opening quote.
    void next() {
        for (;; ++at_) {
            if (*at_ == '/' && at_[1] == '*') skip_to(std::strstr(at_, "*/") + 2);
            if (*at_ == '/' && at_[1] == '/') skip_to(std::strchr(at_, '\n'));
            if (*at_ == '\n')
                ++line_;
            else if (*at_ != ' ' && *at_ != '\t')
                break;
        }
        const char* begin = at_;
        const auto run = [&](auto is_part) {
            while (is_part(static_cast<unsigned char>(*at_)) || *at_ == '_')
                ++at_;
        };
        if (std::isalpha(static_cast<unsigned char>(*at_)) || *at_ == '_') {
            run([](int c) { return std::isalnum(c); });
        } else if (std::isdigit(static_cast<unsigned char>(*at_))) {
            run([](int c) { return std::isdigit(c); });
            if (*at_ == '.' && std::isdigit(static_cast<unsigned char>(at_[1])))
                ++at_, run([](int c) { return std::isdigit(c); });
        } else if (*at_ == '"') {
            do {
                ++at_;
            } while (*at_ != '"');
            token_.assign(begin, at_++);
            return;
        } else {
            for (const char* symbol : {"<->", "->", ":=", "<>", "<=", ">="})
                if (std::strncmp(at_, symbol, std::strlen(symbol)) == 0) {
                    at_ += std::strlen(symbol);
                    token_.assign(symbol);
                    return;
                }
            if (*at_ != '\0') ++at_;
        }
        token_.assign(begin, at_);
    }

    std::string take() {
        std::string taken = token_;
        next();
        return taken;
    }
    bool accept(const char* symbol) {
        if (token_ != symbol) return false;
        next();
        return true;
    }
    void expect(const char* symbol) {
        if (!accept(symbol))
            throw std::runtime_error("line " + std::to_string(line_) + ": " + symbol + " before " +
                                     token_);
    }
    std::string word() { return take(); }

    char* local() {
        locals_.insert(token_);
        return copy(take());
    }

    static const std::map<std::string, CalcType>& types() {
        static const std::map<std::string, CalcType> all = {{"boolean", CTYPE_BOOL},
                                                            {"integer", CTYPE_INT},
                                                            {"float", CTYPE_FLOAT},
                                                            {"string", CTYPE_STRING},
                                                            {"void", CTYPE_VOID}};
        return all;
    }
    bool at_type() const { return types().contains(token_); }
    CalcType type() { return types().at(take()); }

    void body(CFunc* func) {
        const int line = line_;
        if (accept("=")) {
            const int at = line_;
            calc_add_function_stmt(func, calc_new_return_stmt(expr(), at));
            return expect(";");
        }
        if (accept(":")) {
            expect("external");
            calc_add_function_stmt(func, calc_new_external_stmt(take().c_str() + 1, line));
            return expect(";");
        }
        expect("{");
        while (at_type()) {
            const CalcType of = type();
            const int at = line_;
            char* name = copy(token_);
            const std::string entered = take();
            CExpr* init = accept(":=") ? expr() : nullptr;
            locals_.insert(entered);
            calc_add_function_vardef(func, calc_new_func_lvar(name, of, init, at));
            expect(";");
        }
        while (!accept("}"))
            calc_add_function_stmt(func, stmt());
    }

    PolyList* stmts() {
        PolyList* list = plist_new(nullptr, nullptr, nullptr);
        while (token_ != "}" && token_ != "case" && token_ != "default")
            plist_append(list, stmt());
        return list;
    }

    CStmt* stmt() {
        const int line = line_;
        if (accept("{")) {
            CStmt* block = calc_new_block_stmt(stmts(), line);
            expect("}");
            return block;
        }
        if (accept("if")) {
            CExpr* cond = expr();
            accept("then");
            CStmt* yes = stmt();
            return calc_new_ite_stmt(cond, yes, accept("else") ? stmt() : nullptr, line);
        }
        if (accept("switch")) return switch_stmt(line);
        if (accept("while")) {
            CExpr* cond = expr();
            return calc_new_while_stmt(cond, stmt(), line);
        }
        if (accept("for")) return for_stmt(line);
        CStmt* simple = nullptr;
        if (accept("do")) {
            CStmt* inner = stmt();
            expect("while");
            simple = calc_new_do_stmt(expr(), inner, line);
        } else if (accept("return")) {
            simple = calc_new_return_stmt(expr(), line);
        } else if (accept("break")) {
            simple = calc_new_break_stmt(line);
        } else {
            simple = calc_new_expr_stmt(token_ == ";" ? nullptr : expr(), line);
        }
        expect(";");
        return simple;
    }

    CStmt* switch_stmt(int line) {
        CStmt* result = calc_new_switch_stmt(expr(), line);
        expect("{");
        while (accept("case")) {
            CExpr* label = expr();
            expect(":");
            calc_add_switch_case(result, calc_new_case(label, stmts()));
        }
        if (accept("default")) {
            expect(":");
            calc_add_switch_default(result, stmts());
        }
        expect("}");
        return result;
    }

    CStmt* for_stmt(int line) {
        CExpr* clauses[3] = {};
        expect("(");
        for (CExpr*& clause : clauses) {
            const bool last = &clause == &clauses[2];
            if (token_ != (last ? ")" : ";")) clause = expr();
            expect(last ? ")" : ";");
        }
        return calc_new_for_stmt(clauses[0], clauses[1], clauses[2], stmt(), line);
    }

    struct Binary {
        COprType opr;
        int level;
        bool to_right;
    };
    static const std::map<std::string, Binary>& binaries() {
        static const std::map<std::string, Binary> all = {
            {"|", {COPR_DEF, 2, false}},    {"<->", {COPR_BIIMP, 3, true}},
            {"->", {COPR_IMP, 5, true}},    {"xor", {COPR_XOR, 6, false}},
            {"or", {COPR_OR, 7, false}},    {"and", {COPR_AND, 8, false}},
            {"=", {COPR_EQ, 10, false}},    {"<", {COPR_LT, 10, false}},
            {">", {COPR_GT, 10, false}},    {"<>", {COPR_NEQ, 10, false}},
            {">=", {COPR_GTEQ, 10, false}}, {"<=", {COPR_LTEQ, 10, false}},
            {"+", {COPR_PLUS, 11, false}},  {"-", {COPR_MINUS, 11, false}},
            {"*", {COPR_MULT, 12, false}},  {"/", {COPR_DIV, 12, false}},
            {"%", {COPR_MOD, 13, false}},   {"^", {COPR_EXP, 13, false}},
        };
        return all;
    }

    CExpr* expr(int level = 1) {
        CExpr* left = operand();
        for (;;) {
            const int line = line_;
            if (level <= 1 && accept(":=")) {
                left = calc_new_binary_expr(COPR_ASSIGN, left, expr(1), line);
                continue;
            }
            if (level <= 4 && accept("?")) {
                CExpr* yes = expr(5);
                expect(":");
                const int first = left->line_no;
                left = calc_new_ite_expr(left, yes, expr(5), first);
                continue;
            }
            const auto found = binaries().find(token_);
            if (found == binaries().end() || found->second.level < level) return left;
            next();
            const Binary& binary = found->second;
            CExpr* right = expr(binary.to_right ? binary.level : binary.level + 1);
            left = calc_new_binary_expr(binary.opr, left, right, line);
        }
    }

    CExpr* operand() {
        const int line = line_;
        if (accept("(")) {
            CExpr* inner = expr();
            expect(")");
            return inner;
        }
        if (accept("not")) return calc_new_unary_expr(COPR_NOT, expr(10), line);
        if (accept("-")) return calc_new_unary_expr(COPR_MINUS, expr(12), line);
        if (accept("true")) return calc_new_boolconst_expr(1, line);
        if (accept("false")) return calc_new_boolconst_expr(0, line);
        if (token_.starts_with('"'))
            return calc_new_stringconst_expr(copy(take().substr(1)), line, false);
        if (std::isdigit(static_cast<unsigned char>(token_[0]))) {
            const bool is_float = token_.find('.') != std::string::npos;
            const std::string digits = take();
            return is_float ? calc_new_floatconst_expr(str_to_double(digits.c_str()), line)
                            : calc_new_intconst_expr(str_to_int(digits.c_str()), line);
        }
        return name(line);
    }

    CExpr* name(int line) {
        CPMVar* head = nullptr;
        CPMVar* last = nullptr;
        std::string joined;
        do {
            CPMVar* component = calc_new_pmvar(copy(token_));
            joined += (head != nullptr ? "." : "") + take();
            if (last != nullptr) calc_set_pmvar_nested(last, component);
            if (head == nullptr) head = component;
            last = component;
            while (accept("[")) {
                calc_add_pmvar_arr_index(component, expr());
                expect("]");
            }
        } while (accept("."));
        const bool is_local =
            head == last && plist_isempty(head->arr_indices) && locals_.contains(joined);
        if (token_ != "(" && !is_local) return calc_new_pmvar_expr(head, line);
        calc_delete_pmvar(head);
        if (!accept("(")) return calc_new_lvar_expr(copy(joined), line);
        const std::size_t point = joined.rfind('.');
        char* ns = point == std::string::npos ? nullptr : copy(joined.substr(0, point));
        PolyList* args =
            plist_new(nullptr, nullptr, [](void* e) { calc_delete_expr(static_cast<CExpr*>(e)); });
        while (!accept(")")) {
            plist_append(args, expr());
            accept(",");
        }
        return calc_new_call_expr(ns, copy(joined.substr(point + 1)), args, line);
    }

    const char* at_;
    const char* filename_;
    int line_ = 1;
    std::string token_;
    std::set<std::string> locals_;
};

// The set of "namespace N { ... } ...", as of the file "calc.cl".
inline CalcPtr calculation(const std::string& source) {
    return CalcPtr(CalcSource(source, "calc.cl").set());
}

} // namespace norvane::test

#endif
