#include "similar.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace norvane::driver {
namespace {

// A letter in the other case is half a slip.
constexpr unsigned slip = 2;
constexpr unsigned slip_of_case = 1;

// One slip in three letters, and at least one in all: 'a' for 'b' is no slip, but another name.
unsigned most_slips(std::size_t letters) {
    return letters < 2 ? slip_of_case : slip * static_cast<unsigned>((letters + 2) / 3);
}

bool is_same_letter(char a, char b) {
    const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    return lower(a) == lower(b);
}

unsigned cost_of_replacing(char a, char b) {
    if (a == b) return 0;
    return is_same_letter(a, b) ? slip_of_case : slip;
}

// The edit distance with swaps of neighbours, or more than `limit` as soon as it exceeds that.
unsigned distance(std::string_view a, std::string_view b, unsigned limit) {
    const std::size_t difference = std::max(a.size(), b.size()) - std::min(a.size(), b.size());
    if (difference * slip > limit) return limit + 1;
    if (std::ranges::equal(a, b, is_same_letter)) return slip_of_case;
    std::vector<unsigned> before(b.size() + 1);
    std::vector<unsigned> last(b.size() + 1);
    std::vector<unsigned> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        last[j] = static_cast<unsigned>(j) * slip;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = static_cast<unsigned>(i) * slip;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({last[j] + slip, row[j - 1] + slip,
                               last[j - 1] + cost_of_replacing(a[i - 1], b[j - 1])});
            const bool is_swap = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (is_swap) row[j] = std::min(row[j], before[j - 2] + slip);
        }
        if (*std::ranges::min_element(row) > limit) return limit + 1;
        std::swap(before, last);
        std::swap(last, row);
    }
    return last[b.size()];
}

} // namespace

std::string_view most_similar(std::string_view written, std::span<const std::string_view> names) {
    std::string_view best;
    unsigned limit = most_slips(written.size());
    for (const std::string_view name : names) {
        const unsigned slips = distance(written, name, limit);
        if (slips > limit || name.empty() || name == written) continue;
        best = name;
        if (slips == 0) break;
        limit = slips - 1;
    }
    return best;
}

std::string did_you_mean(std::string_view written, std::span<const std::string_view> names) {
    const std::string_view name = most_similar(written, names);
    return name.empty() ? "" : "did you mean '" + std::string(name) + "'?";
}

} // namespace norvane::driver
