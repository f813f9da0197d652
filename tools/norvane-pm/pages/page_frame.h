// What is the same on each page: its looks, and its search and matrix.
#ifndef NORVANE_PM_PAGE_FRAME_H
#define NORVANE_PM_PAGE_FRAME_H

namespace norvane::driver {

extern const char* const page_style;
extern const char* const page_script;

} // namespace norvane::driver

#endif
