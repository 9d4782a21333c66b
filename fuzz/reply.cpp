// SPDX-License-Identifier: MIT
// The server's bytes make the same replies however the network cuts them, and hold no more memory
// than has come.
//
// Code: src/platform/host/redis/reply_reader.cpp
#include "fuzz.h"
#include "host/redis/reply_reader.h"

using fuzz::require;
using host::Reply;
using Step = host::ReplyReader::Step;

namespace {

void tell(const Reply& reply, std::string& story, std::size_t& held)
{
    story += std::to_string(static_cast<int>(reply.kind)) + " " + std::to_string(reply.integer) +
             " '" + reply.text + "' [";
    held += reply.text.capacity() + reply.elements.capacity() * sizeof(Reply);
    for (const Reply& element : reply.elements)
        tell(element, story, held);
    story += "]";
}

// Up to what no server sends. Pieces are of the lengths that the pattern's bytes tell.
std::string replies(std::string_view bytes, std::string_view pattern)
{
    host::ReplyReader reader;
    std::string story;
    std::size_t held = 0;
    for (std::size_t begin = 0, i = 0; begin < bytes.size(); ++i) {
        const auto length =
            static_cast<unsigned char>(pattern[i % pattern.size()]) + std::size_t{1};
        reader.feed(bytes.substr(begin, length));
        begin += length;
        Reply reply;
        Step step = reader.next(reply);
        for (; step == Step::complete; step = reader.next(reply))
            tell(reply, story, held);
        if (step == Step::nonsense)
            return story + "nonsense";
    }
    require(held <= 2 * sizeof(Reply) * (bytes.size() + 1));
    return story;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const std::string_view pattern = input.take(4);
    const std::string whole = replies(input.rest, "\xff");
    require(whole == replies(input.rest, std::string_view("\0", 1)));
    require(pattern.empty() || whole == replies(input.rest, pattern));
    return 0;
}
