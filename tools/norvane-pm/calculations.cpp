// The steps on calculations: loading them in each of their forms, and what is done with them.
#include "calculations.h"

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "norvane/base/items.hpp"

#include "diagnostics_sink.h"
#include "output.h"

namespace norvane::pm {
namespace {

using NorvaneCpp::String;
using NorvaneCpp::UTF8;

// The model whose calculation is taken out of a package: the one of the package's name, unless
// another is named.
String model_in_package(const Options& options) {
    std::string name = options.package_model;
    if (name.empty()) {
        const std::string& file = calculation_file(options);
        const std::size_t folder = file.find_last_of("/\\") + 1; // 0 where there is none
        name = file.substr(folder, file.rfind('.') - folder);
    }
    return UTF8::ToCodepage(name.c_str(), 1252, false);
}

PolyHash* import(const Work& work, const char* file) {
    switch (work.calc_from) {
    case CalcForm::xml: return calc_import_from_xmlfile(file);
    case CalcForm::package: return calc_import_from_mubfile(file, model_in_package(*work.options));
    case CalcForm::source:
    case CalcForm::unknown: break;
    }
    return calc_import_from_clfile(file);
}

// The library opens a folder as it does a file, and then finds nothing in it.
bool is_folder(const char* file) {
    struct stat info;
    return stat(file, &info) == 0 && S_ISDIR(info.st_mode);
}

// A function that is reported as defined twice is missing from what was loaded: nothing must be
// made of that.
bool load(Work& work) {
    const char* file = input_name(calculation_file(*work.options));
    begin_step(work, Step::load, file);
    if (is_folder(file)) {
        report_error(ERR_FILE_OPEN(file));
        return false;
    }
    work.calc = import(work, file);
    return work.calc && !work.diagnostics->has_errors();
}

std::vector<FunctionOfCalculation> all_functions(const PolyHash* calc) {
    std::vector<FunctionOfCalculation> functions;
    PolyHashIter iter;
    void* value;
    phash_iter_init(&iter, calc);
    while (phash_iter_next(&iter, nullptr, &value)) {
        const auto* ns = static_cast<const CNameSpace*>(value);
        for (CFunc* func : items<CFunc>(ns->func_list))
            functions.push_back({ns, func});
    }
    return functions;
}

bool is_external(const CFunc* func) {
    const auto* first = static_cast<const CStmt*>(plist_hd(func->stmts));
    return first && first->structure == CSTMT_EXTERNAL;
}

// How deep the statements of a function nest. XML may nest them as deep as it likes, hence no
// recursion.
class StatementDepth {
  public:
    explicit StatementDepth(const CFunc* func) {
        add(func->stmts, 1);
        while (!pending_.empty()) {
            const auto [stmt, depth] = pending_.back();
            pending_.pop_back();
            deepest_ = std::max(deepest_, depth);
            add_parts(stmt, depth + 1);
        }
    }
    unsigned deepest() const { return deepest_; }

  private:
    void add(const CStmt* stmt, unsigned depth) {
        if (stmt) pending_.emplace_back(stmt, depth);
    }
    void add(const PolyList* stmts, unsigned depth) {
        for (const CStmt* stmt : items<CStmt>(stmts))
            add(stmt, depth);
    }
    void add_cases(const CStmt* stmt, unsigned depth) {
        for (const CCase* branch : items<CCase>(stmt->args.switch_args.cases))
            add(branch->stmts, depth);
        if (const CCase* branch = stmt->args.switch_args.default_case) add(branch->stmts, depth);
    }
    void add_parts(const CStmt* stmt, unsigned depth) {
        switch (stmt->structure) {
        case CSTMT_ITE:
            add(stmt->args.ite.then_stmt, depth);
            return add(stmt->args.ite.else_stmt, depth);
        case CSTMT_BLOCK: return add(stmt->args.block_stmts, depth);
        case CSTMT_SWITCH: return add_cases(stmt, depth);
        case CSTMT_WHILE: return add(stmt->args.while_args.stmt, depth);
        case CSTMT_DO: return add(stmt->args.do_args.stmt, depth);
        case CSTMT_FOR: return add(stmt->args.for_args.stmt, depth);
        case CSTMT_EXPR:
        case CSTMT_RETURN:
        case CSTMT_BREAK:
        case CSTMT_EXTERNAL: return;
        }
    }

