#include "uri.h"

#include <cctype>
#include <charconv>
#include <cstdio>
#include <filesystem>

namespace norvane::driver::lsp {
namespace {

constexpr std::string_view file_scheme = "file://";
constexpr std::string_view no_file = "/norvane-unsaved/";

std::string decoded(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned byte = 0;
        const bool has_digits = text[i] == '%' && i + 2 < text.size();
        const char* end = text.data() + i + 3;
        if (has_digits && std::from_chars(end - 2, end, byte, 16).ptr == end && byte != 0) {
            result += static_cast<char>(byte);
            i += 2;
        } else if (text[i] != '\0') {
            result += text[i];
        }
    }
    return result;
}

std::string encoded(std::string_view text, std::string_view kept) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80 && (std::isalnum(byte) || kept.find(c) != std::string_view::npos)) {
            result += c;
            continue;
        }
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02X", byte);
        result += escaped;
    }
    return result;
}

} // namespace

std::string path_of(std::string_view uri) {
    if (!uri.starts_with(file_scheme)) return std::string(no_file) + encoded(uri, "-._~");
    uri.remove_prefix(file_scheme.size());
    const std::size_t root = uri.find('/'); // after the host, if there is one
    const std::string path = decoded(root == uri.npos ? "/" : uri.substr(root));
    return std::filesystem::path(path).lexically_normal().string();
}

std::string uri_of(std::string_view path) {
    if (path.starts_with(no_file)) return decoded(path.substr(no_file.size()));
    return std::string(file_scheme) + encoded(path, "/-._~");
}

} // namespace norvane::driver::lsp
