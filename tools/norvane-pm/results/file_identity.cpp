#include "file_identity.h"

#include <filesystem>

#include <sys/stat.h>

namespace norvane::driver {

namespace fs = std::filesystem;

FileIdentity identity_of(const std::string& name) {
    struct stat info = {};
    if (stat(name.c_str(), &info) == 0) return {info.st_dev, info.st_ino, {}};
    std::error_code error;
    const fs::path target = fs::absolute(end_of_links(name), error);
    return {0, 0, fs::weakly_canonical(target, error)};
}

std::string end_of_links(const std::string& name) {
    constexpr int most_links = 40; // as the system follows; a longer way cannot be opened
    fs::path path = name;
    std::error_code is_no_link;
    for (int i = 0; i < most_links && !is_no_link; ++i) {
        const fs::path target = fs::read_symlink(path, is_no_link);
        if (!is_no_link) path = path.parent_path() / target;
    }
    return path;
}

bool would_replace(const std::string& result, const FileIdentity& file) {
    if (result == "-" || result.empty()) return false;
    struct stat info = {};
    const bool is_there = stat(result.c_str(), &info) == 0;
    return (!is_there || S_ISREG(info.st_mode)) && identity_of(result) == file;
}

} // namespace norvane::driver
