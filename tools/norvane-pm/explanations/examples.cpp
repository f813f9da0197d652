#include "examples.h"

#include <algorithm>
#include <vector>

namespace norvane::driver {
namespace {

constexpr std::string_view all_examples =
#include "examples.inc"
    ;

using Lines = std::vector<std::string_view>;

struct Example {
    std::string_view command;
    Lines files; // that the command needs beside the example: "model.pm: its text"
    Lines wrong;
    Lines right;
    Lines why_none;
};

// Reads examples.inc, whose first lines describe it, up to the end of one error.
class Reader {
  public:
    explicit Reader(std::string_view error_name) : error_name_(error_name) {}

    Example read() {
        std::string_view rest = all_examples;
        while (!rest.empty() && !is_complete_) {
            const std::string_view line = rest.substr(0, rest.find('\n'));
            rest.remove_prefix(std::min(line.size() + 1, rest.size()));
            if (!line.empty()) take(line);
        }
        return example_;
    }

  private:
    void take(std::string_view line) {
        const std::size_t blank = line.find(' ');
        if (blank == std::string_view::npos) return begin(line);
        // A command keeps its "$ ".
        const std::string_view kind = line.substr(0, blank);
        const std::string_view text = kind.size() == 2 ? line.substr(1) : line.substr(2);
        if (kind == "$" || kind == "+") return is_found_ ? end() : set(kind, text);
        if (!is_found_) return;
        if (kind[0] == '<') example_.wrong.push_back(text);
        if (kind[0] == '>') example_.right.push_back(text);
        if (kind == "!") example_.why_none.push_back(text);
    }
    void begin(std::string_view name) {
        if (is_found_) return end();
        is_found_ = name == error_name_;
    }
    void end() { is_complete_ = true; }
    void set(std::string_view kind, std::string_view text) {
        if (kind == "+") return example_.files.push_back(text);
        example_.command = text.substr(text.find(": ") + 2);
        example_.files.clear();
    }

    std::string_view error_name_;
    Example example_;
    bool is_found_ = false;
    bool is_complete_ = false;
};

std::string indented(const Lines& lines) {
    std::string text = "\n";
    for (const std::string_view line : lines)
        text += "    " + std::string(line) + "\n";
    return text;
}

} // namespace

std::string example_text(std::string_view error_name) {
    const Example example = Reader(error_name).read();
    std::string text;
    for (const std::string_view line : example.why_none)
        text += "There is no example. " + std::string(line) + "\n";
    if (example.wrong.empty()) return text;
    const bool has_own_command =
        std::ranges::any_of(example.wrong, [](auto line) { return line.starts_with("$ "); });
    text += has_own_command ? "It is reported for"
                            : "`" + std::string(example.command) + "` reports it for";
    text += "\n" + indented(example.wrong) + "\nand not for\n" + indented(example.right);
    if (!example.files.empty()) text += "\nwith these files beside it:\n" + indented(example.files);
    return text;
}

} // namespace norvane::driver
