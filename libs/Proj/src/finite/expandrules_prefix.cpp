// The path to an instance of a record, and the rewrite that puts it before the identifiers of a
// rule.
#include "expandrules_internal.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "allocation.h"
#include "norvane/base/deep.hpp"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/work.h"
#include "poly_adaptors.h"
#include "tags.h"

namespace norvane::finite {

void push_part(Prefix* prefix, char* name) {
    prefix->parts.push({name, std::strlen(name), prefix->indices.size(), 0});
}

void pop_part(Prefix* prefix) {
    prefix->parts.pop();
}

void push_index(Prefix* prefix) {
    prefix->indices.push(0);
    ++prefix->parts.last().index_count;
}

void set_index(Prefix* prefix, int value) {
    prefix->indices.last() = value;
}

void pop_index(Prefix* prefix) {
    prefix->indices.pop();
    --prefix->parts.last().index_count;
}

namespace {

// More parts than any path has.
constexpr std::size_t whole_prefix = std::numeric_limits<std::size_t>::max();

struct Rewrite {
    SymbolTable* symboltable;
    const Prefix& prefix;
    Depths* depths;   // may be null
    std::size_t next; // of the depths
};

// The parts of a path are generated, and have no line.
IdCon* new_part(const Prefix& prefix, const PrefixPart& part) {
    char* name = new_name(part.name, part.length);
    if (part.index_count == 0) return expr_new_simpleid(name, UNDEF_LINENO);
    PolyList* indices = plist_new(nullptr, nullptr, poly<expr_delete>);
    for (std::size_t i = 0; i < part.index_count; ++i) {
        const int index = prefix.indices[part.first_index + i];
        plist_append(indices, expr_new_intconst(OPR_INTCONST, index, UNDEF_LINENO));
    }
    return expr_new_arrayid(name, indices, UNDEF_LINENO);
}

// Takes over `idcon`. A path that has fewer parts than `depth` is added as a whole.
IdCon* with_prefix(const Prefix& prefix, std::size_t depth, IdCon* idcon) {
    for (std::size_t i = std::min(depth, prefix.parts.size()); i > 0; --i) {
        idcon = expr_new_compositid(new_part(prefix, prefix.parts[i - 1]), idcon, UNDEF_LINENO);
    }
    return idcon;
}

const char* base_name(const IdCon* idcon) {
    while (idcon->contype == IDCON_COMPOSIT)
        idcon = idcon->args.compositid.hier;
    if (idcon->contype != IDCON_SIMPLE && idcon->contype != IDCON_ARRAY)
        NORVANE_FAIL("Unknown idcon type : %d", idcon->contype);
    return idcon->args.id.idname;
}

// The number of environments below the innermost one that holds the name. Constants and variables
// of the project have none below.
unsigned depth_of_name(const SymbolTable* symboltable, const char* name) {
    const unsigned hash = phash_hash_of(symboltable->global_table, name);
    unsigned depth = symboltable->local_table->len;
    for (const PolyHash* environment : items<const PolyHash>(symboltable->local_table)) {
        --depth;
        if (phash_peek_hashed(environment, name, hash, nullptr) == STATUS_SUCCESS) return depth;
    }
    NORVANE_FAIL("Could not determine depth of variable");
}

// Labels belong to no instance, so they get no path.
bool is_label(SymbolTable* symboltable, const IdCon* idcon) {
    if (idcon->contype != IDCON_SIMPLE) return false;
    NameData* namedata;
    return symtbl_lookup(symboltable, idcon->args.id.idname, 0, &namedata) == STATUS_SUCCESS &&
           namedata->ndtype == ND_LABEL;
}

unsigned depth_of(SymbolTable* symboltable, const IdCon* idcon) {
    return is_label(symboltable, idcon) ? 0 : depth_of_name(symboltable, base_name(idcon));
}

std::size_t next_depth(Rewrite& in, const IdCon* idcon) {
    if (!in.depths) return depth_of(in.symboltable, idcon);
    if (in.next == in.depths->size()) in.depths->push(depth_of(in.symboltable, idcon));
    return (*in.depths)[in.next++];
}

void rewrite(Rewrite& in, Expr* expr);

// The selector gets the whole path: callers rely on a selector that is not a field of the record
// being named as if it were one.
void rewrite_case(Rewrite& in, Expr* expr) {
    auto& caseexpr = expr->args.caseexpr;
    caseexpr.casevar = with_prefix(in.prefix, whole_prefix, caseexpr.casevar);
    rewrite(in, caseexpr.default_expr);
    const PolyListNode* evaluation = caseexpr.exprlist_evaluation->first;
    for (Expr* condition : items<Expr>(caseexpr.exprlist_condition)) {
        rewrite(in, condition);
        if (!evaluation) continue;
        rewrite(in, static_cast<Expr*>(evaluation->element));
        evaluation = evaluation->next;
    }
}

// The variable of a loop is in no environment here, so a rule with a loop must be simplified first.
void rewrite(Rewrite& in, Expr* expr) {
    if (stack_is_low()) return on_fresh_stack([&] { rewrite(in, expr); });
    work_units(1);
    switch (model::structure_of(expr)) {
    case EXPR_BINARY:
        rewrite(in, expr->args.binargs.leftarg);
        return rewrite(in, expr->args.binargs.rightarg);
    case EXPR_UNARY: return rewrite(in, expr->args.arg);
    case EXPR_IDCONSTRUCTOR:
        expr->args.idcon =
            with_prefix(in.prefix, next_depth(in, expr->args.idcon), expr->args.idcon);
        return;
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: return;
    case EXPR_ITE:
        rewrite(in, expr->args.ite.logictest);
        rewrite(in, expr->args.ite.trueexpr);
        return rewrite(in, expr->args.ite.falseexpr);
    case EXPR_RANGE:
        rewrite(in, expr->args.range.rangebegin);
        rewrite(in, expr->args.range.rangeend);
        return rewrite(in, expr->args.range.lambdaexpr);
    case EXPR_CASE: return rewrite_case(in, expr);
    }
    NORVANE_FAIL("Invalid expression structure '%d'", expr->structure);
}

} // namespace

void add_prefix(SymbolTable* symboltable, const Prefix& prefix, Depths* depths, Expr* rule) {
    Rewrite in{symboltable, prefix, depths, 0};
    rewrite(in, rule);
}

} // namespace norvane::finite
