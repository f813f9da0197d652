// Declares and looks up the names of a project, and follows paths through records.
//
// A symbol table is a global hash table of types and labels, and a stack of environments of
// constants and variables. All of them have the same callbacks, so that a lookup hashes its name
// once.
#include "norvane/proj/symboltable.h"

#include <cstdlib>

#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"
#include "norvane/proj/proj_errors.h"
#include "poly_adaptors.h"
#include "position.h"
#include "report.h"
#include "symboltable_internal.h"
#include "tags.h"

namespace norvane::model {
namespace {

// Initial capacity of the tables that hold the names of a whole project.
constexpr int project_size = 32;

PolyHash* innermost(const SymbolTable* symboltable) {
    auto* environment = static_cast<PolyHash*>(plist_hd(symboltable->local_table));
    if (!environment) NORVANE_FAIL("Variable environment is NULL");
    return environment;
}

// The record of a type, with the ends of the chain of types that name each other. Both are null
// where the chain could not be followed when the type was declared; lookups follow it then.
struct TypeName : NameData {
    TypeCon* real;  // what its name stands for
    TypeName* last; // the end of the chain of names: the type whose environment is used
};

const TypeName* as_type(const NameData* namedata) {
    return namedata->ndtype == ND_TYPE ? static_cast<const TypeName*>(namedata) : nullptr;
}

// Looks a name up in one table.
inline int peek(const PolyHash* table, const char* name, unsigned hash, NameData** namedata) {
    void* found;
    if (phash_peek_hashed(table, name, hash, &found) != STATUS_SUCCESS) return STATUS_FAILURE;
    *namedata = static_cast<NameData*>(found);
    return STATUS_SUCCESS;
}

inline bool is_global(const NameData* namedata) {
    return namedata->ndtype == ND_LABEL || namedata->ndtype == ND_TYPE;
}

int report_redeclared(LineInfo* line_info, char* name, NameData* namedata, NameData* declared,
                      unsigned linenumber) {
    report_error(ERR_NAME_REDECLARED(position_of(line_info, linenumber).text,
                                     symtbl_namedata_to_string(namedata), name,
                                     symtbl_namedata_to_string(declared)));
    return STATUS_FAILURE;
}

int report_redeclared_scope(LineInfo* line_info, char* name, NameData* namedata,
                            unsigned linenumber) {
    report_error(ERR_NAME_REDECLARED_SCOPE(position_of(line_info, linenumber).text,
                                           symtbl_namedata_to_string(namedata), name));
    return STATUS_FAILURE;
}

// For a builder whose arguments are the position and a name.
int report_name(LineInfo* line_info, ErrorInfo* (*builder)(const char*, const char*),
                const char* name, unsigned linenumber) {
    report_error(builder(position_of(line_info, linenumber).text, name));
    return STATUS_FAILURE;
}

// Asserts which kinds come with a type and with an environment. Paths enter a record through its
// environment, so a record needs one.
void check_arguments(NameDataType ndtype, const TypeCon* typecon, const PolyHash* environment) {
    switch (ndtype) {
    case ND_BOOL:
    case ND_INT:
    case ND_FLOAT:
    case ND_STRING:
        NORVANE_ASSERT(!typecon);
        NORVANE_ASSERT(!environment);
        return;
    case ND_LABEL:
        NORVANE_ASSERT(typecon);
        NORVANE_ASSERT(!environment);
        return;
    case ND_TYPE:
    case ND_VARIABLE:
        NORVANE_ASSERT(typecon);
        NORVANE_ASSERT_TEXT(typecon->contype != TC_PROD || environment,
                            "IMPLIES( typecon->contype == TC_PROD, environment )");
        return;
    }
    NORVANE_FAIL("Invalid name data type '%d'", static_cast<int>(ndtype));
}

// The name that a type has inside its arrays and optionals, or null if that type has none.
char* name_of_type(const TypeCon* typecon) {
    while (typecon->contype == TC_ARRAY || typecon->contype == TC_OPTIONAL) {
        typecon =
            typecon->contype == TC_ARRAY ? typecon->values.array.element : typecon->values.base;
    }
    switch (kind_of(typecon)) {
    case TC_NAMED: return typecon->values.name;
    case TC_BOOL:
    case TC_INT:
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING:
    case TC_PROD:
    case TC_SUM:
    case TC_ARRAY:
    case TC_OPTIONAL: return nullptr;
    }
    NORVANE_FAIL("Invalid type construtor '%d'", typecon->contype);
}

// Fails for a name that no record can belong to.
void check_has_type(const NameData* namedata, const char* name) {
    switch (kind_of(namedata)) {
    case ND_TYPE:
    case ND_VARIABLE: return;
    case ND_BOOL:
    case ND_INT:
    case ND_FLOAT:
    case ND_STRING:
    case ND_LABEL: NORVANE_FAIL("'%s' is neither a variable nor a type", name);
    }
    NORVANE_FAIL("Invalid namedata type '%d'", namedata->ndtype);
}

// Follows the name that a type leads to, which has been declared before. Done once for each type,
// so that a chain of types that name each other is not followed anew at each use of one of them.
void find_ends(const SymbolTable* symboltable, TypeName* type) {
    const bool is_named = type->typecon->contype == TC_NAMED;
    if (!is_named) type->real = type->typecon;
    const char* name = type->environment ? nullptr : name_of_type(type->typecon);
    if (!name) {
        type->last = type;
        return;
    }
    const PolyHash* types = symboltable->global_table;
    NameData* namedata;
    if (peek(types, name, phash_hash_of(types, name), &namedata) != STATUS_SUCCESS) return;
    const TypeName* named = as_type(namedata);
    if (!named) return;
    type->last = named->last;
    if (is_named) type->real = named->real;
}

// The lookup of a path such as a.b[1].c, step by step, with the arguments of the exported function
// that it serves.
struct Path {
    LineInfo* line_info;
    SymbolTable* symboltable;
    IdCon* idcon; // the steps that are still to be looked up
    int scoped;   // non-zero: look the next name up in the innermost environment only
    unsigned linenumber;
    unsigned pushed; // environments that the lookup has pushed
};

// Advances to the last step and pushes the environment of each record before it; false after a
// report. Indices are ignored, because all elements of an array share the environment of their
// type.
bool enter(Path* path) {
    while (path->idcon->contype == IDCON_COMPOSIT) {
        const IdCon* head = path->idcon->args.compositid.hier;
        // The first step of a composite has a name.
        NORVANE_ASSERT_TEXT(head->contype != IDCON_COMPOSIT,
                            "idcon->args.compositid.hier->contype != IDCON_COMPOSIT");
        PolyHash* environment;
        if (symtbl_lookup_env(path->line_info, path->symboltable, head->args.id.idname,
                              path->scoped, &environment, path->linenumber) != STATUS_SUCCESS) {
            return false;
        }
        if (!environment) NORVANE_FAIL("Could not find environment for '%s'", head->args.id.idname);
        symtbl_push_env(path->symboltable, environment);
        ++path->pushed;
        path->scoped = 1;
        path->idcon = path->idcon->args.compositid.nested;
    }
    return true;
}

void leave(Path* path) {
    for (; path->pushed > 0; --path->pushed)
        symtbl_pop_env(path->symboltable);
}

// The record of the last step, which is a simple or an array constructor; null if it is undeclared.
NameData* last_record(const Path* path) {
    if (path->idcon->contype != IDCON_SIMPLE && path->idcon->contype != IDCON_ARRAY) {
        NORVANE_FAIL("Invalid id constructor type '%d'", path->idcon->contype);
    }
    NameData* namedata;
    if (symtbl_lookup(path->symboltable, path->idcon->args.id.idname, path->scoped, &namedata) !=
        STATUS_SUCCESS) {
        return nullptr;
    }
    return namedata;
}

// Gives the type as it is declared, or, with `resolve`, the type that its name stands for.
int deliver(const Path* path, TypeCon* typecon, bool resolve, TypeCon** result) {
    if (resolve) {
        return symtbl_lookup_typecon(path->line_info, path->symboltable, typecon, result,
                                     path->linenumber);
    }
    *result = typecon;
    return STATUS_SUCCESS;
}

int type_of_simple(const Path* path, bool resolve, TypeCon** result) {
    const NameData* namedata = last_record(path);
    if (!namedata) return STATUS_FAILURE;
    switch (kind_of(namedata)) {
    case ND_LABEL:
    case ND_VARIABLE: return deliver(path, namedata->typecon, resolve, result);
    case ND_TYPE:
        return report_name(path->line_info, ERR_TYPE_AS_VAR, path->idcon->args.id.idname,
                           path->linenumber);
    case ND_BOOL:
    case ND_INT:
    case ND_FLOAT:
    case ND_STRING: break;
    }
    NORVANE_FAIL("Invalid name data type '%d'", namedata->ndtype);
}

int type_of_element(const Path* path, bool resolve, TypeCon** result) {
    char* name = path->idcon->args.array.idname;
    const NameData* namedata = last_record(path);
    if (!namedata || namedata->ndtype != ND_VARIABLE) {
        NORVANE_FAIL("'%s' is not declared as an array", name);
    }
    TypeCon* typecon;
    if (deliver(path, namedata->typecon, resolve, &typecon) != STATUS_SUCCESS) {
        return STATUS_FAILURE;
    }
    for (unsigned left = path->idcon->args.array.exprlist->len; left > 0; --left) {
        if (typecon->contype != TC_ARRAY) {
            NORVANE_FAIL("Could not find array type constructor for '%s'", name);
        }
        if (deliver(path, typecon->values.array.element, resolve, &typecon) != STATUS_SUCCESS) {
            return STATUS_FAILURE;
        }
    }
    *result = typecon;
    return STATUS_SUCCESS;
}

int type_at_end(Path path, bool resolve, TypeCon** result) {
    int status = STATUS_FAILURE;
    if (enter(&path)) {
        const bool indexed = path.idcon->contype == IDCON_ARRAY;
        status = indexed ? type_of_element(&path, resolve, result)
                         : type_of_simple(&path, resolve, result);
    }
    leave(&path);
    return status;
}

} // namespace

void take_env_out(SymbolTable* symboltable, PolyHash* environment) {
    unsigned depth = 0;
    for (const PolyListNode* node = symboltable->local_table->first; node;
         node = node->next, ++depth) {
        if (node->element != environment) continue;
        plist_delete_nth(symboltable->local_table, depth);
        return;
    }
}

} // namespace norvane::model

