// The words of the product-model XML: operators and tags, shared by writer and reader.
#ifndef NORVANE_PROJ_XML_NAMES_H
#define NORVANE_PROJ_XML_NAMES_H

#include <string_view>

#include "norvane/proj/expr.h"

namespace norvane {

// Which element an operator belongs to.
enum class XmlOperatorUse : unsigned char { Binary, BinaryAndUnary, Unary, Range };

struct XmlOperator {
    const char* name;
    OprTypes opr;
    XmlOperatorUse use;
    bool flattened; // the writer gives one element to a whole tree of this operator
};

// Division, the shifts and the equation of unbounded variables have no name: they cannot be
// written.
inline constexpr XmlOperator xml_operators[] = {
    {"and", OPR_AND, XmlOperatorUse::Binary, true},
    {"or", OPR_OR, XmlOperatorUse::Binary, true},
    {"xor", OPR_XOR, XmlOperatorUse::Binary, true},
    {"not", OPR_NOT, XmlOperatorUse::Unary, false},
    {"imp", OPR_IMPLIES, XmlOperatorUse::Binary, false},
    {"biimp", OPR_BIIMPLIES, XmlOperatorUse::Binary, false},
    {"plus", OPR_PLUS, XmlOperatorUse::Binary, true},
    {"minus", OPR_MINUS, XmlOperatorUse::BinaryAndUnary, false},
    {"mult", OPR_TIMES, XmlOperatorUse::Binary, true},
    {"lt", OPR_LT, XmlOperatorUse::Binary, false},
    {"lteq", OPR_LE, XmlOperatorUse::Binary, false},
    {"gr", OPR_GT, XmlOperatorUse::Binary, false},
    {"greq", OPR_GE, XmlOperatorUse::Binary, false},
    {"eq", OPR_EQ, XmlOperatorUse::Binary, false},
    {"neq", OPR_NEQ, XmlOperatorUse::Binary, false},
    {"forall", OPR_FORALL, XmlOperatorUse::Range, false},
    {"exist", OPR_EXIST, XmlOperatorUse::Range, false},
    {"sum", OPR_SUM, XmlOperatorUse::Range, false},
    {"prod", OPR_PROD, XmlOperatorUse::Range, false},
    {"order", OPR_ORDER, XmlOperatorUse::Unary, false},
};

// True if an operator of this use may stand where `place` is asked for.
constexpr bool xml_operator_fits(XmlOperatorUse use, XmlOperatorUse place) {
    if (use == place) return true;
    return use == XmlOperatorUse::BinaryAndUnary && place != XmlOperatorUse::Range;
}

// The row of an operator in an element of the given use, or null.
inline const XmlOperator* xml_operator(unsigned opr, XmlOperatorUse place) {
    for (const XmlOperator& row : xml_operators)
        if (static_cast<unsigned>(row.opr) == opr && xml_operator_fits(row.use, place)) return &row;
    return nullptr;
}

inline const XmlOperator* xml_operator(std::string_view name, XmlOperatorUse place) {
    for (const XmlOperator& row : xml_operators)
        if (row.name == name && xml_operator_fits(row.use, place)) return &row;
    return nullptr;
}

} // namespace norvane

#endif
