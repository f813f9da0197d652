#include "edited_source.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "norvane/proj/loadpmfile.h"

namespace norvane::driver {
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

EditedSource::EditedSource(const SourceText& source) : EditedTokens(source) {
    Model::end_open_token(); // of the source before
}

void EditedSource::begin_parsing() {
    begins_.reserve(source().size() + 1);
    for (std::size_t i = 0; i < source().size(); ++i) {
        begins_.push_back(text_.size());
        append(text_, i, nullptr);
    }
    begins_.push_back(text_.size());
}

void EditedSource::append(std::string& text, std::size_t token, const Edits* more) const {
    if (token % lines_per_file == 0) text += directive(token);
    append_token(text, token, more);
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
    for (std::size_t i = 0; i < source().size(); ++i)
        append(text, i, nullptr);
    return load_texts(text, "").project;
}

} // namespace norvane::driver
