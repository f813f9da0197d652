// The error catalogue, builder by builder. The texts stand in docs/diagnostics.md, which is held
// against them; here is what that page does not show, and a fingerprint of all of it.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "norvane/base/items.hpp"
#include "support.h"

namespace norvane::test {
namespace {

using ErrorPtr = Owned<ErrorInfo, err_delete>;

// "<1>" for a text and 1 for an int.
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

// All of a report but its place.
std::string text_of(const ErrorInfo* error) {
    std::string text = std::string(error->name) + "\n" + error->message;
    for (const auto* paragraph : items<ErrorDescParagraph>(error->paragraphs)) {
        text += "\n" + std::to_string(paragraph->align);
        for (const auto* run : items<ErrorDescRun>(paragraph->runs)) {
            text += "\n" + std::to_string(run->kind);
            for (const char* part : {run->text, run->document, run->anchor})
                text += part ? std::string("|") + part : "-";
        }
    }
    return text + "\n";
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

// After a change that is meant: take the number over when docs/diagnostics.md shows what it should.
TEST(ErrorCatalogue, EveryTitleAndDescriptionIsWordForWordAsItWas) {
    std::uint64_t fingerprint = 0xCBF29CE484222325u; // FNV-1a
    for (const auto& [name, built] : all_builders()) {
        EXPECT_EQ(built.first->name, name);
        for (const char c : text_of(built.first.get()))
            fingerprint = (fingerprint ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
    }
    EXPECT_EQ(fingerprint, 278209686619527257u);
}

TEST(ErrorCatalogue, NullTextsCountAsEmpty) {
    for (const auto& [name, built] : all_builders()) {
        const std::string title = built.second->message;
        EXPECT_EQ(title.find("null"), std::string::npos) << name << ": " << title;
        EXPECT_EQ(plist_length(built.second->paragraphs), plist_length(built.first->paragraphs));
    }
}

} // namespace
} // namespace norvane::test
