// The command lines of the toolchain's tools: built here, run by callers.
//
// An argument is one text. Where the tool's own command line needs quotes, they are part of the
// text; nothing in it is escaped, because the tools know no escape.

#include <cstdlib>
#include <cstring>

#include "norvane/base/except.h"
#include "norvane/base/memory.h"
#include "norvane/base/os.h"
#include "norvane/base/settings.h"
#include "norvane/base/strings.h"
#include "norvane/base/util.h"
#include "norvane/proj/proj_errors.h"
#include "norvane/proj/zeb.h"
#include "poly_adaptors.h"
#include "report.h"
#include "zeb_internal.h"

namespace norvane {

namespace {

struct Tool {
    const char* name;           // null: the commands name their own programs
    const char* first_argument; // null: none
};

// By ZEBCommandType.
constexpr Tool tools[] = {{"kelc", "-c"},        {"kelc", nullptr}, {"kelscope", nullptr},
                          {nullptr, nullptr},    {"kelc", "-ppl"},  {"keltrim", "-q"},
                          {"erp_relay", nullptr}};

struct Order {
    const ZEBWorkspace* workspace;
    ZEBProject* project;
    ZEBCommandType type;
    const char* extra_arg;
    const char* order_type;
    const char* extra_arg2;
    int mu_compile_stats;
    PolyList* args;     // owned; of the tool's own command
    PolyList* commands; // owned; the result
};

void zeb_argv_delete(char** argv) {
    // A command of blanks has no array.
    if (!argv) return;
    for (char** text = argv; *text; ++text)
        str_delete(*text);
    std::free(argv);
}

// A new array of copies, with a null behind them; null for an empty list.
char** zeb_argv_from_list(const PolyList* list) {
    if (list->len == 0) return nullptr;
    auto** argv =
        static_cast<char**>(util_malloc_throw((list->len + std::size_t{1}) * sizeof(char*)));
    char** end = argv;
    for (const char* text : items<char>(list))
        *end++ = str_copy(text);
    *end = nullptr;
    return argv;
}

// A new text.
char* zeb_quote(const char* text) {
    NORVANE_ASSERT(text);
    NorvaneCpp::String quoted;
    quoted.printf("\"%s\"", text);
    return str_copy(quoted.GetStr());
}

bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The end of the token that begins here: behind the second quote of a quoted one, at a blank for
// all others, in which quotes mean nothing.
const char* token_end(const char* token) {
    if (*token == '"') {
        const char* closing = std::strchr(token + 1, '"');
        return closing ? closing + 1 : token + std::strlen(token);
    }
    while (*token && !is_blank(*token))
        ++token;
    return token;
}

// A new list of the tokens of a command line, quotes and all.
PolyList* zeb_split_command(const char* command) {
    PolyList* tokens = zeb_new_text_list();
    for (;;) {
        while (is_blank(*command))
            ++command;
        if (!*command) return tokens;
        const char* end = token_end(command);
        const NorvaneCpp::String token(command, static_cast<std::size_t>(end - command));
        zeb_append(tokens, token.GetStr());
        command = end;
    }
}

// Arguments. -------------------------------------------------------------------------------------

void add_quoted(PolyList* args, const char* text) {
    char* quoted = zeb_quote(text);
    zeb_append(args, quoted);
    str_delete(quoted);
}

// For each text the option, and the text in quotes.
void add_quoted_each(PolyList* args, const char* option, const PolyList* texts) {
    for (const char* text : items<char>(texts)) {
        zeb_append(args, option);
        add_quoted(args, text);
    }
}

void add_defines(PolyList* args, const PolyHash* defines) {
    PolyHashIter iter;
    void* name;
    void* value;
    phash_iter_init(&iter, defines);
    while (phash_iter_next(&iter, &name, &value)) {
        zeb_append(args, "-D");
        NorvaneCpp::String define(static_cast<char*>(name));
        if (str_is_set(static_cast<char*>(value)))
            define.printf("%s=\"%s\"", static_cast<char*>(name), static_cast<char*>(value));
        zeb_append(args, define.GetStr());
    }
}

void zeb_options_to_args(PolyList* args, const PolyHash* options) {
    PolyHashIter iter;
    void* key;
    void* values;
    phash_iter_init(&iter, options);
    while (phash_iter_next(&iter, &key, &values)) {
        const auto* option = static_cast<const char*>(key);
        const auto* list = static_cast<const PolyList*>(values);
        // The tools take the value of every other option as it stands.
        const bool is_quoted = str_is_equal(option, "-vof");
        if (list->len == 0) zeb_append(args, option);
        for (const char* value : items<char>(list)) {
            zeb_append(args, option);
            if (!str_is_set(value)) continue;
            if (is_quoted)
                add_quoted(args, value);
            else
                zeb_append(args, value);
        }
    }
}

// Commands. --------------------------------------------------------------------------------------

void add_command(PolyList* commands, const PolyList* args) {
    plist_append(commands, zeb_argv_from_list(args));
}

void add_command(PolyList* commands, std::initializer_list<const char*> args) {
    PolyList* list = zeb_new_text_list();
    for (const char* argument : args)
        zeb_append(list, argument);
    add_command(commands, list);
    plist_delete(list);
}

// Each line becomes a command.
void add_command_lines(PolyList* commands, const PolyList* lines) {
    for (const char* line : items<char>(lines)) {
        PolyList* tokens = zeb_split_command(line);
        add_command(commands, tokens);
        plist_delete(tokens);
    }
}

// The calculation files, by what has to happen to them. Owned lists of texts.
struct Calculations {
    PolyList* ready; // as the compiler takes them: the ready files, then the temporary ones
    PolyList* sources;
    PolyList* temporaries; // one for each source
};

// False if no name for a temporary file is to be had.
bool sort_calculations(Calculations& calculations, const PolyList* files) {
    for (const char* file : items<char>(files)) {
        const bool is_ready = util_get_filetype(file) == FILETYPE_CLX;
        zeb_append(is_ready ? calculations.ready : calculations.sources, file);
    }
    for (unsigned left = calculations.sources->len; left > 0; --left) {
        char* temporary = util_temp_filename(".clx");
        if (!temporary) return false;
        zeb_append(calculations.temporaries, temporary);
        str_delete(temporary);
    }
    plist_concat(calculations.ready, calculations.temporaries);
    return true;
}

void add_conversions(PolyList* commands, const Calculations& calculations) {
    const PolyListNode* temporary = calculations.temporaries->first;
    for (const char* source : items<char>(calculations.sources)) {
        add_command(commands, {settings_get_full_bin_path("kelcalc"), "-o",
                               static_cast<const char*>(temporary->element), source});
        temporary = temporary->next;
    }
}

void add_clean_up(PolyList* commands, const PolyList* temporaries) {
    for (const char* temporary : items<char>(temporaries)) {
        NorvaneCpp::String deletion;
        deletion.printf("del /F %s", temporary);
        add_command(commands, {"cmd", "/c", deletion.GetStr()});
    }
}

void add_compiler_args(const Order& order, const PolyList* calculations) {
    const ZEBProject* project = order.project;
    PolyList* args = order.args;
    if (order.type == ZEB_CMD_PPL) zeb_append(args, order.extra_arg);
    if (order.mu_compile_stats != 0) zeb_append(args, "-mu_compile_stats");
    // From there the compiler reads the options of its target by itself.
    zeb_append(args, "-options_from_zeb_file");
    add_quoted(args, order.workspace->filename);
    zeb_append(args, "-options_from_zeb_project");
    add_quoted(args, project->name);
    add_quoted_each(args, "-I", project->includes);
    add_defines(args, project->defines);
    add_quoted_each(args, "-prs", project->pres_files);
    add_quoted_each(args, "-clc", calculations);
    if (order.type == ZEB_CMD_BUILD && str_is_set(project->virtual_table)) {
        zeb_append(args, "-o");
        zeb_append(args, project->virtual_table);
    }
    add_quoted(args, project->main_file);
}

bool compile(const Order& order) {
    Calculations calculations{zeb_new_text_list(), zeb_new_text_list(), zeb_new_text_list()};
    const bool succeeded = sort_calculations(calculations, order.project->calc_files);
    if (succeeded) {
        add_compiler_args(order, calculations.ready);
        add_conversions(order.commands, calculations);
        add_command(order.commands, order.args);
        add_clean_up(order.commands, calculations.temporaries);
    }
    plist_delete(calculations.ready);
    plist_delete(calculations.sources);
    plist_delete(calculations.temporaries);
    return succeeded;
}

bool optimize(const Order& order) {
    PolyList* args = order.args;
    zeb_append(args, "-o");
    zeb_append(args, order.extra_arg);
    zeb_append(args, order.order_type);
    if (order.extra_arg2) zeb_append(args, order.extra_arg2);
    add_quoted_each(args, "-I", order.project->includes);
    add_defines(args, order.project->defines);
    add_quoted(args, order.project->main_file);
    add_command(order.commands, args);
    return true;
}

bool view(const Order& order) {
    ZEBProject* project = order.project;
    zeb_options_to_args(order.args, zeb_project_get_target(project, "view")->options);
    if (str_is_set(project->virtual_table)) {
        add_quoted(order.args, project->virtual_table);
    } else {
        char* stem = util_strip_file_extension(project->main_file);
        NorvaneCpp::String table;
        table.printf("%s.%s", stem, "mu");
        str_delete(stem);
        add_quoted(order.args, table.GetStr());
    }
    add_command(order.commands, order.args);
    return true;
}

bool deploy(const Order& order) {
    ZEBTarget* target = zeb_project_get_target(order.project, "deploy");
    const PolyList* lines = zeb_target_get_options(target, "-cmd");
    if (lines) add_command_lines(order.commands, lines);
    if (order.commands->len == 0) report_error(ERR_ZEB_DEPLOY_CMD(order.project->name));
    return true;
}

bool relay(const Order& order) {
    const ZEBTarget* target = zeb_project_get_target(order.project, "erp_relay");
    zeb_options_to_args(order.args, target->options);
    add_command(order.commands, order.args);
    return true;
}

// What was entered to be run before and after the compiler.
bool with_own_commands(const Order& order, bool (*build)(const Order&)) {
    const ZEBTarget* target = zeb_project_get_target(order.project, "compile");
    add_command_lines(order.commands, target->precmds);
    if (!build(order)) return false;
    if (order.type == ZEB_CMD_BUILD) add_command_lines(order.commands, target->postcmds);
    return true;
}

bool build_commands(const Order& order) {
    switch (order.type) {
    case ZEB_CMD_CHECK:
    case ZEB_CMD_BUILD:
    case ZEB_CMD_PPL: return with_own_commands(order, compile);
    case ZEB_CMD_OPTIMIZE: return with_own_commands(order, optimize);
    case ZEB_CMD_VIEW: return view(order);
    case ZEB_CMD_DEPLOY: return deploy(order);
    case ZEB_CMD_ERP_RELAY: return relay(order);
    }
    return false;
}

bool is_for_compiler(ZEBCommandType type) {
    return type == ZEB_CMD_CHECK || type == ZEB_CMD_BUILD || type == ZEB_CMD_PPL;
}

// Before there is anything that a throw could lose.
void assert_arguments(const Order& order) {
    const auto& [workspace, project, type, extra_arg, order_type, extra_arg2, stats, args,
                 commands] = order;
    NORVANE_ASSERT(project->name);
    if (is_for_compiler(type)) NORVANE_ASSERT(workspace->filename);
    if (type == ZEB_CMD_PPL || type == ZEB_CMD_OPTIMIZE) NORVANE_ASSERT(extra_arg);
    if (type == ZEB_CMD_OPTIMIZE) NORVANE_ASSERT(order_type);
}

// Checks. ----------------------------------------------------------------------------------------

int check_file(const char* file) {
    if (os_file_exists(file)) return STATUS_SUCCESS;
    report_error(ERR_FILE_NOT_EXISTS(file));
    return STATUS_FAILURE;
}

int check_files(const PolyList* files) {
    for (const char* file : items<char>(files))
        if (check_file(file) != STATUS_SUCCESS) return STATUS_FAILURE;
    return STATUS_SUCCESS;
}

int check_main_file(const ZEBProject* project) {
    if (str_is_set(project->main_file)) return STATUS_SUCCESS;
    report_error(ERR_ZEB_NO_MAIN_FILE());
    return STATUS_FAILURE;
}

int check_for_compiler(ZEBProject* project) {
    for (const PolyList* files : {project->pm_files, project->pres_files, project->calc_files})
        if (check_files(files) != STATUS_SUCCESS) return STATUS_FAILURE;
    ZEBTarget* target = zeb_project_get_target(project, "compile");
    const char* var_order = zeb_target_get_option(target, "-vof");
    return var_order ? check_file(var_order) : STATUS_SUCCESS;
}

int check_for_viewer(const ZEBProject* project) {
    if (str_is_set(project->virtual_table) || str_is_set(project->main_file)) return STATUS_SUCCESS;
    report_error(ERR_ZEB_NO_MU_FILE());
    return STATUS_FAILURE;
}

} // namespace

} // namespace norvane

