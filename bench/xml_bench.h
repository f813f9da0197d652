// Times the writing and the reading of one kind of tree as XML, at sizes a decade apart.
//
//   PROGRAM [RUNS] [MEGABYTES ...]
//
// Every time is CPU time, the median of RUNS runs, taken in turn, so that drift of the machine hits
// all alike. Reading is held against what expat alone takes for the same bytes, with handlers that
// do nothing. Growth is the exponent of the time over the size, from one size to the next: 1.00 is
// linear. Peak memory is that of a process that does nothing else, above what it started with.
#ifndef NORVANE_BENCH_XML_BENCH_H
#define NORVANE_BENCH_XML_BENCH_H

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <expat.h>
#include <malloc.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "norvane/proj.h"

namespace xml_bench {

[[noreturn]] inline void give_up(const char* what) {
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, what);
    std::exit(1);
}

// What is measured. Each function ends the program if it fails.
template <typename Tree>
struct Form {
    Tree* (*make)(unsigned parts);
    Tree* (*read)(const std::string& path);
    void (*write)(Tree* tree, const std::string& path);
    void (*remove)(Tree* tree);
};

// The text with every "@" made the number.
inline std::string numbered(std::string text, unsigned number) {
    const std::string n = std::to_string(number);
    for (std::size_t at = text.find('@'); at != text.npos; at = text.find('@', at))
        text.replace(at, 1, n);
    return text;
}

inline double size_of(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) give_up("no file");
    return static_cast<double>(status.st_size);
}

inline double cpu_seconds() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

inline double seconds(const std::function<void()>& body) {
    const double start = cpu_seconds();
    body();
    return cpu_seconds() - start;
}

inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

inline void nothing_at_start(void*, const char*, const char**) {}
inline void nothing_at_end(void*, const char*) {}
inline void nothing_at_text(void*, const char*, int) {}

inline void parse_with_expat_alone(const std::string& path) {
    constexpr int chunk = 64 * 1024;
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetElementHandler(parser, nothing_at_start, nothing_at_end);
    XML_SetCharacterDataHandler(parser, nothing_at_text);
    FILE* file = std::fopen(path.c_str(), "r");
    for (std::size_t size = chunk; size > 0;) {
        void* buffer = XML_GetBuffer(parser, chunk);
        size = std::fread(buffer, 1, chunk, file);
        if (XML_ParseBuffer(parser, static_cast<int>(size), size == 0) != XML_STATUS_OK)
            give_up("expat refuses the file");
    }
    std::fclose(file);
    XML_ParserFree(parser);
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

// The peak of a process of its own while it runs the body, in bytes.
inline double peak_of(const std::function<void()>& body) {
    int ends[2];
    if (pipe(ends) != 0) give_up("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        // The peak so far, and memory that is free again, are the parent's: begin anew.
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
    if (read(ends[0], &peak, sizeof peak) != sizeof peak) give_up("no peak");
    close(ends[0]);
    close(ends[1]);
    waitpid(child, nullptr, 0);
    return peak;
}

struct Row {
    const char* name;
    std::vector<double> times;
    double before = 0; // the time at the size before
};

template <typename Tree>
void measure(const Form<Tree>& form, double megabytes, unsigned runs, const std::string& path,
             Row (&rows)[4], double& size_before) {
    Tree* sample = form.make(100);
    form.write(sample, path);
    form.remove(sample);
    const auto parts = static_cast<unsigned>(100 * megabytes * 1e6 / size_of(path)) + 1;
    // The tree is made in another process, so that this one's heap is as a reader finds it.
    const double write_peak = peak_of([&] {
        Tree* tree = form.make(parts);
        form.write(tree, path);
        form.remove(tree);
    });
    const double size = size_of(path);
    const double read_peak = peak_of([&] { form.read(path); });
    const double peaks[] = {0, read_peak, 0, write_peak};
    for (Row& row : rows)
        row.times.clear();
    for (unsigned run = 0; run < runs; ++run) {
        Tree* tree = nullptr;
        rows[0].times.push_back(seconds([&] { parse_with_expat_alone(path); }));
        rows[1].times.push_back(seconds([&] { tree = form.read(path); }));
        rows[2].times.push_back(seconds([&] { form.remove(tree); }));
        tree = form.read(path);
        rows[3].times.push_back(seconds([&] { form.write(tree, path); }));
        form.remove(tree);
    }
    const double expat = median(rows[0].times);
    for (int i = 0; i < 4; ++i) {
        const double time = median(rows[i].times);
        std::printf("| %6.1f | %-10s | %8.2f | %7.1f | %6.2f |", size / 1e6, rows[i].name,
                    time * 1e3, size / 1e6 / time, time / expat);
        if (rows[i].before > 0)
            std::printf(" %6.2f |", std::log(time / rows[i].before) / std::log(size / size_before));
        else
            std::printf("        |");
        if (peaks[i] > 0)
            std::printf(" %10.2f |\n", peaks[i] / size);
        else
            std::printf("            |\n");
        rows[i].before = time;
    }
    size_before = size;
    std::fflush(stdout);
}

template <typename Tree>
int run(const Form<Tree>& form, int argc, char** argv) {
    const unsigned runs = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 5;
    std::vector<double> sizes;
    for (int i = 2; i < argc; ++i)
        sizes.push_back(std::atof(argv[i]));
    if (sizes.empty()) sizes = {1, 10, 100};
    if (runs == 0 || *std::min_element(sizes.begin(), sizes.end()) <= 0) {
        std::fprintf(stderr, "usage: %s [RUNS] [MEGABYTES ...]\n", program_invocation_short_name);
        return 2;
    }
    char* path = util_temp_filename(".xml");
    if (!path) give_up("no name for a temporary file");
    Row rows[] = {{"expat", {}}, {"read", {}}, {"delete", {}}, {"write", {}}};
    double size_before = 0;
    std::printf("|     MB | step       |       ms |    MB/s | /expat | growth | peak/byte  |\n");
    std::printf("|--------|------------|----------|---------|--------|--------|------------|\n");
    for (const double megabytes : sizes)
        measure(form, megabytes, runs, path, rows, size_before);
    os_delete_file(path);
    str_delete(path);
    return 0;
}

} // namespace xml_bench

#endif
