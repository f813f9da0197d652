// Each expression and each statement without those in it becomes a function of its own, a probe:
// one check tells the first fault of each. After a fault in an expression, its parts that the check
// has not come to are probed in the next round.
#include "calculation_faults.h"

#include <algorithm>
#include <charconv>
#include <deque>
#include <set>
#include <unordered_map>

#include "norvane/base/deep.hpp"

#include "calculation_names.h"
#include "calculation_syntax.h"
#include "calculation_ways_out.h"
#include "fault_place.h"

namespace norvane::driver {
namespace {

// Rounds with more faults in one expression are not worth their time.
constexpr unsigned most_rounds = 20;

// No namespace of a source has this name.
char probes_name[] = " ";

std::string_view text_before_number = "Error in function ' .";

void find_bare_calls(CExpr* expr, std::vector<CExpr*>& calls) {
    if (!expr) return;
    if (stack_is_low()) return on_fresh_stack([&] { find_bare_calls(expr, calls); });
    if (expr->structure == CEXPR_CALL && !expr->args.call.ns_name) calls.push_back(expr);
    for_each_part(expr, [&calls](CExpr* part) { find_bare_calls(part, calls); });
}

// Calls visit(CExpr*) for each expression of a statement itself, which is null where it is left
// out.
template <typename Visit>
void for_each_expression(const CStmt* stmt, Visit visit) {
    const auto& args = stmt->args;
    switch (stmt->structure) {
    case CSTMT_ITE: return visit(args.ite.cond);
    case CSTMT_EXPR: return visit(args.expr);
    case CSTMT_SWITCH:
        visit(args.switch_args.switch_value);
        for (const CCase* branch : items<CCase>(args.switch_args.cases))
            visit(branch->expr);
        return;
    case CSTMT_WHILE: return visit(args.while_args.cond);
    case CSTMT_DO: return visit(args.do_args.cond);
    case CSTMT_FOR:
        visit(args.for_args.init);
        visit(args.for_args.cond);
        return visit(args.for_args.incr);
    case CSTMT_RETURN: return visit(args.return_value);
    case CSTMT_BLOCK:
    case CSTMT_BREAK:
    case CSTMT_EXTERNAL: return;
    }
}

void find_bare_calls(const CStmt* stmt, std::vector<CExpr*>& calls) {
    if (stack_is_low()) return on_fresh_stack([&] { find_bare_calls(stmt, calls); });
    for_each_expression(stmt, [&calls](CExpr* expr) { find_bare_calls(expr, calls); });
    for_each_child(stmt, [&calls](const CStmt* inner) { find_bare_calls(inner, calls); });
}

std::vector<CExpr*> bare_calls(const CFunc* func) {
    std::vector<CExpr*> calls;
    find_bare_calls(func->def_value, calls);
    for (const CFuncLVar* local : items<CFuncLVar>(func->vardefs))
        find_bare_calls(local->init, calls);
    for (const CStmt* stmt : items<CStmt>(func->stmts))
        find_bare_calls(stmt, calls);
    return calls;
}

// The expressions from the root down to the one that has a line, which is the last; empty if none
// has it. A conditional has the line of its first operand.
bool find_path(const CExpr* expr, int line, bool is_conditional, std::vector<const CExpr*>& path) {
    if (stack_is_low())
        return on_fresh_stack([&] { return find_path(expr, line, is_conditional, path); });
    path.push_back(expr);
    if (expr->line_no == line && (expr->structure == CEXPR_ITE) == is_conditional) return true;
    for (const CExpr* part : parts_of(expr))
        if (find_path(part, line, is_conditional, path)) return true;
    path.pop_back();
    return false;
}

// "The 2. argument to function ..."
std::optional<std::size_t> argument_in(std::string_view message) {
    constexpr std::string_view before = "The ";
    std::size_t number = 0;
    if (!message.starts_with(before)) return {};
    const char* end = message.data() + message.size();
    const auto [after, error] = std::from_chars(message.data() + before.size(), end, number);
    if (error != std::errc() || !std::string_view(after, end).starts_with(". argument")) return {};
    return number - 1;
}

class Checker {
  public:
    Checker(const Calculation& calculation, SymbolTable* table, const SourceText& text,
            const SyntaxFaults& syntax)
        : calculation_(calculation), table_(table), text_(text), syntax_(syntax), places_(text),
          ways_out_(calculation, table, text), set_(call([] { return calc_new(); })) {
        empty_.structure = CSTMT_EXPR;
        end_.structure = CSTMT_EXTERNAL;
        static char nothing[] = "";
        end_.args.external_ref = nothing;
    }
    ~Checker() {
        try {
            forget_probes();
        } catch (const InternalFailure&) { // then they are leaked
        }
        for (PolyList* list : lists_)
            detail::Release<plist_delete>()(list);
        detail::Release<calc_delete>()(set_);
    }
    Checker(const Checker&) = delete;
    Checker& operator=(const Checker&) = delete;

