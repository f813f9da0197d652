#include "edited_source.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "norvane/proj/loadpmfile.h"

namespace norvane::pm {
namespace {

// A line number has 16 bits; the number of a file, of which each directive makes one, has 16 too.
constexpr std::size_t lines_per_file = 60000;

std::string directive(std::size_t token) {
    return "#line " + std::to_string(token % lines_per_file + 1) + " \"" +
           std::to_string(token / lines_per_file) + "\"\n";
}

// Two texts, read as one file.
class TwoTexts {
  public:
    TwoTexts(std::string_view first, std::string_view second) : left_{first, second} {}

    std::FILE* open() {
        cookie_io_functions_t functions = {};
        functions.read = read;
        return fopencookie(this, "r", functions);
    }

  private:
    static ssize_t read(void* self, char* buffer, std::size_t size) {
        auto& left = static_cast<TwoTexts*>(self)->left_;
        std::string_view& text = left[0].empty() ? left[1] : left[0];
        const std::size_t taken = std::min(size, text.size());
        std::memcpy(buffer, text.data(), taken);
        text.remove_prefix(taken);
        return static_cast<ssize_t>(taken);
    }

    std::string_view left_[2];
};

struct Loaded {
    ProjectOwner project;
    std::vector<Report> reports;
};

Loaded load_texts(std::string_view first, std::string_view second) {
    TwoTexts texts(first, second);
    std::FILE* stream = texts.open();
    if (!stream) return {};
    static char name[] = "0";
    auto loaded = gather([stream] { return lpm_load_file(stream, name); });
    std::fclose(stream);
    return {ProjectOwner(loaded.value), std::move(loaded.reports)};
}

bool reads_a_variable() {
    const Loaded loaded = load_texts("variable x:boolean;", "");
    return loaded.project && loaded.project->vardecllist->len == 1;
}

// The library's scanner goes on in the comment or string in which the source before has ended.
void end_open_token() {
    for (const char* text : {"/* */", "\"", "a\"", "\n"}) {
        if (reads_a_variable()) return;
        load_texts(text, "");
    }
}

std::vector<TokenReport> errors_of(Loaded loaded) {
    std::vector<TokenReport> errors;
    if (loaded.project) return errors;
    for (Report& report : loaded.reports)
        if (const auto token = token_of(report); token && report.is_error())
            errors.push_back({std::move(report), *token});
    return errors;
}

} // namespace

std::optional<std::size_t> token_of(const Report& report) {
    std::size_t file = 0;
    const char* end = report.file.data() + report.file.size();
    const auto [after, error] = std::from_chars(report.file.data(), end, file);
    if (error != std::errc() || after != end || report.line == 0) return {};
    return file * lines_per_file + report.line - 1;
}

std::size_t token_of_line(unsigned linenumber) {
    return (linenumber >> 16) * lines_per_file + (linenumber & 0xFFFFu) - 1;
}

EditedSource::EditedSource(const SourceText& source) : source_(source) {
    end_open_token();
    dropped_.resize(source.size());
}

void EditedSource::begin_parsing() {
    begins_.reserve(source_.size() + 1);
    for (std::size_t i = 0; i < source_.size(); ++i) {
        begins_.push_back(text_.size());
        append(text_, i, nullptr);
    }
    begins_.push_back(text_.size());
}

// A line feed in a string is no part of it. A string that is not closed would hold the rest of all
// that is parsed.
void EditedSource::append_line(std::string& text, std::string_view word) {
    const bool is_open =
        !word.empty() && word[0] == '"' && (word.size() == 1 || word.back() != '"');
    if (is_open) word = "?";
    if (!word.empty() && word[0] == '#') text += ' '; // or else it would begin a directive
    const bool has_lines = word.find('\n') != std::string_view::npos;
    if (has_lines)
        std::ranges::copy_if(word, std::back_inserter(text), [](char c) { return c != '\n'; });
    else
        text += word;
    text += '\n';
}

void EditedSource::append(std::string& text, std::size_t token, const Edits* more) const {
    if (token % lines_per_file == 0) text += directive(token);
    if (is_dropped(token)) return append_line(text, "");
    const Edit* edit = nullptr;
    if (const auto found = edits_.find(token); found != edits_.end()) edit = &found->second;
    if (more)
        if (const auto found = more->find(token); found != more->end()) edit = &found->second;
    if (!edit) return append_line(text, source_.word(token));
    const std::string_view word = edit->instead ? *edit->instead : source_.word(token);
    append_line(text, edit->before + " " + std::string(word) + " " + edit->after);
}

void EditedSource::add(const Edits& edits) {
    for (const auto& [token, edit] : edits)
        edits_[token] = edit;
}

void EditedSource::drop(std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < std::min(end, dropped_.size()); ++i)
        dropped_[i] = true;
}

std::vector<TokenReport> EditedSource::parse(std::size_t first, std::size_t edited_end,
                                             const std::string& head) const {
    std::string text = head + "\n" + directive(first);
    for (std::size_t i = first; i < edited_end; ++i)
        append(text, i, nullptr);
    return errors_of(load_texts(text, std::string_view(text_).substr(begins_[edited_end])));
}

std::vector<TokenReport> EditedSource::parse_part(std::size_t first, std::size_t end,
                                                  const std::string& head, const std::string& tail,
                                                  const Edits& more) const {
    std::string text = head + "\n" + directive(first);
    for (std::size_t i = first; i < end; ++i)
        append(text, i, &more);
    return errors_of(load_texts(text, tail));
}

ProjectOwner EditedSource::load() const {
    std::string text;
    for (std::size_t i = 0; i < source_.size(); ++i)
        append(text, i, nullptr);
    return load_texts(text, "").project;
}

std::vector<ParsedToken> EditedSource::parsed() const {
    std::vector<ParsedToken> tokens;
    const auto add_text = [&tokens](std::string_view text, std::size_t token) {
        for (const Token& part : scan(text).tokens)
            tokens.push_back({part.kind, text.substr(part.offset, part.length), token});
    };
    for (std::size_t i = 0; i < source_.size(); ++i) {
        if (dropped_[i]) continue;
        const auto found = edits_.find(i);
        if (found == edits_.end()) {
            tokens.push_back({source_.tokens()[i].kind, source_.word(i), i});
            continue;
        }
        const Edit& edit = found->second;
        add_text(edit.before, i);
        add_text(edit.instead ? std::string_view(*edit.instead) : source_.word(i), i);
        add_text(edit.after, i);
    }
    return tokens;
}

} // namespace norvane::pm
