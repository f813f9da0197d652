#include "settings_file.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "json.h"
#include "selection.h"

namespace norvane::driver::lsp {
namespace {

namespace fs = std::filesystem;

bool is_macro_name(const std::string& name) {
    return !name.empty() && !std::isdigit(static_cast<unsigned char>(name[0])) &&
           std::ranges::all_of(name, [](char c) {
               return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
           });
}

class SettingsReader {
  public:
    SettingsReader(const std::string& path, const std::string& text) : path_(path), text_(text) {}

    SettingsFile read() {
        try {
            take_all(Json::parse(text_));
        } catch (const Json::parse_error& error) {
            const std::size_t at = std::min(error.byte > 0 ? error.byte - 1 : 0, text_.size());
            refuse_at(at, at, "this is not JSON");
        }
        return std::move(file_);
    }

  private:
    void refuse_at(std::size_t begin, std::size_t end, const std::string& why) {
        const std::string_view before = std::string_view(text_).substr(0, begin);
        Finding fault;
        fault.severity = Severity::warning;
        fault.message = why;
        fault.place.file = path_;
        fault.place.line = static_cast<unsigned>(std::ranges::count(before, '\n') + 1);
        const std::size_t start = before.rfind('\n') + 1; // 0 where there is none
        fault.place.column = static_cast<unsigned>(begin - start + 1);
        fault.place.end_line = fault.place.line;
        fault.place.end_column = static_cast<unsigned>(end - start + 1);
        file_.faults.push_back(std::move(fault));
    }

    // At a string, as it stands in the file. The reader of JSON keeps no places, so that it is the
    // first one that is equal.
    void refuse(const std::string& string, const std::string& why) {
        const std::string quoted =
            Json(string).dump(-1, ' ', false, Json::error_handler_t::replace);
        const std::size_t begin = text_.find(quoted);
        if (begin == text_.npos) return refuse_at(0, 0, why);
        refuse_at(begin, begin + quoted.size(), why);
    }

    std::string path(const std::string& name) const {
        return (fs::path(path_).parent_path() / name).lexically_normal();
    }

    std::vector<std::string> texts(const std::string& name, const Json& value) {
        std::vector<std::string> found;
        const bool fits = value.is_array() && std::ranges::all_of(value, [](const Json& text) {
                              return text.is_string();
                          });
        if (!fits) refuse(name, "'" + name + "' is not an array of strings");
        if (value.is_array())
            for (const Json& text : value)
                if (text.is_string()) found.push_back(text.get<std::string>());
        return found;
    }

    std::vector<std::string> paths(const std::string& name, const Json& value) {
        std::vector<std::string> found = texts(name, value);
        for (std::string& each : found)
            each = path(each);
        return found;
    }

    std::vector<std::string> mains(const std::string& name, const Json& value) {
        std::error_code error;
        for (const std::string& each : texts(name, value))
            if (!fs::exists(path(each), error)) refuse(each, "there is no file '" + each + "'");
        return paths(name, value);
    }

    void define(const std::string& name, const Json& value) {
        if (!is_macro_name(name)) return refuse(name, "'" + name + "' is not a macro name");
        const bool is_text = value.is_string();
        if (!is_text && !value.is_number_integer() && !value.is_null())
            return refuse(name, "a macro is a string, an integer or null");
        const std::string text = is_text           ? value.get<std::string>()
                                 : value.is_null() ? ""
                                                   : value.dump();
        if (text.find('\n') != text.npos) return refuse(name, "a macro is one line");
        file_.macros.push_back("-D" + name + (text.empty() ? "" : "=" + text));
    }

    void define_all(const Json& macros) {
        for (const auto& [macro, text] : macros.items())
            define(macro, text);
    }

    void assign_models(const Json& calculations) {
        for (const auto& [calculation, model] : calculations.items())
            if (model.is_string())
                file_.calculations[path(calculation)] = path(model.get<std::string>());
            else
                refuse(calculation, "the model of a calculation is a string");
    }

    void select(const std::vector<std::string>& warnings) {
        for (const std::string& word : warnings)
            if (Selection().take(word))
                file_.warnings.push_back(word);
            else
                refuse(word, "there is no warning '" + word + "'");
    }

    void take(const std::string& name, const Json& value) {
        if (name == "main")
            file_.mains = mains(name, value);
        else if (name == "includeDirectories")
            file_.directories = paths(name, value);
        else if (name == "warnings")
            select(texts(name, value));
        else if (name == "defines" && value.is_object())
            define_all(value);
        else if (name == "calculations" && value.is_object())
            assign_models(value);
        else if (name != "$schema")
            refuse(name, "'" + name + "' is not a setting, or its value has the wrong form");
    }

    void take_all(const Json& json) {
        if (!json.is_object()) return refuse_at(0, 0, "this is not a JSON object");
        for (const auto& [name, value] : json.items())
            take(name, value);
    }

    const std::string& path_;
    const std::string& text_;
    SettingsFile file_;
};

} // namespace

SettingsFile read_settings_file(const std::string& path, const std::string& text) {
    return SettingsReader(path, text).read();
}

} // namespace norvane::driver::lsp
