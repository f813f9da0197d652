// Prints all faults of a model as compilers do, with a line for each note and each replacement, and
// says by the exit status whether it has an error: c++ -std=c++17 faults.cpp
// $(pkg-config --cflags --libs norvane_faults)
#include <cstdio>

#include <norvane/faults.hpp>

namespace {

void print(const norvane::FaultPlace& place, const char* kind, const std::string& text) {
    std::printf("%s:", place.file.c_str());
    if (place.line > 0) std::printf("%u:", place.line);
    if (place.column > 0) std::printf("%u:", place.column);
    std::printf(" %s: %s\n", kind, norvane::fault_text_to_utf8(text).c_str());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    constexpr const char* kinds[] = {"note", "warning", "error"};
    bool is_good = true;
    for (const norvane::Fault& fault : norvane::find_faults(argv[1])) {
        print(fault.place, kinds[static_cast<int>(fault.severity)], fault.message);
        for (const norvane::FaultNote& note : fault.notes)
            print(note.place, "note", note.text);
        for (const norvane::FaultReplacement& better : fault.replacements)
            print(better.place, "write", better.text);
        is_good = is_good && fault.severity != norvane::FaultSeverity::error;
    }
    return is_good ? 0 : 1;
}
