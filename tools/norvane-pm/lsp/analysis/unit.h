// What is checked in one run: a model with all its files, or a calculation with its model.
#ifndef NORVANE_PM_LSP_UNIT_H
#define NORVANE_PM_LSP_UNIT_H

#include <memory>
#include <optional>
#include <set>
#include <string>

#include "includes.h"
#include "name_index.h"
#include "overlay.h"
#include "result.h"
#include "settings.h"
#include "worker.h"

namespace norvane::driver::lsp {

class Unit {
  public:
    // A unit checks the calculation, or the model of the settings if `calculation` is empty.
    Unit(Settings settings, std::string calculation)
        : settings_(std::move(settings)), calculation_(std::move(calculation)) {}

    const Settings& settings() const { return settings_; }
    bool is_calculation() const { return !calculation_.empty(); }
    // The file that reports without a place are about.
    const std::string& file() const { return is_calculation() ? calculation_ : settings_.model; }
    bool is_same(const Settings& settings, const std::string& calculation) const {
        return settings_ == settings && calculation_ == calculation;
    }

    // Whether a change of the file may change what is found: as far as the last run knows.
    bool reads(const std::string& path) const {
        return path == file() || path == settings_.model || input_.sources.contains(path) ||
               input_.missing.contains(path);
    }
    void mark_changed() { is_changed_ = true; }
    bool is_changed() const { return is_changed_; }
    // Reads the files after a change. A run whose text is out of date is stopped, and its results
    // are never shown. True if the text is what it was.
    bool settle(const Documents& documents);
    bool needs_run() const { return needs_run_; }
    bool is_up_to_date() const { return !is_changed_ && !needs_run_ && !worker_; }

    // Starts a run, after settle().
    void start(const Documents& documents, const std::string& directory);
    // What the run found, when it has ended; to be called when descriptor() is readable.
    Worker* worker() const { return worker_.get(); }
    bool read_worker();
    // Ends without a result.
    void give_up(const std::string& why);

    const Result& result() const { return result_; }
    // The files of the model, and the calculation, as the run has read them.
    const SourceSet& sources() const { return input_.sources; }
    // The names in them; made when they are first asked for after a run.
    const NameIndex& names() const;

  private:
    struct Input {
        SourceSet sources;
        std::set<std::string> missing; // that would be read if they were there
        bool operator==(const Input&) const = default;
    };

    Input read_input(const Documents& documents) const;
    Job job() const;
    bool is_too_large() const;
    void finish(Result result);
    void read_model(NameIndex& index) const;
    void read_macros(NameIndex& index) const;
    void read_calculation(NameIndex& index) const;

    Settings settings_;
    std::string calculation_;
    bool is_changed_ = true;
    bool needs_run_ = true;
    bool has_given_up_ = false; // the next change is another try, also with the same text
    Input input_;
    Result result_;
    mutable std::unique_ptr<NameIndex> names_;
    std::unique_ptr<Overlay> overlay_;
    std::unique_ptr<Worker> worker_;
};

} // namespace norvane::driver::lsp

#endif
