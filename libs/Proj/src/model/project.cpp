// Builds, frees and changes a whole product model, and turns line numbers into file names and
// lines.
#include "norvane/proj/project.h"

#include <cstdlib>
#include <new>

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"
#include "poly_adaptors.h"
#include "walk.h"

namespace norvane::model {
namespace {

void make_public(TypeCon* typecon) {
    if (stack_is_low()) return on_fresh_stack([&] { make_public(typecon); });
    NORVANE_ASSERT(typecon);
    if (typecon->contype == TC_PROD) {
        for (VarDecl* field : items<VarDecl>(typecon->values.prod.fields))
            field->vartype = VARTYPE_PUBLIC;
    }
    for_each_child(typecon, make_public, "Found invalid typecon type : %d");
}

} // namespace
} // namespace norvane::model

using namespace norvane;
using namespace norvane::model;

Project* proj_new_project(char* name, char* description, char* filename) {
    NORVANE_ASSERT(name);
    auto* line_info = new (util_malloc_throw(sizeof(LineInfo)))
        LineInfo{filename, plist_new(nullptr, nullptr, poly_delete_string)};
    return new (util_malloc_throw(sizeof(Project)))
        Project{name,
                description,
                filename,
                plist_new(nullptr, nullptr, poly<decl_delete_constantdecl>),
                plist_new(nullptr, nullptr, poly<decl_delete_typedecl>),
                plist_new(nullptr, nullptr, poly<decl_delete_vardecl>),
                plist_new(nullptr, nullptr, poly<decl_delete_ruledecl>),
                line_info};
}

void proj_add_constantdecl(Project* project, ConstantDecl* constantdecl) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(constantdecl);
    plist_append(project->constantdecllist, constantdecl);
}

void proj_add_typedecl(Project* project, TypeDecl* type_decl) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(type_decl);
    plist_append(project->typedecllist, type_decl);
}

void proj_add_vardecl(Project* project, VarDecl* vardecl) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(vardecl);
    plist_append(project->vardecllist, vardecl);
}

void proj_add_ruledecl(Project* project, RuleDecl* ruledecl) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(ruledecl);
    plist_append(project->ruledecllist, ruledecl);
}

void proj_delete(Project* project) {
    NORVANE_ASSERT(project);
    str_null_delete(project->name);
    str_null_delete(project->description);
    str_null_delete(project->filename);
    plist_delete(project->constantdecllist);
    plist_delete(project->typedecllist);
    plist_delete(project->vardecllist);
    plist_delete(project->ruledecllist);
    plist_delete(project->line_info->files);
    std::free(project->line_info);
    std::free(project);
}

void proj_line_information(LineInfo* line_info, unsigned linenumber, char* buffer) {
    NORVANE_ASSERT(line_info);
    NORVANE_ASSERT(buffer);
    if (linenumber == UNDEF_LINENO) {
        buffer[0] = '\0';
        return;
    }
    // The file number wraps in its 16 bits, so it may lie outside the list.
    const auto* filename = static_cast<const char*>(plist_nth(line_info->files, linenumber >> 16));
    if (filename && filename[0] == '#') {
        str_snprintf(buffer, MESSAGE_BUFFER_SIZE, "%s ", filename + 1);
        return;
    }
    if (!filename) filename = line_info->filename;
    str_snprintf(buffer, MESSAGE_BUFFER_SIZE, "%s (%d): ", filename ? filename : "",
                 static_cast<int>(linenumber & 0xffff));
}

void proj_make_all_vars_public(Project* project) {
    NORVANE_ASSERT(project);
    for (const TypeDecl* type_decl : items<TypeDecl>(project->typedecllist))
        make_public(type_decl->typecon);
    for (VarDecl* vardecl : items<VarDecl>(project->vardecllist)) {
        vardecl->vartype = VARTYPE_PUBLIC;
        make_public(vardecl->typecon);
    }
}

void proj_remove_rules(Project* project) {
    NORVANE_ASSERT(project);
    plist_empty(project->ruledecllist);
    for (const TypeDecl* type_decl : items<TypeDecl>(project->typedecllist))
        tc_remove_rules(type_decl->typecon);
}