using namespace norvane;
using namespace norvane::model;

SymbolTable* symtbl_new_symbol_table() {
    auto* symboltable = static_cast<SymbolTable*>(util_malloc_throw(sizeof(SymbolTable)));
    symboltable->global_table = symtbl_new_symbol_table_env(project_size);
    symboltable->local_table = plist_new(nullptr, nullptr, nullptr);
    plist_prepend(symboltable->local_table, symtbl_new_symbol_table_env(project_size));
    return symboltable;
}

void symtbl_delete_symbol_table(SymbolTable* symboltable) {
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(symboltable->local_table->len > 0);
    symtbl_delete_symbol_table_env(symboltable->global_table);
    symtbl_delete_symbol_table_env(static_cast<PolyHash*>(symboltable->local_table->last->element));
    plist_delete(symboltable->local_table);
    std::free(symboltable);
}

PolyHash* symtbl_new_symbol_table_env(int size) {
    NORVANE_ASSERT(size >= 1);
    return phash_new(static_cast<unsigned>(size), poly_compare_string, nullptr, nullptr,
                     poly_hash_string, nullptr, poly<symtbl_delete_namedata>);
}

void symtbl_delete_symbol_table_env(PolyHash* environment) {
    NORVANE_ASSERT(environment);
    phash_delete(environment);
}

