// Makes packages: collects what the tools left in a build directory in one file.

#include "norvane/base/call_guard.hpp"
#include "norvane/base/except.h"
#include "norvane/base/os.h"
#include "norvane/base/packages.hpp"
#include "norvane/proj/proj_errors.h"
#include "norvane/proj/zeb.h"
#include "report.h"
#include "zeb_internal.h"

namespace norvane::workspace {

namespace {

using NorvaneCpp::CFilePackage;
using NorvaneCpp::CFilePtr;
using NorvaneCpp::String;

// What a package is made of. All texts are borrowed.
struct PackageOrder {
    const char* model_name;
    const char* output_directory;
    const char* build_directory;
    bool debug;
    const char* model_type;      // null for the default
    const PolyList* extra_files; // null for none
};

// Imports a file of the build directory as a member of `directory` in the package.
bool import_file(CFilePackage& package, const PackageOrder& order, const char* directory,
                 const char* file) {
    String source;
    source.printf("%s/%s", order.build_directory, file);
    if (!os_file_exists(source.GetStr())) return false;
    String member;
    member.printf("workspace/%s/%s/%s", order.model_name, directory, file);
    return package.importFile(source, member);
}

// The same for the file that is named after the model.
bool import_by_extension(CFilePackage& package, const PackageOrder& order, const char* directory,
                         const char* extension) {
    String file;
    file.printf("%s.%s", order.model_name, extension);
    return import_file(package, order, directory, file.GetStr());
}

bool write_index(CFilePackage& package, const PackageOrder& order) {
    CFilePtr index = package.open("index.mui", NorvaneCpp::FILE_OPEN_CREATE_WRITE);
    if (!index.isOpen()) return false;
    index->printf("main=%s\n", order.model_name);
    index->printf("modeltype=%s\n", order.model_type ? order.model_type : "StandardMu");
    index->close();
    return true;
}

// Files that do not exist are left out.
void import_optional(CFilePackage& package, const PackageOrder& order) {
    for (const char* extension : {"clx", "tbl"})
        import_by_extension(package, order, "build", extension);
    if (order.extra_files)
        for (const char* file : items<char>(order.extra_files))
            import_file(package, order, "build", file);
    if (order.debug)
        for (const char* extension : {"pm", "vof", "zeb", "prs"})
            import_by_extension(package, order, "debug", extension);
}

int failed_to_create(const String& path) {
    report_error(ERR_ZEB_MUB_FAILED_TO_CREATE(path.GetStr()));
    return STATUS_FAILURE;
}

int make_package(const PackageOrder& order) {
    String path;
    path.printf("%s\\%s.mub", order.output_directory, order.model_name);
    if (os_file_exists(path.GetStr()) && os_file_is_readonly(path.GetStr())) {
        report_error(ERR_ZEB_MUB_READ_ONLY(path.GetStr()));
        return STATUS_FAILURE;
    }
    CFilePackage package;
    if (!package.createPackage(path, "") || !write_index(package, order))
        return failed_to_create(path);
    if (!import_by_extension(package, order, "build", "mu")) {
        package.closeAndSave();
        os_delete_file(path.GetStr());
        return STATUS_FAILURE;
    }
    import_optional(package, order);
    // Not left to the destructor, which could not report that the disk is full.
    return package.closeAndSave() ? STATUS_SUCCESS : failed_to_create(path);
}

} // namespace

} // namespace norvane::workspace

using namespace norvane;
using namespace norvane::workspace;

int zeb_make_mub(const char* model_name, const char* output_folder, const char* build_folder,
                 bool debug, const char* model_type) {
    const CallGuard guard(__func__);
    NORVANE_ASSERT(model_name);
    NORVANE_ASSERT(output_folder);
    NORVANE_ASSERT(build_folder);
    return make_package({model_name, output_folder, build_folder, debug, model_type, nullptr});
}

int zeb_project_make_mub(ZEBProject* project, const char* model_type, bool debug) {
    const CallGuard guard(__func__);
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(project->name);
    return make_package({project->name, ".", ".", debug, model_type, project->fileincludes});
}
