// Times each stage of the model pipeline on one model, and prints the results as one JSON object:
//
//   pipeline_bench FILE.pm SECONDS
//
// The pipeline runs from end to end, at least three times and for about SECONDS; each figure is the
// median of the runs. The first run gets its memory from the system and is reported separately.
//
// Each stage has a floor, the least work that it must do: "start", the preprocessor on an empty
// file; "lookup", a walk through the source rules that looks up each name in one hash table and
// reads its type; "bytes", writing the printed text at once. The floor of parsing is
// scan_bench.cpp.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include <malloc.h>
#include <unistd.h>

#include "norvane/base/items.hpp"
#include "norvane/proj.h"

#include "stages.h"

namespace {

using norvane::items;
using namespace norvane::bench;

// Counts nodes, and looks their names up if there is a table of declarations. Not recursive, since
// trees are deep.
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
    Stage preprocess{"preprocess", "byte", "start"};
    Stage parse{"parse", "byte", "scan"};
    Stage check{"check", "node", "lookup"};
    Stage simplify{"simplify", "node", "lookup"};
    Stage expand{"expand", "node", "lookup"};
    Stage print{"print", "byte", "bytes"};
    Stage free_all{"free", "node"};
    Stage total{"total", "node"};
    Stage first{"first run", "node"}; // its peak is that of the pipeline alone
    Stage start{"start", "byte"};
    Stage look_up{"lookup", "node"};
    Stage bytes{"bytes", "byte"};
};

void preprocess(Stage& stage, const std::string& source, const std::string& target) {
    PolyList* no_arguments = plist_new(nullptr, nullptr, nullptr);
    for (int run = 0; run < 3; ++run) {
        std::remove(target.c_str());
        const auto body = [&] {
            return os_pre_process_file(target.c_str(), source.c_str(), no_arguments);
        };
        if (timed(stage, body, CLOCK_MONOTONIC) != 0) fail("cannot preprocess the model");
    }
    plist_delete(no_arguments);
    stage.units = file_size(source);
}

void preprocess(Bench& bench) {
    const std::string empty = bench.preprocessed + ".empty";
    std::fclose(std::fopen(empty.c_str(), "w"));
    preprocess(bench.start, empty, bench.preprocessed);
    preprocess(bench.preprocess, bench.source, bench.preprocessed);
    std::remove(empty.c_str());
    bench.parse.units = file_size(bench.preprocessed);
}

// The text of the flat rules and of the finite model.
void print(std::FILE* stream, const PolyList* rules, Project* finite) {
    for (Expr* rule : items<Expr>(rules)) {
        ppm_print_expr(stream, rule);
        std::putc('\n', stream);
    }
    ppm_print_project(stream, finite);
}

// Prints to a stream that discards the output.
template <typename Print>
int print_to_nowhere(Print&& print) {
    std::FILE* stream = std::fopen("/dev/null", "w");
    if (!stream) fail("cannot open /dev/null");
    static char buffer[1 << 18];
    std::setvbuf(stream, buffer, _IOFBF, sizeof buffer);
    print(stream);
    return std::fclose(stream);
}

std::string printed(const PolyList* rules, Project* finite) {
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* stream = open_memstream(&text, &size);
    print(stream, rules, finite);
    std::fclose(stream);
    std::string result(text, size);
    std::free(text);
    return result;
}

// Writes the lines one after the other.
void write_lines(std::FILE* stream, std::string_view text) {
    while (!text.empty()) {
        const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
        std::fwrite(text.data(), 1, size, stream);
        text.remove_prefix(size);
    }
}

void measure_look_up(Bench& bench, const Project* project) {
    PolyHash* declared =
        phash_new(0, poly_compare_string, nullptr, nullptr, poly_hash_string, nullptr, nullptr);
    for (VarDecl* variable : items<VarDecl>(project->vardecllist))
        phash_insert(declared, variable->name, variable);
    bench.look_up.units = timed(bench.look_up, [&] {
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
    timed(bench.print,
          [&] { return print_to_nowhere([&](std::FILE* to) { print(to, rules, finite); }); });
    if (bench.total.units == 0) {
        bench.first.peak = peak_bytes();
        bench.check.units = nodes_of(project);
        bench.simplify.units = nodes_of(finite);
        bench.expand.units = nodes_of(rules);
        bench.free_all.units = bench.check.units + bench.simplify.units + bench.expand.units;
        bench.first.units = bench.total.units = bench.free_all.units;
    }
    measure_look_up(bench, project);
    const std::string text = printed(rules, finite);
    bench.print.units = bench.bytes.units = static_cast<double>(text.size());
    timed(bench.bytes,
          [&] { return print_to_nowhere([&](std::FILE* to) { write_lines(to, text); }); });
    timed(bench.free_all, [&] {
        plist_delete(rules);
        proj_delete(finite);
        symtbl_delete_symbol_table(table);
        proj_delete(project);
        // The allocator defers work until its next large request; this is part of freeing.
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

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) fail("usage: pipeline_bench FILE.pm SECONDS");
    // Keeps freed memory in the process, so that later runs do not measure system calls.
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
    bench.first.seconds = {bench.total.seconds.front()};
    print_stages({&bench.preprocess, &bench.parse, &bench.check, &bench.simplify, &bench.expand,
                  &bench.print, &bench.free_all, &bench.total, &bench.first, &bench.start,
                  &bench.look_up, &bench.bytes});
    std::remove(bench.preprocessed.c_str());
    return 0;
}
