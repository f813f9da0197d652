/* The error catalogue: one builder for each fault that a modeller can cause.
 *
 * A builder returns a new ErrorInfo (diagnostics.h), owned by the caller, who frees it with
 * err_delete, or calls err_set_position on it and passes it to msg_report_error, which takes it
 * over. `name` is the builder's name, `message` the title with the arguments in order, cut at 2047
 * bytes; the description is constant. Builders borrow their arguments, and a null text counts as
 * empty. They do not report, and throw only "Out of memory" (memory.h).
 *
 * `position` is the prefix that proj_line_information writes, or an empty text. `expr_text` is the
 * faulty expression as it is printed, `..._type` the name of a type. Each comment says which
 * function raises the error, as an error unless the comment says that it is a warning. */
#ifndef NORVANE_PROJ_PROJ_ERRORS_H
#define NORVANE_PROJ_PROJ_ERRORS_H

#include "norvane/base/diagnostics.h"
#include "norvane/proj/export.h"

NORVANE_BEGIN_DECLS

/* Redeclaration and reserved names. */

/* `kind`, `other_kind`: what the name is declared as, now and before. By symtbl_insert. */
NORVANE_PROJ_API ErrorInfo* ERR_NAME_REDECLARED(const char* position, const char* kind,
                                                const char* name, const char* other_kind);
/* `kind`: what the name is declared as again. By symtbl_insert. */
NORVANE_PROJ_API ErrorInfo* ERR_NAME_REDECLARED_SCOPE(const char* position, const char* kind,
                                                      const char* name);
/* By symtbl_typecon_for_idcon and symtbl_deftypecon_for_idcon. */
NORVANE_PROJ_API ErrorInfo* ERR_TYPE_AS_VAR(const char* position, const char* type_name);
/* By the check of variables. */
NORVANE_PROJ_API ErrorInfo* ERR_EMPTY_VAR_NAME(const char* position);
/* By the check of labels. */
NORVANE_PROJ_API ErrorInfo* ERR_EMPTY_LABEL_NAME(const char* position);
/* By the check of labels. */
NORVANE_PROJ_API ErrorInfo* ERR_LABEL_RESERVED_WORD(const char* position);
/* By the check of labels. */
NORVANE_PROJ_API ErrorInfo* ERR_NO_LABELS(const char* position);

/* Tokens and the parser. */

/* `token_text`: the digits. By the scanners. */
NORVANE_PROJ_API ErrorInfo* ERR_INVALID_INT(const char* position, const char* token_text);
/* `token_text`: the byte that no token begins with. By the scanners. */
NORVANE_PROJ_API ErrorInfo* ERR_INVALID_TOKEN(const char* position, const char* token_text);
/* `message`: the whole text of the syntax error. By the parsers. */
NORVANE_PROJ_API ErrorInfo* ERR_PARSER(const char* position, const char* message);

/* Grammar productions. */

/* By the parser, between sections. */
NORVANE_PROJ_API ErrorInfo* ERR_GRAM_DECL(const char* position);
/* By the parser, in a constant section. */
NORVANE_PROJ_API ErrorInfo* ERR_GRAM_CONSTANTDEFL(const char* position);
/* By the parser, in a type section. */
NORVANE_PROJ_API ErrorInfo* ERR_GRAM_TYPEDEFL(const char* position);
/* By the parser, in a variable section. */
NORVANE_PROJ_API ErrorInfo* ERR_GRAM_VARIABLEDEFL(const char* position);
/* By the parser, in a rule section. */
NORVANE_PROJ_API ErrorInfo* ERR_GRAM_RULEDEFL(const char* position);
/* By the parser, for a range whose lower bound is not 0. */
NORVANE_PROJ_API ErrorInfo* ERR_GRAM_INT_ZERO(const char* position);
/* By the parser, in a type. */
NORVANE_PROJ_API ErrorInfo* ERR_GRAM_TYPE(const char* position);
/* By the parser, in the fields of a record. */
NORVANE_PROJ_API ErrorInfo* ERR_GRAM_RECFIELDL(const char* position);
/* By the parser, in the rules of a record. */
NORVANE_PROJ_API ErrorInfo* ERR_GRAM_RECRULEL(const char* position);
/* By the parser, in the arms of a case. */
NORVANE_PROJ_API ErrorInfo* ERR_GRAM_CASEDEFL(const char* position);
/* For callers; the library does not raise it. */
NORVANE_PROJ_API ErrorInfo* ERR_GRAM_IDCON(const char* position);
/* A warning, once per file. By the parser. */
NORVANE_PROJ_API ErrorInfo* ERR_GRAM_BAR_DEPRECATED(const char* position);

/* Static values. */

/* `expr_text`: the constant's value. By the check of constants. */
NORVANE_PROJ_API ErrorInfo* ERR_EXPR_NOT_STATIC(const char* position, const char* constant_name,
                                                const char* expr_text);
