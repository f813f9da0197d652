// Shared by the programs that time stages: stages, clock and output.
#ifndef NORVANE_BENCH_STAGES_H
#define NORVANE_BENCH_STAGES_H

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <initializer_list>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

namespace norvane::bench {

[[noreturn]] inline void fail(const char* text) {
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, text);
    std::exit(1);
}

// The runs of one stage. The units are the same in all runs.
struct Stage {
    const char* name;
    const char* unit;
    // The stage that does the least work that this one must do; empty if there is none.
    const char* floor = "";
    double units = 0;
    double peak = 0; // memory of the process up to its end, in bytes; 0 if not measured
    std::vector<double> seconds = {};

    double median() {
        std::nth_element(seconds.begin(), seconds.begin() + seconds.size() / 2, seconds.end());
        return seconds[seconds.size() / 2];
    }
};

inline double now(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

// Processor time, so that other processes on the machine do not count.
template <typename F>
auto timed(Stage& stage, F&& body, clockid_t clock = CLOCK_PROCESS_CPUTIME_ID) {
    const double start = now(clock);
    auto result = body();
    stage.seconds.push_back(now(clock) - start);
    return result;
}

inline double file_size(const std::string& path) {
    struct stat info = {};
    return stat(path.c_str(), &info) == 0 ? static_cast<double>(info.st_size) : 0;
}

// The peak memory of the process so far, in bytes.
inline double peak_bytes() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return 1024 * static_cast<double>(usage.ru_maxrss);
}

// The stages as the members of a JSON object.
inline void print_stages(std::initializer_list<Stage*> stages) {
    const char* separator = "{";
    for (Stage* stage : stages) {
        std::printf("%s\"%s\": {\"seconds\": %.9f, \"units\": %.0f, \"unit\": \"%s\", "
                    "\"floor\": \"%s\", \"peak\": %.0f}",
                    separator, stage->name, stage->median(), stage->units, stage->unit,
                    stage->floor, stage->peak);
        separator = ", ";
    }
    std::printf("}\n");
}

} // namespace norvane::bench

#endif
