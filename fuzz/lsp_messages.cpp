// The reader of a language server's messages: a stream gives the same frames however it is cut into
// pieces, and a message that follows what is malformed is read.
#include <algorithm>
#include <cctype>
#include <vector>

#include "harness.h"
#include "message_reader.h"

namespace {

using norvane::driver::lsp::MessageReader;

std::vector<std::string> frames(std::string_view bytes, std::size_t piece) {
    MessageReader reader;
    std::vector<std::string> read;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        reader.add(bytes.substr(at, piece));
        while (auto frame = reader.next())
            read.push_back(frame->fault ? frame->fault : frame->body);
    }
    return read;
}

// In letters of any case, as the reader takes it.
bool has_length(std::string bytes) {
    for (char& byte : bytes)
        byte = static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
    return bytes.find("length") != std::string::npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using norvane::fuzz::expect;
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const auto whole = frames(bytes, std::max<std::size_t>(size, 1));
    if (size < 4000) { // a longer header is dropped in pieces
        const std::size_t piece = 1 + (size ? data[0] % 7 : 0);
        expect(frames(bytes, piece) == whole, "the frames depend on the pieces");
    }
    // Without a length there is no body that could hold it.
    if (!has_length(bytes))
        expect(frames(bytes + "Content-Length: 2\r\n\r\n{}", 4096).back() == "{}",
               "a message after what is malformed is lost");
    return 0;
}
