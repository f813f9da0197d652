#include "preprocessed.h"

#include <utility>

#include <unistd.h>

#include "norvane/base/os.h"
#include "norvane/base/util.h"
#include "norvane/proj.hpp"

#include "file_text.h"

namespace norvane::driver {

namespace {

struct Written {
    bool is_complete;
    std::optional<std::string> text;
};

// While this lives, the preprocessor leaves the definitions of macros in the text.
struct KeptDefinitions {
    KeptDefinitions() { os_set_preprocessor_definitions(1); }
    ~KeptDefinitions() { os_set_preprocessor_definitions(0); }
    KeptDefinitions(const KeptDefinitions&) = delete;
    KeptDefinitions& operator=(const KeptDefinitions&) = delete;
};

Written preprocess(const std::string& file, const std::vector<std::string>& cpp_args) {
    char* name = call([] { return util_temp_filename(".pm"); });
    if (!name) return {false, {}};
    const std::string output = name;
    str_delete(name);
    const detail::ListOwner arguments = detail::list_of(cpp_args);
    const KeptDefinitions definitions;
    const int status = call([to = output.c_str(), from = file.c_str(), list = arguments.get()] {
        return os_pre_process_file(to, from, list);
    });
    Written written{status == 0, text_of_file(output)};
    unlink(output.c_str());
    return written;
}

} // namespace

std::optional<std::string> preprocessed_text(const std::string& file,
                                             const std::vector<std::string>& cpp_args) {
    Written written = preprocess(file, cpp_args);
    return written.is_complete ? std::move(written.text) : std::nullopt;
}

std::optional<std::string> preprocessed_part(const std::string& file,
                                             const std::vector<std::string>& cpp_args) {
    return preprocess(file, cpp_args).text;
}

} // namespace norvane::driver
