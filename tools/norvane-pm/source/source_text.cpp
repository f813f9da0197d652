// The preprocessor keeps a line as it is, byte by byte, unless it expands a macro there. So a
// column is that of its line; a line that differs from the user's is expanded once more, which
// tells where each byte comes from.
#include "source_text.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

#include "bytes.h"

namespace norvane::driver {
namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);
constexpr std::string_view undefinition = "#undef ";

struct Directive {
    unsigned line = 0;
    std::string_view file; // empty: the line is something else
};

// Reads `#line 12 "file"`.
Directive read_directive(std::string_view text) {
    constexpr std::string_view word = "#line ";
    if (text.substr(0, word.size()) != word) return {};
    Directive read;
    const char* end = text.data() + text.size();
    const auto [after, error] = std::from_chars(text.data() + word.size(), end, read.line);
    if (error != std::errc()) return {};
    const std::string_view rest(after, static_cast<std::size_t>(end - after));
    const std::size_t open = rest.find('"');
    const std::size_t close = rest.rfind('"');
    if (open == std::string_view::npos || open == close) return {};
    read.file = rest.substr(open + 1, close - open - 1);
    return read;
}

std::string_view first_line(std::string_view text) {
    return text.substr(0, text.find('\n'));
}

bool is_include(std::string_view line) {
    const std::size_t hash = line.find_first_not_of(" \t");
    if (hash == std::string_view::npos || line[hash] != '#') return false;
    const std::size_t word = line.find_first_not_of(" \t", hash + 1);
    return word != std::string_view::npos && line.substr(word, 7) == "include";
}

// How many of the tokens that the preprocessor wrote are those of the expansion, in their order.
// Comments are not compared: the preprocessor adds to them to keep up with the lines of the source.
std::size_t tokens_told(std::span<const Token> written, std::string_view text,
                        std::span<const Token> made, const Expansion& expansion) {
    std::size_t same = 0;
    const auto is_same = [&] {
        return text.substr(written[same].offset, written[same].length) ==
               std::string_view(expansion.text()).substr(made[same].offset, made[same].length);
    };
    while (same < written.size() && same < made.size() && is_same())
        ++same;
    if (same == written.size()) return same;
    // The two differ in the end, so that nothing is certain after the first macro.
    while (same > 0 && made[same - 1].offset + made[same - 1].length > expansion.plain_length())
        --same;
    return same;
}

// The lines of a text, whose first one has a number.
class UserLines {
  public:
    UserLines(std::string_view text, unsigned number, std::size_t last_offset)
        : text_(text), number_(number) {
        for (std::size_t end = text.find('\n'); end < last_offset; end = text.find('\n', end + 1))
            begins_.push_back(end + 1);
    }
    unsigned line(std::size_t offset) const {
        return number_ + static_cast<unsigned>(index(offset));
    }
    unsigned column(std::size_t offset) const {
        return static_cast<unsigned>(offset - begins_[index(offset)] + 1);
    }
    std::size_t end_of_word(std::size_t offset) const {
        while (offset < text_.size() && is_word_byte(text_[offset]))
            ++offset;
        return offset;
    }

  private:
    std::size_t index(std::size_t offset) const {
        const auto after = std::ranges::upper_bound(begins_, offset);
        return static_cast<std::size_t>(after - begins_.begin()) - 1;
    }

    std::string_view text_;
    unsigned number_;
    std::vector<std::size_t> begins_{0};
};

// From the first to the last byte of a token in the user's text.
struct UserBytes {
    std::size_t begin;
    std::size_t end;
};

// Of a token that a macro has a part in, as a comment with a macro's name has.
std::uint32_t use_of(std::span<const Expansion::Origin> bytes) {
    const auto is_used = [](const Expansion::Origin& byte) {
        return byte.use != Expansion::no_use;
    };
    const auto first = std::ranges::find_if(bytes, is_used);
    return first == bytes.end() ? Expansion::no_use : first->use;
}

