// Times the writing and the reading of a model as XML, at sizes a decade apart.
//
//   model_xml_bench [RUNS] [MEGABYTES ...]
//
// Every time is CPU time, the median of RUNS runs, taken in turn, so that drift of the machine hits
// all alike. Reading is held against what expat alone takes for the same bytes, with handlers that
// do nothing. Growth is the exponent of the time over the size, from one size to the next: 1.00 is
// linear. Peak memory is that of a process that does nothing else, above what it started with.
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
#include "norvane/proj/xml_export.h"
#include "norvane/proj/xml_import.h"

namespace {

[[noreturn]] void give_up(const char* what) {
    std::fprintf(stderr, "model_xml_bench: %s\n", what);
    std::exit(1);
}

// One part of a product, with all that a model is made of.
std::string part(unsigned number) {
    const std::string n = std::to_string(number);
    std::string text = R"(
constant LIMIT_@ : 4 + 3;
type Color_@ : [red_@, green_@, blue_@, "dark grey @"];
     Box_@ : { width : [0..99]; private depth : [0..LIMIT_@]; rule width > depth; };
variable
  public color_@ : Color_@;
  boxes_@ : array 4 of Box_@;
  weight_@ : integer; price_@ : float; label_@ : string; spare_@ : optional [0..7];
  has_lid_@ : boolean; has_lock_@ : boolean; is_sealed_@ : boolean;
rule
  has_lock_@ -> has_lid_@ and not is_sealed_@;
  has_lid_@ or has_lock_@ or is_sealed_@ or color_@ = red_@ or color_@ = blue_@;
  forall i in [0..3] : (boxes_@[i].width + 2 * boxes_@[i].depth <= 120 and boxes_@[i].depth > 1);
  sum j in [0..3] : (boxes_@[j].width) < 300;
  case color_@ of red_@ then weight_@ > 10 | green_@ then weight_@ > 20 | default has_lid_@ esac;
  if price_@ > 99.5 then label_@ <> "cheap" else label_@ = "cheap";
  (weight_@ >= 0 and weight_@ <= 5000) <-> (boxes_@[0].width <> boxes_@[1].width - 1);
)";
    for (std::size_t at = text.find('@'); at != text.npos; at = text.find('@', at))
        text.replace(at, 1, n);
    return text;
}

Project* model_of(unsigned parts) {
    std::string text;
    for (unsigned i = 0; i < parts; ++i)
        text += part(i);
    std::string name = "bench.pm";
    FILE* stream = fmemopen(text.data(), text.size(), "r");
    Project* project = stream ? lpm_load_file(stream, name.data()) : nullptr;
    if (!project) give_up("the model cannot be parsed");
    std::fclose(stream);
    return project;
}

double size_of(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) give_up("no file");
    return static_cast<double>(status.st_size);
}

double cpu_seconds() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double seconds(const std::function<void()>& body) {
    const double start = cpu_seconds();
    body();
    return cpu_seconds() - start;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void nothing_at_start(void*, const char*, const char**) {}
void nothing_at_end(void*, const char*) {}
void nothing_at_text(void*, const char*, int) {}

void parse_with_expat_alone(const std::string& path) {
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

Project* read_model(const std::string& path) {
    Project* project = proj_import_from_xmlfile(path.c_str());
    if (!project) give_up("the model cannot be read");
    return project;
}

double status_kib(const char* field) {
    FILE* file = std::fopen("/proc/self/status", "r");
    double result = 0;
    for (char line[256]; std::fgets(line, sizeof line, file);)
        if (std::strncmp(line, field, std::strlen(field)) == 0)
            result = std::strtod(line + std::strlen(field) + 1, nullptr);
    std::fclose(file);
    return result;
}

// The peak of a process of its own while it runs the body, in bytes.
double peak_of(const std::function<void()>& body) {
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
        _exit(write(ends[1], &peak, sizeof peak) != sizeof peak);
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

void measure(double megabytes, unsigned runs, const std::string& path, Row (&rows)[4],
             double& size_before) {
    Project* sample = model_of(100);
    proj_export_to_xmlfile(sample, path.c_str());
    proj_delete(sample);
    const auto parts = static_cast<unsigned>(100 * megabytes * 1e6 / size_of(path)) + 1;
    // The model is made in another process, so that this one's heap is as a reader finds it.
    const double write_peak = peak_of([&] {
        Project* project = model_of(parts);
        proj_export_to_xmlfile(project, path.c_str());
        proj_delete(project);
    });
    const double size = size_of(path);
    const double read_peak = peak_of([&] { read_model(path); });
    const double peaks[] = {0, read_peak, 0, write_peak};
    for (Row& row : rows)
        row.times.clear();
    for (unsigned run = 0; run < runs; ++run) {
        Project* project = nullptr;
        rows[0].times.push_back(seconds([&] { parse_with_expat_alone(path); }));
        rows[1].times.push_back(seconds([&] { project = read_model(path); }));
        rows[2].times.push_back(seconds([&] { proj_delete(project); }));
        project = read_model(path);
        rows[3].times.push_back(seconds([&] { proj_export_to_xmlfile(project, path.c_str()); }));
        proj_delete(project);
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

} // namespace

int main(int argc, char** argv) {
    const unsigned runs = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 5;
    std::vector<double> sizes;
    for (int i = 2; i < argc; ++i)
        sizes.push_back(std::atof(argv[i]));
    if (sizes.empty()) sizes = {1, 10, 100};
    if (runs == 0 || *std::min_element(sizes.begin(), sizes.end()) <= 0) {
        std::fprintf(stderr, "usage: model_xml_bench [RUNS] [MEGABYTES ...]\n");
        return 2;
    }
    char* path = util_temp_filename(".xml");
    if (!path) give_up("no name for a temporary file");
    Row rows[] = {{"expat", {}}, {"read", {}}, {"delete", {}}, {"write", {}}};
    double size_before = 0;
    std::printf("|     MB | step       |       ms |    MB/s | /expat | growth | peak/byte  |\n");
    std::printf("|--------|------------|----------|---------|--------|--------|------------|\n");
    for (const double megabytes : sizes)
        measure(megabytes, runs, path, rows, size_before);
    os_delete_file(path);
    str_delete(path);
    return 0;
}
