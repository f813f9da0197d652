/* A program of somebody else, in C: it loads, checks, simplifies and expands a model, and prints
 * what it gets and what is reported, to be compared with the same program in other languages. */
#include <stdio.h>

#include <norvane/proj.h>

static void print_report(ErrorType type, ErrorInfo* error, void* user) {
    (void)user;
    printf("report %d %s: %s\n", (int)type, error->name, error->message);
    err_delete(error);
}

static void print_results(Project* project, SymbolTable* table) {
    Project* finite = simplify_project(project, table);
    PolyList* rules = proj_get_expanded_rules(project, table, 1);
    printf("variables %u\n", plist_length(finite->vardecllist));
    for (PolyListNode* node = rules->first; node; node = node->next) {
        ppm_print_expr(stdout, node->element);
        putchar('\n');
    }
    plist_delete(rules);
    proj_delete(finite);
}

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    msg_set_error_sink(print_report, NULL);
    PolyList* cpp_args = plist_new(NULL, NULL, NULL);
    Project* project = proj_import_from_pmfile(argv[1], cpp_args);
    plist_delete(cpp_args);
    if (!project) return 1;
    SymbolTable* table = proj_static_sem_check(project);
    if (table) {
        print_results(project, table);
        symtbl_delete_symbol_table(table);
    }
    proj_delete(project);
    return table ? 0 : 1;
}
