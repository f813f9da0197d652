#include "explain_warnings.h"

#include <cstdio>

#include "warning_table.h"

namespace norvane::driver {

void list_warnings() {
    for (const WarningRow& row : warning_rows())
        std::printf("%-20s  %-36s  %s\n", row.name, level_text(row.level), row.title);
}

bool explain_warning(std::string_view name) {
    const WarningRow* row = find_warning(name);
    if (!row) return false;
    std::printf("%s: %s\n\n%s\n\nThe warning is %s.\n", row->name, row->title, row->explanation,
                level_text(row->level));
    return true;
}

} // namespace norvane::driver
