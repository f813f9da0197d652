#include "input_files.h"

#include "norvane/base/os.h"

#include "session.h"

namespace norvane::driver {

InputFiles::InputFiles() {
    os_set_include_sink(
        [](const char* file, void* self) { static_cast<InputFiles*>(self)->add(file); }, this);
}

InputFiles::~InputFiles() {
    os_set_include_sink(nullptr, nullptr);
}

void InputFiles::add(const std::string& file) {
    if (read_.contains(file)) return;
    read_.emplace(file, identity_of(file));
    if (file != input_name("-")) files_.push_back(file);
}

void InputFiles::add_named(const std::string& file) {
    add(file);
    named_.insert(file);
}

std::string InputFiles::replaced_by(const std::string& result, Inputs named) const {
    for (const auto& [file, identity] : read_) {
        const bool may_be = named == Inputs::may_be_replaced && named_.contains(file);
        if (!may_be && would_replace(result, identity)) return file;
    }
    return {};
}

} // namespace norvane::driver
