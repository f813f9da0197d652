// A page about a model: one file of HTML, which asks for nothing from anywhere else.
#ifndef NORVANE_PM_PAGE_H
#define NORVANE_PM_PAGE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "finding.h"
#include "source_files.h"
#include "terms.h"
#include "writer.h"

namespace norvane::driver {

// Text of a model between tags and in quoted attributes, as UTF-8: all of it goes through this.
std::string html_text(std::string_view bytes);

// What a solver has answered. Rules count from 0.
struct Answers {
    struct Excluded {
        std::size_t variable;
        std::vector<unsigned> values;
        std::vector<std::size_t> rules; // that exclude them
    };
    std::string solver;
    std::optional<bool> has_product; // nothing if the time was too short
    std::vector<std::size_t> contradiction;
    std::vector<Excluded> excluded;
    std::vector<std::size_t> redundant;
    bool has_large = false; // variables with more values than were asked about
    // Without an answer in time.
    std::size_t open_variables = 0;
    std::size_t open_rules = 0;
};

// A picture of the graph in SVG, or why there is none.
struct Drawing {
    std::string picture;
    std::string why_none;
};

struct PageContents {
    std::string title; // the model's file
    const Terms& terms;
    const FlatRules& rules;
    const std::vector<Finding>& warnings;
    std::optional<Answers> answers;
    Drawing drawing;
};

// The sources are shown beside the rules.
void write_page(const PageContents& contents, SourceFiles& sources, Writer& out);

} // namespace norvane::driver

#endif
