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

class Mutator {
  public:
    explicit Mutator(unsigned seed) : random_(seed) {}

    bool one_in(std::size_t n) { return random_() % n == 0; }

    // Puts an element of the donor, which may be the text itself, before, after or in the place of
    // one of the text, or takes one out. Empty where the one or the other has none.
    std::string rearranged(std::string text, const std::string& donor) {
        const std::vector<Span> own = elements_of(text), others = elements_of(donor);
        if (own.empty() || others.empty()) return "";
        const Span from = any(others);
        Span to = any(own);
        if (one_in(3)) return text.erase(to.begin, to.end - to.begin);
        if (one_in(2)) to = one_in(2) ? Span{to.begin, to.begin} : Span{to.end, to.end};
        return text.replace(to.begin, to.end - to.begin, donor, from.begin, from.end - from.begin);
    }

  private:
    const Span& any(const std::vector<Span>& parts) { return parts[random_() % parts.size()]; }

    std::minstd_rand random_;
};

// The size of the text, which it puts into place; 0 if it is none.
std::size_t put(const std::string& text, std::uint8_t* data, std::size_t max_size) {
    if (text.empty() || text.size() > max_size) return 0;
    std::memcpy(data, text.data(), text.size());
    return text.size();
}

std::string text_of(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned seed) {
    Mutator mutator(seed);
    std::string text = mutator.one_in(2) ? "" : text_of(data, size);
    do {
        if (!text.empty()) text = mutator.rearranged(text, text);
    } while (!text.empty() && mutator.one_in(2));
    const std::size_t changed_size = put(text, data, max_size);
    return changed_size != 0 ? changed_size : LLVMFuzzerMutate(data, size, max_size);
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* data, std::size_t size,
                                                 const std::uint8_t* other, std::size_t other_size,
                                                 std::uint8_t* out, std::size_t max_size,
                                                 unsigned seed) {
    return put(Mutator(seed).rearranged(text_of(data, size), text_of(other, other_size)), out,
               max_size);
}
