// XML files in tests: what was written, joined to fewer lines, and whether its document type allows
// it.
#ifndef NORVANE_TESTS_XML_FILES_H
#define NORVANE_TESTS_XML_FILES_H

#include <algorithm>
#include <cstdio>
#include <string>

namespace norvane::test {

// Joins everything inside of a child of the root to one line, without the indentation.
inline std::string joined(const std::string& xml) {
    std::string text;
    for (std::size_t i = 0; i < xml.size(); ++i) {
        if (xml[i] != '\n') {
            text += xml[i];
            continue;
        }
        const std::size_t next = std::min(xml.find_first_not_of(' ', i + 1), xml.size());
        const std::size_t indent = next - i - 1;
        const bool is_inside = indent >= 4 || (indent == 2 && xml.compare(next, 2, "</") == 0);
        if (!is_inside) text += '\n';
        if (is_inside || indent == 2) i = next - 1;
    }
    return text;
}

// What xmllint has to say of the file under the document type that it names: nothing, if it is
// valid.
inline std::string validity(const std::string& path) {
#ifdef DTD_DIR
    const std::string directory = DTD_DIR;
#else
    const std::string directory = "dtd"; // built by hand, run in the root of the source tree
#endif
    const std::string command =
        "xmllint --nonet --noout --valid --path '" + directory + "' '" + path + "' 2>&1";
    FILE* output = popen(command.c_str(), "r");
    std::string text;
    for (int c; output && (c = std::getc(output)) != EOF;)
        text += static_cast<char>(c);
    if (!output || pclose(output) != 0) text += "xmllint failed";
    return text;
}

} // namespace norvane::test

#endif
