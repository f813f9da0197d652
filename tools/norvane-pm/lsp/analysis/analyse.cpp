#include "analyse.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <vector>

#include "json.h"
#include "load_calculation.h"
#include "load_model.h"
#include "result.h"
#include "text.h"
#include "warned_model.h"

namespace norvane::driver::lsp {
namespace {

// The shortest text that reads back as this value, with ".0" if it would otherwise read as an
// integer.
std::string number_text(double value) {
    char digits[32];
    std::string text(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    return text.find_first_of(".en") == text.npos ? text + ".0" : text;
}

std::string value_text(const NameData& constant) {
    switch (static_cast<NameDataType>(constant.ndtype)) {
    case ND_BOOL: return constant.int_value ? "true" : "false";
    case ND_INT: return std::to_string(constant.int_value);
    case ND_FLOAT: return number_text(constant.float_value);
    case ND_STRING: return "\"" + to_utf8(constant.string_value) + "\"";
    default: return "";
    }
}

// The values that rules compare a variable with, smallest first: they cut its values into classes.
std::vector<std::string> cuts_of(TypeCon* typecon) {
    std::vector<std::string> texts;
    switch (kind_of(typecon)) {
    case TC_UBOUND_INTEGER: {
        std::vector<int> values;
        IntSetIter at;
        int value = 0;
        iset_iter_init(&at, typecon->values.enum_int.int_set);
        while (iset_iter_next(&at, &value))
            values.push_back(value);
        std::ranges::sort(values);
        for (const int each : values)
            texts.push_back(std::to_string(each));
        break;
    }
    case TC_UBOUND_FLOAT: {
        std::vector<double> values;
        PolySetIter at;
        void* value = nullptr;
        pset_iter_init(&at, typecon->values.enum_float.float_set);
        while (pset_iter_next(&at, &value))
            values.push_back(static_cast<PolyValue*>(value)->number);
        std::ranges::sort(values);
        for (const double each : values)
            texts.push_back(number_text(each));
        break;
    }
    case TC_STRING: {
        PolySetIter at;
        void* value = nullptr;
        pset_iter_init(&at, typecon->values.enum_string.string_set);
        while (pset_iter_next(&at, &value))
            texts.push_back("\"" + to_utf8(static_cast<char*>(value)) + "\"");
        break;
    }
    case TC_BOOL:
    case TC_INT:
    case TC_PROD:
    case TC_SUM:
    case TC_ARRAY:
    case TC_NAMED:
    case TC_OPTIONAL: break;
    }
    return texts;
}

TypeCon* type_of_values(TypeCon* typecon) {
    for (;;) {
        TypeCon* type = call([typecon] { return tc_find_set(typecon); });
        if (kind_of(type) == TC_ARRAY)
            typecon = type->values.array.element;
        else if (kind_of(type) == TC_OPTIONAL)
            typecon = type->values.base;
        else
            return type;
    }
}

// By path, as "bag.weight": those of elements and of optional values have the name of what holds
// them, and those of named types the name of the type.
void add_classes(Json& classes, const std::string& path, TypeCon* typecon) {
    TypeCon* type = type_of_values(typecon);
    if (path.size() > Facts::longest_path) return;
    if (kind_of(type) == TC_PROD)
        for (const VarDecl* field : items<VarDecl>(type->values.prod.fields))
            add_classes(classes, path + "." + to_utf8(field->name), field->typecon);
    else if (const std::vector<std::string> cuts = cuts_of(type); !cuts.empty())
        classes[path] = cuts;
}

void write_facts(const CheckedModel& model) {
    Json constants = Json::object();
    for (const ConstantDecl* constant : model.model().constants()) {
        NameData* data = nullptr;
        const bool is_known = call([table = model.table(), name = constant->name, out = &data] {
                                  return symtbl_lookup(table, name, 0, out);
                              }) == 0;
        if (is_known) constants[to_utf8(constant->name)] = value_text(*data);
    }
    Json classes = Json::object();
    for (const VarDecl* variable : model.model().variables())
        add_classes(classes, to_utf8(variable->name), variable->typecon);
    for (const TypeDecl* type : model.model().types())
        add_classes(classes, to_utf8(type->name), type->typecon);
    const Json line = {{"facts", {{"constants", constants}, {"classes", classes}}}};
    const std::string text = line.dump(-1, ' ', true, Json::error_handler_t::replace) + "\n";
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // namespace

void analyse_model(Session& session) {
    const CheckedModel& model = load_and_check_model(session);
    write_facts(model);
    show_warnings(session, model, Made::nothing);
}

void analyse_calculation(Session& session) {
    load_calculation(session); // its own faults first: the model may have some, too
    load_and_check_calculation(session);
}

void parse_calculation(Session& session) {
    load_calculation(session);
}

} // namespace norvane::driver::lsp
