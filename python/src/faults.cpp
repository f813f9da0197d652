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

// "pump.pm:3:8", as far as it is known.
py::str summary_of(const FaultPlace& place) {
    std::string numbers; // after the file
    if (place.line > 0) numbers += ":" + std::to_string(place.line);
    if (place.column > 0) numbers += ":" + std::to_string(place.column);
    return py::str(file_name(place.file) + py::str(numbers));
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
        .def("__str__", [](const FaultPlace& place) { return summary_of(place); })
        .def("__repr__", [](const FaultPlace& place) {
            return py::str("<norvane.Place {}>").format(summary_of(place));
        });
    py::class_<FaultNote>(module, "Note", "A further place that explains a fault.")
        .def_readonly("place", &FaultNote::place)
        .def_property_readonly("text", text(&FaultNote::text))
        .def("__repr__", [](const FaultNote& note) {
            return py::str("<norvane.Note {}: {}>")
                .format(summary_of(note.place), to_str(note.text));
        });
    py::class_<FaultReplacement>(module, "Replacement", "What to write instead of a range.")
        .def_readonly("place", &FaultReplacement::place)
        .def_property_readonly("text", text(&FaultReplacement::text))
        .def_readonly("is_certain", &FaultReplacement::is_certain,
                      "Whether it may be applied without asking.")
        .def("__repr__", [](const FaultReplacement& better) {
            return py::str("<norvane.Replacement {}: {!r}>")
                .format(summary_of(better.place), to_str(better.text));
        });
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
            return py::str("<norvane.Fault {}: {}: {}>")
                .format(summary_of(fault.place), severity_of(fault), to_str(fault.message));
        });
    module.def("_faults", faults);
    module.def("_calculation_faults", calculation_faults);
}

} // namespace norvane::python
