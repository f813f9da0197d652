#include "harness.h"

#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

namespace norvane::fuzz {

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
    return read_file(path_);
}

const char* input_file(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    file.write({reinterpret_cast<const char*>(data), size});
    return file.path();
}

bool runs(const std::function<void()>& body) {
    return thrown(body).empty();
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

void expect_read(const void* read, const Reports& reports) {
    expect(read || !reports.all().empty(), "a refusal without a report");
}

} // namespace norvane::fuzz
