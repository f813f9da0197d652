// Checks that every target applies to a model that it has read.
#ifndef NORVANE_FUZZ_MODELS_H
#define NORVANE_FUZZ_MODELS_H

#include <memory>
#include <string>

#include "norvane/proj/project.h"

namespace norvane::fuzz {

struct ProjectDeleter {
    void operator()(Project* p) const { proj_delete(p); }
};
using ProjectPtr = std::unique_ptr<Project, ProjectDeleter>;

std::string print(Project& project);

// Checks that the XML of the model reads back as the same XML.
void check_xml_round_trip(Project& project);

// Runs check, finite form and flat rules: each ends in a result, a report or a defined failure.
void check_pipeline(Project& project);

} // namespace norvane::fuzz

#endif
