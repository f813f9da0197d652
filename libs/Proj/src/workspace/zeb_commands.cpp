// Builds the command lines of the tools of the toolchain; callers run them.
//
// An argument that a tool has to read in quotes carries them in its text. The tools know no escape
// characters, so nothing inside the quotes is escaped.

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

namespace norvane::workspace {

namespace {

struct Tool {
    const char* name;           // null where the commands name their programs themselves
    const char* first_argument; // null for none
};

// By ZEBCommandType.
constexpr Tool tools[] = {{"kelc", "-c"},        {"kelc", nullptr}, {"kelscope", nullptr},
                          {nullptr, nullptr},    {"kelc", "-ppl"},  {"keltrim", "-q"},
                          {"erp_relay", nullptr}};

// One call of zeb_workspace_get_cmd.
struct Order {
    const ZEBWorkspace* workspace;
    ZEBProject* project;
    ZEBCommandType type;
    const char* extra_arg;
    const char* order_type;
    const char* extra_arg2;
    int mu_compile_stats;
    PolyList* args;     // owned; the arguments of the tool, so far
    PolyList* commands; // owned; the result, so far
};

void delete_argv(char** argv) {
    // A blank command has no array.
    if (!argv) return;
    for (char** text = argv; *text; ++text)
        str_delete(*text);
    std::free(argv);
}

// A new array of copies that ends with a null; null for an empty list.
char** argv_from_list(const PolyList* list) {
    if (list->len == 0) return nullptr;
    auto** argv =
        static_cast<char**>(util_malloc_throw((list->len + std::size_t{1}) * sizeof(char*)));
    char** end = argv;
    for (const char* text : items<char>(list))
        *end++ = str_copy(text);
    *end = nullptr;
    return argv;
}

bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The end of the token that begins here. A token that begins with a quote ends after the next one;
// every other token ends at a blank, and quotes inside it have no meaning.
const char* token_end(const char* token) {
    if (*token == '"') {
        const char* closing = std::strchr(token + 1, '"');
        return closing ? closing + 1 : token + std::strlen(token);
    }
    while (*token && !is_blank(*token))
        ++token;
    return token;
}

// A new list of the tokens of a command line, including their quotes.
PolyList* split_command(const char* command) {
    PolyList* tokens = new_text_list();
    for (;;) {
        while (is_blank(*command))
            ++command;
        if (!*command) return tokens;
        const char* end = token_end(command);
        const NorvaneCpp::String token(command, static_cast<std::size_t>(end - command));
        append(tokens, token.GetStr());
        command = end;
    }
}

// Arguments.

void add_quoted(PolyList* args, const char* text) {
    NORVANE_ASSERT(text);
    NorvaneCpp::String quoted;
    quoted.printf("\"%s\"", text);
    append(args, quoted.GetStr());
}

// Adds, for each text, the option and the text in quotes.
void add_quoted_each(PolyList* args, const char* option, const PolyList* texts) {
    for (const char* text : items<char>(texts)) {
        append(args, option);
        add_quoted(args, text);
    }
}

void add_defines(PolyList* args, const PolyHash* defines) {
    PolyHashIter iter;
    void* name;
    void* value;
    phash_iter_init(&iter, defines);
    while (phash_iter_next(&iter, &name, &value)) {
        append(args, "-D");
        NorvaneCpp::String define(static_cast<char*>(name));
        if (str_is_set(static_cast<char*>(value)))
            define.printf("%s=\"%s\"", static_cast<char*>(name), static_cast<char*>(value));
        append(args, define.GetStr());
    }
}

void add_options(PolyList* args, const PolyHash* options) {
    PolyHashIter iter;
    void* key;
    void* values;
    phash_iter_init(&iter, options);
    while (phash_iter_next(&iter, &key, &values)) {
        const auto* option = static_cast<const char*>(key);
        const auto* list = static_cast<const PolyList*>(values);
        // The tools read the values of all other options without quotes.
        const bool is_quoted = str_is_equal(option, "-vof");
        if (list->len == 0) append(args, option);
        for (const char* value : items<char>(list)) {
            append(args, option);
            if (!str_is_set(value)) continue;
            if (is_quoted)
                add_quoted(args, value);
            else
                append(args, value);
        }
    }
}

// Commands.

void add_command(PolyList* commands, const PolyList* args) {
    plist_append(commands, argv_from_list(args));
}

void add_command(PolyList* commands, std::initializer_list<const char*> args) {
    PolyList* list = new_text_list();
    for (const char* argument : args)
        append(list, argument);
    add_command(commands, list);
    plist_delete(list);
}

// Each line becomes a command.
void add_command_lines(PolyList* commands, const PolyList* lines) {
    for (const char* line : items<char>(lines)) {
        PolyList* tokens = split_command(line);
        add_command(commands, tokens);
        plist_delete(tokens);
    }
}

// The calculation files of a project. The lists are owned and hold texts.
struct Calculations {
    PolyList* ready;       // what the compiler reads: XML files, then the temporary files
    PolyList* sources;     // what has to be converted to XML first
    PolyList* temporaries; // the results of the conversions, one for each source
};

// False if no unused name for a temporary file was found.
bool sort_calculations(Calculations& calculations, const PolyList* files) {
    for (const char* file : items<char>(files)) {
        const bool is_ready = util_get_filetype(file) == FILETYPE_CLX;
        append(is_ready ? calculations.ready : calculations.sources, file);
    }
    for (unsigned left = calculations.sources->len; left > 0; --left) {
        char* temporary = util_temp_filename(".clx");
        if (!temporary) return false;
        append(calculations.temporaries, temporary);
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
    if (order.type == ZEB_CMD_PPL) append(args, order.extra_arg);
    if (order.mu_compile_stats != 0) append(args, "-mu_compile_stats");
    // The compiler reads the options of its target from the workspace file itself.
    append(args, "-options_from_zeb_file");
    add_quoted(args, order.workspace->filename);
    append(args, "-options_from_zeb_project");
    add_quoted(args, project->name);
    add_quoted_each(args, "-I", project->includes);
    add_defines(args, project->defines);
    add_quoted_each(args, "-prs", project->pres_files);
    add_quoted_each(args, "-clc", calculations);
    if (order.type == ZEB_CMD_BUILD && str_is_set(project->virtual_table)) {
        append(args, "-o");
        append(args, project->virtual_table);
    }
    add_quoted(args, project->main_file);
}

bool compile(const Order& order) {
    Calculations calculations{new_text_list(), new_text_list(), new_text_list()};
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
    append(args, "-o");
    append(args, order.extra_arg);
    append(args, order.order_type);
    if (order.extra_arg2) append(args, order.extra_arg2);
    add_quoted_each(args, "-I", order.project->includes);
    add_defines(args, order.project->defines);
    add_quoted(args, order.project->main_file);
    add_command(order.commands, args);
    return true;
}

bool view(const Order& order) {
    ZEBProject* project = order.project;
    add_options(order.args, zeb_project_get_target(project, "view")->options);
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
    add_options(order.args, target->options);
    add_command(order.commands, order.args);
    return true;
}

// Puts the commands that the modeller entered before and after those of the compiler.
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

// Called before anything is allocated that a throw would leak.
void assert_arguments(const Order& order) {
    const auto& [workspace, project, type, extra_arg, order_type, extra_arg2, stats, args,
                 commands] = order;
    NORVANE_ASSERT(project->name);
    if (is_for_compiler(type)) NORVANE_ASSERT(workspace->filename);
    if (type == ZEB_CMD_PPL || type == ZEB_CMD_OPTIMIZE) NORVANE_ASSERT(extra_arg);
    if (type == ZEB_CMD_OPTIMIZE) NORVANE_ASSERT(order_type);
}

// Checks.

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

} // namespace norvane::workspace

using namespace norvane;
using namespace norvane::workspace;

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
    order.args = new_text_list();
    order.commands = plist_new(nullptr, nullptr, poly<delete_argv>);
    const Tool& tool = tools[type];
    if (tool.name) append(order.args, settings_get_full_bin_path(tool.name));
    if (tool.first_argument) append(order.args, tool.first_argument);
    const bool succeeded = build_commands(order);
    plist_delete(order.args);
    if (succeeded) return order.commands;
    plist_delete(order.commands);
    return nullptr;
}
