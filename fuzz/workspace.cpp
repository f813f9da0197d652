// Workspaces: written and read again as the same bytes; commands are built or refused with a
// report.
#include "norvane/base/items.hpp"
#include "norvane/proj/zeb.h"

#include "harness.h"

using namespace norvane;
using namespace norvane::fuzz;

namespace {

std::string written(ZEBWorkspace* workspace) {
    return printed([&](std::FILE* stream) { zeb_workspace_save_fptr(workspace, stream); });
}

void delete_workspace(ZEBWorkspace* workspace) {
    for (const ZEBProject* project : items<ZEBProject>(workspace->projects))
        plist_delete(project->fileincludes);
    zeb_workspace_delete(workspace);
}

void build_commands(ZEBWorkspace* workspace, const QuietSink& sink) {
    // A few projects are enough: each lookup by name walks the whole workspace.
    unsigned left = 8;
    for (const ZEBProject* project : items<ZEBProject>(workspace->projects)) {
        if (left-- == 0) return;
        for (int type = ZEB_CMD_CHECK; type <= ZEB_CMD_ERP_RELAY; ++type) {
            const unsigned before = sink.reports();
            PolyList* commands = zeb_workspace_get_cmd(
                workspace, project->name, static_cast<ZEBCommandType>(type), "a", "b", "c", 1);
            expect((commands == nullptr) <= (sink.reports() > before), "no commands and no report");
            plist_delete(commands);
        }
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QuietSink sink;
    ZEBWorkspace* workspace = zeb_workspace_load(input_file(data, size));
    expect((workspace == nullptr) <= (sink.reports() > 0), "a refusal without a report");
    if (!workspace) return 0;
    const std::string first = written(workspace);
    ZEBWorkspace* again = zeb_workspace_load(
        input_file(reinterpret_cast<const std::uint8_t*>(first.data()), first.size()));
    expect(again != nullptr, "what was written is refused");
    expect_equal(first, written(again), "a workspace that was written and read");
    build_commands(again, sink);
    delete_workspace(again);
    delete_workspace(workspace);
    return 0;
}
