#include "includes.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace norvane::driver::lsp {
namespace {

namespace fs = std::filesystem;

// Upper limit of the files that are followed; a directory of unrelated files may hold more.
constexpr std::size_t most_files = 1000;

void skip_blanks(std::string_view& line) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
}

bool skip(std::string_view& line, std::string_view word) {
    skip_blanks(line);
    const bool is_there = line.starts_with(word);
    if (is_there) line.remove_prefix(word.size());
    return is_there;
}

// "define NAME".
bool skip_definition(std::string_view& line) {
    if (!skip(line, "define")) return false;
    skip_blanks(line);
    line.remove_prefix(std::min(line.find_first_of(" \t"), line.size()));
    return true;
}

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

bool includes(const std::string& includer, const std::string& file, const Documents& documents) {
    const auto bytes = documents.bytes(includer);
    if (!bytes) return false;
    return std::ranges::any_of(included_names(*bytes), [&](const std::string& name) {
        return (fs::path(includer).parent_path() / name).lexically_normal() == file;
    });
}

} // namespace

std::vector<std::string> included_names(std::string_view source) {
    std::vector<std::string> names;
    for (std::size_t at = source.find('#'); at < source.size(); at = source.find('#', at + 1)) {
        std::string_view line = source.substr(at + 1);
        line = line.substr(0, line.find('\n'));
        if (!skip(line, "include") && !skip_definition(line)) continue;
        skip_blanks(line);
        if (line.empty() || (line[0] != '"' && line[0] != '<')) continue;
        const std::size_t end = line.find(line[0] == '<' ? '>' : '"', 1);
        if (end != line.npos) names.emplace_back(line.substr(1, end - 1));
    }
    return names;
}

SourceSet sources_of(const std::string& file, const std::vector<std::string>& directories,
                     const Documents& documents, std::set<std::string>* missing) {
    SourceSet sources;
    std::vector<std::string> pending = {file};
    while (!pending.empty() && sources.size() < most_files) {
        const std::string path = std::move(pending.back());
        pending.pop_back();
        if (sources.contains(path)) continue;
        auto bytes = documents.bytes(path);
        if (!bytes) continue;
        const std::string& text = sources[path] = *std::move(bytes);
        for (const std::string& name : included_names(text))
            if (std::string found = look_up(name, path, directories, documents, missing);
                !found.empty())
                pending.push_back(std::move(found));
    }
    return sources;
}

std::vector<std::string> includers_of(const std::string& file, const Documents& documents) {
    std::vector<std::string> found;
    for (const auto& [path, document] : documents.all())
        if (path != file && includes(path, file, documents)) found.push_back(path);
    std::error_code error;
    std::vector<std::string> others;
    for (fs::directory_iterator at(fs::path(file).parent_path(), error), end;
         !error && at != end && others.size() < most_files; at.increment(error))
        if (at->path().extension() == ".pm" && at->path() != file && !documents.find(at->path()))
            others.push_back(at->path());
    std::ranges::sort(others); // so that the same files give the same answer
    std::ranges::copy_if(others, std::back_inserter(found), [&](const std::string& other) {
        return includes(other, file, documents);
    });
    return found;
}

} // namespace norvane::driver::lsp
