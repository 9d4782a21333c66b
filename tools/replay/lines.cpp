// SPDX-License-Identifier: MIT
#include "lines.h"

#include <algorithm>
#include <cstring>

namespace replay {
namespace {

constexpr std::size_t first_buffer = std::size_t{64} << 10U;
constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";

} // namespace

Lines::Lines(std::unique_ptr<Bytes> bytes, std::string name)
    : bytes_(std::move(bytes)), name_(std::move(name)), buffer_(first_buffer)
{
}

std::string Lines::at_line(const std::string& reason) const
{
    return name_ + ":" + std::to_string(number_) + ": " + reason;
}

// More of the file behind what is there; false at its end and on failure.
bool Lines::fill()
{
    if (at_end_)
        return false;
    if (begin_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    if (end_ == buffer_.size()) {
        if (buffer_.size() > longest) {
            ++number_;
            error_ = at_line("the line has more than " + std::to_string(longest) + " characters");
            return false;
        }
        buffer_.resize(2 * buffer_.size());
    }
    const ssize_t length = bytes_->read(std::span(buffer_).subspan(end_));
    at_end_ = length <= 0;
    if (length < 0)
        error_ = name_ + ": " + bytes_->error();
    end_ += at_end_ ? 0 : static_cast<std::size_t>(length);
    return !at_end_;
}

std::span<char> Lines::take(std::size_t length)
{
    std::span<char> line = std::span(buffer_).subspan(begin_, length);
    begin_ += length;
    if (++number_ == 1 && std::string_view(line.data(), length).starts_with(byte_order_mark))
        line = line.subspan(byte_order_mark.size());
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line = line.first(line.size() - 1);
    return line;
}

bool Lines::next(std::span<char>& line)
{
    if (again_) {
        again_ = false;
        line = line_;
        return true;
    }
    std::size_t looked_at = 0;
    for (;;) {
        const char* const from = buffer_.data() + begin_ + looked_at;
        const auto* const line_end =
            static_cast<const char*>(std::memchr(from, '\n', end_ - begin_ - looked_at));
        if (line_end != nullptr) {
            line_ = take(static_cast<std::size_t>(line_end - (buffer_.data() + begin_)) + 1);
            break;
        }
        looked_at = end_ - begin_;
        if (fill())
            continue;
        if (failed() || looked_at == 0)
            return false;
        line_ = take(looked_at); // the last one, without an end
        break;
    }
    line = line_;
    return true;
}

} // namespace replay