// Of a token that parts of a macro and of an argument make up, the argument's part.
UserBytes user_bytes(std::span<const Expansion::Origin> bytes, const UserLines& lines) {
    const auto is_written = [](const Expansion::Origin& byte) { return byte.is_written; };
    const auto first = std::ranges::find_if(bytes, is_written);
    if (first == bytes.end()) return {bytes[0].offset, lines.end_of_word(bytes[0].offset)};
    std::size_t end = first->offset + std::size_t{1};
    for (auto next = first + 1; next != bytes.end() && next->is_written; ++next, ++end)
        if (next->offset != end) break;
    return {first->offset, end};
}

} // namespace

SourceText::SourceText(std::string text, std::string file, SourceFiles files, Language language)
    : text_(std::move(text)), file_(std::move(file)), language_(language), files_(std::move(files)),
      scan_(scan(text_, 0, language)) {
    rows_.push_back(0);
    for (std::size_t at = text_.find('\n'); at != std::string::npos; at = text_.find('\n', at + 1))
        rows_.push_back(at + 1);
    find_segments();
}

void SourceText::find_segments() {
    add_segment(0, file_, 1);
    for (const std::size_t at : scan_.directives) {
        const std::string_view rest = std::string_view(text_).substr(at);
        const std::string_view line = first_line(rest);
        const Directive read = read_directive(line);
        if (!read.file.empty())
            add_segment(at + line.size() + 1, std::string(read.file), read.line);
        else if (line.starts_with(undefinition))
            macros_.undefine(at, line.substr(undefinition.size()));
        else if (auto macro = read_definition(line))
            add_macro(at, *std::move(macro));
    }
}

// The preprocessor drops comments, which may end the name of a parameter. So the user's text is
// taken where it defines the same name. What comes before the first file is an option.
void SourceText::add_macro(std::size_t offset, Macro macro) {
    if (segments_.size() > 1) {
        const Segment& segment = segments_.back();
        const unsigned number = segment.line + static_cast<unsigned>(row_of(offset) - segment.row);
        const std::string_view user = files_.rest(segment.file, number);
        std::optional<Macro> written = read_definition(user);
        if (written && written->name == macro.name) macro = *std::move(written);
        macro.place = {segment.file, number, 0, 0, 0};
        if (const std::size_t name = name_in_definition(user); name != user.npos) {
            macro.place.column = static_cast<unsigned>(name + 1);
            macro.place.end_line = number;
            macro.place.end_column = macro.place.column + static_cast<unsigned>(macro.name.size());
        }
    }
    macros_.define(offset, std::move(macro));
}

// A file that begins after a line that includes one was included there; otherwise the text has come
// back to a file that it was in before.
void SourceText::add_segment(std::size_t offset, std::string file, unsigned line) {
    std::size_t includer = none;
    unsigned includer_line = 0;
    if (segments_.size() > 1) { // options come before the first file
        const Segment& before = segments_.back();
        const auto rows = static_cast<unsigned>(row_of(offset) - before.row);
        const unsigned last = before.line + rows - std::min(rows, 2u);
        if (line == 1 && rows >= 2 && is_include(first_line(files_.rest(before.file, last)))) {
            includer = segments_.size() - 1;
            includer_line = last;
        } else {
            for (includer = segments_.size() - 1; includer != none;
                 includer = segments_[includer].includer)
                if (segments_[includer].file == file) break;
            if (includer != none) {
                includer_line = segments_[includer].includer_line;
                includer = segments_[includer].includer;
            }
        }
    }
    segments_.push_back({offset, row_of(offset), std::move(file), line, includer, includer_line});
}

std::vector<std::string> SourceText::files() const {
    std::vector<std::string> files;
    for (const Segment& segment : segments_)
        if (std::ranges::find(files, segment.file) == files.end()) files.push_back(segment.file);
    return files;
}

