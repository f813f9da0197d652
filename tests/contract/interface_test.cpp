// What programs that were built against an older version of the libraries rely on: the size of each
// public record and the type and place of each field, the value of each enumerator, the signature
// of each exported function, and the order of virtual functions. interface.py lists them all.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <typeinfo>

#include <gtest/gtest.h>

#include "norvane/base.h"
#include "norvane/base/packages.hpp"
#include "norvane/base/sax_include.hpp"
#include "norvane/proj.h"

namespace {

using namespace NorvaneCpp;

// One number stands for hundreds of lines (FNV-1a).
void expect_sum(const std::string& text, std::uint64_t expected) {
    std::uint64_t sum = 0xcbf29ce484222325;
    for (const char c : text)
        sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    EXPECT_EQ(sum, expected) << "The interface has changed. To see where, break the sum in a "
                                "worktree of the last version, too, and compare both lists; where "
                                "things were only added, put the new sum into the test.\n"
                             << text;
}

// Types as the compilers that share this binary interface abbreviate them.
#define FUNCTION(f) text += std::string(#f " ") + typeid(decltype(f)).name() + '\n';
#define RECORD(type) text += #type " " + std::to_string(sizeof(type)) + '\n';
#define FIELD(type, path)                                                                          \
    text += std::string(#path " ") + typeid(decltype(type::path)).name() + " at " +                \
            std::to_string(offsetof(type, path)) + '\n';
#define VALUE(enumerator) text += #enumerator " " + std::to_string(enumerator) + '\n';

TEST(Interface, FunctionsRecordsAndEnumeratorsAreAsTheyWere) {
    std::string text;
#include "interface.inc"
    for (const std::size_t size : {sizeof(String), sizeof(CFilePtr), sizeof(CFilePackage),
                                   sizeof(CMubPackage), sizeof(CMubPackageModel)})
        text += std::to_string(size) + '\n';
    expect_sum(text, 1719118662913137416u);
}

// The place of a virtual function in the table of its class, after what the destructor takes.
template <typename Function>
std::intptr_t slot(Function function) {
    std::intptr_t value = 0;
    std::memcpy(&value, &function, sizeof value);
    return (value - 1) / static_cast<std::intptr_t>(sizeof(void*));
}

TEST(Interface, VirtualFunctionsStandInTheirOrder) {
    EXPECT_EQ(slot(&CFile::read), 2);
    EXPECT_EQ(slot(&CFile::printf), 3);
    EXPECT_EQ(slot(&CFile::eof), 4);
    EXPECT_EQ(slot(&CFile::close), 5);
}

} // namespace
