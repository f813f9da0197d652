#include "units.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "shown_findings.h"

namespace norvane::driver::lsp {
namespace {

constexpr const char* no_memory = "out of memory";

} // namespace

Units::Units(Documents& documents, Connection& client) : documents_(documents), client_(client) {
    if (!directory_.failure().empty()) throw std::runtime_error(directory_.failure());
}

std::shared_ptr<Unit> Units::unit_for(const Document& document, SettingsFaults& faults) {
    Settings settings = settings_of(document, documents_, faults);
    const std::string calculation = document.is_calculation ? document.path : "";
    for (const auto& unit : units_)
        if (unit->is_same(settings, calculation)) return unit;
    units_.insert(units_.begin(), std::make_shared<Unit>(std::move(settings), calculation));
    return units_.front();
}

void Units::assign() {
    if (is_assigned_) return;
    is_assigned_ = true;
    SettingsFaults faults;
    for (const auto& [path, document] : documents_.all())
        try {
            if (is_of_settings(path))
                find_faults(path, documents_, faults);
            else
                of_[path] = unit_for(document, faults);
        } catch (const std::bad_alloc&) { // it keeps the unit that it has, or gets none
            client_.notify("window/logMessage",
                           {{"type", 1}, {"message", path + ": " + no_memory}});
        }
    forget_unused();
    show(faults);
}

void Units::release(const std::string& path) {
    of_.erase(path);
    forget_unused();
    publish(path);
}

void Units::forget_unused() {
    std::vector<std::string> stale;
    for (const auto& unit : units_) {
        const bool is_used =
            std::ranges::any_of(of_, [&unit](const auto& entry) { return entry.second == unit; });
        if (is_used) continue;
        if (running_ == unit.get()) running_ = nullptr;
        for (auto& [path, found] : shown_)
            if (found.erase(unit.get()) > 0) stale.push_back(path);
    }
    std::erase_if(units_, [this](const auto& unit) {
        return std::ranges::none_of(of_,
                                    [&unit](const auto& entry) { return entry.second == unit; });
    });
    for (const std::string& path : stale)
        publish(path);
}

void Units::changed(const std::string& path) {
    documents_.forget_files();
    std::stable_partition(units_.begin(), units_.end(),
                          [&path](const auto& unit) { return unit->reads(path); });
    for (const auto& unit : units_) {
        if (!unit->reads(path)) break;
        unit->mark_changed();
    }
}

// Clients tell of changes that leave the text as it is, such as that it was saved: what is shown is
// then right for the new version, too.
void Units::settle() {
    assign();
    for (const auto& unit : units_) {
        if (!unit->is_changed()) continue;
        const bool is_same = settle(*unit);
        if (is_same && unit->is_up_to_date()) show(*unit);
        if (!is_same && running_ == unit.get()) running_ = nullptr;
    }
}

bool Units::settle(Unit& unit) try {
    return unit.settle(documents_);
} catch (const std::bad_alloc&) {
    if (running_ == &unit) running_ = nullptr;
    unit.give_up(no_memory);
    return true;
}

void Units::run_next() {
    settle();
    if (running_) return;
    for (const auto& unit : units_) {
        if (!unit->needs_run()) continue;
        try {
            unit->start(documents_, directory_.name());
        } catch (const std::system_error& error) {
            unit->give_up(std::string("the check cannot be started: ") + error.what());
        } catch (const std::bad_alloc&) {
            unit->give_up(no_memory);
        }
        if (unit->worker()) {
            running_ = unit.get();
            return;
        }
        show(*unit);
    }
}

bool Units::read() {
    settle();
    Unit* unit = running_;
    try {
        if (!unit || !unit->read_worker()) return false;
    } catch (const std::bad_alloc&) {
        unit->give_up(no_memory);
    }
    running_ = nullptr;
    show(*unit);
    return true;
}

bool Units::stop_late() {
    if (!running_ || !running_->worker()->is_late()) return false;
    Unit* unit = running_;
    running_ = nullptr;
    unit->give_up("the check takes too long");
    show(*unit);
    return true;
}

Unit* Units::of(const std::string& path) {
    assign();
    const auto found = of_.find(path);
    return found == of_.end() ? nullptr : found->second.get();
}

std::vector<const Unit*> Units::all() {
    assign();
    std::vector<const Unit*> all;
    for (const auto& unit : units_)
        all.push_back(unit.get());
    return all;
}

void Units::show(const Unit& unit) {
    std::set<std::string> paths;
    for (auto& [path, found] : shown_)
        if (found.erase(&unit) > 0) paths.insert(path);
    for (const Finding& finding : unit.result().findings) {
        Json& list = shown_[finding.place.file][&unit];
        list.push_back(to_diagnostic(finding, documents_));
        paths.insert(finding.place.file);
    }
    for (const auto& [path, of_document] : of_)
        if (of_document.get() == &unit) paths.insert(path);
    for (const std::string& path : paths)
        publish(path);
}

void Units::show(const SettingsFaults& faults) {
    std::map<std::string, Json> before = std::exchange(shown_of_settings_, {});
    for (const auto& [path, findings] : faults) {
        Json list = Json::array();
        for (const Finding& finding : findings)
            list.push_back(to_diagnostic(finding, documents_));
        const auto last = before.extract(path);
        const bool is_shown = last ? last.mapped() == list : list.empty();
        shown_of_settings_[path] = std::move(list);
        if (!is_shown || documents_.find(path)) publish(path);
    }
    for (const auto& [path, list] : before)
        if (!list.empty()) publish(path); // the file is gone, or concerns no document any more
}

// A file may be part of several models, which find the same in it.
void Units::publish(const std::string& path) {
    const auto of_settings = shown_of_settings_.find(path);
    Json all = of_settings == shown_of_settings_.end() ? Json::array() : of_settings->second;
    for (const auto& [unit, list] : shown_[path]) {
        if (!unit->is_up_to_date()) continue; // its places are those of an older text
        for (const Json& diagnostic : list)
            if (std::ranges::find(all, diagnostic) == all.end()) all.push_back(diagnostic);
    }
    Json params = {{"uri", documents_.uri(path)}, {"diagnostics", all}};
    if (const Document* document = documents_.find(path)) params["version"] = document->version;
    if (shown_[path].empty()) shown_.erase(path);
    client_.notify("textDocument/publishDiagnostics", std::move(params));
}

} // namespace norvane::driver::lsp
