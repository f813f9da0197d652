// What may help with a fault: the name that was meant, where something is declared, what to write.
#ifndef NORVANE_PM_WAYS_OUT_H
#define NORVANE_PM_WAYS_OUT_H

#include <string>
#include <unordered_map>

#include "norvane/proj.hpp"

#include "fault_place.h"
#include "placed_finding.h"
#include "record_places.h"
#include "suggestions.h"

namespace norvane::driver {

class WaysOut {
  public:
    WaysOut(const Project* project, SymbolTable* table, RecordPlaces& places,
            const SourceText& text);

    // Adds a hint to a fault of an expression. Call it while the symbol table still has the scope
    // of the expression. `operand` is the subexpression that was checked alone.
    void explain(PlacedFinding& found, const Report& report, const Expr* root, const Expr* operand,
                 const Subject& subject, TokenRange range);
    // Adds to a name that is not a type.
    void explain_type(PlacedFinding& found, std::string_view name, TokenRange range);

  private:
    struct Later {
        const void* declaration;
        NameDataType kind; // ND_INT for a constant
    };

    void unary_operand(PlacedFinding& found, const Expr* unary, TokenRange range);
    void undeclared_field(PlacedFinding& found, std::string_view name, const Subject& subject,
                          TokenRange range);
    void list_fields(PlacedFinding& found, std::vector<std::string_view> names);
    bool is_before_label(std::size_t token);
    // True for a name that is declared, but not where it is used.
    bool declared_elsewhere(PlacedFinding& found, std::string_view name);
    bool follows_arrow(std::size_t token) const;
    void explain_use(PlacedFinding& found, std::string_view report, const Expr* expr,
                     TokenRange range);
    void undeclared(PlacedFinding& found, std::string_view name, const Expr* operand,
                    const Subject& subject, TokenRange range);
    void unknown_value(PlacedFinding& found, std::string_view name, const Expr* operand,
                       const Subject& subject, TokenRange range);
    void operands(PlacedFinding& found, const Expr* root, const Expr* binary);
    void number_operands(PlacedFinding& found, const Expr* binary);
    void unbounded_operands(PlacedFinding& found, const Expr* binary);
    bool optional_operand(PlacedFinding& found, const Expr* root, const Expr* operand,
                          const Expr* other, bool is_condition);
    void incomplete_comparison(PlacedFinding& found, const Expr* root, const Expr* binary);
    void arm(PlacedFinding& found, const IdCon* selector, const Expr* value);
    void label_of(PlacedFinding& found, const char* variable, const Expr* text);
    void labels(PlacedFinding& found, const Expr* label);
    void declared_here(PlacedFinding& found, const Expr* expr);
    void array_here(PlacedFinding& found, std::string_view name);
    // The type of an array of this name; null for what is none.
    const TypeCon* array_type(std::string name);
    void suggest_visible(PlacedFinding& found, std::string_view name, std::size_t token,
                         bool types);
    std::vector<std::string_view> visible_names(bool types) const;
    const PolyHash* environment_of(IdCon* path, const IdCon* step);

    LineInfo* line_info_;
    SymbolTable* table_;
    RecordPlaces& places_;
    const SourceText& text_;
    std::unordered_map<std::string_view, Later> declared_; // all that the sections declare
    bool are_too_many_[2] = {};                            // the visible names; the types
    Suggestions suggestions_;
};

} // namespace norvane::driver

#endif
