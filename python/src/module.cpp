#include "library.h"

namespace norvane::python {
namespace {

// A child process has no other thread that could end a call of the library: so a fork waits for the
// call that is running.
void wait_before_forks() {
    const auto unlock = py::cpp_function([] { library_lock.unlock(); });
    py::module_::import("os").attr("register_at_fork")(
        py::arg("before") = py::cpp_function([] { library_lock.lock(); }),
        py::arg("after_in_parent") = unlock, py::arg("after_in_child") = unlock);
}

} // namespace
} // namespace norvane::python

PYBIND11_MODULE(_norvane, module) {
    using namespace norvane::python;
    wait_before_forks();
    util_throw_scanner_failures(1); // which would end the interpreter
    module.doc() = "The project library; use the package norvane.";
    add_reports(module);
    add_faults(module);
    add_expressions(module);
    add_models(module);
    add_calculations(module);
    add_side_data(module);
    add_workspaces(module);
}
