// The names of a model that display texts belong to.
#ifndef NORVANE_PM_DISPLAY_NAMES_H
#define NORVANE_PM_DISPLAY_NAMES_H

#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "norvane/proj.hpp"

namespace norvane::driver {

// A variable, a field, a type, or a label of one of these; the label is null for the thing itself.
// A label of no owner stands for that of every type that has it.
using DisplayName = std::pair<const void*, std::string_view>;
using DisplayNames = std::set<DisplayName>;

// What a person meets of a variable: it needs a text by one of these names.
struct NeededText {
    std::string path; // such as "shelves.cooling", or "material.bronze"
    std::vector<DisplayName> names;
};

class NamesOfModel {
  public:
    explicit NamesOfModel(const CheckedModel& model); // which is borrowed

    // Adds what a key names to `found`: a variable or a part of one, with or without its indices
    // and SOME; a type or its field; a constant; a label, alone or after one of these. False if it
    // names nothing.
    bool find(const std::string& key, DisplayNames& found) const;
    // What public variables need, each variable, field and label once.
    std::vector<NeededText> needed() const;
    // The variables, types and constants.
    std::vector<std::string_view> all() const;

  private:
    struct Place {
        const void* owner;
        const TypeCon* type;
    };
    void find_labels();
    const TypeCon* resolve(const TypeCon* type) const;
    // The type of the elements, or of what is optional, however deep.
    const TypeCon* inside(const TypeCon* type) const;
    bool find_below(const Place& place, std::string_view rest, DisplayNames& found) const;
    bool find_field(const Place& place, std::string_view rest, DisplayNames& found) const;
    void add_needed(const std::string& before, const VarDecl* decl, std::set<const VarDecl*>& known,
                    std::vector<NeededText>& needed) const;

    const CheckedModel& model_;
    std::unordered_map<std::string_view, Place> variables_;
    std::unordered_map<std::string_view, const TypeCon*> types_;
    std::set<std::string_view> constants_;
    std::set<std::string_view> labels_;
};

} // namespace norvane::driver

#endif
