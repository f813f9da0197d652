// The standard streams: fast to write to, and checked before the end.
#ifndef NORVANE_PM_OUTPUT_H
#define NORVANE_PM_OUTPUT_H

#include <cstdio>

namespace norvane::driver {

// Called once, before anything else is done.
void prepare_output();

// True in builds that look for leaks or count on the way out: they release every block of memory
// and end by way of the runtime. The other builds let the end of the process release it all at
// once.
constexpr bool orderly_exit = NORVANE_ORDERLY_EXIT;

// True once a write to standard output has failed. Call it directly after writing, while errno
// still tells why; the caller may then stop writing.
bool results_refused();

// Writes out what is buffered. Returns why standard output did not take all of the results, as a
// number of an error; 0 if it took them. Told once.
int finish_results();

// Notes that the library has thrown: what it has lost is not a leak to look for at the end.
void note_throw();

// Ends with `status`. Returns, with the status, only where orderly_exit is set.
int leave(int status);

// While this lives, what is written to stdout is dropped: the scanners of the library copy some
// characters of malformed sources there, which are not results.
class DroppedOutput {
  public:
    DroppedOutput();
    ~DroppedOutput();
    DroppedOutput(const DroppedOutput&) = delete;
    DroppedOutput& operator=(const DroppedOutput&) = delete;

  private:
    std::FILE* results_;
};

} // namespace norvane::driver

#endif
