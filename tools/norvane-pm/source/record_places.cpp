#include "record_places.h"

#include <algorithm>

#include "norvane/base/deep.hpp"

namespace norvane::driver {

std::vector<ParsedToken> parsed_tokens(const SourceText& source) {
    std::vector<ParsedToken> tokens;
    tokens.reserve(source.size());
    for (std::size_t i = 0; i < source.size(); ++i)
        tokens.push_back({source.tokens()[i].kind, source.word(i), i});
    return tokens;
}

// Thrown where the tokens are not those of the tree.
struct DoesNotFit {};

// Walks the sections, and in them the declarations of the project's four lists.
class DeclarationWalk {
  public:
    DeclarationWalk(RecordPlaces& places, const Project* project)
        : places_(places), tokens_(places.tokens_), project_(project) {}

    void run() {
        const PolyListNode* constant = project_->constantdecllist->first;
        const PolyListNode* type = project_->typedecllist->first;
        const PolyListNode* variable = project_->vardecllist->first;
        const PolyListNode* rule = project_->ruledecllist->first;
        std::string_view section;
        while (at_ < tokens_.size()) {
            if (is_section_word(word())) {
                section = word();
                ++at_;
            } else if (section == "constant") {
                constant_declaration(next<ConstantDecl>(constant));
            } else if (section == "type") {
                type_declaration(next<TypeDecl>(type));
            } else if (section == "variable") {
                variables(variable);
            } else {
                rule_declaration(next<RuleDecl>(rule));
            }
        }
    }

  private:
    std::string_view word() const { return at_ < tokens_.size() ? tokens_[at_].word : ""; }
    void skip(std::string_view what) {
        if (word() != what) throw DoesNotFit();
        ++at_;
    }
    bool take(std::string_view what) {
        const bool is_there = word() == what;
        at_ += is_there;
        return is_there;
    }

    template <typename T>
    static const T* next(const PolyListNode*& node) {
        if (!node) throw DoesNotFit();
        const auto* element = static_cast<const T*>(node->element);
        node = node->next;
        return element;
    }

    TokenRange range(std::size_t first) const {
        return {tokens_[first].token, tokens_[at_ - 1].token};
    }
    void note(const void* declaration, std::size_t first, std::size_t name) {
        places_.declared_[declaration] = {range(first), tokens_[name].token};
    }

    // Skips an expression, which ends before the given word outside of brackets.
    void expression(const Expr* root, std::string_view end) {
        places_.roots_[root] = at_;
        unsigned depth = 0;
        for (; at_ < tokens_.size(); ++at_) {
            if (depth == 0 && word() == end) return;
            if (word() == "[" || word() == "(" || word() == "case") ++depth;
            if (word() == "]" || word() == ")" || word() == "esac") --depth;
        }
        throw DoesNotFit();
    }

    void constant_declaration(const ConstantDecl* constant) {
        const std::size_t first = at_++;
        skip(":");
        expression(constant->value, ";");
        note(constant, first, first);
        skip(";");
    }

    void type_declaration(const TypeDecl* declared) {
        const std::size_t first = at_++;
        skip(":");
        type(declared->typecon);
        note(declared, first, first);
        skip(";");
    }

    void rule_declaration(const RuleDecl* rule) {
        const std::size_t first = at_;
        expression(rule->rule, ";");
        note(rule, first, first);
        skip(";");
    }

    // Names that share a type: each has a copy of it.
    void variables(const PolyListNode*& node) {
        const std::size_t first = at_;
        if (word() == "public" || word() == "private") ++at_;
        const std::size_t names = at_;
        while (word() != ":") {
            if (word() == ";" || at_ == tokens_.size()) throw DoesNotFit();
            ++at_;
        }
        const std::size_t colon = at_;
        for (std::size_t name = names; name < colon; name += 2) {
            const auto* variable = next<VarDecl>(node);
            at_ = colon + 1;
            type(variable->typecon);
            note(variable, first, name);
        }
        skip(";");
    }

