// Packages: ZIP archives, by libzip, which is loaded before an archive is opened.
//
// Archives are untrusted input: members are rejected if their name would leave the directory into
// which they are unpacked, if they are damaged, or if they would inflate without bound.

#include "norvane/base/packages.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

#include "libzip.h"
#include "norvane/base/array.hpp"
#include "norvane/base/items.hpp"
#include "norvane/base/memory.h"
#include "norvane/base/strings.h"
#include "os_path.h"

namespace NorvaneCpp {

using namespace norvane::package;

namespace {

constexpr zip_uint64_t largest_member = zip_uint64_t{1} << 30;
constexpr zip_uint32_t deflate_level = 6;
// Noon of the second of January 1980, so that equal packages have equal bytes.
constexpr zip_uint16_t member_date = (1 << 5) | 2;
constexpr zip_uint16_t member_time = 12 << 11;

bool is_separator(char c) {
    return c == '/' || c == '\\';
}

// Returns true for a name that stays inside the directory into which the member is unpacked.
bool is_safe_name(const char* name) {
    if (!*name || is_separator(*name) || name[1] == ':') return false;
    for (const char* step = name; *step;) {
        const std::size_t length = std::strcspn(step, "/\\");
        if (length == 2 && step[0] == '.' && step[1] == '.') return false;
        step += length;
        if (*step) ++step;
    }
    return true;
}

// A base for classes on the heap, whose allocation throws by except.h.
struct Allocated {
    static void* operator new(std::size_t size) { return util_malloc_throw(size); }
    static void operator delete(void* memory) { std::free(memory); }
};

class WrittenMember;

} // namespace

struct Package : Allocated {
    zip_t* archive = nullptr;
    bool is_new = false;
    bool has_failed = false;          // a member could not be added
    WrittenMember* written = nullptr; // a list of the members that are still being written
    norvane::Array<char*> contents;   // owned; of the members of a new package, until it is saved
    String path;                      // as passed by the caller

    bool has_member(const String& name) const;
    // Finds a member for reading; stores its index if it is readable.
    EMemberState find_readable(const String& name, zip_uint64_t* index) const;
    bool add_member(const String& name, char* data, std::size_t size);
    void free_contents();
};

namespace {

// A new member. It collects its text and adds it to the package when it is closed.
class WrittenMember final : public CFile, public Allocated {
  public:
    WrittenMember(Package* package, const String& name)
        : package_(package), next_(package->written), name_(name), text_(ustr_new()) {
        package->written = this;
    }
    ~WrittenMember() override { WrittenMember::close(); }
    WrittenMember(const WrittenMember&) = delete;
    WrittenMember& operator=(const WrittenMember&) = delete;

    std::size_t read(void*, std::size_t, std::size_t) override { return 0; }
    int printf(const char* format, ...) override NORVANE_PRINTF(2, 3);
    bool eof() override { return true; }
    void close() override;

    const String& name() const { return name_; }
    WrittenMember* next() const { return next_; }

  private:
    Package* package_; // null once closed
    WrittenMember* next_;
    String name_;
    UtilString* text_; // null once closed
};

int WrittenMember::printf(const char* format, ...) {
    if (!package_) return -1;
    va_list args;
    va_start(args, format);
    char* formatted = nullptr;
    const int size = vasprintf(&formatted, format, args);
    va_end(args);
    if (size < 0) {
        package_->has_failed = true;
        return -1;
    }
    ustr_append_chars(text_, formatted, static_cast<std::size_t>(size));
    std::free(formatted);
    return size;
}

void WrittenMember::close() {
    if (!package_) return;
    WrittenMember** link = &package_->written;
    while (*link != this)
        link = &(*link)->next_;
    *link = next_;
    const std::size_t size = text_->length;
    char* data = text_->text;
    text_->text = nullptr; // add_member takes it over
    ustr_delete(text_);
    text_ = nullptr;
    if (!package_->add_member(name_, data, size)) package_->has_failed = true;
    package_ = nullptr;
}

// A member that is being read.
class ReadMember final : public CFile, public Allocated {
  public:
    explicit ReadMember(zip_file_t* file) : file_(file) {}
    ~ReadMember() override { ReadMember::close(); }
    ReadMember(const ReadMember&) = delete;
    ReadMember& operator=(const ReadMember&) = delete;

    std::size_t read(void* buffer, std::size_t size, std::size_t count) override {
        if (!file_ || size == 0 || count == 0) return 0;
        const zip_int64_t got = libzip.fread(file_, buffer, size * count);
        eof_ = got >= 0 && got < static_cast<zip_int64_t>(size * count);
        return got > 0 ? static_cast<std::size_t>(got) / size : 0;
    }
    int printf(const char*, ...) override NORVANE_PRINTF(2, 3) { return -1; }
    bool eof() override { return eof_; }
    void close() override {
        if (file_) libzip.fclose(file_);
        file_ = nullptr;
        eof_ = true;
    }

