#include "escapes.h"

#include <algorithm>
#include <iterator>

#include "text.h"

namespace norvane::driver {
namespace {

constexpr char digits[] = "0123456789ABCDEF";

void add_hexadecimal(std::string& text, char c) {
    const auto byte = static_cast<unsigned char>(c);
    text += digits[byte >> 4];
    text += digits[byte & 15];
}

// The bytes that a language needs no escape for: printable ones except "%" and those in `others`.
class PlainBytes {
  public:
    constexpr explicit PlainBytes(std::string_view others) {
        for (char c = ' '; c < 0x7F; ++c)
            is_plain_[static_cast<unsigned char>(c)] =
                c != '%' && others.find(c) == std::string_view::npos;
    }
    constexpr bool has(char c) const { return is_plain_[static_cast<unsigned char>(c)]; }

  private:
    bool is_plain_[256] = {};
};

std::string with_percents(std::string_view text, const PlainBytes& plain) {
    std::string result;
    for (const char c : text) {
        if (plain.has(c)) {
            result += c;
        } else {
            result += '%';
            add_hexadecimal(result, c);
        }
    }
    return result;
}

// Most texts are plain and are written as they are.
void write_with_percents(Writer& out, std::string_view text, const PlainBytes& plain) {
    bool is_plain = true;
    for (const char c : text)
        is_plain = is_plain & plain.has(c);
    if (is_plain)
        out << text;
    else
        out << with_percents(text, plain);
}

bool is_letter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

constexpr std::string_view reserved[] = {
    "NONE", "SOME",     "and",   "array", "boolean",  "case",    "constant", "default", "else",
    "esac", "exist",    "false", "float", "forall",   "if",      "in",       "integer", "not",
    "of",   "optional", "or",    "order", "private",  "product", "public",   "rule",    "string",
    "sum",  "then",     "true",  "type",  "variable", "xor"};

// Whether a name of a path can stand as it is: nothing in it reads as the end of a part.
bool is_plain(std::string_view name) {
    return !name.empty() && is_letter(name[0]) && name.back() != '_' &&
           name.find("__") == std::string_view::npos && std::ranges::all_of(name, [](char c) {
               return is_letter(c) || is_digit(c) || c == '_';
           });
}

// Takes the next name of a path, which may be in quotes, off it.
std::string take_name(std::string_view& path) {
    std::string name;
    if (path[0] != '"') {
        name = path.substr(0, path.find_first_of(".["));
        path.remove_prefix(name.size());
        return name;
    }
    std::size_t at = 1;
    for (; at < path.size() && path[at] != '"'; ++at) {
        if (path[at] == '\\') name += path[at++]; // an escape stays as it is
        name += path[at];
    }
    path.remove_prefix(std::min(at + 1, path.size()));
    return name;
}

} // namespace

bool is_reserved(std::string_view name) {
    return std::ranges::find(reserved, name) != std::end(reserved);
}

std::string json_string(std::string_view bytes) {
    std::string result = "\"";
    const bool is_ascii = std::ranges::all_of(bytes, [](char c) { return c >= 0; });
    const std::string converted = is_ascii ? std::string() : to_utf8(bytes);
    for (const char c : is_ascii ? bytes : std::string_view(converted)) {
        if (c == '"' || c == '\\') {
            result += '\\';
            result += c;
        } else if ((c >= 0 && c < ' ') || c == 0x7F) {
            result += "\\u00";
            add_hexadecimal(result, c);
        } else {
            result += c;
        }
    }
    return result += '"';
}

void smtlib_symbol(Writer& out, std::string_view name, std::string_view prefix) {
    static constexpr PlainBytes plain("|\\");
    out << '|' << prefix;
    write_with_percents(out, name, plain);
    out << '|';
}

void minizinc_identifier(Writer& out, std::string_view name) {
    static constexpr PlainBytes plain("'\\");
    out << '\'';
    write_with_percents(out, name, plain);
    out << '\'';
}

std::string comment_word(std::string_view name) {
    static constexpr PlainBytes plain(" *");
    return with_percents(name, plain);
}

std::string comment_text(std::string_view text) {
    static constexpr PlainBytes plain("*");
    return with_percents(text, plain);
}

std::string asp_string(std::string_view text) {
    std::string result = "\"";
    for (const char c : with_percents(text, PlainBytes(""))) {
        if (c == '"' || c == '\\') result += '\\';
        result += c;
    }
    return result += '"';
}

namespace {

std::string in_hexadecimal(std::string_view prefix, std::string_view name) {
    std::string result(prefix);
    for (const char c : name)
        add_hexadecimal(result, c);
    return result;
}

// Takes an index, such as "[2]", from the path.
std::string_view take_index(std::string_view& path) {
    const std::size_t end = path.find(']');
    const std::string_view index = path.substr(1, end - 1);
    path.remove_prefix(end + 1);
    return index;
}

} // namespace

std::string pm_name(std::string_view path) {
    std::string result;
    bool is_one_name = true;
    while (!path.empty()) {
        const bool is_index = path[0] == '[';
        const bool is_field = path[0] == '.';
        if (is_index || is_field) {
            result += "__";
            is_one_name = false;
        }
        if (is_index) {
            result += take_index(path);
            continue;
        }
        if (is_field) path.remove_prefix(1);
        // A name of PM begins with no digit, and no plain name with an underscore.
        const std::string name = take_name(path);
        result += is_plain(name) ? name : in_hexadecimal(result.empty() ? "_0x" : "0x", name);
    }
    if (is_one_name && is_reserved(result)) return in_hexadecimal("_0x", result);
    return result;
}

} // namespace norvane::driver
