// Text on its way to a stream: gathered in large pieces, since rules are written in millions of
// small ones.
#ifndef NORVANE_PM_WRITER_H
#define NORVANE_PM_WRITER_H

#include <charconv>
#include <concepts>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace norvane::driver {

class Writer {
  public:
    explicit Writer(std::FILE* stream) : stream_(stream) {}
    // Writes into what `take` takes, which must not throw.
    explicit Writer(std::function<void(std::string_view)> take) : take_(std::move(take)) {}
    ~Writer() { flush(); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    Writer& operator<<(std::string_view text) {
        buffer_ += text;
        if (buffer_.size() > limit) flush();
        return *this;
    }
    Writer& operator<<(char c) {
        buffer_ += c;
        return *this;
    }
    template <std::integral Number>
    Writer& operator<<(Number number) {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        return *this << std::string_view(digits, static_cast<std::size_t>(end - digits));
    }
    void flush() {
        if (stream_)
            std::fwrite(buffer_.data(), 1, buffer_.size(), stream_);
        else
            take_(buffer_);
        buffer_.clear();
    }
    // True once the stream has refused something: the rest need not be written.
    bool refused() const { return stream_ && std::ferror(stream_) != 0; }

  private:
    static constexpr std::size_t limit = 1 << 16;
    std::FILE* stream_ = nullptr;
    std::function<void(std::string_view)> take_;
    std::string buffer_;
};

} // namespace norvane::driver

#endif
