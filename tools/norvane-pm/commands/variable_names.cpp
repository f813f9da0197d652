#include "variable_names.h"

#include <charconv>
#include <cstring>
#include <string>

namespace norvane::driver {
namespace {

// A walk along a path, step by step. The text is cut into names as it goes.
struct Walk {
    Project* project;
    SymbolTable* table;
    char* rest;
    bool is_inside = false;  // of a record: the next name is that of a field
    char* name = nullptr;    // of the step
    char after = '\0';       // what followed what was taken last
    TypeCon* type = nullptr; // at this place of the path
};

// Takes the text up to `end`, and the character there.
void cut(Walk& walk, char* end) {
    walk.after = *end;
    if (*end != '\0') *end++ = '\0';
    walk.rest = end;
}

bool resolve(Walk& walk, TypeCon* type) {
    return symtbl_lookup_typecon(walk.project->line_info, walk.table, type, &walk.type,
                                 UNDEF_LINENO) == STATUS_SUCCESS;
}

// A name, in quotes unless it is a plain one.
bool take_name(Walk& walk) {
    char* end = walk.rest;
    if (*end == '"') {
        walk.name = end + 1;
        end = std::strchr(walk.name, '"');
        if (!end) return false;
        *end++ = '\0';
        if (*end != '\0' && *end != '[' && *end != '.') return false;
    } else {
        walk.name = end;
        end += std::strcspn(end, "[.");
    }
    cut(walk, end);
    NameData* data = nullptr;
    return symtbl_lookup(walk.table, walk.name, walk.is_inside, &data) == STATUS_SUCCESS &&
           data->ndtype == ND_VARIABLE && resolve(walk, data->typecon);
}

bool has_element(Walk& walk, unsigned index) {
    if (walk.type->contype != TC_ARRAY) return false;
    Expr* size = walk.type->values.array.size;
    // It was static where it was declared, but a field may hide the constant that it names.
    if (!ssem_is_static_expr(walk.project, walk.table, size)) return false;
    const int count = ssem_static_evaluate_intexpr(walk.project, walk.table, size);
    return count > 0 && index < static_cast<unsigned>(count);
}

// The indices after a name: "[0][1]".
bool take_indices(Walk& walk) {
    while (walk.after == '[') {
        unsigned index = 0;
        char* end = walk.rest + std::strlen(walk.rest);
        const auto [after, error] = std::from_chars(walk.rest, end, index);
        if (error != std::errc() || *after != ']') return false;
        if (!has_element(walk, index) || !resolve(walk, walk.type->values.array.element))
            return false;
        cut(walk, walk.rest + (after - walk.rest) + 1);
    }
    return true;
}

bool enter_fields(Walk& walk) {
    if (walk.type->contype != TC_PROD && walk.type->contype != TC_OPTIONAL) return false;
    PolyHash* fields = nullptr;
    symtbl_lookup_env(walk.project->line_info, walk.table, walk.name, walk.is_inside, &fields,
                      UNDEF_LINENO);
    if (!fields) return false;
    symtbl_push_env(walk.table, fields);
    walk.is_inside = true;
    return true;
}

bool exists(Walk& walk) {
    for (;;) {
        if (!take_name(walk) || !take_indices(walk)) return false;
        if (walk.after == '\0') return true;
        if (walk.after != '.' || !enter_fields(walk)) return false;
    }
}

} // namespace

bool is_variable(const CheckedModel& model, const char* name) {
    std::string text = name;
    return call([project = model.get(), table = model.table(), path = text.data()] {
        NameData* data = nullptr;
        if (symtbl_lookup(table, path, 0, &data) == STATUS_SUCCESS)
            return data->ndtype == ND_VARIABLE;
        Walk walk{.project = project, .table = table, .rest = path};
        const bool found = exists(walk);
        while (table->local_table->len > 1)
            symtbl_pop_env(table);
        return found;
    });
}

} // namespace norvane::driver
