#include "checks.h"

namespace norvane::fuzz {

void check_xml_round_trip(Project* project) {
    // The writer does not check names, the reader does.
    check_round_trip(project, proj_import_from_xmlfile, proj_export_to_xmlfile, proj_delete, true);
}

void check_pipeline(Project* project) {
    runs([&] {
        SymbolTable* table = proj_static_sem_check(project);
        if (!table) return;
        plist_delete(proj_get_expanded_rules(project, table, 1));
        if (Project* finite = simplify_project(project, table)) proj_delete(finite);
        symtbl_delete_symbol_table(table);
    });
}

} // namespace norvane::fuzz
