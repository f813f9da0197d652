// String, a text value, and UTF8, the conversions between code page 1252 and UTF-8.
//
// Models hold texts in code page 1252, files in UTF-8; the XML layer converts when it reads and
// writes.
#ifndef NORVANE_BASE_TEXT_HPP
#define NORVANE_BASE_TEXT_HPP

#include <cstddef>

#include "norvane/base/export.h"

namespace NorvaneCpp {

// An owned zero-terminated text, never null. Copies are deep; a String that was moved from is
// empty. A throw (except.h) that skips a String leaks its memory, and nothing else.
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

    // The text; borrowed, valid until the String changes.
    const char* GetStr() const { return text_; }
    const char* c_str() const { return text_; }
    std::size_t Size() const { return size_; } // bytes before the terminator

    // Replaces the text by the formatted one, of any length. Arguments may point into this String.
    void printf(const char* format, ...) NORVANE_PRINTF(2, 3);

  private:
    friend class UTF8;
    static String adopt(char* text, std::size_t size);
    void replace(char* text, std::size_t size);

    char* text_; // from malloc; all empty Strings share one text
    std::size_t size_;
};

// Conversions that never fail. The five bytes that code page 1252 leaves unassigned map to the
// control characters of the same number, in both directions. Code points that it does not contain
// become "?", and so does each byte of malformed UTF-8.
class NORVANE_BASE_API UTF8 {
  public:
    // From UTF-8 to `codepage`, which must be 1252. The last argument is ignored.
    static String ToCodepage(const String& text, unsigned codepage, bool lossy);
    // From code page 1252 to UTF-8.
    static String ToUnicode(const String& text);
};

} // namespace NorvaneCpp

#endif
