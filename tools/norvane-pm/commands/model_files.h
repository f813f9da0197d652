// The files that a model is written in.
#ifndef NORVANE_PM_MODEL_FILES_H
#define NORVANE_PM_MODEL_FILES_H

#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <sys/types.h>
#include <time.h>

#include "finding.h"

namespace norvane::driver {

// The model's own file, and those that its directives include by a name. A place in a report need
// not be in one of them, since a line directive gives lines the name of any file.
class ModelFiles {
  public:
    ModelFiles(const std::string& file, const std::vector<std::string>& cpp_args);

    // False also for one that has changed since.
    bool contain(const std::string& file) const;
    // A #line directive after which lines may be attributed to the wrong file.
    const std::optional<Place>& doubt() const { return doubt_; }

  private:
    // Of a file and its state: one that is replaced or written to gets another.
    using Id = std::tuple<dev_t, ino_t, time_t, long>;

    static std::optional<Id> id_of(const std::string& file);
    void add(const std::string& file);
    void add_directive(const std::string& file, std::string_view line, unsigned number);

    std::vector<std::string> directories_; // of -I
    std::set<Id> files_;
    std::vector<std::string> unread_;
    std::optional<Place> doubt_;
};

} // namespace norvane::driver

#endif
