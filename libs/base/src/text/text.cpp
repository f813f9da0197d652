// String and UTF8 of norvane/base/text.hpp.

#include "norvane/base/text.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "codepage.h"
#include "norvane/base/except.h"
#include "norvane/base/memory.h"

namespace NorvaneCpp {

using namespace norvane::text;

namespace {

// The text of all empty Strings. Sharing it means that the default and move constructors cannot
// fail.
char empty_text[1] = {'\0'};

char* new_text(std::size_t size) {
    auto* text = static_cast<char*>(util_malloc_throw(size + 1));
    text[size] = '\0';
    return text;
}

char* copy_of(const char* text, std::size_t size) {
    if (size == 0) return empty_text;
    return static_cast<char*>(std::memcpy(new_text(size), text, size));
}

std::size_t length_of(const char* text) {
    return text ? std::strlen(text) : 0;
}

} // namespace

String::String() : text_(empty_text), size_(0) {}

String::String(const char* text) : String(text, length_of(text)) {}

String::String(const char* text, std::size_t size) : text_(copy_of(text, size)), size_(size) {}

String::String(const String& other) : String(other.text_, other.size_) {}

String::String(String&& other) noexcept : text_(other.text_), size_(other.size_) {
    other.text_ = empty_text;
    other.size_ = 0;
}

String::~String() {
    if (text_ != empty_text) std::free(text_);
}

// Takes over `text`, which is from malloc or is the empty text, and frees the old text.
void String::replace(char* text, std::size_t size) {
    if (text_ != empty_text) std::free(text_);
    text_ = text;
    size_ = size;
}

String String::adopt(char* text, std::size_t size) {
    String string;
    string.replace(text, size);
    return string;
}

String& String::operator=(const String& other) {
    if (this != &other) replace(copy_of(other.text_, other.size_), other.size_);
    return *this;
}

String& String::operator=(String&& other) noexcept {
    std::swap(text_, other.text_);
    std::swap(size_, other.size_);
    return *this;
}

String& String::operator=(const char* text) {
    const std::size_t size = length_of(text);
    replace(copy_of(text, size), size);
    return *this;
}

void String::printf(const char* format, ...) {
    va_list args;
    va_list again;
    va_start(args, format);
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    const std::size_t size = length < 0 ? 0 : static_cast<std::size_t>(length);
    char* text = new_text(size);
    if (size > 0) std::vsnprintf(text, size + 1, format, again);
    va_end(again);
    replace(text, size);
}

String UTF8::ToCodepage(const String& text, unsigned codepage, bool) {
    NORVANE_ASSERT(codepage == 1252);
    const std::size_t size = text.Size();
    if (ascii_prefix(text.GetStr(), size) == size) return text;
    char* converted = new_text(size);
    const std::size_t written = utf8_to_codepage(text.GetStr(), size, converted);
    converted[written] = '\0';
    return String::adopt(converted, written);
}

String UTF8::ToUnicode(const String& text) {
    const std::size_t size = text.Size();
    if (ascii_prefix(text.GetStr(), size) == size) return text;
    char* converted = new_text(utf8_size(text.GetStr(), size));
    return String::adopt(converted, codepage_to_utf8(text.GetStr(), size, converted));
}

} // namespace NorvaneCpp
