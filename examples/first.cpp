// Prints the flat rules of a model.
#include <cstdio>
#include <norvane/proj.hpp>

static int refuse(const std::vector<norvane::Report>& reports) {
    for (const norvane::Report& report : reports)
        std::fprintf(stderr, "%s [%s]\n", report.title.c_str(), report.name.c_str());
    return 1;
}

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    auto model = norvane::Model::from_source(argv[1]);
    if (!model) return refuse(model.reports());
    const auto checked = norvane::CheckedModel::check(*std::move(model));
    if (!checked) return refuse(checked.reports());
    for (const norvane::FlatRule rule : checked->rules()) {
        ppm_print_expr(stdout, rule.expr);
        std::putchar('\n');
    }
}
