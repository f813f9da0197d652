// The library's check ends at the first error. This one makes the same symbol table, declaration by
// declaration, with the library's functions for expressions and names, and goes on after each
// error. A declaration that cannot be used is missing from the table: what needs it is not judged.
#include "model_faults.h"

#include <set>
#include <unordered_map>

#include "norvane/base/deep.hpp"

#include "fault_place.h"
#include "mistakes.h"
#include "ways_out.h"

namespace norvane::driver {
namespace {

// The largest bound and size, for those that are at fault themselves.
constexpr int any_bound = 0xFFFFFF;

// Splits a rule at its topmost logical operators.
void add_operands(Expr* expr, std::vector<Expr*>& operands) {
    if (stack_is_low()) return on_fresh_stack([&] { add_operands(expr, operands); });
    if (operation_of(expr) != Operation::logic) return operands.push_back(expr);
    if (expr->structure == EXPR_UNARY) return add_operands(expr->args.arg, operands);
    add_operands(expr->args.binargs.leftarg, operands);
    add_operands(expr->args.binargs.rightarg, operands);
}

// The names in an operand, but for those in a loop or a case, which may be declared there.
void add_names(Expr* expr, std::vector<Expr*>& names) {
    if (stack_is_low()) return on_fresh_stack([&] { add_names(expr, names); });
    if (expr->structure == EXPR_IDCONSTRUCTOR) return names.push_back(expr);
    if (expr->structure == EXPR_UNARY && expr->opr != OPR_ORDER)
        return add_names(expr->args.arg, names);
    if (expr->structure != EXPR_BINARY) return;
    add_names(expr->args.binargs.leftarg, names);
    add_names(expr->args.binargs.rightarg, names);
}

// Leaves the table's stack as it was. What a loop at fault has left there has no other owner.
class StackGuard {
  public:
    explicit StackGuard(SymbolTable* table) : table_(table), depth_(table->local_table->len) {}
    ~StackGuard() {
        while (table_->local_table->len > depth_) {
            auto* environment = static_cast<PolyHash*>(plist_hd(table_->local_table));
            symtbl_pop_env(table_);
            if (!has_failed_) symtbl_delete_symbol_table_env(environment);
        }
    }
    StackGuard(const StackGuard&) = delete;
    StackGuard& operator=(const StackGuard&) = delete;
    // After a throw, what is on the stack may belong to a record.
    void has_failed() { has_failed_ = true; }

  private:
    SymbolTable* table_;
    unsigned depth_;
    bool has_failed_ = false;
};

// Ignores assertions, which a form that the library does not support causes; rethrows all other
// failures.
void pass_on(const InternalFailure& failure) {
    if (failure.kind() != EXCEPT_ASSERTION || failure.is_out_of_memory()) throw failure;
}

class Checker {
  public:
    Checker(Project* project, RecordPlaces& places, const SourceText& text,
            const SyntaxFaults& syntax)
        : project_(project), places_(places), text_(text), lost_(syntax.lost_names),
          guessed_(syntax.guessed), table_(call([] { return symtbl_new_symbol_table(); })),
          ways_out_(project, table_, places, text) {}
    ~Checker() { detail::Release<symtbl_delete_symbol_table>()(table_); }
    Checker(const Checker&) = delete;
    Checker& operator=(const Checker&) = delete;

    std::vector<PlacedFinding> run() {
        for (ConstantDecl* constant : items<ConstantDecl>(project_->constantdecllist))
            check_constant(constant);
        for (TypeDecl* type : items<TypeDecl>(project_->typedecllist))
            enter_labels(type->typecon);
        for (VarDecl* variable : items<VarDecl>(project_->vardecllist))
            enter_labels(variable->typecon);
        for (TypeDecl* type : items<TypeDecl>(project_->typedecllist))
            check_type_declaration(type);
        for (VarDecl* variable : items<VarDecl>(project_->vardecllist))
            check_variable(variable);
        for (RuleDecl* rule : items<RuleDecl>(project_->ruledecllist))
            check_rule(rule);
        return std::move(findings_);
    }

  private:
    // Checks an expression; the library's report if it is at fault.
    std::optional<Report> check(Expr* expr) {
        StackGuard guard(table_);
        try {
            auto result = gather([this, expr] { return ssem_check_expr(project_, table_, expr); });
            if (result.value == 0 || result.reports.empty()) return {};
            return std::move(result.reports.front());
        } catch (const InternalFailure& failure) {
            pass_on(failure);
            guard.has_failed();
            return {};
        }
    }
    bool is_static(Expr* expr) {
        return call([=, this] { return ssem_is_static_expr(project_, table_, expr); }) != 0;
    }
    // Nothing for a form that cannot be evaluated.
    std::optional<int> value_of(Expr* expr) try {
        return call([=, this] { return ssem_static_evaluate_intexpr(project_, table_, expr); });
    } catch (const InternalFailure& failure) {
        pass_on(failure);
        return {};
    }

