#include "assumptions.h"

#include <cstdio>
#include <memory>

#include "norvane/base/deep.hpp"

#include "output.h"

namespace norvane::driver {
namespace {

constexpr char place[] = "--assume";

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// The rules of a text, as those of a model of its own: the scanner reads files.
Model& parse(Session& session, const std::string& text, std::size_t number) {
    std::string source = "#line " + std::to_string(number) + " \"" + place +
                         "\"\nvariable x : boolean; rule " + text + ";\n";
    const std::unique_ptr<std::FILE, CloseFile> file(fmemopen(source.data(), source.size(), "r"));
    if (!file) throw std::bad_alloc();
    const DroppedOutput no_results_yet;
    return session.take(detail::made<Model>(session.on_report, [stream = file.get()] {
        return lpm_load_file(stream, const_cast<char*>(place));
    }));
}

// Lines index the files of their own model, so all of a copied rule get that of its new one.
class Lines {
  public:
    explicit Lines(unsigned line) : line_(line) {}

    void set(Expr* expr) const {
        if (stack_is_low()) return on_fresh_stack([&] { set(expr); });
        expr->linenumber = line_;
        auto& args = expr->args;
        switch (structure_of(expr)) {
        case EXPR_BINARY:
            set(args.binargs.leftarg);
            set(args.binargs.rightarg);
            return;
        case EXPR_UNARY: set(args.arg); return;
        case EXPR_IDCONSTRUCTOR: set(args.idcon); return;
        case EXPR_ITE:
            set(args.ite.logictest);
            set(args.ite.trueexpr);
            set(args.ite.falseexpr);
            return;
        case EXPR_RANGE:
            set(args.range.rangebegin);
            set(args.range.rangeend);
            set(args.range.lambdaexpr);
            return;
        case EXPR_CASE:
            set(args.caseexpr.casevar);
            for (Expr* condition : items<Expr>(args.caseexpr.exprlist_condition))
                set(condition);
            for (Expr* evaluation : items<Expr>(args.caseexpr.exprlist_evaluation))
                set(evaluation);
            set(args.caseexpr.default_expr);
            return;
        case EXPR_INT_CONST:
        case EXPR_STRING_CONST:
        case EXPR_FLOAT_CONST: return;
        }
    }

  private:
    void set(IdCon* idcon) const {
        for (; idcon->contype == IDCON_COMPOSIT; idcon = idcon->args.compositid.nested) {
            idcon->linenumber = line_;
            set(idcon->args.compositid.hier);
        }
        idcon->linenumber = line_;
        if (idcon->contype != IDCON_ARRAY) return;
        for (Expr* index : items<Expr>(idcon->args.array.exprlist))
            set(index);
    }

    unsigned line_;
};

// Adds a file to those of a model, and returns its index.
unsigned add_file(Project* project) {
    PolyList* files = project->line_info->files;
    // Without files, all lines are those of the model's own.
    if (files->len == 0) plist_append(files, str_copy(project->filename ? project->filename : ""));
    plist_append(files, str_copy(place));
    return files->len - 1;
}

} // namespace

void add_assumptions(Session& session, Model& model, const std::vector<std::string>& texts) {
    if (texts.empty()) return;
    Project* project = model.get();
    const unsigned file = call([project] { return add_file(project); });
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const auto line = static_cast<unsigned>(file << 16 | (i + 1));
        for (const RuleDecl* rule : parse(session, texts[i], i + 1).rules()) {
            call([project, rule, line] {
                Expr* expr = expr_copy_expr(rule->rule);
                Lines(line).set(expr);
                proj_add_ruledecl(project, decl_new_ruledecl(expr, nullptr, line));
            });
        }
    }
}

} // namespace norvane::driver
