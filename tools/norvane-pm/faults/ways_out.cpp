#include "ways_out.h"

#include <algorithm>
#include <array>

#include "mistakes.h"
#include "similar.h"

namespace norvane::driver {
namespace {

bool is_arithmetic(const Expr* expr) {
    return operation_of(expr) == Operation::arithmetic;
}

bool is_unbounded_name(const Expr* expr) {
    return expr->structure == EXPR_IDCONSTRUCTOR &&
           (expr->type == ETYPE_ENUM_INTEGER || expr->type == ETYPE_ENUM_FLOAT ||
            expr->type == ETYPE_STRING);
}

bool is_logical(const Expr* expr) {
    return operation_of(expr) == Operation::logic;
}

// The other side of a comparison that has a name on one side; null for another expression.
const Expr* compared_with(const Expr* expr, const IdCon* path) {
    if (expr->structure != EXPR_BINARY || !is_comparison(expr)) return nullptr;
    const Expr* left = expr->args.binargs.leftarg;
    const Expr* right = expr->args.binargs.rightarg;
    const auto is_path = [path](const Expr* side) {
        return side->structure == EXPR_IDCONSTRUCTOR && side->args.idcon == path;
    };
    if (is_path(left)) return right;
    return is_path(right) ? left : nullptr;
}

// The comparison that comes last on the left of `or 4`; null where there is none.
const Expr* last_comparison(const Expr* expr) {
    while (expr->structure == EXPR_BINARY && is_logical(expr))
        expr = expr->args.binargs.rightarg;
    const bool names_value = expr->structure == EXPR_BINARY && is_comparison(expr) &&
                             expr->args.binargs.leftarg->structure == EXPR_IDCONSTRUCTOR;
    return names_value ? expr : nullptr;
}

const char* simple_name(const Expr* expr) {
    const bool is_simple =
        expr->structure == EXPR_IDCONSTRUCTOR && expr->args.idcon->contype == IDCON_SIMPLE;
    return is_simple ? expr->args.idcon->args.id.idname : nullptr;
}

} // namespace

WaysOut::WaysOut(const Project* project, SymbolTable* table, RecordPlaces& places,
                 const SourceText& text)
    : line_info_(project->line_info), table_(table), places_(places), text_(text),
      suggestions_(text) {
    for (const ConstantDecl* constant : items<ConstantDecl>(project->constantdecllist))
        declared_.emplace(constant->name, Later{constant, ND_INT});
    for (const TypeDecl* type : items<TypeDecl>(project->typedecllist))
        declared_.emplace(type->name, Later{type, ND_TYPE});
    for (const VarDecl* variable : items<VarDecl>(project->vardecllist))
        declared_.emplace(variable->name, Later{variable, ND_VARIABLE});
}

void WaysOut::explain(PlacedFinding& found, const Report& report, const Expr* root,
                      const Expr* operand, const Subject& subject, TokenRange range) {
    if (report.name == "ERR_ID_UNDECLARED" || report.name == "ERR_ILLEGAL_ARRAY_VAR")
        return undeclared(found, quoted_name(report.message), operand, subject, range);
    if (report.name == "ERR_NOT_RECORD" && array_type(std::string(quoted_name(report.message))))
        say(found, "it is an array: its elements are records, such as [0]");
    const Expr* expr = subject.expr;
    if (expr && subject.selector) return arm(found, subject.selector, expr);
    if (expr && expr->structure == EXPR_BINARY) return operands(found, root, expr);
    if (report.name == "ERR_ARRAY_INDEX_OUT_OF_RANGE" && subject.idcon == subject.path)
        array_here(found, quoted_name(report.message));
    if (report.name == "ERR_VAR_AS_ARRAY" && report.message.find("optional") != std::string::npos) {
        say(found, "write '.SOME' after the name of an optional for its value");
        insert_after(text_, found, range.first, ".SOME", false);
    }
    if (report.name == "ERR_OP_TYPES_UN" && expr) unary_operand(found, expr, range);
    explain_use(found, report.name, expr, range);
}

// Colour.red
bool WaysOut::is_before_label(std::size_t token) {
    if (token + 2 >= text_.size() || text_.word(token + 1) != ".") return false;
    std::string name(text_.word(token + 2));
    NameData* namedata = nullptr;
    const int status = call([&] { return symtbl_lookup(table_, name.data(), 0, &namedata); });
    return status == 0 && namedata->ndtype == ND_LABEL;
}

// `not dock` where that is optional, `-a` where it is a boolean, and `a <- b`.
void WaysOut::unary_operand(PlacedFinding& found, const Expr* unary, TokenRange range) {
    const Expr* operand = unary->structure == EXPR_UNARY ? unary->args.arg : unary;
    const bool is_arrow =
        range.first > 0 && text_.word(range.first) == "-" && text_.word(range.first - 1) == "<";
    if (is_arrow) return say(found, "an implication is 'CONDITION -> RULE'");
    if (operand->type == ETYPE_OPTIONAL) say(found, "compare it with SOME or NONE");
    if (operand->type == ETYPE_BOOL) say(found, "write 'not' for what is true or false");
}

// A name or a value that stands where another kind belongs.
void WaysOut::explain_use(PlacedFinding& found, std::string_view report, const Expr* expr,
                          TokenRange range) {
    if (report == "ERR_TYPE_AS_VAR_NAME" || report == "ERR_TYPE_AS_VAR")
        say(found, is_before_label(range.last)
                       ? "a label stands by itself, without its type"
                       : "a rule is about variables: name one of this type");
    if (report == "ERR_RULE_NOT_BOOLEAN" && expr && expr->type == ETYPE_OPTIONAL)
        say(found, "compare it with SOME or NONE");
    if (report == "ERR_RULE_NOT_BOOLEAN") say(found, "a rule is true or false: compare it");
    if (report == "ERR_DOMAIN_TYPE" && expr) declared_here(found, expr);
    if (report == "ERR_DOMAIN_NOT_STATIC" || report == "ERR_ARRAY_NOT_STATIC" ||
        report == "ERR_EXPR_NOT_STATIC" || report == "ERR_INDEX_NOT_STATIC")
        say(found, "only constants and numbers are known when the model is checked");
}

void WaysOut::declared_here(PlacedFinding& found, const Expr* expr) {
    const char* name = simple_name(expr);
    const auto declared = name ? declared_.find(name) : declared_.end();
    if (declared == declared_.end()) return;
    if (const Declared* place = places_.find(declared->second.declaration))
        found.finding.notes.push_back({text_.place(place->name), "declared here"});
}

const TypeCon* WaysOut::array_type(std::string name) {
    NameData* namedata = nullptr;
    const int status = call([&] { return symtbl_lookup(table_, name.data(), 0, &namedata); });
    const bool is_array =
        status == 0 && namedata->ndtype == ND_VARIABLE && namedata->typecon->contype == TC_ARRAY;
    return is_array ? namedata->typecon : nullptr;
}

void WaysOut::array_here(PlacedFinding& found, std::string_view name) {
    const TypeCon* array = array_type(std::string(name));
    if (!array) return;
    if (const auto range = places_.find_type(array))
        found.finding.notes.push_back({text_.place(*range), "the array is declared here"});
}

void WaysOut::undeclared(PlacedFinding& found, std::string_view name, const Expr* operand,
                         const Subject& subject, TokenRange range) {
    if (!subject.idcon) return;
    const std::string_view instead = value_instead_of(name);
    if (!instead.empty()) {
        say(found, "write " + in_quotes(instead));
        return replace(text_, found, range, std::string(instead), true);
    }
    const bool is_field =
        subject.idcon != subject.path && subject.idcon != subject.path->args.compositid.hier;
    if (is_field) return undeclared_field(found, name, subject, range);
    if (declared_elsewhere(found, name)) return;
    if (follows_arrow(range.first))
        return say(found, "a field stands after '.', and '->' is an implication");
    suggest_visible(found, name, range.first, false);
    if (found.finding.hint.empty()) unknown_value(found, name, operand, subject, range);
}

void WaysOut::undeclared_field(PlacedFinding& found, std::string_view name, const Subject& subject,
                               TokenRange range) {
    const PolyHash* environment = environment_of(subject.path, subject.idcon);
    std::vector<std::string_view> names;
    if (environment) add_names(environment, names, false);
    if (names.size() == 1 && names.front() == "SOME") {
        say(found, "write '.SOME' after the name of an optional for its value");
        return insert_before(text_, found, range.first, "SOME.", false);
    }
    suggestions_.suggest(found, name, range.first, names);
    list_fields(found, std::move(names));
}

bool WaysOut::declared_elsewhere(PlacedFinding& found, std::string_view name) {
    const auto later = declared_.find(name);
    if (later == declared_.end()) return false;
    if (const Declared* declared = places_.find(later->second.declaration))
        found.finding.notes.push_back({text_.place(declared->name), "declared here"});
    const bool is_variable = later->second.kind == ND_VARIABLE;
    say(found, is_variable ? "the variable is not visible here" : "declare it before its use");
    return true;
}

// cab->engine
bool WaysOut::follows_arrow(std::size_t token) const {
    return token > 0 && text_.word(token - 1) == "->" && text_.touches_the_one_before(token) &&
           text_.touches_the_one_before(token - 1);
}

// Where there is no similar one, and few enough to be read.
void WaysOut::list_fields(PlacedFinding& found, std::vector<std::string_view> names) {
    constexpr std::size_t most_names = 8;
    if (names.empty() || names.size() > most_names) return;
    std::ranges::sort(names);
    std::string list;
    for (const std::string_view name : names)
        list += (list.empty() ? "" : ", ") + in_quotes(name);
    say(found, "its fields: " + list);
}

// A name that is similar to none: a text, or the index of a loop that is not there.
void WaysOut::unknown_value(PlacedFinding& found, std::string_view name, const Expr* operand,
                            const Subject& subject, TokenRange range) {
    const bool is_index = range.first > 0 && range.last + 1 < text_.size() &&
                          text_.word(range.first - 1) == "[" && text_.word(range.last + 1) == "]";
    if (is_index) return say(found, "only a loop has an index, or write a number");
    const Expr* other = compared_with(operand, subject.path);
    if (other && other->type == ETYPE_BOOL) return say(found, "a boolean is true or false");
    if (other && other->type == ETYPE_OPTIONAL) return say(found, "an optional is SOME or NONE");
    if (!other || other->type != ETYPE_STRING) return;
    const std::string text = "\"" + std::string(name) + "\"";
    say(found, "a text stands in quotes: " + text);
    replace(text_, found, range, text, false);
}

void WaysOut::explain_type(PlacedFinding& found, std::string_view name, TokenRange range) {
    const std::string_view instead = type_instead_of(name);
    const auto later = declared_.find(name);
    if (!instead.empty() && later == declared_.end()) {
        say(found, "write " + in_quotes(instead));
        return replace(text_, found, range, std::string(instead), true);
    }
    if (later != declared_.end()) {
        const Declared* declared = places_.find(later->second.declaration);
        if (declared) found.finding.notes.push_back({text_.place(declared->name), "declared here"});
        if (later->second.kind != ND_TYPE) return;
        const bool is_own =
            declared && declared->range.first <= range.first && range.first <= declared->range.last;
        return say(found,
                   is_own ? "a type cannot have itself as a part" : "declare it before its use");
    }
    suggest_visible(found, name, range.first, true);
}

// Suggests a visible name. Stops for good once there are too many names to compare.
void WaysOut::suggest_visible(PlacedFinding& found, std::string_view name, std::size_t token,
                              bool types) {
    bool& are_too_many = are_too_many_[types ? 1 : 0];
    if (are_too_many) return;
    const std::vector<std::string_view> names = visible_names(types);
    are_too_many = !suggestions_.can_compare(names.size());
    suggestions_.suggest(found, name, token, names);
}

// The innermost first, since the first of equally similar names is suggested.
std::vector<std::string_view> WaysOut::visible_names(bool types) const {
    std::vector<std::string_view> names;
    if (!types)
        for (const PolyHash* environment : items<PolyHash>(table_->local_table))
            add_names(environment, names, false);
    add_names(table_->global_table, names, types);
    if (types) names.insert(names.end(), {"boolean", "integer", "float", "string"});
    return names;
}

// The fields of the record that a step of a path is looked up in; null where it is not known.
const PolyHash* WaysOut::environment_of(IdCon* path, const IdCon* step) try {
    PolyHash* environment = nullptr;
    unsigned pushed = 0;
    bool is_known = true;
    for (; path != step && path->contype == IDCON_COMPOSIT && is_known;
         path = path->args.compositid.nested) {
        char* name = path->args.compositid.hier->args.id.idname;
        const auto found = gather([&, scoped = static_cast<int>(pushed)] {
            return symtbl_lookup_env(line_info_, table_, name, scoped, &environment, UNDEF_LINENO);
        });
        is_known = found.value == 0 && environment;
        if (!is_known) break;
        call([=, this] { symtbl_push_env(table_, environment); });
        ++pushed;
    }
    for (; pushed > 0; --pushed)
        call([this] { symtbl_pop_env(table_); });
    return is_known ? environment : nullptr;
} catch (const InternalFailure&) {
    return nullptr;
}

void WaysOut::operands(PlacedFinding& found, const Expr* root, const Expr* binary) {
    const Expr* left = binary->args.binargs.leftarg;
    const Expr* right = binary->args.binargs.rightarg;
    const bool is_condition = is_logical(binary);
    if (optional_operand(found, root, left, right, is_condition) ||
        optional_operand(found, root, right, left, is_condition))
        return;
    if (is_logical(binary)) return incomplete_comparison(found, root, binary);
    if (left->type == ETYPE_SUM && right->structure == EXPR_STRING_CONST)
        return label_of(found, simple_name(left), right);
    if (binary->opr == OPR_DIV && left->type == ETYPE_INT)
        return say(found, "integers have no division: multiply the other side instead");
    if (left->type == ETYPE_SUM && right->type == ETYPE_SUM) {
        if (!is_comparison(binary) || binary->opr == OPR_EQ || binary->opr == OPR_NEQ) {
            labels(found, right);
            return labels(found, left);
        }
        return say(found, "labels have an order by 'order(label)'");
    }
    number_operands(found, binary);
    unbounded_operands(found, binary);
}

// A label or a boolean that is taken for a number.
void WaysOut::number_operands(PlacedFinding& found, const Expr* binary) {
    const unsigned left = binary->args.binargs.leftarg->type;
    const unsigned right = binary->args.binargs.rightarg->type;
    const bool counts = is_arithmetic(binary) && left == ETYPE_BOOL && right == ETYPE_BOOL;
    if (left != ETYPE_INT && right != ETYPE_INT && !counts) return;
    const unsigned other = left == ETYPE_INT ? right : left;
    if (is_comparison(binary) && other == ETYPE_SUM)
        say(found, "compare it with a label, or the position of its label by 'order(x)'");
    if (is_comparison(binary) && left == ETYPE_BOOL)
        say(found, "a boolean is true or false by itself: write 'x' or 'not x'");
    if (is_arithmetic(binary) && other == ETYPE_BOOL)
        say(found, "a boolean is not a number: write '(if x then 1 else 0)'");
}

void WaysOut::unbounded_operands(PlacedFinding& found, const Expr* binary) {
    const Expr* left = binary->args.binargs.leftarg;
    const Expr* right = binary->args.binargs.rightarg;
    const bool are_strings = left->type == ETYPE_STRING && binary->opr != OPR_EQ;
    if (is_unbounded_name(left) && is_unbounded_name(right) && is_comparison(binary) &&
        !are_strings)
        return say(found, binary->opr == OPR_EQ
                              ? "two unbounded variables can only be equal in a rule of its own, "
                                "or joined to another one by 'and'"
                              : "an unbounded variable can only be compared with a constant value: "
                                "give it a range, such as [0..100]");
    if (is_arithmetic(binary) && (is_unbounded_name(left) || is_unbounded_name(right)))
        say(found, "there is no arithmetic with an unbounded variable: give it a range, such as "
                   "[0..100]");
}

// `ram > 8` where ram is optional.
bool WaysOut::optional_operand(PlacedFinding& found, const Expr* root, const Expr* operand,
                               const Expr* other, bool is_condition) {
    const char* name = simple_name(operand);
    const bool is_word =
        name && (std::string_view(name) == "SOME" || std::string_view(name) == "NONE");
    if (operand->type != ETYPE_OPTIONAL || is_word || other->type == ETYPE_OPTIONAL ||
        operand->structure != EXPR_IDCONSTRUCTOR)
        return false;
    const auto range = places_.find_part(root, operand);
    if (!range) return false;
    if (is_condition) {
        say(found, "write ' = SOME' after the name of an optional for whether it is there");
        insert_after(text_, found, range->last, " = SOME", false);
        return true;
    }
    say(found, "write '.SOME' after the name of an optional for its value");
    insert_after(text_, found, range->last, ".SOME", false);
    return true;
}

// `slots = 2 or 4`.
void WaysOut::incomplete_comparison(PlacedFinding& found, const Expr* root, const Expr* binary) {
    const Expr* right = binary->args.binargs.rightarg;
    const Expr* before = last_comparison(binary->args.binargs.leftarg);
    const bool joins = binary->opr == OPR_AND || binary->opr == OPR_OR || binary->opr == OPR_XOR;
    if (!joins || !before || right->type == ETYPE_BOOL || is_comparison(right)) return;
    const auto name = places_.find_part(root, before->args.binargs.leftarg);
    const auto value = places_.find_part(root, right);
    // `n <> 2 or n <> 3` would always hold.
    const bool is_meant = before->opr != OPR_NEQ || binary->opr == OPR_AND;
    if (!name || !value || !is_meant) return;
    std::string missing;
    for (std::size_t i = name->first; i <= name->last; ++i)
        missing += text_.word(i);
    missing += " " + std::string(text_.word(name->last + 1)) + " ";
    say(found, "it joins whole comparisons: write '" + missing + "' again");
    insert_before(text_, found, value->first, missing, false);
}

// `case cover of 3 then ...`
void WaysOut::arm(PlacedFinding& found, const IdCon* selector, const Expr* value) {
    if (value->type == ETYPE_SUM) return labels(found, value);
    if (value->structure == EXPR_STRING_CONST && selector->contype == IDCON_SIMPLE)
        label_of(found, selector->args.id.idname, value);
}

// `cover = "grey"` where that is not a label of the enumeration.
void WaysOut::label_of(PlacedFinding& found, const char* name, const Expr* text) {
    NameData* namedata = nullptr;
    if (!name ||
        call([&] { return symtbl_lookup(table_, const_cast<char*>(name), 0, &namedata); }) != 0 ||
        namedata->ndtype != ND_VARIABLE)
        return;
    const TypeCon* typecon = namedata->typecon;
    while (typecon && typecon->contype == TC_NAMED) {
        const int status =
            call([&] { return symtbl_lookup(table_, typecon->values.name, 0, &namedata); });
        typecon = status == 0 && namedata->ndtype == ND_TYPE ? namedata->typecon : nullptr;
    }
    if (!typecon || typecon->contype != TC_SUM) return;
    std::vector<std::string_view> labels;
    for (const char* label : items<char>(typecon->values.labels))
        labels.emplace_back(label);
    const std::string_view similar = most_similar(text->args.str, labels);
    say(found, "\"" + std::string(text->args.str) + "\" is not a label of " + in_quotes(name) +
                   (similar.empty() ? "" : ": did you mean " + in_quotes(similar) + "?"));
    if (const auto range = places_.find_type(typecon))
        found.finding.notes.push_back({text_.place(*range), "its labels are declared here"});
}

void WaysOut::labels(PlacedFinding& found, const Expr* label) {
    const char* name = simple_name(label);
    NameData* namedata = nullptr;
    if (!name) return;
    const int status =
        call([&] { return symtbl_lookup(table_, const_cast<char*>(name), 0, &namedata); });
    if (status != 0 || namedata->ndtype != ND_LABEL) return;
    const auto range = places_.find_type(namedata->typecon);
    if (range)
        found.finding.notes.push_back(
            {text_.place(*range), in_quotes(name) + " is a label of this enumeration"});
}

} // namespace norvane::driver
