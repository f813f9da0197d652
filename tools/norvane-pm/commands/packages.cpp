// A package is made in a directory that the user names, from files that the library finds by the
// name of the model: so that name, and the names of further files, must not lead anywhere else.
#include "packages.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>
#include <unistd.h>

#include "output.h"
#include "temporaries.h"
#include "text.h"
#include "workspace.h"

namespace norvane::driver {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view separators = "/\\";

// True for a name that stays in the directory that it is taken in.
bool stays_inside(std::string_view name) {
    if (name.empty() || separators.find(name[0]) != std::string_view::npos) return false;
    if (name.size() > 1 && name[1] == ':') return false; // a drive
    while (!name.empty()) {
        const std::size_t length = std::min(name.find_first_of(separators), name.size());
        if (name.substr(0, length) == "..") return false;
        name.remove_prefix(std::min(length + 1, name.size()));
    }
    return true;
}

void refuse_unless(bool is_good, Session& session, const std::string& text) {
    if (is_good) return;
    session.diagnostics.say(text);
    throw InputAtFault();
}

void check_model_name(Session& session) {
    const std::string& name = session.options.project;
    const bool is_plain =
        name != "." && stays_inside(name) && name.find_first_of(separators) == std::string::npos;
    refuse_unless(is_plain, session,
                  "no package was made: '" + name +
                      "' is not a plain file name without a directory");
}

// False if the member cannot be read to its end.
bool measure(const Package& package, const std::string& member, std::size_t& size) {
    size = 0;
    return package.read(member, [&size](const char*, std::size_t got) { size += got; });
}

std::string why_unreadable(const Package& package, const std::string& member) {
    const std::string shown = "the member " + codepage_to_utf8(member) + " cannot be read: ";
    switch (package.state_of(member)) {
    case NorvaneCpp::MEMBER_UNSAFE_NAME:
        return shown + "its name leads out of the package's directory";
    case NorvaneCpp::MEMBER_TOO_LARGE: return shown + "it is larger than 1 GiB";
    case NorvaneCpp::MEMBER_ABSENT:
    case NorvaneCpp::MEMBER_READABLE:
    case NorvaneCpp::MEMBER_DAMAGED: break;
    }
    return shown + "it is damaged";
}

// A package that the library made need not be one that it reads: a member may be too large.
void check_package(Session& session, const std::string& file) {
    const auto package = Package::open(file, session.on_report);
    refuse_unless(bool(package), session, "the package " + file + " cannot be read");
    for (std::size_t i = 0; i < package->size(); ++i) {
        const std::string member = package->member(i);
        std::size_t size = 0;
        if (measure(*package, member, size)) continue;
        unlink(file.c_str());
        refuse_unless(false, session, "no package was made: " + why_unreadable(*package, member));
    }
}

// As the library reads it: tools write backslashes, too.
std::string file_name(std::string name) {
    std::ranges::replace(name, '\\', '/');
    return name;
}

// Calls `make_it`. After a failure, reports what the library did not; after a success, checks the
// package.
template <typename Make>
void make_checked(Session& session, const std::string& build_directory,
                  const std::string& output_directory, Make make_it) {
    const std::string& name = session.options.project;
    const std::string package = file_name(output_directory) + "/" + name + ".mub";
    for (const char* extension : {"mu", "clx", "tbl", "pm", "vof", "zeb", "prs"})
        session.inputs.add(file_name(build_directory) + "/" + name + "." + extension);
    const std::string lost = session.inputs.replaced_by(package, Inputs::stay);
    refuse_unless(lost.empty(), session,
                  "no package was made: it would replace a file that it is made from: " + lost);
    const LibraryTemporary of_the_package(package);
    const Result<void> made = make_it();
    if (!made && made.reports().empty()) {
        session.diagnostics.say("no package was made: " + build_directory + "/" + name +
                                ".mu is not there or cannot be read");
    }
    session.take(made);
    check_package(session, package);
}

// Lists a member. False after reporting that it cannot be read.
bool list_member(Session& session, const Package& package, const std::string& member) {
    std::size_t size = 0;
    if (!measure(package, member, size)) {
        session.diagnostics.say(why_unreadable(package, member));
        return false;
    }
    const std::string name = codepage_to_utf8(member);
    if (session.options.format == Format::json)
        std::printf("%s\n", Json({{"member", name}, {"size", size}}).dump().c_str());
    else
        std::printf("%10zu  %s\n", size, for_terminal(name).c_str());
    return true;
}

} // namespace

void pack_project(Session& session) {
    const Options& options = session.options;
    const Workspace& workspace = load_workspace(session);
    const std::string name = utf8_to_codepage(options.project);
    ZEBProject* project = workspace.project(name);
    if (!project) {
        session.report([&name] { return ERR_ZEB_PROJECT_NOT_FOUND(name.c_str()); });
        throw InputAtFault();
    }
    check_model_name(session);
    for (const char* file : items<char>(project->fileincludes)) {
        session.inputs.add(file_name(codepage_to_utf8(file)));
        refuse_unless(stays_inside(file), session,
                      "no package was made: the file '" + codepage_to_utf8(file) +
                          "' of fileincludes is outside of the project's directory");
    }
    make_checked(session, ".", ".", [&] {
        return Package::make(project, options.type, options.debug, session.on_report);
    });
}

void make_package(Session& session) {
    const Options& options = session.options;
    check_model_name(session);
    make_checked(session, options.build_directory, options.output_directory, [&] {
        return Package::make(utf8_to_codepage(options.project), options.build_directory,
                             options.output_directory, options.type, options.debug,
                             session.on_report);
    });
}

void list_package(Session& session) {
    const std::string& file = session.options.file;
    const auto package = Package::open(file, session.on_report);
    if (!package) {
        session.report([&file] { return ERR_FILE_OPEN(file.c_str()); });
        throw InputAtFault();
    }
    bool all_read = true;
    for (std::size_t i = 0; i < package->size() && !results_refused(); ++i)
        all_read &= list_member(session, *package, package->member(i));
    if (!all_read) throw InputAtFault();
}

} // namespace norvane::driver