    std::vector<PlacedFinding> run() {
        for (const auto& [ns, func] : calculation_.functions()) {
            if (calc_ns_name_is_reserved(ns->name)) continue;
            declare(ns->name, func);
            name_bare_calls(ns->name, func);
            probe(func);
        }
        for (unsigned round = 0; round < most_rounds && !probes_.empty(); ++round)
            check_probes();
        return std::move(findings_);
    }

  private:
    struct Probe {
        const CFunc* func; // whose code it is
        const CExpr* expr; // that it is made of; null if none
        std::size_t token; // where to tell what is about no part of the expression
        CFunc* made = nullptr;
    };

    // Calls see a function by its head.
    void declare(const char* ns_name, const CFunc* func) {
        call([=, this] {
            CFunc* head = calc_new_func(str_copy(func->name), func->type, nullptr, nullptr, -1);
            for (const CFuncArg* argument : items<CFuncArg>(func->args))
                calc_add_function_arg(
                    head, calc_new_func_arg(str_copy(argument->name), argument->type, -1));
            calc_add_function_stmt(head, calc_new_external_stmt("", -1));
            if (calc_add_function(set_, ns_name, head) != 0) calc_delete_func(head);
        });
    }

    void name_bare_calls(const char* ns_name, const CFunc* func) {
        for (CExpr* bare : bare_calls(func)) {
            const TokenRange range = places_.name_of_call(bare);
            PlacedFinding found = error_at(text_, range, "ERR_CALC_FNC",
                                           "No namespace before function '" +
                                               std::string(bare->args.call.fname) + "'");
            const std::string ns(ways_out_.explain_namespace(found, ns_name, bare));
            if (ns.empty()) found.finding.hint = "a call names the namespace of its function";
            add(std::move(found));
            call([=, text = ns.c_str()] { bare->args.call.ns_name = str_copy(text); });
        }
    }

    // Probes.

    PolyList* new_list() {
        lists_.push_back(call([] { return plist_new(nullptr, nullptr, nullptr); }));
        return lists_.back();
    }
    static void append(PolyList* list, const void* element) {
        call([=] { plist_append(list, const_cast<void*>(element)); });
    }

    // A function with these arguments, which are visible in it, and of these statements.
    CFunc* new_probe(const Probe& what, CalcType type, PolyList* arguments,
                     std::initializer_list<const CStmt*> statements) {
        const std::string name = std::to_string(probes_.size());
        const std::size_t token = what.token;
        CFunc* made = call([=, this, text = name.c_str()] {
            CFunc* func =
                calc_new_func(str_copy(text), type, nullptr, "", static_cast<int>(token) + 1);
            func->stmts->delete_element = nullptr;
            func->vardefs->delete_element = nullptr;
            plist_delete(func->args);
            func->args = arguments;
            calc_add_function(set_, probes_name, func);
            return func;
        });
        for (const CStmt* stmt : statements)
            append(made->stmts, stmt);
        probes_.push_back(what);
        probes_.back().made = made;
        return made;
    }
    CStmt* copy_of(const CStmt& stmt) { return &statements_.emplace_back(stmt); }

    void probe_statement(const CFunc* func, const CExpr* expr, const CStmt* stmt, CalcType type) {
        const std::size_t token = EditedCalculation::token_of_line(stmt->line_no);
        new_probe({func, expr, token}, type, scope_, {stmt, &end_});
    }
    void probe_expression(const CFunc* func, CExpr* expr) {
        if (!expr) return;
        CStmt stmt = empty_;
        stmt.line_no = expr->line_no;
        stmt.args.expr = expr;
        probe_statement(func, expr, copy_of(stmt), CTYPE_VOID);
    }

    void probe(const CFunc* func) {
        scope_ = scopes_[func] = scope_of(func);
        if (func->def_value) {
            const std::size_t token = EditedCalculation::token_of_line(func->line_no);
            new_probe({func, func->def_value, token}, func->type, scope_, {&end_})->def_value =
                func->def_value;
        }
        probe_names(func);
        loops_ = 0;
        for (const CStmt* stmt : items<CStmt>(func->stmts))
            probe(func, stmt);
        probe_end(func);
    }

