// The commands on presentations and variable orders.
#ifndef NORVANE_PM_SIDE_DATA_H
#define NORVANE_PM_SIDE_DATA_H

#include "session.h"

namespace norvane::driver {

void list_presentation(Session& session);
void get_from_presentation(Session& session);
void merge_presentations(Session& session);
void check_presentation(Session& session);
void list_var_order(Session& session);
void check_var_order(Session& session);

} // namespace norvane::driver

#endif