    void type(const TypeCon* typecon) {
        if (stack_is_low()) return on_fresh_stack([&] { return type(typecon); });
        const std::size_t first = at_;
        switch (static_cast<ConType>(typecon->contype)) {
        case TC_BOOL:
        case TC_UBOUND_FLOAT:
        case TC_UBOUND_INTEGER:
        case TC_STRING:
        case TC_NAMED: ++at_; break;
        case TC_INT:
            at_ += 3; // [0..
            expression(typecon->values.upper, "]");
            skip("]");
            break;
        case TC_SUM:
            while (!take("]"))
                if (++at_ > tokens_.size()) throw DoesNotFit();
            break;
        case TC_ARRAY:
            skip("array");
            expression(typecon->values.array.size, "of");
            skip("of");
            type(typecon->values.array.element);
            break;
        case TC_OPTIONAL:
            skip("optional");
            type(typecon->values.base);
            break;
        case TC_PROD: record(typecon); break;
        }
        if (at_ > tokens_.size()) throw DoesNotFit();
        places_.types_[typecon] = range(first);
    }

    void record(const TypeCon* typecon) {
        skip("{");
        const PolyListNode* field = typecon->values.prod.fields->first;
        while (word() != "rule" && word() != "}")
            variables(field);
        if (take("rule")) {
            const PolyListNode* rule = typecon->values.prod.rules->first;
            while (word() != "}")
                rule_declaration(next<RuleDecl>(rule));
        }
        skip("}");
    }

    RecordPlaces& places_;
    const std::vector<ParsedToken>& tokens_;
    const Project* project_;
    std::size_t at_ = 0;
};

// Walks the leaves of an expression: each one takes the next operand.
class ExpressionWalk {
  public:
    ExpressionWalk(RecordPlaces& places, std::size_t at)
        : parts_(places.parts_), tokens_(places.tokens_), at_(at) {}

    TokenRange expression(const Expr* expr) {
        if (stack_is_low()) return on_fresh_stack([&] { return expression(expr); });
        const TokenRange range = range_of(expr);
        parts_[expr] = range;
        return range;
    }

  private:
    TokenRange range_of(const Expr* expr) {
        const auto& args = expr->args;
        switch (static_cast<ExprStructure>(expr->structure)) {
        case EXPR_BINARY: {
            const std::size_t first = operand_in_parentheses(args.binargs.leftarg).first;
            return {first, operand_in_parentheses(args.binargs.rightarg).last};
        }
        case EXPR_UNARY: {
            const TokenRange arg = operand_in_parentheses(args.arg);
            return {before(arg.first), arg.last};
        }
        case EXPR_IDCONSTRUCTOR: return identifier(args.idcon);
        case EXPR_INT_CONST: return number(args.intconst.value < 0);
        case EXPR_FLOAT_CONST: return number(args.floatconst.value < 0.0);
        case EXPR_STRING_CONST: {
            TokenRange range = operand();
            while (at_ < tokens_.size() && tokens_[at_].kind == TokenKind::string)
                range.last = at_++;
            return range;
        }
        case EXPR_ITE: return conditional(expr);
        case EXPR_RANGE: {
            const TokenRange variable = operand();
            expression(args.range.rangebegin);
            expression(args.range.rangeend);
            return {before(variable.first), operand_in_parentheses(args.range.lambdaexpr).last};
        }
        case EXPR_CASE: {
            const TokenRange selector = identifier(args.caseexpr.casevar);
            const PolyListNode* evaluation = args.caseexpr.exprlist_evaluation->first;
            for (const Expr* condition : items<Expr>(args.caseexpr.exprlist_condition)) {
                expression(condition);
                expression(static_cast<const Expr*>(evaluation->element));
                evaluation = evaluation->next;
            }
            return {before(selector.first),
                    operand_in_parentheses(args.caseexpr.default_expr).last + 1};
        }
        }
        throw DoesNotFit();
    }

    // Without an else branch the tree has one that comes from no token.
    TokenRange conditional(const Expr* expr) {
        const std::size_t first = before(operand_in_parentheses(expr->args.ite.logictest).first);
        std::size_t last = operand_in_parentheses(expr->args.ite.trueexpr).last;
        const bool has_else = last + 1 < tokens_.size() && tokens_[last + 1].word == "else";
        if (has_else) last = operand_in_parentheses(expr->args.ite.falseexpr).last;
        return {first, last};
    }