    // Locals come before arguments. One of no type is visible nowhere.
    PolyList* scope_of(const CFunc* func) {
        PolyList* scope = new_list();
        std::set<std::string_view> names;
        const auto declare = [&](char* name, CalcType type, int line) {
            if (type == CTYPE_VOID || !names.insert(name).second) return;
            append(scope, &arguments_.emplace_back(CFuncArg{name, type, line}));
        };
        for (const CFuncLVar* local : items<CFuncLVar>(func->vardefs))
            declare(local->name, local->type, local->line_no);
        for (const CFuncArg* argument : items<CFuncArg>(func->args))
            declare(argument->name, argument->type, argument->line_no);
        return scope;
    }

    void probe_names(const CFunc* func) {
        std::unordered_map<std::string_view, int> lines;
        for (const CFuncArg* argument : items<CFuncArg>(func->args)) {
            const std::size_t token = EditedCalculation::token_of_line(argument->line_no);
            const auto [first, is_new] = lines.try_emplace(argument->name, argument->line_no);
            if (!is_new)
                add_second(first->second, token, "Multiple arguments named ", argument->name);
            if (argument->type != CTYPE_VOID) continue;
            PolyList* alone = new_list();
            append(alone, argument);
            new_probe({func, nullptr, token}, CTYPE_VOID, alone, {&end_});
        }
        for (const CFuncLVar* local : items<CFuncLVar>(func->vardefs)) {
            const std::size_t token = EditedCalculation::token_of_line(local->line_no);
            const auto [first, is_new] = lines.try_emplace(local->name, local->line_no);
            if (!is_new) add_second(first->second, token, "Duplicate local variable ", local->name);
            append(new_probe({func, local->init, token}, CTYPE_VOID, scope_, {&end_})->vardefs,
                   local);
        }
    }
    // In the words of the library, which tells the first alone.
    void add_second(int first_line, std::size_t token, const char* words, const char* name) {
        PlacedFinding found = error_at(text_, {token, token}, "ERR_CALC_FNC",
                                       words + ("'" + std::string(name) + "'"));
        const std::size_t first = EditedCalculation::token_of_line(first_line);
        found.finding.notes.push_back({text_.place(first), "declared here"});
        add(std::move(found));
    }

    void probe(const CFunc* func, const CStmt* stmt) {
        if (stack_is_low()) return on_fresh_stack([&] { probe(func, stmt); });
        const bool is_left_by_break = stmt->structure == CSTMT_SWITCH ||
                                      stmt->structure == CSTMT_WHILE ||
                                      stmt->structure == CSTMT_DO || stmt->structure == CSTMT_FOR;
        probe_head(func, stmt);
        loops_ += is_left_by_break;
        for_each_child(stmt, [this, func](const CStmt* inner) { probe(func, inner); });
        loops_ -= is_left_by_break;
    }

    // A statement without those in it.
    void probe_head(const CFunc* func, const CStmt* stmt) {
        CStmt head = *stmt;
        switch (stmt->structure) {
        case CSTMT_ITE:
            head.args.ite = {stmt->args.ite.cond, &empty_, nullptr};
            return probe_statement(func, head.args.ite.cond, copy_of(head), CTYPE_VOID);
        case CSTMT_WHILE:
        case CSTMT_DO:
            head.args.while_args.stmt = &empty_; // both have the same members
            return probe_statement(func, head.args.while_args.cond, copy_of(head), CTYPE_VOID);
        case CSTMT_FOR:
            probe_expression(func, stmt->args.for_args.init);
            probe_expression(func, stmt->args.for_args.incr);
            head.args.for_args = {nullptr, stmt->args.for_args.cond, nullptr, &empty_};
            if (!head.args.for_args.cond) return;
            return probe_statement(func, head.args.for_args.cond, copy_of(head), CTYPE_VOID);
        case CSTMT_SWITCH: return probe_switch(func, stmt);
        case CSTMT_EXPR: return probe_expression(func, stmt->args.expr);
        case CSTMT_RETURN: return probe_statement(func, stmt->args.return_value, stmt, func->type);
        case CSTMT_BREAK:
            if (loops_ == 0) probe_statement(func, nullptr, stmt, CTYPE_VOID);
            return;
        case CSTMT_BLOCK:
        case CSTMT_EXTERNAL: return;
        }
    }

    // The value, and each label with it.
    void probe_switch(const CFunc* func, const CStmt* stmt) {
        probe_expression(func, stmt->args.switch_args.switch_value);
        for (const CCase* branch : items<CCase>(stmt->args.switch_args.cases)) {
            CStmt head = *stmt;
            head.args.switch_args.cases = new_list();
            head.args.switch_args.default_case = nullptr;
            append(head.args.switch_args.cases,
                   &cases_.emplace_back(CCase{branch->expr, new_list()}));
            probe_statement(func, branch->expr, copy_of(head), CTYPE_VOID);
        }
    }

