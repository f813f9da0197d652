// Reads a calculation from XML with the SAX machine of the base library.
//
// The handler of an element runs at its end tag. It makes a node of the tree from the nodes that
// the element's children hold, and takes those over after it has checked the attributes: what a
// refused element leaves behind is then freed with its children. The elements `expr` and `stmt`
// carry the line of the node in them.

#include "norvane/proj/calc_import.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sys/stat.h>

#include "calc_import_internal.h"
#include "calc_xml_names.h"
#include "norvane/base/call_guard.hpp"
#include "norvane/base/frames.hpp"
#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/base/progress.h"
#include "norvane/base/strings.h"
#include "norvane/proj/calc.h"
#include "norvane/proj/proj_errors.h"
#include "poly_adaptors.h"
#include "report.h"

namespace norvane::calculations {

namespace {

using Children = SaxChildren;

extern const SaxTag tag_handler_table[];

constexpr const SaxTag* row_of(Tag tag) {
    return &tag_handler_table[static_cast<std::size_t>(tag)];
}

bool is(const StackData& sd, Tag tag) {
    return sd.row == row_of(tag);
}

bool is_from_to(const StackData& sd, Tag first, Tag last) {
    return sd.row >= row_of(first) && sd.row <= row_of(last);
}

// Takes over what a child holds.
template <typename T>
T* take(StackData& child) {
    T* data = static_cast<T*>(child.data);
    child.data = nullptr;
    return data;
}

// The children from `next` on that have the tag; `next` moves past them.
Children take_all(Children children, std::size_t* next, Tag tag) {
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
    const int type = number_of(type_words, word);
    if (type < 0) sax_error(sd, "Unrecognized type '%s'", word);
    return static_cast<CalcType>(type);
}

// The attributes that arguments, locals and functions share.
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
    ns->functions->delete_element = nullptr; // the calculation takes each over or refuses it
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
    for (StackData& child : take_all(children, &next, Tag::def_value))
        def_value = take<CExpr>(child);
    CFunc* func =
        calc_new_func(str_copy(heading.name), heading.type, def_value, filename, heading.line_no);
    for (StackData& child : take_all(children, &next, Tag::arg))
        calc_add_function_arg(func, take<CFuncArg>(child));
    for (StackData& child : take_all(children, &next, Tag::vardef))
        calc_add_function_vardef(func, take<CFuncLVar>(child));
    for (StackData& child : take_all(children, &next, Tag::stmt))
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

// Of `def_value` and `opt_expr`, which hold the node of their child.
void read_only_expr(SaxInfo*, StackData* sd, Children children) {
    if (children.count > 0) sd->data = take<CExpr>(children[0]);
}

// Statements. The enclosing `stmt` sets the line.

constexpr int no_line = CALC_UNDEF_LINENO;

bool is_statement(const StackData& sd) {
    return is_from_to(sd, Tag::ite_stmt, Tag::external_stmt);
}

bool is_expression(const StackData& sd) {
    return is_from_to(sd, Tag::lvar, Tag::bop);
}

constexpr ChildTag one_external_stmt[] = {{tag_name(Tag::external_stmt), CHILD_ONE}, {}};
constexpr ChildTag one_call[] = {{tag_name(Tag::call), CHILD_ONE}, {}};

// Callers know the refusal of anything but a statement by the name of the last kind.
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
        if (is(child, Tag::case_label))
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

// Expressions. The enclosing `expr` sets the line.

// Callers know the refusal of anything but an expression by the name of a call.
void read_expr(SaxInfo* pi, StackData* sd, Children children) {
    if (children.count != 1 || !is_expression(children[0]))
        sax_check_children(sd, children, one_call, 1);
    const int line_no = line_of(pi, sd);
    StackData& child = children[0];
    if (is(child, Tag::pmvar)) {
        sd->data = calc_new_pmvar_expr(take<CPMVar>(child), line_no);
    } else if (is(child, Tag::string_const)) {
        // Attributes are in code page 1252; the constructor converts the text to UTF-8.
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
    for (StackData& child : take_all(children, &next, Tag::expr))
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
    const int opr = number_of(operator_words, word);
    if (opr != COPR_NOT && opr != COPR_MINUS) sax_error(sd, "Illegal unary operator: '%s'", word);
    sd->data = calc_new_unary_expr(static_cast<COprType>(opr), take<CExpr>(children[0]), no_line);
}

// Accepts every operator; the type checker refuses those that do not take two operands.
void read_bop(SaxInfo* pi, StackData* sd, Children children) {
    const char* word = sax_must_get_attr(pi, sd, "opr");
    const int opr = number_of(operator_words, word);
    if (opr < 0) sax_error(sd, "Unrecognized operator '%s'", word);
    sd->data = calc_new_binary_expr(static_cast<COprType>(opr), take<CExpr>(children[0]),
                                    take<CExpr>(children[1]), no_line);
}

// The format.

constexpr ChildTag one(Tag tag) {
    return {tag_name(tag), CHILD_ONE};
}
constexpr ChildTag optional(Tag tag) {
    return {tag_name(tag), CHILD_OPTIONAL};
}
constexpr ChildTag any(Tag tag) {
    return {tag_name(tag), CHILD_ANY};
}

constexpr ChildTag nothing[] = {{}};
constexpr ChildTag in_mu[] = {optional(Tag::calculation), {}};
constexpr ChildTag in_calculation[] = {any(Tag::ns), {}};
constexpr ChildTag in_namespace[] = {any(Tag::function), {}};
constexpr ChildTag in_function[] = {
    optional(Tag::def_value), any(Tag::arg), any(Tag::vardef), any(Tag::stmt), {}};
constexpr ChildTag in_ite_stmt[] = {one(Tag::expr), one(Tag::stmt), optional(Tag::stmt), {}};
constexpr ChildTag in_switch_stmt[] = {
    one(Tag::expr), any(Tag::case_label), optional(Tag::default_label), {}};
constexpr ChildTag in_case_label[] = {one(Tag::expr), any(Tag::stmt), {}};
constexpr ChildTag in_loop[] = {one(Tag::expr), one(Tag::stmt), {}};
constexpr ChildTag in_for_stmt[] = {
    one(Tag::opt_expr), one(Tag::opt_expr), one(Tag::opt_expr), one(Tag::stmt), {}};
constexpr ChildTag in_pmvar[] = {any(Tag::expr), optional(Tag::pmvar), {}};
constexpr ChildTag one_string_const[] = {one(Tag::string_const), {}};
constexpr ChildTag any_stmt[] = {any(Tag::stmt), {}};
constexpr ChildTag any_expr[] = {any(Tag::expr), {}};
constexpr ChildTag optional_expr[] = {optional(Tag::expr), {}};
constexpr ChildTag one_expr[] = {one(Tag::expr), {}};
constexpr ChildTag two_exprs[] = {one(Tag::expr), one(Tag::expr), {}};
constexpr ChildTag three_exprs[] = {one(Tag::expr), one(Tag::expr), one(Tag::expr), {}};

constexpr auto delete_calc = poly<calc_delete>;
constexpr auto delete_stmt = poly<calc_delete_stmt>;
constexpr auto delete_expr = poly<calc_delete_expr>;

// Indexed by Tag.
constexpr SaxTag tag_handler_table[] = {
    {tag_name(Tag::mu), in_mu, read_mu, delete_calc},
    {tag_name(Tag::calculation), in_calculation, read_calculation, delete_calc},
    {tag_name(Tag::ns), in_namespace, read_namespace, poly<delete_functions>},
    {tag_name(Tag::function), in_function, read_function, poly<calc_delete_func>},
    {tag_name(Tag::def_value), one_expr, read_only_expr, delete_expr},
    {tag_name(Tag::arg), nothing, read_arg, poly<calc_delete_func_arg>},
    {tag_name(Tag::vardef), one_expr, read_vardef, poly<calc_delete_func_lvar>},
    {tag_name(Tag::case_label), in_case_label, read_case_label, poly<calc_delete_case>},
    {tag_name(Tag::default_label), any_stmt, read_default_label, poly<plist_delete>},
    {tag_name(Tag::opt_expr), optional_expr, read_only_expr, delete_expr},
    {tag_name(Tag::stmt), nullptr, read_stmt, delete_stmt},
    {tag_name(Tag::ite_stmt), in_ite_stmt, read_ite_stmt, delete_stmt},
    {tag_name(Tag::block_stmt), any_stmt, read_block_stmt, delete_stmt},
    {tag_name(Tag::expr_stmt), optional_expr, read_expr_stmt, delete_stmt},
    {tag_name(Tag::switch_stmt), in_switch_stmt, read_switch_stmt, delete_stmt},
    {tag_name(Tag::while_stmt), in_loop, read_while_stmt, delete_stmt},
    {tag_name(Tag::do_stmt), in_loop, read_do_stmt, delete_stmt},
    {tag_name(Tag::for_stmt), in_for_stmt, read_for_stmt, delete_stmt},
    {tag_name(Tag::return_stmt), one_expr, read_return_stmt, delete_stmt},
    {tag_name(Tag::break_stmt), nothing, read_break_stmt, delete_stmt},
    {tag_name(Tag::external_stmt), one_string_const, read_external_stmt, delete_stmt},
    {tag_name(Tag::expr), nullptr, read_expr, delete_expr},
    {tag_name(Tag::lvar), nothing, read_lvar, delete_expr},
    {tag_name(Tag::pmvar), in_pmvar, read_pmvar, poly<calc_delete_pmvar>},
    {tag_name(Tag::int_const), nothing, read_int_const, delete_expr},
    {tag_name(Tag::float_const), nothing, read_float_const, delete_expr},
    {tag_name(Tag::string_const), nothing, read_string_const, poly_delete_string},
    {tag_name(Tag::false_const), nothing, read_false, delete_expr},
    {tag_name(Tag::true_const), nothing, read_true, delete_expr},
    {tag_name(Tag::ite_expr), three_exprs, read_ite_expr, delete_expr},
    {tag_name(Tag::call), any_expr, read_call, delete_expr},
    {tag_name(Tag::uop), one_expr, read_uop, delete_expr},
    {tag_name(Tag::bop), two_exprs, read_bop, delete_expr},
    {},
};

constexpr bool numbered_in_order() {
    for (std::size_t i = 0; i < std::size(tag_names); ++i)
        if (tag_handler_table[i].tag != tag_names[i]) return false;
    return std::size(tag_handler_table) == std::size(tag_names) + 1;
}
static_assert(numbered_in_order());

// For both questions of the machine: in no element is white space text.
int is_no_tag(const char*) {
    return 0;
}

// The calculation that the machine's root holds; null after a report if it read no root. The caller
// frees the machine, so nothing is lost when an assertion fails.
PolyHash* take_calc(SaxInfo* pi) {
    if (stack_is_empty(pi)) {
        report_error(ERR_XML_NO_TAGS());
        return nullptr;
    }
    StackData* root = stack_top(pi);
    NORVANE_ASSERT_TEXT(root->data, "calcs");
    NORVANE_ASSERT_TEXT(is(*root, Tag::calculation) || is(*root, Tag::mu),
                        "str_is_equal( sd->tag, \"calculation\" ) || "
                        "str_is_equal( sd->tag, \"mu\" )");
    NORVANE_ASSERT_TEXT(root->is_closed, "is_closed");
    auto* calc = take<PolyHash>(*root);
    stack_pop(pi);
    NORVANE_ASSERT_TEXT(stack_is_empty(pi), "stack_is_empty( pi )");
    return calc;
}

struct Import {
    const XmlSource* source;
    SaxInfo* pi;    // null until it is made
    int job;        // of progress; 0 until it starts
    PolyHash* calc; // null until all is read
};

void report_malformed(const Import& import, const char* text) {
    report_error(ERR_XML_MALFORMED(import.source->name, sax_line(import.pi), text));
}

void import_document(Import& import) {
    import.pi = sax_new(tag_handler_table, is_no_tag, is_no_tag);
    msg_report_prgs_start(MSG_PRGS_SUB_JOB, "Importing calculations");
    import.job = msg_get_progress_job();
    if (sax_parse(import.pi, import.source->read, import.source->user))
        import.calc = take_calc(import.pi);
    else
        report_malformed(import, sax_error_text(import.pi));
}

void end_import(const Import& import) {
    if (import.job) msg_report_prgs_stop(import.job, import.calc ? 0 : -1);
    if (import.pi) sax_delete(import.pi);
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

// Opens a file for reading. Null also for a directory, which fopen would open.
FILE* open_for_reading(const char* path) {
    FILE* stream = std::fopen(path, "re");
    struct stat status;
    if (stream && fstat(fileno(stream), &status) == 0 && S_ISDIR(status.st_mode)) {
        std::fclose(stream);
        return nullptr;
    }
    return stream;
}

// A failure (except.h), kept until the objects are destroyed that a throw must not jump over.
struct Failure {
    bool is_set;
    ExceptionState state;
};

// Imports from an open package; null after a report or a failure.
PolyHash* import_from_package(NorvaneCpp::CMubPackage& package, const NorvaneCpp::String& model,
                              Failure* failure) {
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
    const XmlSource source{read_member, file.operator->(), filename.GetStr()};
    PolyHash* calc = nullptr;
    failure->is_set = caught(&failure->state, [&] { calc = import_from_source(source); });
    file->close();
    return calc;
}

} // namespace

PolyHash* import_from_source(const XmlSource& source) {
    Import import{&source, nullptr, 0, nullptr};
    ExceptionState state;
    bool has_failed;
    {
        const Finally end([&] { end_import(import); });
        has_failed = caught(&state, [&] { import_document(import); });
        if (has_failed && state.kind == EXCEPT_MALFORMED_INPUT) {
            report_malformed(import, state.message);
            has_failed = false;
        }
    }
    if (has_failed) except_rethrow(&state);
    return import.calc;
}

} // namespace norvane::calculations

using namespace norvane;
using namespace norvane::calculations;

PolyHash* calc_import_from_xmlfile(const char* path) {
    const CallGuard guard(__func__);
    NORVANE_ASSERT(path);
    FILE* stream = open_for_reading(path);
    if (!stream) {
        report_error(ERR_FILE_OPEN(path));
        return nullptr;
    }
    PolyHash* calc = nullptr;
    close_after(stream, [&] { calc = import_from_source({read_stream, stream, path}); });
    return calc;
}

PolyHash* calc_import_from_mubfile(const NorvaneCpp::String& filename,
                                   const NorvaneCpp::String& model) {
    const CallGuard guard(__func__);
    Failure failure;
    failure.is_set = false;
    PolyHash* calc = nullptr;
    {
        NorvaneCpp::CMubPackage package;
        if (package.openPackage(filename, ""))
            calc = import_from_package(package, model, &failure);
        else
            report_error(ERR_FILE_OPEN(filename.GetStr()));
    }
    if (failure.is_set) except_rethrow(&failure.state);
    return calc;
}

PolyHash* calc_import_from_mubpackage(NorvaneCpp::CMubPackage& pkg,
                                      const NorvaneCpp::String& model) {
    const CallGuard guard(__func__);
    NORVANE_ASSERT(pkg.isOpen() == true);
    Failure failure;
    failure.is_set = false;
    PolyHash* calc = import_from_package(pkg, model, &failure);
    if (failure.is_set) except_rethrow(&failure.state);
    return calc;
}
