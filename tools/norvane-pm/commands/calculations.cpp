#include "calculations.h"

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "forms.h"
#include "load_calculation.h"
#include "output.h"

namespace norvane::driver {
namespace {

// How deep the statements of a function nest. XML may nest them to any depth, hence no recursion.
unsigned depth_of_statements(const CFunc* func) {
    unsigned deepest = 0;
    std::vector<std::pair<const CStmt*, unsigned>> pending;
    for (const CStmt* stmt : items<CStmt>(func->stmts))
        pending.emplace_back(stmt, 1);
    while (!pending.empty()) {
        const auto [stmt, depth] = pending.back();
        pending.pop_back();
        deepest = std::max(deepest, depth);
        for_each_child(stmt, [&pending, below = depth + 1](const CStmt* inner) {
            pending.emplace_back(inner, below);
        });
    }
    return deepest;
}

// Refuses a calculation whose statements nest deeper than those of any source can; the blanks
// before them would fill a disk.
void check_depth_for_source(Session& session, const Calculation& calculation) {
    constexpr unsigned deepest_in_source = 10000;
    for (const auto& [ns, func] : calculation.functions()) {
        if (depth_of_statements(func) <= deepest_in_source) continue;
        session.diagnostics.say(session.subject + ": the statements of " + ns->name + "." +
                                func->name + " are nested too deeply for source");
        throw InputAtFault();
    }
}

// "integer System.Max(integer a, integer b)"
void print_as_text(const CFuncSignature& row) {
    std::printf("%s %s.%s(", calc_type2string(row.type), row.ns_name, row.fn_name);
    for (const auto* argument = row.args; argument->name; ++argument)
        std::printf("%s%s %s", argument == row.args ? "" : ", ", calc_type2string(argument->type),
                    argument->name);
    std::puts(")");
}

void print_as_json(const CFuncSignature& row) {
    nlohmann::ordered_json arguments = nlohmann::ordered_json::array();
    for (const auto* argument = row.args; argument->name; ++argument)
        arguments.push_back({{"name", argument->name}, {"type", calc_type2string(argument->type)}});
    const nlohmann::ordered_json json = {{"namespace", row.ns_name},
                                         {"function", row.fn_name},
                                         {"type", calc_type2string(row.type)},
                                         {"arguments", arguments}};
    std::puts(json.dump().c_str());
}

} // namespace

void check_calculation(Session& session) {
    load_and_check_calculation(session);
}

void print_calculation(Session& session) {
    const Calculation& calculation = load_calculation(session);
    check_depth_for_source(session, calculation);
    session.begin(Step::print, session.subject);
    calculation.print(stdout);
    results_refused();
}

void convert_calculation(Session& session) {
    const Options& options = session.options;
    const CalcForm to = calculation_form(options.calc_to, options.output);
    if (to != CalcForm::source && to != CalcForm::xml)
        throw WrongUsage{"cannot tell the output format from the file name; use --to=cl or "
                         "--to=clx: " +
                         options.output};
    const Calculation& calculation = load_calculation(session);
    if (to == CalcForm::source) check_depth_for_source(session, calculation);
    session.write_output(
        [&](std::FILE* stream) {
            if (to == CalcForm::xml)
                calculation.write_xml(stream, !options.without_lines);
            else
                calculation.print(stream);
        },
        Inputs::may_be_replaced);
}

void list_builtins(Session& session) {
    // The rows follow each other, up to one without a name.
    const CFuncSignature* row = calc_get_build_in_func_signature("CtrlMngr", "AssignFloat");
    for (; row->ns_name; ++row)
        session.options.format == Format::json ? print_as_json(*row) : print_as_text(*row);
}

} // namespace norvane::driver