  private:
    zip_file_t* file_; // null once closed
    bool eof_ = false;
};

// Reads the whole member, so that damage is found before a caller uses a part of it.
EMemberState state_of_content(zip_t* archive, zip_uint64_t index) {
    zip_file_t* file = libzip.fopen_index(archive, index, 0);
    if (!file) return MEMBER_DAMAGED;
    constexpr zip_uint64_t buffer_size = 64 << 10;
    void* buffer = util_malloc_throw(buffer_size);
    zip_uint64_t size = 0;
    zip_int64_t got = 0;
    while (size <= largest_member && (got = libzip.fread(file, buffer, buffer_size)) > 0)
        size += static_cast<zip_uint64_t>(got);
    std::free(buffer);
    libzip.fclose(file);
    if (size > largest_member) return MEMBER_TOO_LARGE;
    return got == 0 ? MEMBER_READABLE : MEMBER_DAMAGED;
}

// Returns the content of a regular file, which the caller frees; null if it cannot be read.
char* file_content(const char* path, std::size_t* size) {
    const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return nullptr;
    struct stat status;
    char* data = nullptr;
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        *size = static_cast<std::size_t>(status.st_size);
        data = static_cast<char*>(util_malloc_throw(*size));
    }
    for (std::size_t done = 0; data && done < *size;) {
        const ssize_t got = ::read(descriptor, data + done, *size - done);
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            std::free(data);
            data = nullptr;
        }
    }
    ::close(descriptor);
    return data;
}

bool is_regular_file(const char* path, bool may_be_empty) {
    struct stat status;
    return stat(path, &status) == 0 && S_ISREG(status.st_mode) &&
           (may_be_empty || status.st_size > 0);
}

// Returns true if a file can be created at the path, or a file there be replaced.
bool can_be_written(const char* path) {
    if (!*path || (access(path, F_OK) == 0 && !is_regular_file(path, true))) return false;
    const char* slash = std::strrchr(path, '/');
    const String directory = slash ? String(path, static_cast<std::size_t>(slash - path + 1)) : ".";
    return access(directory.GetStr(), W_OK | X_OK) == 0;
}

} // namespace

bool Package::has_member(const String& name) const {
    for (const WrittenMember* member = written; member; member = member->next())
        if (str_is_equal(member->name().GetStr(), name.GetStr())) return true;
    return libzip.name_locate(archive, UTF8::ToUnicode(name).GetStr(), 0) >= 0;
}

EMemberState Package::find_readable(const String& name, zip_uint64_t* index) const {
    if (!is_safe_name(name.GetStr())) return MEMBER_UNSAFE_NAME;
    const zip_int64_t found = libzip.name_locate(archive, UTF8::ToUnicode(name).GetStr(), 0);
    if (found < 0) return MEMBER_ABSENT;
    *index = static_cast<zip_uint64_t>(found);
    return state_of_content(archive, *index);
}

// Adds a member with the content `data`, which it takes over. libzip reads it when the package is
// saved. It does not own it, because after some of its failures it has freed what it owns, and
// after others it has not.
bool Package::add_member(const String& name, char* data, std::size_t size) {
    if (!contents.try_reserve(1)) {
        std::free(data);
        return false;
    }
    contents.push(data);
    zip_source_t* source = libzip.source_buffer(archive, data, size, 0);
    if (!source) return false;
    const zip_int64_t added =
        libzip.file_add(archive, UTF8::ToUnicode(name).GetStr(), source, ZIP_FL_ENC_UTF_8);
    if (added < 0) {
        libzip.source_free(source);
        return false;
    }
    const auto index = static_cast<zip_uint64_t>(added);
    return libzip.set_file_compression(archive, index, ZIP_CM_DEFLATE, deflate_level) == 0 &&
           libzip.file_set_dostime(archive, index, member_time, member_date, 0) == 0;
}

void Package::free_contents() {
    for (char* data : contents)
        std::free(data);
    contents.release();
}

CFilePtr& CFilePtr::operator=(CFilePtr&& other) noexcept {
    if (this != &other) {
        delete file_;
        file_ = other.file_;
        other.file_ = nullptr;
    }
    return *this;
}

CFilePtr::~CFilePtr() {
    delete file_;
}

CFilePackage::CFilePackage() : package_(new Package) {}

CFilePackage::~CFilePackage() {
    closeAndSave();
    delete package_;
}

