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

void begin_step(Work& work, Step step, const char* subject) {
    work.step = step;
    work.subject = subject;
    work.diagnostics->begin(step_text(step), subject);
}

} // namespace norvane::pm
