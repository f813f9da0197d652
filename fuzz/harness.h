// Shared by the fuzz targets. A target is a function that takes bytes; the fuzzer runs it millions
// of times in one process, the test suite once for each kept input (replay.cpp).
#ifndef NORVANE_FUZZ_HARNESS_H
#define NORVANE_FUZZ_HARNESS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "support.h"

// The entry point of the fuzzer, defined by every target.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace norvane::fuzz {

using namespace norvane::test;

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

// Runs `body` in a frame; true if it returned. A throw of kind 1 is allowed.
bool runs(const std::function<void()>& body);

// Abort the process, so that the fuzzer keeps the input, unless the two texts are equal, the
// condition holds, or a reader has either read something or reported why not.
void expect_equal(const std::string& a, const std::string& b, const char* what);
void expect(bool condition, const char* what);
void expect_read(const void* read, const Reports& reports);

// Checks that what is written reads back as what is written in the same way. Returns false if the
// format cannot express it.
template <typename T, typename Read, typename Write>
bool check_round_trip(T* thing, Read read, Write write, void (*free)(T*),
                      bool may_be_refused = false) {
    static const MemoryFile file;
    if (!runs([&] { write(thing, file.path()); })) return false;
    const std::string first = file.read();
    T* again = read(file.path());
    expect(again || may_be_refused, "what was written is refused");
    if (!again) return true;
    expect(runs([&] { write(again, file.path()); }), "a second writing");
    expect_equal(first, file.read(), "what was written and read");
    free(again);
    return true;
}

} // namespace norvane::fuzz

#endif
