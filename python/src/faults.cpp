// All faults of a source, with ranges.
#include <pybind11/stl.h>

#include "norvane/faults.hpp"

#include "library.h"

namespace norvane::python {
namespace {

const char* severity_of(const Fault& fault) {
    constexpr const char* texts[] = {"note", "warning", "error"};
    return texts[static_cast<int>(fault.severity)];
}

std::vector<Fault> faults(const std::string& model, const std::vector<std::string>& cpp_args,
                          const std::vector<std::string>& warnings) {
    return locked([&] { return find_faults(model, {cpp_args, warnings}); });
}

std::vector<Fault> calculation_faults(const std::string& calculation, const std::string& model,
                                      const std::vector<std::string>& cpp_args,
                                      const std::vector<std::string>& warnings) {
    return locked([&] {
        return find_calculation_faults(calculation, model, {cpp_args, warnings});
    });
}

py::str to_str(const std::string& text) {
    return fault_text_to_utf8(text);
}

template <typename Owner>
auto text(std::string Owner::*member) {
    return [member](const Owner& owner) { return to_str(owner.*member); };
}

} // namespace

std::vector<Fault> faults_of_refused(const std::string& model,
                                     const std::vector<std::string>& cpp_args) try {
    return find_faults(model, {cpp_args, {}});
} catch (const std::exception&) { // the reports come without ranges
    return {};
}

void add_faults(py::module_& module) {
    py::class_<FaultPlace>(module, "Place",
                           "A range of a source file. Lines and columns count from 1, columns in "
                           "bytes of the file, and the range ends before its end; 0 stands for "
                           "what is not known.")
        .def_property_readonly("file",
                               [](const FaultPlace& place) { return file_name(place.file); })
        .def_readonly("line", &FaultPlace::line)
        .def_readonly("column", &FaultPlace::column)
        .def_readonly("end_line", &FaultPlace::end_line)
        .def_readonly("end_column", &FaultPlace::end_column)
        .def("__repr__", [](const FaultPlace& place) {
            return py::str("<norvane.Place {}:{}:{}>")
                .format(file_name(place.file), place.line, place.column);
        });
    py::class_<FaultNote>(module, "Note", "A further place that explains a fault.")
        .def_readonly("place", &FaultNote::place)
        .def_property_readonly("text", text(&FaultNote::text));
    py::class_<FaultReplacement>(module, "Replacement", "What to write instead of a range.")
        .def_readonly("place", &FaultReplacement::place)
        .def_property_readonly("text", text(&FaultReplacement::text))
        .def_readonly("is_certain", &FaultReplacement::is_certain,
                      "Whether it may be applied without asking.");
    py::class_<Fault>(module, "Fault", "What is wrong with a source, or odd about it.")
        .def_property_readonly("severity", severity_of, "\"error\", \"warning\" or \"note\".")
        .def_readonly("name", &Fault::name,
                      "The name of the diagnostic, as \"ERR_ID_UNDECLARED\" or \"unused-name\".")
        .def_property_readonly("message", text(&Fault::message), "What is wrong, in one sentence.")
        .def_readonly("place", &Fault::place)
        .def_readonly("notes", &Fault::notes, "Further places that explain it.")
        .def_property_readonly("hint", text(&Fault::hint),
                               "The way out, in words; empty where there is none.")
        .def_readonly("replacements", &Fault::replacements, "What to write instead, all of it.")
        .def("__repr__", [](const Fault& fault) {
            return py::str("<norvane.Fault {}:{}:{}: {}: {}>")
                .format(file_name(fault.place.file), fault.place.line, fault.place.column,
                        severity_of(fault), to_str(fault.message));
        });
    module.def("_faults", faults);
    module.def("_calculation_faults", calculation_faults);
}

} // namespace norvane::python
