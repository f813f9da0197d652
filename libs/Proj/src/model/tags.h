// The byte tags of the model's records as the enumerations that they hold.
//
// A switch over one of these has no `default:`, so that the compiler names every switch that a new
// enumerator is missing in. A byte that is not an enumerator falls through to the failure after the
// switch.
#ifndef NORVANE_PROJ_TAGS_H
#define NORVANE_PROJ_TAGS_H

#include "norvane/proj/expr.h"
#include "norvane/proj/symboltable.h"
#include "norvane/proj/typecon.h"

namespace norvane::model {

inline ExprStructure structure_of(const Expr* expr) {
    return static_cast<ExprStructure>(expr->structure);
}

inline OprTypes operator_of(const Expr* expr) {
    return static_cast<OprTypes>(expr->opr);
}

inline ExprType type_of(const Expr* expr) {
    return static_cast<ExprType>(expr->type);
}

inline IdConType kind_of(const IdCon* idcon) {
    return static_cast<IdConType>(idcon->contype);
}

inline ConType kind_of(const TypeCon* typecon) {
    return static_cast<ConType>(typecon->contype);
}

inline NameDataType kind_of(const NameData* namedata) {
    return static_cast<NameDataType>(namedata->ndtype);
}

} // namespace norvane::model

#endif
