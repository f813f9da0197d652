// The words of the XML form of calculations: elements, types and operators, shared by writer and
// reader.
#ifndef NORVANE_PROJ_CALC_XML_NAMES_H
#define NORVANE_PROJ_CALC_XML_NAMES_H

#include <cstddef>
#include <cstring>
#include <iterator>

#include "norvane/proj/calc.h"

namespace norvane {

// The elements. The kinds of expression are those from Lvar on.
enum class CalcTag : unsigned char {
    Mu,
    Calculation,
    Namespace,
    Function,
    DefValue,
    Arg,
    VarDef,
    Stmt,
    IteStmt,
    BlockStmt,
    ExprStmt,
    SwitchStmt,
    CaseLabel,
    DefaultLabel,
    WhileStmt,
    DoStmt,
    ForStmt,
    OptExpr,
    ReturnStmt,
    BreakStmt,
    ExternalStmt,
    Expr,
    Lvar,
    PmVar,
    IntConst,
    FloatConst,
    StringConst,
    False,
    True,
    IteExpr,
    Call,
    Uop,
    Bop,
};

inline constexpr const char* calc_tag_names[] = {
    "mu",          "calculation",   "namespace",     "function",   "def_value", "arg",
    "vardef",      "stmt",          "ite_stmt",      "block_stmt", "expr_stmt", "switch_stmt",
    "case_label",  "default_label", "while_stmt",    "do_stmt",    "for_stmt",  "opt_expr",
    "return_stmt", "break_stmt",    "external_stmt", "expr",       "lvar",      "pmvar",
    "int_const",   "float_const",   "string_const",  "false",      "true",      "ite_expr",
    "call",        "uop",           "bop",
};
static_assert(std::size(calc_tag_names) == static_cast<std::size_t>(CalcTag::Bop) + 1);

constexpr const char* tag_name(CalcTag tag) {
    return calc_tag_names[static_cast<std::size_t>(tag)];
}

// The words of types and operators, by their numbers; not those of the source language. What is
// never declared has none.
inline constexpr const char* calc_type_words[] = {nullptr, "bool",   "int",
                                                  "float", "string", "void"};

inline constexpr const char* calc_operator_words[] = {
    "not", "minus", "eq",  "lt",  "gt", "neq", "gteq", "lteq",  "plus", "mult",
    "div", "mod",   "exp", "and", "or", "xor", "imp",  "biimp", "def",  "assign",
};
static_assert(std::size(calc_operator_words) == COPR_ASSIGN + 1);

// The word of a number, or null.
template <std::size_t size>
const char* word_of(const char* const (&words)[size], unsigned number) {
    return number < size ? words[number] : nullptr;
}

// The number of a word, or -1.
template <std::size_t size>
int number_of(const char* const (&words)[size], const char* word) {
    for (std::size_t i = 0; i < size; ++i)
        if (words[i] && std::strcmp(words[i], word) == 0) return static_cast<int>(i);
    return -1;
}

} // namespace norvane

#endif
