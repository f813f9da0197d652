// String, a text value, and UTF8, the conversions between code page 1252 and UTF-8.
//
// The model's texts are held in code page 1252, files hold UTF-8; the XML layer converts on its
// way in and out.
#ifndef NORVANE_BASE_TEXT_HPP
#define NORVANE_BASE_TEXT_HPP

#include <cstddef>

#include "norvane/base/export.h"

namespace NorvaneCpp {

// An owned zero-terminated text, never null. Copies are deep; what was moved away is empty. A throw
// runs no destructors (except.h): a String that one jumps over is lost, and is no more than memory.
class NORVANE_BASE_API String {
  public:
    String();
    String(const char* text);                   // null counts as empty
    String(const char* text, std::size_t size); // may hold zero bytes
    String(const String& other);
    String(String&& other) noexcept;
    ~String();
    String& operator=(const String& other);
    String& operator=(String&& other) noexcept;
    String& operator=(const char* text);

    // The text: borrowed, valid until the String changes.
    const char* GetStr() const { return text_; }
    const char* c_str() const { return text_; }
    std::size_t Size() const { return size_; } // bytes before the terminator

    // Replaces the text by the formatted one, of any length. The arguments may lie in this String.
    void printf(const char* format, ...) NORVANE_PRINTF(2, 3);

  private:
    friend class UTF8;
    static String adopt(char* text, std::size_t size);
    void replace(char* text, std::size_t size);

    char* text_; // from malloc, but for the empty text, which all share
    std::size_t size_;
};

// Total conversions: every byte and every code point has a result. The five bytes that code page
// 1252 leaves unassigned are the control characters of the same number, in both directions; code
// points outside of it become "?"; malformed UTF-8 becomes one "?" a byte.
class NORVANE_BASE_API UTF8 {
  public:
    // From UTF-8 to `codepage`, which must be 1252. The last argument has no effect.
    static String ToCodepage(const String& text, unsigned codepage, bool lossy);
    // From code page 1252 to UTF-8.
    static String ToUnicode(const String& text);
};

} // namespace NorvaneCpp

#endif
