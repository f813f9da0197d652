/* Workspaces: the projects of a modeller, each with its files and the targets of its tools.
 *
 * A workspace is a plain tree of records that holds names, options and commands. It never loads a
 * model and never runs a tool: it is stored in a file, turned into the command lines of the tools,
 * and what the tools have left in a folder is put into a package.
 *
 * Texts are in code page 1252 and are copied on their way in, unless told otherwise. Results of
 * type int are 0 for success and -1 for failure, unless told otherwise. Null arguments, and values
 * outside of their enumeration, are broken invariants (except.h) unless told otherwise; they are
 * thrown with the parameter's name as the text. */
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
    int timeout;        /* -1: none; stored for the tools, and of no effect here */
    PolyHash* options;  /* owned; from the option as the tool sees it, such as "-vof", to an owned
                           PolyList of its values (char*), which is empty for a switch */
    PolyList* precmds;  /* owned; char*, whole command lines to be run before the tool */
    PolyList* postcmds; /* owned; char*, whole command lines to be run after it */
} ZEBTarget;

/* The files of one product, and the targets of the tools that work on it. */
typedef struct ZEBProject {
    char* name;                /* owned, never null */
    char* main_file;           /* owned; the product model; may be null */
    char* virtual_table;       /* owned; the compiled table; may be null */
    PolyHash* defines;         /* owned; from name to value (char*), of which it holds copies; a
                                  define without a value has the empty text */
    PolyList* includes;        /* owned, as all of these lists; char*, folders of included files */
    PolyList* pm_files;        /* char*; ZEB_FILE_PM */
    PolyList* pres_files;      /* char*; ZEB_FILE_PRES */
    PolyList* calc_files;      /* char*; ZEB_FILE_CALC */
    PolyList* table_files;     /* char*; ZEB_FILE_TABLE */
    PolyList* var_order_files; /* char*; ZEB_FILE_VAR_ORDER */
    PolyList* targets;         /* ZEBTarget */
    PolyList* fileincludes; /* char*, extra files of the package; filled by loading. Not freed with
                               the project: who wants the memory back deletes the list first. */
} ZEBProject;

