// PM source, preprocessed: scan, parse, print, parse again; check, simplify, expand; and the model
// as XML, out and in.
#include <cctype>

#include "checks.h"
#include "pmfrontend.h"
#include "pmgrammar.hpp"

namespace norvane::fuzz {
namespace {

// The scanner's start condition outlives a load. So that no input depends on the one before, this
// returns it to the initial one from wherever a load may leave it: "n" ends an escape, the newline
// a directive, and the quote a string; outside a string the quote is in a comment.
void settle_scanner() {
    std::string text = "n\n/*\"*/";
    std::FILE* stream = fmemopen(text.data(), text.size(), "r");
    pm::Load load{.file = {.stream = stream}};
    load.buffer = ustr_new();
    pm::start_scanner(load);
    for (int token; (token = pmlex()) != 0;) {
        if (token == PM_IDENTIFIER) free(pmlval.text);
        if (token == PM_STRINGCONST) free(pmlval.string.text);
    }
    ustr_delete(load.buffer);
    std::fclose(stream);
}

// The work of loops and arrays is as large as their numbers say; what is slow because it was asked
// for is no finding.
bool is_small_work(const std::string& text) {
    int multipliers = 0;
    for (const char* word : {"forall", "exist", "sum", "product", "array"}) {
        for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos; ++at)
            ++multipliers;
    }
    std::size_t digits = 0;
    std::size_t longest = 0;
    for (const char c : text) {
        digits = std::isdigit(static_cast<unsigned char>(c)) ? digits + 1 : 0;
        longest = std::max(longest, digits);
    }
    return multipliers == 0 || longest < 2 || (multipliers < 3 && longest < 3);
}

// Two things are printed in forms that callers know, and that do not read back: a case without
// arms, and a name spelled "integer", which stands without its quotes.
bool reads_back(std::string text, const std::string& source) {
    std::erase(text, '\\');
    return text.find("\"integer\"") == text.npos && source.find(" of\n\n| default ") == source.npos;
}

ProjectPtr parse_alone(const std::string& text) {
    ProjectPtr project = parse(text);
    settle_scanner();
    return project;
}

} // namespace
} // namespace norvane::fuzz

using namespace norvane::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Reports reports;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const ProjectPtr project = parse_alone(text);
    expect_read(project.get(), reports);
    if (!project) return 0;
    const std::string source = print(project.get());
    if (reads_back(text, source)) {
        const ProjectPtr again = parse_alone(source);
        expect_equal(source, again ? print(again.get()) : "", "source that was printed and read");
    }
    check_xml_round_trip(project.get());
    if (is_small_work(text)) check_pipeline(project.get());
    return 0;
}
