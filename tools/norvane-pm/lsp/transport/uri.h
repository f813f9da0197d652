// Names of documents: the client has URIs, the library has files.
#ifndef NORVANE_PM_LSP_URI_H
#define NORVANE_PM_LSP_URI_H

#include <string>
#include <string_view>

namespace norvane::driver::lsp {

// The file, without "." and "..". A document that is not a file, such as one that was never saved,
// gets a path that no file has.
std::string path_of(std::string_view uri);

std::string uri_of(std::string_view path);

} // namespace norvane::driver::lsp

#endif
