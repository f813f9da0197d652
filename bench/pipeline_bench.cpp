// Times each stage of the model pipeline on one model, and prints what it found as one JSON object:
//
//   pipeline_bench FILE.pm SECONDS
//
// The pipeline is run from end to end, at least three times and for about SECONDS; each figure is
// the median of its runs. The first run pays for the memory that the others find at hand, and is
// told apart.
//
// Beside the stages stands a floor: a walk through the rules as written that looks up each name in
// one hash table and reads the type that is behind it. No check can do with less, so a stage that
// grows as the floor does is held up by the memory alone.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <malloc.h>
#include <unistd.h>

#include "norvane/base/items.hpp"
#include "norvane/proj.h"

#include "stages.h"

namespace {

using norvane::items;
using namespace norvane::bench;

// Counts nodes, and looks their names up if there is a table of declarations. Trees are deep, hence
// no recursion.
class NodeCounter {
  public:
    explicit NodeCounter(const PolyHash* declared = nullptr) : declared_(declared) {}

    void add(const Expr* expr) { pending_.push_back(expr); }
    void add(const PolyList* list) {
        for (const Expr* expr : items<Expr>(list))
            add(expr);
    }
    void add(const IdCon* idcon) {
        for (; idcon->contype == IDCON_COMPOSIT; idcon = idcon->args.compositid.nested)
            add(idcon->args.compositid.hier);
        if (idcon->contype == IDCON_ARRAY) add(idcon->args.array.exprlist);
        if (declared_) look_up(idcon->args.id.idname);
    }
    double count() {
        double nodes = 0;
        while (!pending_.empty()) {
            const Expr* expr = pending_.back();
            pending_.pop_back();
            add_operands(expr);
            ++nodes;
        }
        return nodes;
    }

  private:
    void look_up(const char* name) {
        void* found = nullptr;
        if (phash_peek(declared_, name, &found) != 0) return;
        static volatile unsigned char kind;
        kind = static_cast<const VarDecl*>(found)->typecon->contype;
        (void)kind;
    }
    void add_operands(const Expr* expr) {
        const auto& args = expr->args;
        switch (expr->structure) {
        case EXPR_BINARY:
            add(args.binargs.leftarg);
            add(args.binargs.rightarg);
            break;
        case EXPR_UNARY: add(args.arg); break;
        case EXPR_IDCONSTRUCTOR: add(args.idcon); break;
        case EXPR_ITE:
            add(args.ite.logictest);
            add(args.ite.trueexpr);
            add(args.ite.falseexpr);
            break;
        case EXPR_RANGE:
            add(args.range.rangebegin);
            add(args.range.rangeend);
            add(args.range.lambdaexpr);
            break;
        case EXPR_CASE:
            add(args.caseexpr.exprlist_condition);
            add(args.caseexpr.exprlist_evaluation);
            add(args.caseexpr.default_expr);
            break;
        default: break;
        }
    }

