// What may help with a fault of a calculation.
#ifndef NORVANE_PM_CALCULATION_WAYS_OUT_H
#define NORVANE_PM_CALCULATION_WAYS_OUT_H

#include <string_view>
#include <vector>

#include "calculation_names.h"
#include "calculation_places.h"
#include "suggestions.h"

namespace norvane::driver {

class CalculationWaysOut {
  public:
    CalculationWaysOut(const Calculation& calculation, SymbolTable* table, const SourceText& text)
        : calculation_(calculation), table_(table), text_(text), places_(text), names_(calculation),
          suggestions_(text) {}

    // Adds to a fault of an expression in a function: `part` is what the message is about, null
    // where it is about the statement.
    void explain(PlacedFinding& found, const CFunc* func, const CExpr* part);

    // Adds to the finding which namespace a call without one may mean. Returns it, or an empty text
    // if no namespace has such a function.
    std::string_view explain_namespace(PlacedFinding& found, const char* own, const CExpr* call);

  private:
    void say_by_table(PlacedFinding& found) const;
    void undeclared(PlacedFinding& found, const CFunc* func, const CExpr* variable);
    void undeclared_function(PlacedFinding& found, const CExpr* call);
    void signature(PlacedFinding& found, const CExpr* call) const;
    const TypeCon* enumeration_in(TypeCon* type) const;
    void illegal_label(PlacedFinding& found, const CExpr* comparison);
    void narrow(PlacedFinding& found, TokenRange range) const;
    std::vector<std::string_view> names_before(const CPMVar* path, std::size_t& step,
                                               NameData** last) const;

    const Calculation& calculation_;
    SymbolTable* table_;
    const SourceText& text_;
    CalculationPlaces places_;
    CalculationNames names_;
    Suggestions suggestions_;
};

} // namespace norvane::driver

#endif
