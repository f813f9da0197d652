// Workspaces, projects and targets: making, freeing, copying and changing their records.

#include "norvane/proj/zeb.h"

#include <cstdlib>

#include "norvane/base/except.h"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"
#include "norvane/proj/proj_errors.h"
#include "poly_adaptors.h"
#include "report.h"
#include "zeb_internal.h"

namespace norvane::workspace {

namespace {

constexpr unsigned table_size = 16;

template <typename Record>
Record* new_record() {
    return static_cast<Record*>(util_calloc_throw(sizeof(Record)));
}

PolyList* find_or_make_option(ZEBTarget* target, const char* key) {
    PolyList* values = zeb_target_get_options(target, key);
    if (values) return values;
    values = new_text_list();
    phash_insert(target->options, const_cast<char*>(key), values);
    return values;
}

bool contains(const PolyList* list, const char* text) {
    for (const char* entry : items<char>(list))
        if (str_is_equal(entry, text)) return true;
    return false;
}

int add_unless_present(PolyList* list, const char* text) {
    if (contains(list, text)) return STATUS_FAILURE;
    append(list, text);
    return STATUS_SUCCESS;
}

// Removes the last of equal entries, which a list that was loaded can hold.
int remove_last(PolyList* list, const char* text) {
    unsigned index = 0;
    unsigned found = list->len;
    for (const char* entry : items<char>(list)) {
        if (str_is_equal(entry, text)) found = index;
        ++index;
    }
    if (found == list->len) return STATUS_FAILURE;
    plist_delete_nth(list, found);
    return STATUS_SUCCESS;
}

ZEBTarget* find_target(const ZEBProject* project, const char* name) {
    for (ZEBTarget* target : items<ZEBTarget>(project->targets))
        if (str_is_equal(target->name, name)) return target;
    return nullptr;
}

// True after a report if the workspace has a project of this name.
bool is_taken(ZEBWorkspace* workspace, const char* name) {
    if (!zeb_workspace_get_project(workspace, name)) return false;
    report_error(ERR_ZEB_PROJECT_EXISTS(name));
    return true;
}

} // namespace

} // namespace norvane::workspace

using namespace norvane;
using namespace norvane::workspace;

ZEBTarget* zeb_target_new(const char* name) {
    NORVANE_ASSERT(name);
    auto* target = new_record<ZEBTarget>();
    target->name = str_copy(name);
    target->timeout = -1;
    target->options = phash_new(table_size, poly_compare_string, poly_copy_string, nullptr,
                                poly_hash_string, poly_delete_string, poly<plist_delete>);
    target->precmds = new_text_list();
    target->postcmds = new_text_list();
    return target;
}

void zeb_target_delete(ZEBTarget* target) {
    NORVANE_ASSERT(target);
    std::free(target->name);
    phash_delete(target->options);
    plist_delete(target->precmds);
    plist_delete(target->postcmds);
    std::free(target);
}

void zeb_target_add_option(ZEBTarget* target, const char* key, const char* value) {
    NORVANE_ASSERT(target);
    NORVANE_ASSERT(key);
    PolyList* values = find_or_make_option(target, key);
    if (str_is_set(value)) append(values, value);
}

void zeb_target_set_option(ZEBTarget* target, const char* key, const char* value) {
    NORVANE_ASSERT(target);
    NORVANE_ASSERT(key);
    PolyList* values = find_or_make_option(target, key);
    // Copied first: the value may be one of those that are removed.
    char* copy = str_null_copy(value);
    plist_empty(values);
    if (str_is_set(copy)) append(values, copy);
    str_null_delete(copy);
}

PolyList* zeb_target_get_options(ZEBTarget* target, const char* key) {
    NORVANE_ASSERT(target);
    NORVANE_ASSERT(key);
    void* values = nullptr;
    phash_peek(target->options, key, &values);
    return static_cast<PolyList*>(values);
}

const char* zeb_target_get_option(ZEBTarget* target, const char* key) {
    const PolyList* values = zeb_target_get_options(target, key);
    if (!values || values->len != 1) return nullptr;
    return static_cast<const char*>(plist_hd(values));
}

int zeb_target_has_option(ZEBTarget* target, const char* key) {
    return zeb_target_get_options(target, key) != nullptr;
}

void zeb_target_add_precmd(ZEBTarget* target, const char* command) {
    NORVANE_ASSERT(target);
    NORVANE_ASSERT(command);
    if (str_is_set(command)) append(target->precmds, command);
}

