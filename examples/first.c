#include <stdio.h>

#include <norvane/proj.h>

/* Prints the flat rules of a model. Faults of the model are reported on standard error. */
int main(int argc, char** argv) {
    PolyList* cpp_args = plist_new(NULL, NULL, NULL);
    Project* project = argc > 1 ? proj_import_from_pmfile(argv[1], cpp_args) : NULL;
    plist_delete(cpp_args);
    if (!project) return 1;

    SymbolTable* table = proj_static_sem_check(project);
    if (table) {
        PolyList* rules = proj_get_expanded_rules(project, table, 1);
        for (PolyListNode* node = rules->first; node; node = node->next) {
            ppm_print_expr(stdout, node->element);
            putchar('\n');
        }
        plist_delete(rules);
        symtbl_delete_symbol_table(table);
    }
    proj_delete(project);
    return table ? 0 : 1;
}
