#include "standard_input.h"

#include <cstdio>

#include <sys/mman.h>
#include <unistd.h>

namespace norvane::pm {
namespace {

// All of standard input, in memory; -1 if it cannot be read. The preprocessor opens it by its
// descriptor, hence no close-on-exec.
int copy_of_standard_input(const std::string& name) {
    const int copy = memfd_create("standard input", 0);
    std::FILE* stream = copy < 0 ? nullptr : fdopen(dup(copy), "w");
    if (!stream) return -1;
    // Reports of the load name what the user gave, and not the copy.
    std::fprintf(stream, "#line 1 \"%s\"\n", name.c_str());
    char buffer[1 << 14];
    std::size_t size;
    while ((size = std::fread(buffer, 1, sizeof buffer, stdin)) > 0)
        std::fwrite(buffer, 1, size, stream);
    const bool written = std::ferror(stream) == 0;
    return std::fclose(stream) == 0 && written && std::ferror(stdin) == 0 ? copy : -1;
}

// Runs in a frame.
void rename_text(char*& text, const char* name) {
    str_delete(text);
    text = str_copy(name);
}

// Puts what the user gave in the place of the copy's name.
void rename_source(Project* project, const char* from, const char* to) {
    for (PolyListNode* node = project->line_info->files->first; node; node = node->next) {
        auto* file = static_cast<char*>(node->element);
        if (!str_is_equal(file, from)) continue;
        rename_text(file, to);
        node->element = file;
    }
    rename_text(project->name, to);
    rename_text(project->filename, to);
    project->line_info->filename = project->filename;
}

} // namespace

// The preprocessor's own input is closed, so it gets a copy of ours. Included files are looked for
// in the current directory first, as if the model were a file there.
Result<Model> load_source_from_standard_input(const std::string& name,
                                              std::vector<std::string> cpp_args,
                                              const OnReport& on_report) {
    const int copy = copy_of_standard_input(name);
    if (copy < 0) {
        auto reported =
            gather([&name] { msg_report_error(ERROR_TYPE_ERROR, ERR_FILE_OPEN(name.c_str())); },
                   on_report);
        return {std::nullopt, std::move(reported.reports)};
    }
    cpp_args.insert(cpp_args.begin(), "-I.");
    const std::string copy_name = "/dev/fd/" + std::to_string(copy);
    Result<Model> model = Model::from_source(copy_name, cpp_args, on_report);
    close(copy);
    if (model) {
        call([project = model->get(), from = copy_name.c_str(), to = name.c_str()] {
            rename_source(project, from, to);
        });
    }
    return model;
}

} // namespace norvane::pm