std::size_t SourceText::row_of(std::size_t offset) const {
    const auto after = std::upper_bound(rows_.begin(), rows_.end(), offset);
    return static_cast<std::size_t>(after - rows_.begin()) - 1;
}

std::string_view SourceText::row_text(std::size_t row) const {
    return first_line(std::string_view(text_).substr(rows_[row]));
}

const SourceText::Segment& SourceText::segment_of(std::size_t offset) const {
    const auto after = std::upper_bound(
        segments_.begin(), segments_.end(), offset,
        [](std::size_t at, const Segment& segment) { return at < segment.offset; });
    return after[-1];
}

bool SourceText::is_free_of_comments(TokenRange range) const {
    for (std::size_t i = range.first; i < range.last; ++i) {
        const auto between =
            std::string_view(text_).substr(end_of(i), scan_.tokens[i + 1].offset - end_of(i));
        if (between.find_first_not_of(" \t\r\n\f\v") != between.npos) return false;
    }
    return true;
}

bool SourceText::begins_line(std::size_t token) const {
    return token == 0 ||
           row_of(scan_.tokens[token - 1].offset) != row_of(scan_.tokens[token].offset);
}

const SourceText::Row& SourceText::aligned(std::size_t token) const {
    const std::size_t row = row_of(scan_.tokens[token].offset);
    const auto found = aligned_.find(row);
    if (found != aligned_.end()) return found->second;
    return aligned_.emplace(row, align(row)).first->second;
}

SourceText::Row SourceText::align(std::size_t row) const {
    const std::vector<Token>& tokens = scan_.tokens;
    const auto before = [](const Token& token, std::size_t offset) {
        return token.offset < offset;
    };
    const std::string_view line = row_text(row);
    const auto first = std::lower_bound(tokens.begin(), tokens.end(), rows_[row], before);
    const auto last = std::lower_bound(first, tokens.end(), rows_[row] + line.size(), before);
    const std::span<const Token> here(first, last);
    Row result{
        static_cast<std::size_t>(first - tokens.begin()), std::vector<Origin>(here.size()), {}};

    const Segment& segment = segment_of(rows_[row]);
    const unsigned number = segment.line + static_cast<unsigned>(row - segment.row);
    const std::string_view rest = files_.rest(segment.file, number);
    const bool is_same = rest.data() && first_line(rest) == line;
    for (std::size_t i = 0; i < here.size(); ++i) {
        const std::size_t at = here[i].offset - rows_[row];
        result.origins[i].line = number;
        if (!is_same) continue;
        result.origins[i].column = static_cast<unsigned>(at + 1);
        result.origins[i].end_column =
            static_cast<unsigned>(std::min(at + here[i].length, line.size()) + 1);
    }
    if (!rest.data() || is_same) return result;

    expand(row, here, result);
    return result;
}

// The first line of those that the preprocessor has made in one go: a comment runs on over lines.
std::size_t SourceText::first_row(std::size_t row, const Segment& segment) const {
    while (row > segment.row && std::ranges::binary_search(scan_.comment_lines, rows_[row]))
        --row;
    return row;
}

// Finds the places in a line that has another text than the user's.
void SourceText::expand(std::size_t row, std::span<const Token> here, Row& result) const {
    const Segment& segment = segment_of(rows_[row]);
    const std::size_t first = first_row(row, segment);
    const unsigned number = segment.line + static_cast<unsigned>(first - segment.row);
    const std::string_view user = files_.rest(segment.file, number);
    const Expansion expansion(
        user, [this, row](std::string_view name) { return macros_.find(name, rows_[row]); });
    const std::vector<Token> made = scan(expansion.text(), 0, language_).tokens;
    const auto begin = std::ranges::lower_bound(scan_.tokens, rows_[first], {}, &Token::offset);
    const std::size_t before =
        result.first_token - static_cast<std::size_t>(begin - scan_.tokens.begin());
    const std::size_t told = tokens_told(
        std::span(scan_.tokens).subspan(result.first_token - before, before + here.size()), text_,
        made, expansion);
    if (told <= before) return;
    std::size_t last_offset = 0;
    for (const Expansion::Origin& origin : expansion.origins())
        last_offset = std::max<std::size_t>(last_offset, origin.offset);
    const UserLines lines(user, number, last_offset);
    for (std::size_t i = before; i < told; ++i) {
        const auto bytes = std::span(expansion.origins()).subspan(made[i].offset, made[i].length);
        const UserBytes found = user_bytes(bytes, lines);
        Origin& origin = result.origins[i - before];
        origin = {lines.line(found.begin), lines.column(found.begin), 0, use_of(bytes)};
        origin.end_column = origin.column + static_cast<unsigned>(found.end - found.begin);
    }
    result.uses = expansion.uses();
}

