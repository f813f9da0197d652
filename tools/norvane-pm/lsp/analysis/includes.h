// Which files a model consists of.
#ifndef NORVANE_PM_LSP_INCLUDES_H
#define NORVANE_PM_LSP_INCLUDES_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "documents.h"

namespace norvane::driver::lsp {

// The bytes of each file, by path, as the client has it or as it is on disk.
using SourceSet = std::map<std::string, std::string>;

// The file and all that it includes, whether a condition leaves it out or not. Each name is looked
// up as the preprocessor does it: beside the file that includes it, then in `directories`.
// `missing` receives the paths that were tried and do not exist: creating one of them would change
// the result.
std::set<std::string> files_of(const std::string& file, const std::vector<std::string>& directories,
                               const Documents& documents,
                               std::set<std::string>* missing = nullptr);
SourceSet sources_of(const std::string& file, const std::vector<std::string>& directories,
                     const Documents& documents, std::set<std::string>* missing = nullptr);

// The open documents that include the file, then the models beside it and in `places` that do.
// Names are looked up as above.
std::vector<std::string> includers_of(const std::string& file,
                                      const std::vector<std::string>& directories,
                                      const std::vector<std::string>& places,
                                      const Documents& documents);

} // namespace norvane::driver::lsp

#endif