bool CFilePackage::createPackage(const String& path, const String&) {
    closeAndSave();
    package_->path = path;
    package_->is_new = true;
    package_->has_failed = false;
    char* native = norvane::os::native_path(path.GetStr());
    if (can_be_written(native) && load_libzip())
        package_->archive = libzip.open(native, ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    str_delete(native);
    return isOpen();
}

bool CFilePackage::openPackage(const String& path, const String&) {
    closeAndSave();
    package_->path = path;
    package_->is_new = false;
    char* native = norvane::os::native_path(path.GetStr());
    // libzip takes an empty file for an archive without members.
    if (is_regular_file(native, false) && load_libzip())
        package_->archive = libzip.open(native, ZIP_RDONLY, nullptr);
    str_delete(native);
    return isOpen();
}

bool CFilePackage::isOpen() const {
    return package_->archive != nullptr;
}

bool CFilePackage::importFile(const String& path, const String& member) {
    if (!isOpen() || !package_->is_new || package_->has_member(member)) return false;
    std::size_t size = 0;
    char* native = norvane::os::native_path(path.GetStr());
    char* data = file_content(native, &size);
    str_delete(native);
    return data && package_->add_member(member, data, size);
}

CFilePtr CFilePackage::open(const String& member, EFileOpenArgs args) {
    zip_t* archive = package_->archive;
    if (!archive) return CFilePtr();
    if (args & FILE_OPEN_WRITE) {
        if (!package_->is_new || package_->has_member(member)) return CFilePtr();
        return CFilePtr(new WrittenMember(package_, member));
    }
    zip_uint64_t index;
    if (!(args & FILE_OPEN_READ) || package_->find_readable(member, &index) != MEMBER_READABLE)
        return CFilePtr();
    zip_file_t* file = libzip.fopen_index(archive, index, 0);
    return file ? CFilePtr(new ReadMember(file)) : CFilePtr();
}

EMemberState CFilePackage::memberState(const String& member) const {
    zip_uint64_t index;
    return isOpen() ? package_->find_readable(member, &index) : MEMBER_ABSENT;
}

String CFilePackage::packageFilename() const {
    return package_->path;
}

bool CFilePackage::closeAndSave() {
    if (!isOpen()) return false;
    while (package_->written)
        package_->written->close();
    zip_t* archive = package_->archive;
    package_->archive = nullptr;
    // Instead of writing an archive without members, libzip would delete the file at the path.
    const bool is_lost =
        package_->is_new && (package_->has_failed || libzip.get_num_entries(archive, 0) == 0);
    // libzip writes a temporary file in the same directory and renames it.
    const bool is_saved = !is_lost && libzip.close(archive) == 0;
    if (!is_saved) libzip.discard(archive);
    package_->free_contents();
    return is_saved;
}

std::size_t CFilePackage::memberCount() const {
    return isOpen() ? static_cast<std::size_t>(libzip.get_num_entries(package_->archive, 0)) : 0;
}

String CFilePackage::memberName(std::size_t index) const {
    if (index >= memberCount()) return String();
    return UTF8::ToCodepage(libzip.get_name(package_->archive, index, 0), 1252, false);
}

namespace {

void delete_model(void* model) {
    static_cast<CMubPackageModel*>(model)->~CMubPackageModel();
    std::free(model);
}

// Returns true if the index member has the line "main=MODEL".
bool index_names(CFilePackage& package, const String& model) {
    CFilePtr index = package.open("index.mui", FILE_OPEN_READ);
    if (!index.isOpen()) return false;
    constexpr std::size_t largest_index = 64 << 10;
    auto* text = static_cast<char*>(util_malloc_throw(largest_index + 1));
    text[index->read(text, 1, largest_index)] = '\0';
    bool found = false;
    for (char* line = text; line && !found;) {
        char* end = std::strchr(line, '\n');
        if (end) *end++ = '\0';
        found = std::strncmp(line, "main=", 5) == 0 && str_is_equal(line + 5, model.GetStr());
        line = end;
    }
    std::free(text);
    return found;
}

bool has_members_of(const CFilePackage& package, const String& model) {
    String directory;
    directory.printf("workspace/%s/", model.GetStr());
    const std::size_t count = package.memberCount();
    for (std::size_t i = 0; i < count; ++i)
        if (std::strncmp(package.memberName(i).GetStr(), directory.GetStr(), directory.Size()) == 0)
            return true;
    return false;
}

} // namespace

CMubPackage::CMubPackage() : models_(plist_new(nullptr, nullptr, delete_model)) {}

CMubPackage::~CMubPackage() {
    plist_delete(models_);
}

CMubPackageModel* CMubPackage::getModel(const String& model) {
    if (!index_names(*this, model) && !has_members_of(*this, model)) return nullptr;
    for (CMubPackageModel* known : norvane::items<CMubPackageModel>(models_))
        if (str_is_equal(known->name().GetStr(), model.GetStr())) return known;
    void* memory = util_malloc_throw(sizeof(CMubPackageModel));
    auto* made = new (memory) CMubPackageModel(*this, model);
    plist_append(models_, made);
    return made;
}

CMubPackageModel::CMubPackageModel(CMubPackage& package, const String& name)
    : package_(package), name_(name) {}

CFilePtr CMubPackageModel::OpenCalculation() {
    String member;
    member.printf("workspace/%s/build/%s.clx", name_.GetStr(), name_.GetStr());
    return package_.open(member, FILE_OPEN_READ);
}

} // namespace NorvaneCpp
