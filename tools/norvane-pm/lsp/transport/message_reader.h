// Messages out of a stream of bytes: a header with the length of the body, an empty line, the body.
#ifndef NORVANE_PM_LSP_MESSAGE_READER_H
#define NORVANE_PM_LSP_MESSAGE_READER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace norvane::driver::lsp {

// A body, or the reason why bytes had to be dropped.
struct Frame {
    std::string body;
    const char* fault = nullptr;
};

class MessageReader {
  public:
    // A body that is larger is dropped as it comes.
    static constexpr std::size_t largest_body = std::size_t{512} << 20;

    void add(std::string_view bytes);

    // The next frame; nothing until more bytes have come. After a fault reading goes on at the next
    // header.
    std::optional<Frame> next();

  private:
    std::optional<Frame> read_header();
    std::optional<Frame> begin_body(std::size_t header, std::size_t length);
    bool drop_to_next_header();
    std::string_view rest() const { return std::string_view(buffer_).substr(at_); }

    std::string buffer_;
    std::size_t at_ = 0;   // what is before it has been read
    std::size_t skip_ = 0; // bytes of a body that is too large
    std::optional<std::size_t> body_;
    bool is_lost_ = false; // a fault was reported, and no header has come since
};

} // namespace norvane::driver::lsp

#endif
