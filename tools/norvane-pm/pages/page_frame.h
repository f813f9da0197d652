// The constant parts of each page: the style sheet and the script for search and matrix.
#ifndef NORVANE_PM_PAGE_FRAME_H
#define NORVANE_PM_PAGE_FRAME_H

namespace norvane::driver {

extern const char* const page_style;
extern const char* const page_script;

} // namespace norvane::driver

#endif
