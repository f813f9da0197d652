// Workspaces and packages.
#include "library.h"

namespace norvane::python {
namespace {

using SharedWorkspace = std::shared_ptr<Workspace>;
using SharedPackage = std::shared_ptr<Package>;

struct WorkspaceProject {
    SharedWorkspace workspace;
    const ZEBProject* project;
};

py::list texts_in(const PolyList* list) {
    py::list texts;
    for (const char* text : items<const char>(list))
        texts.append(text_of(text));
    return texts;
}

py::list projects_of(const SharedWorkspace& workspace) {
    py::list list;
    for (const ZEBProject* project : workspace->projects())
        list.append(WorkspaceProject{workspace, project});
    return list;
}

py::dict defines_of(const WorkspaceProject& project) {
    py::dict defines;
    for (const auto [name, value] : pairs<const char, const char>(project.project->defines))
        defines[text_of(name)] = text_of(value);
    return defines;
}

SharedWorkspace load_workspace(const std::string& file) {
    return shared(value_of(locked([&] { return Workspace::load(file); })));
}

SharedPackage open_package(const std::string& file) {
    return shared(value_of(locked([&] { return Package::open(file); })));
}

py::list members_of(const Package& package) {
    py::list list;
    for (std::size_t i = 0; i < package.size(); ++i)
        list.append(text_of(locked([&] { return package.member(i); }).c_str()));
    return list;
}

py::bytes read(const Package& package, const std::string& member) {
    const std::string name = to_text(member);
    std::string bytes;
    const bool is_read = locked([&] {
        return package.read(
            name, [&bytes](const char* piece, std::size_t size) { bytes.append(piece, size); });
    });
    if (!is_read) throw py::key_error(member);
    return bytes;
}

// A property that is a list of texts of the project.
template <PolyList* ZEBProject::*list>
py::list listed(const WorkspaceProject& project) {
    return texts_in(project.project->*list);
}

} // namespace

void add_workspaces(py::module_& module) {
    py::class_<WorkspaceProject>(module, "Project", "The files of one product in a workspace.")
        .def_property_readonly("name",
                               [](const WorkspaceProject& p) { return text_of(p.project->name); })
        .def_property_readonly(
            "model",
            [](const WorkspaceProject& p) {
                return p.project->main_file ? py::object(text_of(p.project->main_file))
                                            : py::none();
            },
            "The file of the product model, or None.")
        .def_property_readonly("defines", defines_of, "The macros of the model: name to value.")
        .def_property_readonly("include_dirs", listed<&ZEBProject::includes>)
        .def_property_readonly("model_files", listed<&ZEBProject::pm_files>)
        .def_property_readonly("calculations", listed<&ZEBProject::calc_files>)
        .def_property_readonly("presentations", listed<&ZEBProject::pres_files>)
        .def_property_readonly("orders", listed<&ZEBProject::var_order_files>)
        .def("__repr__", [](const WorkspaceProject& p) {
            return py::str("<norvane.Project {}>").format(text_of(p.project->name));
        });
    py::class_<Workspace, SharedWorkspace>(
        module, "Workspace",
        "The projects of a modeller; norvane.load_workspace() reads "
        "them.")
        .def_property_readonly("projects", projects_of);
    py::class_<Package, SharedPackage>(
        module, "Package", "A package of a compiled model; norvane.open_package() opens one.")
        .def_property_readonly("members", members_of, "The names of the members.")
        .def("read", read, py::arg("member"),
             "The bytes of a member. Raises KeyError if there is none, or it cannot be read.");
    module.def("_load_workspace", load_workspace);
    module.def("_open_package", open_package);
}

} // namespace norvane::python
