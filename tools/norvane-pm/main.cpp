// norvane-pm: product models from the command line. Here: arguments in, exit status out.
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "norvane/base/memory.h"

#include "arguments.h"
#include "output.h"
#include "run.h"
#include "status.h"
#include "temporaries.h"

namespace norvane::driver {
namespace {

int run(int argc, char** argv) {
    const Invocation invocation = parse_arguments(argc, argv);
    return run_command(invocation.options, invocation.command);
}

// The terminate handler: an exception cannot go on, for example one for lack of memory in a
// destructor of a library that we use.
[[noreturn]] void end_at_once() {
    remove_temporaries();
    std::fputs("norvane-pm: internal failure: out of memory, or an exception without a handler\n",
               stderr);
    std::_Exit(STATUS_INTERNAL_FAILURE);
}

// Before the initialisers of the libraries, which allocate and would end without our report.
[[gnu::constructor(101)]] void set_terminate_handler() {
    std::set_terminate(end_at_once);
}

} // namespace
} // namespace norvane::driver

int main(int argc, char** argv) {
    using namespace norvane::driver;
    prepare_output();
    util_throw_scanner_failures(1); // so that they are told with step and subject, as all others
    int status = STATUS_INTERNAL_FAILURE;
    try {
        status = run(argc, argv);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "norvane-pm: internal failure: %s\n", e.what());
    }
    remove_temporaries(); // an exception may have kept their owner from it
    return leave(status);
}
