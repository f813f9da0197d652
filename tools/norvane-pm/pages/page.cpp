#include "page.h"

#include <algorithm>

#include "languages.h"
#include "page_frame.h"
#include "text.h"
#include "touched.h"

namespace norvane::driver {
namespace {

// More would fill the window.
constexpr std::size_t most_values = 40;
constexpr std::size_t most_links = 40;
constexpr std::size_t rows_of_a_list = 100;

using Numbers = std::vector<std::size_t>;

class Page {
  public:
    Page(const PageContents& contents, SourceFiles& sources, Writer& out)
        : contents_(contents), terms_(contents.terms), flat_(terms_.flat()), sources_(sources),
          out_(out), rules_of_(flat_.size()), groups_(flat_.size()), excluded_(flat_.size()) {
        flat_.for_each([this](const FlatVariable& variable) {
            paths_.push_back(html_text(variable.path));
            public_ += variable.is_public;
            return true;
        });
        for (const FlatRule rule : contents.rules) {
            for (const std::size_t variable :
                 variables_of_.emplace_back(variables_of(terms_, rule.expr)))
                rules_of_[variable].push_back(variables_of_.size() - 1);
            groups_.connect(variables_of_.back());
        }
        if (!contents.answers) return;
        for (const Answers::Excluded& of : contents.answers->excluded)
            excluded_[of.variable] = &of;
    }

    void write() {
        frame_before();
        figures();
        if (contents_.answers) answers(*contents_.answers);
        warnings();
        variables();
        rules();
        out_ << "<section id=\"matrix\"><h2>Which rules name which variables</h2>\n"
                "<p class=\"soft\">Of the rules that the search shows.</p>"
                "<div id=\"grid\" tabindex=\"0\"></div>"
                "<noscript>The matrix needs JavaScript.</noscript></section>\n";
        groups();
        out_ << "</main>\n<script>" << page_script << "</script>\n</body></html>\n";
    }

  private:
    void frame_before();
    void figures();
    void figure(const char* name, std::size_t number) {
        out_ << "<div><dt>" << name << "</dt><dd>" << number << "</dd></div>";
    }
    void answers(const Answers& of);
    void warnings();
    void variables();
    void variable(const FlatVariable& variable);
    void bar(const FlatVariable& variable);
    void range_bar(const FlatVariable& variable);
    void value_bar(const FlatVariable& variable);
    bool is_excluded(const FlatVariable& variable, std::uint64_t value) const {
        const Answers::Excluded* of = excluded_[variable.number];
        return of && std::ranges::binary_search(of->values, value);
    }
    static std::string range_text(std::uint64_t from, std::uint64_t to) {
        return std::to_string(from) + (to == from + 1 ? "" : " to " + std::to_string(to - 1));
    }
    void segment(const std::string& text, bool is_out) {
        out_ << (is_out ? "<span class=\"no\" title=\"in no product\">" : "<span>")
             << html_text(text) << "</span>";
    }
    void rules();
    void rule(const FlatRule& rule, std::size_t number);
    void groups();

    // Long lists are cut into short ones, which a browser lays out one by one.
    void begin_rows(std::size_t count) {
        out_ << (count > rows_of_a_list ? "<ul class=\"rows many\">\n" : "<ul class=\"rows\">\n");
    }
    void break_rows(std::size_t number, std::size_t count) {
        if (number == 0 || number % rows_of_a_list != 0) return;
        out_ << "</ul>\n";
        begin_rows(count);
    }
    void variable_link(std::size_t variable) {
        out_ << "<a class=\"path\" href=\"#v" << variable << "\">" << paths_[variable] << "</a>";
    }
    void rule_link(std::size_t rule) {
        out_ << "<a href=\"#r" << rule + 1 << "\">" << rule + 1 << "</a>";
    }
    // Writes links to the first `most_links`, and the number of those left out.
    template <typename Link>
    void links(const Numbers& numbers, Link link) {
        for (std::size_t i = 0; i < std::min(numbers.size(), most_links); ++i) {
            out_ << (i > 0 ? ", " : "");
            link(numbers[i]);
        }
        if (numbers.size() > most_links) out_ << " and " << numbers.size() - most_links << " more";
    }
    void rule_links(const Numbers& rules) {
        out_ << (rules.size() == 1 ? "rule " : "rules ");
        links(rules, [this](std::size_t rule) { rule_link(rule); });
    }

