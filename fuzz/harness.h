// Shared by the fuzz targets. A target is a function that takes bytes; the fuzzer runs it millions
// of times in one process, the test suite once for each kept input (replay.cpp).
#ifndef NORVANE_FUZZ_HARNESS_H
#define NORVANE_FUZZ_HARNESS_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

// The entry point of the fuzzer, defined by every target.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace norvane::fuzz {

// Counts the reports made during its lifetime instead of printing them.
class QuietSink {
  public:
    QuietSink();
    ~QuietSink();
    QuietSink(const QuietSink&) = delete;
    QuietSink& operator=(const QuietSink&) = delete;
    unsigned reports() const { return reports_; }

  private:
    unsigned reports_ = 0;
};

// A file in memory, for functions that take a path.
class MemoryFile {
  public:
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    const char* path() const { return path_.c_str(); }
    void write(std::string_view content);
    std::string read() const;

  private:
    int descriptor_;
    std::string path_;
};

// The bytes as a file, until the next call.
const char* input_file(const std::uint8_t* data, std::size_t size);

// The text that `print` writes to the stream.
std::string printed(const std::function<void(std::FILE*)>& print);

// Runs `body` in a frame; true if it returned. A throw of kind 1 is allowed, and the memory that it
// loses does not count as a leak.
bool runs(const std::function<void()>& body);

// Abort the process, so that the fuzzer keeps the input, unless the two texts are equal or the
// condition holds.
void expect_equal(const std::string& a, const std::string& b, const char* what);
void expect(bool condition, const char* what);

// Checks that what is read of the bytes is written, and read again, as the same bytes.
template <auto Import, auto Export, auto Delete>
void check_round_trip(const std::uint8_t* data, std::size_t size) {
    static MemoryFile copy;
    const QuietSink sink;
    auto* read = Import(input_file(data, size));
    expect((read == nullptr) <= (sink.reports() > 0), "a refusal without a report");
    if (!read) return;
    Export(read, copy.path());
    const std::string first = copy.read();
    auto* again = Import(copy.path());
    expect(again != nullptr, "what was written is refused");
    Export(again, copy.path());
    expect_equal(first, copy.read(), "what was written and read");
    Delete(again);
    Delete(read);
}

} // namespace norvane::fuzz

#endif
