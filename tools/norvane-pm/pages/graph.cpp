#include "graph.h"

#include "languages.h"
#include "text.h"
#include "touched.h"

namespace norvane::driver {

std::string dot_string(std::string_view bytes) {
    std::string result = "\"";
    for (const char c : for_terminal(bytes)) {
        if (c == '"' || c == '\\') result += '\\';
        result += c;
    }
    return result += '"';
}

void write_dot(const Terms& terms, const FlatRules& rules, Writer& out, NodeLinks links) {
    const FlatModel& flat = terms.flat();
    std::vector<bool> is_named(flat.size());
    out << "graph model {\n  rankdir=LR;\n  node [fontname=\"sans-serif\"];\n";
    std::size_t number = 0;
    const auto link = [&](char kind, std::size_t to) {
        if (links == NodeLinks::to_page) out << ", URL=\"#" << kind << to << '"';
        out << "];\n";
    };
    for (const FlatRule rule : rules) {
        if (out.refused()) return;
        ++number;
        const std::string origin = where_declared(flat.model(), rule.origin->linenumber).text;
        out << "  r" << number << " [shape=circle, label=\"" << number
            << "\", tooltip=" << dot_string(origin + ": " + rule_by_name(flat, rule.expr));
        link('r', number);
        for (const std::size_t variable : variables_of(terms, rule.expr)) {
            is_named[variable] = true;
            out << "  r" << number << " -- v" << variable << ";\n";
        }
    }
    flat.for_each([&](const FlatVariable& variable) {
        if (!is_named[variable.number]) return true;
        out << "  v" << variable.number
            << " [shape=box, style=" << (variable.is_public ? "rounded" : "\"rounded,dashed\"")
            << ", label=" << dot_string(variable.path);
        link('v', variable.number);
        return !out.refused();
    });
    out << "}\n";
}

} // namespace norvane::driver
