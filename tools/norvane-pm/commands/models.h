// The commands on models.
#ifndef NORVANE_PM_MODELS_H
#define NORVANE_PM_MODELS_H

#include "session.h"

namespace norvane::driver {

void check(Session& session);
void print(Session& session);
void simplify(Session& session);
void rules(Session& session);
void convert(Session& session);

} // namespace norvane::driver

#endif
