// Reads a calculation from XML, on the stack machine of the base library.
//
// Each kind of element has a handler, which runs when it closes: it looks at what the element must
// have, and only then takes what its children hold. An element holds a node of the tree as soon as
// it is closed; the wrappers `expr` and `stmt`, which carry the lines, put the line into the node
// of their child.

#include "norvane/proj/calc_import.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sys/stat.h>

#include "calc_import_internal.h"
#include "calc_xml_names.h"
#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/base/progress.h"
#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/proj_errors.h"
#include "poly_adaptors.h"
#include "report.h"

namespace norvane {

namespace {

using Children = SaxChildren;

extern const SaxTag tag_handler_table[];

constexpr const SaxTag* row_of(CalcTag tag) {
    return &tag_handler_table[static_cast<std::size_t>(tag)];
}

bool is(const StackData& sd, CalcTag tag) {
    return sd.row == row_of(tag);
}

bool is_from_to(const StackData& sd, CalcTag first, CalcTag last) {
    return sd.row >= row_of(first) && sd.row <= row_of(last);
}

// What a child holds, for whoever takes it over.
template <typename T>
T* take(StackData& child) {
    T* data = static_cast<T*>(child.data);
    child.data = nullptr;
    return data;
}

// The children from `next` on that have the tag; `next` moves behind them.
Children take_all(Children children, std::size_t* next, CalcTag tag) {
    const std::size_t first = *next;
    while (*next < children.count && is(children[*next], tag))
        ++*next;
    return {children.first + first, *next - first};
}

template <typename T, auto remove>
PolyList* list_of(Children children) {
    PolyList* list = plist_new(nullptr, nullptr, poly<remove>);
    for (StackData& child : children)
        plist_append(list, take<T>(child));
    return list;
}

PolyList* stmts_of(Children children) {
    return list_of<CStmt, calc_delete_stmt>(children);
}

// Attributes.

int line_of(const SaxInfo* pi, const StackData* sd) {
    const char* line = sax_get_attr(pi, sd, "line_no");
    return line ? str_to_int(line) : CALC_UNDEF_LINENO;
}

CalcType type_of(const SaxInfo* pi, const StackData* sd) {
    const char* word = sax_must_get_attr(pi, sd, "type");
    const int type = number_of(calc_type_words, word);
    if (type < 0) sax_error(sd, "Unrecognized type '%s'", word);
    return static_cast<CalcType>(type);
}

// What arguments, locals and functions have in common.
struct Heading {
    CalcType type;
    const char* name; // borrowed
    int line_no;
};

Heading heading_of(const SaxInfo* pi, const StackData* sd) {
    Heading heading;
    heading.type = type_of(pi, sd);
    heading.name = sax_must_get_attr(pi, sd, "name");
    heading.line_no = line_of(pi, sd);
    return heading;
}

// Calculations.

// The functions of one `namespace` element.
struct Functions {
    char* ns_name;
    PolyList* functions;
};

void delete_functions(Functions* ns) {
    str_delete(ns->ns_name);
    plist_delete(ns->functions);
    std::free(ns);
}

void read_mu(SaxInfo*, StackData* sd, Children children) {
    sd->data = children.count == 0 ? calc_new() : take<PolyHash>(children[0]);
}

void add_functions(PolyHash* calc, Functions* ns) {
    ns->functions->delete_element = nullptr; // each goes into the calculation, or is refused
    for (CFunc* func : items<CFunc>(ns->functions))
        if (calc_add_function(calc, ns->ns_name, func) != STATUS_SUCCESS) calc_delete_func(func);
}

void read_calculation(SaxInfo*, StackData* sd, Children children) {
    PolyHash* calc = calc_new();
    sd->data = calc;
    for (const StackData& child : children)
        add_functions(calc, static_cast<Functions*>(child.data));
}

void read_namespace(SaxInfo* pi, StackData* sd, Children children) {
    const char* name = sax_must_get_attr(pi, sd, "name");
    auto* ns = static_cast<Functions*>(util_malloc_throw(sizeof(Functions)));
    *ns = {str_copy(name), list_of<CFunc, calc_delete_func>(children)};
    sd->data = ns;
}

void read_function(SaxInfo* pi, StackData* sd, Children children) {
    const Heading heading = heading_of(pi, sd);
    const char* filename = sax_get_attr(pi, sd, "filename");
    std::size_t next = 0;
    CExpr* def_value = nullptr;
    for (StackData& child : take_all(children, &next, CalcTag::DefValue))
        def_value = take<CExpr>(child);
    CFunc* func =
        calc_new_func(str_copy(heading.name), heading.type, def_value, filename, heading.line_no);
    for (StackData& child : take_all(children, &next, CalcTag::Arg))
        calc_add_function_arg(func, take<CFuncArg>(child));
    for (StackData& child : take_all(children, &next, CalcTag::VarDef))
        calc_add_function_vardef(func, take<CFuncLVar>(child));
    for (StackData& child : take_all(children, &next, CalcTag::Stmt))
        calc_add_function_stmt(func, take<CStmt>(child));
    sd->data = func;
}

void read_arg(SaxInfo* pi, StackData* sd, Children) {
    const Heading heading = heading_of(pi, sd);
    sd->data = calc_new_func_arg(str_copy(heading.name), heading.type, heading.line_no);
}

void read_vardef(SaxInfo* pi, StackData* sd, Children children) {
    const Heading heading = heading_of(pi, sd);
    sd->data = calc_new_func_lvar(str_copy(heading.name), heading.type, take<CExpr>(children[0]),
                                  heading.line_no);
}

// The only child, if there is one: `def_value`, `opt_expr`.
void read_only_expr(SaxInfo*, StackData* sd, Children children) {
    if (children.count > 0) sd->data = take<CExpr>(children[0]);
}

// Statements. The line is that of the `stmt` around.

constexpr int no_line = CALC_UNDEF_LINENO;

bool is_statement(const StackData& sd) {
    return is_from_to(sd, CalcTag::IteStmt, CalcTag::SwitchStmt) ||
           is_from_to(sd, CalcTag::WhileStmt, CalcTag::ForStmt) ||
           is_from_to(sd, CalcTag::ReturnStmt, CalcTag::ExternalStmt);
}

bool is_expression(const StackData& sd) {
    return is_from_to(sd, CalcTag::Lvar, CalcTag::Bop);
}

constexpr ChildTag one_external_stmt[] = {{tag_name(CalcTag::ExternalStmt), CHILD_ONE}, {}};
constexpr ChildTag one_call[] = {{tag_name(CalcTag::Call), CHILD_ONE}, {}};

// A child that is none of the kinds is refused in the name of the last one.
void read_stmt(SaxInfo* pi, StackData* sd, Children children) {
    if (children.count != 1 || !is_statement(children[0]))
        sax_check_children(sd, children, one_external_stmt, 1);
    const int line_no = line_of(pi, sd);
    auto* stmt = take<CStmt>(children[0]);
    stmt->line_no = line_no;
    sd->data = stmt;
}

void read_ite_stmt(SaxInfo*, StackData* sd, Children children) {
    auto* cond = take<CExpr>(children[0]);
    auto* then_stmt = take<CStmt>(children[1]);
    auto* else_stmt = children.count > 2 ? take<CStmt>(children[2]) : nullptr;
    sd->data = calc_new_ite_stmt(cond, then_stmt, else_stmt, no_line);
}

void read_block_stmt(SaxInfo*, StackData* sd, Children children) {
    sd->data = calc_new_block_stmt(stmts_of(children), no_line);
}

void read_expr_stmt(SaxInfo*, StackData* sd, Children children) {
    CExpr* expr = children.count == 0 ? nullptr : take<CExpr>(children[0]);
    sd->data = calc_new_expr_stmt(expr, no_line);
}

void read_switch_stmt(SaxInfo*, StackData* sd, Children children) {
    CStmt* stmt = calc_new_switch_stmt(take<CExpr>(children[0]), no_line);
    sd->data = stmt;
    for (StackData& child : children.from(1)) {
        if (is(child, CalcTag::CaseLabel))
            calc_add_switch_case(stmt, take<CCase>(child));
        else
            calc_add_switch_default(stmt, take<PolyList>(child));
    }
}

void read_case_label(SaxInfo*, StackData* sd, Children children) {
    auto* label = take<CExpr>(children[0]);
    sd->data = calc_new_case(label, stmts_of(children.from(1)));
}

void read_default_label(SaxInfo*, StackData* sd, Children children) {
    sd->data = stmts_of(children);
}

void read_while_stmt(SaxInfo*, StackData* sd, Children children) {
    sd->data = calc_new_while_stmt(take<CExpr>(children[0]), take<CStmt>(children[1]), no_line);
}

void read_do_stmt(SaxInfo*, StackData* sd, Children children) {
    sd->data = calc_new_do_stmt(take<CExpr>(children[0]), take<CStmt>(children[1]), no_line);
}

void read_for_stmt(SaxInfo*, StackData* sd, Children children) {
    sd->data = calc_new_for_stmt(take<CExpr>(children[0]), take<CExpr>(children[1]),
                                 take<CExpr>(children[2]), take<CStmt>(children[3]), no_line);
}

void read_return_stmt(SaxInfo*, StackData* sd, Children children) {
    sd->data = calc_new_return_stmt(take<CExpr>(children[0]), no_line);
}

void read_break_stmt(SaxInfo*, StackData* sd, Children) {
    sd->data = calc_new_break_stmt(no_line);
}

void read_external_stmt(SaxInfo*, StackData* sd, Children children) {
    sd->data = calc_new_external_stmt(static_cast<const char*>(children[0].data), no_line);
}

// Expressions. The line is that of the `expr` around.

// A child that is none of the kinds is refused in the name of a call.
void read_expr(SaxInfo* pi, StackData* sd, Children children) {
    if (children.count != 1 || !is_expression(children[0]))
        sax_check_children(sd, children, one_call, 1);
    const int line_no = line_of(pi, sd);
    StackData& child = children[0];
    if (is(child, CalcTag::PmVar)) {
        sd->data = calc_new_pmvar_expr(take<CPMVar>(child), line_no);
    } else if (is(child, CalcTag::StringConst)) {
        // In code page 1252, as all attributes are: the tree's UTF-8 is made of that.
        sd->data = calc_new_stringconst_expr(take<char>(child), line_no, false);
    } else {
        auto* expr = take<CExpr>(child);
        expr->line_no = line_no;
        sd->data = expr;
    }
}

void read_lvar(SaxInfo* pi, StackData* sd, Children) {
    sd->data = calc_new_lvar_expr(str_copy(sax_must_get_attr(pi, sd, "name")), no_line);
}

void read_pmvar(SaxInfo* pi, StackData* sd, Children children) {
    CPMVar* pmvar = calc_new_pmvar(str_copy(sax_must_get_attr(pi, sd, "name")));
    sd->data = pmvar;
    std::size_t next = 0;
    for (StackData& child : take_all(children, &next, CalcTag::Expr))
        calc_add_pmvar_arr_index(pmvar, take<CExpr>(child));
    for (StackData& child : children.from(next))
        calc_set_pmvar_nested(pmvar, take<CPMVar>(child));
}

void read_int_const(SaxInfo* pi, StackData* sd, Children) {
    sd->data = calc_new_intconst_expr(str_to_int(sax_must_get_attr(pi, sd, "value")), no_line);
}

void read_float_const(SaxInfo* pi, StackData* sd, Children) {
    sd->data = calc_new_floatconst_expr(str_to_double(sax_must_get_attr(pi, sd, "value")), no_line);
}

void read_string_const(SaxInfo* pi, StackData* sd, Children) {
    sd->data = str_copy(sax_must_get_attr(pi, sd, "value"));
}

void read_false(SaxInfo*, StackData* sd, Children) {
    sd->data = calc_new_boolconst_expr(0, no_line);
}

void read_true(SaxInfo*, StackData* sd, Children) {
    sd->data = calc_new_boolconst_expr(1, no_line);
}

void read_ite_expr(SaxInfo*, StackData* sd, Children children) {
    sd->data = calc_new_ite_expr(take<CExpr>(children[0]), take<CExpr>(children[1]),
                                 take<CExpr>(children[2]), no_line);
}

void read_call(SaxInfo* pi, StackData* sd, Children children) {
    const char* ns_name = sax_must_get_attr(pi, sd, "namespace");
    const char* fname = sax_must_get_attr(pi, sd, "fname");
    sd->data = calc_new_call_expr(str_copy(ns_name), str_copy(fname),
                                  list_of<CExpr, calc_delete_expr>(children), no_line);
}

void read_uop(SaxInfo* pi, StackData* sd, Children children) {
    const char* word = sax_must_get_attr(pi, sd, "opr");
    const int opr = number_of(calc_operator_words, word);
    if (opr != COPR_NOT && opr != COPR_MINUS) sax_error(sd, "Illegal unary operator: '%s'", word);
    sd->data = calc_new_unary_expr(static_cast<COprType>(opr), take<CExpr>(children[0]), no_line);
}

// Any operator will do: what takes two operands is for the type checker to say.
void read_bop(SaxInfo* pi, StackData* sd, Children children) {
    const char* word = sax_must_get_attr(pi, sd, "opr");
    const int opr = number_of(calc_operator_words, word);
    if (opr < 0) sax_error(sd, "Unrecognized operator '%s'", word);
    sd->data = calc_new_binary_expr(static_cast<COprType>(opr), take<CExpr>(children[0]),
                                    take<CExpr>(children[1]), no_line);
}

// The format.

constexpr ChildTag one(CalcTag tag) {
    return {tag_name(tag), CHILD_ONE};
}
constexpr ChildTag optional(CalcTag tag) {
    return {tag_name(tag), CHILD_OPTIONAL};
}
constexpr ChildTag any(CalcTag tag) {
    return {tag_name(tag), CHILD_ANY};
}

constexpr ChildTag nothing[] = {{}};
constexpr ChildTag in_mu[] = {optional(CalcTag::Calculation), {}};
constexpr ChildTag in_calculation[] = {any(CalcTag::Namespace), {}};
constexpr ChildTag in_namespace[] = {any(CalcTag::Function), {}};
constexpr ChildTag in_function[] = {
    optional(CalcTag::DefValue), any(CalcTag::Arg), any(CalcTag::VarDef), any(CalcTag::Stmt), {}};
constexpr ChildTag in_ite_stmt[] = {
    one(CalcTag::Expr), one(CalcTag::Stmt), optional(CalcTag::Stmt), {}};
constexpr ChildTag in_switch_stmt[] = {
    one(CalcTag::Expr), any(CalcTag::CaseLabel), optional(CalcTag::DefaultLabel), {}};
constexpr ChildTag in_case_label[] = {one(CalcTag::Expr), any(CalcTag::Stmt), {}};
constexpr ChildTag in_loop[] = {one(CalcTag::Expr), one(CalcTag::Stmt), {}};
constexpr ChildTag in_for_stmt[] = {
    one(CalcTag::OptExpr), one(CalcTag::OptExpr), one(CalcTag::OptExpr), one(CalcTag::Stmt), {}};
constexpr ChildTag in_pmvar[] = {any(CalcTag::Expr), optional(CalcTag::PmVar), {}};
constexpr ChildTag one_string_const[] = {one(CalcTag::StringConst), {}};
constexpr ChildTag any_stmt[] = {any(CalcTag::Stmt), {}};
constexpr ChildTag any_expr[] = {any(CalcTag::Expr), {}};
constexpr ChildTag optional_expr[] = {optional(CalcTag::Expr), {}};
constexpr ChildTag one_expr[] = {one(CalcTag::Expr), {}};
constexpr ChildTag two_exprs[] = {one(CalcTag::Expr), one(CalcTag::Expr), {}};
constexpr ChildTag three_exprs[] = {one(CalcTag::Expr), one(CalcTag::Expr), one(CalcTag::Expr), {}};

constexpr auto delete_calc = poly<calc_delete>;
constexpr auto delete_stmt = poly<calc_delete_stmt>;
constexpr auto delete_expr = poly<calc_delete_expr>;

// By CalcTag.
constexpr SaxTag tag_handler_table[] = {
    {tag_name(CalcTag::Mu), in_mu, read_mu, delete_calc},
    {tag_name(CalcTag::Calculation), in_calculation, read_calculation, delete_calc},
    {tag_name(CalcTag::Namespace), in_namespace, read_namespace, poly<delete_functions>},
    {tag_name(CalcTag::Function), in_function, read_function, poly<calc_delete_func>},
    {tag_name(CalcTag::DefValue), one_expr, read_only_expr, delete_expr},
    {tag_name(CalcTag::Arg), nothing, read_arg, poly<calc_delete_func_arg>},
    {tag_name(CalcTag::VarDef), one_expr, read_vardef, poly<calc_delete_func_lvar>},
    {tag_name(CalcTag::Stmt), nullptr, read_stmt, delete_stmt},
    {tag_name(CalcTag::IteStmt), in_ite_stmt, read_ite_stmt, delete_stmt},
    {tag_name(CalcTag::BlockStmt), any_stmt, read_block_stmt, delete_stmt},
    {tag_name(CalcTag::ExprStmt), optional_expr, read_expr_stmt, delete_stmt},
    {tag_name(CalcTag::SwitchStmt), in_switch_stmt, read_switch_stmt, delete_stmt},
    {tag_name(CalcTag::CaseLabel), in_case_label, read_case_label, poly<calc_delete_case>},
    {tag_name(CalcTag::DefaultLabel), any_stmt, read_default_label, poly<plist_delete>},
    {tag_name(CalcTag::WhileStmt), in_loop, read_while_stmt, delete_stmt},
    {tag_name(CalcTag::DoStmt), in_loop, read_do_stmt, delete_stmt},
    {tag_name(CalcTag::ForStmt), in_for_stmt, read_for_stmt, delete_stmt},
    {tag_name(CalcTag::OptExpr), optional_expr, read_only_expr, delete_expr},
    {tag_name(CalcTag::ReturnStmt), one_expr, read_return_stmt, delete_stmt},
    {tag_name(CalcTag::BreakStmt), nothing, read_break_stmt, delete_stmt},
    {tag_name(CalcTag::ExternalStmt), one_string_const, read_external_stmt, delete_stmt},
    {tag_name(CalcTag::Expr), nullptr, read_expr, delete_expr},
    {tag_name(CalcTag::Lvar), nothing, read_lvar, delete_expr},
    {tag_name(CalcTag::PmVar), in_pmvar, read_pmvar, poly<calc_delete_pmvar>},
    {tag_name(CalcTag::IntConst), nothing, read_int_const, delete_expr},
    {tag_name(CalcTag::FloatConst), nothing, read_float_const, delete_expr},
    {tag_name(CalcTag::StringConst), nothing, read_string_const, poly_delete_string},
    {tag_name(CalcTag::False), nothing, read_false, delete_expr},
    {tag_name(CalcTag::True), nothing, read_true, delete_expr},
    {tag_name(CalcTag::IteExpr), three_exprs, read_ite_expr, delete_expr},
    {tag_name(CalcTag::Call), any_expr, read_call, delete_expr},
    {tag_name(CalcTag::Uop), one_expr, read_uop, delete_expr},
    {tag_name(CalcTag::Bop), two_exprs, read_bop, delete_expr},
    {},
};

constexpr bool numbered_in_order() {
    for (std::size_t i = 0; i < std::size(calc_tag_names); ++i)
        if (tag_handler_table[i].tag != calc_tag_names[i]) return false;
    return std::size(tag_handler_table) == std::size(calc_tag_names) + 1;
}
static_assert(numbered_in_order());

// White space between elements is never text.
int is_no_tag(const char*) {
    return 0;
}

struct Import {
    const CalcXmlSource* source;
    SaxInfo* pi;
    int job; // of progress; 0 before it is opened
    PolyHash* calc;
};

void report_malformed(const Import* import, const char* text) {
    report_error(ERR_XML_MALFORMED(import->source->name, sax_line(import->pi), text));
}

// Only what the root holds is taken: who runs this frees the machine.
PolyHash* take_calc(SaxInfo* pi) {
    if (stack_is_empty(pi)) {
        report_error(ERR_XML_NO_TAGS());
        return nullptr;
    }
    StackData* root = stack_top(pi);
    NORVANE_ASSERT_TEXT(is(*root, CalcTag::Calculation) || is(*root, CalcTag::Mu),
                        "str_is_equal( sd->tag, \"calculation\" ) || "
                        "str_is_equal( sd->tag, \"mu\" )");
    NORVANE_ASSERT_TEXT(root->data, "calcs");
    NORVANE_ASSERT_TEXT(root->is_closed, "is_closed");
    auto* calc = take<PolyHash>(*root);
    stack_pop(pi);
    NORVANE_ASSERT_TEXT(stack_is_empty(pi), "stack_is_empty( pi )");
    return calc;
}

void import_document(void* user) {
    auto* import = static_cast<Import*>(user);
    import->pi = sax_new(tag_handler_table, is_no_tag, is_no_tag);
    msg_report_prgs_start(MSG_PRGS_SUB_JOB, "Importing calculations");
    import->job = msg_get_progress_job();
    if (sax_parse(import->pi, import->source->read, import->source->user))
        import->calc = take_calc(import->pi);
    else
        report_malformed(import, sax_error_text(import->pi));
}

std::size_t read_stream(void* user, void* buffer, std::size_t size, bool* at_end) {
    auto* stream = static_cast<FILE*>(user);
    const std::size_t got = std::fread(buffer, 1, size, stream);
    if (std::ferror(stream)) NORVANE_FAIL("fread error");
    *at_end = std::feof(stream) != 0;
    return got;
}

std::size_t read_member(void* user, void* buffer, std::size_t size, bool* at_end) {
    auto* file = static_cast<NorvaneCpp::CFile*>(user);
    const std::size_t got = file->read(buffer, 1, size);
    *at_end = file->eof();
    if (got == 0 && !*at_end) NORVANE_FAIL("fread error");
    return got;
}

// A folder can be opened, and is no file.
FILE* open_for_reading(const char* path) {
    FILE* stream = std::fopen(path, "re");
    struct stat status;
    if (stream && fstat(fileno(stream), &status) == 0 && S_ISDIR(status.st_mode)) {
        std::fclose(stream);
        return nullptr;
    }
    return stream;
}

// As calc_import_from_source; `package` is open.
PolyHash* import_from_package(NorvaneCpp::CMubPackage& package, const NorvaneCpp::String& model,
                              ExceptionState* state, bool* is_thrown) {
    *is_thrown = false;
    const NorvaneCpp::String filename = package.packageFilename();
    NorvaneCpp::CMubPackageModel* found = package.getModel(model);
    if (!found) {
        report_error(ERR_MUB_MODULE_NOT_FOUND(model.GetStr(), filename.GetStr()));
        return nullptr;
    }
    NorvaneCpp::CFilePtr file = found->OpenCalculation();
    if (!file.isOpen()) {
        report_error(ERR_MUB_NO_CLXFILE(filename.GetStr(), found->name().GetStr()));
        return nullptr;
    }
    const CalcXmlSource source{read_member, file.operator->(), filename.GetStr()};
    PolyHash* calc = calc_import_from_source(source, state, is_thrown);
    file->close();
    return calc;
}

} // namespace

PolyHash* calc_import_from_source(const CalcXmlSource& source, ExceptionState* state,
                                  bool* is_thrown) {
    Import import{&source, nullptr, 0, nullptr};
    const bool is_caught = except_catch(import_document, &import, state);
    *is_thrown = is_caught && state->kind != EXCEPT_MALFORMED_INPUT;
    if (is_caught && !*is_thrown) report_malformed(&import, state->message);
    if (import.job) msg_report_prgs_stop(import.job, import.calc ? 0 : -1);
    if (import.pi) sax_delete(import.pi);
    return import.calc;
}

} // namespace norvane

