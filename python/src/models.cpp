// Models: reading, checking, the finite form and the flat rules.
#include "models.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>

#include <pybind11/stl.h>

#include "norvane/base/util.h"

#include "expressions.h"

namespace norvane::python {
namespace {

struct Variable {
    SharedModel model;
    const VarDecl* decl;
};
struct Rule {
    SharedModel model;
    const RuleDecl* decl;
};

// The rules and the model that their origins belong to.
struct Flat {
    std::shared_ptr<FlatRules> rules;
    SharedModel model;
    std::vector<FlatRule> all; // borrowed from the rules
};

bool is_xml(const std::string& file) {
    constexpr std::string_view extension = ".xml";
    return file.size() >= extension.size() &&
           file.compare(file.size() - extension.size(), extension.size(), extension) == 0;
}

// What the preprocessor says while this lives, as reports.
class PreprocessorReports {
  public:
    PreprocessorReports() { os_set_preprocessor_sink(receive, this); }
    ~PreprocessorReports() { os_set_preprocessor_sink(nullptr, nullptr); }
    PreprocessorReports(const PreprocessorReports&) = delete;
    PreprocessorReports& operator=(const PreprocessorReports&) = delete;

    std::vector<Report> reports;

  private:
    // No exception may pass through the library, which called this; a report that there is no
    // memory for is lost.
    static void receive(const OsPreprocessorMessage* message, void* user) try {
        Report report;
        report.severity = message->is_error ? ERROR_TYPE_ERROR : ERROR_TYPE_WARNING;
        report.name = "ERR_CPP";
        report.file = detail::text_or_empty(message->place.file);
        report.line = message->place.line;
        report.message = message->text;
        static_cast<PreprocessorReports*>(user)->reports.push_back(std::move(report));
    } catch (const std::bad_alloc&) {
    }
};

// A private temporary directory for the library. Deleting it also removes files that a failed
// preprocessor leaves.
class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::error_code error;
        std::string name = std::filesystem::temp_directory_path(error) / "norvane-XXXXXX";
        if (error || !mkdtemp(name.data())) return; // the library writes where it can, or says why
        name_ = std::move(name);
        util_set_temp_directory(name_.c_str());
    }
    ~TemporaryDirectory() {
        if (name_.empty()) return;
        util_set_temp_directory(nullptr);
        std::error_code ignored;
        std::filesystem::remove_all(name_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  private:
    std::string name_;
};

// The library says only that the preprocessor failed, which its own messages explain.
std::vector<Report> with_reasons(std::vector<Report> reasons, const std::vector<Report>& reports) {
    for (const Report& report : reports)
        if (reasons.empty() || report.name != "ERR_CPP") reasons.push_back(report);
    return reasons;
}

SharedModel load(const std::string& file, const std::vector<std::string>& cpp_args) {
    std::vector<Report> reasons;
    Result<Model> result = locked([&] {
        if (is_xml(file)) return Model::from_xml(file);
        PreprocessorReports preprocessor;
        const TemporaryDirectory of_the_preprocessor;
        Model::end_open_token(); // of a load that has failed
        Result<Model> read = Model::from_source(file, cpp_args);
        reasons = std::move(preprocessor.reports);
        return read;
    });
    if (!result || result.has_errors())
        throw Refused{with_reasons(std::move(reasons), result.reports()),
                      locked([&] { return faults_of_refused(file, cpp_args); })};
    return shared(HeldModel(*std::move(result), file, cpp_args));
}

void write(const HeldModel& held, const std::string& file) {
    const Result<void> result = locked([&] {
        return is_xml(file) ? held.model().write_xml(file) : held.model().write_source(file);
    });
    if (!result) throw Refused{result.reports()};
}

py::list variables_in(const SharedModel& held, const PolyList* decls) {
    py::list list;
    for (const VarDecl* decl : items<VarDecl>(decls))
        list.append(Variable{held, decl});
    return list;
}

py::list rules_in(const SharedModel& held, const PolyList* decls) {
    py::list list;
    for (const RuleDecl* decl : items<RuleDecl>(decls))
        list.append(Rule{held, decl});
    return list;
}

py::dict constants_of(const SharedModel& held) {
    py::dict constants;
    for (const ConstantDecl* decl : held->model().constants())
        constants[text_of(decl->name)] = Expression{held, decl->value};
    return constants;
}

py::dict types_of(const SharedModel& held) {
    py::dict types;
    for (const TypeDecl* decl : held->model().types())
        types[text_of(decl->name)] = Type{held, decl->typecon};
    return types;
}

Flat flat_of(const SharedModel& held) {
    Flat flat{nullptr, held, {}};
    flat.rules = shared(
        locked([&] { return held->checked().rules(RuleForm::simplified, RuleOrigins::kept); }));
    flat.all.assign(flat.rules->begin(), flat.rules->end());
    return flat;
}

py::object origin_of(const Flat& flat, const FlatRule& rule) {
    return rule.origin ? py::cast(Rule{flat.model, rule.origin}) : py::none();
}

py::tuple flat_rule(const Flat& flat, std::size_t index) {
    if (index >= flat.all.size()) throw py::index_error();
    const FlatRule& rule = flat.all[index];
    return py::make_tuple(Expression{flat.rules, rule.expr}, origin_of(flat, rule));
}

template <typename Declared>
auto place(const Declared& declared) {
    return place_of(declared.model->model(), declared.decl->linenumber);
}

// The file and the line of a declaration.
template <typename Declared>
void add_place(py::class_<Declared>& type) {
    type.def_property_readonly(
            "file", [](const Declared& declared) { return file_name(place(declared).file); },
            "The file that it is declared in; empty where that is not known.")
        .def_property_readonly(
            "line", [](const Declared& declared) { return place(declared).line; },
            "Its line there, from 1; 0 where that is not known.");
}

void add_variable(py::module_& module) {
    py::class_<Variable> type(module, "Variable", "A variable of a model, or a field of a record.");
    type.def_property_readonly("name", [](const Variable& v) { return text_of(v.decl->name); })
        .def_property_readonly(
            "is_public", [](const Variable& v) { return v.decl->vartype == VARTYPE_PUBLIC; },
            "Whether the users of the product see it.")
        .def_property_readonly("type",
                               [](const Variable& v) {
                                   return Type{v.model, v.decl->typecon};
                               })
        .def_property_readonly(
            "fields",
            [](const Variable& v) {
                const TypeCon& typecon = *v.decl->typecon;
                return typecon.contype == TC_PROD
                           ? variables_in(v.model, typecon.values.prod.fields)
                           : py::list();
            },
            "The fields, if its type is written as a record.")
        .def("__repr__", [](const Variable& v) {
            return py::str("<norvane.Variable {}>").format(text_of(v.decl->name));
        });
    add_place(type);
}

void add_rule(py::module_& module) {
    py::class_<Rule> type(module, "Rule", "A rule of a model. str() is its source.");
    const auto expression = [](const Rule& rule) {
        return Expression{rule.model, rule.decl->rule};
    };
    type.def_property_readonly("expression", expression)
        .def_property_readonly(
            "comment",
            [](const Rule& rule) {
                return rule.decl->comment ? py::object(text_of(rule.decl->comment)) : py::none();
            },
            "What a tool that made the model says about it, or None.")
        .def("__str__",
             [expression](const Rule& rule) { return py::str(py::cast(expression(rule))); })
        .def("__repr__", [expression](const Rule& rule) {
            return py::str("<norvane.Rule {}>").format(py::cast(expression(rule)));
        });
    add_place(type);
}

void add_flat(py::module_& module) {
    py::class_<Flat>(
        module, "FlatRules",
        "The flat rules of a model, each with the rule that it comes from: a sequence of "
        "pairs of an Expression and a Rule, or None for the rules that bounds stand for.")
        .def("__len__", [](const Flat& flat) { return flat.all.size(); })
        .def("__getitem__", flat_rule);
}

} // namespace

void add_models(py::module_& module) {
    add_variable(module);
    add_rule(module);
    add_flat(module);
    py::class_<HeldModel, SharedModel>(module, "Model",
                                       "A product model; norvane.load() reads one.")
        .def_property_readonly(
            "file", [](const HeldModel& held) { return file_name(held.model().file()); },
            "The file that it was read from.")
        .def_property_readonly("constants", constants_of, "The constants: name to Expression.")
        .def_property_readonly("types", types_of, "The declared types: name to Type.")
        .def_property_readonly(
            "variables",
            [](const SharedModel& held) {
                return variables_in(held, held->model().get()->vardecllist);
            },
            "The variables, in the order of their declarations.")
        .def_property_readonly(
            "rules",
            [](const SharedModel& held) {
                return rules_in(held, held->model().get()->ruledecllist);
            },
            "The rules outside of records, in the order of the source.")
        .def(
            "check",
            [](HeldModel& held) {
                return list_of_reports(locked([&held] { return held.check(); }));
            },
            "Checks the model and returns the warnings. Raises ModelError, with all reports, if it "
            "is at fault.")
        .def("flat", flat_of,
             "The flat rules over scalar variables, which say the same as the model. Checks it "
             "first.")
        .def(
            "simplify",
            [](HeldModel& held) {
                return shared(HeldModel(locked([&held] { return held.checked().simplify(); })));
            },
            "The finite form: a new model, whose unbounded types are labelled classes. Checks the "
            "model first.")
        .def("_write", write)
        .def("__repr__", [](const HeldModel& held) {
            return py::str("<norvane.Model {}>").format(file_name(held.model().file()));
        });
    module.def("_load", load);
}

} // namespace norvane::python