    const PolyHash* declared_;
    std::vector<const Expr*> pending_;
};

void add_rules(NodeCounter& counter, const PolyList* rules) {
    for (const RuleDecl* rule : items<RuleDecl>(rules))
        counter.add(rule->rule);
}

void add_types(NodeCounter& counter, const TypeCon* type) {
    switch (type->contype) {
    case TC_ARRAY: return add_types(counter, type->values.array.element);
    case TC_OPTIONAL: return add_types(counter, type->values.base);
    case TC_PROD:
        for (const VarDecl* field : items<VarDecl>(type->values.prod.fields))
            add_types(counter, field->typecon);
        return add_rules(counter, type->values.prod.rules);
    default: return;
    }
}

double nodes_of(const Project* project) {
    NodeCounter counter;
    for (const TypeDecl* type : items<TypeDecl>(project->typedecllist))
        add_types(counter, type->typecon);
    for (const VarDecl* variable : items<VarDecl>(project->vardecllist))
        add_types(counter, variable->typecon);
    add_rules(counter, project->ruledecllist);
    return counter.count();
}

double nodes_of(const PolyList* expressions) {
    NodeCounter counter;
    counter.add(expressions);
    return counter.count();
}

struct Bench {
    std::string source;
    std::string preprocessed;
    Stage preprocess{"preprocess", "byte"};
    Stage parse{"parse", "byte"};
    Stage check{"check", "node"};
    Stage simplify{"simplify", "node"};
    Stage expand{"expand", "node"};
    Stage print{"print", "byte"};
    Stage free_all{"free", "node"};
    Stage floor{"look-up", "node"};
    Stage total{"total", "node"};
    long peak_kib = 0; // of the first run, which has no more than the pipeline in memory
};

void preprocess(Bench& bench) {
    std::remove(bench.preprocessed.c_str());
    PolyList* no_arguments = plist_new(nullptr, nullptr, nullptr);
    const int status = timed(
        bench.preprocess,
        [&] {
            return os_pre_process_file(bench.preprocessed.c_str(), bench.source.c_str(),
                                       no_arguments);
        },
        CLOCK_MONOTONIC);
    plist_delete(no_arguments);
    if (status != 0) fail("cannot preprocess the model");
    bench.preprocess.units = file_size(bench.source);
    bench.parse.units = file_size(bench.preprocessed);
}

// The text of the flat rules and of the finite model; what is printed goes nowhere.
double print(const PolyList* rules, Project* finite) {
    std::FILE* stream = std::fopen("/dev/null", "w");
    if (!stream) fail("cannot open /dev/null");
    static char buffer[1 << 18];
    std::setvbuf(stream, buffer, _IOFBF, sizeof buffer);
    for (Expr* rule : items<Expr>(rules)) {
        ppm_print_expr(stream, rule);
        std::putc('\n', stream);
    }
    ppm_print_project(stream, finite);
    std::fclose(stream);
    return 0;
}

// How much that is, found out once.
double printed_size(const PolyList* rules, Project* finite) {
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* stream = open_memstream(&text, &size);
    for (Expr* rule : items<Expr>(rules)) {
        ppm_print_expr(stream, rule);
        std::putc('\n', stream);
    }
    ppm_print_project(stream, finite);
    std::fclose(stream);
    std::free(text);
    return static_cast<double>(size);
}

void measure_floor(Bench& bench, const Project* project) {
    PolyHash* declared =
        phash_new(0, poly_compare_string, nullptr, nullptr, poly_hash_string, nullptr, nullptr);
    for (VarDecl* variable : items<VarDecl>(project->vardecllist))
        phash_insert(declared, variable->name, variable);
    bench.floor.units = timed(bench.floor, [&] {
        NodeCounter counter(declared);
        add_rules(counter, project->ruledecllist);
        return counter.count();
    });
    phash_delete(declared);
}

void run_once(Bench& bench) {
    std::FILE* stream = std::fopen(bench.preprocessed.c_str(), "r");
    if (!stream) fail("cannot open the preprocessed model");
    Project* project =
        timed(bench.parse, [&] { return lpm_load_file(stream, bench.source.data()); });
    std::fclose(stream);
    if (!project) fail("cannot parse the model");
    SymbolTable* table = timed(bench.check, [&] { return proj_static_sem_check(project); });
    if (!table) fail("the model does not pass the check");
    Project* finite = timed(bench.simplify, [&] { return simplify_project(project, table); });
    PolyList* rules =
        timed(bench.expand, [&] { return proj_get_expanded_rules(project, table, 1); });
    timed(bench.print, [&] { return print(rules, finite); });
    if (bench.total.units == 0) {
        bench.peak_kib = peak_kib();
        bench.check.units = nodes_of(project);
        bench.simplify.units = nodes_of(finite);
        bench.expand.units = nodes_of(rules);
        bench.print.units = printed_size(rules, finite);
        bench.free_all.units = bench.check.units + bench.simplify.units + bench.expand.units;
        bench.total.units = bench.free_all.units;
    }
    measure_floor(bench, project);
    timed(bench.free_all, [&] {
        plist_delete(rules);
        proj_delete(finite);
        symtbl_delete_symbol_table(table);
        proj_delete(project);
        // What the allocator has put off until it next meets a large request belongs here too.
        void* volatile large = std::malloc(1 << 20);
        std::free(large);
        return 0;
    });
    double seconds = 0;
    for (const Stage* stage : {&bench.parse, &bench.check, &bench.simplify, &bench.expand,
                               &bench.print, &bench.free_all})
        seconds += stage->seconds.back();
    bench.total.seconds.push_back(seconds);
}

void report(Bench& bench) {
    std::printf("{\"peak_kib\": %ld, \"runs\": %zu, \"first_seconds\": %.9f", bench.peak_kib,
                bench.total.seconds.size(), bench.total.seconds.front());
    print_stages({&bench.preprocess, &bench.parse, &bench.check, &bench.simplify, &bench.expand,
                  &bench.print, &bench.free_all, &bench.floor, &bench.total});
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) fail("usage: pipeline_bench FILE.pm SECONDS");
    // Memory stays with the process, so that the runs behind the first do not measure the system.
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
    Bench bench{.source = argv[1], .preprocessed = std::string(argv[1]) + ".i"};
    const double least_seconds = std::atof(argv[2]);
    double seconds = 0;
    preprocess(bench);
    while (bench.total.seconds.size() < 3 || seconds < least_seconds) {
        run_once(bench);
        seconds += bench.total.seconds.back();
    }
    report(bench);
    std::remove(bench.preprocessed.c_str());
    return 0;
}
