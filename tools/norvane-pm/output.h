// The standard streams: fast to write to, and checked before the end.
#ifndef NORVANE_PM_OUTPUT_H
#define NORVANE_PM_OUTPUT_H

namespace norvane::pm {

// Called once, before anything else is done.
void prepare_output();

// True where every block of memory is to be given back before the end, so that a leak checker sees
// only what was lost; otherwise the end of the process gives back what it still holds, at once.
constexpr bool orderly_exit = NORVANE_ORDERLY_EXIT;

// True once standard output has refused results: to be asked right after writing, while the reason
// is known. The rest need not be written then.
bool results_refused();

// Writes out what is left and ends with `status`, or with STATUS_INPUT_AT_FAULT in place of
// STATUS_OK, and a message, if standard output did not take all of the results. Returns, with the
// status, only where the runtime's own ending is wanted.
int leave(int status);

} // namespace norvane::pm

#endif
