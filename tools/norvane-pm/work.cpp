#include "work.h"

#include <string>

#include "diagnostics_sink.h"

namespace norvane::pm {

const char* step_text(Step step) {
    switch (step) {
    case Step::load: return "loading";
    case Step::check: return "checking";
    case Step::simplify: return "simplifying";
    case Step::expand: return "expanding the rules of";
    case Step::print: return "printing";
    }
    return "";
}

void begin_step(Work& work, Step step) {
    work.step = step;
    work.diagnostics->show_progress(step_text(step), work.file);
}

} // namespace norvane::pm
