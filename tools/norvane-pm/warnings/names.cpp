#include "names.h"

#include <cstring>

namespace norvane::driver {

const IdCon* head_of(const IdCon* idcon) {
    return idcon->contype == IDCON_COMPOSIT ? idcon->args.compositid.hier : idcon;
}

bool is_optional_word(const IdCon* idcon) {
    if (idcon->contype != IDCON_SIMPLE) return false;
    const char* name = idcon->args.id.idname;
    return std::strcmp(name, "SOME") == 0 || std::strcmp(name, "NONE") == 0;
}

const Names::Fields& Names::fields_of(const TypeCon* record) {
    const auto [entry, is_new] = fields_.try_emplace(record);
    if (!is_new) return entry->second;
    unsigned index = 0;
    for (const VarDecl* decl : items<VarDecl>(record->values.prod.fields))
        entry->second.try_emplace(decl->name, Field{decl, index++});
    return entry->second;
}

const Field* Names::field(const TypeCon* record, const char* name) {
    const Fields& fields = fields_of(record);
    const auto found = fields.find(name);
    return found == fields.end() ? nullptr : &found->second;
}

const NameData* Names::global(const char* name) const {
    NameData* namedata = nullptr;
    const int status = symtbl_lookup(table_, const_cast<char*>(name), 0, &namedata);
    return status == 0 ? namedata : nullptr;
}

Names::Meaning Names::meaning_of(const char* name) {
    for (auto loop = loops.rbegin(); loop != loops.rend(); ++loop)
        if (std::strcmp(loop->range->args.range.lambdavar, name) == 0) return {&*loop};
    for (std::size_t i = frames.size(); i > 0; --i) {
        const Field* found = field(frames[i - 1].record, name);
        if (found && found->index < frames[i - 1].visible) return {nullptr, found, nullptr, i};
    }
    return {nullptr, nullptr, global(name)};
}

const Field* Names::finite_field(const char* name, std::size_t* frame) {
    for (*frame = frames.size(); *frame > 0; --*frame)
        if (const Field* found = field(frames[*frame - 1].record, name)) return found;
    return nullptr;
}

TypeCon* Names::real(TypeCon* typecon) const {
    while (typecon && typecon->contype == TC_NAMED) {
        const NameData* named = global(typecon->values.name);
        typecon = named && named->ndtype == ND_TYPE ? named->typecon : nullptr;
    }
    return typecon;
}

TypeCon* Names::type_of_head(const char* name) {
    const Meaning meaning = meaning_of(name);
    if (meaning.field) return real(meaning.field->decl->typecon);
    if (!meaning.global) return nullptr;
    const bool has_type =
        meaning.global->ndtype == ND_VARIABLE || meaning.global->ndtype == ND_LABEL;
    return has_type ? real(meaning.global->typecon) : nullptr;
}

TypeCon* Names::element(TypeCon* typecon, const IdCon* step) const {
    unsigned indices = step->contype == IDCON_ARRAY ? step->args.array.exprlist->len : 0;
    for (; indices > 0 && typecon; --indices)
        typecon = typecon->contype == TC_ARRAY ? real(typecon->values.array.element) : nullptr;
    return typecon;
}

TypeCon* Names::member(const TypeCon* typecon, const char* name) {
    if (typecon->contype == TC_OPTIONAL)
        return std::strcmp(name, "SOME") == 0 ? real(typecon->values.base) : nullptr;
    const Field* found = typecon->contype == TC_PROD ? field(typecon, name) : nullptr;
    return found ? real(found->decl->typecon) : nullptr;
}

TypeCon* Names::type_of(const IdCon* idcon) {
    TypeCon* typecon = element(type_of_head(base_name(idcon)), head_of(idcon));
    while (typecon && idcon->contype == IDCON_COMPOSIT) {
        idcon = idcon->args.compositid.nested;
        typecon = element(member(typecon, base_name(idcon)), head_of(idcon));
    }
    return typecon;
}

} // namespace norvane::driver
