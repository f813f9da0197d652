#include "overlay.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <unistd.h>

#include "included_names.h"
#include "temporaries.h"

namespace norvane::driver::lsp {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

void write(const fs::path& file, const std::string& bytes) {
    std::ofstream stream(file, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) fail("cannot write " + file.string());
}

// "directory/../file" is found only where there is such a directory. None is made outside of the
// root; where one cannot be made, the preprocessor tells that the file is not there.
void add_directories(const std::string& root, const fs::path& place, const std::string& source) {
    for (const fs::path name : included_names(source)) {
        if (name.is_absolute() || name.string().find("..") == std::string::npos) continue;
        fs::path path = place;
        for (const fs::path& step : name.parent_path()) {
            path /= step;
            if (!path.lexically_normal().string().starts_with(root + "/")) break;
            std::error_code ignored;
            fs::create_directory(path, ignored);
        }
    }
}

} // namespace

// The preprocessor tells names with quotes, backslashes and control characters in another spelling.
std::string place_for_overlays() {
    std::string place = place_for_temporaries();
    const bool is_plain = std::ranges::none_of(
        place, [](unsigned char c) { return c < ' ' || c == '"' || c == '\\'; });
    return is_plain ? place : "/tmp";
}

Overlay::~Overlay() {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

void Overlay::add(const SourceSet& sources, const Documents& documents) {
    for (const auto& [file, bytes] : sources) {
        const fs::path here = path(file);
        fs::create_directories(here.parent_path());
        if (fs::is_symlink(here) || fs::exists(here)) continue;
        if (documents.find(file))
            write(here, bytes);
        else
            fs::create_symlink(file, here);
    }
    for (const auto& [file, bytes] : sources)
        add_directories(root_, fs::path(path(file)).parent_path(), bytes);
}

std::vector<std::string>
Overlay::include_options(const std::vector<std::string>& directories) const {
    std::vector<std::string> options;
    std::error_code error;
    for (const std::string& directory : directories)
        for (const std::string& place : {path(directory), directory})
            if (fs::is_directory(place, error)) options.push_back("-I" + place);
    return options;
}

} // namespace norvane::driver::lsp
