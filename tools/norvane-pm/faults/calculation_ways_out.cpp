#include "calculation_ways_out.h"

#include <algorithm>
#include <array>

#include "fault_place.h"
#include "mistakes.h"

namespace norvane::driver {
namespace {

constexpr std::size_t most_shown_labels = 8;

struct Advice {
    std::string_view words; // of the message
    std::string_view hint;
};
constexpr auto advices = std::to_array<Advice>({
    {"is private, and cannot", "a calculation sees what the model declares as 'public'"},
    {"Illegal array dimension", "an array has an index for each dimension, such as [0]"},
    {"is not a simple type", "name a field or an element of it"},
    {"'return'-statement", "the body of a function ends with 'return', also after an 'if'"},
    {"initial expression is of type undefined", "give it a value, such as ':= 0'"},
    {"is not within a loop", "'break' leaves a loop or a switch"},
    {"Left-hand operand to assignment", "compare values by '='"},
    {"test-expression", "write a comparison, such as 'x > 0'"},
});

// Functions that make a value of one type from one of another.
struct Conversion {
    std::string_view wanted;
    std::string_view given;
    std::string_view function;
};
constexpr auto conversions = std::to_array<Conversion>({
    {"integer", "float", "System.Float2Int"},
    {"integer", "string", "System.String2Int"},
    {"float", "string", "System.String2Float"},
    {"string", "integer", "System.Int2String"},
    {"string", "float", "System.Float2String"},
});

// The types that a message names, in their order.
std::vector<std::string_view> types_in(std::string_view message) {
    constexpr auto types =
        std::to_array<std::string_view>({"integer", "float", "string", "boolean", "void"});
    std::vector<std::string_view> found;
    for (std::size_t at = 0; at < message.size();) {
        const std::size_t end = std::min(message.find_first_of(" .,;", at), message.size());
        const std::string_view word = message.substr(at, end - at);
        if (std::ranges::find(types, word) != types.end()) found.push_back(word);
        at = end + 1;
    }
    return found;
}

std::string_view conversion_for(std::string_view message) {
    const std::vector<std::string_view> types = types_in(message);
    if (types.size() != 2) return {};
    const bool names_given_first = message.find("it must be of type") != message.npos ||
                                   message.find("return") != message.npos;
    const bool names_wanted_first = message.find("right-hand-side") != message.npos ||
                                    message.find("initial expression") != message.npos;
    if (!names_given_first && !names_wanted_first) return {};
    for (const Conversion& row : conversions)
        if (row.wanted == types[names_given_first] && row.given == types[!names_given_first])
            return row.function;
    return {};
}

// The label without its leading "{...}", unless nothing follows that.
std::string_view shown(std::string_view label) {
    const std::size_t close = label.starts_with('{') ? label.find('}') : label.npos;
    return close < label.size() - 1 ? label.substr(close + 1) : label;
}

void add_argument(std::string& arguments, CalcType type, const char* name) {
    if (!arguments.empty()) arguments += ", ";
    arguments += std::string(calc_type2string(type)) + " " + name;
}

} // namespace

void CalculationWaysOut::explain(PlacedFinding& found, const CFunc* func, const CExpr* part) {
    const std::string_view message = found.finding.message;
    const auto says = [message](std::string_view words) {
        return message.find(words) != message.npos;
    };
    if (part && says("No product model variable")) return undeclared(found, func, part);
    if (part && says("No function")) return undeclared_function(found, part);
    if (part && says("provided")) return signature(found, part);
    if (part && says("is not a legal value")) return illegal_label(found, part);
    say_by_table(found);
}

void CalculationWaysOut::say_by_table(PlacedFinding& found) const {
    const std::string_view message = found.finding.message;
    const std::string_view function = conversion_for(message);
    if (!function.empty()) return say(found, std::string(function) + "(...) converts it");
    for (const Advice& advice : advices)
        if (message.find(advice.words) != message.npos) return say(found, std::string(advice.hint));
}

void CalculationWaysOut::narrow(PlacedFinding& found, TokenRange range) const {
    found.token = range.first;
    found.finding.place = text_.place(range);
}

// The names that are visible at the first step of a path which does not exist, and that step; the
// variable of the last step where all of them do.
std::vector<std::string_view>
CalculationWaysOut::names_before(const CPMVar* path, std::size_t& step, NameData** last) const {
    LineInfo none{};
    PolyHash* environment = static_cast<PolyHash*>(plist_hd(table_->local_table));
    unsigned pushed = 0;
    for (step = 0; path && environment; path = path->nested, ++step) {
        const bool is_known = call([&] { return symtbl_lookup(table_, path->name, 1, last); }) == 0;
        if (!is_known || !path->nested) break;
        PolyHash* next = nullptr;
        gather(
            [&] { return symtbl_lookup_env(&none, table_, path->name, 1, &next, UNDEF_LINENO); });
        environment = next;
        if (!environment) break;
        call([&] { symtbl_push_env(table_, environment); });
        ++pushed;
    }
    for (; pushed > 0; --pushed)
        call([this] { symtbl_pop_env(table_); });
    std::vector<std::string_view> names;
    if (environment) add_names(environment, names, false);
    return names;
}

void CalculationWaysOut::undeclared(PlacedFinding& found, const CFunc* func,
                                    const CExpr* variable) {
    std::size_t step = 0;
    NameData* namedata = nullptr;
    std::vector<std::string_view> names = names_before(variable->args.pmvar, step, &namedata);
    const std::vector<std::size_t> tokens = places_.names_of_path(variable);
    if (step >= tokens.size()) return;
    const std::size_t token = tokens[step];
    narrow(found, {token, token});
    const std::string name(text_.word(token));
    if (step == 0) {
        for (const CFuncLVar* local : items<CFuncLVar>(func->vardefs))
            names.push_back(local->name);
        for (const CFuncArg* argument : items<CFuncArg>(func->args))
            names.push_back(argument->name);
        names.insert(names.begin(), "break"); // misspelt, it is taken for a name
        const std::string_view value = value_instead_of(name);
        NameData* label = nullptr;
        const bool is_label =
            call([&] {
                return symtbl_lookup(table_, const_cast<char*>(name.c_str()), 0, &label);
            }) == 0 &&
            label->ndtype == ND_LABEL;
        const std::string instead = is_label ? "\"" + name + "\"" : std::string(value);
        if (!instead.empty()) {
            say(found, is_label ? "labels are texts here: write " + instead
                                : "write " + in_quotes(instead));
            return replace(text_, found, {token, token}, instead, true);
        }
    }
    suggestions_.suggest(found, name, token, names);
}

void CalculationWaysOut::undeclared_function(PlacedFinding& found, const CExpr* called) {
    const TokenRange range = places_.name_of_call(called);
    narrow(found, range);
    const std::string_view ns_name = called->args.call.ns_name;
    const std::string_view name = called->args.call.fname;
    const CalculationNames::Names& in_namespace = names_.functions_in(ns_name);
    if (!in_namespace.empty()) {
        if (suggestions_.suggest(found, name, range.last, in_namespace)) return;
    } else if (suggestions_.suggest(found, ns_name, range.first, names_.namespaces())) {
        return;
    }
    const CalculationNames::Names& with_it = names_.namespaces_with(name);
    const auto is_other = [ns_name](std::string_view ns) { return ns != ns_name; };
    const auto other = std::ranges::find_if(with_it, is_other);
    if (other == with_it.end() || std::any_of(other + 1, with_it.end(), is_other)) return;
    const std::string elsewhere = std::string(*other) + "." + std::string(name);
    say(found, "did you mean " + in_quotes(elsewhere) + "?");
    replace(text_, found, range, elsewhere, false);
}

void CalculationWaysOut::signature(PlacedFinding& found, const CExpr* called) const {
    const auto& args = called->args.call;
    std::string arguments;
    if (const CFunc* func = find_function(calculation_, args.ns_name, args.fname)) {
        const std::size_t token = EditedCalculation::token_of_line(func->line_no);
        found.finding.notes.push_back({text_.place(token), "declared here"});
        for (const CFuncArg* argument : items<CFuncArg>(func->args))
            add_argument(arguments, argument->type, argument->name);
    }
    const CFuncSignature* row = calc_get_build_in_func_signature(args.ns_name, args.fname);
    if (row)
        for (const auto* argument = row->args; argument->name; ++argument)
            add_argument(arguments, argument->type, argument->name);
    say(found, "it is " + std::string(args.ns_name) + "." + args.fname + "(" + arguments + ")");
}

// The enumeration that a type names, or is an array of; null where it is none.
const TypeCon* CalculationWaysOut::enumeration_in(TypeCon* type) const {
    LineInfo none{};
    while (type && type->contype != TC_SUM) {
        TypeCon* named = type;
        type = named->contype == TC_ARRAY ? named->values.array.element : nullptr;
        if (named->contype == TC_NAMED)
            gather(
                [&] { return symtbl_lookup_typecon(&none, table_, named, &type, UNDEF_LINENO); });
    }
    return type;
}

// "'wod' is not a legal value for the variable 'frame'", of a comparison or an assignment.
void CalculationWaysOut::illegal_label(PlacedFinding& found, const CExpr* comparison) {
    const CExpr* text = comparison->args.bop.right_arg;
    const CExpr* variable = comparison->args.bop.left_arg;
    if (text->structure != CEXPR_STRING_CONST) std::swap(text, variable);
    if (variable->structure != CEXPR_PMVAR) return;
    const TokenRange range = places_.range_of(text);
    narrow(found, range);
    std::size_t step = 0;
    NameData* namedata = nullptr;
    names_before(variable->args.pmvar, step, &namedata);
    const TypeCon* type = namedata ? enumeration_in(namedata->typecon) : nullptr;
    if (!type) return;
    std::vector<std::string_view> labels;
    for (const char* label : items<char>(type->values.labels))
        labels.push_back(shown(label));
    const std::string_view written = quoted_name(found.finding.message);
    const bool is_similar = suggestions_.suggest(found, written, range.first, labels);
    if (is_similar) {
        for (Replacement& replacement : found.finding.replacements)
            replacement.text = "\"" + replacement.text + "\"";
        return;
    }
    std::string all;
    for (std::size_t i = 0; i < std::min(labels.size(), most_shown_labels); ++i)
        all += (i > 0 ? ", " : "") + in_quotes(labels[i]);
    say(found, "its labels are " + all + (labels.size() > most_shown_labels ? ", ..." : ""));
}

std::string_view CalculationWaysOut::explain_namespace(PlacedFinding& found, const char* own,
                                                       const CExpr* called) {
    const char* name = called->args.call.fname;
    const CalculationNames::Names& candidates = names_.namespaces_with(name);
    if (candidates.empty()) return {};
    const bool is_in_own =
        find_function(calculation_, own, name) || calc_get_build_in_func_signature(own, name);
    const std::string_view ns = is_in_own ? own : candidates.front();
    const std::size_t token = EditedCalculation::token_of_line(called->line_no);
    say(found, "write " + in_quotes(std::string(ns) + "." + name));
    insert_before(text_, found, token, std::string(ns) + ".", is_in_own || candidates.size() == 1);
    return ns;
}

} // namespace norvane::driver
