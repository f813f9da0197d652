#include "standard_input.h"

#include <cstdio>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>

namespace norvane::driver {
namespace {

bool read_all(std::string& text) {
    char buffer[1 << 14];
    std::size_t size;
    while ((size = std::fread(buffer, 1, sizeof buffer, stdin)) > 0)
        text.append(buffer, size);
    return std::ferror(stdin) == 0;
}

// A file in memory; -1 if it cannot be made. The preprocessor opens it by its descriptor, hence no
// close-on-exec.
int copy_of(const std::string& head, const std::string& text) {
    const int copy = memfd_create("standard input", 0);
    std::FILE* stream = copy < 0 ? nullptr : fdopen(dup(copy), "w");
    if (!stream) return -1;
    std::fwrite(head.data(), 1, head.size(), stream);
    std::fwrite(text.data(), 1, text.size(), stream);
    const bool written = std::ferror(stream) == 0;
    return std::fclose(stream) == 0 && written ? copy : -1;
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

std::optional<StandardInput> StandardInput::read(const std::string& name) {
    StandardInput input;
    input.name_ = name;
    if (!read_all(input.text_)) return {};
    // Reports of the load name what the user gave, and not the copy.
    input.copy_ = copy_of("#line 1 \"" + name + "\"\n", input.text_);
    if (input.copy_ < 0) return {};
    return input;
}

StandardInput::StandardInput(StandardInput&& other) noexcept
    : name_(std::move(other.name_)), text_(std::move(other.text_)),
      copy_(std::exchange(other.copy_, -1)) {}

StandardInput& StandardInput::operator=(StandardInput&& other) noexcept {
    std::swap(name_, other.name_);
    std::swap(text_, other.text_);
    std::swap(copy_, other.copy_);
    return *this;
}

StandardInput::~StandardInput() {
    if (copy_ >= 0) close(copy_);
}

std::string StandardInput::begin(std::vector<std::string>& cpp_args) const {
    cpp_args.insert(cpp_args.begin(), "-I.");
    return "/dev/fd/" + std::to_string(copy_);
}

Result<Model> StandardInput::load(std::vector<std::string> cpp_args,
                                  const OnReport& on_report) const {
    const std::string file = begin(cpp_args);
    Result<Model> model = Model::from_source(file, cpp_args, on_report);
    if (model) {
        call([project = model->get(), from = file.c_str(), to = name_.c_str()] {
            rename_source(project, from, to);
        });
    }
    return model;
}

void keep_standard_input() {
    std::string text;
    const int copy = read_all(text) ? copy_of("", text) : -1;
    if (copy < 0) return;
    dup2(copy, STDIN_FILENO);
    close(copy);
}

} // namespace norvane::driver
