#include "library.h"

#include <algorithm>

namespace norvane::python {
namespace {

bool is_ascii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

py::str from_utf8(const std::string& text) {
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace"));
}

std::string description_of(const Report& report) {
    std::string text;
    for (const ReportParagraph& paragraph : report.paragraphs) {
        if (!text.empty()) text += '\n';
        for (const ReportRun& run : paragraph.runs)
            text += run.text;
    }
    return text;
}

const char* severity_of(const Report& report) {
    return report.is_error() ? "error" : "warning";
}

// The library's reports quote the source, whose texts are in code page 1252.
py::str quoted(const std::string& text) {
    return text_of(text.c_str());
}

// A report with the range that it is about, as far as that is known.
struct PlacedReport : Report {
    FaultPlace range;
};

// The library's own check ends where the first fault of its kind is.
FaultPlace range_of(const Report& report, const std::vector<Fault>& faults) {
    for (const Fault& fault : faults)
        if (fault.place.column > 0 && fault.name == report.name &&
            fault.place.file == report.file && fault.place.line == report.line)
            return fault.place;
    return {};
}

// "pump.pm:3: error: ..."
py::str summary_of(const Report& report) {
    std::string place; // after the file
    if (report.line > 0) place = ":" + std::to_string(report.line);
    if (!report.file.empty()) place += ": ";
    const py::object summary = file_name(report.file) +
                               py::str(place + severity_of(report) + ": ") +
                               quoted(report.message) + py::str(" [" + report.name + "]");
    return py::str(summary);
}

void translate(std::exception_ptr thrown) {
    const auto type = [](const char* name) { return py::module_::import("norvane").attr(name); };
    try {
        if (thrown) std::rethrow_exception(std::move(thrown));
    } catch (const Refused& refused) {
        const py::object error = type("ModelError");
        PyErr_SetObject(error.ptr(), error(list_of_reports(refused.reports, refused.faults)).ptr());
    } catch (const InternalFailure& failure) {
        if (failure.is_out_of_memory()) {
            PyErr_NoMemory();
            return;
        }
        PyErr_SetString(type("InternalError").ptr(), failure.what());
    }
}

} // namespace

py::str text_of(const char* text) {
    if (!text) return "";
    if (is_ascii(text)) return text;
    return from_utf8(locked([text] { return codepage_to_utf8(text); }));
}

py::str file_name(const std::string& name) {
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeFSDefaultAndSize(name.data(), static_cast<Py_ssize_t>(name.size())));
}

std::string to_text(const std::string& utf8) {
    if (is_ascii(utf8)) return utf8;
    return locked([&utf8] { return utf8_to_codepage(utf8); });
}

DeclaredAt place_of(const Model& model, unsigned linenumber) {
    return locked([&] { return where_declared(model, linenumber); });
}

py::list list_of_reports(const std::vector<Report>& reports, const std::vector<Fault>& faults) {
    py::list list;
    for (const Report& report : reports)
        list.append(py::cast(PlacedReport{report, range_of(report, faults)}));
    return list;
}

void add_reports(py::module_& module) {
    py::register_exception_translator(translate);
    py::class_<PlacedReport>(module, "Report", "What is wrong with the input, or odd about it.")
        .def_property_readonly(
            "severity", [](const PlacedReport& report) { return severity_of(report); },
            "\"error\" or \"warning\".")
        .def_readonly("name", &PlacedReport::name,
                      "The name of the diagnostic, as \"ERR_ID_UNDECLARED\".")
        .def_property_readonly(
            "file", [](const PlacedReport& report) { return file_name(report.file); },
            "The file at fault; empty where none is named.")
        .def_readonly("line", &PlacedReport::line, "Its line, from 1; 0 where none is known.")
        .def_property_readonly(
            "column", [](const PlacedReport& report) { return report.range.column; },
            "Where on the line the fault begins, in bytes from 1; 0 where that is not known.")
        .def_property_readonly(
            "end_line", [](const PlacedReport& report) { return report.range.end_line; },
            "The line that it ends on; 0 where that is not known.")
        .def_property_readonly(
            "end_column", [](const PlacedReport& report) { return report.range.end_column; },
            "The column after its end; 0 where that is not known.")
        .def_property_readonly(
            "message", [](const PlacedReport& report) { return quoted(report.message); },
            "What is wrong, in one sentence.")
        .def_property_readonly(
            "description",
            [](const PlacedReport& report) { return quoted(description_of(report)); },
            "What it means, in one or more paragraphs.")
        .def("__str__", [](const PlacedReport& report) { return summary_of(report); })
        .def("__repr__", [](const PlacedReport& report) {
            return py::str("<norvane.Report {}>").format(summary_of(report));
        });
}

} // namespace norvane::python