NameData* symtbl_new_namedata(NameDataType ndtype, TypeCon* typecon, PolyHash* environment,
                              int int_value, double float_value, const char* string_value,
                              int is_public) {
    check_arguments(ndtype, typecon, environment);
    const std::size_t size = ndtype == ND_TYPE ? sizeof(TypeName) : sizeof(NameData);
    auto* namedata = static_cast<NameData*>(util_calloc_throw(size));
    namedata->ndtype = static_cast<unsigned char>(ndtype);
    switch (ndtype) {
    case ND_BOOL:
    case ND_INT: namedata->int_value = int_value; break;
    case ND_FLOAT: namedata->float_value = float_value; break;
    case ND_STRING: namedata->string_value = str_copy(string_value); break;
    case ND_LABEL: namedata->typecon = typecon; break;
    case ND_TYPE:
        namedata->typecon = typecon;
        namedata->environment = environment;
        break;
    case ND_VARIABLE:
        namedata->typecon = typecon;
        namedata->environment = environment;
        namedata->is_public = is_public;
        break;
    }
    return namedata;
}

void symtbl_delete_namedata(NameData* namedata) {
    // Recursive: an environment deletes its records, which delete their environments.
    if (stack_is_low()) return on_fresh_stack([=] { symtbl_delete_namedata(namedata); });
    NORVANE_ASSERT(namedata);
    switch (kind_of(namedata)) {
    case ND_STRING: str_delete(namedata->string_value); break;
    case ND_TYPE:
    case ND_VARIABLE:
        if (namedata->environment) symtbl_delete_symbol_table_env(namedata->environment);
        break;
    case ND_BOOL:
    case ND_INT:
    case ND_FLOAT:
    case ND_LABEL: break; // own nothing
    }
    std::free(namedata);
}

