// Prints the variables that the flat rules of a model can name, with what their values stand for: a
// loop over the flat model, as a configurator or another tool that shows values has one.
#include <cstdio>
#include <norvane/proj.hpp>

static std::string values_of(const norvane::Shape& shape) {
    using norvane::ScalarKind;
    if (shape.kind == ScalarKind::boolean || shape.kind == ScalarKind::range) return {};
    std::string text;
    for (unsigned value = 0; value <= shape.upper; ++value) {
        text += value == 0 ? "  " : ", ";
        text += std::to_string(value) + " " + norvane::value_text(shape, value);
    }
    return norvane::codepage_to_utf8(text);
}

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
    const norvane::FlatModel flat(*checked);
    flat.for_each([&](const norvane::FlatVariable& variable) {
        const auto place = norvane::where_declared(*checked, variable.decl->linenumber);
        std::printf("%s  %s  %s  0..%u  %s%s\n", variable.path.c_str(),
                    variable.is_public ? "public" : "private",
                    norvane::kind_text(variable.shape.kind), variable.shape.upper,
                    place.text.c_str(), values_of(variable.shape).c_str());
        return true; // go on
    });
}
