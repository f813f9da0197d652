#include "json_report.h"

#include <nlohmann/json.hpp>

#include "text.h"

namespace norvane::pm {

nlohmann::ordered_json to_json(const JsonReport& report) {
    // The file that a title begins with, and its words, need not be of one encoding.
    const std::string_view words = report.place.text;
    const std::size_t position =
        report.title.ends_with(words) ? report.title.size() - words.size() : 0;
    nlohmann::ordered_json json = {{"severity", report.severity},
                                   {"name", to_utf8(report.name)},
                                   {"title", to_utf8(report.title.substr(0, position)) +
                                                 to_utf8(report.title.substr(position))},
                                   {"file", nullptr},
                                   {"line", nullptr},
                                   {"message", to_utf8(words)}};
    if (!report.place.file.empty()) json["file"] = to_utf8(report.place.file);
    if (report.place.line > 0) json["line"] = report.place.line;
    return json;
}

} // namespace norvane::pm
