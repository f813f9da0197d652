// The words of the XML form of calculations: elements, types and operators, shared by writer and
// reader.
#ifndef NORVANE_PROJ_CALC_XML_NAMES_H
#define NORVANE_PROJ_CALC_XML_NAMES_H

#include <cstddef>
#include <cstring>
#include <iterator>

#include "norvane/proj/calc.h"

namespace norvane::calculations {

// The elements. Those of statements are IteStmt to ExternalStmt, those of expressions Lvar to Bop.
enum class Tag : unsigned char {
    mu,
    calculation,
    ns,
    function,
    def_value,
    arg,
    vardef,
    case_label,
    default_label,
    opt_expr,
    stmt,
    ite_stmt,
    block_stmt,
    expr_stmt,
    switch_stmt,
    while_stmt,
    do_stmt,
    for_stmt,
    return_stmt,
    break_stmt,
    external_stmt,
    expr,
    lvar,
    pmvar,
    int_const,
    float_const,
    string_const,
    false_const,
    true_const,
    ite_expr,
    call,
    uop,
    bop,
};

inline constexpr const char* tag_names[] = {
    "mu",          "calculation", "namespace",     "function",   "def_value", "arg",
    "vardef",      "case_label",  "default_label", "opt_expr",   "stmt",      "ite_stmt",
    "block_stmt",  "expr_stmt",   "switch_stmt",   "while_stmt", "do_stmt",   "for_stmt",
    "return_stmt", "break_stmt",  "external_stmt", "expr",       "lvar",      "pmvar",
    "int_const",   "float_const", "string_const",  "false",      "true",      "ite_expr",
    "call",        "uop",         "bop",
};
static_assert(std::size(tag_names) == static_cast<std::size_t>(Tag::bop) + 1);

constexpr const char* tag_name(Tag tag) {
    return tag_names[static_cast<std::size_t>(tag)];
}

// The words of types, indexed by CalcType, and of operators, indexed by COprType. They differ from
// those of source. An undefined type is never written.
inline constexpr const char* type_words[] = {nullptr, "bool", "int", "float", "string", "void"};
static_assert(std::size(type_words) == CTYPE_VOID + 1);

inline constexpr const char* operator_words[] = {
    "not", "minus", "eq",  "lt",  "gt", "neq", "gteq", "lteq",  "plus", "mult",
    "div", "mod",   "exp", "and", "or", "xor", "imp",  "biimp", "def",  "assign",
};
static_assert(std::size(operator_words) == COPR_ASSIGN + 1);

// The word with this index, or null.
template <std::size_t size>
const char* word_of(const char* const (&words)[size], unsigned number) {
    return number < size ? words[number] : nullptr;
}

// The index of a word, or -1.
template <std::size_t size>
int number_of(const char* const (&words)[size], const char* word) {
    for (std::size_t i = 0; i < size; ++i)
        if (words[i] && std::strcmp(words[i], word) == 0) return static_cast<int>(i);
    return -1;
}

} // namespace norvane::calculations

#endif