    TokenRange identifier(const IdCon* idcon) {
        if (stack_is_low()) return on_fresh_stack([&] { return identifier(idcon); });
        TokenRange range{};
        switch (static_cast<IdConType>(idcon->contype)) {
        case IDCON_SIMPLE: range = operand(); break;
        case IDCON_ARRAY:
            range = operand();
            for (const Expr* index : items<Expr>(idcon->args.array.exprlist))
                range.last = operand_in_parentheses(index).last + 1;
            at_ = range.last + 1;
            break;
        case IDCON_COMPOSIT:
            range = identifier(idcon->args.compositid.hier);
            range.last = identifier(idcon->args.compositid.nested).last;
            break;
        }
        parts_[idcon] = range;
        return range;
    }

    // The sign of a number is a part of it.
    TokenRange number(bool is_negative) {
        TokenRange range = operand();
        if (is_negative && range.first > 0 && tokens_[range.first - 1].word == "-") --range.first;
        return range;
    }

    // The next token that is an operand by itself.
    TokenRange operand() {
        while (at_ < tokens_.size() && !is_operand(tokens_[at_]))
            ++at_;
        if (at_ >= tokens_.size()) throw DoesNotFit();
        const std::size_t found = at_++;
        return {found, found};
    }
    static bool is_operand(const ParsedToken& token) {
        if (token.kind == TokenKind::number || token.kind == TokenKind::string) return true;
        if (token.kind != TokenKind::word) return false;
        return token.word == "true" || token.word == "false" || !is_reserved(token.word);
    }

    TokenRange operand_in_parentheses(const Expr* expr) {
        TokenRange range = expression(expr);
        while (range.first > 0 && range.last + 1 < tokens_.size() &&
               tokens_[range.first - 1].word == "(" && tokens_[range.last + 1].word == ")") {
            --range.first;
            ++range.last;
        }
        return range;
    }
    static std::size_t before(std::size_t at) {
        if (at == 0) throw DoesNotFit();
        return at - 1;
    }

    RecordPlaces::Ranges& parts_;
    const std::vector<ParsedToken>& tokens_;
    std::size_t at_;
};

RecordPlaces::RecordPlaces(const Project* project, const std::vector<ParsedToken>& tokens)
    : tokens_(tokens) {
    try {
        DeclarationWalk(*this, project).run();
    } catch (const DoesNotFit&) {
        // What was found before is right.
    }
}

const Declared* RecordPlaces::find(const void* declaration) const {
    const auto found = declared_.find(declaration);
    return found == declared_.end() ? nullptr : &found->second;
}

std::optional<TokenRange> RecordPlaces::find_type(const TypeCon* typecon) const {
    const auto found = types_.find(typecon);
    if (found == types_.end()) return {};
    return found->second;
}

const TokenRange* RecordPlaces::part_at(const Expr* root, const void* part) {
    if (walked_ != root) {
        parts_.clear();
        walked_ = root;
        const auto begin = roots_.find(root);
        if (begin == roots_.end()) return nullptr;
        try {
            ExpressionWalk(*this, begin->second).expression(root);
        } catch (const DoesNotFit&) {
            parts_.clear();
        }
    }
    const auto found = parts_.find(part);
    return found == parts_.end() ? nullptr : &found->second;
}

std::optional<TokenRange> RecordPlaces::find_part(const Expr* root, const void* part) {
    const TokenRange* range = part_at(root, part);
    if (!range) return {};
    return TokenRange{tokens_[range->first].token, tokens_[range->last].token};
}

std::optional<std::size_t> RecordPlaces::find_operator(const Expr* root, const Expr* binary) {
    const TokenRange* left = part_at(root, binary->args.binargs.leftarg);
    if (!left) return {};
    std::size_t at = left->last + 1;
    while (at < tokens_.size() && tokens_[at].word == ")")
        ++at;
    if (at == tokens_.size()) return {};
    return tokens_[at].token;
}

} // namespace norvane::driver
