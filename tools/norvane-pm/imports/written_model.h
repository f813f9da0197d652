// How a reader of another language makes source of PM from what it has read.
#ifndef NORVANE_PM_WRITTEN_MODEL_H
#define NORVANE_PM_WRITTEN_MODEL_H

#include <string>
#include <utility>

#include "import.h"
#include "writer.h"

namespace norvane::driver {

// By a ModelWriter(read, out), whose write() may find more that it has to leave out.
template <typename ModelWriter, typename Read>
Imported imported_by(Read& read) {
    Imported imported;
    {
        Writer out([&imported](std::string_view piece) { imported.source += piece; });
        ModelWriter writer(read, out);
        writer.write();
        imported.texts = writer.names().renamed();
    }
    imported.left_out = std::move(read.left_out);
    return imported;
}

} // namespace norvane::driver

#endif
