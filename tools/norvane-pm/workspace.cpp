// The commands on workspaces and packages: what a workspace holds, the command lines of its
// projects, and the making and listing of packages.
//
// Names in a workspace are those of files in the current folder, as they are for the tools.
#include "workspace.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "norvane/base/items.hpp"
#include "norvane/base/packages.hpp"
#include "norvane/proj.h"

#include "codepage.h"
#include "diagnostics_sink.h"
#include "options.h"
#include "output.h"

namespace norvane::pm {
namespace {

using Json = nlohmann::ordered_json;
using NorvaneCpp::CFilePackage;
using NorvaneCpp::CFilePtr;
using NorvaneCpp::String;
using NorvaneCpp::UTF8;

constexpr const char* command_types[] = {"check", "build",    "view",     "deploy",
                                         "ppl",   "optimize", "erp_relay"};

struct WorkspaceOptions {
    std::string file;
    std::string project; // of a workspace, or the model of a package
    std::string type;    // of the commands, or of the model
    std::string extra_arg;
    std::string order_type;
    std::string extra_arg2;
    std::string bin_folder;
    std::string build_folder = ".";
    std::string output_folder = ".";
    bool statistics = false;
    bool debug = false;
    Format format = Format::text;
};

// What the library makes for a command. A throw runs no destructors: so it works on plain pointers,
// which lie outside of the frame.
struct Job {
    const WorkspaceOptions* options;
    Diagnostics* diagnostics;
    char* project = nullptr; // in code page 1252, as a workspace has it
    ZEBWorkspace* workspace = nullptr;
    PolyList* commands = nullptr;
    CFilePackage* package = nullptr;
    int status = STATUS_FAILURE;
};

void release(Job& job) {
    std::free(job.project);
    delete job.package;
    plist_delete(job.commands);
    if (!job.workspace) return;
    for (const ZEBProject* project : items<ZEBProject>(job.workspace->projects))
        plist_delete(project->fileincludes);
    zeb_workspace_delete(job.workspace);
}

const char* null_if_empty(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

int report_failure(Job& job, const ExceptionState& thrown) {
    job.diagnostics->mute();
    job.diagnostics->say(std::string("internal failure: ") + thrown.message + " (thrown by " +
                         thrown.file + " " + std::to_string(thrown.line) + ")");
    return STATUS_INTERNAL_FAILURE;
}

// Runs the library's part of a command, and then, if that succeeded, prints what it has made.
int run(const WorkspaceOptions& options, void (*work)(Job&), void (*print)(const Job&) = nullptr) {
    Diagnostics diagnostics(options.format);
    Job job{.options = &options, .diagnostics = &diagnostics};
    struct Call {
        void (*work)(Job&);
        void (*print)(const Job&);
        Job* job;
    } call{work, print, &job};
    const auto body = [](void* user) {
        const auto& made = *static_cast<Call*>(user);
        Job& its = *made.job;
        its.project =
            str_copy(UTF8::ToCodepage(its.options->project.c_str(), 1252, false).GetStr());
        made.work(its);
        if (its.status == STATUS_SUCCESS && made.print) made.print(its);
    };
    static ExceptionState thrown;
    if (except_catch(body, &call, &thrown)) return report_failure(job, thrown);
    const bool succeeded = job.status == STATUS_SUCCESS;
    diagnostics.close(succeeded);
    if (orderly_exit) release(job);
    return succeeded ? STATUS_OK : STATUS_INPUT_AT_FAULT;
}

bool load(Job& job) {
    job.diagnostics->begin("loading", job.options->file);
    job.workspace = zeb_workspace_load(job.options->file.c_str());
    return job.workspace != nullptr;
}

// Showing a workspace. ---------------------------------------------------------------------------

// The texts of a workspace are in code page 1252.
std::string utf8(const char* text) {
    return text ? UTF8::ToUnicode(text).GetStr() : "";
}

// The lists of texts of a project, by the names of their fields.
constexpr std::pair<const char*, PolyList * ZEBProject::*> text_lists[] = {
    {"includes", &ZEBProject::includes},        {"pm_files", &ZEBProject::pm_files},
    {"pres_files", &ZEBProject::pres_files},    {"calc_files", &ZEBProject::calc_files},
    {"table_files", &ZEBProject::table_files},  {"var_order_files", &ZEBProject::var_order_files},
    {"fileincludes", &ZEBProject::fileincludes}};

// One line: what is in a row stands behind its name, which is given with the first of them.
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
    PolyHashIter iter;
    void *name, *value;
    phash_iter_init(&iter, defines);
    for (const char* row = "defines"; phash_iter_next(&iter, &name, &value); row = "") {
        const std::string assigned = utf8(static_cast<char*>(value));
        print_row(row, utf8(static_cast<char*>(name)) + (assigned.empty() ? "" : "=" + assigned));
    }
}

void print_options(const PolyHash* options) {
    PolyHashIter iter;
    void *key, *values;
    phash_iter_init(&iter, options);
    for (const char* row = "  options"; phash_iter_next(&iter, &key, &values); row = "") {
        const std::string name = utf8(static_cast<char*>(key));
        const auto* list = static_cast<const PolyList*>(values);
        if (list->len == 0) print_row(row, name);
        for (const char* value : items<char>(list)) {
            print_row(row, name + " " + utf8(value));
            row = "";
        }
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
    PolyHashIter iter;
    void *name, *value;
    phash_iter_init(&iter, table);
    while (phash_iter_next(&iter, &name, &value))
        json.push_back({{"name", utf8(static_cast<char*>(name))},
                        {value_name, to_json(static_cast<const Value*>(value))}});
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

int show(const WorkspaceOptions& options) {
    const auto work = [](Job& job) { job.status = load(job) ? STATUS_SUCCESS : STATUS_FAILURE; };
    const auto print = [](const Job& job) {
        for (const ZEBProject* project : items<ZEBProject>(job.workspace->projects)) {
            if (job.options->format == Format::json)
                std::printf("%s\n", to_json(project).dump().c_str());
            else
                print_project(project);
            if (results_refused()) return;
        }
    };
    return run(options, work, print);
}

// Commands. --------------------------------------------------------------------------------------

// The text without the quotes that the command lines of the tools want: around the whole of it, or
// around the value of a define.
std::string without_quotes(std::string text) {
    if (text.size() < 2 || text.back() != '"') return text;
    const std::size_t opening = text.front() == '"' ? 0 : text.find("=\"") + 1;
    if (opening + 1 >= text.size() || (opening == 0 && text.front() != '"')) return text;
    text.pop_back();
    return text.erase(opening, 1);
}

// An argument as a shell takes it to be this text.
std::string for_shell(const std::string& text) {
    constexpr std::string_view plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
        "_-+=,./:@%^";
    if (!text.empty() && text.find_first_not_of(plain) == std::string::npos) return text;
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

void print_command(char* const* argv, Format format) {
    if (format == Format::json) {
        Json json = argv ? Json::array() : Json();
        for (; argv && *argv; ++argv)
            json.push_back(to_utf8(*argv));
        std::printf("%s\n", json.dump().c_str());
        return;
    }
    for (const char* blank = ""; argv && *argv; ++argv, blank = " ")
        std::printf("%s%s", blank, for_shell(without_quotes(to_utf8(*argv))).c_str());
    std::printf("\n");
}

ZEBCommandType type_of(const std::string& name) {
    unsigned type = 0;
    while (name != command_types[type])
        ++type;
    return static_cast<ZEBCommandType>(type);
}

int commands(const WorkspaceOptions& options) {
    const ZEBCommandType type = type_of(options.type);
    if ((type == ZEB_CMD_PPL || type == ZEB_CMD_OPTIMIZE) && options.extra_arg.empty()) {
        std::fprintf(stderr, "norvane-pm: %s needs --arg\n", options.type.c_str());
        return STATUS_WRONG_USAGE;
    }
    if (type == ZEB_CMD_OPTIMIZE && options.order_type.empty()) {
        std::fprintf(stderr, "norvane-pm: optimize needs --order\n");
        return STATUS_WRONG_USAGE;
    }
    settings_set_bin_folder(null_if_empty(options.bin_folder));
    const auto work = [](Job& job) {
        if (!load(job)) return;
        const WorkspaceOptions& o = *job.options;
        job.commands = zeb_workspace_get_cmd(
            job.workspace, job.project, type_of(o.type), null_if_empty(o.extra_arg),
            null_if_empty(o.order_type), null_if_empty(o.extra_arg2), o.statistics);
        // A project that cannot be deployed has said so, and has an empty list.
        if (job.commands && job.commands->len > 0) job.status = STATUS_SUCCESS;
    };
    const auto print = [](const Job& job) {
        for (char* const* argv : items<char*>(job.commands))
            print_command(argv, job.options->format);
    };
    return run(options, work, print);
}

// Packages. --------------------------------------------------------------------------------------

// What the library does not say of a package that was not made.
void say_what_is_missing(Job& job, const std::string& folder) {
    if (job.status == STATUS_SUCCESS || job.diagnostics->has_reported()) return;
    job.diagnostics->say("no package was made: " + folder + "/" + job.options->project +
                         ".mu is not there or cannot be read");
}

int package_of_project(const WorkspaceOptions& options) {
    return run(options, [](Job& job) {
        if (!load(job)) return;
        ZEBProject* project = zeb_workspace_get_project(job.workspace, job.project);
        if (!project) return report_error(ERR_ZEB_PROJECT_NOT_FOUND(job.project));
        job.status =
            zeb_project_make_mub(project, null_if_empty(job.options->type), job.options->debug);
        say_what_is_missing(job, ".");
    });
}

int package_make(const WorkspaceOptions& options) {
    return run(options, [](Job& job) {
        const WorkspaceOptions& o = *job.options;
        job.status = zeb_make_mub(job.project, o.output_folder.c_str(), o.build_folder.c_str(),
                                  o.debug, null_if_empty(o.type));
        say_what_is_missing(job, o.build_folder);
    });
}

// False if the member cannot be read to its end.
bool measure(CFilePtr& member, std::size_t& size) {
    static char buffer[1 << 16];
    size = 0;
    while (const std::size_t got = member->read(buffer, 1, sizeof buffer))
        size += got;
    return member->eof();
}

// False after saying that it cannot be read.
bool list_member(CFilePackage& package, std::size_t index, Diagnostics& diagnostics) {
    const String name = package.memberName(index);
    CFilePtr member = package.open(name, NorvaneCpp::FILE_OPEN_READ);
    std::size_t size = 0;
    if (!member.isOpen() || !measure(member, size)) {
        diagnostics.say("the member " + utf8(name.GetStr()) +
                        " cannot be read: it is damaged, or its name leaves its folder");
        return false;
    }
    if (diagnostics.format() == Format::json)
        std::printf("%s\n", Json({{"member", utf8(name.GetStr())}, {"size", size}}).dump().c_str());
    else
        std::printf("%10zu  %s\n", size, for_terminal(utf8(name.GetStr())).c_str());
    return true;
}

int package_list(const WorkspaceOptions& options) {
    return run(options, [](Job& job) {
        const char* file = job.options->file.c_str();
        job.package = new CFilePackage;
        if (!job.package->openPackage(file, "")) return report_error(ERR_FILE_OPEN(file));
        const std::size_t count = job.package->memberCount();
        job.status = STATUS_SUCCESS;
        for (std::size_t i = 0; i < count && !results_refused(); ++i)
            if (!list_member(*job.package, i, *job.diagnostics)) job.status = STATUS_FAILURE;
    });
}

// The command line. ------------------------------------------------------------------------------

using Options = std::shared_ptr<WorkspaceOptions>;

CLI::App& add_group(CLI::App& app, const char* name, const char* help) {
    CLI::App& group = *app.add_subcommand(name, help);
    group.require_subcommand(1);
    return group;
}

CLI::App& add_command(CLI::App& group, const Options& options, std::function<int()>& action,
                      int (*command)(const WorkspaceOptions&), const char* name, const char* help) {
    CLI::App& sub = *group.add_subcommand(name, help);
    sub.callback([options, command, &action] { action = [=] { return command(*options); }; });
    sub.add_option_function<std::string>(
           "--format",
           [options](const std::string& text) {
               options->format = text == "json" ? Format::json : Format::text;
           },
           "The form of results and reports: text (the default), or json, one value a line")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"text", "json"}));
    return sub;
}

void add_argument(CLI::App& command, const char* name, std::string& value, const char* help) {
    command.add_option(name, value, help)->required()->type_name("");
}

CLI::Option* add_text(CLI::App& command, const char* name, const char* value_name,
                      std::string& value, const char* help) {
    return command.add_option(name, value, help)->type_name(value_name);
}

void add_package_options(CLI::App& command, WorkspaceOptions& options) {
    command.add_flag("--debug", options.debug, "Take the model's sources too, where they are");
    add_text(command, "--type", "TYPE", options.type, "The type of the model (StandardMu)");
}

void add_workspace_group(CLI::App& app, const Options& options, std::function<int()>& action) {
    CLI::App& group = add_group(app, "workspace", "The projects of a workspace");
    const auto add = [&](int (*command)(const WorkspaceOptions&), const char* name,
                         const char* help) -> CLI::App& {
        CLI::App& sub = add_command(group, options, action, command, name, help);
        add_argument(sub, "FILE", options->file, "The workspace");
        return sub;
    };
    add(show, "show", "Print what a workspace holds");

    CLI::App& list = add(commands, "commands",
                         "Print the command lines of a project's tools, to be run in order in the "
                         "current folder: for a shell, or as arrays of arguments");
    add_argument(list, "PROJECT", options->project, "The name of the project");
    list.add_option("TYPE", options->type, "What is to be done")
        ->required()
        ->type_name("")
        ->check(CLI::IsMember(
            std::vector<std::string>(std::begin(command_types), std::end(command_types))));
    add_text(list, "--arg", "TEXT", options->extra_arg,
             "The argument of ppl, and the output of optimize");
    add_text(list, "--order", "TEXT", options->order_type, "The order that optimize is to make");
    add_text(list, "--arg2", "TEXT", options->extra_arg2, "A further argument of optimize");
    list.add_flag("--mu-compile-stats", options->statistics, "Ask the compiler for statistics");
    add_text(list, "--bin-dir", "DIR", options->bin_folder, "The folder of the tools");

    CLI::App& pack = add(package_of_project, "package",
                         "Make the package of a project, from and in the current folder");
    add_argument(pack, "PROJECT", options->project, "The name of the project");
    add_package_options(pack, *options);
}

void add_package_group(CLI::App& app, const Options& options, std::function<int()>& action) {
    CLI::App& group = add_group(app, "package", "Packages of compiled models");
    CLI::App& list = add_command(group, options, action, package_list, "list",
                                 "List the members of a package, each behind its size");
    add_argument(list, "FILE", options->file, "The package");

    CLI::App& make = add_command(group, options, action, package_make, "make",
                                 "Make the package of a model from what is in a build folder");
    add_argument(make, "MODEL", options->project, "The name of the model and of its files");
    add_text(make, "--build-dir", "DIR", options->build_folder, "The build folder (.)");
    add_text(make, "--output-dir", "DIR", options->output_folder, "Where the package goes (.)");
    add_package_options(make, *options);
}

} // namespace

void add_workspace_commands(CLI::App& app, std::function<int()>& action) {
    const auto options = std::make_shared<WorkspaceOptions>();
    add_workspace_group(app, options, action);
    add_package_group(app, options, action);
}

} // namespace norvane::pm
