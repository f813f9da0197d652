#include "library.h"

PYBIND11_MODULE(_norvane, module) {
    using namespace norvane::python;
    module.doc() = "The project library; use the package norvane.";
    add_reports(module);
    add_expressions(module);
    add_models(module);
    add_calculations(module);
    add_side_data(module);
    add_workspaces(module);
}
