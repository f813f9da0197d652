// Internal failures: what the library threw, and what it was working on.
//
// The library says what it stopped on, and not where in the model. So the step is tried again with
// fewer rules, until one remains that makes the difference. Each attempt works on the same project:
// checking a project again is allowed, simplifying and expanding leave it as it is, and the table,
// whose stack of environments a throw leaves as it stood, is taken back to its bottom.
#include "failure.h"

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "norvane/base/items.hpp"

#include "calculations.h"
#include "diagnostics_sink.h"

namespace norvane::pm {
namespace {

// All rules: the global ones, and those of the records in declared types and in variables.
class RuleCollector {
  public:
    explicit RuleCollector(const Project* project) {
        for (const TypeDecl* type : items<TypeDecl>(project->typedecllist))
            add_type(type->typecon);
        for (const VarDecl* variable : items<VarDecl>(project->vardecllist))
            add_type(variable->typecon);
        add_rules(project->ruledecllist);
    }
    const std::vector<RuleDecl*>& rules() const { return rules_; }

  private:
    void add_rules(const PolyList* list) {
        for (RuleDecl* rule : items<RuleDecl>(list))
            rules_.push_back(rule);
    }

    // Types nest as deep as their source does, hence no recursion.
    void add_type(const TypeCon* outermost) {
        std::vector<const TypeCon*> pending = {outermost};
        while (!pending.empty()) {
            const TypeCon* type = pending.back();
            pending.pop_back();
            if (type->contype == TC_ARRAY) pending.push_back(type->values.array.element);
            if (type->contype == TC_OPTIONAL) pending.push_back(type->values.base);
            if (type->contype != TC_PROD) continue;
            for (const VarDecl* field : items<VarDecl>(type->values.prod.fields))
                pending.push_back(field->typecon);
            add_rules(type->values.prod.rules);
        }
    }

    std::vector<RuleDecl*> rules_;
};

void repeat_step(void* user) {
    auto& work = *static_cast<Work*>(user);
    switch (work.step) {
    case Step::check:
        if (SymbolTable* table = proj_static_sem_check(work.project))
            symtbl_delete_symbol_table(table);
        return;
    case Step::simplify: proj_delete(simplify_project(work.project, work.table)); return;
    case Step::expand:
        plist_delete(proj_get_expanded_rules(work.project, work.table, !work.options->as_written));
        return;
    case Step::write: proj_export_to_xmlfile(work.project, "/dev/null"); return;
    case Step::load:
    case Step::check_functions:
    case Step::print: return;
    }
}

bool step_fails(Work& work) {
    while (work.table && work.table->local_table->len > 1)
        symtbl_pop_env(work.table);
    static ExceptionState ignored;
    return except_catch(repeat_step, &work, &ignored) != 0;
}

// While this lives, the parts of the model from `first` on are replaced by one that does no harm.
template <typename T>
class Without {
  public:
    Without(const std::vector<T**>& places, std::size_t first, T* harmless)
        : places_(places), first_(first) {
        for (std::size_t i = first_; i < places_.size(); ++i)
            parts_.push_back(std::exchange(*places_[i], harmless));
    }
    ~Without() {
        for (std::size_t i = first_; i < places_.size(); ++i)
            *places_[i] = parts_[i - first_];
    }
    Without(const Without&) = delete;
    Without& operator=(const Without&) = delete;

