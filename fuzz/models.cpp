#include "checks.h"

#include "harness.h"
#include "norvane/proj/expandrules.h"
#include "norvane/proj/printpmfile.h"
#include "norvane/proj/simplify.h"
#include "norvane/proj/staticsem.h"
#include "norvane/proj/symboltable.h"
#include "norvane/proj/xml_export.h"
#include "norvane/proj/xml_import.h"

namespace norvane::fuzz {

std::string print(Project& project) {
    return printed([&](std::FILE* stream) { ppm_print_project(stream, &project); });
}

void check_xml_round_trip(Project& project) {
    static const MemoryFile file;
    const bool written = runs([&] { proj_export_to_xmlfile(&project, file.path()); });
    if (!written) return;
    const std::string xml = file.read();
    // The writer does not check names, the reader does: such a file is refused.
    const ProjectPtr again(proj_import_from_xmlfile(file.path()));
    if (!again) return;
    expect(runs([&] { proj_export_to_xmlfile(again.get(), file.path()); }), "a second writing");
    expect_equal(xml, file.read(), "XML that was written and read");
}

void check_pipeline(Project& project) {
    runs([&] {
        SymbolTable* table = proj_static_sem_check(&project);
        if (!table) return;
        PolyList* rules = proj_get_expanded_rules(&project, table, 1);
        plist_delete(rules);
        if (Project* finite = simplify_project(&project, table)) proj_delete(finite);
        symtbl_delete_symbol_table(table);
    });
}

} // namespace norvane::fuzz
