// Workspaces: their records, their file, and the commands that are made from them.
#include <filesystem>
#include <regex>

#include "norvane/proj.hpp"
#include "test.h"
#include "xml_files.h"

namespace norvane::test {
namespace {

using NorvaneCpp::String;

// A project does not free its list of extra files: its user does.
void delete_project(ZEBProject* project) {
    plist_delete(project->fileincludes);
    zeb_project_delete(project);
}

void delete_workspace(ZEBWorkspace* workspace) {
    for (const ZEBProject* project : items<ZEBProject>(workspace->projects))
        plist_delete(project->fileincludes);
    zeb_workspace_delete(workspace);
}

using TargetPtr = Owned<ZEBTarget, zeb_target_delete>;
using ZebProjectPtr = Owned<ZEBProject, delete_project>;
using WorkspacePtr = Owned<ZEBWorkspace, delete_workspace>;

std::string text(const PolyList* list) {
    std::string result;
    for (const char* entry : items<char>(list))
        result += (result.empty() ? "" : "|") + std::string(entry);
    return result;
}

// "-a=1|2 -b=", in table order.
std::string options(const ZEBTarget* target) {
    std::string result;
    for (const auto& [name, values] : pairs<char, PolyList>(target->options))
        result += (result.empty() ? "" : " ") + std::string(name) + "=" + text(values);
    return result;
}

// All of a workspace, as its file has it.
std::string saved(ZEBWorkspace* workspace) {
    return on_stream(
        [&](FILE* stream) { EXPECT_EQ(zeb_workspace_save_fptr(workspace, stream), 0); });
}

WorkspacePtr loaded(const std::string& xml) {
    const TemporaryDirectory directory;
    return WorkspacePtr(zeb_workspace_load(directory.write("in.zeb", xml).c_str()));
}

TEST(ZebTarget, OptionsHoldAnyNumberOfValues) {
    const TargetPtr owner(zeb_target_new("compile"));
    ZEBTarget* t = owner.get();
    EXPECT_EQ(t->timeout, -1);
    const std::pair<const char*, const char*> added[] = {
        {"-b", "1"}, {"-a", ""}, {"-b", "1"}, {"-b", nullptr}, {"-c", "3"}};
    for (const auto& [name, value] : added)
        zeb_target_add_option(t, name, value);
    EXPECT_EQ(options(t), "-b=1|1 -a= -c=3");
    EXPECT_EQ(zeb_target_get_option(t, "-b"), nullptr) << "there are two";
    EXPECT_EQ(zeb_target_get_option(t, "-a"), nullptr) << "there is none";
    EXPECT_EQ(zeb_target_has_option(t, "-a"), 1);
    EXPECT_EQ(zeb_target_get_options(t, "-B"), nullptr);

    zeb_target_set_option(t, "-b", "2");
    zeb_target_set_option(t, "-c", zeb_target_get_option(t, "-c"));
    zeb_target_set_option(t, "-d", "4");
    EXPECT_EQ(options(t), "-b=2 -a= -c=3 -d=4");
    zeb_target_set_option(t, "-b", "");
    zeb_target_set_option(t, "-c", nullptr);

    zeb_target_add_precmd(t, "");
    zeb_target_add_precmd(t, "make ready");
    for (const char* command : {"make clean", "", "make clean"})
        zeb_target_add_postcmd(t, command);
    t->timeout = 7;
    const TargetPtr copy(zeb_target_copy(t));
    zeb_target_delete_all(t);
    EXPECT_EQ(options(t) + text(t->precmds) + text(t->postcmds) + std::to_string(t->timeout), "7");
    EXPECT_EQ(options(copy.get()), "-b= -a= -c= -d=4");
    EXPECT_EQ(text(copy->precmds) + ";" + text(copy->postcmds), "make ready;make clean|make clean");
    EXPECT_EQ(copy->name + std::to_string(copy->timeout), "compile7");
}

TEST(ZebProject, ListsRefuseDoublesInSilenceAndTargetsWithAReport) {
    const ZebProjectPtr owner(zeb_project_new("p"));
    ZEBProject* p = owner.get();
    const Reports reports;
    EXPECT_EQ(zeb_project_add_include(p, "a"), 0);
    EXPECT_EQ(zeb_project_add_include(p, "A"), 0);
    EXPECT_EQ(zeb_project_add_include(p, "a"), -1);
    plist_append(p->includes, const_cast<char*>("a")); // as a loaded list can have it
    plist_append(p->includes, const_cast<char*>("b"));
    EXPECT_EQ(zeb_project_remove_include(p, "a"), 0);
    EXPECT_EQ(zeb_project_remove_include(p, "c"), -1);
    EXPECT_EQ(text(p->includes), "a|A|b");

    PolyList* const lists[] = {p->pm_files, p->pres_files, p->var_order_files, p->calc_files,
                               p->table_files};
    for (int i = 0; i < 5; ++i) {
        const auto type = static_cast<ZEBFileType>(i);
        EXPECT_EQ(zeb_project_get_list(p, type), lists[i]);
        for (const int status : {0, -1})
            EXPECT_EQ(zeb_project_add_file(p, "f", type), status);
        for (const int status : {0, -1})
            EXPECT_EQ(zeb_project_remove_file(p, "f", type), status);
    }

    EXPECT_EQ(zeb_project_add_define(p, "N", "1"), 0);
    EXPECT_EQ(zeb_project_add_define(p, "N", "2"), -1);
    EXPECT_STREQ((*pairs<char, char>(p->defines).begin()).second, "1");
    for (const int status : {0, -1})
        EXPECT_EQ(zeb_project_remove_define(p, "N"), status);
    EXPECT_EQ(reports.names(), "");

    ZEBTarget* view = zeb_project_get_target(p, "view");
    EXPECT_EQ(zeb_project_get_target(p, "view"), view) << "found or made";
    const TargetPtr other(zeb_target_new("view"));
    EXPECT_EQ(zeb_project_add_target(p, other.get()), -1);
    EXPECT_EQ(reports.text(), "ERR_ZEB_TARGET_EXISTS: Attempting to add target 'view' to project, "
                              "but a target with this name already exists\n");
    const TargetPtr nameless(zeb_target_new(""));
    EXPECT_EQ(thrown([&] { zeb_project_add_target(p, nameless.get()); }),
              "1: str_is_set(target->name)");
    EXPECT_EQ(p->targets->len, 1u);
}

// Each element of a project; the order of the targets' options is not the alphabet's.
const std::string full = test_data("../fuzz/corpus/workspace/every_element.zeb");

TEST(ZebWorkspace, NamesOfProjectsAreUnique) {
    const WorkspacePtr owner(zeb_workspace_new());
    ZEBWorkspace* w = owner.get();
    const Reports reports;
    ZEBProject* first = zeb_workspace_new_project(w, "a");
    zeb_project_set_main_file(first, "a.pm");
    EXPECT_EQ(zeb_workspace_new_project(w, "a"), nullptr);
    EXPECT_EQ(zeb_workspace_copy_project(w, first, "a"), nullptr);
    const std::string taken = "ERR_ZEB_PROJECT_EXISTS: Project with name 'a' already exists in "
                              "workspace. Project names must be unique\n";
    EXPECT_EQ(reports.text(), taken + taken);
    ZEBProject* copy = zeb_workspace_copy_project(w, first, "b");
    zeb_project_set_main_file(first, first->main_file);
    EXPECT_STREQ(copy->main_file, "a.pm");
    const ListPtr names(zeb_workspace_proj_names(w));
    EXPECT_EQ(text(names.get()), "a|b");
    EXPECT_EQ(zeb_workspace_remove_project(w, "c"), -1);
    plist_delete(first->fileincludes);
    EXPECT_EQ(zeb_workspace_remove_project(w, first->name), 0);
    EXPECT_EQ(w->projects->len, 1u);
}

TEST(ZebWorkspace, ACopyLeavesOutWhatBelongsToTheOriginal) {
    const WorkspacePtr from = loaded(full);
    const WorkspacePtr to(zeb_workspace_new());
    auto* source = static_cast<ZEBProject*>(plist_hd(from->projects));
    ASSERT_NE(zeb_workspace_copy_project(to.get(), source, "copy"), nullptr);
    std::string expected = full;
    const auto cut = [&](const char* begin, const char* end) {
        const std::size_t from_here = expected.find(begin);
        expected.erase(from_here, expected.find(end) - from_here);
    };
    cut("Größe", "\">\n    <product");
    expected.insert(expected.find("\">\n    <product"), "copy");
    cut("    <calculation>", "    <var_order>");
    cut("    <fileincludes>", "    <targets>");
    cut("  <project name=\"empty\"/>", "</zeb>");
    EXPECT_EQ(saved(to.get()), expected);
}

TEST(ZebFile, IsWrittenWholeAndComesBackAsItWas) {
    const TemporaryDirectory directory;
    const std::string path = directory.write("full.zeb", full);
    EXPECT_EQ(validity(path), "");
    const WorkspacePtr w(zeb_workspace_load(path.c_str()));
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->filename, path);
    const auto* project = static_cast<ZEBProject*>(plist_hd(w->projects));
    EXPECT_STREQ(project->name, "Gr\xF6\xDF"
                                "e \"2\" %s");
    EXPECT_EQ(text(project->pm_files), "a b.pm|\xE9.pm");
    ASSERT_EQ(zeb_workspace_save(w.get(), path.c_str()), 0);
    EXPECT_EQ(read_file(path), full);
}

TEST(ZebFile, IsReadByItsFormatAndNoOther) {
    const TemporaryDirectory directory;
    const auto outcome = [&](std::string xml) {
        std::replace(xml.begin(), xml.end(), '^', '\n');
        const Reports reports;
        const WorkspacePtr w(zeb_workspace_load(directory.write("in.zeb", xml).c_str()));
        const std::string titles = replaced(reports.text(), directory.path() + "/", "");
        if (!w) return titles;
        const std::string written = saved(w.get());
        EXPECT_EQ(validity(directory.write("out.zeb", written)), "");
        EXPECT_EQ(saved(loaded(written).get()), written);
        return titles + joined(written.substr(written.find("<zeb")));
    };
    EXPECT_EQ(test_data_rerun("zeb/data/files.txt", outcome), test_data("zeb/data/files.txt"));
}

TEST(ZebFile, ADefineWithTheSharedEmptyTextHasNoValue) {
    const WorkspacePtr w(zeb_workspace_new());
    ZEBProject* p = zeb_workspace_new_project(w.get(), "p");
    p->defines->copy_value = nullptr; // a table that holds what it is given
    p->defines->delete_value = nullptr;
    char own_empty[] = "";
    zeb_project_add_define(p, "shared", String().GetStr());
    zeb_project_add_define(p, "own", own_empty);
    EXPECT_NE(
        joined(saved(w.get())).find(R"(<define name="shared"/><define name="own" value=""/>)"),
        std::string::npos);
    phash_insert(p->defines, const_cast<char*>("null"), nullptr);
    EXPECT_EQ(thrown([&] { zeb_workspace_save_fptr(w.get(), stderr); }), "1: value");
}

TEST(ZebFile, WhatCannotBeReadOrWrittenIsTold) {
    const TemporaryDirectory directory;
    const WorkspacePtr w = loaded(full);
    const Reports reports;
    EXPECT_EQ(zeb_workspace_load(directory.path().c_str()), nullptr);
    EXPECT_EQ(zeb_workspace_load((directory.path() + "/none.zeb").c_str()), nullptr);
    EXPECT_EQ(zeb_workspace_save(w.get(), directory.path().c_str()), -1);
    EXPECT_EQ(reports.names(), "ERR_FILE_OPEN ERR_FILE_OPEN ERR_FILE_OPEN");
    EXPECT_EQ(thrown([&] { zeb_workspace_save(w.get(), "/dev/full"); }),
              "1: Could not close file '/dev/full'");
}

// Commands. --------------------------------------------------------------------------------------

// A command a line, its arguments divided by "|"; temporary names become "TEMP1" and so on.
std::string text_of_commands(const PolyList* commands) {
    if (!commands) return "null\n";
    std::string result;
    for (char* const* argv : items<char*>(commands)) {
        if (!argv) result += "(blank)\n";
        for (; argv && *argv; ++argv)
            result += *argv + std::string(argv[1] ? "|" : "\n");
    }
    const std::regex temporary(std::filesystem::temp_directory_path().string() +
                               "/norvane-.{16}\\.clx");
    int count = 0;
    for (std::smatch name; std::regex_search(result, name, temporary);)
        result = replaced(result, name.str(), "TEMP" + std::to_string(++count));
    return result;
}

struct Asked {
    ZEBCommandType type;
    const char* extra_arg = nullptr;
    const char* order_type = nullptr;
    const char* extra_arg2 = nullptr;
    int statistics = 0;
};

std::string commands(ZEBWorkspace* workspace, const Asked& asked) {
    const ListPtr list(zeb_workspace_get_cmd(workspace, "p", asked.type, asked.extra_arg,
                                             asked.order_type, asked.extra_arg2, asked.statistics));
    return text_of_commands(list.get());
}

class ZebCommands : public testing::Test {
  protected:
    ZebCommands() { settings_set_bin_folder("/bin"); }
    ~ZebCommands() override { settings_set_bin_folder(nullptr); }

