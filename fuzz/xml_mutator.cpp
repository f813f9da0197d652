// How the fuzzer changes an input that is XML. Bytes that are changed at random leave hardly any
// input well-formed, so that the parser refuses it before the readers of the library see it. Most
// of the changes made here keep the form: elements are taken out, copied and replaced by others,
// and values and texts get other characters.
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

// Where in a text the parts of its document lie. Any text will do: the rest is passed over.
struct Document {
    std::vector<Span> elements;
    std::vector<Span> texts; // and the values of attributes, without the quotes
};

Document parse(std::string_view text) {
    Document document;
    std::vector<std::size_t> open;
    std::size_t at = 0;
    while (true) {
        const std::size_t tag = text.find('<', at);
        const std::size_t close = text.find('>', tag);
        if (tag == text.npos || close == text.npos) return document;
        if (!open.empty()) document.texts.push_back({at, tag});
        at = close + 1;
        for (std::size_t quote = tag; (quote = text.find('"', quote)) < close; ++quote) {
            const std::size_t end = text.find('"', quote + 1);
            if (end > close) return document;
            document.texts.push_back({quote + 1, end});
            quote = end;
        }
        if (text[tag + 1] == '?' || text[tag + 1] == '!') continue;
        if (text[tag + 1] != '/') open.push_back(tag);
        if (open.empty()) return document;
        if (text[tag + 1] != '/' && text[close - 1] != '/') continue;
        document.elements.push_back({open.back(), at});
        open.pop_back();
    }
}

// What the parser would refuse in a text, as it is written there.
std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::strchr("<&\"", c) != nullptr || byte < ' ')
            result += "&#" + std::to_string(byte < ' ' ? '\n' : byte) + ';';
        else if (byte < 0x80)
            result += c;
        else
            result +=
                {static_cast<char>(0xC0 | byte >> 6), static_cast<char>(0x80 | (byte & 0x3F))};
    }
    return result;
}

class Mutator {
  public:
    explicit Mutator(unsigned seed) : random_(seed) {}

    bool one_in(std::size_t n) { return random_() % n == 0; }

    // Puts an element of the donor, which may be the text itself, before, after or in the place of
    // one of the text, or takes one out. Empty where the one or the other has none.
    std::string rearranged(std::string text, const std::string& donor) {
        const Document document = parse(text);
        const Document other = parse(donor);
        if (document.elements.empty() || other.elements.empty()) return "";
        const Span from = any(other.elements);
        Span to = any(document.elements);
        if (one_in(3)) return text.erase(to.begin, to.end - to.begin);
        if (one_in(2)) to = one_in(2) ? Span{to.begin, to.begin} : Span{to.end, to.end};
        return text.replace(to.begin, to.end - to.begin, donor, from.begin, from.end - from.begin);
    }

    // Another text for one of the texts: one of the others, or changed by the fuzzer.
    std::string rewritten(std::string text, std::size_t max_size) {
        const Document document = parse(text);
        if (document.texts.empty()) return "";
        const Span to = any(document.texts);
        const Span from = one_in(3) ? any(document.texts) : to;
        std::string piece = text.substr(from.begin, from.end - from.begin);
        if (from.begin == to.begin) {
            const std::size_t size = piece.size();
            piece.resize(std::min(max_size, size + 64));
            auto* bytes = reinterpret_cast<std::uint8_t*>(piece.data());
            piece.resize(LLVMFuzzerMutate(bytes, size, piece.size()));
            if (!one_in(16)) piece = escaped(piece);
        }
        return text.replace(to.begin, to.end - to.begin, piece);
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
    std::string text = mutator.one_in(8) ? "" : text_of(data, size);
    do {
        if (!text.empty())
            text = mutator.one_in(2) ? mutator.rearranged(text, text)
                                     : mutator.rewritten(text, max_size);
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
