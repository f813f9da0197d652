#include "info.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "forms.h"
#include "load_calculation.h"
#include "load_model.h"

namespace norvane::driver {
namespace {

void print_info(const Project* project) {
    std::size_t is_public = 0;
    for (const VarDecl* variable : items<VarDecl>(project->vardecllist))
        is_public += variable->vartype == VARTYPE_PUBLIC;
    std::printf("%s\n", project->filename);
    std::printf("  files       %zu\n", std::max<std::size_t>(source_files(project).size(), 1));
    std::printf("  constants   %u\n", project->constantdecllist->len);
    std::printf("  types       %u\n", project->typedecllist->len);
    std::printf("  variables   %u (%zu public)\n", project->vardecllist->len, is_public);
    std::printf("  rules       %u\n", project->ruledecllist->len);
}

bool is_external(const CFunc* func) {
    const auto* first = static_cast<const CStmt*>(plist_hd(func->stmts));
    return first && first->structure == CSTMT_EXTERNAL;
}

bool is_calculation(const Options& options) {
    return options.from == ModelForm::unknown &&
           calculation_form(CalcForm::unknown, options.file) != CalcForm::unknown;
}

void info_calculation(Session& session) {
    if (!session.options.cpp_args.empty())
        throw WrongUsage{"-I, -D and -U do not apply to a calculation: " + session.options.file};
    const Calculation& calculation = load_calculation(session);
    const std::vector<CalculationFunction> functions = calculation.functions();
    const auto external = std::ranges::count_if(
        functions, [](const CalculationFunction& function) { return is_external(function.func); });
    std::printf("%s\n", session.subject.c_str());
    std::printf("  namespaces  %zu\n", calculation.namespaces().size());
    std::printf("  functions   %zu (%td external)\n", functions.size(), external);
}

} // namespace

void info(Session& session) {
    if (is_calculation(session.options)) return info_calculation(session);
    print_info(load_model(session).get());
}

} // namespace norvane::driver