void zeb_target_add_postcmd(ZEBTarget* target, const char* command) {
    NORVANE_ASSERT(target);
    NORVANE_ASSERT(command);
    if (str_is_set(command)) append(target->postcmds, command);
}

void zeb_target_delete_all(ZEBTarget* target) {
    NORVANE_ASSERT(target);
    phash_empty(target->options);
    plist_empty(target->precmds);
    plist_empty(target->postcmds);
}

ZEBTarget* zeb_target_copy(ZEBTarget* target) {
    NORVANE_ASSERT(target);
    ZEBTarget* copy = zeb_target_new(target->name);
    copy->timeout = target->timeout;
    PolyHashIter iter;
    void* key;
    void* values;
    phash_iter_init(&iter, target->options);
    while (phash_iter_next(&iter, &key, &values)) {
        zeb_target_add_option(copy, static_cast<char*>(key), nullptr);
        for (const char* value : items<char>(static_cast<PolyList*>(values)))
            zeb_target_add_option(copy, static_cast<char*>(key), value);
    }
    plist_concat(copy->precmds, target->precmds);
    plist_concat(copy->postcmds, target->postcmds);
    return copy;
}

ZEBProject* zeb_project_new(const char* name) {
    NORVANE_ASSERT(name);
    auto* project = new_record<ZEBProject>();
    project->name = str_copy(name);
    project->defines =
        phash_new(table_size, poly_compare_string, poly_copy_string, poly_copy_string,
                  poly_hash_string, poly_delete_string, poly_delete_string);
    project->includes = new_text_list();
    project->pm_files = new_text_list();
    project->pres_files = new_text_list();
    project->calc_files = new_text_list();
    project->table_files = new_text_list();
    project->var_order_files = new_text_list();
    project->targets = plist_new(nullptr, nullptr, poly<zeb_target_delete>);
    project->fileincludes = new_text_list();
    return project;
}

void zeb_project_delete(ZEBProject* project) {
    NORVANE_ASSERT(project);
    std::free(project->name);
    std::free(project->main_file);
    std::free(project->virtual_table);
    phash_delete(project->defines);
    plist_delete(project->includes);
    plist_delete(project->pm_files);
    plist_delete(project->pres_files);
    plist_delete(project->calc_files);
    plist_delete(project->table_files);
    plist_delete(project->var_order_files);
    plist_delete(project->targets);
    // `fileincludes` is not freed: callers go on using the list after the project is deleted.
    std::free(project);
}

void zeb_project_set_name(ZEBProject* project, const char* name) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(name);
    replace(project->name, name);
}

void zeb_project_set_main_file(ZEBProject* project, const char* main_file) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(main_file);
    replace(project->main_file, main_file);
}

void zeb_project_set_virtual_table(ZEBProject* project, const char* virtual_table) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(virtual_table);
    replace(project->virtual_table, virtual_table);
}

int zeb_project_add_include(ZEBProject* project, const char* folder) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(folder);
    return add_unless_present(project->includes, folder);
}

int zeb_project_remove_include(ZEBProject* project, const char* folder) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(folder);
    return remove_last(project->includes, folder);
}

void zeb_project_includes_clear(ZEBProject* project) {
    NORVANE_ASSERT(project);
    plist_empty(project->includes);
}

int zeb_project_add_define(ZEBProject* project, const char* name, const char* value) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(name);
    NORVANE_ASSERT(value);
    if (phash_peek(project->defines, name, nullptr) == STATUS_SUCCESS) return STATUS_FAILURE;
    phash_insert(project->defines, const_cast<char*>(name), const_cast<char*>(value));
    return STATUS_SUCCESS;
}

int zeb_project_remove_define(ZEBProject* project, const char* name) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(name);
    return phash_remove(project->defines, name);
}

void zeb_project_defines_clear(ZEBProject* project) {
    NORVANE_ASSERT(project);
    phash_empty(project->defines);
}

PolyList* zeb_project_get_list(ZEBProject* project, ZEBFileType type) {
    // The order of the types is not that of the fields.
    static constexpr PolyList* ZEBProject::*lists[] = {
        &ZEBProject::pm_files, &ZEBProject::pres_files, &ZEBProject::var_order_files,
        &ZEBProject::calc_files, &ZEBProject::table_files};
    NORVANE_ASSERT(project);
    NORVANE_ASSERT_TEXT(static_cast<unsigned>(type) <= ZEB_FILE_TABLE, "type");
    return project->*lists[type];
}

int zeb_project_add_file(ZEBProject* project, const char* file, ZEBFileType type) {
    PolyList* list = zeb_project_get_list(project, type);
    NORVANE_ASSERT(file);
    return add_unless_present(list, file);
}