using namespace norvane;

int zeb_project_check(ZEBProject* project, ZEBCommandType type) {
    NORVANE_ASSERT(project);
    NORVANE_ASSERT_TEXT(static_cast<unsigned>(type) <= ZEB_CMD_ERP_RELAY, "type");
    if (type == ZEB_CMD_DEPLOY || type == ZEB_CMD_ERP_RELAY) return STATUS_SUCCESS;
    if (type == ZEB_CMD_VIEW) return check_for_viewer(project);
    if (check_main_file(project) != STATUS_SUCCESS) return STATUS_FAILURE;
    return is_for_compiler(type) ? check_for_compiler(project) : check_files(project->pm_files);
}

PolyList* zeb_workspace_get_cmd(ZEBWorkspace* workspace, const char* project_name,
                                ZEBCommandType type, const char* extra_arg, const char* order_type,
                                const char* extra_arg2, int mu_compile_stats) {
    NORVANE_ASSERT(workspace);
    NORVANE_ASSERT(project_name);
    ZEBProject* project = zeb_workspace_get_project(workspace, project_name);
    if (!project) {
        report_error(ERR_ZEB_PROJECT_NOT_FOUND(project_name));
        return nullptr;
    }
    if (zeb_project_check(project, type) != STATUS_SUCCESS) return nullptr;
    Order order{workspace,  project,          type,    extra_arg, order_type,
                extra_arg2, mu_compile_stats, nullptr, nullptr};
    assert_arguments(order);
    order.args = zeb_new_text_list();
    order.commands = plist_new(nullptr, nullptr, poly<zeb_argv_delete>);
    const Tool& tool = tools[type];
    if (tool.name) zeb_append(order.args, settings_get_full_bin_path(tool.name));
    if (tool.first_argument) zeb_append(order.args, tool.first_argument);
    const bool succeeded = build_commands(order);
    plist_delete(order.args);
    if (succeeded) return order.commands;
    plist_delete(order.commands);
    return nullptr;
}
