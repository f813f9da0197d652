// The sources of a model as the client has them, as files that the library can read.
//
// They are put below a directory of our own under their whole paths. Files that are not open are
// links to those on disk, so that each file that is included is found beside the one that includes
// it, as on disk.
#ifndef NORVANE_PM_LSP_OVERLAY_H
#define NORVANE_PM_LSP_OVERLAY_H

#include <string>
#include <vector>

#include "includes.h"

namespace norvane::driver::lsp {

// The directory for temporary files in which overlays are to be.
std::string place_for_overlays();

class Overlay {
  public:
    explicit Overlay(std::string root) : root_(std::move(root)) {}
    ~Overlay();
    Overlay(const Overlay&) = delete;
    Overlay& operator=(const Overlay&) = delete;

    const std::string& root() const { return root_; }
    // Throws std::system_error where a file cannot be written.
    void add(const SourceSet& sources, const Documents& documents);
    std::string path(const std::string& file) const { return root_ + file; }
    // -I for the directories, each after what is above it here.
    std::vector<std::string> include_options(const std::vector<std::string>& directories) const;

  private:
    std::string root_;
};

} // namespace norvane::driver::lsp

#endif
