#include "harness.h"

#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

#include "norvane/base/diagnostics.h"
#include "norvane/base/except.h"

// The leak checker, if the build has one.
extern "C" __attribute__((weak)) void __lsan_disable(void);
extern "C" __attribute__((weak)) void __lsan_enable(void);

namespace norvane::fuzz {

QuietSink::QuietSink() {
    const auto receive = [](ErrorType, ErrorInfo* error, void* user) {
        ++static_cast<QuietSink*>(user)->reports_;
        err_delete(error);
    };
    msg_set_error_sink(receive, this);
}

QuietSink::~QuietSink() {
    msg_set_error_sink(nullptr, nullptr);
}

MemoryFile::MemoryFile() : descriptor_(memfd_create("input", 0)) {
    expect(descriptor_ >= 0, "no file in memory");
    path_ = "/proc/self/fd/" + std::to_string(descriptor_);
}

MemoryFile::~MemoryFile() {
    close(descriptor_);
}

void MemoryFile::write(std::string_view content) {
    off_t size = 0;
    while (!content.empty()) {
        const auto done = pwrite(descriptor_, content.data(), content.size(), size);
        expect(done > 0, "pwrite");
        content.remove_prefix(static_cast<std::size_t>(done));
        size += done;
    }
    expect(ftruncate(descriptor_, size) == 0, "ftruncate");
}

std::string MemoryFile::read() const {
    std::string content(static_cast<std::size_t>(lseek(descriptor_, 0, SEEK_END)), '\0');
    const auto got = pread(descriptor_, content.data(), content.size(), 0);
    expect(got == static_cast<ssize_t>(content.size()), "pread");
    return content;
}

const char* input_file(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    file.write({reinterpret_cast<const char*>(data), size});
    return file.path();
}

std::string printed(const std::function<void(std::FILE*)>& print) {
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* stream = open_memstream(&text, &size);
    expect(stream != nullptr, "open_memstream");
    print(stream);
    std::fclose(stream);
    std::string result(text, size);
    std::free(text);
    return result;
}

bool runs(const std::function<void()>& body) {
    static ExceptionState state;
    const auto run = [](void* user) { (*static_cast<const std::function<void()>*>(user))(); };
    if (__lsan_disable) __lsan_disable();
    const int caught = except_catch(run, const_cast<std::function<void()>*>(&body), &state);
    if (__lsan_enable) __lsan_enable();
    return !caught;
}

void expect(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

void expect_equal(const std::string& a, const std::string& b, const char* what) {
    if (a == b) return;
    std::fprintf(stderr, "not equal: %s\n--- one\n%s\n--- other\n%s\n", what, a.c_str(), b.c_str());
    std::abort();
}

} // namespace norvane::fuzz
