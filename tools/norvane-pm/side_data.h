// The commands on presentations and variable orders: steps of a work, false after a report.
#ifndef NORVANE_PM_SIDE_DATA_H
#define NORVANE_PM_SIDE_DATA_H

#include "work.h"

namespace norvane::pm {

bool list_presentation(Work& work);
bool get_from_presentation(Work& work);
bool merge_presentations(Work& work);
bool list_var_order(Work& work);
bool check_var_order(Work& work);

} // namespace norvane::pm

#endif
