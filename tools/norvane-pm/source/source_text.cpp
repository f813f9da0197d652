// Finds columns. The preprocessor copies a line without macros byte by byte, so columns agree. In
// other lines the tokens are matched one by one with the user's; tokens without a match come from a
// macro.
#include "source_text.h"

#include <algorithm>
#include <charconv>
#include <span>
#include <unordered_map>
#include <utility>

namespace norvane::driver {
namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);

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

// Limits of a macro call: its lines, and the bytes of them that are read.
constexpr unsigned longest_use = 40;
constexpr std::size_t longest_text = 1 << 14;

std::string_view first_lines(std::string_view text) {
    std::size_t end = 0;
    for (unsigned i = 0; i < longest_use && end < text.size(); ++i)
        end = std::min(text.find('\n', end), text.size() - 1) + 1;
    return text.substr(0, std::min(end, longest_text));
}

// Tokens with the text that they are of.
struct Words {
    std::string_view text;
    std::span<const Token> tokens;
    std::size_t size() const { return tokens.size(); }
    std::string_view operator[](std::size_t i) const {
        return text.substr(tokens[i].offset, tokens[i].length);
    }
};

// Matches the tokens of a line that the preprocessor wrote with those that the user wrote.
class Alignment {
  public:
    // What a token was: a token of the user's, by itself or as a part of the use of a macro.
    struct Match {
        std::size_t token = none;
        std::size_t use = none; // the macro's name
    };

    Alignment(Words written, Words user, const SourceFiles& files)
        : written_(written), user_(user), files_(files), matches_(written.size()) {
        while (at_ < written_.size() && step()) {
        }
    }
    const std::vector<Match>& matches() const { return matches_; }

  private:
    // False where the two may differ from here on.
    bool step() {
        if (from_ >= user_.size()) return false;
        if (user_[from_] == written_[at_] && !files_.macro(user_[from_])) {
            matches_[at_++].token = from_++;
            return true;
        }
        if (user_.tokens[from_].kind != TokenKind::word) return false;
        return expand();
    }

    // The first token after the use of a macro.
    std::size_t end_of_use() const {
        const Macro* macro = files_.macro(user_[from_]);
        const std::size_t next = from_ + 1;
        if (!macro || !macro->takes_arguments || next >= user_.size() || user_[next] != "(")
            return next;
        unsigned depth = 0;
        for (std::size_t i = next; i < user_.size(); ++i) {
            if (user_[i] == "(") ++depth;
            if (user_[i] == ")" && --depth == 0) return i + 1;
        }
        return user_.size();
    }

    bool agree(std::size_t at, std::size_t from) const {
        for (std::size_t i = 0; i < 3; ++i) {
            if (from + i >= user_.size() || at + i >= written_.size()) return true;
            if (files_.macro(user_[from + i])) return i > 0;
            if (user_[from + i] != written_[at + i]) return false;
        }
        return true;
    }

    bool expand() {
        const std::size_t after = end_of_use();
        std::size_t end = at_;
        if (after < user_.size())
            while (end < written_.size() && !agree(end, after))
                ++end;
        else
            end = written_.size();
        if (end == written_.size() && after < user_.size() && files_.macro(user_[after]))
            return false;
        const Arguments of_use = arguments(after);
        for (; at_ < end; ++at_) {
            const auto argument = of_use.find(written_[at_]);
            const bool is_known = argument != of_use.end() && argument->second != none;
            matches_[at_] = {is_known ? argument->second : from_, from_};
        }
        from_ = after;
        return true;
    }

    // The tokens of the arguments of a use, by their words; none for a word that is there twice.
    using Arguments = std::unordered_map<std::string_view, std::size_t>;
    Arguments arguments(std::size_t after) const {
        Arguments found;
        for (std::size_t i = from_ + 2; i + 1 < after; ++i) {
            const auto [place, is_new] = found.try_emplace(user_[i], i);
            if (!is_new) place->second = none;
        }
        return found;
    }

    Words written_;
    Words user_;
    const SourceFiles& files_;
    std::vector<Match> matches_;
    std::size_t at_ = 0;
    std::size_t from_ = 0;
};

struct UserPlace {
    unsigned line;
    unsigned column;
};

// The lines and columns of the tokens of a text, whose first line has this number.
std::vector<UserPlace> places_of(const Scan& scan, std::string_view text, unsigned number) {
    std::vector<UserPlace> places;
    places.reserve(scan.tokens.size());
    std::size_t begin = 0;
    std::size_t end = text.find('\n'); // of the line
    for (const Token& token : scan.tokens) {
        for (; end < token.offset; end = text.find('\n', begin)) {
            begin = end + 1;
            ++number;
        }
        places.push_back({number, static_cast<unsigned>(token.offset - begin + 1)});
    }
    return places;
}

} // namespace

SourceText::SourceText(std::string text, std::string file, SourceFiles files, Language language)
    : text_(std::move(text)), file_(std::move(file)), language_(language), files_(std::move(files)),
      scan_(scan(text_, 0, language)) {
    rows_.push_back(0);
    for (std::size_t at = text_.find('\n'); at != std::string::npos; at = text_.find('\n', at + 1))
        rows_.push_back(at + 1);
    find_segments();
    for (const Segment& segment : segments_)
        files_.rest(segment.file, 1); // for its macros
}

void SourceText::find_segments() {
    add_segment(0, file_, 1);
    for (const std::size_t at : scan_.directives) {
        const std::string_view line = first_line(std::string_view(text_).substr(at));
        const Directive read = read_directive(line);
        if (!read.file.empty())
            add_segment(at + line.size() + 1, std::string(read.file), read.line);
    }
}

// A file that begins after a line that includes one was included there; otherwise the text has come
// back to a file that it was in before.
void SourceText::add_segment(std::size_t offset, std::string file, unsigned line) {
    std::size_t includer = none;
    unsigned includer_line = 0;
    if (!segments_.empty()) {
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
    Row result{static_cast<std::size_t>(first - tokens.begin()), std::vector<Origin>(here.size())};

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

    const std::string_view user_text = first_lines(rest);
    const bool in_comment = std::ranges::binary_search(scan_.comment_lines, rows_[row]);
    const Scan user = scan(user_text, in_comment ? 1 : 0, language_);
    const Alignment alignment({text_, here}, {user_text, user.tokens}, files_);
    const std::vector<UserPlace> places = places_of(user, user_text, number);
    for (std::size_t i = 0; i < here.size(); ++i) {
        const auto [token, use] = alignment.matches()[i];
        if (token == none) continue;
        const auto length = static_cast<unsigned>(user.tokens[token].length);
        result.origins[i].line = places[token].line;
        result.origins[i].column = places[token].column;
        result.origins[i].end_column = places[token].column + length;
        if (use != none)
            result.origins[i].macro =
                std::string(user_text.substr(user.tokens[use].offset, user.tokens[use].length));
    }
    return result;
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

std::vector<Note> SourceText::notes(std::size_t token) const {
    std::vector<Note> notes;
    if (token >= size()) return notes;
    const std::string& name = origin(token).macro;
    if (!name.empty()) {
        const Macro* macro = files_.macro(name);
        notes.push_back({macro ? macro->place : Place{}, "expanded from macro " + name});
    }
    const Segment* segment = &segment_of(scan_.tokens[token].offset);
    while (segment->includer != none) {
        const unsigned line = segment->includer_line;
        segment = &segments_[segment->includer];
        notes.push_back({{segment->file, line, 0, 0, 0}, "included from here"});
    }
    return notes;
}

} // namespace norvane::driver
