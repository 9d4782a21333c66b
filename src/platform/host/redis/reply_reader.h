// SPDX-License-Identifier: MIT
// The server's side of the conversation (RESP2), taken apart as it arrives.
//
// Nothing is believed before it is there: a header costs no memory for what it announces, and what
// no honest server sends ends the conversation. A text that is longer than any value of ours is
// passed over and counts as nothing: somebody's mistake must not cost the terminal its memory.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace host {

struct Reply {
    enum class Kind { status, error, integer, text, array, nothing };

    Kind kind = Kind::nothing;
    std::string text; // of a status, an error or a text
    std::int64_t integer = 0;
    std::vector<Reply> elements; // of an array; those of an array within it stand in its place

    bool is_error() const { return kind == Kind::error; }
};

class ReplyReader {
public:
    static constexpr std::int64_t longest_text = 64 * 1024; // of a value
    static constexpr std::int64_t most_elements = 1 << 20;  // keys of one turn of the server

    enum class Step { complete, more, nonsense };

    void feed(std::string_view bytes);
    Step next(Reply& reply); // moved there when it is complete

private:
    Step take_item(Reply& item);

    std::string bytes_;
    std::size_t taken_ = 0;    // of them
    std::uint64_t skip_ = 0;   // of what is still to come
    Reply array_;              // that is not complete yet
    std::int64_t missing_ = 0; // of its elements
};

} // namespace host
