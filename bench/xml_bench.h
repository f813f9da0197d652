// Times writing and reading one kind of tree as XML, and prints the results as one JSON object:
//
//   PROGRAM MEGABYTES RUNS
//
// Each figure is the median of the runs. Stages run in alternation, so that a change of the clock
// rate affects all alike. The floor of reading is "expat": parsing the same bytes with empty
// handlers. Peak memory is the growth of a process that runs only this stage.
#ifndef NORVANE_BENCH_XML_BENCH_H
#define NORVANE_BENCH_XML_BENCH_H

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

#include <expat.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include "norvane/proj.h"

#include "stages.h"

namespace xml_bench {

using namespace norvane::bench;

// The operations to be measured. Each function ends the program if it fails.
template <typename Tree>
struct Form {
    Tree* (*make)(unsigned parts);
    Tree* (*read)(const std::string& path);
    void (*write)(Tree* tree, const std::string& path);
    void (*remove)(Tree* tree);
};

// The text with every "@" replaced by the number.
inline std::string numbered(std::string text, unsigned number) {
    const std::string n = std::to_string(number);
    for (std::size_t at = text.find('@'); at != text.npos; at = text.find('@', at))
        text.replace(at, 1, n);
    return text;
}

inline void nothing_at_start(void*, const char*, const char**) {}
inline void nothing_at_end(void*, const char*) {}
inline void nothing_at_text(void*, const char*, int) {}

inline int parse_with_expat_alone(const std::string& path) {
    constexpr int chunk = 64 * 1024;
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetElementHandler(parser, nothing_at_start, nothing_at_end);
    XML_SetCharacterDataHandler(parser, nothing_at_text);
    FILE* file = std::fopen(path.c_str(), "r");
    for (std::size_t size = chunk; size > 0;) {
        void* buffer = XML_GetBuffer(parser, chunk);
        size = std::fread(buffer, 1, chunk, file);
        if (XML_ParseBuffer(parser, static_cast<int>(size), size == 0) != XML_STATUS_OK)
            fail("expat refuses the file");
    }
    std::fclose(file);
    XML_ParserFree(parser);
    return 0;
}

inline double status_kib(const char* field) {
    FILE* file = std::fopen("/proc/self/status", "r");
    double result = 0;
    for (char line[256]; std::fgets(line, sizeof line, file);)
        if (std::strncmp(line, field, std::strlen(field)) == 0)
            result = std::strtod(line + std::strlen(field) + 1, nullptr);
    std::fclose(file);
    return result;
}

// The peak memory of a separate process while it runs the body, in bytes.
inline double peak_of(const std::function<void()>& body) {
    int ends[2];
    if (pipe(ends) != 0) fail("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        // The peak so far and freed memory come from the parent: reset both.
        malloc_trim(0);
        FILE* reset = std::fopen("/proc/self/clear_refs", "w");
        std::fputs("5", reset);
        std::fclose(reset);
        const double before = status_kib("VmRSS");
        body();
        const double peak = (status_kib("VmHWM") - before) * 1024;
        _exit(::write(ends[1], &peak, sizeof peak) != sizeof peak);
    }
    double peak = 0;
    if (read(ends[0], &peak, sizeof peak) != sizeof peak) fail("no peak");
    close(ends[0]);
    close(ends[1]);
    waitpid(child, nullptr, 0);
    return peak;
}

struct Bench {
    Stage expat{"expat", "byte"};
    Stage read{"read", "byte", "expat"};
    Stage write{"write", "byte"};
    Stage remove{"delete", "byte"};
};

// Writes a tree of about that size in another process, so that the heap of this one is as a reader
// finds it, and measures the peaks.
template <typename Tree>
void prepare(Bench& bench, const Form<Tree>& form, double megabytes, const std::string& path) {
    Tree* sample = form.make(100);
    form.write(sample, path);
    form.remove(sample);
    const auto parts = static_cast<unsigned>(100 * megabytes * 1e6 / file_size(path)) + 1;
    bench.write.peak = peak_of([&] {
        Tree* tree = form.make(parts);
        form.write(tree, path);
        form.remove(tree);
    });
    bench.read.peak = peak_of([&] { form.read(path); });
    for (Stage* stage : {&bench.expat, &bench.read, &bench.write, &bench.remove})
        stage->units = file_size(path);
}

template <typename Tree>
void run_once(Bench& bench, const Form<Tree>& form, const std::string& path) {
    timed(bench.expat, [&] { return parse_with_expat_alone(path); });
    Tree* tree = timed(bench.read, [&] { return form.read(path); });
    timed(bench.remove, [&] { return form.remove(tree), 0; });
    tree = form.read(path);
    timed(bench.write, [&] { return form.write(tree, path), 0; });
    form.remove(tree);
}

template <typename Tree>
int run(const Form<Tree>& form, int argc, char** argv) {
    const double megabytes = argc == 3 ? std::atof(argv[1]) : 0;
    if (megabytes <= 0) fail("usage: PROGRAM MEGABYTES RUNS");
    char* path = util_temp_filename(".xml");
    if (!path) fail("no name for a temporary file");
    Bench bench;
    prepare(bench, form, megabytes, path);
    for (int left = std::atoi(argv[2]); left > 0 || bench.read.seconds.empty(); --left)
        run_once(bench, form, path);
    print_stages({&bench.read, &bench.write, &bench.remove, &bench.expat});
    os_delete_file(path);
    str_delete(path);
    return 0;
}

} // namespace xml_bench

#endif
