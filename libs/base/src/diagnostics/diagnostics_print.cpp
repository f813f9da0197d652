// Prints reports for a person to read.
//
// Descriptions are in a typesetter's notation: line breaks and blanks separate words, an empty line
// starts a new paragraph, ``...'' are quotes, and a code run of several lines begins and ends with
// empty lines.
#include <cstring>

#include "norvane/base/diagnostics.h"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"

namespace norvane::diagnostics {
namespace {

constexpr std::size_t text_width = 78;
constexpr std::size_t code_indent = 4;

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Fills lines with words. Adjacent runs without a blank between them form one word.
class WordWrap {
  public:
    explicit WordWrap(FILE* stream) : stream_(stream), word_(ustr_new()) {}

    void append(const char* text, std::size_t length) { ustr_append_chars(word_, text, length); }

    void end_word() {
        if (word_->length == 0) return;
        if (column_ == 0) {
            separate();
        } else if (column_ + 1 + word_->length <= text_width) {
            fputc(' ', stream_);
            ++column_;
        } else {
            fputc('\n', stream_);
            column_ = 0;
        }
        fwrite(word_->text, 1, word_->length, stream_);
        column_ += word_->length;
        ustr_reset(word_);
    }

    void end_paragraph() {
        end_word();
        if (column_ > 0) fputc('\n', stream_);
        column_ = 0;
    }

    // Writes a line of a code block, indented.
    void code_line(const char* line, std::size_t length) {
        if (length > 0) fprintf(stream_, "%*s", static_cast<int>(code_indent), "");
        fwrite(line, 1, length, stream_);
        fputc('\n', stream_);
    }

    // Writes the empty line before a paragraph, unless it is the first.
    void separate() {
        if (begun_) fputc('\n', stream_);
        begun_ = true;
    }

    void end() {
        end_paragraph();
        ustr_delete(word_);
    }

