#include "expressions.h"

#include <stdexcept>

namespace norvane::python {
namespace {

// The operators as in PM; null for the tags of constants.
const char* operator_text(const Expr* expr) {
    switch (norvane::operator_of(expr)) {
    case OPR_AND: return "and";
    case OPR_OR: return "or";
    case OPR_XOR: return "xor";
    case OPR_NOT: return "not";
    case OPR_IMPLIES: return "->";
    case OPR_BIIMPLIES: return "<->";
    case OPR_PLUS: return "+";
    case OPR_MINUS: return "-";
    case OPR_TIMES: return "*";
    case OPR_DIV: return "/";
    case OPR_LT: return "<";
    case OPR_LE: return "<=";
    case OPR_GT: return ">";
    case OPR_GE: return ">=";
    case OPR_EQ:
    case OPR_UBOUND_EQ: return "=";
    case OPR_NEQ: return "<>";
    case OPR_SHL: return "<<";
    case OPR_SHR: return ">>";
    case OPR_FORALL: return "forall";
    case OPR_EXIST: return "exist";
    case OPR_SUM: return "sum";
    case OPR_PROD: return "product";
    case OPR_ORDER: return "order";
    case OPR_BOOLCONST:
    case OPR_INTCONST:
    case OPR_FLOATCONST:
    case OPR_NONE: return nullptr;
    }
    return nullptr;
}

const char* kind_of(const Expression& expression) {
    switch (structure_of(expression.expr)) {
    case EXPR_BINARY: return "binary";
    case EXPR_UNARY: return "unary";
    case EXPR_IDCONSTRUCTOR: return "name";
    case EXPR_INT_CONST: return expression.expr->opr == OPR_BOOLCONST ? "boolean" : "integer";
    case EXPR_STRING_CONST: return "string";
    case EXPR_FLOAT_CONST: return "float";
    case EXPR_ITE: return "if";
    case EXPR_RANGE: return "loop";
    case EXPR_CASE: return "case";
    }
    throw std::logic_error("an expression of an unknown kind");
}

py::object operator_of(const Expression& expression) {
    const char* text = operator_text(expression.expr);
    return text ? py::object(py::str(text)) : py::none();
}

py::object value_of_constant(const Expression& expression) {
    const Expr& expr = *expression.expr;
    switch (structure_of(&expr)) {
    case EXPR_INT_CONST:
        if (expr.opr == OPR_BOOLCONST) return py::bool_(expr.args.intconst.value != 0);
        return py::int_(expr.args.intconst.value);
    case EXPR_FLOAT_CONST: return py::float_(expr.args.floatconst.value);
    case EXPR_STRING_CONST: return text_of(expr.args.str);
    case EXPR_BINARY:
    case EXPR_UNARY:
    case EXPR_IDCONSTRUCTOR:
    case EXPR_ITE:
    case EXPR_RANGE:
    case EXPR_CASE: break;
    }
    return py::none();
}

// Calls `visit` with each step of a path: simple names and arrays.
template <typename Visit>
void for_each_step(const IdCon* idcon, Visit visit) {
    for (; idcon->contype == IDCON_COMPOSIT; idcon = idcon->args.compositid.nested)
        visit(idcon->args.compositid.hier);
    visit(idcon);
}

const IdCon* path_in(const Expr& expr) {
    if (expr.structure == EXPR_IDCONSTRUCTOR) return expr.args.idcon;
    return expr.structure == EXPR_CASE ? expr.args.caseexpr.casevar : nullptr;
}

// The names of a path, each with its indices.
py::list path_of(const Expression& expression) {
    py::list steps;
    const IdCon* path = path_in(*expression.expr);
    if (!path) return steps;
    for_each_step(path, [&](const IdCon* step) {
        py::list indices;
        if (step->contype == IDCON_ARRAY)
            for (Expr* index : items<Expr>(step->args.array.exprlist))
                indices.append(Expression{expression.owner, index});
        steps.append(py::make_tuple(text_of(step->args.id.idname), indices));
    });
    return steps;
}

py::list arguments_of(const Expression& expression) {
    const Expr& expr = *expression.expr;
    py::list list;
    const auto add = [&](Expr* child) { list.append(Expression{expression.owner, child}); };
    switch (structure_of(&expr)) {
    case EXPR_BINARY:
        add(expr.args.binargs.leftarg);
        add(expr.args.binargs.rightarg);
        break;
    case EXPR_UNARY: add(expr.args.arg); break;
    case EXPR_ITE:
        add(expr.args.ite.logictest);
        add(expr.args.ite.trueexpr);
        add(expr.args.ite.falseexpr);
        break;
    case EXPR_RANGE:
        add(expr.args.range.rangebegin);
        add(expr.args.range.rangeend);
        add(expr.args.range.lambdaexpr);
        break;
    case EXPR_CASE: {
        const PolyListNode* value = expr.args.caseexpr.exprlist_evaluation->first;
        for (Expr* condition : items<Expr>(expr.args.caseexpr.exprlist_condition)) {
            add(condition);
            add(static_cast<Expr*>(value->element));
            value = value->next;
        }
        add(expr.args.caseexpr.default_expr);
        break;
    }
    case EXPR_IDCONSTRUCTOR:
    case EXPR_INT_CONST:
    case EXPR_STRING_CONST:
    case EXPR_FLOAT_CONST: break;
    }
    return list;
}

template <typename Print>
py::str printed_text(Print print) {
    const std::string text = locked([&] { return printed(print); });
    return text_of(text.c_str());
}

py::str text_of_expression(const Expression& expression) {
    return printed_text([&](UtilString* to) { ppm_printn_expr_str(expression.expr, to, -1); });
}

py::str text_of_type(const Type& type) {
    return printed_text([&](UtilString* to) { ppm_print_typecon_str(type.typecon, to); });
}

const char* type_kind(const Type& type) {
    switch (norvane::kind_of(type.typecon)) {
    case TC_BOOL: return "boolean";
    case TC_INT: return "range";
    case TC_UBOUND_FLOAT: return "float";
    case TC_UBOUND_INTEGER: return "integer";
    case TC_STRING: return "string";
    case TC_PROD: return "record";
    case TC_SUM: return "enumeration";
    case TC_ARRAY: return "array";
    case TC_NAMED: return "named";
    case TC_OPTIONAL: return "optional";
    }
    throw std::logic_error("a type of an unknown kind");
}

py::object name_of_type(const Type& type) {
    if (type.typecon->contype != TC_NAMED) return py::none();
    return text_of(type.typecon->values.name);
}

PolyList* labels_in(const TypeCon& typecon) {
    switch (norvane::kind_of(&typecon)) {
    case TC_SUM: return typecon.values.labels;
    case TC_UBOUND_FLOAT: return typecon.values.enum_float.labellist;
    case TC_UBOUND_INTEGER: return typecon.values.enum_int.labellist;
    case TC_STRING: return typecon.values.enum_string.labellist;
    case TC_BOOL:
    case TC_INT:
    case TC_PROD:
    case TC_ARRAY:
    case TC_NAMED:
    case TC_OPTIONAL: break;
    }
    return nullptr;
}

py::list labels_of(const Type& type) {
    py::list list;
    if (const PolyList* labels = labels_in(*type.typecon))
        for (const char* label : items<const char>(labels))
            list.append(text_of(label));
    return list;
}

py::object bound_of(const Type& type) {
    const TypeCon& typecon = *type.typecon;
    if (typecon.contype == TC_INT) return py::cast(Expression{type.owner, typecon.values.upper});
    if (typecon.contype == TC_ARRAY)
        return py::cast(Expression{type.owner, typecon.values.array.size});
    return py::none();
}

py::object element_of(const Type& type) {
    const TypeCon& typecon = *type.typecon;
    if (typecon.contype == TC_ARRAY)
        return py::cast(Type{type.owner, typecon.values.array.element});
    if (typecon.contype == TC_OPTIONAL) return py::cast(Type{type.owner, typecon.values.base});
    return py::none();
}

} // namespace

void add_expressions(py::module_& module) {
    py::class_<Expression>(module, "Expression",
                           "An expression of a model, or a part of one. str() is its source.")
        .def_property_readonly(
            "kind", kind_of,
            "\"binary\", \"unary\", \"name\", \"boolean\", \"integer\", \"float\", "
            "\"string\", \"if\", \"loop\" or \"case\".")
        .def_property_readonly("operator", operator_of,
                               "The operator as the language writes it, or None.")
        .def_property_readonly(
            "args", arguments_of,
            "The expressions that it is made of: both sides; the condition and the "
            "branches; the bounds and the body of a loop; each label and value of a "
            "case, and its default.")
        .def_property_readonly(
            "path", path_of,
            "The names that a name is made of, or those of the variable of a case, "
            "each with the list of its indices.")
        .def_property_readonly("value", value_of_constant, "The value of a constant, or None.")
        .def_property_readonly(
            "loop_variable",
            [](const Expression& e) {
                return e.expr->structure == EXPR_RANGE
                           ? py::object(text_of(e.expr->args.range.lambdavar))
                           : py::none();
            },
            "The variable of a loop, or None.")
        .def("__str__", text_of_expression)
        .def("__repr__", [](const Expression& e) {
            return py::str("<norvane.Expression {}>").format(text_of_expression(e));
        });
    py::class_<Type>(module, "Type", "The type of a variable. str() is its source.")
        .def_property_readonly(
            "kind", type_kind,
            "\"boolean\", \"range\", \"integer\", \"float\", \"string\", \"enumeration\", "
            "\"record\", \"array\", \"optional\" or \"named\".")
        .def_property_readonly("name", name_of_type, "The name of a named type, or None.")
        .def_property_readonly(
            "labels", labels_of,
            "The labels of an enumeration; of an unbounded type those of its classes, "
            "which the check makes.")
        .def_property_readonly("bound", bound_of,
                               "The largest value of a range, the size of an array, or None.")
        .def_property_readonly(
            "element", element_of,
            "The type of the elements of an array or of an optional's value, or None.")
        .def("__str__", text_of_type)
        .def("__repr__",
             [](const Type& t) { return py::str("<norvane.Type {}>").format(text_of_type(t)); });
}

} // namespace norvane::python
