// Packages, and what the base library knows about files and tools.
#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>
#include <zip.h>

#include "libzip.h"
#include "norvane/base/packages.hpp"
#include "test.h"

namespace {

using namespace NorvaneCpp;
using norvane::test::read_file;
using norvane::test::TemporaryDirectory;

std::string content(CFilePtr file) {
    if (!file.isOpen()) return "(not open)";
    std::string text;
    for (char buffer[7];;) {
        const size_t got = file->read(buffer, 1, sizeof buffer);
        text.append(buffer, got);
        if (file->eof()) return text;
        EXPECT_EQ(sizeof buffer, got) << "short only at the end";
    }
}

// The content, or why there is none.
std::string content(CFilePackage& package, const char* member) {
    const auto state = package.memberState(member);
    if (state == MEMBER_READABLE) return content(package.open(member, FILE_OPEN_READ));
    return state == MEMBER_UNSAFE_NAME ? "(unsafe name)"
           : state == MEMBER_DAMAGED   ? "(damaged)"
                                       : "(state " + std::to_string(state) + ")";
}

// One line a member: "NAME: content".
std::string listing(const std::string& path) {
    CFilePackage package;
    if (!package.openPackage(path.c_str(), "")) return "(not open)";
    std::string text;
    for (size_t i = 0; i < package.memberCount(); ++i) {
        const String name = package.memberName(i);
        text += std::string(name.GetStr()) + ": " + content(package, name.GetStr()) + "\n";
    }
    return text;
}

// A package of the model "M" as the maker of packages does it.
void make(const std::string& path, const TemporaryDirectory& sources) {
    CFilePackage package;
    ASSERT_TRUE(package.createPackage(path.c_str(), ""));
    EXPECT_STREQ(path.c_str(), package.packageFilename().GetStr());
    CFilePtr index = package.open("index.mui", FILE_OPEN_CREATE_WRITE);
    ASSERT_TRUE(index.isOpen());
    index->printf("modeltype=%s\n", "StandardMu");
    EXPECT_EQ(7, index->printf("main=%s\n", "M"));
    index->close();
    index->close();
    EXPECT_EQ(-1, index->printf("late"));
    EXPECT_TRUE(package.importFile((sources.path() + "\\M.mu").c_str(), "workspace/M/build/M.mu"));
    EXPECT_TRUE(package.importFile((sources.path() + "/M.clx").c_str(), "workspace/M/build/M.clx"));
    EXPECT_TRUE(package.importFile((sources.path() + "/M.mu").c_str(), "workspace/M/\xE6/empty"));
    EXPECT_FALSE(package.importFile((sources.path() + "/M.mu").c_str(), "index.mui")) << "double";
    EXPECT_FALSE(package.importFile((sources.path() + "/none").c_str(), "none"));
    EXPECT_FALSE(package.importFile(sources.path().c_str(), "directory"));
    EXPECT_FALSE(package.importFile("/dev/zero", "device"));
    EXPECT_FALSE(package.open("index.mui", FILE_OPEN_CREATE_WRITE).isOpen()) << "double";
    EXPECT_FALSE(package.open("index.mui", FILE_OPEN_READ).isOpen()) << "not while it is made";
}

TEST(Packages, WhatIsPutInComesOut) {
    const TemporaryDirectory directory;
    const std::string calculation = std::string(5000, 'x') + std::string("\0\xFF\n", 3);
    directory.write("M.mu", "");
    directory.write("M.clx", calculation);
    std::filesystem::create_directory(directory.path() + "/sub");
    make(directory.path() + "\\sub\\a.mub", directory);
    const std::string path = directory.path() + "/sub/a.mub";
    const std::string list = "index.mui: modeltype=StandardMu\nmain=M\n\n"
                             "workspace/M/build/M.mu: \nworkspace/M/build/M.clx: " +
                             calculation + "\nworkspace/M/\xE6/empty: \n";
    EXPECT_EQ(list, listing(path));
    if (std::system("command -v unzip >/dev/null") == 0) {
        EXPECT_EQ(0, std::system(("unzip -tq " + path + " >/dev/null").c_str()));
    }

    CMubPackage package;
    ASSERT_TRUE(package.openPackage((directory.path() + "\\sub\\a.mub").c_str(), ""));
    EXPECT_FALSE(package.importFile((directory.path() + "/M.mu").c_str(), "x")) << "for reading";
    EXPECT_FALSE(package.open("x", FILE_OPEN_CREATE_WRITE).isOpen());
    CMubPackageModel* model = package.getModel("M");
    ASSERT_NE(nullptr, model);
    EXPECT_EQ(model, package.getModel("M"));
    EXPECT_EQ(calculation, content(model->OpenCalculation()));
    EXPECT_TRUE(!package.getModel("m") && !package.getModel(""));
    EXPECT_TRUE(package.closeAndSave());
    EXPECT_FALSE(package.closeAndSave());
    EXPECT_EQ(nullptr, package.getModel("M"));
    EXPECT_FALSE(model->OpenCalculation().isOpen());
}

TEST(Packages, AModelIsFoundByItsNameInTheIndexAlone) {
    const TemporaryDirectory directory;
    const std::string path = directory.path() + "/a.mub";
    CFilePackage made;
    ASSERT_TRUE(made.createPackage(path.c_str(), ""));
    made.open("index.mui", FILE_OPEN_CREATE_WRITE)->printf("modeltype=StandardMu\nmain=M\n");
    ASSERT_TRUE(made.closeAndSave());
    CMubPackage package;
    ASSERT_TRUE(package.openPackage(path.c_str(), ""));
    EXPECT_TRUE(package.getModel("M") && !package.getModel("StandardMu"));
}

TEST(Packages, AnExistingFileStaysUntilANewOneIsComplete) {
    const TemporaryDirectory directory;
    const std::string path = directory.write("a.mub", "precious");
    const auto attempt = [&](const std::function<void(CFilePackage&)>& body) {
        CFilePackage package;
        EXPECT_TRUE(package.createPackage(path.c_str(), ""));
        body(package);
        EXPECT_EQ("precious", read_file(path));
        return package.closeAndSave();
    };
    EXPECT_FALSE(attempt([](CFilePackage&) {})) << "a package has members";
    EXPECT_EQ("precious", read_file(path));
    EXPECT_FALSE(attempt([&](CFilePackage& package) {
        package.open("member", FILE_OPEN_CREATE_WRITE)->printf("%01000000d", 1);
        package.importFile("/proc/self/exe", "program"); // does not fit
        const rlimit small = {4096, RLIM_INFINITY};
        signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &small);
    }));
    const rlimit unlimited = {RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &unlimited);
    EXPECT_EQ("precious", read_file(path));
    EXPECT_EQ(std::vector<std::string>{"a.mub"}, directory.names()) << "nothing is left beside it";

