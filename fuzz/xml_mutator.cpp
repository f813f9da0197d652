// Mutates XML for the fuzzer. Changing random bytes leaves hardly any input well-formed, so that
// expat would refuse it before the readers of this library see it. Most mutations here keep the
// input well-formed: they remove, move, copy and rename elements, and change attribute values and
// texts.
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "harness.h"

// Provided by the fuzzer: changes some of the bytes, also with words of the dictionary.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

namespace {

struct Span {
    std::size_t begin, end;
};

struct Element {
    Span whole, name;
    bool has_end_tag = false;
    Span end_name = {}; // only where there is one
    std::size_t content_end = 0;
};

// The positions of elements, attribute values and texts in a document, which need not be
// well-formed.
struct Document {
    std::vector<Element> elements;
    std::vector<Span> values; // of attributes, without the quotes
    std::vector<Span> texts;
};

constexpr std::string_view ends_of_name = " \t\r\n/>=<\"'";

std::size_t find_or_end(std::string_view text, std::string_view wanted, std::size_t from) {
    return std::min(text.find_first_of(wanted, from), text.size());
}

// Records the attributes of a start tag from `at` on. Returns the position of its closing bracket,
// or the end of the text.
std::size_t read_attributes(std::string_view text, std::size_t at, Document& document) {
    while ((at = find_or_end(text, ">\"'", at)) < text.size() && text[at] != '>') {
        const std::size_t end = text.find(text[at], at + 1);
        if (end == text.npos) return text.size();
        document.values.push_back({at + 1, end});
        at = end + 1;
    }
    return at;
}

Document parse(std::string_view text) {
    Document document;
    std::vector<Element> open;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t tag = std::min(text.find('<', at), text.size());
        if (!open.empty()) document.texts.push_back({at, tag});
        if (tag + 1 >= text.size()) break;
        const bool is_end_tag = text[tag + 1] == '/';
        const std::size_t name = tag + 1 + is_end_tag;
        const std::size_t name_end = find_or_end(text, ends_of_name, name);
        if (text[tag + 1] == '?' || text[tag + 1] == '!') {
            at = find_or_end(text, ">", tag) + 1;
        } else if (is_end_tag) {
            at = find_or_end(text, ">", name_end) + 1;
            if (open.empty() || at > text.size()) break;
            Element& element = open.back();
            element.whole.end = at;
            element.has_end_tag = true;
            element.end_name = {name, name_end};
            element.content_end = tag;
            document.elements.push_back(element);
            open.pop_back();
        } else {
            const std::size_t close = read_attributes(text, name_end, document);
            at = close + 1;
            if (close == text.size()) break;
            const Element element = {
                .whole = {tag, at}, .name = {name, name_end}, .content_end = at};
            (text[close - 1] == '/' ? document.elements : open).push_back(element);
        }
    }
    return document;
}

// Escapes the characters that a value or a text cannot contain as they are.
std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '<')
            result += "&lt;";
        else if (c == '&')
            result += "&amp;";
        else if (c == '"')
            result += "&quot;";
        else if (byte < ' ')
            result += "&#10;";
        else if (byte < 0x80)
            result += c;
        else
            (result += static_cast<char>(0xC0 | byte >> 6)) +=
                static_cast<char>(0x80 | (byte & 0x3F));
    }
    return result;
}

class Mutator {
  public:
    explicit Mutator(unsigned seed) : random_(seed) {}

    bool one_in(std::size_t n) { return random_() % n == 0; }

    // A mutation of the text; empty if it contains no element.
    std::string changed(const std::string& text, std::size_t max_size) {
        const Document document = parse(text);
        if (document.elements.empty()) return "";
        switch (random_() % 8) {
        case 0: return with(text, any(document.elements).whole, "");
        case 1:
        case 2: return with(text, place(document), copy(text, document));
        case 3: return with(text, any(document.elements).whole, copy(text, document));
        case 4: return renamed(text, any(document.elements), any(document.elements));
        case 5: return rewritten(text, document.texts, max_size);
        default: return rewritten(text, document.values, max_size);
        }
    }

    // The text with an element of the other text inserted or put in the place of one of its own.
    std::string crossed(const std::string& text, const std::string& other) {
        const Document document = parse(text);
        const Document donor = parse(other);
        if (document.elements.empty() || donor.elements.empty()) return "";
        const Span there = one_in(2) ? place(document) : any(document.elements).whole;
        return with(text, there, copy(other, donor));
    }

  private:
    template <typename T>
    const T& any(const std::vector<T>& parts) {
        return parts[random_() % parts.size()];
    }

    static std::string with(std::string text, Span span, const std::string& replacement) {
        return text.replace(span.begin, span.end - span.begin, replacement);
    }

    std::string copy(const std::string& text, const Document& document) {
        const Span span = any(document.elements).whole;
        return text.substr(span.begin, span.end - span.begin);
    }

    // A position before or after an element, or at the end of its content.
    Span place(const Document& document) {
        const Element& element = any(document.elements);
        const std::size_t at = one_in(3)   ? element.whole.begin
                               : one_in(2) ? element.content_end
                                           : element.whole.end;
        return {at, at};
    }

    static std::string renamed(const std::string& text, const Element& element,
                               const Element& namesake) {
        const Span name = namesake.name;
        const std::string new_name = text.substr(name.begin, name.end - name.begin);
        std::string result = text;
        if (element.has_end_tag) result = with(result, element.end_name, new_name);
        return with(result, element.name, new_name);
    }

    // Replaces one of the spans by a copy of another, or by a mutation of its bytes.
    std::string rewritten(const std::string& text, const std::vector<Span>& spans,
                          std::size_t max_size) {
        if (spans.empty()) return "";
        const Span span = any(spans);
        const Span source = one_in(3) ? any(spans) : span;
        std::string piece = text.substr(source.begin, source.end - source.begin);
        if (source.begin != span.begin) return with(text, span, piece);
        const std::size_t size = piece.size();
        piece.resize(std::min(max_size, size + 64));
        auto* bytes = reinterpret_cast<std::uint8_t*>(piece.data());
        piece.resize(LLVMFuzzerMutate(bytes, size, piece.size()));
        return with(text, span, one_in(16) ? piece : escaped(piece));
    }

    std::minstd_rand random_;
};

// Copies the text to `data` and returns its size; 0 if it is empty or too large.
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
    std::string text;
    if (!mutator.one_in(8)) {
        text = mutator.changed(text_of(data, size), max_size);
        while (!text.empty() && mutator.one_in(2)) {
            const std::string more = mutator.changed(text, max_size);
            if (more.empty() || more.size() > max_size) break;
            text = more;
        }
    }
    const std::size_t changed_size = put(text, data, max_size);
    return changed_size != 0 ? changed_size : LLVMFuzzerMutate(data, size, max_size);
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* data, std::size_t size,
                                                 const std::uint8_t* other, std::size_t other_size,
                                                 std::uint8_t* out, std::size_t max_size,
                                                 unsigned seed) {
    return put(Mutator(seed).crossed(text_of(data, size), text_of(other, other_size)), out,
               max_size);
}
