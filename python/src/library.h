// What all parts of the module share: calls of the library, its texts as Python has them, and
// reports.
#ifndef NORVANE_PYTHON_LIBRARY_H
#define NORVANE_PYTHON_LIBRARY_H

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <pybind11/pybind11.h>

#include "norvane/faults.hpp"
#include "norvane/proj.hpp"

namespace norvane::python {

namespace py = pybind11;

// The library serves one thread at a time.
inline std::mutex library_lock;

// Runs `body`, which calls the library and touches no Python object, while other Python threads go
// on.
template <typename Body>
auto locked(Body body) {
    const py::gil_scoped_release released;
    const std::lock_guard<std::mutex> lock(library_lock);
    return body();
}

// A value of the library's that Python objects share. It is released as it was made: by the
// library.
template <typename T>
std::shared_ptr<T> shared(T value) {
    return {new T(std::move(value)), [](T* owned) { locked([owned] { delete owned; }); }};
}

// A text of the library, in code page 1252; a null is the empty text.
py::str text_of(const char* text);
// The name of a file, as the system has it.
py::str file_name(const std::string& name);
// The other way.
std::string to_text(const std::string& utf8);

DeclaredAt place_of(const Model& model, unsigned linenumber);

// The input is at fault: becomes a norvane.ModelError.
struct Refused {
    std::vector<Report> reports;
    std::vector<Fault> faults = {}; // with the ranges that the reports are about, where known
};

// The faults of a model that the library has refused. To be called where locked() runs it.
std::vector<Fault> faults_of_refused(const std::string& model,
                                     const std::vector<std::string>& cpp_args);

py::list list_of_reports(const std::vector<Report>& reports, const std::vector<Fault>& faults = {});

// The value of a result; refuses the input if there is none, or an error among the reports.
template <typename T>
T value_of(Result<T>&& result) {
    if (!result || result.has_errors()) throw Refused{result.reports()};
    return *std::move(result);
}

// What the parts add to the module.
void add_reports(py::module_& module);
void add_expressions(py::module_& module);
void add_faults(py::module_& module);
void add_models(py::module_& module);
void add_calculations(py::module_& module);
void add_side_data(py::module_& module);
void add_workspaces(py::module_& module);

} // namespace norvane::python

#endif
