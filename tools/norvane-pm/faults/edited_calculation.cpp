#include "edited_calculation.h"

#include <algorithm>

#include "norvane/proj/loadclfile.h"

namespace norvane::driver {
namespace {

LoadedCalculation load_text(std::string text) {
    std::ranges::replace(text, '\0', ' '); // which would end the text
    auto loaded = gather([from = text.c_str()] { return calc_import_from_string(from); });
    LoadedCalculation result;
    if (loaded.value) result.calculation.emplace(loaded.value);
    result.reports = std::move(loaded.reports);
    return result;
}

} // namespace

EditedCalculation::EditedCalculation(const SourceText& source) : EditedTokens(source) {
    Calculation::end_open_token(); // of the source before
}

std::optional<TokenReport> EditedCalculation::parse(TokenRange tokens, const std::string& head,
                                                    const std::string& tail,
                                                    const Edits& more) const {
    std::string text = head + "\n";
    for (std::size_t i = tokens.first; i <= tokens.last; ++i)
        append_token(text, i, &more);
    const LoadedCalculation loaded = load_text(text + tail);
    if (loaded.calculation) return {};
    const auto& reports = loaded.reports;
    const auto is_error = [](const Report& report) { return report.is_error(); };
    const auto said = std::ranges::find_if(reports, is_error);
    // The scanner tells no line: the parser does after it.
    const auto placed = std::ranges::find_if(
        reports, [&](const Report& report) { return is_error(report) && report.line > 1; });
    if (said == reports.end() || placed == reports.end()) return {};
    return TokenReport{*said, tokens.first + placed->line - 2};
}

LoadedCalculation EditedCalculation::load() const {
    std::string text;
    for (std::size_t i = 0; i < source().size(); ++i)
        append_token(text, i, nullptr);
    return load_text(text);
}

} // namespace norvane::driver
