// SPDX-License-Identifier: MIT
#include "host/redis/reply_reader.h"

#include <algorithm>
#include <utility>

#include "host/base/integer.h"

namespace host {
namespace {

constexpr std::string_view marks = "+-:$*";              // in the order of the kinds
constexpr std::int64_t longest_announced = 512LL << 20U; // no server has longer values

} // namespace

void ReplyReader::feed(std::string_view bytes)
{
    const auto skipped = static_cast<std::size_t>(std::min<std::uint64_t>(skip_, bytes.size()));
    skip_ -= skipped;
    bytes_.erase(0, std::exchange(taken_, 0));
    bytes_.append(bytes.substr(skipped));
}

// A simple reply, or the header of an array, whose size is `integer` then.
ReplyReader::Step ReplyReader::take_item(Reply& item)
{
    const std::size_t end = std::min(bytes_.find("\r\n", taken_), bytes_.size());
    const bool whole = end < bytes_.size(); // else half of its end may be there
    if (end - taken_ > std::size_t{longest_text} + (whole ? 0U : 1U))
        return Step::nonsense;
    if (!whole)
        return Step::more;
    const std::string_view line = std::string_view(bytes_).substr(taken_, end - taken_);
    const std::size_t kind = line.empty() ? marks.npos : marks.find(line.front());
    if (kind == marks.npos)
        return Step::nonsense;
    item = {static_cast<Reply::Kind>(kind), {}, 0, {}};
    const bool array = item.kind == Reply::Kind::array;
    const bool counts = array || item.kind == Reply::Kind::text;
    const auto number = parse_integer<std::int64_t>(line.substr(1));
    if (!counts && item.kind != Reply::Kind::integer)
        item.text = line.substr(1);
    else if (!number)
        return Step::nonsense;
    else
        item.integer = *number;
    if (counts && (item.integer < -1 || item.integer > (array ? most_elements : longest_announced)))
        return Step::nonsense;
    if (counts && item.integer < 0)
        item.kind = Reply::Kind::nothing;
    const bool text = item.kind == Reply::Kind::text;
    const std::size_t size = text ? static_cast<std::size_t>(item.integer) + 2 : 0;
    const std::size_t there = std::min(size, bytes_.size() - end - 2);
    if (item.integer > longest_text && text) {
        item.kind = Reply::Kind::nothing;
        skip_ = size - there;
    } else if (there < size) {
        return Step::more;
    } else if (text) {
        item.text = bytes_.substr(end + 2, size - 2);
    }
    taken_ = end + 2 + there;
    return Step::complete;
}

ReplyReader::Step ReplyReader::next(Reply& reply)
{
    while (true) {
        Reply item;
        if (const Step step = take_item(item); step != Step::complete)
            return step;
        const bool inside = missing_ > 0;
        if (item.kind == Reply::Kind::array) {
            missing_ += item.integer - (inside ? 1 : 0);
            if (missing_ > most_elements)
                return Step::nonsense;
            if (!inside)
                array_ = std::move(item);
        } else if (inside) {
            --missing_;
            array_.elements.push_back(std::move(item));
        } else {
            reply = std::move(item);
            return Step::complete;
        }
        if (missing_ == 0) {
            reply = std::move(array_);
            return Step::complete;
        }
    }
}

} // namespace host
