#include "preprocessed.h"

#include <unistd.h>

#include "norvane/base/os.h"
#include "norvane/base/util.h"
#include "norvane/proj.hpp"

#include "file_text.h"

namespace norvane::driver {

std::optional<std::string> preprocessed_text(const std::string& file,
                                             const std::vector<std::string>& cpp_args) {
    char* name = call([] { return util_temp_filename(".pm"); });
    if (!name) return {};
    const std::string output = name;
    str_delete(name);
    const detail::ListOwner arguments = detail::list_of(cpp_args);
    const int status = call([to = output.c_str(), from = file.c_str(), list = arguments.get()] {
        return os_pre_process_file(to, from, list);
    });
    std::optional<std::string> text;
    if (status == 0) text = text_of_file(output);
    unlink(output.c_str());
    return text;
}

} // namespace norvane::driver
