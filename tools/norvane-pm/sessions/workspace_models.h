// The models of a workspace's projects.
#ifndef NORVANE_PM_WORKSPACE_MODELS_H
#define NORVANE_PM_WORKSPACE_MODELS_H

#include <string>
#include <vector>

#include "norvane/proj.hpp"

namespace norvane::driver {

// The model of a project, and what the preprocessor takes with it: names of files and directories
// as they stand in the workspace, all in UTF-8.
struct ProjectModel {
    std::string project;
    std::string file; // empty for a project without a main file
    std::vector<std::string> directories;
    std::vector<std::string> macros; // "-DNAME=VALUE"
};

ProjectModel model_of(const ZEBProject* project);

} // namespace norvane::driver

#endif
