// A report as a JSON object.
#ifndef NORVANE_PM_JSON_REPORT_H
#define NORVANE_PM_JSON_REPORT_H

#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace norvane::pm {

// A message and the place in the user's source that it is about: no file, or no line, where that is
// not known.
struct PlacedText {
    std::string_view file;
    unsigned line = 0;
    std::string_view text;
};

struct JsonReport {
    const char* severity;
    std::string_view name;
    std::string_view title;
    PlacedText place;
};

// The members that every report has; callers may add more.
nlohmann::ordered_json to_json(const JsonReport& report);

} // namespace norvane::pm

#endif
