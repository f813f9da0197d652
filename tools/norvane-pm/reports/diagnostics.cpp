#include "diagnostics.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <new>
#include <span>

#include <nlohmann/json.hpp>
#include <unistd.h>

#include "text.h"

namespace norvane::pm {
namespace {

constexpr std::size_t terminal_width = 79;

void write(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
}

void write_json(const nlohmann::ordered_json& json) {
    write(json.dump() + "\n");
}

const char* severity_text(const Report& report) {
    return report.is_error() ? "error" : "warning";
}

// The readers of XML say the line at the end: "Expecting tag <model> (line 2)".
PlacedText split_line(std::string_view file, std::string_view title) {
    constexpr std::string_view before = " (line ";
    const std::size_t open = title.rfind(before);
    if (open == std::string_view::npos) return {file, 0, title};
    unsigned line = 0;
    const char* end = title.data() + title.size();
    const auto [after, error] = std::from_chars(title.data() + open + before.size(), end, line);
    if (error != std::errc() || std::string_view(after, end) != ")") return {file, 0, title};
    return {file, line, title.substr(0, open)};
}

} // namespace

Diagnostics::Diagnostics(Format format)
    : format_(format), on_terminal_(isatty(STDERR_FILENO) != 0) {
    if (on_terminal_) msg_set_progress_sink(progress, this);
    os_set_preprocessor_sink(preprocessor, this);
}

Diagnostics::~Diagnostics() {
    clear_progress();
    msg_set_progress_sink(nullptr, nullptr);
    os_set_preprocessor_sink(nullptr, nullptr);
}

void Diagnostics::close(bool succeeded) {
    clear_progress();
    if (!succeeded && !has_reported_)
        say("cannot make a temporary file (see TMPDIR in the environment)");
    if (!last_name_.empty() && format_ == Format::text)
        write("For more: norvane-pm explain " + last_name_ + "\n");
}

void Diagnostics::begin(std::string_view doing, std::string_view file) {
    file_ = file;
    if (on_terminal_) show_progress(for_terminal(doing) + " " + for_terminal(file));
}

void Diagnostics::report(const Report& report) {
    clear_progress();
    has_reported_ = true;
    last_name_ = report.name;
    const PlacedText place = place_of(report);
    if (format_ == Format::json)
        write_json(to_json({severity_text(report), report.name, report.title, place}));
    else
        write(to_text(severity_text(report), place, report.name));
}

PlacedText Diagnostics::place_of(const Report& report) const {
    const bool is_placed = !report.file.empty() || file_.empty() ||
                           report.title.find("'" + file_ + "'") != std::string::npos;
    if (is_placed) return {report.file, report.line, report.message};
    return split_line(file_, report.title);
}

std::string Diagnostics::to_text(std::string_view severity, const PlacedText& place,
                                 const std::string& name) {
    std::string text;
    if (!place.file.empty()) {
        text += for_terminal(place.file);
        if (place.line > 0) text += " (" + std::to_string(place.line) + ")";
        text += ": ";
    }
    text += severity;
    text += ": " + for_terminal(place.text) + (name.empty() ? "" : " [" + name + "]") + "\n";
    return text + sources_.shown(place.file, place.line);
}

// A message that memory does not suffice for is dropped: no exception may pass through the library,
// which goes on to report that the preprocessor failed.
void Diagnostics::preprocessor(const OsPreprocessorMessage* message, void* user) try {
    static_cast<Diagnostics*>(user)->report(*message);
} catch (const std::bad_alloc&) {
}

void Diagnostics::report(const OsPreprocessorMessage& message) {
    clear_progress();
    has_reported_ = true;
    const char* severity = message.is_error ? "error" : "warning";
    std::string_view file = file_;
    if (message.place.file) file = message.place.file;
    const PlacedText place{file, message.place.line, message.text};
    const std::span<const OsPlace> chain(message.included_from, message.included_count);
    if (format_ == Format::text) {
        write(to_text(severity, place, ""));
        for (const OsPlace& from : chain)
            write("  included from " + for_terminal(from.file) + " (" + std::to_string(from.line) +
                  ")\n");
        return;
    }
    std::string title = std::string(file);
    if (place.line > 0) title += " (" + std::to_string(place.line) + ")";
    auto json = to_json({severity, "", title + ": " + message.text, place});
    json["included_from"] = nlohmann::ordered_json::array();
    for (const OsPlace& from : chain)
        json["included_from"].push_back({{"file", to_utf8(from.file)}, {"line", from.line}});
    write_json(json);
}

void Diagnostics::say(const std::string& text) {
    clear_progress();
    has_reported_ = true;
    if (format_ == Format::json)
        write_json(to_json({"error", "", text, {"", 0, text}}));
    else
        write("norvane-pm: " + for_terminal(text) + "\n");
}

void Diagnostics::end_with(const std::string& rendered) {
    clear_progress();
    on_terminal_ = false;
    has_reported_ = true;
    write(rendered);
}

void Diagnostics::progress(const MsgProgress* event, void* user) {
    if (event->started) static_cast<Diagnostics*>(user)->show_progress(for_terminal(event->text));
}

void Diagnostics::show_progress(std::string_view text) {
    if (!on_terminal_) return;
    write("\r\x1b[K" + std::string(text.substr(0, std::min(text.size(), terminal_width))));
    progress_shown_ = true;
}

void Diagnostics::clear_progress() {
    if (!progress_shown_) return;
    write("\r\x1b[K");
    progress_shown_ = false;
}

} // namespace norvane::pm
