#include "diagnostics_sink.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>

#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include "codepage.h"

namespace norvane::pm {
namespace {

constexpr std::size_t longest_source_line = 160;
constexpr std::size_t longest_letter = 4; // in bytes of UTF-8
constexpr std::size_t terminal_width = 79;

void write(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Opens a file that can be read from any place; null for all else, such as a pipe that a model
// names in a line directive.
File open_source(const std::string& name) {
    struct stat info = {};
    if (stat(name.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return nullptr;
    return File(std::fopen(name.c_str(), "rb"));
}

// Moves behind the next line feed; false at the end of the file.
bool skip_line(std::FILE* file) {
    int c;
    do
        c = getc_unlocked(file);
    while (c != '\n' && c != EOF);
    return c == '\n';
}

// True if a source line is to be cut before its next byte, which must not be within a letter.
bool is_full(const std::string& line, int next) {
    if (line.size() < longest_source_line) return false;
    return (next & 0xC0) != 0x80 || line.size() == longest_source_line + longest_letter - 1;
}

// The line as it is shown under a report, cut where it is too long to be looked at. Empty if it is
// blank or cannot be read.
std::string source_line(const PlacedText& place) {
    const File file = open_source(std::string(place.file));
    if (!file || place.line == 0) return "";
    for (unsigned line = 1; line < place.line; ++line) {
        if (!skip_line(file.get())) return "";
    }
    std::string bytes;
    int c;
    while ((c = getc_unlocked(file.get())) != '\n' && c != EOF && !is_full(bytes, c))
        bytes += static_cast<char>(c);
    const bool is_cut = c != '\n' && c != EOF;
    const std::string text = for_terminal(bytes);
    if (text.find_first_not_of(' ') == std::string::npos) return "";
    char gutter[16];
    std::snprintf(gutter, sizeof gutter, "%6u | ", place.line);
    return gutter + text + (is_cut ? " ...\n" : "\n");
}

const char* severity_text(ErrorType type) {
    return type == ERROR_TYPE_WARNING ? "warning" : "error";
}

std::string to_text(ErrorType type, const ErrorInfo& error, const PlacedText& place) {
    std::string text;
    if (!place.file.empty()) {
        text += for_terminal(place.file);
        if (place.line > 0) text += " (" + std::to_string(place.line) + ")";
        text += ": ";
    }
    text += severity_text(type);
    text += ": " + for_terminal(place.text) + " [" + error.name + "]\n";
    return text + source_line(place);
}

// The readers of XML say the line at the end: "Expecting tag <model> (line 2)".
PlacedText split_line(std::string_view file, std::string_view title) {
    constexpr std::string_view before = " (line ";
    const std::size_t open = title.rfind(before);
    if (open == std::string_view::npos) return {file, 0, title};
    unsigned line = 0;
    const char* end = title.data() + title.size();
    const auto [behind, error] = std::from_chars(title.data() + open + before.size(), end, line);
    if (error != std::errc() || std::string_view(behind, end) != ")") return {file, 0, title};
    return {file, line, title.substr(0, open)};
}

} // namespace

void report_error(ErrorInfo* error, int line, const char* file) {
    err_set_position(error, line, file);
    msg_report_error(ERROR_TYPE_ERROR, error);
}

PlacedText split_position(std::string_view title) {
    for (std::size_t open = title.find(" ("); open != std::string_view::npos;
         open = title.find(" (", open + 1)) {
        unsigned line = 0;
        const char* end = title.data() + title.size();
        const auto [behind, error] = std::from_chars(title.data() + open + 2, end, line);
        const std::string_view rest(behind, static_cast<std::size_t>(end - behind));
        if (error == std::errc() && rest.starts_with("): "))
            return {title.substr(0, open), line, rest.substr(3)};
    }
    return {"", 0, title};
}

std::string to_json(const JsonReport& report,
                    std::initializer_list<std::pair<const char*, std::string_view>> extra) {
    const auto utf8 = [](std::string_view text) { return to_utf8(text); };
    // The file that a title begins with, and its words, need not be of one encoding.
    const std::string_view words = report.place.text;
    const std::size_t position =
        report.title.ends_with(words) ? report.title.size() - words.size() : 0;
    nlohmann::ordered_json json = {
        {"severity", report.severity},
        {"name", utf8(report.name)},
        {"title", utf8(report.title.substr(0, position)) + utf8(report.title.substr(position))},
        {"file", nullptr},
        {"line", nullptr},
        {"message", utf8(words)}};
    if (!report.place.file.empty()) json["file"] = utf8(report.place.file);
    if (report.place.line > 0) json["line"] = report.place.line;
    for (const auto& [name, text] : extra)
        json[name] = utf8(text);
    return json.dump() + "\n";
}

Diagnostics::Diagnostics(Format format)
    : format_(format), on_terminal_(isatty(STDERR_FILENO) != 0) {
    msg_set_error_sink(receive, this);
    if (on_terminal_) msg_set_progress_sink(progress, this);
}

Diagnostics::~Diagnostics() {
    clear_progress();
    msg_set_error_sink(nullptr, nullptr);
    msg_set_progress_sink(nullptr, nullptr);
}

void Diagnostics::receive(ErrorType type, ErrorInfo* error, void* user) {
    static_cast<Diagnostics*>(user)->render(type, *error);
    err_delete(error);
}

void Diagnostics::render(ErrorType type, const ErrorInfo& error) {
    clear_progress();
    has_reported_ = true;
    has_errors_ |= type == ERROR_TYPE_ERROR;
    last_name_ = error.name;
    const PlacedText place = place_of(error.message);
    if (format_ == Format::json)
        write(to_json({severity_text(type), error.name, error.message, place}));
    else
        write(to_text(type, error, place));
}

PlacedText Diagnostics::place_of(std::string_view title) const {
    const PlacedText place = split_position(title);
    const bool is_placed = !place.file.empty() || file_.empty() ||
                           title.find("'" + file_ + "'") != std::string_view::npos;
    return is_placed ? place : split_line(file_, title);
}

void Diagnostics::say(const std::string& text) {
    clear_progress();
    has_reported_ = true;
    if (format_ == Format::json)
        write(to_json({severity_text(ERROR_TYPE_ERROR), "", text, {"", 0, text}}));
    else
        write("norvane-pm: " + for_terminal(text) + "\n");
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
    show_progress(doing, file);
}

void Diagnostics::progress(const MsgProgress* event, void* user) {
    if (event->started) static_cast<Diagnostics*>(user)->show_progress(event->text, "");
}

void Diagnostics::show_progress(std::string_view doing, std::string_view file) {
    if (!on_terminal_) return;
    std::string text = for_terminal(doing) + " " + for_terminal(file);
    text.resize(std::min(text.size(), terminal_width));
    write("\r\x1b[K" + text);
    progress_shown_ = true;
}

void Diagnostics::clear_progress() {
    if (!progress_shown_) return;
    write("\r\x1b[K");
    progress_shown_ = false;
}

void Diagnostics::mute() {
    clear_progress();
    on_terminal_ = false;
    msg_set_error_sink([](ErrorType, ErrorInfo* error, void*) { err_delete(error); }, nullptr);
    msg_set_progress_sink(nullptr, nullptr);
}

} // namespace norvane::pm
