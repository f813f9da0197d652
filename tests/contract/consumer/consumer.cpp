// A program of somebody else, in C++: it loads, checks, simplifies and expands a model, and prints
// what it gets and what is reported, to be compared with the same program in other languages. It
// also catches what the library throws at a caller who breaks a rule.
#include <cstdio>
#include <memory>

#include <norvane/base/items.hpp>
#include <norvane/proj.h>

namespace {

template <auto function>
struct Deleter {
    template <typename T>
    void operator()(T* owned) const {
        function(owned);
    }
};
using ProjectPtr = std::unique_ptr<Project, Deleter<proj_delete>>;
using TablePtr = std::unique_ptr<SymbolTable, Deleter<symtbl_delete_symbol_table>>;
using ListPtr = std::unique_ptr<PolyList, Deleter<plist_delete>>;

void print_report(ErrorType type, ErrorInfo* error, void*) {
    std::printf("report %d %s: %s\n", type, error->name, error->message);
    err_delete(error);
}

void load_without_a_name(void*) {
    proj_import_from_pmfile(nullptr, nullptr);
}

bool throws_are_caught() {
    static ExceptionState thrown;
    return except_catch(load_without_a_name, nullptr, &thrown) && thrown.kind == EXCEPT_ASSERTION;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2 || !throws_are_caught()) return 2;
    msg_set_error_sink(print_report, nullptr);
    const ListPtr cpp_args(plist_new(nullptr, nullptr, nullptr));
    const ProjectPtr project(proj_import_from_pmfile(argv[1], cpp_args.get()));
    if (!project) return 1;
    const TablePtr table(proj_static_sem_check(project.get()));
    if (!table) return 1;
    const ProjectPtr finite(simplify_project(project.get(), table.get()));
    const ListPtr rules(proj_get_expanded_rules(project.get(), table.get(), 1));
    std::printf("variables %u\n", finite->vardecllist->len);
    for (Expr* rule : norvane::items<Expr>(rules.get())) {
        ppm_print_expr(stdout, rule);
        std::putchar('\n');
    }
}