    std::vector<std::pair<const CStmt*, unsigned>> pending_;
    unsigned deepest_ = 0;
};

// No source can nest statements deeper than that, and the blanks in front of them would soon fill
// any disk. False after a report.
bool can_be_source(Work& work) {
    constexpr unsigned deepest_in_source = 10000;
    for (const auto& [ns, func] : all_functions(work.calc)) {
        if (StatementDepth(func).deepest() <= deepest_in_source) continue;
        work.diagnostics->say(std::string(work.subject) + ": the statements of " + ns->name + "." +
                              func->name + " are nested too deeply for source");
        return false;
    }
    return true;
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

// A step on one function.
struct Attempt {
    Work& work;
    FunctionOfCalculation function;
};

void write_alone(const FunctionOfCalculation& function) {
    PolyHash* alone = calc_new();
    calc_add_function(alone, function.ns->name, function.func);
    // The function is only lent.
    calc_get_namespace(alone, function.ns->name)->functions->delete_value = nullptr;
    calc_export_to_xml_node(alone, 0);
    calc_delete(alone);
}

void try_step(void* user) {
    const auto& [work, function] = *static_cast<Attempt*>(user);
    if (work.step == Step::check_functions)
        calc_check_function(function.func, function.ns->name, work.calc, work.table);
    if (work.step == Step::print) ustr_delete(calc_prt_function(function.func, 0));
    if (work.step == Step::write) write_alone(function);
}

} // namespace

CalcForm calculation_form_of(const std::string& file) {
    switch (util_get_filetype(file.c_str())) {
    case FILETYPE_CL: return CalcForm::source;
    case FILETYPE_CLX: return CalcForm::xml;
    case FILETYPE_MUB: return CalcForm::package;
    default: return CalcForm::unknown;
    }
}

const std::string& calculation_file(const Options& options) {
    return options.command == Command::info ? options.file : options.calculation;
}

bool is_calculation(const Options& options) {
    return options.command == Command::info && options.from == ModelForm::unknown &&
           calculation_form_of(options.file) != CalcForm::unknown;
}

bool info_calculation(Work& work) {
    if (!load(work)) return false;
    const std::vector<FunctionOfCalculation> functions = all_functions(work.calc);
    std::size_t external = 0;
    for (const FunctionOfCalculation& function : functions)
        external += is_external(function.func);
    std::printf("%s\n", work.subject);
    std::printf("  namespaces  %u\n", phash_size(work.calc));
    std::printf("  functions   %zu (%zu external)\n", functions.size(), external);
    return true;
}

bool check_calculation(Work& work) {
    if (!load(work)) return false;
    begin_step(work, Step::check_functions, work.subject);
    return calc_check_functions(work.calc, work.table) == 1;
}

bool print_calculation(Work& work) {
    if (!load(work) || !can_be_source(work)) return false;
    begin_step(work, Step::print, work.subject);
    calc_to_file(work.calc, stdout);
    results_refused();
    return true;
}

bool convert_calculation(Work& work) {
    const bool to_xml = work.calc_to == CalcForm::xml;
    if (!load(work) || !(to_xml || can_be_source(work)) || !open_output(work)) return false;
    if (to_xml)
        calc_export_to_stream(work.output.stream(), work.calc, !work.options->without_lines);
    else
        calc_to_file(work.calc, work.output.stream());
    work.output.refused();
    return close_output(work);
}

int list_builtins(const Options& options) {
    // The rows lie behind each other, up to one without a name.
    const CFuncSignature* row = calc_get_build_in_func_signature("CtrlMngr", "AssignFloat");
    for (; row->ns_name; ++row)
        options.format == Format::json ? print_as_json(*row) : print_as_text(*row);
    return STATUS_OK;
}

FunctionOfCalculation function_that_fails(Work& work) {
    static ExceptionState ignored;
    for (const FunctionOfCalculation& function : all_functions(work.calc)) {
        Attempt attempt{work, function};
        if (except_catch(try_step, &attempt, &ignored)) return function;
    }
    return {};
}

} // namespace norvane::pm