using namespace norvane;

PolyHash* calc_import_from_xmlfile(const char* path) {
    NORVANE_ASSERT(path);
    FILE* stream = open_for_reading(path);
    if (!stream) {
        report_error(ERR_FILE_OPEN(path));
        return nullptr;
    }
    ExceptionState state;
    bool is_thrown;
    PolyHash* calc = calc_import_from_source({read_stream, stream, path}, &state, &is_thrown);
    std::fclose(stream);
    if (is_thrown) except_rethrow(&state);
    return calc;
}

PolyHash* calc_import_from_mubfile(const NorvaneCpp::String& filename,
                                   const NorvaneCpp::String& model) {
    ExceptionState state;
    bool is_thrown = false;
    PolyHash* calc = nullptr;
    {
        NorvaneCpp::CMubPackage package; // gone before anything is thrown
        if (package.openPackage(filename, ""))
            calc = import_from_package(package, model, &state, &is_thrown);
        else
            report_error(ERR_FILE_OPEN(filename.GetStr()));
    }
    if (is_thrown) except_rethrow(&state);
    return calc;
}

PolyHash* calc_import_from_mubpackage(NorvaneCpp::CMubPackage& pkg,
                                      const NorvaneCpp::String& model) {
    NORVANE_ASSERT(pkg.isOpen() == true);
    ExceptionState state;
    bool is_thrown;
    PolyHash* calc = import_from_package(pkg, model, &state, &is_thrown);
    if (is_thrown) except_rethrow(&state);
    return calc;
}
