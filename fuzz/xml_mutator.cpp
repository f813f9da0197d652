// How the fuzzer changes an input that is XML. Bytes that are changed at random leave hardly any
// input well-formed, so that the parser refuses it before the readers of the library see it. Half
// of the changes made here keep the form: elements are taken out, copied and replaced by others.
// The other half are the fuzzer's own, which reach values and texts.
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "harness.h"

// Of the fuzzer: a change of some of the bytes, with the words of the dictionary among others.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

namespace {

struct Span {
    std::size_t begin, end;
};

// The elements of a text. Any text will do: the rest is passed over.
std::vector<Span> elements_of(std::string_view text) {
    std::vector<Span> elements;
    std::vector<std::size_t> open;
    std::size_t at = 0;
    while (true) {
        const std::size_t tag = text.find('<', at);
        const std::size_t close = text.find('>', tag);
        if (tag == text.npos || close == text.npos) return elements;
        at = close + 1;
        if (text[tag + 1] == '?' || text[tag + 1] == '!') continue;
        if (text[tag + 1] != '/') open.push_back(tag);
        if (open.empty()) return elements;
        if (text[tag + 1] != '/' && text[close - 1] != '/') continue;
        elements.push_back({open.back(), at});
        open.pop_back();
    }
}

} // namespace

// Puts an element of the text before, after or in the place of another, or takes one out.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned seed) {
    std::minstd_rand random(seed);
    const auto one_in = [&](unsigned n) { return random() % n == 0; };
    std::string text(reinterpret_cast<const char*>(data), size);
    const std::vector<Span> elements = elements_of(text);
    if (elements.empty() || one_in(2)) return LLVMFuzzerMutate(data, size, max_size);
    const Span from = elements[random() % elements.size()];
    Span to = elements[random() % elements.size()];
    const std::string piece = one_in(3) ? "" : text.substr(from.begin, from.end - from.begin);
    if (!piece.empty() && one_in(2))
        to = one_in(2) ? Span{to.begin, to.begin} : Span{to.end, to.end};
    text.replace(to.begin, to.end - to.begin, piece);
    if (text.empty() || text.size() > max_size) return LLVMFuzzerMutate(data, size, max_size);
    std::memcpy(data, text.data(), text.size());
    return text.size();
}