  private:
    const std::vector<T**>& places_;
    std::size_t first_;
    std::vector<T*> parts_;
};

// The index of the first part with which the step fails, or nothing if it does not depend on these
// parts. With the first `n` of them it fails from some n on, which is found by halving.
template <typename T>
std::optional<std::size_t> first_that_fails(Work& work, const std::vector<T**>& places,
                                            T* harmless) {
    const auto fails_with = [&](std::size_t n) {
        const Without<T> rest(places, n, harmless);
        return step_fails(work);
    };
    std::size_t good = 0;
    std::size_t bad = places.size();
    if (fails_with(good) || !fails_with(bad)) return std::nullopt;
    while (bad - good > 1) {
        const std::size_t middle = good + (bad - good) / 2;
        (fails_with(middle) ? bad : good) = middle;
    }
    return good;
}

// What the step stopped on: all null where it is none of them.
struct Culprit {
    const RuleDecl* rule = nullptr;
    const VarDecl* variable = nullptr;
    const TypeDecl* type = nullptr;
    const ConstantDecl* constant = nullptr;
    FunctionOfCalculation function = {};
};

// What a part of the model is replaced by.
struct Harmless {
    Expr* expr = expr_new_intconst(OPR_BOOLCONST, 1, UNDEF_LINENO);
    TypeCon* type = tc_new_bool_tc(UNDEF_LINENO);
    Harmless() = default;
    ~Harmless() {
        expr_delete(expr);
        tc_delete_typecon(type);
    }
    Harmless(const Harmless&) = delete;
    Harmless& operator=(const Harmless&) = delete;
};

// The search in one kind of parts, and, while none of these is there, in the next kind.

void find_constant(Work& work, const Harmless& harmless, Culprit& culprit) {
    std::vector<ConstantDecl*> constants;
    std::vector<Expr**> places;
    for (ConstantDecl* constant : items<ConstantDecl>(work.project->constantdecllist)) {
        constants.push_back(constant);
        places.push_back(&constant->value);
    }
    if (const auto found = first_that_fails(work, places, harmless.expr))
        culprit.constant = constants[*found];
}

// Only where a model is written is each declared type, and each constant, dealt with for itself: in
// the other steps a model with another one would be another model.
void find_type(Work& work, const Harmless& harmless, Culprit& culprit) {
    if (work.step != Step::write) return;
    std::vector<TypeDecl*> types;
    std::vector<TypeCon**> places;
    for (TypeDecl* type : items<TypeDecl>(work.project->typedecllist)) {
        types.push_back(type);
        places.push_back(&type->typecon);
    }
    if (const auto found = first_that_fails(work, places, harmless.type)) {
        culprit.type = types[*found];
    } else {
        const Without<TypeCon> all_types(places, 0, harmless.type);
        find_constant(work, harmless, culprit);
    }
}

// The same holds for variables, but for the step that makes their types finite.
void find_variable(Work& work, const Harmless& harmless, Culprit& culprit) {
    if (work.step != Step::simplify && work.step != Step::write) return;
    std::vector<VarDecl*> variables;
    std::vector<TypeCon**> places;
    for (VarDecl* variable : items<VarDecl>(work.project->vardecllist)) {
        variables.push_back(variable);
        places.push_back(&variable->typecon);
    }
    if (const auto found = first_that_fails(work, places, harmless.type)) {
        culprit.variable = variables[*found];
    } else {
        const Without<TypeCon> all_variables(places, 0, harmless.type);
        find_type(work, harmless, culprit);
    }
}

// The search works on what the step has left, and repeats it: both want memory, and a step that had
// none may have stopped anywhere.
bool is_for_want_of_memory(const ExceptionState& thrown) {
    return std::string_view(thrown.message) == "Out of memory";
}

Culprit find_culprit(Work& work) {
    Culprit culprit;
    if (work.calc) culprit.function = function_that_fails(work);
    if (work.calc || !work.project || work.step == Step::load || work.step == Step::print)
        return culprit;
    const Harmless harmless;
    const RuleCollector collected(work.project);
    std::vector<Expr**> places;
    for (RuleDecl* rule : collected.rules())
        places.push_back(&rule->rule);
    if (const auto found = first_that_fails(work, places, harmless.expr)) {
        culprit.rule = collected.rules()[*found];
    } else {
        const Without<Expr> all_rules(places, 0, harmless.expr);
        find_variable(work, harmless, culprit);
    }
    return culprit;
}

struct ExprText {
    Expr* expr;
    UtilString* text;
};

void print_expr(void* user) {
    auto* print = static_cast<ExprText*>(user);
    ppm_printn_expr_str(print->expr, print->text, 6);
}

// The expression, cut at some depth; empty if it cannot be printed either.
std::string expr_text(Expr* expr) {
    static ExceptionState ignored;
    ExprText printed{expr, ustr_new()};
    const bool threw = except_catch(print_expr, &printed, &ignored) != 0;
    std::string text = threw ? std::string() : printed.text->text;
    for (char& c : text)
        if (c == '\n') c = ' ';
    ustr_delete(printed.text);
    return text;
}

std::string position_of(const Work& work, unsigned linenumber) {
    static char position[MESSAGE_BUFFER_SIZE];
    proj_line_information(work.project->line_info, linenumber, position);
    return position;
}

std::string position_of(const CFunc& func) {
    if (!func.filename || func.line_no == CALC_UNDEF_LINENO) return "";
    return std::string(func.filename) + " (" + std::to_string(func.line_no) + "): ";
}

// A culprit for a person: "rule", "variable", ..., where it stands, and its text.
struct CulpritText {
    const char* kind;
    std::string position;
    std::string text;
};

CulpritText describe(const Work& work, const Culprit& culprit) {
    if (const RuleDecl* rule = culprit.rule)
        return {"rule", position_of(work, rule->linenumber), expr_text(rule->rule)};
    if (const VarDecl* variable = culprit.variable)
        return {"variable", position_of(work, variable->linenumber), variable->name};
    if (const TypeDecl* type = culprit.type)
        return {"type", position_of(work, type->linenumber), type->name};
    if (const ConstantDecl* constant = culprit.constant)
        return {"constant", position_of(work, constant->linenumber),
                std::string(constant->name) + " : " + expr_text(constant->value)};
    if (const CFunc* func = culprit.function.func)
        return {"function", position_of(*func),
                std::string(culprit.function.ns->name) + "." + func->name};
    return {"", "", ""};
}

// What may help the user.
std::string hint(const Work& work, const ExceptionState& thrown) {
    if (is_for_want_of_memory(thrown)) return "The system had no more memory to give.";
    std::string text = "This is a gap in the program.";
    if (work.step == Step::write && work.project)
        text = "A file of this form cannot hold it; a division, for one, has no name there.";
    else if (work.step == Step::check_functions)
        text = "This is a gap in the program, as with each call that does not name its namespace.";
    return text + " Another way to say the same may pass by it.";
}

std::string text_report(const Work& work, const ExceptionState& thrown,
                        const std::string& thrown_by, const CulpritText& culprit) {
    std::string text = "norvane-pm: internal failure: " + std::string(thrown.message) + "\n";
    text += "  while " + std::string(step_text(work.step)) + " " + work.subject + "\n";
    if (*culprit.kind != '\0') {
        text +=
            "  at the " + std::string(culprit.kind) + " " + culprit.position + culprit.text + "\n";
    }
    text += "  thrown by " + thrown_by + "\n";
    return text + hint(work, thrown) + "\n";
}

std::string json_report(const Work& work, const ExceptionState& thrown,
                        const std::string& thrown_by, const CulpritText& culprit) {
    const std::string title = culprit.position + thrown.message;
    return to_json({"failure", "", title, split_position(title)}, {{"step", step_text(work.step)},
                                                                   {"kind", culprit.kind},
                                                                   {"text", culprit.text},
                                                                   {"thrown_by", thrown_by}});
}

struct Search {
    Work& work;
    CulpritText& found;
};

void search(void* user) {
    auto& [work, found] = *static_cast<Search*>(user);
    found = describe(work, find_culprit(work));
}

// Without a kind where nothing is found, or the search itself stops.
CulpritText search_culprit(Work& work) {
    static ExceptionState ignored;
    CulpritText found{"", "", ""};
    Search call{work, found};
    if (except_catch(search, &call, &ignored)) return {"", "", ""};
    return found;
}

} // namespace

void report_failure(Work& work, const ExceptionState& thrown) {
    work.diagnostics->mute();
    const CulpritText culprit =
        is_for_want_of_memory(thrown) ? CulpritText{"", "", ""} : search_culprit(work);
    const std::string thrown_by =
        std::string(thrown.file) + " (" + std::to_string(thrown.line) + ")";
    const bool text = work.diagnostics->format() == Format::text;
    const std::string report = text ? text_report(work, thrown, thrown_by, culprit)
                                    : json_report(work, thrown, thrown_by, culprit);
    std::fwrite(report.data(), 1, report.size(), stderr);
}

} // namespace norvane::pm
