// The form of reports, and of results that are lists.
#ifndef NORVANE_PM_FORMAT_H
#define NORVANE_PM_FORMAT_H

namespace norvane::driver {

enum class Format { text, gcc, json, sarif };

enum class Color { automatic, always, never };

} // namespace norvane::driver

#endif
