// Calculations: reading, and checking against a model.
#include "models.h"

namespace norvane::python {
namespace {

using SharedCalculation = std::shared_ptr<Calculation>;

struct Function {
    SharedCalculation calculation;
    const CNameSpace* ns;
    const CFunc* func;
};

bool ends_with(const std::string& text, std::string_view end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

SharedCalculation load(const std::string& file) {
    Result<Calculation> result = locked([&] {
        if (ends_with(file, ".clx")) return Calculation::from_xml(file);
        Calculation::end_open_token(); // of a load that has failed
        return Calculation::from_source(file);
    });
    return shared(value_of(std::move(result)));
}

SharedCalculation load_from_package(const std::string& file, const std::string& model) {
    const std::string member = to_text(model);
    return shared(value_of(locked([&] { return Calculation::from_package(file, member); })));
}

py::list functions_of(const SharedCalculation& calculation) {
    py::list list;
    for (const auto& [ns, func] : locked([&] { return calculation->functions(); }))
        list.append(Function{calculation, ns, func});
    return list;
}

py::list check(const Calculation& calculation, HeldModel& model) {
    const Result<void> result = locked([&] { return calculation.check(model.checked()); });
    if (!result || result.has_errors()) throw Refused{result.reports()};
    return list_of_reports(result.reports());
}

py::list arguments_of(const Function& function) {
    py::list list;
    for (const CFuncArg* argument : items<CFuncArg>(function.func->args))
        list.append(py::make_tuple(text_of(argument->name), calc_type2string(argument->type)));
    return list;
}

} // namespace

void add_calculations(py::module_& module) {
    py::class_<Function>(module, "Function", "A function of a calculation.")
        .def_property_readonly("namespace", [](const Function& f) { return text_of(f.ns->name); })
        .def_property_readonly("name", [](const Function& f) { return text_of(f.func->name); })
        .def_property_readonly(
            "type", [](const Function& f) { return calc_type2string(f.func->type); },
            "The type of the result: \"boolean\", \"integer\", \"float\", \"string\" or \"void\".")
        .def_property_readonly("arguments", arguments_of, "The name and the type of each argument.")
        .def_property_readonly(
            "file",
            [](const Function& f) { return file_name(detail::text_or_empty(f.func->filename)); },
            "The file that it is defined in; empty where that is not known.")
        .def_property_readonly("line", [](const Function& f) { return f.func->line_no; })
        .def("__repr__", [](const Function& f) {
            return py::str("<norvane.Function {}.{}>")
                .format(text_of(f.ns->name), text_of(f.func->name));
        });
    py::class_<Calculation, SharedCalculation>(
        module, "Calculation", "Functions beside a model; norvane.load_calculation() reads them.")
        .def_property_readonly("functions", functions_of, "All functions, namespace by namespace.")
        .def("check", check, py::arg("model"),
             "Checks all functions against a model, and returns the warnings. Raises ModelError, "
             "with "
             "all reports, if the calculation or the model is at fault.");
    module.def("_load_calculation", load);
    module.def("_load_calculation_from_package", load_from_package);
}

} // namespace norvane::python
