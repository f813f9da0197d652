#include "includes.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace norvane::driver::lsp {
namespace {

namespace fs = std::filesystem;

// Upper limit of the files that are followed; a directory of unrelated files may hold more.
constexpr std::size_t most_files = 1000;

bool is_there(const std::string& path, const Documents& documents) {
    std::error_code error;
    return documents.find(path) || fs::is_regular_file(path, error);
}

std::string look_up(const std::string& name, const std::string& includer,
                    const std::vector<std::string>& directories, const Documents& documents,
                    std::set<std::string>* missing) {
    std::vector<fs::path> places;
    if (!name.starts_with('/')) places.push_back(fs::path(includer).parent_path());
    places.insert(places.end(), directories.begin(), directories.end());
    for (const fs::path& place : places) {
        std::string path = (place / name).lexically_normal();
        if (is_there(path, documents)) return path;
        if (missing) missing->insert(std::move(path));
    }
    return "";
}

void add_models(const fs::path& directory, std::set<std::string>& models) {
    std::error_code error;
    for (fs::directory_iterator at(directory, error), end;
         !error && at != end && models.size() < most_files; at.increment(error))
        if (at->path().extension() == ".pm") models.insert(at->path());
}

bool includes(const std::string& includer, const std::string& file,
              const std::vector<std::string>& directories, const Documents& documents) {
    const std::string last = fs::path(file).filename();
    return std::ranges::any_of(documents.included(includer), [&](const std::string& name) {
        return name.ends_with(last) &&
               look_up(name, includer, directories, documents, nullptr) == file;
    });
}

} // namespace

std::set<std::string> files_of(const std::string& file, const std::vector<std::string>& directories,
                               const Documents& documents, std::set<std::string>* missing) {
    std::set<std::string> files;
    std::vector<std::string> pending = {file};
    while (!pending.empty() && files.size() < most_files) {
        const std::string path = std::move(pending.back());
        pending.pop_back();
        if (!is_there(path, documents) || !files.insert(path).second) continue;
        for (const std::string& name : documents.included(path))
            if (std::string found = look_up(name, path, directories, documents, missing);
                !found.empty())
                pending.push_back(std::move(found));
    }
    return files;
}

SourceSet sources_of(const std::string& file, const std::vector<std::string>& directories,
                     const Documents& documents, std::set<std::string>* missing) {
    SourceSet sources;
    for (const std::string& path : files_of(file, directories, documents, missing))
        if (auto bytes = documents.bytes(path)) sources[path] = *std::move(bytes);
    return sources;
}

std::vector<std::string> includers_of(const std::string& file,
                                      const std::vector<std::string>& directories,
                                      const std::vector<std::string>& places,
                                      const Documents& documents) {
    std::vector<std::string> found;
    for (const auto& [path, document] : documents.all())
        if (path != file && includes(path, file, directories, documents)) found.push_back(path);
    std::set<std::string> others; // in an order, so that the same files give the same answer
    add_models(fs::path(file).parent_path(), others);
    for (const std::string& place : places)
        add_models(place, others);
    std::ranges::copy_if(others, std::back_inserter(found), [&](const std::string& other) {
        return other != file && !documents.find(other) &&
               includes(other, file, directories, documents);
    });
    return found;
}

} // namespace norvane::driver::lsp
