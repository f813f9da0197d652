// What the client has open, and the files that it has not.
#ifndef NORVANE_PM_LSP_DOCUMENTS_H
#define NORVANE_PM_LSP_DOCUMENTS_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "json.h"
#include "lines.h"

namespace norvane::driver::lsp {

struct Document {
    std::string uri; // as the client spells it
    std::string path;
    long long version = 0;
    bool is_calculation = false;
    Lines lines;
};

// Reads a regular file. Empty for other kinds of files, for files that are too large to be a
// source, and for those that the system cannot read.
std::optional<std::string> read_source_file(const std::string& path);

class Documents {
  public:
    // Take the parameters of the client's notifications. Null where the document is not open.
    Document* open(const Json& item);
    Document* change(const Json& params);
    bool close(const std::string& path); // false where it is not open
    void saved(const std::string& path);

    const Document* find(const std::string& path) const;
    const std::map<std::string, Document>& all() const { return open_; }

    // The lines of a document, or of a file that is not open; null where it cannot be read. Files
    // are kept until forget_files().
    const Lines* lines(const std::string& path) const;
    // The names that a file or document includes. Those of files are kept until the files change.
    const std::vector<std::string>& included(const std::string& path) const;
    // The bytes that a file would have if it were saved.
    std::optional<std::string> bytes(const std::string& path) const;
    void forget_files() { files_.clear(); }

    // As the client spells it, if it is open.
    std::string uri(const std::string& path) const;

  private:
    // What a file was when its names were read; of a document, nothing.
    struct Stamp {
        std::filesystem::file_time_type time;
        std::uintmax_t size = 0;
        bool operator==(const Stamp&) const = default;
    };
    struct Included {
        Stamp stamp;
        std::vector<std::string> names;
    };
    Stamp stamp_of(const std::string& path) const;

    std::map<std::string, Document> open_; // by path
    mutable std::map<std::string, Included> included_;
    mutable std::map<std::string, std::unique_ptr<Lines>> files_;
};

} // namespace norvane::driver::lsp

#endif
