// The C preprocessor as a process of its own.
#ifndef NORVANE_BASE_CPP_PROCESS_H
#define NORVANE_BASE_CPP_PROCESS_H

#include <cstddef>

#include <sys/types.h>

namespace norvane::os {

// The largest output of a run, which stops a model whose macros grow without end.
constexpr std::size_t output_limit = std::size_t{1} << 30;

// A running preprocessor. It and all that it starts form a process group, which ends with us.
struct CppProcess {
    pid_t id = -1;
    int output = -1;   // its standard output, for reading
    int messages = -1; // its standard error, or -1 where that is our own
    int lifeline = -1; // held open for as long as the process may live
    int ending = -1;   // readable once it has ended; -1 where the system has no such descriptors
};

// Starts the program `arguments[0]`, with its standard error in a pipe if `pipe_messages`. Returns
// 0, or the system's error number.
int start_cpp(CppProcess* process, char** arguments, bool pipe_messages);

// True if the process has ended.
bool has_ended(const CppProcess& process);

// Ends the process group at once.
void stop_cpp(const CppProcess& process);

// Closes the descriptors and waits for the end of the process. Returns its wait status, or -1 if
// the host has taken that for itself.
int finish_cpp(CppProcess* process);

} // namespace norvane::os

#endif
