// What the two side files, presentations and variable orders, have in common: how they are written.
#ifndef NORVANE_PROJ_SIDE_DATA_H
#define NORVANE_PROJ_SIDE_DATA_H

#include <cstdio>
#include <cstring>

#include "norvane/base/export.h"
#include "report.h"

namespace norvane {

// Writes to a file by write(stream): its result, or -1 after a report if the file cannot be opened.
// "-" is standard output, which is left open.
template <typename Write>
int export_to_file(const char* filename, Write write) {
    if (std::strcmp(filename, "-") == 0) return write(stdout);
    FILE* stream = std::fopen(filename, "we");
    if (!stream) {
        report_error(ERR_FILE_OPEN_WRITE(filename));
        return STATUS_FAILURE;
    }
    const int status = write(stream);
    std::fclose(stream);
    return status;
}

} // namespace norvane

#endif
