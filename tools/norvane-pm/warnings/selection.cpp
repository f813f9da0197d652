#include "selection.h"

namespace norvane::driver {
namespace {

bool skip(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

} // namespace

Selection::Selection() {
    for (const WarningRow& row : warning_rows())
        on_[index(row.warning)] = row.level != Level::all;
}

bool Selection::take_error(std::string_view names, bool is_error) {
    if (names.empty() && is_error) {
        all_errors_ = true;
        return true;
    }
    const WarningRow* row = skip(names, "=") ? find_warning(names) : nullptr;
    if (!row) return false;
    error_[index(row->warning)] = is_error;
    not_error_[index(row->warning)] = !is_error;
    if (is_error) on_[index(row->warning)] = true;
    return true;
}

bool Selection::take(std::string_view word) {
    if (word == "all") {
        on_.set();
        return true;
    }
    const bool is_off = skip(word, "no-");
    if (skip(word, "error")) return take_error(word, !is_off);
    const WarningRow* row = find_warning(word);
    if (row) on_[index(row->warning)] = !is_off;
    return row != nullptr;
}

bool Selection::is_error(Warning warning, bool makes_finite) const {
    const std::size_t at = index(warning);
    if (not_error_[at]) return false;
    return error_[at] || all_errors_ || (makes_finite && row_of(warning).level == Level::meaning);
}

} // namespace norvane::driver
