// Packages: all members are read, and the calculation of a model is looked up.
#include "harness.h"
#include "norvane/base/packages.hpp"

using namespace norvane::fuzz;
using NorvaneCpp::CFilePtr;
using NorvaneCpp::CMubPackage;
using NorvaneCpp::CMubPackageModel;
using NorvaneCpp::FILE_OPEN_READ;

namespace {

// Reads at most 1 MiB: a member can be a thousand times as large as the package.
void read_some(CFilePtr member) {
    if (!member.isOpen()) return;
    static char buffer[1 << 16];
    for (int i = 0; i < 16 && !member->eof(); ++i)
        member->read(buffer, 1, sizeof buffer);
    member->close();
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Reports reports;
    CMubPackage package;
    if (!package.openPackage(input_file(data, size), "")) return 0;
    for (std::size_t i = 0; i < package.memberCount(); ++i)
        read_some(package.open(package.memberName(i), FILE_OPEN_READ));
    if (CMubPackageModel* model = package.getModel("a")) read_some(model->OpenCalculation());
    package.closeAndSave();
    return 0;
}
