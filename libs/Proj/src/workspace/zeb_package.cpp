// Package making: what the tools left in a build folder, put into one file.

#include "norvane/base/except.h"
#include "norvane/base/os.h"
#include "norvane/base/packages.hpp"
#include "norvane/proj/proj_errors.h"
#include "norvane/proj/zeb.h"
#include "report.h"
#include "zeb_internal.h"

namespace norvane {

namespace {

using NorvaneCpp::CFilePackage;
using NorvaneCpp::CFilePtr;
using NorvaneCpp::String;

// What a package is made of. All borrowed.
struct PackageOrder {
    const char* model_name;
    const char* output_folder;
    const char* build_folder;
    bool debug;
    const char* model_type;      // null: the ordinary one
    const PolyList* extra_files; // null: none
};

// Imports a file of the build folder. All of them lie directly in it: `folder` is where the package
// keeps them.
bool zeb_package_import(CFilePackage& package, const PackageOrder& order, const char* folder,
                        const char* file) {
    String source;
    source.printf("%s/%s", order.build_folder, file);
    if (!os_file_exists(source.GetStr())) return false;
    String member;
    member.printf("workspace/%s/%s/%s", order.model_name, folder, file);
    return package.importFile(source, member);
}

// The same for the file of the model's name.
bool import_by_extension(CFilePackage& package, const PackageOrder& order, const char* folder,
                         const char* extension) {
    String file;
    file.printf("%s.%s", order.model_name, extension);
    return zeb_package_import(package, order, folder, file.GetStr());
}

bool write_index(CFilePackage& package, const PackageOrder& order) {
    CFilePtr index = package.open("index.mui", NorvaneCpp::FILE_OPEN_CREATE_WRITE);
    if (!index.isOpen()) return false;
    index->printf("main=%s\n", order.model_name);
    index->printf("modeltype=%s\n", order.model_type ? order.model_type : "StandardMu");
    index->close();
    return true;
}

// What is not there is left out.
void import_optional(CFilePackage& package, const PackageOrder& order) {
    for (const char* extension : {"clx", "tbl"})
        import_by_extension(package, order, "build", extension);
    if (order.extra_files)
        for (const char* file : items<char>(order.extra_files))
            zeb_package_import(package, order, "build", file);
    if (order.debug)
        for (const char* extension : {"pm", "vof", "zeb", "prs"})
            import_by_extension(package, order, "debug", extension);
}

int failed_to_create(const String& path) {
    report_error(ERR_ZEB_MUB_FAILED_TO_CREATE(path.GetStr()));
    return STATUS_FAILURE;
}

int zeb_make_package(const PackageOrder& order) {
    String path;
    path.printf("%s\\%s.mub", order.output_folder, order.model_name);
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
    // Saved here and not by the destructor, which cannot tell that the disk was full.
    return package.closeAndSave() ? STATUS_SUCCESS : failed_to_create(path);
}

} // namespace

} // namespace norvane

using namespace norvane;

int zeb_make_mub(const char* model_name, const char* output_folder, const char* build_folder,
                 bool debug, const char* model_type) {
    NORVANE_ASSERT(model_name);
    NORVANE_ASSERT(output_folder);
    NORVANE_ASSERT(build_folder);
    return zeb_make_package({model_name, output_folder, build_folder, debug, model_type, nullptr});
}

int zeb_project_make_mub(ZEBProject* project, const char* model_type, bool debug) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT(project->name);
    return zeb_make_package({project->name, ".", ".", debug, model_type, project->fileincludes});
}