    // A report of this check, worded by the library.
    template <typename Build>
    static Report report_of(Build build) {
        auto made = gather([&build] {
            msg_report_error(ERROR_TYPE_ERROR, build());
            return 0;
        });
        return std::move(made.reports.front());
    }

    // Whether what is found in these tokens is worth telling.
    bool is_judged(TokenRange range) const {
        for (const TokenRange& guess : guessed_)
            if (range.first <= guess.last && guess.first <= range.last) return false;
        for (std::size_t i = range.first; i <= range.last && !doubtful_.empty(); ++i)
            if (doubtful_.contains(std::string(text_.word(i)))) return false;
        return true;
    }

    PlacedFinding* add(TokenRange range, const Report& report) {
        if (!is_judged(range)) return nullptr;
        if (!known_.insert({range.first, report.name}).second) return nullptr;
        findings_.push_back(error_at(text_, range, report.name, report.message));
        return &findings_.back();
    }

    // A fault in the expression `root`, of a declaration.
    void add_fault(const Report& report, const void* declaration, const Expr* root) {
        add_fault(report, declaration, root, root, root);
    }
    // The same where it is known to be in a part of the expression, or of an operand of it.
    void add_fault(const Report& report, const void* declaration, const Expr* root,
                   const Expr* operand, const Expr* at_fault) {
        const Declared* declared = places_.find(declaration);
        if (!declared || !is_judged(declared->range)) return;
        const std::string name(quoted_name(report.message));
        const bool is_undeclared =
            report.name == "ERR_ID_UNDECLARED" || report.name == "ERR_ILLEGAL_ARRAY_VAR";
        if (is_undeclared && lost_.contains(name)) return;
        if (report.name == "ERR_TYPE_UNDEF") return; // known where the type is named
        const Subject subject = subject_of(report, at_fault);
        const void* part = subject.part();
        auto range = part ? places_.find_part(root, part) : std::nullopt;
        const bool is_element =
            !subject.expr && subject.idcon && subject.idcon->contype == IDCON_ARRAY;
        if (range && is_element) range->last = range->first; // the name of the array
        if (!range) return add_without_column(report, *declared);
        if (PlacedFinding* found = add(*range, report))
            ways_out_.explain(*found, report, root, operand, subject, *range);
    }
    void add_without_column(const Report& report, const Declared& declared) {
        PlacedFinding* found = add(declared.range, report);
        if (!found) return;
        Place& place = found->finding.place;
        place.column = place.end_line = place.end_column = 0;
    }

    // Declarations.

    void lose(const char* name) { lost_.insert(name); }

    // Declares a name; takes over the record. The first of two declarations of a name wins.
    void declare(char* name, NameData* namedata, unsigned linenumber, std::size_t token) {
        auto result = gather([=, this] {
            return symtbl_insert(project_->line_info, table_, name, namedata, linenumber);
        });
        if (result.value == 0) {
            declared_at_[namedata] = token;
            return;
        }
        NameData* before = nullptr;
        const bool is_known = call([&] { return symtbl_lookup(table_, name, 0, &before); }) == 0;
        const bool is_doubtful = !is_known || !are_alike(before, namedata);
        call([=] { symtbl_delete_namedata(namedata); });
        if (result.reports.empty()) return;
        PlacedFinding* found = add({token, token}, result.reports.front());
        if (is_doubtful) doubtful_.insert(name); // once this is reported
        if (!found || !is_known) return;
        if (const auto place = declared_at_.find(before); place != declared_at_.end())
            show_first(found->finding, place->second, token);
    }

    // A declaration that repeats itself stands in a file that is included twice, or in a type that
    // several names share.
    void show_first(Finding& finding, std::size_t token, std::size_t again_token) {
        if (token == again_token) {
            finding.hint = "declare the enumeration as a type, and use its name";
            return;
        }
        const Place first = text_.place(token);
        const Place& again = finding.place;
        if (!text_.is_from_macro(token) && first.file == again.file && first.line == again.line &&
            first.column == again.column)
            finding.hint = in_quotes(first.file) + " is included twice";
        else
            finding.notes.push_back({first, "declared here"});
    }

