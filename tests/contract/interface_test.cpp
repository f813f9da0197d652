// What programs that were built against an older version of the libraries rely on: the size of each
// public record and the kind and place of each field, the value of each enumerator, and the
// signature of each exported function. After a change that is wanted, and that the version tells,
// change the expectations here; what is only added at the end of an enumeration needs none.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include <gtest/gtest.h>

#include "norvane/base.h"
#include "norvane/base/packages.hpp"
#include "norvane/base/sax_include.hpp"
#include "norvane/proj.h"

namespace {

struct Field {
    char kind;
    std::size_t size, alignment, offset;
};

template <typename T>
constexpr Field field(std::size_t offset) {
    const char kind = std::is_pointer_v<T>                    ? 'p'
                      : std::is_enum_v<T>                     ? 'e'
                      : std::is_same_v<T, unsigned char>      ? 'b'
                      : std::is_same_v<T, bool>               ? 'o'
                      : std::is_same_v<T, int>                ? 'i'
                      : std::is_same_v<T, unsigned>           ? 'u'
                      : std::is_same_v<T, std::size_t>        ? 'z'
                      : std::is_same_v<T, unsigned long long> ? 'l'
                      : std::is_same_v<T, double>             ? 'd'
                      : std::is_same_v<T, char[2048]>         ? 't'
                                                              : 'r'; // another record, or several
    return {kind, sizeof(T), alignof(T), offset};
}

// The fields are of these kinds, and follow each other from `place` with nothing but padding
// between.
constexpr bool follow(std::size_t place, std::string_view kinds,
                      std::initializer_list<Field> fields) {
    if (kinds.size() != fields.size()) return false;
    for (const char* kind = kinds.data(); const Field& next : fields) {
        place = (place + next.alignment - 1) / next.alignment * next.alignment;
        if (next.kind != *kind++ || next.offset != place) return false;
        place += next.size;
    }
    return true;
}

// The fields are of these kinds, and all begin at `place`.
constexpr bool share(std::size_t place, std::string_view kinds,
                     std::initializer_list<Field> fields) {
    for (const char* kind = kinds.data(); const Field& next : fields)
        if (next.kind != *kind++ || next.offset != place) return false;
    return kinds.size() == fields.size();
}

#define EXPAND(...) EXPAND2(EXPAND2(EXPAND2(__VA_ARGS__)))
#define EXPAND2(...) EXPAND1(EXPAND1(EXPAND1(__VA_ARGS__)))
#define EXPAND1(...) __VA_ARGS__
#define AGAIN() EACH
#define EACH(type, member, ...)                                                                    \
    field<decltype(type::member)>(offsetof(type, member)),                                         \
        __VA_OPT__(AGAIN PARENTHESES(type, __VA_ARGS__))
#define PARENTHESES ()
#define LIST(type, ...)                                                                            \
    { EXPAND(EACH(type, __VA_ARGS__)) }
// RECORD(type, size, kinds, fields ...), of all fields but those of a union in it;
#define RECORD(type, size, kinds, ...)                                                             \
    static_assert(sizeof(type) == (size) && follow(0, kinds, LIST(type, __VA_ARGS__)))
// FIELDS(type, place, kinds, fields ...), which follow each other from there;
#define FIELDS(type, place, kinds, ...) static_assert(follow(place, kinds, LIST(type, __VA_ARGS__)))
// ALTERNATIVES(type, place, kinds, fields ...), of a union that begins there.
#define ALTERNATIVES(type, place, kinds, ...)                                                      \
    static_assert(share(place, kinds, LIST(type, __VA_ARGS__)))

RECORD(PolyValue, 8, "d", number);
RECORD(PolyChunk, 24, "ipp", count, elements, compare);
RECORD(IntChunk, 16, "ip", count, elements);
RECORD(PolyListNode, 16, "pp", element, next);
RECORD(PolyList, 48, "ppuppp", first, last, len, compare, copy, delete_element);
RECORD(UtilString, 24, "pzz", text, length, capacity);
RECORD(ErrorDescRun, 32, "eppp", kind, text, document, anchor);
RECORD(ErrorDescParagraph, 16, "ep", align, runs);
RECORD(ErrorInfo, 6160, "ttpti", name, message, paragraphs, file, line);
RECORD(ExceptionState, 4104, "itit", kind, file, line, message);
RECORD(ExceptionFrame, 216, "ppr", previous, state, buffer);
RECORD(PolyHash, 64, "uppppppp", size, core, compare, copy_key, copy_value, hash, delete_key,
       delete_value);
RECORD(IntHash, 48, "uppppp", size, core, compare, copy, hash, delete_key);
RECORD(PolyHashIter, 16, "pu", hash, position);
RECORD(IntHashIter, 16, "pu", hash, position);
RECORD(MsgProgress, 32, "iiipi", started, job, kind, text, status);
RECORD(PolySet, 48, "uppppp", size, core, compare, copy, hash, delete_element);
RECORD(IntSet, 24, "upp", size, core, hash);
RECORD(PolySetIter, 16, "pu", set, position);
RECORD(IntSetIter, 16, "pu", set, position);
RECORD(WorkMark, 48, "epllll", kind, subject, turn, turns, units, watched);
RECORD(XmlDocument, 32, "pppp", dtd, root, xsl, arena);
RECORD(XmlNodeIter, 24, "ppi", parent, current, skip_blank_texts);
RECORD(CPMVar, 24, "ppp", name, arr_indices, nested);
RECORD(CExpr, 32, "ei", structure, line_no);
ALTERNATIVES(CExpr, 8, "ppidpi", args.lvar_name, args.pmvar, args.int_value, args.float_value,
             args.string_value, args.bool_value);
FIELDS(CExpr, 8, "ep", args.uop.opr, args.uop.arg);
FIELDS(CExpr, 8, "epp", args.bop.opr, args.bop.left_arg, args.bop.right_arg);
FIELDS(CExpr, 8, "ppp", args.ite.cond, args.ite.then_expr, args.ite.else_expr);
FIELDS(CExpr, 8, "ppp", args.call.ns_name, args.call.fname, args.call.args);
RECORD(CCase, 16, "pp", expr, stmts);
RECORD(CStmt, 40, "ei", structure, line_no);
FIELDS(CStmt, 8, "ppp", args.ite.cond, args.ite.then_stmt, args.ite.else_stmt);
ALTERNATIVES(CStmt, 8, "pppp", args.block_stmts, args.expr, args.return_value, args.external_ref);
FIELDS(CStmt, 8, "ppp", args.switch_args.switch_value, args.switch_args.cases,
       args.switch_args.default_case);
FIELDS(CStmt, 8, "pp", args.while_args.cond, args.while_args.stmt);
FIELDS(CStmt, 8, "pp", args.do_args.cond, args.do_args.stmt);
FIELDS(CStmt, 8, "pppp", args.for_args.init, args.for_args.cond, args.for_args.incr,
       args.for_args.stmt);
RECORD(CFuncArg, 16, "pei", name, type, line_no);
RECORD(CFuncLVar, 24, "piep", name, line_no, type, init);
RECORD(CFunc, 56, "ppiepppp", name, filename, line_no, type, def_value, args, vardefs, stmts);
RECORD(CNameSpace, 24, "ppp", name, functions, func_list);
RECORD(IdCon, 24, "bu", contype, linenumber);
FIELDS(IdCon, 8, "p", args.id.idname);
FIELDS(IdCon, 8, "pp", args.array.idname, args.array.exprlist);
FIELDS(IdCon, 8, "pp", args.compositid.hier, args.compositid.nested);
RECORD(Expr, 40, "bbbu", structure, opr, type, linenumber);
FIELDS(Expr, 8, "pp", args.binargs.leftarg, args.binargs.rightarg);
ALTERNATIVES(Expr, 8, "ppp", args.arg, args.idcon, args.str);
FIELDS(Expr, 8, "i", args.intconst.value);
FIELDS(Expr, 8, "d", args.floatconst.value);
FIELDS(Expr, 8, "ppp", args.ite.logictest, args.ite.trueexpr, args.ite.falseexpr);
FIELDS(Expr, 8, "pppp", args.range.lambdavar, args.range.rangebegin, args.range.rangeend,
       args.range.lambdaexpr);
FIELDS(Expr, 8, "pppp", args.caseexpr.casevar, args.caseexpr.exprlist_condition,
       args.caseexpr.exprlist_evaluation, args.caseexpr.default_expr);
RECORD(TypeCon, 48, "bu", contype, linenumber);
ALTERNATIVES(TypeCon, 8, "pppp", values.upper, values.labels, values.name, values.base);
FIELDS(TypeCon, 8, "ppp", values.enum_float.float_set, values.enum_float.value_index,
       values.enum_float.labellist);
FIELDS(TypeCon, 8, "ppp", values.enum_int.int_set, values.enum_int.value_index,
       values.enum_int.labellist);
FIELDS(TypeCon, 8, "ppp", values.enum_string.string_set, values.enum_string.value_index,
       values.enum_string.labellist);
FIELDS(TypeCon, 8, "pp", values.prod.fields, values.prod.rules);
FIELDS(TypeCon, 8, "pp", values.array.size, values.array.element);
FIELDS(TypeCon, 32, "pu", p, rank);
RECORD(TypeDecl, 24, "upp", linenumber, name, typecon);
RECORD(VarDecl, 32, "upep", linenumber, name, vartype, typecon);
RECORD(ConstantDecl, 24, "upp", linenumber, name, value);
RECORD(RuleDecl, 32, "uppp", linenumber, comment, source_info, rule);
RECORD(LineInfo, 16, "pp", filename, files);
RECORD(Project, 64, "pppppppp", name, description, filename, constantdecllist, typedecllist,
       vardecllist, ruledecllist, line_info);
RECORD(NameData, 32, "b", ndtype);
ALTERNATIVES(NameData, 8, "idpp", int_value, float_value, string_value, typecon);
ALTERNATIVES(NameData, 16, "ip", label_index, environment);
FIELDS(NameData, 24, "ib", is_public, value_type);
RECORD(SymbolTable, 16, "pp", global_table, local_table);
RECORD(CFuncSignatureArg, 16, "pe", name, type);
RECORD(CFuncSignature, 104, "eppr", type, ns_name, fn_name, args);
RECORD(ZEBTarget, 40, "pippp", name, timeout, options, precmds, postcmds);
RECORD(ZEBProject, 96, "pppppppppppp", name, main_file, virtual_table, defines, includes, pm_files,
       pres_files, calc_files, table_files, var_order_files, targets, fileincludes);
RECORD(ZEBWorkspace, 16, "pp", filename, projects);
RECORD(ChildTag, 16, "pe", tag, state);
RECORD(StackData, 32, "ppzio", data, row, attrs, line_no, is_closed);
RECORD(SaxChildren, 16, "pz", first, count);
RECORD(SaxTag, 32, "pppp", tag, valid_tags, handler, delete_data);
static_assert(sizeof(NorvaneCpp::String) == 16 && sizeof(NorvaneCpp::CFilePtr) == 8 &&
              sizeof(NorvaneCpp::CFilePackage) == 16 && sizeof(NorvaneCpp::CMubPackage) == 24 &&
              sizeof(NorvaneCpp::CMubPackageModel) == 24);

// The enumerators have the values 0, 1, 2, ..., or those from another `first` one on.
constexpr bool count(std::initializer_list<int> enumerators, int first = 0) {
    for (const int value : enumerators)
        if (value != first++) return false;
    return true;
}

static_assert(count({TC_BOOL, TC_INT, TC_UBOUND_FLOAT, TC_UBOUND_INTEGER, TC_STRING, TC_PROD,
                     TC_SUM, TC_ARRAY, TC_NAMED, TC_OPTIONAL}));
static_assert(count({CTYPE_UNDEF, CTYPE_BOOL, CTYPE_INT, CTYPE_FLOAT, CTYPE_STRING, CTYPE_VOID}));
static_assert(count({COPR_NOT,  COPR_MINUS, COPR_EQ,   COPR_LT,    COPR_GT,  COPR_NEQ,   COPR_GTEQ,
                     COPR_LTEQ, COPR_PLUS,  COPR_MULT, COPR_DIV,   COPR_MOD, COPR_EXP,   COPR_AND,
                     COPR_OR,   COPR_XOR,   COPR_IMP,  COPR_BIIMP, COPR_DEF, COPR_ASSIGN}));
static_assert(count({CEXPR_LVAR, CEXPR_PMVAR, CEXPR_INT_CONST, CEXPR_FLOAT_CONST,
                     CEXPR_STRING_CONST, CEXPR_BOOL_CONST, CEXPR_UOP, CEXPR_BOP, CEXPR_ITE,
                     CEXPR_CALL}));
static_assert(count({CSTMT_ITE, CSTMT_BLOCK, CSTMT_EXPR, CSTMT_SWITCH, CSTMT_WHILE, CSTMT_DO,
                     CSTMT_FOR, CSTMT_RETURN, CSTMT_BREAK, CSTMT_EXTERNAL}));
static_assert(count({EXPR_BINARY, EXPR_UNARY, EXPR_IDCONSTRUCTOR, EXPR_INT_CONST, EXPR_STRING_CONST,
                     EXPR_FLOAT_CONST, EXPR_ITE, EXPR_RANGE, EXPR_CASE}));
static_assert(count({OPR_AND,       OPR_OR,        OPR_XOR,       OPR_NOT,      OPR_IMPLIES,
                     OPR_BIIMPLIES, OPR_PLUS,      OPR_MINUS,     OPR_TIMES,    OPR_DIV,
                     OPR_LT,        OPR_LE,        OPR_GT,        OPR_GE,       OPR_EQ,
                     OPR_NEQ,       OPR_SHL,       OPR_SHR,       OPR_FORALL,   OPR_EXIST,
                     OPR_SUM,       OPR_PROD,      OPR_BOOLCONST, OPR_INTCONST, OPR_FLOATCONST,
                     OPR_ORDER,     OPR_UBOUND_EQ, OPR_NONE}));
static_assert(count({ETYPE_UNDEF, ETYPE_BOOL, ETYPE_INT, ETYPE_SUM, ETYPE_PROD, ETYPE_ARRAY,
                     ETYPE_OPTIONAL, ETYPE_ENUM_FLOAT, ETYPE_ENUM_INTEGER, ETYPE_STRING}));
static_assert(count({IDCON_SIMPLE, IDCON_ARRAY, IDCON_COMPOSIT}));
static_assert(count({VARTYPE_PRIVATE, VARTYPE_PUBLIC}));
static_assert(count({ND_BOOL, ND_INT, ND_FLOAT, ND_STRING, ND_LABEL, ND_TYPE, ND_VARIABLE}));
static_assert(count({ZEB_FILE_PM, ZEB_FILE_PRES, ZEB_FILE_VAR_ORDER, ZEB_FILE_CALC,
                     ZEB_FILE_TABLE}));
static_assert(count({ZEB_CMD_CHECK, ZEB_CMD_BUILD, ZEB_CMD_VIEW, ZEB_CMD_DEPLOY, ZEB_CMD_PPL,
                     ZEB_CMD_OPTIMIZE, ZEB_CMD_ERP_RELAY}));
static_assert(count({FILETYPE_UNKNOWN, FILETYPE_PM, FILETYPE_XML, FILETYPE_CL, FILETYPE_ZEB,
                     FILETYPE_MU, FILETYPE_MUB, FILETYPE_MUI, FILETYPE_CLX}));
static_assert(count({EXCEPT_ASSERTION, EXCEPT_MALFORMED_INPUT, EXCEPT_CHECKER, EXCEPT_STOPPED}, 1));
static_assert(count({WORK_NOTHING, WORK_CONSTANT, WORK_TYPE, WORK_VARIABLE, WORK_RULE,
                     WORK_FUNCTION}));
static_assert(count({ERROR_TYPE_ERROR, ERROR_TYPE_WARNING}, 2));
static_assert(count({ERROR_P_ORDINARY, 1, ERROR_P_DISPLAY}));
static_assert(count({ERROR_RUN_TEXT, ERROR_RUN_CODE, ERROR_RUN_SECREF, ERROR_RUN_MANREF}));
static_assert(count({ERR_PRINT_TITLE, ERR_PRINT_DESCRIPTION}));
static_assert(count({MSG_PRGS_PROJECT, MSG_PRGS_SUB_JOB}));
static_assert(count({NorvaneCpp::FILE_OPEN_WRITE, NorvaneCpp::FILE_OPEN_READ, 3,
                     NorvaneCpp::FILE_OPEN_CREATE, NorvaneCpp::FILE_OPEN_CREATE_WRITE},
                    1));
static_assert(count({CHILD_ONE, CHILD_OPTIONAL, CHILD_ONE_OR_MORE, CHILD_ANY}));

// The place of a virtual function in the table of its class, after what the destructor takes.
template <typename Function>
std::intptr_t slot(Function function) {
    std::intptr_t value = 0;
    std::memcpy(&value, &function, sizeof value);
    return (value - 1) / static_cast<std::intptr_t>(sizeof(void*));
}

TEST(Interface, VirtualFunctionsStandInTheirOrder) {
    using NorvaneCpp::CFile;
    EXPECT_EQ(slot(&CFile::read), 2);
    EXPECT_EQ(slot(&CFile::printf), 3);
    EXPECT_EQ(slot(&CFile::eof), 4);
    EXPECT_EQ(slot(&CFile::close), 5);
}

// The names of functions with their signatures, as the compilers that share this binary interface
// abbreviate them.
using Function = std::pair<const char*, const char*>;
#define FUNCTION(function) Function(#function, typeid(decltype(function)).name()),
const Function functions_of_proj[] = {
#include "functions_of_proj.inc"
};

// FNV-1a: one number stands for hundreds of lines.
void expect_sum(std::span<const Function> functions, std::uint64_t expected) {
    std::string text;
    for (const auto& [name, signature] : functions)
        text += std::string(name) + ' ' + signature + '\n';
    std::uint64_t sum = 0xcbf29ce484222325;
    for (const char c : text)
        sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    EXPECT_EQ(sum, expected) << "A function was added, removed or changed. Compare this list with "
                                "that of an older version; where functions were only added, put "
                                "the new sum into the test.\n"
                             << text;
}

TEST(Interface, SignaturesOfFunctions) {
    expect_sum(functions_of_proj, 15153346354815515850u);
}

} // namespace