    const PageContents& contents_;
    const Terms& terms_;
    const FlatModel& flat_;
    SourceFiles& sources_;
    Writer& out_;
    std::vector<std::string> paths_;
    std::size_t public_ = 0;
    std::vector<Numbers> variables_of_; // by rule
    std::vector<Numbers> rules_of_;     // by variable
    Groups groups_;
    std::vector<const Answers::Excluded*> excluded_; // by variable
};

void Page::frame_before() {
    const std::string title = html_text(contents_.title);
    out_ << "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
            "<meta name=\"viewport\" content=\"width=device-width\">\n"
            "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
            "style-src 'unsafe-inline'; script-src 'unsafe-inline'\">\n<title>"
         << title << "</title>\n<style>" << page_style << "</style></head>\n<body>\n"
         << "<a class=\"skip\" href=\"#main\">To the contents</a>\n<header><h1>" << title
         << "</h1>\n<nav>";
    if (contents_.answers) out_ << "<a href=\"#answers\">Answers</a>";
    if (!contents_.warnings.empty()) out_ << "<a href=\"#warnings\">Warnings</a>";
    out_ << "<a href=\"#variables\">Variables</a><a href=\"#rules\">Rules</a>"
            "<a href=\"#matrix\">Matrix</a><a href=\"#groups\">Groups</a></nav>\n"
            "<div class=\"search\"><input id=\"search\" type=\"search\" "
            "placeholder=\"Search variables and rules (/)\" aria-label=\"Search\">"
            "<span id=\"count\" class=\"soft\" role=\"status\"></span></div></header>\n"
            "<main id=\"main\">\n";
}

void Page::figures() {
    std::size_t most = 0;
    for (const Numbers& variables : variables_of_)
        most = std::max(most, variables.size());
    out_ << "<h2>Figures</h2><dl>";
    figure("public variables", public_);
    figure("private variables", flat_.size() - public_);
    figure("flat rules", variables_of_.size());
    figure("most variables in a rule", most);
    figure("variables in no rule",
           static_cast<std::size_t>(std::ranges::count_if(rules_of_, &Numbers::empty)));
    out_ << "</dl>\n";
}

void Page::answers(const Answers& of) {
    out_ << "<section id=\"answers\"><h2>Answers of " << html_text(of.solver) << "</h2>\n<p>";
    if (!of.has_product) {
        out_ << "It does not know in time whether there is a product.</p></section>\n";
        return;
    }
    if (!*of.has_product) {
        out_ << "<strong class=\"bad\">There is no product</strong>";
        if (!of.contradiction.empty()) {
            out_ << ": these rules contradict each other: ";
            rule_links(of.contradiction);
        }
        out_ << ".</p></section>\n";
        return;
    }
    out_ << "There are products.</p>\n<p>";
    if (!of.excluded.empty())
        out_ << "Some values of these are in no product: ";
    else if (of.has_large || of.open_variables > 0)
        out_ << "No value is known to be in no product.";
    else
        out_ << "Each value of each variable is in some product.";
    Numbers variables;
    for (const Answers::Excluded& excluded : of.excluded)
        variables.push_back(excluded.variable);
    links(variables, [this](std::size_t variable) { variable_link(variable); });
    out_ << "</p>\n<p>";
    if (of.redundant.empty()) {
        out_ << (of.open_rules > 0 ? "No rule is known to follow from the others."
                                   : "No rule follows from the others.");
    } else {
        out_ << "Each of these follows from all other rules: ";
        rule_links(of.redundant);
    }
    out_ << "</p>\n";
    if (of.has_large)
        out_ << "<p class=\"soft\">Variables with many values were not asked about.</p>\n";
    if (const std::size_t open = of.open_variables + of.open_rules; open > 0)
        out_ << "<p class=\"soft\">Questions without an answer in time: " << open << ".</p>\n";
    out_ << "</section>\n";
}

void Page::warnings() {
    if (contents_.warnings.empty()) return;
    out_ << "<section id=\"warnings\"><h2>Warnings</h2><ul class=\"rows\">\n";
    for (const Finding& finding : contents_.warnings) {
        out_ << "<li>" << html_text(finding.message) << " <span class=\"soft\">"
             << html_text(finding.place.file);
        if (finding.place.line > 0) out_ << " (" << finding.place.line << ')';
        out_ << " [" << html_text(finding.name) << "]</span></li>\n";
    }
    out_ << "</ul></section>\n";
}

void Page::variables() {
    out_ << "<section id=\"variables\"><h2>Variables</h2>";
    begin_rows(flat_.size());
    flat_.for_each([this](const FlatVariable& of) {
        break_rows(of.number, flat_.size());
        variable(of);
        return !out_.refused();
    });
    out_ << "</ul></section>\n";
}

void Page::variable(const FlatVariable& variable) {
    const Numbers& rules = rules_of_[variable.number];
    out_ << "<li id=\"v" << variable.number << "\">";
    variable_link(variable.number);
    out_ << " <span class=\"soft\">" << (variable.is_public ? "public " : "private ")
         << kind_text(variable.shape.kind) << ", "
         << html_text(where_declared(flat_.model(), variable.decl->linenumber).text) << "</span>";
    bar(variable);
    out_ << "<div class=\"soft\">";
    if (rules.empty())
        out_ << "in no rule";
    else
        rule_links(rules);
    if (const Answers::Excluded* excluded = excluded_[variable.number]) {
        out_ << "; <span class=\"bad\">values are excluded";
        if (!excluded->rules.empty()) out_ << " by";
        out_ << "</span> ";
        if (!excluded->rules.empty()) rule_links(excluded->rules);
    }
    out_ << "</div></li>\n";
}

void Page::bar(const FlatVariable& variable) {
    out_ << "<div class=\"bar\">";
    if (variable.shape.kind == ScalarKind::range)
        range_bar(variable);
    else
        value_bar(variable);
    out_ << "</div>";
}

// A segment for neighbours that are all possible, or all not.
void Page::range_bar(const FlatVariable& variable) {
    const std::uint64_t end = variable.shape.upper + std::uint64_t{1};
    if (!excluded_[variable.number]) return segment(range_text(0, end), false);
    for (std::uint64_t from = 0, to; from < end; from = to) {
        const bool is_out = is_excluded(variable, from);
        for (to = from + 1; to < end && is_excluded(variable, to) == is_out;)
            ++to;
        segment(range_text(from, to), is_out);
    }
}

void Page::value_bar(const FlatVariable& variable) {
    const Shape& shape = variable.shape;
    const auto shown = static_cast<unsigned>(std::min<std::size_t>(shape.upper, most_values));
    for (unsigned value = 0; value <= shown; ++value)
        segment(value_text(shape, value), is_excluded(variable, value));
    if (shown < shape.upper) segment(std::to_string(shape.upper - shown) + " more", false);
}

void Page::rules() {
    out_ << "<section id=\"rules\"><h2>Flat rules</h2>";
    begin_rows(variables_of_.size());
    std::size_t number = 0;
    for (const FlatRule of : contents_.rules) {
        break_rows(number, variables_of_.size());
        rule(of, number++);
        if (out_.refused()) return;
    }
    out_ << "</ul></section>\n";
}

void Page::rule(const FlatRule& rule, std::size_t number) {
    const DeclaredAt origin = where_declared(flat_.model(), rule.origin->linenumber);
    const Numbers& variables = variables_of_[number];
    out_ << "<li id=\"r" << number + 1 << "\" data-v=\"";
    for (const std::size_t variable : variables)
        out_ << variable << ' ';
    out_ << "\">";
    rule_link(number);
    out_ << " <code>" << html_text(rule_by_name(flat_, rule.expr)) << "</code>";
    std::string_view source;
    if (origin.line > 0) source = sources_.rest(origin.file, origin.line);
    source = source.substr(0, source.find_first_of("\r\n"));
    source.remove_prefix(std::min(source.find_first_not_of(" \t"), source.size()));
    out_ << "<pre>" << html_text(origin.text) << (source.empty() ? "" : ": ") << html_text(source)
         << "</pre><div class=\"soft\">";
    links(variables, [this](std::size_t variable) { variable_link(variable); });
    out_ << "</div></li>\n";
}

// Those of more than one variable, the largest first.
void Page::groups() {
    std::vector<Numbers> by_first(flat_.size());
    for (std::size_t variable = 0; variable < flat_.size(); ++variable)
        by_first[groups_.first_of(variable)].push_back(variable);
    std::erase_if(by_first, [](const Numbers& group) { return group.size() < 2; });
    std::ranges::stable_sort(by_first, std::ranges::greater(), &Numbers::size);
    out_ << "<section id=\"groups\"><h2>Connected groups</h2>\n<p class=\"soft\">Rules connect "
            "the variables of a group, directly or through others. A choice in one group leaves "
            "the other groups as they are.</p><ul class=\"rows\">\n";
    for (const Numbers& group : by_first) {
        out_ << "<li>" << group.size() << " variables: ";
        links(group, [this](std::size_t variable) { variable_link(variable); });
        out_ << "</li>\n";
    }
    out_ << "</ul>\n";
    const Drawing& drawing = contents_.drawing;
    if (drawing.picture.empty())
        out_ << "<p class=\"soft\">" << html_text(drawing.why_none) << "</p>";
    else
        out_ << "<p class=\"soft\">A circle is a rule, and a box a variable, which is dashed if "
                "it is private.</p><div id=\"graph\" tabindex=\"0\">"
             << drawing.picture << "</div>";
    out_ << "</section>\n";
}

} // namespace

std::string html_text(std::string_view bytes) {
    std::string result;
    for (const char c : without_controls(to_utf8(bytes), "\n\t")) {
        switch (c) {
        case '&': result += "&amp;"; break;
        case '<': result += "&lt;"; break;
        case '>': result += "&gt;"; break;
        case '"': result += "&quot;"; break;
        case '\'': result += "&#39;"; break;
        default: result += c;
        }
    }
    return result;
}

void write_page(const PageContents& contents, SourceFiles& sources, Writer& out) {
    Page(contents, sources, out).write();
}

} // namespace norvane::driver
