#include "models.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "norvane/proj.h"

#include "diagnostics_sink.h"

namespace norvane::pm {
namespace {

// The name under which this process, and each that it starts, can open a descriptor.
struct DescriptorName {
    char text[32];
    explicit DescriptorName(int descriptor) {
        std::snprintf(text, sizeof text, "/dev/fd/%d", descriptor);
    }
};

// All of standard input, in memory; -1 if it cannot be read. The preprocessor may open it, hence no
// close-on-exec.
int copy_of_standard_input() {
    const int copy = memfd_create("standard input", 0);
    std::FILE* stream = copy < 0 ? nullptr : fdopen(dup(copy), "w");
    if (!stream) return -1;
    // Reports of the load name what the user gave, and not the copy.
    std::fputs("#line 1 \"/dev/stdin\"\n", stream);
    char buffer[1 << 14];
    std::size_t size;
    while ((size = std::fread(buffer, 1, sizeof buffer, stdin)) > 0)
        std::fwrite(buffer, 1, size, stream);
    const bool written = std::ferror(stream) == 0;
    return std::fclose(stream) == 0 && written && std::ferror(stdin) == 0 ? copy : -1;
}

char* renamed(char* text, const char* name) {
    str_delete(text);
    return str_copy(name);
}

// Puts what the user gave in the place of the copy's name.
void rename_source(Project* project, const char* from, const char* to) {
    for (PolyListNode* node = project->line_info->files->first; node; node = node->next) {
        auto* file = static_cast<char*>(node->element);
        if (str_is_equal(file, from)) node->element = renamed(file, to);
    }
    project->name = renamed(project->name, to);
    project->filename = renamed(project->filename, to);
    project->line_info->filename = project->filename;
}

// The preprocessor's own input is closed, so it is given a copy of ours. What the model includes is
// looked for in the current folder first, as if the model were a file there.
Project* load_source_from_standard_input(Work& work) {
    const int copy = copy_of_standard_input();
    if (copy < 0) {
        report_error(ERR_FILE_OPEN(work.file));
        return nullptr;
    }
    static char here[] = "-I.";
    plist_prepend(work.cpp_args, here);
    DescriptorName name(copy);
    Project* project = proj_import_from_pmfile(name.text, work.cpp_args);
    close(copy);
    if (project) rename_source(project, name.text, work.file);
    return project;
}

Project* load(Work& work) {
    if (work.from == ModelForm::xml) return proj_import_from_xmlfile(work.file);
    if (work.options->file == "-") return load_source_from_standard_input(work);
    return proj_import_from_pmfile(work.file, work.cpp_args);
}

// Copies what comes out of a pipe, to its end or until the output refuses it, or nobody wants it.
void pass_on(int pipe_end, ResultFile& output, const std::atomic<bool>& is_abandoned) {
    char buffer[1 << 16];
    for (;;) {
        const ssize_t size = read(pipe_end, buffer, sizeof buffer);
        if (size < 0 && errno == EINTR) continue;
        if (size <= 0 || is_abandoned) break; // a pipe that is open has no other failure
        std::fwrite(buffer, 1, static_cast<std::size_t>(size), output.stream());
        if (output.refused()) break;
    }
    close(pipe_end);
}

struct Export {
    Project* project;
    const char* name;
    int status;
};

void run_export(void* user) {
    auto* run = static_cast<Export*>(user);
    run->status = proj_export_to_xmlfile(run->project, run->name);
}

// The library writes to a name and does not look whether it could write: so the name is that of a
// pipe, which takes everything, and whose other end is written out here. Returns what except_catch
// does.
int export_through_pipe(Work& work, Export& run, ExceptionState& thrown) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        work.diagnostics->say(std::string("cannot make a pipe: ") + std::strerror(errno));
        run.status = STATUS_FAILURE;
        return 0;
    }
    const DescriptorName name(ends[1]);
    run.name = name.text;
    std::atomic<bool> is_abandoned = false;
    std::thread reader([&] { pass_on(ends[0], work.output, is_abandoned); });
    const int caught = except_catch(run_export, &run, &thrown);
    // The throw may have left the library's own stream open, and the pipe would never end. One byte
    // wakes the reader, unless it has left already.
    is_abandoned = caught != 0;
    const bool is_awake = !caught || write(ends[1], "", 1) == 1;
    static_cast<void>(is_awake);
    close(ends[1]);
    reader.join();
    return caught;
}

bool write_xml(Work& work) {
    static ExceptionState thrown;
    Export run{work.project, nullptr, STATUS_SUCCESS};
    if (export_through_pipe(work, run, thrown)) except_rethrow(&thrown);
    return run.status == STATUS_SUCCESS;
}

bool write_source(Work& work) {
    ppm_print_project(work.output.stream(), work.project);
    work.output.refused();
    return true;
}

} // namespace

ModelForm form_of(const std::string& file) {
    switch (util_get_filetype(file.c_str())) {
    case FILETYPE_PM: return ModelForm::source;
    case FILETYPE_XML: return ModelForm::xml;
    default: return ModelForm::unknown;
    }
}

bool load_model(Work& work) {
    begin_step(work, Step::load, work.file);
    work.project = load(work);
    return work.project != nullptr;
}

bool check_model(Work& work) {
    begin_step(work, Step::check, work.file);
    work.table = proj_static_sem_check(work.project);
    return work.table != nullptr;
}

bool write_model(Work& work) {
    if (!open_output(work)) return false;
    const bool written = work.to == ModelForm::xml ? write_xml(work) : write_source(work);
    return written && close_output(work);
}

} // namespace norvane::pm
