// Type check of calculations: how the first fault of a function ends its check.
#include <cstdarg>

#include "calc_position.h"
#include "calc_typecheck_internal.h"
#include "norvane/base/except.h"
#include "norvane/proj/proj_errors.h"
#include "report.h"

namespace norvane::calculations {

void type_error(const Check& check, int line, const char* format, ...) {
    char message[MESSAGE_BUFFER_SIZE];
    va_list arguments;
    va_start(arguments, format);
    str_vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    const Position position = position_of(check.func, line);
    report_error(ERR_CALC_FNC(position.text, check.name_space->name, check.func->name, message));
    except_throw(EXCEPT_CHECKER, __LINE__, __FILE__);
}

const char* type_word(CalcType type) {
    switch (type) {
    case CTYPE_UNDEF: return "undefined";
    case CTYPE_BOOL: return "boolean";
    case CTYPE_INT: return "integer";
    case CTYPE_FLOAT: return "float";
    case CTYPE_STRING: return "string";
    case CTYPE_VOID: return "void";
    }
    NORVANE_FAIL("Invalid type: %d", static_cast<int>(type));
}

} // namespace norvane::calculations