int zeb_project_remove_file(ZEBProject* project, const char* file, ZEBFileType type) {
    PolyList* list = zeb_project_get_list(project, type);
    NORVANE_ASSERT(file);
    return remove_last(list, file);
}

int zeb_project_add_target(ZEBProject* project, ZEBTarget* target) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(target);
    NORVANE_ASSERT(str_is_set(target->name));
    if (find_target(project, target->name)) {
        report_error(ERR_ZEB_TARGET_EXISTS(target->name));
        return STATUS_FAILURE;
    }
    plist_append(project->targets, target);
    return STATUS_SUCCESS;
}

ZEBTarget* zeb_project_get_target(ZEBProject* project, const char* name) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(name);
    if (ZEBTarget* target = find_target(project, name)) return target;
    // What zeb_project_add_target asserts, before there is a target that the throw would leak.
    NORVANE_ASSERT_TEXT(str_is_set(name), "str_is_set(target->name)");
    ZEBTarget* target = zeb_target_new(name);
    zeb_project_add_target(project, target);
    return target;
}

ZEBProject* zeb_project_copy(ZEBProject* project) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(project->includes);
    NORVANE_ASSERT(project->defines);
    NORVANE_ASSERT(project->targets);
    NORVANE_ASSERT(project->pm_files);
    NORVANE_ASSERT(project->var_order_files);
    NORVANE_ASSERT(project->pres_files);
    ZEBProject* copy = zeb_project_new(project->name);
    copy->main_file = str_null_copy(project->main_file);
    copy->virtual_table = str_null_copy(project->virtual_table);
    PolyHashIter iter;
    void* name;
    void* value;
    phash_iter_init(&iter, project->defines);
    while (phash_iter_next(&iter, &name, &value))
        phash_insert(copy->defines, name, value);
    plist_concat(copy->includes, project->includes);
    plist_concat(copy->pm_files, project->pm_files);
    plist_concat(copy->pres_files, project->pres_files);
    plist_concat(copy->var_order_files, project->var_order_files);
    // A copy is the start of a variant of the model, for which calculations, tables and extra files
    // of the package are entered anew: callers rely on finding those lists empty.
    for (ZEBTarget* target : items<ZEBTarget>(project->targets))
        plist_append(copy->targets, zeb_target_copy(target));
    return copy;
}

ZEBWorkspace* zeb_workspace_new(void) {
    auto* workspace = new_record<ZEBWorkspace>();
    workspace->projects = plist_new(nullptr, nullptr, poly<zeb_project_delete>);
    return workspace;
}

void zeb_workspace_delete(ZEBWorkspace* workspace) {
    NORVANE_ASSERT(workspace);
    plist_delete(workspace->projects);
    std::free(workspace->filename);
    std::free(workspace);
}

PolyList* zeb_workspace_proj_names(ZEBWorkspace* workspace) {
    NORVANE_ASSERT(workspace);
    PolyList* names = new_text_list();
    for (const ZEBProject* project : items<ZEBProject>(workspace->projects))
        append(names, project->name);
    return names;
}

ZEBProject* zeb_workspace_get_project(ZEBWorkspace* workspace, const char* name) {
    NORVANE_ASSERT(workspace);
    NORVANE_ASSERT(name);
    for (ZEBProject* project : items<ZEBProject>(workspace->projects))
        if (str_is_equal(project->name, name)) return project;
    return nullptr;
}

ZEBProject* zeb_workspace_new_project(ZEBWorkspace* workspace, const char* name) {
    if (is_taken(workspace, name)) return nullptr;
    ZEBProject* project = zeb_project_new(name);
    plist_append(workspace->projects, project);
    return project;
}

ZEBProject* zeb_workspace_copy_project(ZEBWorkspace* workspace, ZEBProject* project,
                                       const char* new_name) {
    NORVANE_ASSERT(workspace);
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(new_name);
    if (is_taken(workspace, new_name)) return nullptr;
    ZEBProject* copy = zeb_project_copy(project);
    zeb_project_set_name(copy, new_name);
    plist_append(workspace->projects, copy);
    return copy;
}

int zeb_workspace_remove_project(ZEBWorkspace* workspace, const char* name) {
    NORVANE_ASSERT(workspace);
    NORVANE_ASSERT(name);
    unsigned index = 0;
    for (const ZEBProject* project : items<ZEBProject>(workspace->projects)) {
        if (str_is_equal(project->name, name)) {
            plist_delete_nth(workspace->projects, index);
            return STATUS_SUCCESS;
        }
        ++index;
    }
    return STATUS_FAILURE;
}
