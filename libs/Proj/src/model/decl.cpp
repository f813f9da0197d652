// Makes, frees and copies declarations: constants, types, variables and record fields, rules.
#include "norvane/proj/decl.h"

#include <cstdlib>
#include <new>

#include "norvane/base/except.h"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"

namespace norvane::model {
namespace {

RuleDecl* new_ruledecl(Expr* rule, char* comment, char* source_info, unsigned linenumber) {
    return new (util_malloc_throw(sizeof(RuleDecl)))
        RuleDecl{linenumber, comment, source_info, rule};
}

} // namespace
} // namespace norvane::model

using namespace norvane::model;

TypeDecl* decl_new_typedecl(char* name, TypeCon* typecon, unsigned linenumber) {
    NORVANE_ASSERT(name);
    NORVANE_ASSERT(typecon);
    return new (util_malloc_throw(sizeof(TypeDecl))) TypeDecl{linenumber, name, typecon};
}

VarDecl* decl_new_vardecl(char* name, VarType vartype, TypeCon* typecon, unsigned linenumber) {
    NORVANE_ASSERT(name);
    NORVANE_ASSERT(typecon);
    return new (util_malloc_throw(sizeof(VarDecl))) VarDecl{linenumber, name, vartype, typecon};
}

ConstantDecl* decl_new_constantdecl(char* name, Expr* value, unsigned linenumber) {
    NORVANE_ASSERT(name);
    NORVANE_ASSERT(value);
    return new (util_malloc_throw(sizeof(ConstantDecl))) ConstantDecl{linenumber, name, value};
}

RuleDecl* decl_new_ruledecl(Expr* rule, char* comment, unsigned linenumber) {
    NORVANE_ASSERT(rule);
    return new_ruledecl(rule, comment, nullptr, linenumber);
}

RuleDecl* decl_new_ruledecl_source_info(Expr* rule, char* comment, char* source_info) {
    NORVANE_ASSERT(rule);
    return new_ruledecl(rule, comment, source_info, UNDEF_LINENO);
}

TypeDecl* decl_copy_typedecl(TypeDecl* type_decl) {
    NORVANE_ASSERT(type_decl);
    char* name = str_copy(type_decl->name);
    return decl_new_typedecl(name, tc_copy_typecon(type_decl->typecon), type_decl->linenumber);
}

VarDecl* decl_copy_vardecl(VarDecl* vardecl) {
    NORVANE_ASSERT(vardecl);
    char* name = str_copy(vardecl->name);
    TypeCon* typecon = tc_copy_typecon(vardecl->typecon);
    return decl_new_vardecl(name, vardecl->vartype, typecon, vardecl->linenumber);
}

ConstantDecl* decl_copy_constantdecl(ConstantDecl* constantdecl) {
    NORVANE_ASSERT(constantdecl);
    char* name = str_copy(constantdecl->name);
    Expr* value = expr_copy_expr(constantdecl->value);
    return decl_new_constantdecl(name, value, constantdecl->linenumber);
}

RuleDecl* decl_copy_ruledecl(RuleDecl* ruledecl) {
    NORVANE_ASSERT(ruledecl);
    char* comment = str_null_copy(ruledecl->comment);
    char* source_info = str_null_copy(ruledecl->source_info);
    return new_ruledecl(expr_copy_expr(ruledecl->rule), comment, source_info, ruledecl->linenumber);
}

void decl_delete_typedecl(TypeDecl* type_decl) {
    NORVANE_ASSERT(type_decl);
    str_delete(type_decl->name);
    tc_delete_typecon(type_decl->typecon);
    std::free(type_decl);
}

void decl_delete_vardecl(VarDecl* vardecl) {
    NORVANE_ASSERT(vardecl);
    str_delete(vardecl->name);
    tc_delete_typecon(vardecl->typecon);
    std::free(vardecl);
}

void decl_delete_constantdecl(ConstantDecl* constantdecl) {
    NORVANE_ASSERT(constantdecl);
    str_delete(constantdecl->name);
    expr_delete(constantdecl->value);
    std::free(constantdecl);
}

void decl_delete_ruledecl(RuleDecl* ruledecl) {
    NORVANE_ASSERT(ruledecl);
    str_null_delete(ruledecl->comment);
    str_null_delete(ruledecl->source_info);
    expr_delete(ruledecl->rule);
    std::free(ruledecl);
}
