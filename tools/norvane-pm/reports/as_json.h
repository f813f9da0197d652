// Findings for programs.
#ifndef NORVANE_PM_AS_JSON_H
#define NORVANE_PM_AS_JSON_H

#include <string>

#include "finding.h"
#include "source_lines.h"

namespace norvane::driver {

// One object on a line, as docs/report.schema.json describes it.
std::string as_json(const Finding& finding);

// The parts of one log in SARIF 2.1.0: its start, its results, separated by commas, and its end.
std::string sarif_start();
std::string as_sarif(const Finding& finding, SourceLines& sources);
std::string sarif_end(bool has_run);

} // namespace norvane::driver

#endif