const char* symtbl_namedata_to_string(NameData* namedata) {
    NORVANE_ASSERT(namedata);
    switch (kind_of(namedata)) {
    case ND_BOOL:
    case ND_INT:
    case ND_FLOAT:
    case ND_STRING: return "constant";
    case ND_LABEL: return "label";
    case ND_TYPE: return "type";
    case ND_VARIABLE: return "variable";
    }
    NORVANE_FAIL("Invalid name data type '%d'", namedata->ndtype);
}

void symtbl_push_env(SymbolTable* symboltable, PolyHash* environment) {
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(environment);
    plist_prepend(symboltable->local_table, environment);
}

void symtbl_pop_env(SymbolTable* symboltable) {
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(symboltable->local_table->len > 1);
    plist_delete_nth(symboltable->local_table, 0);
}

int symtbl_lookup(SymbolTable* symboltable, char* name, int scoped, NameData** namedata) {
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(name);
    NORVANE_ASSERT(namedata);
    if (scoped) {
        const PolyHash* environment = innermost(symboltable);
        return peek(environment, name, phash_hash_of(environment, name), namedata);
    }
    void* found;
    if (phash_peek_first(symboltable->global_table, symboltable->local_table, name, &found) !=
        STATUS_SUCCESS)
        return STATUS_FAILURE;
    *namedata = static_cast<NameData*>(found);
    return STATUS_SUCCESS;
}

