#include "message_reader.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace norvane::driver::lsp {
namespace {

constexpr std::string_view length_name = "content-length:";
constexpr std::string_view header_end = "\r\n\r\n";
constexpr std::size_t longest_header = 4096;

char lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// The offset of "Content-Length", case-insensitive, at or after `from`.
std::size_t find_length(std::string_view text, std::size_t from) {
    from = std::min(from, text.size());
    const auto found = std::search(
        text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), length_name.begin(),
        length_name.end(), [](char in_text, char in_name) { return lower(in_text) == in_name; });
    return found == text.end() ? std::string_view::npos
                               : static_cast<std::size_t>(found - text.begin());
}

// The value of Content-Length; empty if it is not a number or if the line has other bytes before
// the name.
std::optional<std::size_t> length_in(std::string_view header) {
    const std::size_t name = find_length(header, 0);
    if (name == std::string_view::npos) return {};
    if (name > 0 && header[name - 1] != '\n') return {};
    std::string_view number = header.substr(name + length_name.size());
    number = number.substr(0, number.find('\r'));
    number.remove_prefix(std::min(number.find_first_not_of(" \t"), number.size()));
    while (!number.empty() && (number.back() == ' ' || number.back() == '\t'))
        number.remove_suffix(1);
    std::size_t length = 0;
    const auto [after, error] =
        std::from_chars(number.data(), number.data() + number.size(), length);
    if (error != std::errc() || after != number.data() + number.size()) return {};
    return length;
}

} // namespace

void MessageReader::add(std::string_view bytes) {
    const std::size_t skipped = std::min(skip_, bytes.size());
    skip_ -= skipped;
    bytes.remove_prefix(skipped);
    if (at_ > buffer_.size() / 2) {
        buffer_.erase(0, at_);
        at_ = 0;
    }
    buffer_ += bytes;
}

std::optional<Frame> MessageReader::next() {
    if (!body_) {
        if (auto fault = read_header()) return fault;
        if (!body_) return {};
    }
    if (rest().size() < *body_) {
        buffer_.reserve(at_ + *body_);
        return {};
    }
    Frame frame{std::string(rest().substr(0, *body_))};
    at_ += *body_;
    body_.reset();
    return frame;
}

std::optional<Frame> MessageReader::read_header() {
    for (;;) {
        const std::size_t end = rest().find(header_end);
        const bool has_end = end != std::string_view::npos;
        if (!has_end && rest().size() <= longest_header) return {};
        const auto length = has_end ? length_in(rest().substr(0, end)) : std::nullopt;
        if (length) return begin_body(end + header_end.size(), *length);
        const bool has_next = drop_to_next_header();
        if (!is_lost_) {
            is_lost_ = true;
            return Frame{{}, has_end ? "a header without a length" : "a header without an end"};
        }
        if (!has_next) return {};
    }
}

std::optional<Frame> MessageReader::begin_body(std::size_t header, std::size_t length) {
    is_lost_ = false;
    at_ += header;
    if (length <= largest_body) {
        body_ = length;
        return {};
    }
    const std::size_t there = std::min(length, rest().size());
    at_ += there;
    skip_ = length - there;
    return Frame{{}, "a message that is too large"};
}

// Drops the bytes before the next Content-Length, but keeps a possible beginning of it at the end.
// Bytes that are dropped one after the other are reported once.
bool MessageReader::drop_to_next_header() {
    const std::string_view text = rest();
    const std::size_t next = find_length(text, 1);
    const std::size_t kept = std::min(text.size() - 1, length_name.size());
    const bool has_next = next != std::string_view::npos;
    at_ += has_next ? next : text.size() - kept;
    return has_next;
}

} // namespace norvane::driver::lsp