    // A type without parts or names of its own.
    static bool is_simple(const TypeCon* typecon) {
        switch (kind_of(typecon)) {
        case TC_BOOL:
        case TC_INT:
        case TC_UBOUND_FLOAT:
        case TC_UBOUND_INTEGER:
        case TC_STRING: return true;
        case TC_PROD:
        case TC_SUM:
        case TC_ARRAY:
        case TC_NAMED:
        case TC_OPTIONAL: break;
        }
        return false;
    }

    // Whether a rule that names one of two fields can be checked as if it named the other:
    // variables of the same scalar type.
    static bool are_alike(const NameData* one, const NameData* other) {
        return one->ndtype == ND_VARIABLE && other->ndtype == ND_VARIABLE &&
               one->typecon->contype == other->typecon->contype && is_simple(one->typecon);
    }

    void check_constant(ConstantDecl* constant) {
        const Declared* declared = places_.find(constant);
        if (!declared) return lose(constant->name);
        Expr* value = constant->value;
        if (const auto report = check(value)) {
            add_fault(*report, constant, value);
            return lose(constant->name);
        }
        if (value->type == ETYPE_UNDEF) return lose(constant->name);
        if (!is_static(value)) {
            const std::string text = excerpt(value);
            add_fault(
                report_of([&] { return ERR_EXPR_NOT_STATIC("", constant->name, text.c_str()); }),
                constant, value);
            return lose(constant->name);
        }
        NameData* namedata = constant_data(constant);
        if (!namedata) return lose(constant->name);
        declare(constant->name, namedata, constant->linenumber, declared->name);
    }

    NameData* constant_data(ConstantDecl* constant) try {
        Expr* value = constant->value;
        const auto made = [](NameDataType kind, int number, double real, const char* text) {
            return symtbl_new_namedata(kind, nullptr, nullptr, number, real, text, 0);
        };
        switch (value->type) {
        case ETYPE_BOOL:
        case ETYPE_INT: {
            const NameDataType kind = value->type == ETYPE_BOOL ? ND_BOOL : ND_INT;
            return call([=, this] {
                return made(kind, ssem_static_evaluate_intexpr(project_, table_, value), 0.0,
                            nullptr);
            });
        }
        case ETYPE_ENUM_FLOAT:
            return call([=, this] {
                return made(ND_FLOAT, 0, ssem_static_evaluate_floatexpr(project_, table_, value),
                            nullptr);
            });
        case ETYPE_STRING:
            return call([=, this] {
                return made(ND_STRING, 0, 0.0,
                            ssem_static_evaluate_stringexpr(project_, table_, value));
            });
        default:
            add_fault(report_of([=] { return ERR_CONSTANT_TYPE("", constant->name); }), constant,
                      value);
            return nullptr;
        }
    } catch (const InternalFailure& failure) {
        pass_on(failure);
        return nullptr;
    }

    void enter_labels(TypeCon* typecon) {
        if (stack_is_low()) return on_fresh_stack([&] { enter_labels(typecon); });
        if (TypeCon* held = held_type(typecon)) return enter_labels(held);
        if (typecon->contype == TC_PROD)
            for (VarDecl* field : items<VarDecl>(typecon->values.prod.fields))
                enter_labels(field->typecon);
        if (typecon->contype == TC_SUM) enter_labels_of(typecon);
    }

    // The token of each label, in its order. A label may be several texts in a row.
    void enter_labels_of(TypeCon* sum) {
        const auto range = places_.find_type(sum);
        if (!range) return;
        std::size_t at = range->first + 1;
        int index = 0;
        for (char* label : items<char>(sum->values.labels)) {
            NameData* namedata = call(
                [=] { return symtbl_new_namedata(ND_LABEL, sum, nullptr, 0, 0.0, nullptr, 0); });
            namedata->label_index = index++;
            declare(label, namedata, sum->linenumber, at);
            check_label(label, at);
            while (at < range->last && text_.word(at) != "," && text_.word(at) != "|")
                ++at;
            ++at;
        }
    }

    void check_label(std::string_view label, std::size_t token) {
        if (label.empty()) add({token, token}, report_of([] { return ERR_EMPTY_LABEL_NAME(""); }));
        if (label == "SOME" || label == "NONE")
            add({token, token}, report_of([] { return ERR_LABEL_RESERVED_WORD(""); }));
    }

    void check_type_declaration(TypeDecl* type) {
        PolyHash* environment = nullptr;
        const Declared* declared = places_.find(type);
        if (!declared || !check_type(type, type->typecon, &environment)) return lose(type->name);
        NameData* namedata = call([=] {
            return symtbl_new_namedata(ND_TYPE, type->typecon, environment, 0, 0.0, nullptr, 0);
        });
        declare(type->name, namedata, type->linenumber, declared->name);
    }

