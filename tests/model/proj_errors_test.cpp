// The error catalogue, builder by builder, against a data file that holds every text in full.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "norvane/base/items.hpp"
#include "support.h"

namespace norvane::test {
namespace {

struct ErrorDeleter {
    void operator()(ErrorInfo* e) const { err_delete(e); }
};
using ErrorPtr = std::unique_ptr<ErrorInfo, ErrorDeleter>;

// "<1>" for a text and 1 for an int: what the data file shows in a title.
struct Numbered {
    int number;
    std::string mark = "<" + std::to_string(number) + ">";
    operator const char*() const { return mark.c_str(); }
    operator int() const { return number; }
};

template <typename... Arguments, std::size_t... index>
ErrorPtr call(ErrorInfo* (*builder)(Arguments...), std::index_sequence<index...>) {
    return ErrorPtr(builder(static_cast<Arguments>(Numbered{static_cast<int>(index) + 1})...));
}

template <typename... Arguments>
std::pair<ErrorPtr, ErrorPtr> with_arguments_and_without(ErrorInfo* (*builder)(Arguments...)) {
    return {call(builder, std::index_sequence_for<Arguments...>()),
            ErrorPtr(builder(Arguments{}...))};
}

std::string quoted(const char* text) {
    std::string result = "\"";
    for (; *text; ++text)
        result += *text == '\n' ? std::string("\\n") : std::string(1, *text);
    return result + "\"";
}

std::string printed(const ErrorDescRun& run) {
    switch (run.kind) {
    case ERROR_RUN_TEXT: return "text " + quoted(run.text);
    case ERROR_RUN_CODE: return "code " + quoted(run.text);
    case ERROR_RUN_SECREF:
        return "secref " + quoted(run.document) + " " + quoted(run.text) + " " + quoted(run.anchor);
    case ERROR_RUN_MANREF: return "manref " + quoted(run.document);
    }
    return "?";
}

// The entry as the data file has it.
std::string printed(const ErrorInfo* error) {
    std::string text = std::string(error->name) + "\n  title " + quoted(error->message) + "\n";
    for (const auto* paragraph : items<ErrorDescParagraph>(error->paragraphs)) {
        text += paragraph->align == ERROR_P_DISPLAY ? "  display\n" : "  paragraph\n";
        for (const auto* run : items<ErrorDescRun>(paragraph->runs))
            text += "    " + printed(*run) + "\n";
    }
    return text;
}

std::map<std::string, std::string> expected_entries() {
    std::map<std::string, std::string> entries;
    std::istringstream lines(test_data("model/data/proj_errors.txt"));
    std::string name;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (line[0] != ' ') name = line;
        entries[name] += line + "\n";
    }
    return entries;
}

#define PROJ_ERROR(name, parameters, arguments) {#name, with_arguments_and_without(&name)},

std::map<std::string, std::pair<ErrorPtr, ErrorPtr>> all_builders() {
    std::pair<std::string, std::pair<ErrorPtr, ErrorPtr>> list[] = {
#include "proj_errors.inc"
    };
    std::map<std::string, std::pair<ErrorPtr, ErrorPtr>> builders;
    for (auto& row : list)
        builders.insert(std::move(row));
    return builders;
}

TEST(ErrorCatalogue, EveryEntryIsWordForWordWhatTheDataFileHolds) {
    const auto expected = expected_entries();
    const auto builders = all_builders();
    EXPECT_EQ(builders.size(), expected.size());
    for (const auto& [name, built] : builders) {
        ASSERT_TRUE(expected.contains(name)) << name;
        EXPECT_EQ(printed(built.first.get()), expected.at(name));
    }
}

TEST(ErrorCatalogue, NullTextsCountAsEmpty) {
    for (const auto& [name, built] : all_builders()) {
        const std::string title = built.second->message;
        EXPECT_EQ(title.find("null"), std::string::npos) << name << ": " << title;
        EXPECT_EQ(built.second->name, name);
        EXPECT_EQ(plist_length(built.second->paragraphs), plist_length(built.first->paragraphs));
    }
}

TEST(ErrorCatalogue, ALongTitleIsCutAtTheBufferAndFormatsInArgumentsAreText) {
    const std::string expression(5000, 'x');
    const ErrorPtr error(ERR_PARSER("%s%d ", expression.c_str()));
    EXPECT_EQ(std::string(error->message), "%s%d " + std::string(2047 - 5, 'x'));
}

} // namespace
} // namespace norvane::test
