// Packages: ZIP archives, which any unzip tool can open.
//
// Members are written in the order in which they were added, deflated, with a fixed time, so that
// equal inputs give equal bytes. Member names are in code page 1252 here and in UTF-8 in the
// archive. In file paths a backslash separates directories too, and their encoding may be either
// (os.h).
#ifndef NORVANE_BASE_PACKAGES_HPP
#define NORVANE_BASE_PACKAGES_HPP

#include <cstddef>

#include "norvane/base/export.h"
#include "norvane/base/list.h"
#include "norvane/base/text.hpp"

namespace NorvaneCpp {

// How CFilePackage::open opens a member: for reading, or for writing a new one. Bits of a mask.
enum EFileOpenArgs {
    FILE_OPEN_WRITE = 1,
    FILE_OPEN_READ = 2,
    FILE_OPEN_CREATE = 4,
    FILE_OPEN_CREATE_WRITE = 5 // callers rely on this value
};

// Whether a member can be read, and why not.
enum EMemberState {
    MEMBER_READABLE,
    MEMBER_ABSENT,
    MEMBER_UNSAFE_NAME, // it would leave the directory into which it is unpacked
    MEMBER_TOO_LARGE,   // larger than 1 GiB when it is unpacked
    MEMBER_DAMAGED
};

// An open member of a package. It must not be used after its package is destroyed.
class NORVANE_BASE_API CFile {
  public:
    virtual ~CFile() = default;
    // Reads up to `count` items of `size` bytes. Returns the number of complete items: fewer at the
    // end of the file, and 0 if it cannot be read.
    virtual std::size_t read(void* buffer, std::size_t size, std::size_t count) = 0;
    // Writes formatted text. Returns the number of bytes, or -1 if the file is not open for
    // writing.
    virtual int printf(const char* format, ...) NORVANE_PRINTF(2, 3) = 0;
    // True after a read has reached the end.
    virtual bool eof() = 0;
    // Closes the file, and adds what was written to the package. Closing twice does nothing.
    virtual void close() = 0;
};

// Owns a CFile, or is empty.
class NORVANE_BASE_API CFilePtr {
  public:
    CFilePtr() = default;
    explicit CFilePtr(CFile* file) : file_(file) {}
    CFilePtr(CFilePtr&& other) noexcept : file_(other.file_) { other.file_ = nullptr; }
    CFilePtr& operator=(CFilePtr&& other) noexcept;
    CFilePtr(const CFilePtr&) = delete;
    CFilePtr& operator=(const CFilePtr&) = delete;
    ~CFilePtr(); // closes the file
    bool isOpen() const { return file_ != nullptr; }
    CFile* operator->() const { return file_; } // only while isOpen()

  private:
    CFile* file_ = nullptr;
};

struct Package; // private: the state of a CFilePackage

// A package that is open for reading, a new one that is being written, or none.
class NORVANE_BASE_API CFilePackage {
  public:
    CFilePackage();
    // Saves a new package that is still open.
    virtual ~CFilePackage();
    CFilePackage(const CFilePackage&) = delete;
    CFilePackage& operator=(const CFilePackage&) = delete;

    // Starts a new package. A file at the path stays until the package is saved. Returns false if
    // the path cannot be written, or, after reporting ERR_LIBRARY_LOAD, if libzip cannot be loaded.
    // The second text is empty.
    bool createPackage(const String& path, const String& reserved);
    // Opens a package for reading. Returns false if there is none, or, after reporting
    // ERR_LIBRARY_LOAD, if libzip cannot be loaded. The second text is empty.
    bool openPackage(const String& path, const String& reserved);
    bool isOpen() const;
    // Copies the file `path` into a new package as `member`. Returns false, and adds nothing, if
    // the file cannot be read or the member exists.
    bool importFile(const String& path, const String& member);
    // Opens a member for reading, or starts a new member of a new package. The result is not open
    // if that is impossible: a member that is read must exist, be undamaged, be at most 1 GiB, and
    // have a name that stays inside the directory into which it would be unpacked; a member that is
    // written must not exist.
    CFilePtr open(const String& member, EFileOpenArgs args);
    // Tells why a member cannot be opened for reading. Reads the whole member. MEMBER_ABSENT if no
    // package is open.
    EMemberState memberState(const String& member) const;
    // The path that the package was opened or created with.
    String packageFilename() const;
    // Closes the package. A new package replaces the file at its path atomically. Returns false if
    // that fails, if a new package has no members, or if no package is open.
    bool closeAndSave();
    // The number of members, and their names, in the order of the archive.
    std::size_t memberCount() const;
    String memberName(std::size_t index) const;

  private:
    Package* package_;
};

class CMubPackage;

// A model of a compiled package, which owns it.
class NORVANE_BASE_API CMubPackageModel {
  public:
    const String& name() const { return name_; }
    // Opens the calculation "workspace/MODEL/build/MODEL.clx" for reading. The result is not open
    // if there is none.
    CFilePtr OpenCalculation();

  private:
    friend class CMubPackage;
    CMubPackageModel(CMubPackage& package, const String& name);
    CMubPackage& package_;
    String name_;
};

// A compiled package, which contains one model or more.
class NORVANE_BASE_API CMubPackage : public CFilePackage {
  public:
    CMubPackage();
    ~CMubPackage() override;
    // Returns the model, borrowed from the package, if "index.mui" has the line "main=MODEL" or
    // there are members below "workspace/MODEL/"; otherwise null.
    CMubPackageModel* getModel(const String& model);

  private:
    PolyList* models_; // of CMubPackageModel: the results of getModel
};

} // namespace NorvaneCpp

#endif
