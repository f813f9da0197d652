#include "display_names.h"

#include <algorithm>
#include <charconv>

#include "norvane/base/deep.hpp"

namespace norvane::driver {
namespace {

// Takes a name, in quotes where it is no plain one, off a key.
std::string_view take_name(std::string_view& rest) {
    std::size_t end = std::min(rest.find_first_of("[."), rest.size());
    std::string_view name = rest.substr(0, end);
    if (rest.starts_with('"')) {
        const std::size_t quote = std::min(rest.find('"', 1), rest.size());
        name = rest.substr(1, quote - 1);
        end = std::min(quote + 1, rest.size());
    }
    rest.remove_prefix(end);
    return name;
}

bool has_label(const TypeCon* type, std::string_view label) {
    return type->contype == TC_SUM &&
           std::ranges::any_of(items<char>(type->values.labels),
                               [label](const char* text) { return label == text; });
}

} // namespace

NamesOfModel::NamesOfModel(const CheckedModel& model) : model_(model) {
    for (const TypeDecl* type : model.model().types())
        types_.emplace(type->name, type->typecon);
    for (const VarDecl* decl : model.model().variables())
        variables_.emplace(decl->name, Place{decl, decl->typecon});
    for (const ConstantDecl* constant : model.model().constants())
        constants_.insert(constant->name);
    find_labels();
}

void NamesOfModel::find_labels() {
    std::set<const VarDecl*> known;
    std::vector<const TypeCon*> types;
    for (const TypeDecl* type : model_.model().types())
        types.push_back(type->typecon);
    for (const VarDecl* decl : model_.model().variables())
        types.push_back(decl->typecon);
    while (!types.empty()) {
        const TypeCon* type = inside(types.back());
        types.pop_back();
        if (type->contype == TC_SUM)
            for (const char* label : items<char>(type->values.labels))
                labels_.insert(label);
        if (type->contype != TC_PROD) continue;
        for (const VarDecl* field : items<VarDecl>(type->values.prod.fields))
            if (known.insert(field).second) types.push_back(field->typecon);
    }
}

const TypeCon* NamesOfModel::resolve(const TypeCon* type) const {
    while (type->contype == TC_NAMED)
        type = types_.at(type->values.name);
    return type;
}

const TypeCon* NamesOfModel::inside(const TypeCon* type) const {
    type = resolve(type);
    while (const TypeCon* held = held_type(type))
        type = resolve(held);
    return type;
}

bool NamesOfModel::find(const std::string& key, DisplayNames& found) const {
    bool is_known = constants_.contains(key);
    if (labels_.contains(key)) {
        found.emplace(nullptr, *labels_.find(key));
        is_known = true;
    }
    std::string_view rest = key;
    std::string_view name = take_name(rest);
    if (!variables_.contains(name) && variables_.contains(key)) { // a name with a dot in it
        name = key;
        rest = {};
    }
    const auto variable = variables_.find(name);
    if (variable != variables_.end()) is_known |= find_below(variable->second, rest, found);
    const auto type = types_.find(name);
    if (type != types_.end())
        is_known |= find_below({inside(type->second), type->second}, rest, found);
    return is_known;
}

bool NamesOfModel::find_below(const Place& place, std::string_view rest,
                              DisplayNames& found) const {
    if (stack_is_low()) return on_fresh_stack([&] { return find_below(place, rest, found); });
    if (rest.empty()) {
        found.emplace(place.owner, std::string_view());
        return true;
    }
    const TypeCon* type = resolve(place.type);
    if (rest[0] == '.') return find_field({place.owner, type}, rest.substr(1), found);
    if (rest[0] != '[' || type->contype != TC_ARRAY) return false;
    unsigned index = 0;
    const char* end = rest.data() + rest.size();
    const auto [after, error] = std::from_chars(rest.data() + 1, end, index);
    if (error != std::errc() || after == end || *after != ']') return false;
    const int count = call([this, size = type->values.array.size] {
        Project* project = model_.get();
        // It was static where it was declared, but a field may hide the constant that it names.
        return ssem_is_static_expr(project, model_.table(), size)
                   ? ssem_static_evaluate_intexpr(project, model_.table(), size)
                   : 0;
    });
    if (count <= 0 || index >= static_cast<unsigned>(count)) return false;
    return find_below({place.owner, type->values.array.element},
                      std::string_view(after + 1, static_cast<std::size_t>(end - after - 1)),
                      found);
}

bool NamesOfModel::find_field(const Place& place, std::string_view rest,
                              DisplayNames& found) const {
    const TypeCon* type = inside(place.type);
    if (has_label(type, rest)) {
        found.emplace(place.owner, *labels_.find(rest));
        return true;
    }
    const std::string_view name = take_name(rest);
    if (name == "SOME" && place.type->contype == TC_OPTIONAL)
        return find_below({place.owner, place.type->values.base}, rest, found);
    if (type->contype != TC_PROD) return false;
    for (const VarDecl* field : items<VarDecl>(type->values.prod.fields))
        if (name == field->name) return find_below({field, field->typecon}, rest, found);
    return false;
}

std::vector<NeededText> NamesOfModel::needed() const {
    std::vector<NeededText> needed;
    std::set<const VarDecl*> known;
    for (const VarDecl* decl : model_.model().variables())
        add_needed("", decl, known, needed);
    return needed;
}

void NamesOfModel::add_needed(const std::string& before, const VarDecl* decl,
                              std::set<const VarDecl*>& known,
                              std::vector<NeededText>& needed) const {
    if (stack_is_low()) return on_fresh_stack([&] { add_needed(before, decl, known, needed); });
    if (decl->vartype != VARTYPE_PUBLIC || !known.insert(decl).second) return;
    const std::string path = before + decl->name;
    needed.push_back({path, {{decl, {}}}});
    const TypeCon* type = inside(decl->typecon);
    if (type->contype == TC_SUM)
        for (const char* label : items<char>(type->values.labels))
            needed.push_back(
                {path + "." + label, {{decl, label}, {type, label}, {nullptr, label}}});
    if (type->contype != TC_PROD) return;
    for (const VarDecl* field : items<VarDecl>(type->values.prod.fields))
        add_needed(path + ".", field, known, needed);
}

std::vector<std::string_view> NamesOfModel::all() const {
    std::vector<std::string_view> names(constants_.begin(), constants_.end());
    for (const auto& [name, place] : variables_)
        names.push_back(name);
    for (const auto& [name, type] : types_)
        names.push_back(name);
    std::ranges::sort(names);
    return names;
}

} // namespace norvane::driver
