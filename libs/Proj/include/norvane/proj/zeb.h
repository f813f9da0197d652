/* Workspaces: the projects of a modeller, each with its files and the targets of its tools.
 *
 * A workspace is a plain tree of records that holds names, options and commands. These functions
 * read and write it as a file, build the command lines of the tools, and put the files that the
 * tools have left in a directory into a package. They never load a model and never run a tool.
 *
 * Texts are in code page 1252 and are copied, except where noted. Results of type int are 0 for
 * success and -1 for failure, except where noted. Null arguments and values outside their
 * enumeration are broken invariants (except.h), thrown with the parameter's name as the text,
 * except where noted. */
#ifndef NORVANE_PROJ_ZEB_H
#define NORVANE_PROJ_ZEB_H

#include <stdbool.h>
#include <stdio.h>

#include "norvane/base/hash.h"
#include "norvane/base/list.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* The options and the extra commands of one tool. */
typedef struct ZEBTarget {
    char* name;         /* owned, never null */
    int timeout;        /* -1 for none; stored for the tools, without effect on these functions */
    PolyHash* options;  /* owned; maps an option as the tool reads it, such as "-vof", to an owned
                           PolyList of its values (char*), which is empty for a switch */
    PolyList* precmds;  /* owned; char*, command lines to run before the tool */
    PolyList* postcmds; /* owned; char*, command lines to run after the tool */
} ZEBTarget;

/* The files of one product, and the targets of the tools that work on it. */
typedef struct ZEBProject {
    char* name;                /* owned, never null */
    char* main_file;           /* owned; the product model; may be null */
    char* virtual_table;       /* owned; the compiled table; may be null */
    PolyHash* defines;         /* owned; maps names to values (char*) and holds copies of both; a
                                  define without a value has the empty text */
    PolyList* includes;        /* owned, as are the lists below; char*, include directories */
    PolyList* pm_files;        /* char*; ZEB_FILE_PM */
    PolyList* pres_files;      /* char*; ZEB_FILE_PRES */
    PolyList* calc_files;      /* char*; ZEB_FILE_CALC */
    PolyList* table_files;     /* char*; ZEB_FILE_TABLE */
    PolyList* var_order_files; /* char*; ZEB_FILE_VAR_ORDER */
    PolyList* targets;         /* ZEBTarget */
    PolyList* fileincludes; /* char*, extra files of the package, filled by loading; not freed with
                               the project: to free the list, delete it before the project */
} ZEBProject;

/* A list of projects. */
typedef struct ZEBWorkspace {
    char* filename;     /* owned; the file it was loaded from; null for a new workspace */
    PolyList* projects; /* owned; ZEBProject, in order of insertion */
} ZEBWorkspace;

/* The kinds of files that a project lists. */
typedef enum ZEBFileType {
    ZEB_FILE_PM = 0,
    ZEB_FILE_PRES = 1,
    ZEB_FILE_VAR_ORDER = 2,
    ZEB_FILE_CALC = 3,
    ZEB_FILE_TABLE = 4
} ZEBFileType;

/* What a tool is to do with a project. */
typedef enum ZEBCommandType {
    ZEB_CMD_CHECK = 0,
    ZEB_CMD_BUILD = 1,
    ZEB_CMD_VIEW = 2,
    ZEB_CMD_DEPLOY = 3,
    ZEB_CMD_PPL = 4,
    ZEB_CMD_OPTIMIZE = 5,
    ZEB_CMD_ERP_RELAY = 6
} ZEBCommandType;

/* Targets. */

/* A new target without timeout, options and commands. The caller owns it until a project takes it
 * over, and frees it with zeb_target_delete. */
NORVANE_PROJ_API ZEBTarget* zeb_target_new(const char* name);
NORVANE_PROJ_API void zeb_target_delete(ZEBTarget* target);

/* Adds a value to an option, which is created if the target does not have it. Equal values are all
 * kept. A null or empty value creates the option without adding a value. */
NORVANE_PROJ_API void zeb_target_add_option(ZEBTarget* target, const char* key, const char* value);

/* Replaces all values of an option, which is created if the target does not have it. A null or
 * empty value makes it a switch. */
NORVANE_PROJ_API void zeb_target_set_option(ZEBTarget* target, const char* key, const char* value);

/* The option's list of values (borrowed), or null if there is no such option. */
NORVANE_PROJ_API PolyList* zeb_target_get_options(ZEBTarget* target, const char* key);

/* The option's value (borrowed); null unless there is exactly one. */
NORVANE_PROJ_API const char* zeb_target_get_option(ZEBTarget* target, const char* key);

/* 1 if the target has the option, with values or as a switch; else 0. */
NORVANE_PROJ_API int zeb_target_has_option(ZEBTarget* target, const char* key);

