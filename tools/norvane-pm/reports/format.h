// The form of reports, and of results that are lists.
#ifndef NORVANE_PM_FORMAT_H
#define NORVANE_PM_FORMAT_H

namespace norvane::driver {

enum class Format { text, gcc, json, sarif };

enum class Color { automatic, always, never };

struct ReportStyle {
    Format format;
    Color color;
    bool errors_only = false;
    // The reports are a part of those of several runs, which another process begins and ends.
    bool is_part = false;
};

} // namespace norvane::driver

#endif
