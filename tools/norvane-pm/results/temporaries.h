// Files and directories that must not outlive the program.
#ifndef NORVANE_PM_TEMPORARIES_H
#define NORVANE_PM_TEMPORARIES_H

#include <string>

namespace norvane::driver {

// Makes a temporary file, whose name ends in "XXXXXX", which is filled in. Returns its descriptor,
// or -1 with the reason in errno. Signals that end the program remove the file first. There is one
// at a time.
int make_temporary_file(std::string& name);

// Removes the temporary file; or keeps it, where it has got another name.
void remove_temporary_file();
void keep_temporary_file();

// $TMPDIR, or else /tmp.
std::string place_for_temporaries();

// A directory of its own for the temporary files of the library, which is removed with all that is
// in it, also by signals that end the program: what a failed preprocessor has written stays there.
// There is one at a time.
class TemporaryDirectory {
  public:
    // If it cannot be made, the library tries to write where it would by itself.
    explicit TemporaryDirectory(const std::string& parent = place_for_temporaries());
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    // Its name; empty if it could not be made.
    const char* name() const;
    // Why it could not be made: the directory and the system's reason. Empty if it was.
    const std::string& failure() const { return failure_; }

  private:
    bool make(const std::string& parent);

    std::string failure_;
};

// Whether a program that does not handle the signal ends by it.
bool ends_program(int signal);

// For a copy of the process, which leaves to the original what that has made.
void disown_temporaries();

// While this lives, a library that keeps the name of its temporary file to itself writes this
// result. The file is the result's name with ".XXXXXX" filled in, beside it.
class LibraryTemporary {
  public:
    explicit LibraryTemporary(const std::string& result);
    ~LibraryTemporary();
    LibraryTemporary(const LibraryTemporary&) = delete;
    LibraryTemporary& operator=(const LibraryTemporary&) = delete;
};

// For a process that is another program's, which removes what it wants when it ends by a signal.
void leave_signals_alone();

// Removes all of them, where the program ends without unwinding. May be called in a signal handler.
void remove_temporaries();

} // namespace norvane::driver

#endif
