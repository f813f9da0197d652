// Presentations and variable orders, as dictionaries and lists.
#include "library.h"

namespace norvane::python {
namespace {

// Layer to key to text. The texts are in UTF-8 already.
py::dict load_presentation(const std::string& file) {
    const auto presentation = shared(value_of(locked([&] { return Presentation::load(file); })));
    py::dict layers;
    for (const auto [layer, table] : presentation->layers()) {
        py::dict texts;
        for (const auto [key, text] : Presentation::texts(table))
            texts[text_of(key)] = py::str(text);
        layers[text_of(layer)] = texts;
    }
    return layers;
}

py::list load_order(const std::string& file) {
    const auto order = shared(value_of(locked([&] { return VarOrder::load(file); })));
    py::list names;
    for (const char* name : order->names())
        names.append(text_of(name));
    return names;
}

} // namespace

void add_side_data(py::module_& module) {
    module.def("_load_presentation", load_presentation);
    module.def("_load_order", load_order);
}

} // namespace norvane::python
