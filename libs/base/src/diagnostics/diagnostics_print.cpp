// Reports as text for a person.
//
// Descriptions were written for a typesetter: their line breaks and blanks mean nothing, an empty
// line starts a new paragraph, ``...'' are quotes, and a code run of several lines begins and ends
// with what only sets it off from the text around it.
#include <cstring>

#include "norvane/base/diagnostics.h"
#include "norvane/base/except.h"
#include "norvane/base/items.hpp"

namespace norvane {
namespace {

constexpr std::size_t text_width = 78;
constexpr std::size_t code_indent = 4;

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Sets words into lines and paragraphs. Runs that touch without a blank make one word.
class Folder {
  public:
    explicit Folder(FILE* stream) : stream_(stream), word_(ustr_new()) {}

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

    // A line as it stands, in a paragraph of its own.
    void code_line(const char* line, std::size_t length) {
        if (length > 0) fprintf(stream_, "%*s", static_cast<int>(code_indent), "");
        fwrite(line, 1, length, stream_);
        fputc('\n', stream_);
    }

    // Called where a paragraph begins.
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

// Quotes right around a code run are left out, since the run has its own.
void print_text(Folder& folder, const char* text, bool behind_code, bool before_code) {
    if (behind_code && std::strncmp(text, "''", 2) == 0) text += 2;
    while (*text != '\0') {
        if (is_blank(*text)) {
            int line_feeds = 0;
            for (; is_blank(*text); ++text)
                line_feeds += *text == '\n';
            folder.end_word();
            if (line_feeds > 1) folder.end_paragraph();
        } else if (std::strncmp(text, "``", 2) == 0 || std::strncmp(text, "''", 2) == 0) {
            text += 2;
            if (*text != '\0' || !before_code) folder.append("\"", 1);
        } else {
            folder.append(text++, 1);
        }
    }
}

std::size_t line_length(const char* line) {
    return std::strcspn(line, "\n");
}

// The length of a line without the blanks at its end.
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

// The indentation that all lines have in common.
std::size_t common_indent(const char* code) {
    std::size_t indent = std::strlen(code);
    for (const char* line = code; *line != '\0'; line = next_line(line)) {
        const std::size_t blanks = std::strspn(line, " ");
        if (set_length(line) > blanks && blanks < indent) indent = blanks;
    }
    return indent;
}

// The lines keep their places to each other; empty ones at both ends are left out.
void print_code_block(Folder& folder, const char* code) {
    const std::size_t indent = common_indent(code);
    int empty_lines = 0;
    bool begun = false;
    folder.end_paragraph();
    for (const char* line = code; *line != '\0'; line = next_line(line)) {
        const std::size_t length = set_length(line);
        if (length == 0) {
            ++empty_lines;
            continue;
        }
        if (!begun) folder.separate();
        for (; begun && empty_lines > 0; --empty_lines)
            folder.code_line("", 0);
        empty_lines = 0;
        begun = true;
        folder.code_line(line + indent, length - indent);
    }
}

void print_code(Folder& folder, const char* code) {
    folder.append("`", 1);
    folder.append(code, std::strlen(code));
    folder.append("`", 1);
}

// The words may go to different lines.
void print_section(Folder& folder, const ErrorDescRun* run) {
    print_text(folder, run->text, false, false);
    folder.end_word();
    folder.append("(", 1);
    print_text(folder, run->document, false, false);
    folder.append(")", 1);
}

void print_manual(Folder& folder, const ErrorDescRun* run) {
    print_text(folder, "the ", false, false);
    print_text(folder, run->document, false, false);
    print_text(folder, " manual", false, false);
}

bool is_inline_code(const ErrorDescRun* run) {
    return run->kind == ERROR_RUN_CODE && std::strchr(run->text, '\n') == nullptr;
}

bool is_inline_code(const PolyListNode* node) {
    return node != nullptr && is_inline_code(static_cast<const ErrorDescRun*>(node->element));
}

void print_paragraph(Folder& folder, const ErrorDescParagraph* paragraph) {
    const bool stands_alone =
        paragraph->align == ERROR_P_DISPLAY || plist_length(paragraph->runs) == 1;
    bool behind_code = false;
    for (const PolyListNode* node = paragraph->runs->first; node != nullptr; node = node->next) {
        const auto* run = static_cast<const ErrorDescRun*>(node->element);
        switch (run->kind) {
        case ERROR_RUN_TEXT:
            print_text(folder, run->text, behind_code, is_inline_code(node->next));
            break;
        case ERROR_RUN_CODE:
            if (stands_alone || !is_inline_code(run))
                print_code_block(folder, run->text);
            else
                print_code(folder, run->text);
            break;
        case ERROR_RUN_SECREF: print_section(folder, run); break;
        case ERROR_RUN_MANREF: print_manual(folder, run); break;
        }
        behind_code = is_inline_code(run);
    }
    folder.end_paragraph();
}

// One line, whatever the title quotes from the user's file, and nothing that a terminal obeys.
char printed(char c) {
    if (is_blank(c)) return ' ';
    return (c > 0 && c < ' ') || c == 0x7f ? '?' : c;
}

void print_title(FILE* stream, ErrorType type, const ErrorInfo* error) {
    fputs(type == ERROR_TYPE_WARNING ? "warning: " : "error: ", stream);
    for (const char* c = error->message; *c != '\0'; ++c)
        fputc(printed(*c), stream);
    fprintf(stream, " [%s]\n", error->name);
}

} // namespace
} // namespace norvane

void err_print(FILE* stream, ErrorType type, const ErrorInfo* error, int flags) {
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(error);
    norvane::print_title(stream, type, error);
    if ((flags & ERR_PRINT_DESCRIPTION) == 0 || plist_isempty(error->paragraphs)) return;
    fputc('\n', stream);
    err_print_description(stream, error);
}

void err_print_description(FILE* stream, const ErrorInfo* error) {
    NORVANE_ASSERT(stream);
    NORVANE_ASSERT(error);
    norvane::Folder folder(stream);
    for (const auto* paragraph : norvane::items<const ErrorDescParagraph>(error->paragraphs))
        norvane::print_paragraph(folder, paragraph);
    folder.end();
}
