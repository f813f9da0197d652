// Packages: archives of named files in one file.
//
// A package is a ZIP archive, so that any unzip tool can look inside. Members are written in the
// order in which they were added, deflated, with one fixed time: equal inputs give equal bytes.
// Member names are in code page 1252 here and in UTF-8 in the archive. File paths take a backslash
// as a separator of folders too, and may be in either encoding (os.h).
#ifndef NORVANE_BASE_PACKAGES_HPP
#define NORVANE_BASE_PACKAGES_HPP

#include <cstddef>

#include "norvane/base/export.h"
#include "norvane/base/list.h"
#include "norvane/base/text.hpp"

namespace NorvaneCpp {

// How CFilePackage::open opens a member: for reading, or for writing a new one. Values are joined.
enum EFileOpenArgs {
    FILE_OPEN_WRITE = 1,
    FILE_OPEN_READ = 2,
    FILE_OPEN_CREATE = 4,
    FILE_OPEN_CREATE_WRITE = 5 // callers rely on this value
};

// An open member of a package. It must not be used once its package is gone.
class NORVANE_BASE_API CFile {
  public:
    virtual ~CFile() = default;
    // Reads up to `count` items of `size` bytes; returns the number of whole items, which is
    // smaller at the end, and 0 in front of it where the file cannot be read.
    virtual std::size_t read(void* buffer, std::size_t size, std::size_t count) = 0;
    // Writes formatted text; the number of bytes, or -1 if the file is not open for writing.
    virtual int printf(const char* format, ...) NORVANE_PRINTF(2, 3) = 0;
    // True once a read has met the end.
    virtual bool eof() = 0;
    // Ends the use of the file, and puts what was written into the package. Closing twice is
    // nothing.
    virtual void close() = 0;
};

// Owns a CFile, or none.
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

struct Package; // private: what is behind a CFilePackage

class NORVANE_BASE_API CFilePackage {
  public:
    CFilePackage();
    // Saves a new package that was not saved yet.
    virtual ~CFilePackage();
    CFilePackage(const CFilePackage&) = delete;
    CFilePackage& operator=(const CFilePackage&) = delete;

    // Starts a new package; what is at the path stays there until the package is saved. False if
    // there can be no such file, or, with ERR_LIBRARY_LOAD reported, libzip is missing. The second
    // text is empty.
    bool createPackage(const String& path, const String& reserved);
    // Opens a package for reading. False if there is none, or, with ERR_LIBRARY_LOAD reported,
    // libzip is missing. The second text is empty.
    bool openPackage(const String& path, const String& reserved);
    bool isOpen() const;
    // Copies the file `path` into a new package as `member`. False, with nothing added, if the file
    // cannot be read or there is such a member already.
    bool importFile(const String& path, const String& member);
    // Opens a member of a package that was opened, for reading, or starts one of a new package, for
    // writing. The result is not open if that is not possible: to be read, a member must be there,
    // undamaged, of at most 1 GiB, and with a name that stays inside of a folder; to be written, it
    // must not be there.
    CFilePtr open(const String& member, EFileOpenArgs args);
    // The path, as it was given.
    String packageFilename() const;
    // Closes the package. A new one is written beside its path and takes its place when it is
    // complete. False if that fails, as it does for a package without members, or if no package is
    // open.
    bool closeAndSave();
    // The number of members, and their names in order.
    std::size_t memberCount() const;
    String memberName(std::size_t index) const;

  private:
    Package* package_;
};

class CMubPackage;

// One model of a compiled package; borrowed from its package.
class NORVANE_BASE_API CMubPackageModel {
  public:
    const String& name() const { return name_; }
    // Opens the calculation "workspace/MODEL/build/MODEL.clx" for reading; the result is not open
    // without one.
    CFilePtr OpenCalculation();

  private:
    friend class CMubPackage;
    CMubPackageModel(CMubPackage& package, const String& name);
    CMubPackage& package_;
    String name_;
};

// A compiled package, of one model or more.
class NORVANE_BASE_API CMubPackage : public CFilePackage {
  public:
    CMubPackage();
    ~CMubPackage() override;
    // The named model, if "index.mui" has the line "main=MODEL" or there are members below
    // "workspace/MODEL/"; else null. Borrowed: it lives as long as the package.
    CMubPackageModel* getModel(const String& model);

  private:
    PolyList* models_; // of CMubPackageModel; those that were asked for
};

} // namespace NorvaneCpp

#endif
