// The commands on workspaces: what a workspace holds, and the command lines of its projects.
//
// Names in a workspace are those of files in the current directory, as they are for the tools.
#include "workspace.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "output.h"
#include "shell_word.h"
#include "text.h"

namespace norvane::driver {
namespace {

using Json = nlohmann::ordered_json;

// Showing a workspace. ---------------------------------------------------------------------------

// The texts of a workspace are in code page 1252.
std::string utf8(const char* text) {
    return text ? codepage_to_utf8(text) : "";
}

// The lists of texts of a project, by the names of their fields.
constexpr std::pair<const char*, PolyList * ZEBProject::*> text_lists[] = {
    {"includes", &ZEBProject::includes},        {"pm_files", &ZEBProject::pm_files},
    {"pres_files", &ZEBProject::pres_files},    {"calc_files", &ZEBProject::calc_files},
    {"table_files", &ZEBProject::table_files},  {"var_order_files", &ZEBProject::var_order_files},
    {"fileincludes", &ZEBProject::fileincludes}};

// One line. Of the values in a row, the first comes with the name of the row.
void print_row(const char* name, const std::string& text) {
    std::printf("  %-16s%s\n", name, for_terminal(text).c_str());
}

void print_texts(const char* name, const PolyList* texts) {
    for (const char* text : items<char>(texts)) {
        print_row(name, utf8(text));
        name = "";
    }
}

void print_defines(const PolyHash* defines) {
    const char* row = "defines";
    for (const auto [name, value] : pairs<char, char>(defines)) {
        const std::string assigned = utf8(value);
        print_row(row, utf8(name) + (assigned.empty() ? "" : "=" + assigned));
        row = "";
    }
}

void print_options(const PolyHash* options) {
    const char* row = "  options";
    for (const auto [key, values] : pairs<char, PolyList>(options)) {
        const std::string name = utf8(key);
        if (values->len == 0) print_row(row, name);
        for (const char* value : items<char>(values)) {
            print_row(row, name + " " + utf8(value));
            row = "";
        }
        row = "";
    }
}

void print_target(const ZEBTarget* target) {
    print_row("target", utf8(target->name));
    if (target->timeout != -1) print_row("  timeout", std::to_string(target->timeout));
    print_options(target->options);
    print_texts("  precmds", target->precmds);
    print_texts("  postcmds", target->postcmds);
}

void print_project(const ZEBProject* project) {
    std::printf("%s\n", for_terminal(utf8(project->name)).c_str());
    if (project->main_file) print_row("main_file", utf8(project->main_file));
    if (project->virtual_table) print_row("virtual_table", utf8(project->virtual_table));
    print_defines(project->defines);
    for (const auto& [name, list] : text_lists)
        print_texts(name, project->*list);
    for (const ZEBTarget* target : items<ZEBTarget>(project->targets))
        print_target(target);
}

Json to_json(const char* text) {
    return text ? Json(utf8(text)) : Json();
}

Json to_json(const PolyList* texts) {
    Json json = Json::array();
    for (const char* text : items<char>(texts))
        json.push_back(utf8(text));
    return json;
}

// One object a pair, since the order counts.
template <typename Value>
Json to_json(const PolyHash* table, const char* value_name) {
    Json json = Json::array();
    for (const auto [name, value] : pairs<char, const Value>(table))
        json.push_back({{"name", utf8(name)}, {value_name, to_json(value)}});
    return json;
}

Json to_json(const ZEBTarget* target) {
    return {{"name", utf8(target->name)},
            {"timeout", target->timeout == -1 ? Json() : Json(target->timeout)},
            {"options", to_json<PolyList>(target->options, "values")},
            {"precmds", to_json(target->precmds)},
            {"postcmds", to_json(target->postcmds)}};
}

Json to_json(const ZEBProject* project) {
    Json json = {{"name", utf8(project->name)},
                 {"main_file", to_json(project->main_file)},
                 {"virtual_table", to_json(project->virtual_table)},
                 {"defines", to_json<char>(project->defines, "value")}};
    for (const auto& [name, list] : text_lists)
        json[name] = to_json(project->*list);
    Json targets = Json::array();
    for (const ZEBTarget* target : items<ZEBTarget>(project->targets))
        targets.push_back(to_json(target));
    json["targets"] = std::move(targets);
    return json;
}

// Commands. --------------------------------------------------------------------------------------

const char* null_if_empty(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

// The text without the quotes that the library puts around an argument, or around the value of a
// define, where the tools' command lines need them.
std::string without_quotes(std::string text) {
    if (text.size() < 2 || text.back() != '"') return text;
    const std::size_t opening = text.front() == '"' ? 0 : text.find("=\"") + 1;
    if (opening + 1 >= text.size() || (opening == 0 && text.front() != '"')) return text;
    text.pop_back();
    return text.erase(opening, 1);
}

// An argument as a program receives it.
std::string argument(const char* text) {
    return without_quotes(to_utf8(text));
}

void print_command(char* const* argv, Format format) {
    if (format == Format::json) {
        Json json = argv ? Json::array() : Json();
        for (; argv && *argv; ++argv)
            json.push_back(argument(*argv));
        std::printf("%s\n", json.dump().c_str());
        return;
    }
    for (const char* blank = ""; argv && *argv; ++argv, blank = " ")
        std::printf("%s%s", blank, for_shell(argument(*argv)).c_str());
    std::printf("\n");
}

ZEBCommandType type_of(const std::string& name) {
    const auto* found = std::find(std::begin(command_types), std::end(command_types), name);
    return static_cast<ZEBCommandType>(found - std::begin(command_types));
}

} // namespace

const char* const command_types[7] = {"check", "build",    "view",     "deploy",
                                      "ppl",   "optimize", "erp_relay"};

Workspace& load_workspace(Session& session) {
    session.begin_load(session.options.file);
    return session.take(Workspace::load(session.options.file, session.on_report));
}

void show_workspace(Session& session) {
    for (const ZEBProject* project : load_workspace(session).projects()) {
        if (session.options.format == Format::json)
            std::printf("%s\n", to_json(project).dump().c_str());
        else
            print_project(project);
        if (results_refused()) return;
    }
}

void list_commands(Session& session) {
    const Options& options = session.options;
    const ZEBCommandType type = type_of(options.type);
    if ((type == ZEB_CMD_PPL || type == ZEB_CMD_OPTIMIZE) && options.extra_arg.empty())
        throw WrongUsage{options.type + " needs --arg"};
    if (type == ZEB_CMD_OPTIMIZE && options.order_type.empty())
        throw WrongUsage{"optimize needs --order"};
    call([&options] { settings_set_bin_folder(null_if_empty(options.bin_directory)); });
    const Workspace& workspace = load_workspace(session);
    const CommandLines& commands = session.take(workspace.commands(
        utf8_to_codepage(options.project), type,
        {options.extra_arg, options.order_type, options.extra_arg2, options.statistics},
        session.on_report));
    // A project that cannot be deployed has been reported, and has an empty list.
    if (commands.empty()) throw InputAtFault();
    for (char* const* argv : commands.lines())
        print_command(argv, options.format);
}

} // namespace norvane::driver