const SourceText::Origin& SourceText::origin(std::size_t token) const {
    const Row& row = aligned(token);
    return row.origins[token - row.first_token];
}

Place SourceText::place(TokenRange range) const {
    if (range.first >= size()) return place_after(size() - 1);
    range.last = std::clamp(range.last, range.first, size() - 1);
    const Segment& segment = segment_of(scan_.tokens[range.first].offset);
    const Origin& first = origin(range.first);
    Place place{segment.file, first.line, first.column, 0, 0};
    if (first.column == 0) return place;
    const Segment& last_segment = segment_of(scan_.tokens[range.last].offset);
    const Origin& last = origin(range.last);
    const bool in_order =
        std::pair(first.line, first.end_column) <= std::pair(last.line, last.end_column);
    const bool is_whole = last.column > 0 && in_order && last_segment.file == segment.file;
    place.end_line = is_whole ? last.line : first.line;
    place.end_column = is_whole ? last.end_column : first.end_column;
    return place;
}

Place SourceText::place_after(std::size_t token) const {
    if (size() == 0) return {file_, 1, 0, 0, 0};
    Place after = place(token);
    after.line = std::max(after.line, after.end_line);
    after.column = after.end_column;
    return after;
}

const std::string& SourceText::macro_of(std::size_t token) const {
    static const std::string no_macro;
    const Row& row = aligned(token);
    std::uint32_t use = row.origins[token - row.first_token].use;
    if (use == Expansion::no_use) return no_macro;
    while (row.uses[use].around != Expansion::no_use)
        use = row.uses[use].around;
    return row.uses[use].macro->name;
}

// From the macro that the user has written down to the one whose text holds the token; those in the
// middle of many are left out.
void SourceText::add_macros(std::size_t token, std::vector<Note>& notes) const {
    constexpr std::size_t most = 6;
    const Row& row = aligned(token);
    std::vector<const Macro*> macros;
    for (std::uint32_t use = row.origins[token - row.first_token].use; use != Expansion::no_use;
         use = row.uses[use].around)
        macros.push_back(row.uses[use].macro);
    std::ranges::reverse(macros);
    const std::size_t skipped = macros.size() > most + 1 ? macros.size() - most : 0;
    for (std::size_t i = 0; i < macros.size(); ++i) {
        if (skipped > 0 && i == most / 2) {
            notes.emplace_back().text =
                std::to_string(skipped) + " macros between these are left out";
            i += skipped;
        }
        const bool is_option = macros[i]->place.file.empty();
        notes.push_back({macros[i]->place, "expanded from macro " + macros[i]->name +
                                               (is_option ? ", which is an option" : "")});
    }
}

std::vector<Note> SourceText::notes(std::size_t token) const {
    std::vector<Note> notes;
    if (token >= size()) return notes;
    add_macros(token, notes);
    const Segment* segment = &segment_of(scan_.tokens[token].offset);
    while (segment->includer != none) {
        Note& note = notes.emplace_back();
        note.text = "included from here";
        note.place.line = segment->includer_line;
        segment = &segments_[segment->includer];
        note.place.file = segment->file;
    }
    return notes;
}

} // namespace norvane::driver
