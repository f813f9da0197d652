// What presentations and variable orders have in common: how their files are written.
#ifndef NORVANE_PROJ_SIDE_DATA_H
#define NORVANE_PROJ_SIDE_DATA_H

#include <cstdio>
#include <cstring>

#include "norvane/base/export.h"
#include "norvane/base/frames.hpp"
#include "report.h"

namespace norvane::sidedata {

// Writes a file by write(stream): the result of that, or -1 after a report if the file cannot be
// opened. "-" is standard output, which stays open.
template <typename Write>
int export_to_file(const char* filename, Write write) {
    if (std::strcmp(filename, "-") == 0) return write(stdout);
    std::FILE* stream = std::fopen(filename, "we");
    if (!stream) {
        report_error(ERR_FILE_OPEN_WRITE(filename));
        return STATUS_FAILURE;
    }
    int status = STATUS_FAILURE;
    close_after(stream, [&] { status = write(stream); });
    return status;
}

} // namespace norvane::sidedata

#endif
