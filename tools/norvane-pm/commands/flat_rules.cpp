#include "flat_rules.h"

#include <algorithm>
#include <cstdio>

#include "escapes.h"
#include "finite.h"
#include "languages.h"
#include "load_model.h"
#include "output.h"
#include "text.h"
#include "warned_model.h"

namespace norvane::driver {
namespace {

// Line by line, so what is kept of a table is the width of its first column alone.
void print_table(const FlatModel& flat) {
    std::size_t width = 0;
    flat.for_each([&width](const FlatVariable& variable) {
        width = std::max(width, variable.path.size());
        return true;
    });
    flat.for_each([&](const FlatVariable& variable) {
        const Shape& shape = variable.shape;
        const DeclaredAt declared = where_declared(flat.model(), variable.decl->linenumber);
        std::string line = variable.path + std::string(width - variable.path.size(), ' ');
        line += variable.is_public ? "  public   " : "  private  ";
        std::string kind = kind_text(shape.kind);
        kind.resize(13, ' ');
        line += kind + "0.." + std::to_string(shape.upper) + "  " + declared.text;
        const bool has_texts = shape.kind != ScalarKind::boolean && shape.kind != ScalarKind::range;
        for (unsigned value = 0; has_texts && value <= shape.upper; ++value)
            line +=
                (value == 0 ? "  " : ", ") + std::to_string(value) + " " + value_text(shape, value);
        std::printf("%s\n", for_terminal(line).c_str());
        return !results_refused();
    });
}

void print_json(const FlatModel& flat) {
    flat.for_each([&flat](const FlatVariable& variable) {
        const Shape& shape = variable.shape;
        const DeclaredAt declared = where_declared(flat.model(), variable.decl->linenumber);
        std::string line = "{\"variable\":" + json_string(variable.path);
        line += variable.is_public ? ",\"public\":true" : ",\"public\":false";
        line += std::string(",\"kind\":\"") + kind_text(shape.kind) + "\"";
        line += ",\"upper\":" + std::to_string(shape.upper);
        line += ",\"file\":" + (declared.line > 0 ? json_string(declared.file) : "null");
        line += ",\"line\":" + (declared.line > 0 ? std::to_string(declared.line) : "null");
        if (shape.kind != ScalarKind::range) {
            line += ",\"values\":[";
            for (unsigned value = 0; value <= shape.upper; ++value)
                line += (value == 0 ? "" : ",") + json_string(value_text(shape, value));
            line += "]";
        }
        std::printf("%s}\n", line.c_str());
        return !results_refused();
    });
}

} // namespace

void variables(Session& session) {
    const CheckedModel& model = load_and_check_model(session);
    show_warnings(session, model, Made::nothing);
    session.begin(Step::print, session.subject);
    const FlatModel flat(model);
    check_size(session, flat);
    if (session.options.format == Format::json)
        print_json(flat);
    else
        print_table(flat);
}

bool wants_written_rules(const Options& options) {
    return options.language != RuleLanguage::text || options.by_name ||
           options.format == Format::json;
}

void write_flat_rules(Session& session) {
    const Options& options = session.options;
    if (options.as_written)
        throw WrongUsage{"--no-simplify prints rules as they are written: it cannot be combined "
                         "with --to, --labels "
                         "or --format=json"};
    LanguageOptions what{options.language, options.with_origin, options.by_name};
    if (what.language == RuleLanguage::text && options.format == Format::json)
        what.language = RuleLanguage::json;
    if (what.by_name && what.language != RuleLanguage::text && what.language != RuleLanguage::json)
        throw WrongUsage{"--labels cannot be combined with --to"};
    const CheckedModel& model = load_and_check_model(session);
    show_warnings(session, model, Made::rules);
    const FlatRules& rules = expand_rules(session, model, RuleForm::simplified, RuleOrigins::kept);
    const FlatModel flat(model);
    // The other languages begin with the variables.
    if (what.language != RuleLanguage::text && what.language != RuleLanguage::json)
        check_size(session, flat);
    try {
        session.print_output([&](std::FILE* to) { write_rules(flat, rules, what, to); });
    } catch (const Unwritten& unwritten) {
        Report report;
        report.set_title(unwritten.text);
        session.diagnostics.report(report);
        throw InputAtFault();
    }
}

} // namespace norvane::driver
