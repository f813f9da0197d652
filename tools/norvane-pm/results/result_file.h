// Files of results.
#ifndef NORVANE_PM_RESULT_FILE_H
#define NORVANE_PM_RESULT_FILE_H

#include <cstdio>
#include <string>

namespace norvane::driver {

// A file that is replaced atomically: results go to a temporary file beside it, which gets its name
// when all of them are written. Whatever goes wrong before, the old file stays as it is. There is
// one at a time.
//
// What is not a regular file, such as a device or a pipe, is written to directly. Standard output,
// "-", is checked at the end of the program (output.h), as for all other commands.
class ResultFile {
  public:
    ResultFile() = default;
    ~ResultFile() { discard(); }
    ResultFile(const ResultFile&) = delete;
    ResultFile& operator=(const ResultFile&) = delete;

    // False if nothing can be written under this name.
    bool open(const std::string& name);
    std::FILE* stream() const { return stream_; }

    // True once something could not be written: to be asked right after writing, while the reason
    // is known. The rest need not be written then.
    bool refused();

    // Closes the file and replaces the old one. False if a write failed; the old file is then
    // unchanged.
    bool close();
    // Why close() failed, as in errno.
    int error() const { return error_; }

    // Ends without a result.
    void discard();

  private:
    bool open_beside(const std::string& target);

    std::FILE* stream_ = nullptr;
    std::string target_;    // what the file is to replace; empty where it is written to directly
    std::string temporary_; // its name until then
    int error_ = 0;
};

} // namespace norvane::driver

#endif
