// The functions that every calculation can call: names and types. Evaluators implement them.
#include "calc_builtins.h"

#include "norvane/base/except.h"
#include "norvane/base/strings.h"

namespace norvane::calculations {

namespace {

constexpr CalcType BOOL = CTYPE_BOOL;
constexpr CalcType INT = CTYPE_INT;
constexpr CalcType FLOAT = CTYPE_FLOAT;
constexpr CalcType STRING = CTYPE_STRING;

} // namespace

// Callers walk the rows in this order.
constexpr CFuncSignature catalogue[] = {
    {INT, "CtrlMngr", "AssignFloat", {{"var_name", STRING}, {"value", FLOAT}, {"force", BOOL}}},
    {INT, "CtrlMngr", "AssignInt", {{"var_name", STRING}, {"value", INT}, {"force", BOOL}}},
    {INT, "CtrlMngr", "AssignValue", {{"var_name", STRING}, {"value", INT}, {"force", BOOL}}},
    {INT, "CtrlMngr", "CompleteConf", {}},
    {INT, "CtrlMngr", "DisjoinValue", {{"var_name", STRING}, {"value", INT}, {"force", BOOL}}},
    {INT, "CtrlMngr", "GetDomainSize", {{"var_name", STRING}}},
    {FLOAT, "CtrlMngr", "GetFloatIntervalHigh", {{"var_name", STRING}, {"interval", INT}}},
    {INT, "CtrlMngr", "GetFloatIntervalIndex", {{"var_name", STRING}, {"value", FLOAT}}},
    {FLOAT, "CtrlMngr", "GetFloatIntervalLow", {{"var_name", STRING}, {"interval", INT}}},
    {INT, "CtrlMngr", "GetForcedMax", {{"var_name", STRING}}},
    {INT, "CtrlMngr", "GetForcedMin", {{"var_name", STRING}}},
    {INT, "CtrlMngr", "GetIntIntervalHigh", {{"var_name", STRING}, {"interval", INT}}},
    {INT, "CtrlMngr", "GetIntIntervalIndex", {{"var_name", STRING}, {"value", INT}}},
    {INT, "CtrlMngr", "GetIntIntervalLow", {{"var_name", STRING}, {"interval", INT}}},
    {INT, "CtrlMngr", "GetMax", {{"var_name", STRING}}},
    {INT, "CtrlMngr", "GetMin", {{"var_name", STRING}}},
    {INT, "CtrlMngr", "GetNoOfAssignedVars", {}},
    {INT, "CtrlMngr", "AssignString", {{"var_name", STRING}, {"value", STRING}, {"force", BOOL}}},
    {STRING, "CtrlMngr", "GetSelectedStringValue", {{"var_name", STRING}}},
    {INT, "CtrlMngr", "GetStringIndex", {{"var_name", STRING}, {"value", STRING}}},
    {INT, "CtrlMngr", "GetPMNodeCount", {}},
    {INT, "CtrlMngr", "GetPMNodeFromVariable", {{"var_name", STRING}}},
    {INT, "CtrlMngr", "GetPMNodeFromPath", {{"path", STRING}}},
    {INT, "CtrlMngr", "GetPMNodeIndex", {{"node", INT}}},
    {STRING, "CtrlMngr", "GetPMNodeName", {{"node", INT}}},
    {INT, "CtrlMngr", "GetPMNodeParent", {{"node", INT}}},
    {STRING, "CtrlMngr", "GetPresentation", {{"key", STRING}, {"pres_layer_name", STRING}}},
    {FLOAT, "CtrlMngr", "GetSelectedFloatValue", {{"var_name", STRING}}},
    {INT, "CtrlMngr", "GetSelectedIntValue", {{"var_name", STRING}}},
    {INT, "CtrlMngr", "GetSelectedValue", {{"var_name", STRING}}},
    {FLOAT, "CtrlMngr", "GetSolutionCount", {}},
    {INT, "CtrlMngr", "GetState", {{"var_name", STRING}, {"value", INT}}},
    {STRING, "CtrlMngr", "GetValueName", {{"var_name", STRING}, {"value", INT}}},
    {INT, "CtrlMngr", "GetVarCount", {}},
    {INT, "CtrlMngr", "GetVarIndex", {{"var_name", STRING}}},
    {INT, "CtrlMngr", "GetValueIndex", {{"var_name", STRING}, {"value_name", STRING}}},
    {STRING, "CtrlMngr", "GetVarName", {{"var_idx", INT}}},
    {INT, "CtrlMngr", "GetVarType", {{"var_name", STRING}}},
    {BOOL, "CtrlMngr", "HasConflicts", {}},
    {INT,
     "CtrlMngr",
     "RemoveSelection",
     {{"var_name", STRING}, {"value", BOOL}, {"min", BOOL}, {"max", BOOL}}},
    {INT, "CtrlMngr", "ResetConf", {}},
    {INT, "CtrlMngr", "SetMax", {{"var_name", STRING}, {"value", INT}, {"force", BOOL}}},
    {INT, "CtrlMngr", "SetMin", {{"var_name", STRING}, {"value", INT}, {"force", BOOL}}},
    {INT, "CtrlMngr", "CTRL_MNGR_ERROR", {}},
    {INT, "CtrlMngr", "CTRL_MNGR_SUCCESS", {}},
    {FLOAT, "CtrlMngr", "FLOAT_INFINITY", {}},
    {FLOAT, "CtrlMngr", "FLOAT_MINUS_INFINITY", {}},
    {FLOAT, "CtrlMngr", "FLOAT_NOT_ASSIGNED", {}},
    {INT, "CtrlMngr", "INT_INFINITY", {}},
    {INT, "CtrlMngr", "INT_MINUS_INFINITY", {}},
    {INT, "CtrlMngr", "INT_NOT_ASSIGNED", {}},
    {INT, "CtrlMngr", "SEL_VAL_FORCE", {}},
    {INT, "CtrlMngr", "SEL_MAX_FORCE", {}},
    {INT, "CtrlMngr", "SEL_MIN_FORCE", {}},
    {INT, "CtrlMngr", "SEL_NO_LIMIT", {}},
    {INT, "CtrlMngr", "VALUE_FORCEABLE", {}},
    {INT, "CtrlMngr", "VALUE_BLOCKED", {}},
    {INT, "CtrlMngr", "VALUE_SELECTABLE", {}},
    {INT, "CtrlMngr", "VALUE_USER_SELECTED", {}},
    {INT, "CtrlMngr", "VALUE_SYS_SELECTED", {}},
    {INT, "CtrlMngr", "VARTYPE_RANGE", {}},
    {INT, "CtrlMngr", "VARTYPE_BOOL", {}},
    {INT, "CtrlMngr", "VARTYPE_ENUM", {}},
    {INT, "CtrlMngr", "VARTYPE_OPTIONAL", {}},
    {INT, "CtrlMngr", "VARTYPE_UBOUND_FLOAT", {}},
    {INT, "CtrlMngr", "VARTYPE_UBOUND_INT", {}},
    {INT, "CtrlMngr", "VARTYPE_STRING", {}},
    {INT, "CtrlMngr", "PM_ROOT", {}},

    {FLOAT, "System", "String2Float", {{"str", STRING}}},
    {STRING, "System", "Float2String", {{"f", FLOAT}}},
    {INT, "System", "String2Int", {{"str", STRING}}},
    {STRING, "System", "Int2String", {{"i", INT}}},
    {FLOAT, "System", "Int2Float", {{"i", INT}}},
    {INT, "System", "Float2Int", {{"f", FLOAT}}},
    {FLOAT, "System", "Trunc", {{"f", FLOAT}}},
    {FLOAT, "System", "Ceil", {{"f", FLOAT}}},
    {FLOAT, "System", "Floor", {{"f", FLOAT}}},
    {FLOAT, "System", "Round", {{"f", FLOAT}}},
    {INT, "System", "Max", {{"a", INT}, {"b", INT}}},
    {INT, "System", "Min", {{"a", INT}, {"b", INT}}},
    {FLOAT, "System", "Fmax", {{"a", FLOAT}, {"b", FLOAT}}},
    {FLOAT, "System", "Fmin", {{"a", FLOAT}, {"b", FLOAT}}},
    {INT, "System", "Abs", {{"a", INT}}},
    {FLOAT, "System", "Fabs", {{"a", FLOAT}}},
    {STRING, "System", "GetDateTime", {{"format", STRING}}},

    {INT, "String", "Length", {{"string", STRING}}},
    {STRING, "String", "Concat", {{"string1", STRING}, {"string2", STRING}}},
    {BOOL, "String", "Equal", {{"string1", STRING}, {"string2", STRING}}},
    {INT, "String", "Compare", {{"string1", STRING}, {"string2", STRING}}},
    {INT, "String", "IndexOf", {{"string", STRING}, {"substring", STRING}}},
    {INT, "String", "IndexOfNext", {{"string", STRING}, {"substring", STRING}, {"offset", INT}}},
    {STRING, "String", "SubString", {{"string", STRING}, {"offset", INT}, {"length", INT}}},
    {STRING, "String", "Replace", {{"string", STRING}, {"oldval", STRING}, {"newval", STRING}}},
    {BOOL, "String", "StartsWith", {{"string", STRING}, {"substring", STRING}}},
    {BOOL, "String", "EndsWith", {{"string", STRING}, {"substring", STRING}}},
    {STRING, "String", "ToLower", {{"string", STRING}}},
    {STRING, "String", "ToUpper", {{"string", STRING}}},

    {BOOL, "Calc", "HasFunction", {{"string", STRING}, {"string", STRING}}},
    {BOOL, "Calc", "CallBooleanFunction", {{"string", STRING}, {"string", STRING}}},
    {STRING, "Calc", "CallStringFunction", {{"string", STRING}, {"string", STRING}}},
    {INT, "Calc", "CallIntegerFunction", {{"string", STRING}, {"string", STRING}}},
    {FLOAT, "Calc", "CallFloatFunction", {{"string", STRING}, {"string", STRING}}},

    {STRING, "Pricing", "AddVariantCondition", {{"variant_condition", STRING}}},
    {STRING,
     "Pricing",
     "SetPricingFactor",
     {{"variant_condition", STRING}, {"pricing_factor", FLOAT}}},
    {INT, "Pricing", "AddAssignmentConditions", {}},

    {BOOL, "Environment", "Contains", {{"var", STRING}}},
    {BOOL, "Environment", "Remove", {{"var", STRING}}},
    {BOOL, "Environment", "SetDecimal", {{"var", STRING}, {"value", FLOAT}}},
    {BOOL, "Environment", "SetBool", {{"var", STRING}, {"value", BOOL}}},
    {BOOL, "Environment", "SetInteger", {{"var", STRING}, {"value", INT}}},
    {BOOL, "Environment", "SetString", {{"var", STRING}, {"value", STRING}}},
    {BOOL, "Environment", "SetFloat", {{"var", STRING}, {"value", FLOAT}}},
    {BOOL, "Environment", "SetDate", {{"var", STRING}, {"value", STRING}}},
    {FLOAT, "Environment", "GetDecimal", {{"var", STRING}}},
    {BOOL, "Environment", "GetBool", {{"var", STRING}}},
    {INT, "Environment", "GetInteger", {{"var", STRING}}},
    {STRING, "Environment", "GetString", {{"var", STRING}}},
    {FLOAT, "Environment", "GetFloat", {{"var", STRING}}},
    {STRING, "Environment", "GetDate", {{"var", STRING}}},
    {BOOL, "Environment", "AddDecimal", {{"collection", STRING}, {"value", FLOAT}}},
    {BOOL, "Environment", "AddBool", {{"collection", STRING}, {"value", BOOL}}},
    {BOOL, "Environment", "AddInteger", {{"collection", STRING}, {"value", INT}}},
    {BOOL, "Environment", "AddString", {{"collection", STRING}, {"value", STRING}}},
    {BOOL, "Environment", "AddFloat", {{"collection", STRING}, {"value", FLOAT}}},
    {BOOL, "Environment", "AddDate", {{"collection", STRING}, {"value", STRING}}},
    {BOOL, "Environment", "ContainsDecimal", {{"collection", STRING}, {"value", FLOAT}}},
    {BOOL, "Environment", "ContainsBool", {{"collection", STRING}, {"value", BOOL}}},
    {BOOL, "Environment", "ContainsInteger", {{"collection", STRING}, {"value", INT}}},
    {BOOL, "Environment", "ContainsString", {{"collection", STRING}, {"value", STRING}}},
    {BOOL, "Environment", "ContainsFloat", {{"collection", STRING}, {"value", FLOAT}}},
    {BOOL, "Environment", "ContainsDate", {{"collection", STRING}, {"value", STRING}}},
    {BOOL, "Environment", "RemoveDecimal", {{"collection", STRING}, {"value", FLOAT}}},
    {BOOL, "Environment", "RemoveBool", {{"collection", STRING}, {"value", BOOL}}},
    {BOOL, "Environment", "RemoveInteger", {{"collection", STRING}, {"value", INT}}},
    {BOOL, "Environment", "RemoveString", {{"collection", STRING}, {"value", STRING}}},
    {BOOL, "Environment", "RemoveFloat", {{"collection", STRING}, {"value", FLOAT}}},
    {BOOL, "Environment", "RemoveDate", {{"collection", STRING}, {"value", STRING}}},
    {BOOL, "Environment", "MapSetDecimal", {{"map", STRING}, {"key", STRING}, {"value", FLOAT}}},
    {BOOL, "Environment", "MapSetBool", {{"map", STRING}, {"key", STRING}, {"value", BOOL}}},
    {BOOL, "Environment", "MapSetInteger", {{"map", STRING}, {"key", STRING}, {"value", INT}}},
    {BOOL, "Environment", "MapSetString", {{"map", STRING}, {"key", STRING}, {"value", STRING}}},
    {BOOL, "Environment", "MapSetFloat", {{"map", STRING}, {"key", STRING}, {"value", FLOAT}}},
    {BOOL, "Environment", "MapSetDate", {{"map", STRING}, {"key", STRING}, {"value", STRING}}},
    {BOOL, "Environment", "MapContainsKey", {{"map", STRING}, {"key", STRING}}},
    {BOOL, "Environment", "MapRemoveKey", {{"map", STRING}, {"key", STRING}}},
    {FLOAT, "Environment", "MapLookupDecimal", {{"map", STRING}, {"key", STRING}}},
    {BOOL, "Environment", "MapLookupBool", {{"map", STRING}, {"key", STRING}}},
    {INT, "Environment", "MapLookupInteger", {{"map", STRING}, {"key", STRING}}},
    {STRING, "Environment", "MapLookupString", {{"map", STRING}, {"key", STRING}}},
    {FLOAT, "Environment", "MapLookupFloat", {{"map", STRING}, {"key", STRING}}},
    {STRING, "Environment", "MapLookupDate", {{"map", STRING}, {"key", STRING}}},

    {CTYPE_UNDEF, nullptr, nullptr, {}},
};

namespace {

// A table that maps "NAMESPACE.NAME" to the row; kept until the process ends.
const PolyHash* new_index() {
    PolyHash* index = phash_new(100, poly_compare_string, poly_copy_string, nullptr,
                                poly_hash_string, poly_delete_string, nullptr);
    for (const CFuncSignature* row = catalogue; row->ns_name; ++row) {
        char key[MESSAGE_BUFFER_SIZE];
        str_snprintf(key, sizeof key, "%s.%s", row->ns_name, row->fn_name);
        phash_insert(index, key, const_cast<CFuncSignature*>(row));
    }
    return index;
}

CFunc* new_function(const CFuncSignature* row) {
    CFunc* func = calc_new_func(str_copy(row->fn_name), row->type, nullptr, nullptr, -1);
    for (const CFuncSignatureArg* arg = row->args; arg->name; ++arg)
        calc_add_function_arg(func, calc_new_func_arg(str_copy(arg->name), arg->type, -1));
    return func;
}

} // namespace

void enter_builtins(PolyHash* calc) {
    for (const CFuncSignature* row = catalogue; row->ns_name; ++row) {
        CFunc* func = new_function(row);
        if (calc_add_function(calc, row->ns_name, func) != STATUS_SUCCESS) calc_delete_func(func);
    }
}

void remove_builtins(PolyHash* calc) {
    const char* removed = "";
    for (const CFuncSignature* row = catalogue; row->ns_name; ++row) {
        if (str_is_equal(row->ns_name, removed)) continue;
        removed = row->ns_name;
        phash_remove(calc, removed);
    }
}

} // namespace norvane::calculations

using namespace norvane::calculations;

const CFuncSignature* calc_get_build_in_func_signature(const char* ns_name, const char* fn_name) {
    NORVANE_ASSERT(ns_name);
    NORVANE_ASSERT(fn_name);
    static const PolyHash* const index = new_index();
    // Cutting a name that does not fit is safe: no row has a name of that length.
    char key[MESSAGE_BUFFER_SIZE];
    str_snprintf(key, sizeof key, "%s.%s", ns_name, fn_name);
    void* row = nullptr;
    phash_peek(index, key, &row);
    return static_cast<const CFuncSignature*>(row);
}
