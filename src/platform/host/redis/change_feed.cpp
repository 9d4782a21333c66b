// SPDX-License-Identifier: MIT
#include "host/redis/change_feed.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace host {
namespace {

constexpr std::size_t most_at_once = 256; // events of one settling
constexpr std::size_t most_seen = 65536;  // keys
constexpr std::size_t longest_value = 64U * 1024U;
constexpr std::string_view last_byte_of_value = "65536"; // one more than that
constexpr std::size_t seen_length = 1024;
constexpr std::string_view last_byte = "1023";

} // namespace

// Never the whole value, which may be hundreds of megabytes of somebody's mistake.
void ask_seen_value(RedisPipeline& pipeline, std::string_view key)
{
    pipeline.ask({"GETRANGE", key, "0", last_byte});
}

SeenValue seen_value(const redisReply& reply)
{
    if (reply.type != REDIS_REPLY_STRING || reply.len == 0)
        return std::nullopt;
    return std::string(text_of(reply));
}

SeenValue seen_value(const OwnWrites::Value& value)
{
    if (!value || value->empty())
        return std::nullopt;
    return value->substr(0, seen_length);
}

// GETRANGE alone cannot tell a missing key from an empty value, and GET would bring a value of
// any length.
void ask_value(RedisPipeline& pipeline, std::string_view key)
{
    pipeline.ask({"GETRANGE", key, "0", last_byte_of_value});
    pipeline.ask({"EXISTS", key});
}

ReadAhead::Answer value_answer(const redisReply& found, const redisReply& exists)
{
    if (found.type != REDIS_REPLY_STRING)
        return {text_of(found).starts_with("WRONGTYPE") ? -EINVAL : -EIO, {}};
    if (found.len > longest_value)
        return {-EMSGSIZE, {}};
    if (found.len == 0 && exists.integer == 0)
        return {-ENOENT, {}};
    return {0, std::string(text_of(found))};
}

int refused_read(std::span<const Reply> replies)
{
    const bool refused = std::any_of(replies.begin(), replies.end(), [](const Reply& reply) {
        return is_error(*reply) && !text_of(*reply).starts_with("WRONGTYPE");
    });
    return refused ? -EACCES : 0;
}

bool ChangeFeed::add(std::vector<std::string>& keys)
{
    std::move(keys.begin(), keys.end(), std::back_inserter(waiting_));
    keys.clear();
    if (waiting_.size() <= most_waiting)
        return true;
    fold();
    if (waiting_.size() <= most_waiting / 2) // else it would fold again at each event
        return true;
    waiting_.clear();
    return false;
}

void ChangeFeed::fold()
{
    std::unordered_set<std::string_view> later;
    std::deque<std::string> last;
    for (auto key = waiting_.rbegin(); key != waiting_.rend(); ++key) {
        if (later.insert(*key).second)
            last.push_front(*key);
    }
    waiting_ = std::move(last);
}

std::unordered_set<std::string_view> ChangeFeed::waiting_keys() const
{
    return {waiting_.begin(), waiting_.end()};
}

int ChangeFeed::settle(std::uint64_t deadline_us)
{
    const auto count = static_cast<std::ptrdiff_t>(std::min(waiting_.size(), most_at_once));
    const std::vector<std::string> keys(waiting_.begin(), waiting_.begin() + count);
    Values values;
    std::vector<std::string_view> asked;
    for (const std::string& key : keys) {
        if (!values.try_emplace(key).second)
            continue;
        ask_seen_value(pipeline_, key);
        asked.push_back(key);
    }
    const std::vector<std::string> ahead = read_ahead_.begin(keys.front());
    for (const std::string& key : ahead)
        ask_value(pipeline_, key);
    std::vector<Reply> replies;
    if (const int error = pipeline_.answers(replies, deadline_us); error != 0)
        return error;
    if (const int error = refused_read(replies); error != 0)
        return error;
    for (std::size_t i = 0; i < ahead.size(); ++i) {
        const std::size_t at = asked.size() + 2 * i;
        read_ahead_.keep(ahead[i], value_answer(*replies[at], *replies[at + 1]));
    }
    waiting_.erase(waiting_.begin(), waiting_.begin() + count);
    for (std::size_t i = 0; i < asked.size(); ++i)
        values[asked[i]] = seen_value(*replies[i]);
    queue(keys, values);
    return 0;
}

// One batch for what one own write wrote, and one for the events of others in between, as long
// as no key comes twice: then it is another write for certain.
void ChangeFeed::queue(std::span<const std::string> keys, const Values& values)
{
    std::unordered_map<std::string_view, std::size_t> left;
    for (const std::string& key : keys)
        ++left[key];
    std::deque<SeenValue> texts; // of the batch; a deque, since the batch looks into it
    std::vector<Write> batch;
    std::unordered_set<std::string_view> in_batch;
    std::uint64_t batch_id = 0; // of the own write; 0: of others
    const auto end_batch = [&](std::uint64_t next_id) {
        changes_.queue(batch);
        batch.clear();
        in_batch.clear();
        texts.clear();
        batch_id = next_id;
    };
    for (const std::string& key : keys) {
        const SeenValue& read = values.at(key);
        const std::optional<OwnWrites::Event> own = own_.take_event(key);
        const bool last = --left[key] == 0;
        const std::size_t seen_before = last_seen(key);
        if (last)
            set_seen(key, read);
        if (own && own->silent && last && hash(read) == seen_before)
            continue;
        const std::uint64_t id = own ? own->id : 0;
        if (id != batch_id || (id == 0 && in_batch.contains(key)))
            end_batch(id);
        in_batch.insert(key);
        texts.push_back(own && !last ? own->value : read);
        batch.push_back(
            {key, texts.back() ? std::optional<std::string_view>(*texts.back()) : std::nullopt});
        const auto mine = own_.last().find(key);
        if (!own && mine != own_.last().end() && seen_value(mine->second.value) != read)
            own_.give_up(key);
    }
    end_batch(0);
}

void ChangeFeed::deliver(std::span<const std::pair<std::string, SeenValue>> changes)
{
    std::vector<Write> batch;
    for (const auto& [key, value] : changes) {
        set_seen(key, value);
        batch.push_back({key, value ? std::optional<std::string_view>(*value) : std::nullopt});
    }
    changes_.queue(batch);
}

std::size_t ChangeFeed::hash(const SeenValue& value)
{
    return value ? std::hash<std::string>{}(*value) | 1U : 0;
}

std::size_t ChangeFeed::last_seen(const std::string& key) const
{
    const auto found = seen_.find(key);
    return found == seen_.end() ? 0 : found->second;
}

void ChangeFeed::doubt(const std::string& key)
{
    constexpr std::size_t no_hash = 2; // they are odd, or 0
    if (seen_.size() < most_seen || seen_.contains(key))
        seen_[key] = no_hash;
}

void ChangeFeed::set_seen(const std::string& key, const SeenValue& value)
{
    if (!value)
        seen_.erase(key);
    else if (seen_.size() < most_seen || seen_.contains(key))
        seen_[key] = hash(value);
}

} // namespace host