    void check_variable(VarDecl* variable) {
        PolyHash* environment = nullptr;
        const Declared* declared = places_.find(variable);
        if (!declared || !check_type(variable, variable->typecon, &environment))
            return lose(variable->name);
        declare_variable(variable, environment, *declared);
    }
    void declare_variable(VarDecl* variable, PolyHash* environment, const Declared& declared) {
        NameData* namedata = call([=] {
            return symtbl_new_namedata(ND_VARIABLE, variable->typecon, environment, 0, 0.0, nullptr,
                                       variable->vartype == VARTYPE_PUBLIC);
        });
        declare(variable->name, namedata, variable->linenumber, declared.name);
    }

    // Types: false for one that cannot be used. Delivers the environment of a record or an
    // optional, which the caller owns, or null.

    bool check_type(const void* declaration, TypeCon* typecon, PolyHash** environment) {
        if (stack_is_low())
            return on_fresh_stack([&] { return check_type(declaration, typecon, environment); });
        switch (static_cast<ConType>(typecon->contype)) {
        case TC_INT: check_bound(declaration, typecon); return true;
        case TC_ARRAY:
            check_dimension(declaration, typecon);
            return check_type(declaration, typecon->values.array.element, environment);
        case TC_NAMED: return check_name(typecon);
        case TC_OPTIONAL: return check_optional(declaration, typecon, environment);
        case TC_PROD: check_record(typecon, environment); return true;
        case TC_BOOL:
        case TC_UBOUND_FLOAT:
        case TC_UBOUND_INTEGER:
        case TC_STRING:
        case TC_SUM: return true;
        }
        return false;
    }

    void check_bound(const void* declaration, TypeCon* typecon) {
        Expr* bound = typecon->values.upper;
        auto fault = check(bound);
        if (!fault) fault = fault_of_bound(bound);
        if (!fault) return;
        add_fault(*fault, declaration, bound);
        typecon->values.upper = any_number(bound);
    }
    std::optional<Report> fault_of_bound(Expr* bound) {
        const std::string text = excerpt(bound);
        if (bound->type != ETYPE_INT)
            return report_of([&] { return ERR_DOMAIN_TYPE("", text.c_str()); });
        if (!is_static(bound))
            return report_of([&] { return ERR_DOMAIN_NOT_STATIC("", text.c_str()); });
        const auto value = value_of(bound);
        if (value && static_cast<unsigned>(*value) > any_bound)
            return report_of([&] { return ERR_DOMAIN_BOUND("", text.c_str()); });
        return {};
    }

    void check_dimension(const void* declaration, TypeCon* typecon) {
        Expr* size = typecon->values.array.size;
        auto fault = check(size);
        if (!fault) fault = fault_of_dimension(size);
        if (!fault) return;
        add_fault(*fault, declaration, size);
        typecon->values.array.size = any_number(size);
    }
    std::optional<Report> fault_of_dimension(Expr* size) {
        const std::string text = excerpt(size);
        if (size->type != ETYPE_INT)
            return report_of([&] { return ERR_ARRAY_DIM("", text.c_str()); });
        if (!is_static(size))
            return report_of([&] { return ERR_ARRAY_NOT_STATIC("", text.c_str()); });
        const auto value = value_of(size);
        if (value && *value < 1) return report_of([&] { return ERR_ARRAY_DIM("", text.c_str()); });
        return {};
    }

    // A number that stands for one at fault, so that the type can be used.
    Expr* any_number(Expr* instead_of) {
        const unsigned linenumber = instead_of->linenumber;
        Expr* number = call([=] {
            expr_delete(instead_of);
            return expr_new_intconst(OPR_INTCONST, any_bound, linenumber);
        });
        check(number);
        return number;
    }

    bool check_name(TypeCon* named) {
        char* name = named->values.name;
        NameData* found = nullptr;
        const bool is_declared = call([&] { return symtbl_lookup(table_, name, 0, &found); }) == 0;
        if (is_declared && found->ndtype == ND_TYPE) return true;
        const auto range = places_.find_type(named);
        if (!range || (!is_declared && lost_.contains(name))) return false;
        const Report report = is_declared
                                  ? report_of([=] { return ERR_VAR_AS_TYPE_NAME("", name); })
                                  : report_of([=] { return ERR_TYPE_UNDEF("", name); });
        if (PlacedFinding* finding = add(*range, report))
            ways_out_.explain_type(*finding, name, *range);
        return false;
    }

