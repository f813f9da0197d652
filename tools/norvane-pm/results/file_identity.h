// Which file a name stands for, so that no result takes the place of a file that is still needed.
#ifndef NORVANE_PM_FILE_IDENTITY_H
#define NORVANE_PM_FILE_IDENTITY_H

#include <string>
#include <tuple>

#include <sys/types.h>

namespace norvane::driver {

// Equal for all names of one file: through links, hard links and directories.
struct FileIdentity {
    dev_t device = 0; // of a file that is there
    ino_t number = 0;
    std::string path; // where a file would be made, of a name that has none yet
    bool operator==(const FileIdentity&) const = default;
    bool operator<(const FileIdentity& other) const {
        return std::tie(device, number, path) < std::tie(other.device, other.number, other.path);
    }
};

// What the name stands for now.
FileIdentity identity_of(const std::string& name);

// The name that symbolic links lead to, where there is no file of that name.
std::string end_of_links(const std::string& name);

// True if a result of this name would take the place of the file. A device or a pipe is written to,
// and not replaced; "-" is not a file.
bool would_replace(const std::string& result, const FileIdentity& file);

} // namespace norvane::driver

#endif