/* Append a command line. An empty one is ignored. */
NORVANE_PROJ_API void zeb_target_add_precmd(ZEBTarget* target, const char* command);
NORVANE_PROJ_API void zeb_target_add_postcmd(ZEBTarget* target, const char* command);

/* Removes all options and commands, and keeps the name and the timeout. */
NORVANE_PROJ_API void zeb_target_delete_all(ZEBTarget* target);

/* A new target with copies of all fields, owned by the caller. */
NORVANE_PROJ_API ZEBTarget* zeb_target_copy(ZEBTarget* target);

/* Projects. */

/* A new project without files. The caller owns it until a workspace does, and frees it with
 * zeb_project_delete, which does not free the list `fileincludes`. */
NORVANE_PROJ_API ZEBProject* zeb_project_new(const char* name);
NORVANE_PROJ_API void zeb_project_delete(ZEBProject* project);

/* Replace the text. It cannot be set back to null. */
NORVANE_PROJ_API void zeb_project_set_name(ZEBProject* project, const char* name);
NORVANE_PROJ_API void zeb_project_set_main_file(ZEBProject* project, const char* main_file);
NORVANE_PROJ_API void zeb_project_set_virtual_table(ZEBProject* project, const char* virtual_table);

/* Appends a directory: 0, or -1 if the list has it already. */
NORVANE_PROJ_API int zeb_project_add_include(ZEBProject* project, const char* folder);
/* Removes a directory, the last of equal ones: 0, or -1 if the list does not have it. */
NORVANE_PROJ_API int zeb_project_remove_include(ZEBProject* project, const char* folder);
NORVANE_PROJ_API void zeb_project_includes_clear(ZEBProject* project);

/* Adds a define: 0, or -1 if the name is defined already; it keeps its value then. */
NORVANE_PROJ_API int zeb_project_add_define(ZEBProject* project, const char* name,
                                            const char* value);
/* Removes a define: 0, or -1 if there is none of that name. */
NORVANE_PROJ_API int zeb_project_remove_define(ZEBProject* project, const char* name);
NORVANE_PROJ_API void zeb_project_defines_clear(ZEBProject* project);

/* The list of the files of a type (borrowed). */
NORVANE_PROJ_API PolyList* zeb_project_get_list(ZEBProject* project, ZEBFileType type);
/* The same as for include directories, on the list of the type. */
NORVANE_PROJ_API int zeb_project_add_file(ZEBProject* project, const char* file, ZEBFileType type);
NORVANE_PROJ_API int zeb_project_remove_file(ZEBProject* project, const char* file,
                                             ZEBFileType type);

/* Takes over a target, whose name must not be empty, and returns 0. If the project has a target of
 * that name: -1 after reporting ERR_ZEB_TARGET_EXISTS, and the caller keeps the target. */
NORVANE_PROJ_API int zeb_project_add_target(ZEBProject* project, ZEBTarget* target);

/* The first target of a name (borrowed, never null). If there is none, an empty target is added to
 * the project, which is then saved with the workspace. Asserts "str_is_set(target->name)" for an
 * empty name that no target has. */
NORVANE_PROJ_API ZEBTarget* zeb_project_get_target(ZEBProject* project, const char* name);

/* A new project of the same name with copies of the fields, owned by the caller. It has no
 * calculation files, no table files and no `fileincludes`, which belong to the original alone. */
NORVANE_PROJ_API ZEBProject* zeb_project_copy(ZEBProject* project);

/* Workspaces. */

/* A new empty workspace, freed with zeb_workspace_delete. */
NORVANE_PROJ_API ZEBWorkspace* zeb_workspace_new(void);
NORVANE_PROJ_API void zeb_workspace_delete(ZEBWorkspace* workspace);

/* A new list of copies of the projects' names, in order; the caller frees it with plist_delete. */
NORVANE_PROJ_API PolyList* zeb_workspace_proj_names(ZEBWorkspace* workspace);

/* The first project of a name (borrowed), or null. */
NORVANE_PROJ_API ZEBProject* zeb_workspace_get_project(ZEBWorkspace* workspace, const char* name);

/* Appends a new project, which the workspace owns; null after reporting ERR_ZEB_PROJECT_EXISTS if
 * the name is taken. */
NORVANE_PROJ_API ZEBProject* zeb_workspace_new_project(ZEBWorkspace* workspace, const char* name);

/* The same with a copy (zeb_project_copy) of a project, which may be of another workspace. */
NORVANE_PROJ_API ZEBProject* zeb_workspace_copy_project(ZEBWorkspace* workspace,
                                                        ZEBProject* project, const char* new_name);

