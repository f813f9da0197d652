// A program of somebody else: it catches what the library reports and what it throws.
#include <cstdio>
#include <string>

#include <norvane/proj.h>

namespace {

void remember(ErrorType, ErrorInfo* error, void* user) {
    *static_cast<std::string*>(user) += std::string(error->name) + "\n";
    err_delete(error);
}

void load_without_a_name(void*) {
    proj_import_from_pmfile(nullptr, nullptr);
}

} // namespace

int main() {
    std::string reports;
    msg_set_error_sink(remember, &reports);
    char name[] = "/nowhere/model.pm";
    PolyList* cpp_args = plist_new(nullptr, nullptr, nullptr);
    const Project* project = proj_import_from_pmfile(name, cpp_args);
    plist_delete(cpp_args);
    if (project || reports != "ERR_FILE_OPEN\n") return std::puts("the report is lost"), 1;

    static ExceptionState thrown;
    if (!except_catch(load_without_a_name, nullptr, &thrown) || thrown.kind != EXCEPT_ASSERTION)
        return std::puts("the throw is lost"), 1;
    return 0;
}
