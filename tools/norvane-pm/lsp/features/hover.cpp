// What a name stands for, or what an error means.
#include <algorithm>

#include "builtins.h"
#include "classes.h"
#include "explain.h"
#include "places.h"
#include "requests.h"
#include "shown_findings.h"
#include "text.h"
#include "unit.h"

namespace norvane::driver::lsp {
namespace {

// A block of code. Clients know a language only by letters, digits and underscores.
std::string fenced(const std::string& language, const std::string& text) {
    std::string fence = "```";
    while (text.find(fence) != text.npos)
        fence += '`';
    return fence + language + "\n" + text + "\n" + fence;
}

// Lines that are not indented more than they need to be.
std::string trimmed(const std::string& comment) {
    std::string text;
    for (std::size_t from = 0; from < comment.size();) {
        const std::size_t end = std::min(comment.find('\n', from), comment.size());
        const std::size_t begin = std::min(comment.find_first_not_of(" \t\r", from), end);
        const std::size_t last = comment.find_last_not_of(" \t\r\n", end);
        const bool is_blank = begin == end || last == comment.npos || last < begin;
        if (!is_blank) text += (text.empty() ? "" : "\n") + comment.substr(begin, last + 1 - begin);
        from = end + 1;
    }
    return text;
}

bool holds(const Range& range, const Position& position) {
    return range.start <= position && position <= range.end;
}

// What `norvane-pm explain` says of the errors at a position.
std::string explanations(const Context& context, const Position& position) {
    std::string texts;
    for (const Finding& finding : context.unit.result().findings) {
        if (finding.place.file != context.document.path || finding.name.empty() ||
            finding.place.line == 0)
            continue;
        const Range range = range_of(finding.place, context.documents);
        if (!holds(range, position) || texts.find(finding.name) != texts.npos) continue;
        Job job;
        job.options.error_name = finding.name;
        job.command = explain;
        texts += "\n\n---\n" + fenced("text", run_now(job).lines);
    }
    return texts;
}

std::string facts_of(const Context& context, std::size_t number) {
    const NameIndex& names = context.unit.names();
    const Symbol& symbol = names.symbols[number];
    const Facts& facts = context.unit.result().facts;
    const std::string name(symbol.name);
    std::string text;
    if (symbol.is_left_out) text += "\n\na condition leaves this definition out";
    if (const std::size_t order = order_of(names, number); order != none)
        text += "\n\nnumber " + std::to_string(order) + " of its enumeration";
    if (symbol.kind == SymbolKind::constant)
        if (const auto value = facts.constants.find(name); value != facts.constants.end())
            text += "\n\nvalue: `" + value->second + "`";
    if (const std::vector<std::string> cuts = cuts_of(context, number); !cuts.empty()) {
        text += "\n\nThe rules cut its values into these classes:\n";
        unsigned number_of_class = 0;
        for (const std::string& each : classes_of(cuts))
            text += "\n- " + std::to_string(number_of_class++) + ": " + each;
    }
    return text;
}

// The declarations of the types that a declaration leads to, one after the other.
std::string type_texts(const Context& context, const Symbol& symbol) {
    constexpr unsigned most = 8;
    const NameIndex& names = context.unit.names();
    std::string texts;
    std::size_t type = symbol.type;
    for (unsigned i = 0; i < most && type != none;) {
        const TypeNode& node = names.types[type];
        type = node.base; // of an array or an optional
        if (node.kind != TypeNode::Kind::named) continue;
        const auto found = names.globals.find(node.name);
        if (found == names.globals.end()) break;
        texts += "\n" + declaration_text(names.symbols[found->second], context.documents);
        type = names.symbols[found->second].type;
        ++i;
    }
    return texts;
}

// Where the preprocessor has failed, any definition of a macro may be the one that counts.
std::string other_definitions(const Context& context, std::size_t macro) {
    std::string texts;
    const NameIndex& names = context.unit.names();
    const auto found = names.macros.find(names.symbols[macro].name);
    if (names.symbols[macro].kind != SymbolKind::macro || found == names.macros.end() ||
        context.unit.result().definitions.are_known())
        return "";
    for (const std::size_t each : found->second)
        if (each != macro) texts += "\nor: " + to_utf8(names.symbols[each].detail);
    return texts;
}

// Of a label, that of its enumeration.
const Symbol& declared(const NameIndex& names, const Symbol& symbol) {
    const bool is_label = symbol.kind == SymbolKind::label && symbol.container != none;
    return is_label ? names.symbols[symbol.container] : symbol;
}

// Of a function that every calculation may call, at a position.
std::string builtin_text(const Context& context, const Position& position) {
    for (const Call& call : context.unit.names().calls) {
        const Spot& spot = call.name_spot;
        if (call.symbol != none || !spot.is_known() || *spot.file != context.document.path ||
            !holds(range_of(spot, context.documents), position))
            continue;
        const std::string signature = builtin_signature(call.name);
        return signature.empty() ? "" : fenced("norvane_cl", signature);
    }
    return "";
}

} // namespace

Json hover(const Context& context) {
    const Position position = position_of(member(context.params, "position"));
    const Occurrence* name = name_at(context);
    std::string text;
    if (name) {
        const NameIndex& names = context.unit.names();
        const Symbol& symbol = names.symbols[name->symbol];
        const char* language = symbol.kind >= SymbolKind::name_space ? "norvane_cl" : "norvane_pm";
        text = std::string(kind_name(symbol.kind)) + " **" + to_utf8(symbol.name) + "**";
        const std::string declaration =
            declaration_text(declared(names, symbol), context.documents) +
            type_texts(context, symbol) + other_definitions(context, name->symbol);
        if (!declaration.empty()) text += "\n" + fenced(language, declaration);
        if (const std::string comment = comment_above(symbol, context.documents); !comment.empty())
            text += "\n\n" + fenced("text", trimmed(comment)); // its marks are no Markdown
        text += facts_of(context, name->symbol);
    }
    if (!name) text = builtin_text(context, position);
    text += explanations(context, position);
    if (text.empty()) return nullptr;
    Json result = {{"contents", {{"kind", "markdown"}, {"value", text}}}};
    if (name) result["range"] = to_json(range_of(name->spot, context.documents));
    return result;
}

} // namespace norvane::driver::lsp
