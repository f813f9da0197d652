// Properties of random models: the flat rules mean what the source means, and all written forms of
// a model read back as the same one. NORVANE_SEED and NORVANE_MODELS run others, and more of them.
#include <gtest/gtest.h>

#include <cstdlib>

#include "norvane/base/items.hpp"
#include "norvane/proj/xml_export.h"
#include "norvane/proj/xml_import.h"
#include "random_model.h"
#include "support.h"

namespace norvane::test {
namespace {

unsigned from_environment(const char* name, unsigned otherwise) {
    const char* text = std::getenv(name);
    return text ? static_cast<unsigned>(std::atol(text)) : otherwise;
}

// Calls body(model, seed) for each model, up to the first one that fails or throws.
void for_random_models(const std::function<void(const RandomModel&, unsigned)>& body) {
    const unsigned first = from_environment("NORVANE_SEED", 1);
    const unsigned count = from_environment("NORVANE_MODELS", 300);
    for (unsigned seed = first; seed < first + count && !testing::Test::HasFailure(); ++seed) {
        const RandomModel model(seed);
        SCOPED_TRACE("seed " + std::to_string(seed) + ":\n" + model.source());
        std::function<void()> run = [&] { body(model, seed); };
        ExceptionState state;
        const auto call = [](void* user) { (*static_cast<std::function<void()>*>(user))(); };
        if (except_catch(call, &run, &state)) ADD_FAILURE() << state.message;
    }
}

// A flat rule, evaluated on the finite values of its variables.
class FlatRule {
  public:
    explicit FlatRule(FiniteProduct product) : product_(std::move(product)) {}

    int value(const Expr* expr) const {
        const auto& args = expr->args;
        switch (expr->structure) {
        case EXPR_INT_CONST: return args.intconst.value;
        case EXPR_IDCONSTRUCTOR: return product_.at(path(args.idcon));
        case EXPR_ITE:
            return value(value(args.ite.logictest) ? args.ite.trueexpr : args.ite.falseexpr);
        case EXPR_UNARY: return expr->opr == OPR_NOT ? !value(args.arg) : wrapped(-wide(args.arg));
        case EXPR_BINARY: return binary(expr);
        default: throw std::runtime_error("not flat: " + print(const_cast<Expr*>(expr)));
        }
    }

  private:
    std::int64_t wide(const Expr* expr) const { return value(expr); }
    static int wrapped(std::int64_t number) {
        return static_cast<int>(static_cast<std::uint32_t>(number));
    }

    std::string path(const IdCon* idcon) const {
        if (idcon->contype == IDCON_COMPOSIT)
            return path(idcon->args.compositid.hier) + "." + path(idcon->args.compositid.nested);
        std::string text = idcon->args.id.idname;
        if (idcon->contype == IDCON_ARRAY)
            for (const Expr* index : items<Expr>(idcon->args.array.exprlist))
                text += "[" + std::to_string(value(index)) + "]";
        return text;
    }

    // Equality of variables, whole records and arrays among them.
    bool same(const Expr* left, const Expr* right) const {
        if (left->structure != EXPR_IDCONSTRUCTOR || right->structure != EXPR_IDCONSTRUCTOR)
            return value(left) == value(right);
        const std::string from = path(left->args.idcon), to = path(right->args.idcon);
        for (auto at = product_.lower_bound(from);
             at != product_.end() && at->first.starts_with(from); ++at) {
            const std::string rest = at->first.substr(from.size());
            const bool is_inside = rest.empty() || rest[0] == '.' || rest[0] == '[';
            if (is_inside && at->second != product_.at(to + rest)) return false;
        }
        return true;
    }

    int binary(const Expr* expr) const {
        const Expr* left = expr->args.binargs.leftarg;
        const Expr* right = expr->args.binargs.rightarg;
        switch (expr->opr) {
        case OPR_EQ: return same(left, right);
        case OPR_NEQ: return !same(left, right);
        case OPR_AND: return value(left) & value(right);
        case OPR_OR: return value(left) | value(right);
        case OPR_XOR: return value(left) ^ value(right);
        case OPR_IMPLIES: return value(left) <= value(right);
        case OPR_BIIMPLIES: return value(left) == value(right);
        case OPR_LT: return value(left) < value(right);
        case OPR_LE: return value(left) <= value(right);
        case OPR_GT: return value(left) > value(right);
        case OPR_GE: return value(left) >= value(right);
        case OPR_PLUS: return wrapped(wide(left) + wide(right));
        case OPR_MINUS: return wrapped(wide(left) - wide(right));
        case OPR_TIMES: return wrapped(wide(left) * wide(right));
        default: throw std::runtime_error("operator " + std::to_string(expr->opr));
        }
    }

    const FiniteProduct product_;
};

// Holds the flat rules of a model against those of the source that it came from.
void expect_values(const RandomModel& source, const Model& model, unsigned seed) {
    ASSERT_TRUE(model.table);
    const ListPtr rules(proj_get_expanded_rules(model.project.get(), model.table.get(), 1));
    Random random(seed);
    for (int i = 0; i < 20; ++i) {
        const Product product = source.product(random);
        const FlatRule rule(source.finite(product));
        std::vector<int> values;
        for (const Expr* flat : items<Expr>(rules.get()))
            values.push_back(rule.value(flat));
        ASSERT_EQ(values, source.evaluate(product)) << flat_rules(model);
    }
}

TEST(RandomModels, FlatRulesHaveTheValuesOfTheSourceOnRandomProducts) {
    for_random_models([](const RandomModel& source, unsigned seed) {
        const Reports reports;
        expect_values(source, check(source.source()), seed);
        EXPECT_EQ(reports.text(), "");
    });
}

TEST(RandomModels, PrintedOnesReadBackAsTheSame) {
    for_random_models([](const RandomModel& source, unsigned seed) {
        const std::string printed = print(parse(source.source()).get());
        EXPECT_EQ(print(parse(printed).get()), printed);
        expect_values(source, check(printed), seed);
    });
}

TEST(RandomModels, InXmlReadBackAsTheSame) {
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/model.xml";
    const auto written = [&](Project* project) {
        EXPECT_EQ(proj_export_to_xmlfile(project, path.c_str()), 0);
        return read_file(path);
    };
    for_random_models([&](const RandomModel& source, unsigned seed) {
        // The format has no division.
        if (source.source().find(" / ") != std::string::npos) return;
        const std::string xml = written(parse(source.source()).get());
        const ProjectPtr back(proj_import_from_xmlfile(path.c_str()));
        ASSERT_TRUE(back);
        EXPECT_EQ(written(back.get()), xml);
        expect_values(source, check(print(back.get())), seed);
    });
}

TEST(RandomModels, InFiniteFormAreModelsWithTheSameRules) {
    for_random_models([](const RandomModel& source, unsigned seed) {
        // What looks into an optional keeps a path that its finite type no longer has.
        if (source.has_optional()) return;
        const Model model = check(source.source());
        const ProjectPtr simplified(simplify_project(model.project.get(), model.table.get()));
        expect_values(source, check(print(simplified.get())), seed);
    });
}

TEST(RandomModels, WithFaultsAreReportedOrAreModels) {
    for_random_models([](const RandomModel& random_model, unsigned seed) {
        Random random(seed);
        const std::string source = with_faults(random_model.source(), random);
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
