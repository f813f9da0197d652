// Properties of random models: the flat rules mean what the source means, and all written forms of
// a model read back as the same one. NORVANE_SEED and NORVANE_MODELS run others, and more of them.
#include "reference.h"
#include "test.h"

namespace norvane::test {
namespace {

unsigned from_environment(const char* name, unsigned otherwise) {
    const char* text = std::getenv(name);
    return text ? static_cast<unsigned>(std::atol(text)) : otherwise;
}

std::string with_brackets(std::string model, const char* open, const char* close) {
    for (const auto& [from, to] : {std::pair{'\1', open}, {'\2', close}})
        for (std::size_t at; (at = model.find(from)) != std::string::npos;)
            model.replace(at, 1, to);
    return model;
}

// Calls body(source, seed) for each model, up to the first one that fails or throws.
void for_random_models(const std::function<void(const std::string&, unsigned)>& body) {
    const unsigned first = from_environment("NORVANE_SEED", 1);
    const unsigned count = from_environment("NORVANE_MODELS", 300);
    for (unsigned seed = first; seed < first + count && !testing::Test::HasFailure(); ++seed) {
        const std::string source = with_brackets(Generator(seed).model(), "", "");
        SCOPED_TRACE("seed " + std::to_string(seed) + ":\n" + source);
        EXPECT_EQ(thrown([&] { body(source, seed); }), "");
    }
}

// Holds the flat rules of a model against those of the source that it came from.
void expect_values(const std::string& source, const Model& model, unsigned seed) {
    ASSERT_TRUE(model.table);
    const ListPtr rules(proj_get_expanded_rules(model.project.get(), model.table.get(), 1));
    Random random(seed);
    Reference reference(source);
    for (int i = 0; i < 20; ++i) {
        const Products products = reference.products(random);
        Evaluator flat;
        flat.product = products.finite;
        std::vector<double> values;
        for (const Expr* rule : items<Expr>(rules.get()))
            values.push_back(flat.value(rule).number);
        ASSERT_EQ(values, reference.evaluate(products.source)) << flat_rules(model);
    }
}

TEST(RandomModels, FlatRulesHaveTheValuesOfTheSourceOnRandomProducts) {
    for_random_models([](const std::string& source, unsigned seed) {
        const Reports reports;
        expect_values(source, check(source), seed);
        EXPECT_EQ(reports.text(), "");
    });
}

TEST(RandomModels, PrintedOnesReadBackAsTheSame) {
    for_random_models([](const std::string& source, unsigned seed) {
        const std::string printed = print(parse(source).get());
        EXPECT_EQ(print(parse(printed).get()), printed);
        EXPECT_EQ(print(parse(with_brackets(Generator(seed).model(), "(", ")")).get()), printed);
        expect_values(source, check(printed), seed);
    });
}

TEST(RandomModels, InXmlReadBackAsTheSame) {
    const TemporaryDirectory directory;
    const std::string path = directory.path() + "/model.xml";
    const auto written = [&](Project* project) {
        EXPECT_EQ(proj_export_to_xmlfile(project, path.c_str()), 0);
        return read_file(path);
    };
    for_random_models([&](const std::string& source, unsigned seed) {
        // The format has no division.
        if (source.find(" / ") != std::string::npos) return;
        const std::string xml = written(parse(source).get());
        const ProjectPtr back(proj_import_from_xmlfile(path.c_str()));
        ASSERT_TRUE(back);
        EXPECT_EQ(written(back.get()), xml);
        expect_values(source, check(print(back.get())), seed);
    });
}

TEST(RandomModels, InFiniteFormAreModelsWithTheSameRules) {
    for_random_models([](const std::string& source, unsigned seed) {
        // What looks into an optional keeps a path that its finite type no longer has.
        if (source.find("optional") != std::string::npos) return;
        const Model model = check(source);
        const ProjectPtr simplified(simplify_project(model.project.get(), model.table.get()));
        expect_values(source, check(print(simplified.get())), seed);
    });
}

TEST(RandomModels, WithFaultsAreReportedOrAreModels) {
    for_random_models([](const std::string& sound, unsigned seed) {
        Random random(seed);
        const std::string source = with_faults(sound, random);
        SCOPED_TRACE(source);
        const Reports reports;
        Model model;
        testing::internal::CaptureStdout(); // the scanner passes on line ends inside of texts
        const std::string failure = thrown([&] { model = check(source); });
        testing::internal::GetCapturedStdout();
        const bool is_reported = reports.text().find("ERR_") == 0;
        EXPECT_EQ((model.table != nullptr) + is_reported + !failure.empty(), 1)
            << reports.text() << failure;
    });
}

} // namespace
} // namespace norvane::test
