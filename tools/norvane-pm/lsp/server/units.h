// The units of the open documents: which of them is checked next, and what is shown of each.
#ifndef NORVANE_PM_LSP_UNITS_H
#define NORVANE_PM_LSP_UNITS_H

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "connection.h"
#include "overlay.h"
#include "temporaries.h"
#include "unit.h"

namespace norvane::driver::lsp {

class Units {
  public:
    // Throws std::runtime_error where there is no place for temporary files.
    Units(Documents& documents, Connection& client);

    // A document was opened, or the settings of any may have changed: those of all are looked up
    // once more, before the next use, and what is wrong with the files that have them is shown.
    void settings_changed() { is_assigned_ = false; }
    // A document was closed.
    void release(const std::string& path);

    void changed(const std::string& path);

    // Starts the next run that is needed, if none is going on.
    void run_next();
    // Of the run that is going on; -1 where there is none.
    int descriptor() const { return running_ ? running_->worker()->descriptor() : -1; }
    // Reads from the run; true if a unit is up to date now.
    bool read();
    // Ends a run that takes too long.
    bool stop_late();

    Unit* of(const std::string& path);
    std::vector<const Unit*> all();

  private:
    std::shared_ptr<Unit> unit_for(const Document& document, SettingsFaults& faults);
    void assign();
    void settle();
    bool settle(Unit& unit);
    void forget_unused();
    void show(const Unit& unit);
    void show(const SettingsFaults& faults);
    void publish(const std::string& path);

    Documents& documents_;
    Connection& client_;
    TemporaryDirectory directory_{place_for_overlays()};
    std::vector<std::shared_ptr<Unit>> units_; // the one that was changed last comes first
    std::map<std::string, std::shared_ptr<Unit>> of_;
    bool is_assigned_ = true;
    Unit* running_ = nullptr;
    // By path, and by the unit whose run has found them.
    std::map<std::string, std::map<const Unit*, Json>> shown_;
    std::map<std::string, Json> shown_of_settings_; // by path
};

} // namespace norvane::driver::lsp

#endif