/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_CONSTANT_EXPR(const char* position, const char* expr_text);
/* By the check of constants. */
NORVANE_PROJ_API ErrorInfo* ERR_CONSTANT_TYPE(const char* position, const char* constant_name);
/* For callers; the library does not raise it. */
NORVANE_PROJ_API ErrorInfo* ERR_DIV_NOT_CONSTANT(const char* position, const char* expr_text);

/* Types of declarations and domains. */

/* `expr_text`: the bound of a range. By the check of types. */
NORVANE_PROJ_API ErrorInfo* ERR_DOMAIN_NOT_STATIC(const char* position, const char* expr_text);
/* `expr_text`: the bound of a range. By the check of types. */
NORVANE_PROJ_API ErrorInfo* ERR_DOMAIN_TYPE(const char* position, const char* expr_text);
/* `expr_text`: the bound of a range. By the check of types. */
NORVANE_PROJ_API ErrorInfo* ERR_DOMAIN_BOUND(const char* position, const char* expr_text);
/* `expr_text`: the size. By the checks of types and of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_ARRAY_NOT_STATIC(const char* position, const char* expr_text);
/* `dimension_text`: the size as it was declared. By the check of types. */
NORVANE_PROJ_API ErrorInfo* ERR_ARRAY_DIM(const char* position, const char* dimension_text);
/* By the check of types and by symtbl_lookup_typecon. */
NORVANE_PROJ_API ErrorInfo* ERR_TYPE_UNDEF(const char* position, const char* type_name);
/* By the check of types. */
NORVANE_PROJ_API ErrorInfo* ERR_VAR_AS_TYPE_NAME(const char* position, const char* name);

/* Rules and operators. */

/* By the check of rules. */
NORVANE_PROJ_API ErrorInfo* ERR_RULE_NOT_BOOLEAN(const char* position, const char* expr_text);
/* `left_type`, `right_type`: of the operands. By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_OP_TYPES_BIN(const char* position, const char* left_type,
                                             const char* right_type, const char* expr_text);
/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_OP_TYPES_UN(const char* position, const char* operand_type,
                                            const char* expr_text);
/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_IF_TYPE(const char* position, const char* condition_type,
                                        const char* expr_text);
/* `then_type`, `else_type`: of the branches. By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_THEN_TYPE(const char* position, const char* then_type,
                                          const char* else_type, const char* expr_text);
/* `case_type`: of the arms before the default. By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_CASE_DEFAULT_TYPE(const char* position, const char* default_type,
                                                  const char* case_type, const char* expr_text);

/* Comparisons of floats, integers and strings. */

/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_ENUM_FLOAT_COMPARE(const char* position, const char* expr_text);
/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_ENUM_INTEGER_COMPARE(const char* position, const char* expr_text);
/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_FLOATS_NOT_STATIC(const char* position, const char* expr_text);
/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_STRING_COMPARE(const char* position, const char* expr_text);
/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_STRVAR_COMPARE_LABEL(const char* position, const char* expr_text);

/* Loop ranges. */

/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_RANGES_NOT_INTEGER(const char* position, const char* expr_text);
/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_RANGES_BEGIN(const char* position, const char* expr_text);
/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_RANGES_END(const char* position, const char* expr_text);
/* `lower`, `upper`: the bounds of the loop. By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_RANGES_LT(const char* position, int lower, int upper,
                                          const char* expr_text);
/* For callers; the library does not raise it. */
NORVANE_PROJ_API ErrorInfo* ERR_RANGES_NESTED(const char* position, const char* expr_text);
/* `type_name`: of the loop's body. By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_RANGE_TYPE(const char* position, const char* type_name,
                                           const char* expr_text);

/* Arrays, records and identifiers. */

/* `expr_text`: the index. By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_INDEX_NOT_STATIC(const char* position, const char* array_name,
                                                 const char* expr_text);
/* `dimension`: the number of the index. By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_INDEX_NOT_INT(const char* position, int dimension,
                                              const char* expr_text);
/* `dimension`: the number of the index. By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_NEG_ARRAY_INDEX(const char* position, int dimension,
                                                const char* array_name);
/* `max_index`: the largest legal index, not the size. By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_ARRAY_INDEX_OUT_OF_RANGE(const char* position, int dimension,
                                                         const char* array_name, int index,
                                                         int max_index);
/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_ARRAY_INDEX(const char* position, int declared_dimensions,
                                            const char* array_name, int used_dimensions);
/* `name`: the type. By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_ILLEGAL_ARRAY_VAR(const char* position, const char* name);
/* `type_name`: the variable's. By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_VAR_AS_ARRAY(const char* position, const char* type_name,
                                             const char* name);
/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_NOT_RECORD(const char* position, const char* name);
/* By the check of expressions and by symtbl_lookup_env. */
NORVANE_PROJ_API ErrorInfo* ERR_ID_UNDECLARED(const char* position, const char* name);
/* By the check of expressions. */
NORVANE_PROJ_API ErrorInfo* ERR_TYPE_AS_VAR_NAME(const char* position, const char* name);

