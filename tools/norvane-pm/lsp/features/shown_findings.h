// Findings as the client shows them.
#ifndef NORVANE_PM_LSP_SHOWN_FINDINGS_H
#define NORVANE_PM_LSP_SHOWN_FINDINGS_H

#include "documents.h"
#include "finding.h"
#include "json.h"

namespace norvane::driver::lsp {

// The range of a place. Where no column is known, it is the line without the blanks around it.
Range range_of(const Place& place, const Documents& documents);

Json to_diagnostic(const Finding& finding, const Documents& documents);

} // namespace norvane::driver::lsp

#endif
