// Calculations: sets of namespaces, which hold functions.
#include <cstdlib>
#include <new>

#include "calc_position.h"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/proj_errors.h"
#include "poly_adaptors.h"
#include "report.h"

namespace norvane::calculations {

namespace {

// The namespaces of the built-in catalogue.
constexpr const char* reserved_namespaces[] = {"CtrlMngr", "System",  "String",
                                               "Calc",     "Pricing", "Environment"};

constexpr unsigned table_size = 10;

PolyHash* new_table(PolyDelete delete_value) {
    return phash_new(table_size, poly_compare_string, poly_copy_string, nullptr, poly_hash_string,
                     poly_delete_string, delete_value);
}

void report_redefinition(const CFunc* func, const char* ns_name) {
    const Position position = position_of(func, func->line_no);
    report_error(ERR_CALC_FNC_REDEF(position.text, func->name, ns_name));
}

} // namespace

} // namespace norvane::calculations

using namespace norvane;
using namespace norvane::calculations;

PolyHash* calc_new(void) {
    return new_table(poly<calc_delete_namespace>);
}

void calc_delete(PolyHash* calc) {
    NORVANE_ASSERT(calc);
    phash_delete(calc);
}

CNameSpace* calc_new_namespace(const char* name) {
    NORVANE_ASSERT(name);
    auto* ns = new (util_malloc_throw(sizeof(CNameSpace))) CNameSpace{};
    ns->name = str_copy(name);
    ns->functions = new_table(poly<calc_delete_func>);
    ns->func_list = plist_new(nullptr, nullptr, nullptr);
    return ns;
}

void calc_delete_namespace(CNameSpace* ns) {
    NORVANE_ASSERT(ns);
    str_delete(ns->name);
    plist_delete(ns->func_list);
    phash_delete(ns->functions);
    std::free(ns);
}

CNameSpace* calc_get_namespace(const PolyHash* calc, const char* ns_name) {
    NORVANE_ASSERT(calc);
    NORVANE_ASSERT(ns_name);
    void* ns = nullptr;
    phash_peek(calc, ns_name, &ns);
    return static_cast<CNameSpace*>(ns);
}

CNameSpace* calc_add_namespace(PolyHash* calc, const char* ns_name) {
    if (CNameSpace* present = calc_get_namespace(calc, ns_name)) return present;
    CNameSpace* ns = calc_new_namespace(ns_name);
    phash_insert(calc, ns->name, ns);
    return ns;
}

CFunc* calc_get_function(const CNameSpace* ns, const char* f_name) {
    NORVANE_ASSERT(ns);
    NORVANE_ASSERT(f_name);
    void* func = nullptr;
    phash_peek(ns->functions, f_name, &func);
    return static_cast<CFunc*>(func);
}

int calc_add_function(PolyHash* calc, const char* ns_name, CFunc* func) {
    NORVANE_ASSERT(calc);
    NORVANE_ASSERT(ns_name);
    NORVANE_ASSERT(func);
    CNameSpace* ns = calc_add_namespace(calc, ns_name);
    if (calc_get_function(ns, func->name)) {
        report_redefinition(func, ns_name);
        return -1;
    }
    phash_insert(ns->functions, func->name, func);
    plist_append(ns->func_list, func);
    return 0;
}

int calc_remove_function(PolyHash* calc, const char* ns_name, const char* f_name) {
    CNameSpace* ns = calc_get_namespace(calc, ns_name);
    if (!ns) return -1;
    NORVANE_ASSERT(f_name);
    NORVANE_ASSERT(ns->functions);
    PolyList* rest = plist_new(nullptr, nullptr, nullptr);
    for (CFunc* func : items<CFunc>(ns->func_list)) {
        if (!str_is_equal(func->name, f_name)) plist_append(rest, func);
    }
    plist_delete(ns->func_list);
    ns->func_list = rest;
    return phash_remove(ns->functions, f_name);
}

void calc_merge(PolyHash* calc1, PolyHash* calc2) {
    NORVANE_ASSERT(calc1);
    NORVANE_ASSERT(calc2);
    PolyHashIter iter;
    phash_iter_init(&iter, calc2);
    for (void* value; phash_iter_next(&iter, nullptr, &value);) {
        auto* ns = static_cast<CNameSpace*>(value);
        // No function is freed with calc2: those that are moved belong to calc1, and callers may
        // still point to those that are refused.
        ns->functions->delete_value = nullptr;
        for (CFunc* func : items<CFunc>(ns->func_list))
            calc_add_function(calc1, ns->name, func);
    }
    calc_delete(calc2);
}

int calc_ns_name_is_reserved(const char* ns_name) {
    for (const char* reserved : reserved_namespaces) {
        if (str_is_equal(reserved, ns_name)) return 1;
    }
    return 0;
}
