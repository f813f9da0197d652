#include "as_json.h"

#include <cctype>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "text.h"

namespace norvane::driver {
namespace {

using Json = nlohmann::ordered_json;

const char* severity_text(Severity severity) {
    constexpr const char* texts[] = {"note", "warning", "error"};
    return texts[static_cast<int>(severity)];
}

// What is not known is null.
Json number(unsigned value) {
    return value == 0 ? Json(nullptr) : Json(value);
}

Json text_or_null(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(to_utf8(text));
}

void add_place(Json& json, const Place& place) {
    json["file"] = text_or_null(place.file);
    json["line"] = number(place.line);
    json["column"] = number(place.column);
    json["endLine"] = number(place.end_line);
    json["endColumn"] = number(place.end_column);
}

// SARIF ------------------------------------------------------------------------------------------

// Names of files are any bytes, and a colon in one would read as a scheme.
std::string uri_of(const std::string& file) {
    std::string uri = file.starts_with('/') ? "file://" : "";
    for (const char c : file) {
        const auto byte = static_cast<unsigned char>(c);
        const bool is_plain =
            byte < 0x80 &&
            (std::isalnum(byte) || std::string_view("/-._~").find(c) != std::string_view::npos);
        char escaped[4] = {c};
        if (!is_plain) std::snprintf(escaped, sizeof escaped, "%%%02X", byte);
        uri += escaped;
    }
    return uri;
}

class SarifResult {
  public:
    explicit SarifResult(SourceLines& sources) : sources_(sources) {}

    Json result(const Finding& finding) const {
        Json json;
        if (!finding.name.empty()) json["ruleId"] = finding.name;
        json["level"] = severity_text(finding.severity);
        const std::string hint = finding.hint.empty() ? "" : "\n" + finding.hint;
        json["message"] = message(finding.message + hint);
        if (!finding.place.file.empty()) json["locations"] = {location(finding.place)};
        for (const Note& note : finding.notes) {
            Json related = note.place.file.empty() ? Json::object() : location(note.place);
            related["message"] = message(note.text);
            json["relatedLocations"].push_back(std::move(related));
        }
        if (!finding.replacements.empty()) json["fixes"] = {fix(finding)};
        return json;
    }

  private:
    static Json message(const std::string& text) { return {{"text", to_utf8(text)}}; }
    static Json artifact(const Place& place) { return {{"uri", uri_of(place.file)}}; }

    Json region(const Place& place) const {
        Json json = {{"startLine", place.line}};
        if (place.column == 0) return json;
        json["startColumn"] = sources_.letter(place.file, place.line, place.column);
        const unsigned end_line = place.end_line > 0 ? place.end_line : place.line;
        json["endLine"] = end_line;
        if (place.end_column > 0)
            json["endColumn"] = sources_.letter(place.file, end_line, place.end_column);
        return json;
    }

    Json location(const Place& place) const {
        Json physical = {{"artifactLocation", artifact(place)}};
        if (place.line > 0) physical["region"] = region(place);
        return {{"physicalLocation", std::move(physical)}};
    }

    Json fix(const Finding& finding) const {
        Json changes = Json::array();
        for (const Replacement& replacement : finding.replacements) {
            const Json replaced = {{"deletedRegion", region(replacement.place)},
                                   {"insertedContent", message(replacement.text)}};
            changes.push_back({{"artifactLocation", artifact(replacement.place)},
                               {"replacements", Json::array({replaced})}});
        }
        return {{"artifactChanges", std::move(changes)}};
    }

    SourceLines& sources_;
};

} // namespace

std::string as_json(const Finding& finding) {
    Json json = {{"severity", severity_text(finding.severity)},
                 {"name", text_or_null(finding.name)},
                 {"message", to_utf8(finding.message)}};
    add_place(json, finding.place);
    json["notes"] = Json::array();
    for (const Note& note : finding.notes) {
        Json object = {{"message", to_utf8(note.text)}};
        add_place(object, note.place);
        json["notes"].push_back(std::move(object));
    }
    json["hint"] = text_or_null(finding.hint);
    json["replacements"] = Json::array();
    for (const Replacement& replacement : finding.replacements) {
        Json object = {{"text", to_utf8(replacement.text)}, {"certain", replacement.is_certain}};
        add_place(object, replacement.place);
        json["replacements"].push_back(std::move(object));
    }
    return json.dump() + "\n";
}

std::string sarif_start() {
    const Json driver = {{"name", "norvane-pm"}, {"version", NORVANE_VERSION}};
    const Json tool = {{"driver", driver}};
    return "{\"$schema\":\"https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/"
           "sarif-schema-2.1.0.json\",\"version\":\"2.1.0\",\"runs\":[{\"tool\":" +
           tool.dump() + ",\"columnKind\":\"unicodeCodePoints\",\"results\":[";
}

std::string as_sarif(const Finding& finding, SourceLines& sources) {
    return "\n" + SarifResult(sources).result(finding).dump();
}

std::string sarif_end(bool has_run) {
    const Json invocation = {{"executionSuccessful", has_run}};
    return "],\"invocations\":[" + invocation.dump() + "]}]}\n";
}

} // namespace norvane::driver