int symtbl_insert(LineInfo* line_info, SymbolTable* symboltable, char* name, NameData* namedata,
                  unsigned linenumber) {
    NORVANE_ASSERT(line_info);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(name);
    NORVANE_ASSERT(namedata);
    NameData* declared;
    if (is_global(namedata)) {
        if (symtbl_lookup(symboltable, name, 0, &declared) == STATUS_SUCCESS) {
            return report_redeclared(line_info, name, namedata, declared, linenumber);
        }
        if (namedata->ndtype == ND_TYPE) find_ends(symboltable, static_cast<TypeName*>(namedata));
        phash_insert(symboltable->global_table, name, namedata);
        return STATUS_SUCCESS;
    }
    const unsigned hash = phash_hash_of(symboltable->global_table, name);
    if (peek(symboltable->global_table, name, hash, &declared) == STATUS_SUCCESS) {
        return report_redeclared(line_info, name, namedata, declared, linenumber);
    }
    PolyHash* environment = innermost(symboltable);
    if (peek(environment, name, hash, &declared) == STATUS_SUCCESS) {
        return report_redeclared_scope(line_info, name, namedata, linenumber);
    }
    phash_insert(environment, name, namedata);
    return STATUS_SUCCESS;
}

int symtbl_lookup_typecon(LineInfo* line_info, SymbolTable* symboltable, TypeCon* typecon,
                          TypeCon** result, unsigned linenumber) {
    NORVANE_ASSERT(line_info);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(typecon);
    NORVANE_ASSERT(result);
    while (typecon->contype == TC_NAMED) {
        NameData* namedata;
        if (symtbl_lookup(symboltable, typecon->values.name, 0, &namedata) != STATUS_SUCCESS ||
            namedata->ndtype != ND_TYPE) {
            return report_name(line_info, ERR_TYPE_UNDEF, typecon->values.name, linenumber);
        }
        TypeCon* real = as_type(namedata)->real;
        typecon = real ? real : namedata->typecon;
    }
    *result = typecon;
    return STATUS_SUCCESS;
}

int symtbl_lookup_env(LineInfo* line_info, SymbolTable* symboltable, char* name, int scoped,
                      PolyHash** result, unsigned linenumber) {
    NORVANE_ASSERT(line_info);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(name);
    NORVANE_ASSERT(result);
    *result = nullptr;
    NameData* namedata;
    // A declaration without an environment of its own has that of the type that it names.
    for (; name; name = name_of_type(namedata->typecon), scoped = 0) {
        if (symtbl_lookup(symboltable, name, scoped, &namedata) != STATUS_SUCCESS)
            return report_name(line_info, ERR_ID_UNDECLARED, name, linenumber);
        check_has_type(namedata, name);
        const TypeName* type = as_type(namedata);
        if (type && type->last) namedata = type->last;
        *result = namedata->environment;
        if (*result) break;
    }
    return STATUS_SUCCESS;
}

NameData* symtbl_namedata_for_idcon(LineInfo* line_info, SymbolTable* symboltable, IdCon* idcon,
                                    int scoped, unsigned linenumber) {
    NORVANE_ASSERT(line_info);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(idcon);
    Path path{line_info, symboltable, idcon, scoped, linenumber, 0};
    NameData* namedata = enter(&path) ? last_record(&path) : nullptr;
    leave(&path);
    return namedata;
}

int symtbl_typecon_for_idcon(LineInfo* line_info, SymbolTable* symboltable, IdCon* idcon,
                             int scoped, TypeCon** result, unsigned linenumber) {
    NORVANE_ASSERT(line_info);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(idcon);
    NORVANE_ASSERT(result);
    return type_at_end({line_info, symboltable, idcon, scoped, linenumber, 0}, true, result);
}

int symtbl_deftypecon_for_idcon(LineInfo* line_info, SymbolTable* symboltable, IdCon* idcon,
                                int scoped, TypeCon** result, unsigned linenumber) {
    NORVANE_ASSERT(line_info);
    NORVANE_ASSERT(symboltable);
    NORVANE_ASSERT(idcon);
    NORVANE_ASSERT(result);
    return type_at_end({line_info, symboltable, idcon, scoped, linenumber, 0}, false, result);
}