    CFilePtr open;
    EXPECT_TRUE(attempt([&](CFilePackage& package) {
        CFilePtr first = package.open("first", FILE_OPEN_CREATE_WRITE);
        open = package.open("member", FILE_OPEN_CREATE_WRITE);
        EXPECT_FALSE(package.open("first", FILE_OPEN_CREATE_WRITE).isOpen()) << "double";
        first->close();
        open->printf("text");
    })) << "saving closes what is open";
    EXPECT_EQ(-1, open->printf("late"));
    EXPECT_EQ("first: \nmember: text\n", listing(path));
}

TEST(Packages, WhatIsNoPackageDoesNotOpen) {
    const TemporaryDirectory directory;
    mkfifo((directory.path() + "/fifo").c_str(), 0600);
    directory.write("M.mu", "mu");
    directory.write("M.clx", std::string(3000, 'x'));
    make(directory.path() + "/a.mub", directory);
    const std::string whole = read_file(directory.path() + "/a.mub");
    directory.write("text", "PK\3\4 and no more");
    directory.write("empty", "");
    directory.write("cut", whole.substr(0, whole.size() - 30));
    for (const char* name : {"text", "empty", "cut", "none", "fifo", "."})
        EXPECT_EQ("(not open)", listing(directory.path() + "/" + name)) << name;

    // Damage inside: the member is not given at all, the others are.
    std::string damaged = whole;
    const size_t member = damaged.find("workspace/M/build/M.clx");
    damaged[member + std::strlen("workspace/M/build/M.clx") + 2] ^= 1;
    const std::string list = listing(directory.write("damaged", damaged));
    EXPECT_NE(std::string::npos, list.find("workspace/M/build/M.mu: mu\n"));
    EXPECT_NE(std::string::npos, list.find("workspace/M/build/M.clx: (damaged)\n"));
}

// Archives that are not of our making, through libzip itself.
TEST(Packages, HostileMembersAreNotGiven) {
    const TemporaryDirectory directory;
    const std::string path = directory.path() + "/hostile.mub";
    zip_t* archive = zip_open(path.c_str(), ZIP_CREATE, nullptr);
    const auto add = [&](const char* name) {
        zip_source_t* source = zip_source_buffer(archive, "text", 4, 0);
        return static_cast<zip_uint64_t>(zip_file_add(archive, name, source, 0));
    };
    for (const char* name : {"/etc/passwd", "\\x", "../x", "a/../x", "a\\..\\x", "..", "C:x",
                             "..a/b..", "workspace/N/x"})
        add(name);
    zip_file_set_encryption(archive, add("secret"), ZIP_EM_AES_256, "password");
    ASSERT_EQ(0, zip_close(archive));
    EXPECT_EQ("/etc/passwd: (unsafe name)\n\\x: (unsafe name)\n../x: (unsafe name)\n"
              "a/../x: (unsafe name)\na\\..\\x: (unsafe name)\n..: (unsafe name)\n"
              "C:x: (unsafe name)\n..a/b..: text\nworkspace/N/x: text\nsecret: (damaged)\n",
              listing(path));
    CMubPackage package;
    ASSERT_TRUE(package.openPackage(path.c_str(), ""));
    CMubPackageModel* model = package.getModel("N");
    ASSERT_NE(nullptr, model) << "found by its members";
    EXPECT_STREQ("N", model->name().GetStr());
    EXPECT_FALSE(model->OpenCalculation().isOpen());
}