    void probe_end(const CFunc* func) {
        const PolyListNode* last = func->stmts->last;
        const auto* stmt = last ? static_cast<const CStmt*>(last->element) : nullptr;
        if (stmt && stmt->structure == CSTMT_EXTERNAL) return;
        if (stmt && stmt->structure == CSTMT_RETURN) return;
        new_probe({func, nullptr, places_.end_of(func)}, func->type, scope_, {&empty_});
    }

    // Rounds.

    void check_probes() {
        const auto checked = gather([this] { return calc_check_functions(set_, table_); });
        const std::vector<Probe> probed = forget_probes();
        for (const Report& report : checked.reports)
            if (report.is_error()) take(probed, report);
    }

    // Deletes the probes' own records. Their expressions and statements belong to the calculation.
    std::vector<Probe> forget_probes() {
        for (const Probe& probe : probes_) {
            probe.made->args = nullptr;
            probe.made->def_value = nullptr;
        }
        call([this] { phash_remove(set_, probes_name); });
        return std::exchange(probes_, {});
    }

    // "Error in function ' .12': message"
    void take(const std::vector<Probe>& probed, const Report& report) {
        std::string_view text = report.message;
        if (!text.starts_with(text_before_number)) return;
        text.remove_prefix(text_before_number.size());
        std::size_t number = 0;
        const auto [after, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        constexpr std::string_view between = "': ";
        text.remove_prefix(static_cast<std::size_t>(after - text.data()));
        if (error != std::errc() || number >= probed.size() || !text.starts_with(between)) return;
        text.remove_prefix(between.size());
        take(probed[number], std::string(text), static_cast<int>(report.line));
    }

    void take(const Probe& probe, const std::string& message, int line) {
        // Duplicate names were reported when the declarations were read.
        if (message.starts_with("Duplicate local") || message.starts_with("Multiple arg")) return;
        const bool is_conditional = message.find("if-then-else expression") != message.npos ||
                                    message.starts_with("The type of the then-expression");
        std::vector<const CExpr*> path;
        if (probe.expr) find_path(probe.expr, line, is_conditional, path);
        const bool is_of_statement = !path.empty() && is_about_statement(message);
        if (is_of_statement) path.clear();
        const CExpr* part = path.empty() ? nullptr : path.back();
        const TokenRange range = range_of(probe, part, message);
        PlacedFinding found = error_at(text_, range, "ERR_CALC_FNC", message);
        if (!is_lost(message)) {
            ways_out_.explain(found, probe.func, part);
            if (is_judged(range)) add(std::move(found));
        }
        probe_rest(probe, path, message);
    }

    // A statement may have the line of its expression.
    static bool is_about_statement(std::string_view message) {
        return message.find("-statement") != message.npos ||
               message.find("return statement") != message.npos ||
               message.find("statement is not") != message.npos ||
               message.starts_with("Type mis-match: The type of the case") ||
               message.starts_with("Type mis-match: the return type") ||
               message.starts_with("Type mis-match in local") ||
               message.starts_with("The last statement");
    }

    bool is_lost(std::string_view message) const {
        if (message.starts_with("No local variable")) return true; // it has no type
        std::string_view name = quoted_name(message);
        if (message.starts_with("No function")) name.remove_prefix(name.find_last_of('.') + 1);
        if (message.starts_with("No product model")) name = name.substr(0, name.find('.'));
        return name.empty() ? false : syntax_.lost_names.contains(std::string(name));
    }
    bool is_judged(TokenRange range) const {
        return std::ranges::none_of(syntax_.guessed, [range](const TokenRange& guess) {
            return range.first <= guess.last && guess.first <= range.last;
        });
    }

    TokenRange range_of(const Probe& probe, const CExpr* part, std::string_view message) const {
        if (!part && (!probe.expr || message.find("Break") != message.npos))
            return {probe.token, probe.token};
        if (!part && message.find("of type undefined") != message.npos)
            return {probe.token, probe.token};
        if (!part) return places_.range_of(probe.expr);
        if (part->structure == CEXPR_BOP && message.starts_with("Left operand"))
            return places_.range_of(part->args.bop.left_arg);
        if (part->structure == CEXPR_BOP && message.starts_with("Right operand"))
            return places_.range_of(part->args.bop.right_arg);
        const auto argument = argument_in(message);
        const std::vector<CExpr*> parts = parts_of(part);
        if (argument && *argument < parts.size()) return places_.range_of(parts[*argument]);
        return places_.range_of(part);
    }

    // What the check has not come to: the parts after the one at fault.
    void probe_rest(const Probe& probe, const std::vector<const CExpr*>& path,
                    std::string_view message) {
        scope_ = scopes_[probe.func];
        for (std::size_t i = 0; i + 1 < path.size(); ++i) {
            bool is_after = false;
            for (CExpr* part : parts_of(path[i])) {
                if (is_after) probe_expression(probe.func, part);
                is_after = is_after || part == path[i + 1];
            }
        }
        if (path.empty() || path.back()->structure != CEXPR_CALL) return;
        const auto argument = argument_in(message);
        const std::vector<CExpr*> parts = parts_of(path.back());
        for (std::size_t i = argument ? *argument + 1 : 0; i < parts.size(); ++i)
            probe_expression(probe.func, parts[i]);
    }

    void add(PlacedFinding found) {
        if (known_.insert({found.token, found.finding.message}).second)
            findings_.push_back(std::move(found));
    }

    const Calculation& calculation_;
    SymbolTable* table_;
    const SourceText& text_;
    const SyntaxFaults& syntax_;
    CalculationPlaces places_;
    CalculationWaysOut ways_out_;
    PolyHash* set_; // of the heads of all functions, and of the probes
    CStmt empty_{};
    CStmt end_{};
    std::vector<Probe> probes_; // of the next round
    std::unordered_map<const CFunc*, PolyList*> scopes_;
    PolyList* scope_ = nullptr; // of the function that is being probed
    unsigned loops_ = 0;        // around the statement
    // What the probes borrow.
    std::deque<CStmt> statements_;
    std::deque<CCase> cases_;
    std::deque<CFuncArg> arguments_;
    std::vector<PolyList*> lists_;
    std::set<std::pair<std::size_t, std::string>> known_;
    std::vector<PlacedFinding> findings_;
};

// "Multiple definitions of function 'f' in namespace 'A'"
const CFunc* function_named_in(std::string_view message, const Calculation& calculation) {
    const std::string name(quoted_name(message));
    const std::size_t in = message.rfind(" in namespace '");
    if (name.empty() || in == message.npos) return nullptr;
    const std::string ns_name(quoted_name(message.substr(in)));
    return find_function(calculation, ns_name.c_str(), name.c_str());
}

// Functions that are defined twice, of which loading keeps the first.
void add_second_functions(const SourceText& text, const LoadedCalculation& loaded,
                          std::vector<PlacedFinding>& findings) {
    for (const Report& report : loaded.reports) {
        if (report.name != "ERR_CALC_FNC_REDEF" || report.line == 0) continue;
        const std::size_t token = std::min<std::size_t>(report.line, text.size()) - 1;
        findings.push_back(error_at(text, {token, token}, report.name, report.message));
        if (!loaded.calculation) continue;
        const CFunc* defined = function_named_in(report.message, *loaded.calculation);
        if (!defined) continue;
        const std::size_t first = EditedCalculation::token_of_line(defined->line_no);
        findings.back().finding.notes.push_back({text.place(first), "declared here"});
    }
}

void add_reserved_names(const SourceText& text, const Calculation& calculation,
                        std::vector<PlacedFinding>& findings) {
    for (std::size_t i = 0; i + 2 < text.size(); ++i) {
        if (text.word(i) != "namespace" || text.word(i + 2) != "{") continue;
        const std::string name(text.word(i + 1));
        if (!calc_get_namespace(calculation.get(), name.c_str())) continue;
        if (!calc_ns_name_is_reserved(name.c_str())) continue;
        findings.push_back(error_at(text, {i + 1, i + 1}, "ERR_CALC_NS_NAME_RESERVED",
                                    "'" + name + "' is a reserved namespace name"));
        findings.back().finding.hint = "choose another name";
    }
}

} // namespace

std::vector<Finding> find_calculation_faults(const SourceText& text, const CheckedModel* model) {
    EditedCalculation source(text);
    SyntaxFaults syntax = find_syntax_faults(source);
    const LoadedCalculation loaded = source.load();
    std::vector<PlacedFinding> all = std::move(syntax.findings);
    add_second_functions(text, loaded, all);
    if (loaded.calculation && model) {
        add_reserved_names(text, *loaded.calculation, all);
        std::ranges::move(Checker(*loaded.calculation, model->table(), text, syntax).run(),
                          std::back_inserter(all));
    }
    return in_order(std::move(all));
}

bool has_bare_call(const Calculation& calculation) {
    return std::ranges::any_of(calculation.functions(), [](const CalculationFunction& function) {
        return !bare_calls(function.func).empty();
    });
}

} // namespace norvane::driver
