#include "documents.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "included_names.h"
#include "uri.h"

namespace norvane::driver::lsp {
namespace {

constexpr std::uintmax_t largest_source = std::uintmax_t{64} << 20;

bool is_calculation(const Json& item, const std::string& path) {
    const std::string language = text_of(member(item, "languageId"));
    if (language == "norvane-cl") return true;
    return language != "norvane-pm" && path.ends_with(".cl");
}

// A client saves a text in the encoding of the file that it comes from. A new file, and one without
// letters beyond ASCII, is taken to be in code page 1252, as the library reads it.
Coding coding_of(const std::string& path) {
    const auto bytes = read_source_file(path);
    return bytes ? Lines::of_bytes(*bytes).coding() : Coding::codepage;
}

} // namespace

std::optional<std::string> read_source_file(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error) ||
        std::filesystem::file_size(path, error) > largest_source)
        return {};
    std::ifstream stream(path, std::ios::binary);
    if (!stream) return {};
    try {
        return std::string(std::istreambuf_iterator<char>(stream), {});
    } catch (const std::ios_base::failure&) { // the system cannot read it
        return {};
    }
}

Document* Documents::open(const Json& item) {
    const std::string uri = text_of(member(item, "uri"));
    if (uri.empty() || !member(item, "text").is_string()) return nullptr;
    Document document;
    document.uri = uri;
    document.path = path_of(uri);
    const Json& version = member(item, "version");
    if (version.is_number_integer()) document.version = version.get<long long>();
    document.is_calculation = is_calculation(item, document.path);
    document.lines = Lines(member(item, "text").get<std::string>(), coding_of(document.path));
    included_.erase(document.path);
    return &(open_[document.path] = std::move(document));
}

Document* Documents::change(const Json& params) {
    const auto found = open_.find(path_of(text_of(member(params, "textDocument", "uri"))));
    if (found == open_.end()) return nullptr;
    Document& document = found->second;
    const Json& version = member(params, "textDocument", "version");
    if (version.is_number_integer()) document.version = version.get<long long>();
    const Json& changes = member(params, "contentChanges");
    if (!changes.is_array()) return &document;
    included_.erase(document.path);
    for (const Json& change : changes) {
        if (!member(change, "text").is_string()) continue;
        const std::string& text = member(change, "text").get_ref<const std::string&>();
        if (member(change, "range").is_object())
            document.lines.replace(range_of(member(change, "range")), text);
        else
            document.lines = Lines(text, document.lines.coding());
    }
    return &document;
}

bool Documents::close(const std::string& path) {
    files_.erase(path);
    included_.erase(path);
    return open_.erase(path) > 0;
}

void Documents::saved(const std::string& path) {
    const auto found = open_.find(path);
    if (found == open_.end()) return;
    Document& document = found->second;
    document.lines = Lines(document.lines.text(), coding_of(path));
}

const Document* Documents::find(const std::string& path) const {
    const auto found = open_.find(path);
    return found == open_.end() ? nullptr : &found->second;
}

const Lines* Documents::lines(const std::string& path) const {
    if (const Document* document = find(path)) return &document->lines;
    const auto [place, is_new] = files_.try_emplace(path);
    if (is_new) {
        if (auto bytes = read_source_file(path))
            place->second = std::make_unique<Lines>(Lines::of_bytes(*std::move(bytes)));
    }
    return place->second.get();
}

Documents::Stamp Documents::stamp_of(const std::string& path) const {
    Stamp stamp;
    std::error_code error;
    if (find(path)) return stamp;
    stamp.time = std::filesystem::last_write_time(path, error);
    if (error) return {};
    stamp.size = std::filesystem::file_size(path, error);
    return stamp;
}

const std::vector<std::string>& Documents::included(const std::string& path) const {
    const Stamp stamp = stamp_of(path);
    const auto known = included_.find(path);
    if (known != included_.end() && known->second.stamp == stamp) return known->second.names;
    const auto text = bytes(path);
    return (included_[path] = {stamp, included_names(text ? *text : "")}).names;
}

std::optional<std::string> Documents::bytes(const std::string& path) const {
    if (const Document* document = find(path)) return document->lines.bytes();
    return read_source_file(path);
}

std::string Documents::uri(const std::string& path) const {
    const Document* document = find(path);
    return document ? document->uri : uri_of(path);
}

} // namespace norvane::driver::lsp