/* Projects side by side. */
typedef struct ZEBWorkspace {
    char* filename;     /* owned; the file that it was loaded from; null if it was not */
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

/* What is to be done with a project. */
typedef enum ZEBCommandType {
    ZEB_CMD_CHECK = 0,
    ZEB_CMD_BUILD = 1,
    ZEB_CMD_VIEW = 2,
    ZEB_CMD_DEPLOY = 3,
    ZEB_CMD_PPL = 4,
    ZEB_CMD_OPTIMIZE = 5,
    ZEB_CMD_ERP_RELAY = 6
} ZEBCommandType;

/* Targets. ------------------------------------------------------------------------------------ */

/* A new target without a timeout, options and commands: the caller's, until a project takes it
 * over; freed with zeb_target_delete. */
NORVANE_PROJ_API ZEBTarget* zeb_target_new(const char* name);
NORVANE_PROJ_API void zeb_target_delete(ZEBTarget* target);

/* Adds a value to an option, making the option if need be. Equal values stay side by side. A null
 * or empty value adds none: it makes a switch, or leaves an option as it is. */
NORVANE_PROJ_API void zeb_target_add_option(ZEBTarget* target, const char* key, const char* value);

/* The same, in place of the values that the option has: a null or empty value leaves a switch. */
NORVANE_PROJ_API void zeb_target_set_option(ZEBTarget* target, const char* key, const char* value);

/* The option's list of values (borrowed), or null if there is no such option. */
NORVANE_PROJ_API PolyList* zeb_target_get_options(ZEBTarget* target, const char* key);

/* The option's value (borrowed); null unless there is exactly one. */
NORVANE_PROJ_API const char* zeb_target_get_option(ZEBTarget* target, const char* key);

/* 1 if the option is there, with values or as a switch; else 0. */
NORVANE_PROJ_API int zeb_target_has_option(ZEBTarget* target, const char* key);

/* Append a command; an empty one is dropped. */
NORVANE_PROJ_API void zeb_target_add_precmd(ZEBTarget* target, const char* command);
NORVANE_PROJ_API void zeb_target_add_postcmd(ZEBTarget* target, const char* command);

/* Removes all options and commands; the name and the timeout stay. */
NORVANE_PROJ_API void zeb_target_delete_all(ZEBTarget* target);

/* A new target, equal to this one, that shares nothing with it. */
NORVANE_PROJ_API ZEBTarget* zeb_target_copy(ZEBTarget* target);

/* Projects. ----------------------------------------------------------------------------------- */

/* A new project without files: the caller's, freed with zeb_project_delete, which leaves the list
 * `fileincludes` alone. */
NORVANE_PROJ_API ZEBProject* zeb_project_new(const char* name);
NORVANE_PROJ_API void zeb_project_delete(ZEBProject* project);

/* Replace the text. It cannot be cleared again. */
NORVANE_PROJ_API void zeb_project_set_name(ZEBProject* project, const char* name);
NORVANE_PROJ_API void zeb_project_set_main_file(ZEBProject* project, const char* main_file);
NORVANE_PROJ_API void zeb_project_set_virtual_table(ZEBProject* project, const char* virtual_table);

/* Appends a folder: 0, or -1 if it is there already. */
NORVANE_PROJ_API int zeb_project_add_include(ZEBProject* project, const char* folder);
/* Removes a folder, the last one where equal ones were loaded: 0, or -1 if there is none. */
NORVANE_PROJ_API int zeb_project_remove_include(ZEBProject* project, const char* folder);
NORVANE_PROJ_API void zeb_project_includes_clear(ZEBProject* project);

/* Adds a define: 0, or -1 if the name is defined already, and keeps its value. */
NORVANE_PROJ_API int zeb_project_add_define(ZEBProject* project, const char* name,
                                            const char* value);
/* 0, or -1 if there is no such define. */
NORVANE_PROJ_API int zeb_project_remove_define(ZEBProject* project, const char* name);
NORVANE_PROJ_API void zeb_project_defines_clear(ZEBProject* project);

/* The list of the files of a type (borrowed). */
NORVANE_PROJ_API PolyList* zeb_project_get_list(ZEBProject* project, ZEBFileType type);
/* As with the folders of included files, on the list of the type. */
NORVANE_PROJ_API int zeb_project_add_file(ZEBProject* project, const char* file, ZEBFileType type);
NORVANE_PROJ_API int zeb_project_remove_file(ZEBProject* project, const char* file,
                                             ZEBFileType type);

/* Takes over a target, whose name must not be empty: 0. If there is one of its name, -1 after
 * reporting ERR_ZEB_TARGET_EXISTS, and the target stays the caller's. */
NORVANE_PROJ_API int zeb_project_add_target(ZEBProject* project, ZEBTarget* target);

/* The first target of a name (borrowed). If there is none, a new one is made and added, so that the
 * result is never null, and a workspace that is saved afterwards has that target. A name that is
 * not there must not be empty. */
NORVANE_PROJ_API ZEBTarget* zeb_project_get_target(ZEBProject* project, const char* name);

/* A new project of the same name, that shares nothing with this one. It has no calculation files,
 * no table files and no extra files of the package: those belong to the original alone. */
NORVANE_PROJ_API ZEBProject* zeb_project_copy(ZEBProject* project);

/* Workspaces. --------------------------------------------------------------------------------- */

/* A new empty workspace, freed with zeb_workspace_delete. */
NORVANE_PROJ_API ZEBWorkspace* zeb_workspace_new(void);
NORVANE_PROJ_API void zeb_workspace_delete(ZEBWorkspace* workspace);

/* A new list, the caller's, of copies of the projects' names, in order. */
NORVANE_PROJ_API PolyList* zeb_workspace_proj_names(ZEBWorkspace* workspace);

/* The first project of a name (borrowed), or null. */
NORVANE_PROJ_API ZEBProject* zeb_workspace_get_project(ZEBWorkspace* workspace, const char* name);

/* A new project at the end of the workspace, which owns it; null, after reporting
 * ERR_ZEB_PROJECT_EXISTS, if the name is taken. */
NORVANE_PROJ_API ZEBProject* zeb_workspace_new_project(ZEBWorkspace* workspace, const char* name);

/* The same, as a copy (zeb_project_copy) of a project of this or of another workspace. */
NORVANE_PROJ_API ZEBProject* zeb_workspace_copy_project(ZEBWorkspace* workspace,
                                                        ZEBProject* project, const char* new_name);

/* Deletes the first project of a name: 0, or -1 if there is none. */
NORVANE_PROJ_API int zeb_workspace_remove_project(ZEBWorkspace* workspace, const char* name);

/* Files. -------------------------------------------------------------------------------------- */

/* Write the workspace: to an open stream, which stays open, 0; to a file, 0, or -1 after reporting
 * ERR_FILE_OPEN. What the file does not take is an internal failure, thrown with the text "Could
 * not close file '%s'". A null name or value among the defines is a broken invariant. */
NORVANE_PROJ_API int zeb_workspace_save_fptr(ZEBWorkspace* workspace, FILE* stream);
NORVANE_PROJ_API int zeb_workspace_save(ZEBWorkspace* workspace, const char* filename);

/* Reads a file: a new workspace, the caller's, or null after reporting ERR_FILE_OPEN,
 * ERR_XML_MALFORMED or ERR_XML_PARSER. Projects, targets and files of equal names are all kept; of
 * equal defines of a project the last one counts. */
NORVANE_PROJ_API ZEBWorkspace* zeb_workspace_load(const char* filename);

/* Command lines. ------------------------------------------------------------------------------ */

/* Whether a command can be given: 0, or -1 after reporting ERR_ZEB_NO_MAIN_FILE,
 * ERR_ZEB_NO_MU_FILE, or ERR_FILE_NOT_EXISTS for the first file that is missing. Makes the target
 * "compile" as zeb_project_get_target does. */
NORVANE_PROJ_API int zeb_project_check(ZEBProject* project, ZEBCommandType type);

/* The commands of a project, to be run in order: a new list, the caller's. A command is a char**,
 * an array of texts that ends with a null; its first text is the program. All of it goes with the
 * list. A command that was entered as nothing but blanks is a null element. An argument that needs
 * quotes carries them in its text. What files a command needs for a while is named in it, not made,
 * and deleted by a later command of the list.
 *
 * `extra_arg` is required for ZEB_CMD_PPL and ZEB_CMD_OPTIMIZE, `order_type` for ZEB_CMD_OPTIMIZE;
 * `extra_arg2` is for ZEB_CMD_OPTIMIZE and may be null; `mu_compile_stats`, non-zero to ask for
 * them, is for the types ZEB_CMD_CHECK, ZEB_CMD_BUILD and ZEB_CMD_PPL, which also require a
 * workspace that was loaded from a file. What a type has no use for is ignored, and may be null.
 *
 * Null after reporting ERR_ZEB_PROJECT_NOT_FOUND, or what zeb_project_check reports; and, without a
 * report, if no name for a temporary file is to be had. A project without a command to deploy it
 * gives an empty list after reporting ERR_ZEB_DEPLOY_CMD. */
NORVANE_PROJ_API PolyList* zeb_workspace_get_cmd(ZEBWorkspace* workspace, const char* project_name,
                                                 ZEBCommandType type, const char* extra_arg,
                                                 const char* order_type, const char* extra_arg2,
                                                 int mu_compile_stats);

/* Packages. ----------------------------------------------------------------------------------- */

/* Makes the package "OUTPUT_FOLDER\NAME.mub" of a model from the files of a build folder: the
 * index, "NAME.mu", which must be there, and "NAME.clx" and "NAME.tbl" where they are; with `debug`
 * also "NAME.pm", "NAME.vof", "NAME.zeb" and "NAME.prs" where they are. `model_type` may be null,
 * and is then "StandardMu".
 *
 * Returns 0; -1 after reporting ERR_ZEB_MUB_READ_ONLY, with the file left alone, or
 * ERR_ZEB_MUB_FAILED_TO_CREATE; or -1 without a report, and with the package file deleted, if the
 * file with the extension "mu" cannot be taken. */
NORVANE_PROJ_API int zeb_make_mub(const char* model_name, const char* output_folder,
                                  const char* build_folder, bool debug, const char* model_type);

/* The same for a project, of its name, from and to the current folder; the files of `fileincludes`
 * are taken too, where they are, behind the first three. Mind the order of the arguments. */
NORVANE_PROJ_API int zeb_project_make_mub(ZEBProject* project, const char* model_type, bool debug);

NORVANE_END_DECLS

#endif
