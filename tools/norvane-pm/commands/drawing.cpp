#include "drawing.h"

#include <cerrno>

#include "child_process.h"
#include "graph.h"
#include "touched.h"

namespace norvane::driver {
namespace {

// A larger graph is a tangle, which takes long to lay out and shows nothing.
constexpr std::size_t most_nodes = 1000;
constexpr std::size_t most_edges = 5000;
constexpr std::size_t longest_picture = std::size_t{1} << 26;
constexpr std::chrono::seconds time_limit(10);

bool is_small(const Terms& terms, const FlatRules& rules) {
    std::vector<bool> is_named(terms.flat().size());
    std::size_t nodes = 0;
    std::size_t edges = 0;
    for (const FlatRule rule : rules) {
        ++nodes;
        for (const std::size_t variable : variables_of(terms, rule.expr)) {
            ++edges;
            nodes += !is_named[variable];
            is_named[variable] = true;
        }
        if (nodes > most_nodes || edges > most_edges) return false;
    }
    return true;
}

// From its first tag to its last one, with links as HTML has them: the text in it is escaped.
std::string picture_in(const std::string& svg) {
    const std::size_t begin = svg.find("<svg");
    const std::size_t end = svg.rfind("</svg>");
    if (begin == std::string::npos || end == std::string::npos) return "";
    std::string picture;
    constexpr std::string_view link = "<a xlink:";
    for (std::size_t at = begin; at < end;) {
        const std::size_t next = std::min(svg.find(link, at), end);
        picture.append(svg, at, next - at);
        if (next < end) picture += "<a ";
        at = next + link.size();
    }
    return picture + "</svg>";
}

} // namespace

Drawing draw_graph(const Terms& terms, const FlatRules& rules) {
    if (rules.size() == 0) return {"", "There are no rules to draw a graph of."};
    if (!is_small(terms, rules))
        return {"", "The graph is too large for a picture: one of at most " +
                        std::to_string(most_nodes) + " rules and variables and " +
                        std::to_string(most_edges) + " lines between them is drawn."};
    ChildProcess dot;
    if (!dot.start({"dot", "-Tsvg"}))
        return {"", "To see a graph here, install Graphviz, whose program dot draws it."};
    {
        Writer out([&dot](std::string_view text) { dot.put(text); });
        write_dot(terms, rules, out, NodeLinks::to_page);
    }
    const auto deadline = ChildProcess::Clock::now() + time_limit;
    dot.exchange(deadline);
    dot.close_input();
    while (!dot.has_ended() && !dot.is_late() && dot.received().size() < longest_picture)
        dot.receive(deadline);
    const bool is_whole = dot.has_ended() && dot.status_of_the_end() == 0;
    const std::string picture = is_whole ? picture_in(dot.received()) : "";
    if (picture.empty())
        return {"", dot.is_late() ? "Graphviz took too long to draw the graph."
                                  : "Graphviz could not draw the graph."};
    return {picture, ""};
}

} // namespace norvane::driver
