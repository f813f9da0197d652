// Workspaces: written and read again as the same bytes; commands are built or refused with a
// report.
#include "harness.h"
#include "norvane/base/items.hpp"

using norvane::items;
using namespace norvane::fuzz;

namespace {

void delete_workspace(ZEBWorkspace* workspace) {
    for (const ZEBProject* project : items<ZEBProject>(workspace->projects))
        plist_delete(project->fileincludes);
    zeb_workspace_delete(workspace);
}

void build_commands(ZEBWorkspace* workspace, const Reports& reports) {
    // A few projects are enough: each lookup by name walks the whole workspace.
    unsigned left = 8;
    for (const ZEBProject* project : items<ZEBProject>(workspace->projects)) {
        if (left-- == 0) return;
        for (int type = ZEB_CMD_CHECK; type <= ZEB_CMD_ERP_RELAY; ++type) {
            const std::size_t before = reports.all().size();
            PolyList* commands = zeb_workspace_get_cmd(
                workspace, project->name, static_cast<ZEBCommandType>(type), "a", "b", "c", 1);
            expect(commands || reports.all().size() > before, "no commands and no report");
            plist_delete(commands);
        }
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Reports reports;
    ZEBWorkspace* workspace = zeb_workspace_load(input_file(data, size));
    expect_read(workspace, reports);
    if (!workspace) return 0;
    check_round_trip(workspace, zeb_workspace_load, zeb_workspace_save, delete_workspace);
    build_commands(workspace, reports);
    delete_workspace(workspace);
    return 0;
}