    // A workspace "w.zeb" with the project "p", whose main file "dir/m.pm" does not exist.
    void load(const std::string& content) {
        const std::string xml = "<zeb><project name=\"p\"><main><uri>dir/m.pm</uri></main>" +
                                content + "</project></zeb>";
        workspace_.reset(zeb_workspace_load(directory_.write("w.zeb", xml).c_str()));
        std::free(workspace_->filename);
        workspace_->filename = str_copy("w.zeb");
        project_ = static_cast<ZEBProject*>(plist_hd(workspace_->projects));
    }

    TemporaryDirectory directory_;
    WorkspacePtr workspace_;
    ZEBProject* project_ = nullptr;
};

TEST_F(ZebCommands, AreBuiltForEachType) {
    load("<defines><define name='N' value='1 &quot;%s&quot; 2'/><define name='M'/></defines>"
         "<includes><uri>a b</uri><uri>c</uri></includes>"
         "<virtual_table><uri>v.mu</uri></virtual_table>"
         "<targets><target name='compile'><options><option name='-x' value='1'/></options>"
         "<precmds><cmd>one \"t w o\" th\"r ee</cmd><cmd> \t</cmd></precmds>"
         "<postcmds><cmd>after</cmd></postcmds></target>"
         "<target name='view'><options><option name='-vof' value='a b'/>"
         "<option name='-s' value='a b'/><option name='-s' value='c'/><option name='-q'/></options>"
         "<precmds><cmd>unused</cmd></precmds></target>"
         "<target name='deploy'><options><option name='-cmd' value='cp x y'/>"
         "<option name='-cmd' value=' '/></options></target>"
         "<target name='erp_relay'><options><option name='-vof' value='z'/></options></target>"
         "</targets>");
    const std::string common = "-options_from_zeb_file|\"w.zeb\"|-options_from_zeb_project|\"p\"|"
                               "-I|\"a b\"|-I|\"c\"|-D|N=\"1 \"%s\" 2\"|-D|M|";
    const std::string before = "one|\"t w o\"|th\"r|ee\n(blank)\n";
    const std::pair<Asked, std::string> rows[] = {
        {{ZEB_CMD_CHECK}, before + "/bin/kelc|-c|" + common + "\"dir/m.pm\"\n"},
        {{.type = ZEB_CMD_BUILD, .statistics = 7},
         before + "/bin/kelc|-mu_compile_stats|" + common + "-o|v.mu|\"dir/m.pm\"\nafter\n"},
        {{ZEB_CMD_VIEW}, "/bin/kelscope|-vof|\"a b\"|-s|a b|-s|c|-q|\"v.mu\"\n"},
        {{ZEB_CMD_DEPLOY}, "cp|x|y\n(blank)\n"},
        {{.type = ZEB_CMD_PPL, .extra_arg = "o ut", .statistics = 1},
         before + "/bin/kelc|-ppl|o ut|-mu_compile_stats|" + common + "\"dir/m.pm\"\n"},
        {{.type = ZEB_CMD_OPTIMIZE, .extra_arg = "out", .order_type = "fast", .statistics = 1},
         before + "/bin/keltrim|-q|-o|out|fast|-I|\"a b\"|-I|\"c\"|-D|N=\"1 \"%s\" 2\"|-D|M|"
                  "\"dir/m.pm\"\n"},
        {{ZEB_CMD_OPTIMIZE, "", "", "more"},
         before + "/bin/keltrim|-q|-o|||more|-I|\"a b\"|-I|\"c\"|-D|N=\"1 \"%s\" "
                  "2\"|-D|M|\"dir/m.pm\"\n"},
        {{ZEB_CMD_ERP_RELAY}, "/bin/erp_relay|-vof|\"z\"\n"},
    };
    const Reports reports;
    for (const auto& [asked, expected] : rows)
        EXPECT_EQ(commands(workspace_.get(), asked), expected);
    EXPECT_EQ(reports.names(), "");
}

TEST_F(ZebCommands, ConvertCalculationsAndCleanUp) {
    load("");
    for (const char* name : {"b.cl", "a.CLX", "c d.xml"})
        zeb_project_add_file(project_, directory_.write(name, "").c_str(), ZEB_FILE_CALC);
    zeb_project_add_file(project_, directory_.write("p.prs", "").c_str(), ZEB_FILE_PRES);
    const std::string expected =
        "/bin/kelcalc|-o|TEMP1|DIR/b.cl\n/bin/kelcalc|-o|TEMP2|DIR/c d.xml\n"
        "/bin/kelc|-c|-options_from_zeb_file|\"w.zeb\"|-options_from_zeb_project|\"p\"|"
        "-prs|\"DIR/p.prs\"|-clc|\"DIR/a.CLX\"|-clc|\"TEMP1\"|-clc|\"TEMP2\"|\"dir/m.pm\"\n"
        "cmd|/c|del /F TEMP1\ncmd|/c|del /F TEMP2\n";
    for (int round = 0; round < 2; ++round)
        EXPECT_EQ(replaced(commands(workspace_.get(), {ZEB_CMD_CHECK}), directory_.path(), "DIR"),
                  expected);
    EXPECT_EQ(project_->targets->len, 1u) << "made once, and kept";
    EXPECT_EQ(
        commands(workspace_.get(), {.type = ZEB_CMD_OPTIMIZE, .extra_arg = "o", .order_type = "t"}),
        "/bin/keltrim|-q|-o|o|t|\"dir/m.pm\"\n");

    const char* before = std::getenv("TMPDIR");
    const std::string kept = before ? before : "/tmp";
    setenv("TMPDIR", "/nowhere", 1);
    EXPECT_EQ(commands(workspace_.get(), {ZEB_CMD_CHECK}), "null\n");
    setenv("TMPDIR", kept.c_str(), 1);
}

TEST_F(ZebCommands, ViewTheTableOfTheMainFile) {
    load("");
    EXPECT_EQ(commands(workspace_.get(), {ZEB_CMD_VIEW}), "/bin/kelscope|\"dir/m.mu\"\n");
    zeb_project_set_virtual_table(project_, "");
    zeb_project_set_main_file(project_, "dir.d/m");
    EXPECT_EQ(commands(workspace_.get(), {ZEB_CMD_VIEW}), "/bin/kelscope|\"dir.d/m.mu\"\n");
    zeb_project_set_main_file(project_, "");
    const Reports reports;
    EXPECT_EQ(commands(workspace_.get(), {ZEB_CMD_VIEW}), "null\n");
    EXPECT_EQ(commands(workspace_.get(), {ZEB_CMD_DEPLOY}), "");
    EXPECT_EQ(commands(workspace_.get(), {ZEB_CMD_ERP_RELAY}), "/bin/erp_relay\n");
    const ListPtr none(
        zeb_workspace_get_cmd(workspace_.get(), "P", ZEB_CMD_VIEW, nullptr, nullptr, nullptr, 0));
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(reports.text(),
              "ERR_ZEB_NO_MU_FILE: No virtual table and no main file is specified.\n"
              "ERR_ZEB_DEPLOY_CMD: No deploy command for project 'p' is specified\n"
              "ERR_ZEB_PROJECT_NOT_FOUND: Project 'P' not found in workspace\n");
}

TEST_F(ZebCommands, AreGivenOnlyIfTheFilesExist) {
    load("<product_model><uri>a.pm</uri></product_model>"
         "<presentation><uri>a.prs</uri></presentation><calculation><uri>a.cl</uri></calculation>"
         "<table><uri>a.tbl</uri></table><var_order><uri>b.vof</uri></var_order>"
         "<targets><target name='compile'><options><option name='-vof' value='a.vof'/></options>"
         "</target></targets>");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.path());
    const auto missing = [&](ZEBCommandType type) {
        const Reports reports;
        const int status = zeb_project_check(project_, type);
        EXPECT_EQ(status, reports.all().empty() ? 0 : -1);
        return reports.text();
    };
    for (const std::string name : {"a.pm", "a.prs", "a.cl", "a.vof"}) {
        for (const ZEBCommandType type : {ZEB_CMD_CHECK, ZEB_CMD_BUILD, ZEB_CMD_PPL})
            EXPECT_TRUE(missing(type).starts_with("ERR_FILE_NOT_EXISTS: ") &&
                        missing(type).find("'" + name + "'") != std::string::npos);
        EXPECT_EQ(missing(ZEB_CMD_OPTIMIZE).empty(), name != "a.pm");
        directory_.write(name, "");
    }
    EXPECT_EQ(missing(ZEB_CMD_BUILD), "");
    zeb_target_add_option(zeb_project_get_target(project_, "compile"), "-vof", "none.vof");
    EXPECT_EQ(missing(ZEB_CMD_BUILD), "") << "one of two is not looked for";
    zeb_project_set_main_file(project_, "");
    for (const ZEBCommandType type : {ZEB_CMD_CHECK, ZEB_CMD_OPTIMIZE})
        EXPECT_EQ(missing(type), "ERR_ZEB_NO_MAIN_FILE: No main file is specified.\n");
    for (const ZEBCommandType type : {ZEB_CMD_DEPLOY, ZEB_CMD_ERP_RELAY})
        EXPECT_EQ(missing(type), "");
    std::filesystem::current_path(before);
}

TEST_F(ZebCommands, WhatMustBeThereIsAsserted) {
    load("");
    const std::pair<Asked, const char*> rows[] = {
        {{ZEB_CMD_PPL}, "1: extra_arg"},
        {{ZEB_CMD_OPTIMIZE, "x"}, "1: order_type"},
        {{static_cast<ZEBCommandType>(7)}, "1: type"},
    };
    for (const auto& [asked, expected] : rows)
        EXPECT_EQ(thrown([&, &row = asked] { commands(workspace_.get(), row); }), expected);
    EXPECT_EQ(thrown([&] { zeb_project_get_list(project_, static_cast<ZEBFileType>(5)); }),
              "1: type");
    std::free(workspace_->filename);
    workspace_->filename = nullptr; // as of a workspace that was not loaded
    EXPECT_EQ(thrown([&] { commands(workspace_.get(), {ZEB_CMD_CHECK}); }),
              "1: workspace->filename");
}

} // namespace
} // namespace norvane::test