/* Whole project. */

/* By ssem_check_project. */
NORVANE_PROJ_API ErrorInfo* ERR_NO_VARS(void);
/* By the check of the project. */
NORVANE_PROJ_API ErrorInfo* ERR_NO_PUBLIC_VARS(void);
/* For callers; the library does not raise it. */
NORVANE_PROJ_API ErrorInfo* ERR_NO_PUBLIC_VARS_PROD(const char* position);

/* Calculations. */

/* By calc_add_function. */
NORVANE_PROJ_API ErrorInfo* ERR_CALC_FNC_REDEF(const char* position, const char* function_name,
                                               const char* namespace_name);
/* A warning. `current_line`: the last line of the file. By the scanner of calculations. */
NORVANE_PROJ_API ErrorInfo* ERR_CALC_LEX_COMMENT_NOT_CLOSED(const char* file_name, int current_line,
                                                            int start_line);
/* A warning. By the parser of calculations. */
NORVANE_PROJ_API ErrorInfo* ERR_CALC_GRAM_COLON_DEPRECATED(const char* position);
/* By the parser of calculations. */
NORVANE_PROJ_API ErrorInfo* ERR_CALC_GRAM_NS_NAME(const char* position);
/* By calc_check_functions and calc_check_function. */
NORVANE_PROJ_API ErrorInfo* ERR_CALC_NS_NAME_RESERVED(const char* namespace_name);
/* `message`: the text of the fault. By the check of calculations. */
NORVANE_PROJ_API ErrorInfo* ERR_CALC_FNC(const char* position, const char* namespace_name,
                                         const char* function_name, const char* message);
/* For callers; the library does not raise it. */
NORVANE_PROJ_API ErrorInfo* ERR_CALC_VAR_VALUE(const char* position, const char* namespace_name,
                                               const char* function_name, const char* value,
                                               const char* variable_name);
/* A warning. By the check of calculations. */
NORVANE_PROJ_API ErrorInfo* ERR_CALC_PM_VAR_EXISTS(const char* position, const char* variable_name,
                                                   const char* namespace_name,
                                                   const char* function_name);
/* A warning, for the initial and for the incremental statement. By the check of calculations. */
NORVANE_PROJ_API ErrorInfo* ERR_CALC_FOR_INIT(const char* position);
/* For callers; the library does not raise it. */
NORVANE_PROJ_API ErrorInfo* ERR_CALC_FOR_INCR(const char* position);

/* Workspace and packages. */

/* By zeb_project_check. */
NORVANE_PROJ_API ErrorInfo* ERR_ZEB_NO_MAIN_FILE(void);
/* By zeb_project_check. */
NORVANE_PROJ_API ErrorInfo* ERR_ZEB_NO_MU_FILE(void);
/* By zeb_workspace_new_project and zeb_workspace_copy_project. */
NORVANE_PROJ_API ErrorInfo* ERR_ZEB_PROJECT_EXISTS(const char* project_name);
/* By zeb_workspace_get_cmd. */
NORVANE_PROJ_API ErrorInfo* ERR_ZEB_PROJECT_NOT_FOUND(const char* project_name);
/* By the building of command lines. */
NORVANE_PROJ_API ErrorInfo* ERR_ZEB_DEPLOY_CMD(const char* project_name);
/* By zeb_project_add_target. */
NORVANE_PROJ_API ErrorInfo* ERR_ZEB_TARGET_EXISTS(const char* target_name);
/* By the making of packages. */
NORVANE_PROJ_API ErrorInfo* ERR_ZEB_MUB_READ_ONLY(const char* file_name);
/* By the making of packages. */
NORVANE_PROJ_API ErrorInfo* ERR_ZEB_MUB_FAILED_TO_CREATE(const char* file_name);
/* By calc_import_from_mubpackage. */
NORVANE_PROJ_API ErrorInfo* ERR_MUB_NO_CLXFILE(const char* package_name, const char* model_name);

/* Side data. */

/* For callers; the library does not raise it. */
NORVANE_PROJ_API ErrorInfo* ERR_PRES_WRONG_NAME(const char* layer_name);
/* `parser_message`: the reader's text. By pres_import. */
NORVANE_PROJ_API ErrorInfo* ERR_PRES_PARSER(const char* parser_message);
/* `parser_message`: the reader's text. By var_order_import. */
NORVANE_PROJ_API ErrorInfo* ERR_VARORDER_PARSER(const char* parser_message);
/* A warning, for each occurrence except the first. By var_order_import. */
NORVANE_PROJ_API ErrorInfo* ERR_VARORDER_DUPLICATE_VAR(const char* variable_name);

NORVANE_END_DECLS

#endif
