#include "languages.h"

#include <memory>

#include "rule_writers.h"

namespace norvane::driver {
namespace {

// The rules of a record follow each other once for each instance, so their places are cached.
class Origins {
  public:
    explicit Origins(const CheckedModel& model) : model_(model) {}
    const DeclaredAt& of(const RuleDecl* decl) {
        const auto [at, is_new] = known_.try_emplace(decl);
        if (is_new) at->second = where_declared(model_, decl->linenumber);
        return at->second;
    }

  private:
    const CheckedModel& model_;
    std::unordered_map<const RuleDecl*, DeclaredAt> known_;
};

std::unique_ptr<RuleWriter> writer_of(const Terms& terms, const LanguageOptions& options,
                                      Writer& out) {
    switch (options.language) {
    case RuleLanguage::json: return json_writer(terms, options.by_name, out);
    case RuleLanguage::smtlib: return smtlib_writer(terms, out);
    case RuleLanguage::minizinc: return minizinc_writer(terms, out);
    case RuleLanguage::pm: return pm_writer(terms, out);
    default: return text_writer(terms, options, out);
    }
}

} // namespace

void write_rules(const FlatModel& flat, const FlatRules& rules, const LanguageOptions& options,
                 std::FILE* stream) {
    const Terms terms(flat);
    Writer out(stream);
    Origins origins(flat.model());
    const auto pass = [&](RuleWriter& writer) {
        std::size_t number = 0;
        writer.begin();
        for (const FlatRule rule : rules) {
            const DeclaredAt& origin = origins.of(rule.origin);
            try {
                writer.rule({rule.expr, ++number, origin});
            } catch (const Inexpressible& reason) {
                throw Unwritten{origin.text + ": the rule cannot be written: " + reason.why};
            }
            if (out.refused()) return;
        }
        writer.end();
    };
    switch (options.language) {
    case RuleLanguage::asp:
    case RuleLanguage::dimacs:
    case RuleLanguage::opb: write_clauses(terms, options.language, out, pass); break;
    default: pass(*writer_of(terms, options, out));
    }
}

std::string rule_by_name(const FlatModel& flat, const Expr* rule) {
    const Terms terms(flat);
    std::string text;
    {
        Writer out([&text](std::string_view more) { text += more; });
        const DeclaredAt nowhere;
        text_writer(terms, {}, out)->rule({rule, 0, nowhere});
    }
    text.pop_back(); // the end of the line
    return text;
}

} // namespace norvane::driver