    bool check_optional(const void* declaration, TypeCon* optional, PolyHash** environment) {
        static char some_name[] = "SOME";
        TypeCon* base = optional->values.base;
        PolyHash* own = call([] { return symtbl_new_symbol_table_env(1); });
        call([=, this] { symtbl_push_env(table_, own); });
        PolyHash* of_base = nullptr;
        const bool is_usable = check_type(declaration, base, &of_base);
        if (is_usable) {
            NameData* namedata = call([=] {
                return symtbl_new_namedata(ND_VARIABLE, base, of_base, 0, 0.0, nullptr, 1);
            });
            declare(some_name, namedata, optional->linenumber, 0);
        }
        call([this] { symtbl_pop_env(table_); });
        if (is_usable)
            *environment = own;
        else
            call([=] { symtbl_delete_symbol_table_env(own); });
        return is_usable;
    }

    void check_record(TypeCon* record, PolyHash** environment) {
        const unsigned fields = record->values.prod.fields->len;
        PolyHash* own = call(
            [=] { return symtbl_new_symbol_table_env(fields > 0 ? static_cast<int>(fields) : 1); });
        call([=, this] { symtbl_push_env(table_, own); });
        for (VarDecl* field : items<VarDecl>(record->values.prod.fields))
            check_variable(field);
        for (RuleDecl* rule : items<RuleDecl>(record->values.prod.rules))
            check_rule(rule);
        call([this] { symtbl_pop_env(table_); });
        *environment = own;
    }

    // Rules.

    static bool is_unbounded(const Expr* expr) {
        return expr->type == ETYPE_ENUM_FLOAT || expr->type == ETYPE_ENUM_INTEGER ||
               expr->type == ETYPE_STRING;
    }

    // Two variables of unbounded types may be equal in a rule of its own, or joined by `and`.
    void mark_unbounded_equations(Expr* expr) {
        if (stack_is_low()) return on_fresh_stack([&] { mark_unbounded_equations(expr); });
        if (expr->structure != EXPR_BINARY) return;
        Expr* left = expr->args.binargs.leftarg;
        Expr* right = expr->args.binargs.rightarg;
        if (expr->opr == OPR_AND) {
            mark_unbounded_equations(left);
            return mark_unbounded_equations(right);
        }
        const bool is_equation = expr->opr == OPR_EQ && left->structure == EXPR_IDCONSTRUCTOR &&
                                 right->structure == EXPR_IDCONSTRUCTOR;
        if (!is_equation || check(left) || check(right)) return;
        if (is_unbounded(left) && is_unbounded(right)) expr->opr = OPR_UBOUND_EQ;
    }

    void check_rule(RuleDecl* decl) {
        Expr* rule = decl->rule;
        mark_unbounded_equations(rule);
        const auto fault = check(rule);
        if (!fault) {
            if (rule->type != ETYPE_BOOL && rule->type != ETYPE_UNDEF) {
                const std::string text = excerpt(rule);
                add_fault(report_of([&] { return ERR_RULE_NOT_BOOLEAN("", text.c_str()); }), decl,
                          rule);
            }
            return;
        }
        std::vector<Expr*> operands;
        add_operands(rule, operands);
        bool is_found = false;
        for (Expr* operand : operands) {
            const auto part = check(operand);
            if (!part) continue;
            if (!check_names(decl, operand)) add_fault(*part, decl, rule, operand, operand);
            is_found = true;
        }
        if (!is_found) add_fault(*fault, decl, rule);
    }

    // True if a name is at fault, and not the operand that it is in.
    bool check_names(RuleDecl* decl, Expr* operand) {
        std::vector<Expr*> names;
        add_names(operand, names);
        bool is_found = false;
        for (Expr* name : names) {
            const auto fault = check(name);
            if (fault) add_fault(*fault, decl, decl->rule, operand, name);
            is_found = is_found || fault;
        }
        return is_found;
    }

    Project* project_;
    RecordPlaces& places_;
    const SourceText& text_;
    std::unordered_set<std::string> lost_;     // names of declarations that cannot be used
    std::unordered_set<std::string> doubtful_; // names that are declared twice
    const std::vector<TokenRange>& guessed_;
    SymbolTable* table_;
    WaysOut ways_out_;
    std::unordered_map<const NameData*, std::size_t> declared_at_;
    std::set<std::pair<std::size_t, std::string>> known_; // faults, by place and name
    std::vector<PlacedFinding> findings_;
};

} // namespace

std::vector<PlacedFinding> find_model_faults(Project* project, RecordPlaces& places,
                                             const SourceText& text, const SyntaxFaults& syntax) {
    return Checker(project, places, text, syntax).run();
}

} // namespace norvane::driver