/* Deletes the first project of a name: 0, or -1 if there is none. */
NORVANE_PROJ_API int zeb_workspace_remove_project(ZEBWorkspace* workspace, const char* name);

/* Files. */

/* Write the workspace to an open stream, which stays open, or to a file: 0, or -1 after reporting
 * ERR_FILE_OPEN. If the file cannot be written to its end, zeb_workspace_save throws an assertion
 * with the text "Could not close file '%s'"; the caller of zeb_workspace_save_fptr checks the
 * stream (ferror). A null name or value among the defines is a broken invariant. The file is closed
 * whatever is thrown. */
NORVANE_PROJ_API int zeb_workspace_save_fptr(ZEBWorkspace* workspace, FILE* stream);
NORVANE_PROJ_API int zeb_workspace_save(ZEBWorkspace* workspace, const char* filename);

/* Reads a file: a new workspace, which the caller frees with zeb_workspace_delete, or null after
 * reporting ERR_FILE_OPEN, ERR_XML_MALFORMED or ERR_XML_PARSER. Projects, targets and files of
 * equal names are all kept; the last of equal defines of a project wins. */
NORVANE_PROJ_API ZEBWorkspace* zeb_workspace_load(const char* filename);

/* Command lines. */

/* Checks that the files which a command needs exist: 0, or -1 after reporting ERR_ZEB_NO_MAIN_FILE,
 * ERR_ZEB_NO_MU_FILE, or ERR_FILE_NOT_EXISTS for the first missing file. Adds the target "compile"
 * as zeb_project_get_target does. */
NORVANE_PROJ_API int zeb_project_check(ZEBProject* project, ZEBCommandType type);

/* The commands of a project, to be run in order: a new list, which the caller frees with
 * plist_delete, including its commands. A command is a char**, an array of texts that ends with a
 * null; its first text is the program. A command line of blanks is a null element. Temporary files
 * are named in the commands and not created; a later command of the list deletes them.
 *
 * The texts are those of a command line: an argument that has to be read in quotes contains them,
 * as in `"my model.pm"` or `SIZE="10"`, without any escapes. To start a program with an array of
 * arguments (execv, posix_spawn), remove each double quote from each text: that gives the arguments
 * as the program receives them.
 *
 * `extra_arg` is required for ZEB_CMD_PPL and ZEB_CMD_OPTIMIZE, and `order_type` for
 * ZEB_CMD_OPTIMIZE, which also reads `extra_arg2`, which may be null. ZEB_CMD_CHECK, ZEB_CMD_BUILD
 * and ZEB_CMD_PPL ask for statistics if `mu_compile_stats` is non-zero, and require a workspace
 * that was loaded from a file. Arguments that a type does not read may be null.
 *
 * Null after reporting ERR_ZEB_PROJECT_NOT_FOUND or what zeb_project_check reports, and, without a
 * report, if no unused name for a temporary file was found. A project without a command for
 * ZEB_CMD_DEPLOY gives an empty list after reporting ERR_ZEB_DEPLOY_CMD. */
NORVANE_PROJ_API PolyList* zeb_workspace_get_cmd(ZEBWorkspace* workspace, const char* project_name,
                                                 ZEBCommandType type, const char* extra_arg,
                                                 const char* order_type, const char* extra_arg2,
                                                 int mu_compile_stats);

/* Packages. */

/* Makes the package "OUTPUT_FOLDER\NAME.mub" of a model from the files of a build directory: an
 * index, "NAME.mu", which must exist, and "NAME.clx" and "NAME.tbl" if they exist; with `debug`
 * also "NAME.pm", "NAME.vof", "NAME.zeb" and "NAME.prs" if they exist. A null `model_type` stands
 * for "StandardMu".
 *
 * The names of members are formed from the texts as they are: neither that `model_name` is a plain
 * file name is checked, nor that the entries of `fileincludes` (below) stay within the build
 * directory. A name with "/", "\" or ".." gives a member, or a package, elsewhere; readers refuse
 * members whose names are absolute or lead out of the package. Callers that take names from others
 * check them first.
 *
 * Returns 0, or -1: after reporting ERR_ZEB_MUB_READ_ONLY, with the file unchanged; after reporting
 * ERR_ZEB_MUB_FAILED_TO_CREATE; or, without a report and with the package file deleted, if
 * "NAME.mu" cannot be imported. */
NORVANE_PROJ_API int zeb_make_mub(const char* model_name, const char* output_folder,
                                  const char* build_folder, bool debug, const char* model_type);

/* The same for a project under its name, from and to the current directory. The files of
 * `fileincludes` that exist come after the first three. `model_type` and `debug` are in the
 * opposite order. */
NORVANE_PROJ_API int zeb_project_make_mub(ZEBProject* project, const char* model_type, bool debug);

NORVANE_END_DECLS

#endif
