#include "result.h"

#include <filesystem>

#include "json.h"

namespace norvane::driver::lsp {
namespace {

void remove_all(std::string& text, const std::string& part) {
    std::string kept;
    std::size_t from = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, from)) {
        kept.append(text, from, at - from);
        from = at + part.size();
    }
    if (from > 0) text = kept.append(text, from);
}

unsigned number_of(const Json& json) {
    return json.is_number_unsigned() ? json.get<unsigned>() : 0;
}

// Names in the reports are those that the preprocessor made, such as "/model/../parts/a.pm".
Place place_of(const Json& json, const std::string& file) {
    Place place;
    place.file = text_of(member(json, "file"));
    if (place.file.empty())
        place.file = file;
    else
        place.file = std::filesystem::path(place.file).lexically_normal();
    place.line = number_of(member(json, "line"));
    place.column = number_of(member(json, "column"));
    place.end_line = number_of(member(json, "endLine"));
    place.end_column = number_of(member(json, "endColumn"));
    return place;
}

Severity severity_of(const std::string& word) {
    if (word == "error") return Severity::error;
    return word == "warning" ? Severity::warning : Severity::note;
}

Finding finding_of(const Json& json, const std::string& file) {
    Finding finding;
    finding.severity = severity_of(text_of(member(json, "severity")));
    finding.name = text_of(member(json, "name"));
    finding.message = text_of(member(json, "message"));
    finding.place = place_of(json, file);
    finding.hint = text_of(member(json, "hint"));
    for (const Json& note : member(json, "notes")) {
        // A note without a place belongs to the message, as that of an internal failure.
        if (member(note, "file").is_null())
            finding.message += "\n" + text_of(member(note, "message"));
        else
            finding.notes.push_back({place_of(note, file), text_of(member(note, "message"))});
    }
    for (const Json& replacement : member(json, "replacements"))
        finding.replacements.push_back({place_of(replacement, file),
                                        text_of(member(replacement, "text")),
                                        member(replacement, "certain") == true});
    return finding;
}

void read_line(const std::string& line, const std::string& file, Result& result) {
    const Json json = Json::parse(line, nullptr, false);
    const Json& facts = member(json, "facts");
    if (facts.is_object()) {
        facts.at("constants").get_to(result.facts.constants);
        facts.at("classes").get_to(result.facts.classes);
    } else if (member(json, "message").is_string()) {
        result.findings.push_back(finding_of(json, file));
    }
}

} // namespace

Result result_of(Output output, const std::string& overlay_root, const std::string& file) {
    Result result;
    remove_all(output.lines, overlay_root);
    for (std::size_t from = 0; from < output.lines.size();) {
        const std::size_t end = std::min(output.lines.find('\n', from), output.lines.size());
        read_line(output.lines.substr(from, end - from), file, result);
        from = end + 1;
    }
    result.has_text = output.has_text;
    result.text = std::move(output.text);
    remove_all(result.text, overlay_root);
    if (result.has_text) result.definitions = Definitions(result.text);
    if (output.is_complete) return result;
    Finding ended;
    ended.message = "the check did not finish: out of memory, or a defect of the program";
    ended.place.file = file;
    result.findings.push_back(std::move(ended));
    return result;
}

} // namespace norvane::driver::lsp
