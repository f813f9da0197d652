// What the fuzz targets share. Each target is a function of some bytes, run millions of times in
// one process by the fuzzer, or once for each kept input by the test suite (replay.cpp).
#ifndef NORVANE_FUZZ_HARNESS_H
#define NORVANE_FUZZ_HARNESS_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

// The fuzzer's entry: what every target defines.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace norvane::fuzz {

// Counts the reports that are made during its life, instead of printing them.
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

// A file in memory, for functions that want a path.
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

// What `print` writes to the stream.
std::string printed(const std::function<void(std::FILE*)>& print);

// Runs `body` in a frame; true if it returned. A throw of kind 1, by which a checked tree that
// makes no sense ends, is a defined way out; what it loses is no leak.
bool runs(const std::function<void()>& body);

// Ends the process, so that the fuzzer keeps the input, unless the two texts are equal.
void expect_equal(const std::string& a, const std::string& b, const char* what);
void expect(bool condition, const char* what);

} // namespace norvane::fuzz

#endif