  private:
    FILE* stream_;
    UtilString* word_;
    std::size_t column_ = 0;
    bool begun_ = false;
};

// Ends the word, and after an empty line the paragraph. Returns the text after the blanks.
const char* print_blanks(WordWrap& wrap, const char* text) {
    int line_feeds = 0;
    for (; is_blank(*text); ++text)
        line_feeds += *text == '\n';
    wrap.end_word();
    if (line_feeds > 1) wrap.end_paragraph();
    return text;
}

bool is_closing_quote(const char* text) {
    return std::strncmp(text, "''", 2) == 0;
}

bool is_quote(const char* text) {
    return std::strncmp(text, "``", 2) == 0 || is_closing_quote(text);
}

// Leaves out quotes next to a code run, which is printed with its own.
void print_text(WordWrap& wrap, const char* text, bool after_code, bool before_code) {
    if (after_code && is_closing_quote(text)) text += 2;
    while (*text) {
        if (is_blank(*text)) {
            text = print_blanks(wrap, text);
        } else if (is_quote(text)) {
            text += 2;
            if (*text || !before_code) wrap.append("\"", 1);
        } else {
            wrap.append(text++, 1);
        }
    }
}

std::size_t line_length(const char* line) {
    return std::strcspn(line, "\n");
}

// Returns the length of a line without trailing blanks.
std::size_t set_length(const char* line) {
    std::size_t length = line_length(line);
    while (length > 0 && is_blank(line[length - 1]))
        --length;
    return length;
}

const char* next_line(const char* line) {
    line += line_length(line);
    return *line == '\n' ? line + 1 : line;
}

// Returns the indentation that all lines share.
std::size_t common_indent(const char* code) {
    std::size_t indent = std::strlen(code);
    for (const char* line = code; *line; line = next_line(line)) {
        const std::size_t blanks = std::strspn(line, " ");
        if (set_length(line) > blanks && blanks < indent) indent = blanks;
    }
    return indent;
}

// Keeps the relative indentation of the lines, and leaves out empty lines at both ends.
void print_code_block(WordWrap& wrap, const char* code) {
    const std::size_t indent = common_indent(code);
    int empty_lines = 0;
    bool begun = false;
    wrap.end_paragraph();
    for (const char* line = code; *line; line = next_line(line)) {
        const std::size_t length = set_length(line);
        if (length == 0) {
            ++empty_lines;
            continue;
        }
        if (!begun) wrap.separate();
        for (; begun && empty_lines > 0; --empty_lines)
            wrap.code_line("", 0);
        empty_lines = 0;
        begun = true;
        wrap.code_line(line + indent, length - indent);
    }
}

void print_code(WordWrap& wrap, const char* code) {
    wrap.append("`", 1);
    wrap.append(code, std::strlen(code));
    wrap.append("`", 1);
}

// Prints "section (manual)", which may be broken into lines.
void print_section(WordWrap& wrap, const ErrorDescRun* run) {
    print_text(wrap, run->text, false, false);
    wrap.end_word();
    wrap.append("(", 1);
    print_text(wrap, run->document, false, false);
    wrap.append(")", 1);
}

void print_manual(WordWrap& wrap, const ErrorDescRun* run) {
    print_text(wrap, "the ", false, false);
    print_text(wrap, run->document, false, false);
    print_text(wrap, " manual", false, false);
}

bool is_inline_code(const ErrorDescRun* run) {
    return run->kind == ERROR_RUN_CODE && std::strchr(run->text, '\n') == nullptr;
}

bool is_inline_code(const PolyListNode* node) {
    return node && is_inline_code(static_cast<const ErrorDescRun*>(node->element));
}

void print_paragraph(WordWrap& wrap, const ErrorDescParagraph* paragraph) {
    const bool stands_alone =
        paragraph->align == ERROR_P_DISPLAY || plist_length(paragraph->runs) == 1;
    bool after_code = false;
    for (const PolyListNode* node = paragraph->runs->first; node; node = node->next) {
        const auto* run = static_cast<const ErrorDescRun*>(node->element);
        switch (run->kind) {
        case ERROR_RUN_TEXT:
            print_text(wrap, run->text, after_code, is_inline_code(node->next));
            break;
        case ERROR_RUN_CODE:
            if (stands_alone || !is_inline_code(run))
                print_code_block(wrap, run->text);
            else
                print_code(wrap, run->text);
            break;
        case ERROR_RUN_SECREF: print_section(wrap, run); break;
        case ERROR_RUN_MANREF: print_manual(wrap, run); break;
        }
        after_code = is_inline_code(run);
    }
    wrap.end_paragraph();
}

// Replaces control characters, so that text quoted from a user's file stays on one line and cannot
// control a terminal.
char printed(char c) {
    if (is_blank(c)) return ' ';
    return (c > 0 && c < ' ') || c == 0x7f ? '?' : c;
}

void print_title(FILE* stream, ErrorType type, const ErrorInfo* error) {
    fputs(type == ERROR_TYPE_WARNING ? "warning: " : "error: ", stream);
    for (const char* c = error->message; *c; ++c)
        fputc(printed(*c), stream);
    fprintf(stream, " [%s]\n", error->name);
}

} // namespace
} // namespace norvane::diagnostics

using namespace norvane::diagnostics;

void err_print(FILE* stream, ErrorType type, const ErrorInfo* error, int flags) {
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(error);
    print_title(stream, type, error);
    if ((flags & ERR_PRINT_DESCRIPTION) == 0 || plist_isempty(error->paragraphs)) return;
    fputc('\n', stream);
    err_print_description(stream, error);
}

void err_print_description(FILE* stream, const ErrorInfo* error) {
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(error);
    WordWrap wrap(stream);
    for (const auto* paragraph : norvane::items<const ErrorDescParagraph>(error->paragraphs))
        print_paragraph(wrap, paragraph);
    wrap.end();
}