TEST(Packages, AMemberOfMoreThanOneGiBIsTooLarge) {
    const TemporaryDirectory directory;
    const std::string zeros = directory.write("zeros", "");
    std::filesystem::resize_file(zeros, (std::uintmax_t{1} << 30) + 1);
    const std::string path = directory.path() + "/large.mub";
    zip_t* archive = zip_open(path.c_str(), ZIP_CREATE, nullptr);
    zip_source_t* source = zip_source_file(archive, zeros.c_str(), 0, -1);
    const auto index = static_cast<zip_uint64_t>(zip_file_add(archive, "zeros", source, 0));
    zip_set_file_compression(archive, index, ZIP_CM_DEFLATE, 1);
    ASSERT_EQ(0, zip_close(archive));
    CFilePackage package;
    EXPECT_EQ(MEMBER_ABSENT, package.memberState("zeros"));
    ASSERT_TRUE(package.openPackage(path.c_str(), ""));
    EXPECT_EQ(MEMBER_TOO_LARGE, package.memberState("zeros"));
    EXPECT_EQ(MEMBER_ABSENT, package.memberState("ones"));
    EXPECT_FALSE(package.open("zeros", FILE_OPEN_READ).isOpen());
}

TEST(Packages, AMissingLibraryIsReported) {
    for (const auto& [name, reason] : {std::pair{"libnone.so.1", "libnone.so.1: cannot open"},
                                       {"libc.so.6", "zip_open"}}) { // no library of that name
        const norvane::test::Reports reports;
        EXPECT_FALSE(norvane::package::load_libzip_from(name));
        const std::string text = reports.text();
        EXPECT_TRUE(text.starts_with("ERR_LIBRARY_LOAD: The library '" + std::string(name) +
                                     "' cannot be loaded: "))
            << text;
        EXPECT_NE(std::string::npos, text.find(reason)) << text;
    }
}

TEST(Files, AFileIsReadOnlyByItsMode) {
    const TemporaryDirectory directory;
    const std::string path = directory.write("sub/file", "");
    for (const mode_t mode : {0644u, 0444u, 0464u}) {
        chmod(path.c_str(), mode);
        EXPECT_EQ(mode == 0444, os_file_is_readonly(path.c_str()) != 0) << mode;
    }
    chmod(path.c_str(), 0444);
    EXPECT_TRUE(os_file_is_readonly((directory.path() + "\\sub\\file").c_str()));
    EXPECT_FALSE(os_file_is_readonly((directory.path() + "/none").c_str()));
}

TEST(Files, EachNameOfAPathMayBeInTheCodePage) {
    const TemporaryDirectory directory;
    const std::string top = directory.path();
    EXPECT_FALSE(os_file_exists((top + "/\xE9.pm").c_str()));
    directory.write("\xC3\xA9.pm", "");
    EXPECT_TRUE(os_file_exists((top + "/\xE9.pm").c_str()));
    os_delete_file((top + "/\xE9.pm").c_str());
    EXPECT_FALSE(os_file_exists((top + "/\xC3\xA9.pm").c_str()));

    // Of a system that had these names so.
    directory.write("\xE9.pm", "");
    directory.write("\xFC/\xC3\xA9.pm", "");
    directory.write("\xC3\xB6/\xFC/c", "");
    directory.write("\xC3\xB6/\xC3\xA9.pm", "");
    for (const char* path : {"/\xE9.pm", "/\xC3\xB6/\xE9.pm", "/\xF6\\\xC3\xA9.pm", "/\xFC/\xE9.pm",
                             "/\xF6//\xFC\\c", "/\xF6/"})
        EXPECT_TRUE(os_file_exists((top + path).c_str())) << path;
    os_delete_file((top + "/\xE9.pm").c_str());
    EXPECT_EQ((std::vector<std::string>{"\xC3\xB6", "\xFC"}), directory.names());

    CFilePackage package;
    ASSERT_TRUE(package.createPackage((top + "\\\xF6\\\xE9.mub").c_str(), ""));
    EXPECT_TRUE(package.importFile((top + "/\xC3\xB6/\xE9.pm").c_str(), "\xE9.pm"));
    EXPECT_TRUE(package.closeAndSave());
    EXPECT_EQ("\xE9.pm: \n", listing(top + "/\xC3\xB6/\xC3\xA9.mub"));
}

TEST(Settings, ToolsAreBesideTheLibraryUnlessTheHostSaysOtherwise) {
    const std::string beside = settings_get_full_bin_path("kelcalc");
    EXPECT_TRUE(beside.starts_with("/") && beside.ends_with("/bin/kelcalc")) << beside;
    settings_set_bin_folder("/opt/tools");
    EXPECT_STREQ("/opt/tools/kelcalc", settings_get_full_bin_path("kelcalc"));
    settings_set_bin_folder(nullptr);
    EXPECT_EQ(beside, settings_get_full_bin_path("kelcalc"));
}

} // namespace
