// SPDX-License-Identifier: MIT
#include "host/redis/comparison.h"

#include <algorithm>
#include <cerrno>

#include "host/config/configuration.h"

namespace host {
namespace {

constexpr std::size_t keys_read_at_once = 256;
constexpr std::size_t most_keys = 65536; // below the followed ones; the rest is not compared

} // namespace

void Comparison::begin(bool reconnected, bool older_data)
{
    reconnected_ = reconnected || (running() && reconnected_);
    older_data_ = older_data || (running() && older_data_);
    phase_ = Phase::listing;
    cursor_.assign(1, '0'); // the compiler takes = "0" for a wild copy
    keys_.clear();
    next_ = 0;
    candidates_.clear();
    suspects_.clear();
}

int Comparison::step(std::uint64_t deadline_us)
{
    return phase_ == Phase::listing ? list_some(deadline_us) : read_some(deadline_us);
}

int Comparison::list_some(std::uint64_t deadline_us)
{
    std::vector<Reply> replies;
    ask_keys(pipeline_, cursor_);
    if (const int error = pipeline_.answers(replies, deadline_us); error != 0)
        return error;
    const redisReply* const names = take_keys(*replies.front(), cursor_);
    if (names == nullptr)
        return -EACCES; // it is loading its data, or refuses
    for (std::size_t i = 0; i < names->elements && keys_.size() < most_keys; ++i) {
        const std::string_view key = text_of(*names->element[i]);
        if (check_key(key) == 0 && subscriber_.coverage(key) != RedisSubscriber::Coverage::none)
            keys_.emplace_back(key);
    }
    if (cursor_ == "0")
        gather_keys();
    return 0;
}

// A key that has vanished is in no list of the server's.
void Comparison::gather_keys()
{
    for (const auto& [key, hash] : feed_.seen())
        keys_.push_back(key);
    for (const auto& [key, last] : own_.last())
        keys_.push_back(key);
    std::sort(keys_.begin(), keys_.end());
    keys_.erase(std::unique(keys_.begin(), keys_.end()), keys_.end());
    phase_ = keys_.empty() ? Phase::finishing : Phase::reading;
}

int Comparison::read_some(std::uint64_t deadline_us)
{
    const std::size_t end = std::min(next_ + keys_read_at_once, keys_.size());
    for (std::size_t i = next_; i < end; ++i)
        ask_seen_value(pipeline_, keys_[i]);
    std::vector<Reply> replies;
    if (const int error = pipeline_.answers(replies, deadline_us); error != 0)
        return error;
    if (const int error = refused_read(replies); error != 0)
        return error;
    for (std::size_t i = next_; i < end; ++i)
        look(keys_[i], seen_value(*replies[i - next_]));
    next_ = end;
    if (next_ == keys_.size())
        phase_ = Phase::finishing;
    return 0;
}

// Whether this process wrote something else there that is to be written again.
bool Comparison::is_lost(const std::string& key, const SeenValue& found)
{
    const auto own = own_.last().find(key);
    if (own == own_.last().end())
        return false;
    if (seen_value(own->second.value) == found) {
        own_.arrived(key);
        return false;
    }
    if (!found)
        return true;
    // What is followed is others' to tell: another value than the last seen one is theirs.
    const bool theirs =
        is_setting(key) || (subscriber_.coverage(key) != RedisSubscriber::Coverage::none &&
                            ChangeFeed::hash(found) != feed_.last_seen(key));
    if (!theirs && (own->second.uncertain || older_data_))
        return true;
    own_.give_up(key);
    return false;
}

void Comparison::look(const std::string& key, SeenValue value)
{
    if (is_lost(key, value)) {
        const OwnWrites::Last& own = own_.last().find(key)->second;
        suspects_.push_back({key, own.id});
        // It will be as it was: no change for those who have seen that value.
        value = seen_value(own.value);
    }
    const std::size_t seen = feed_.last_seen(key);
    const RedisSubscriber::Coverage coverage = subscriber_.coverage(key);
    if (coverage == RedisSubscriber::Coverage::none)
        feed_.set_seen(key, std::nullopt); // nobody follows it any more
    if (coverage == RedisSubscriber::Coverage::none || ChangeFeed::hash(value) == seen)
        return;
    if (coverage == RedisSubscriber::Coverage::unknown && !reconnected_ && seen == 0)
        feed_.set_seen(key, value);
    else
        candidates_.push_back({key, std::move(value), seen});
}

Comparison::Result Comparison::finish()
{
    phase_ = Phase::idle;
    subscriber_.remember_all();
    Result result;
    const auto waiting = feed_.waiting_keys();
    for (Candidate& candidate : candidates_) {
        if (feed_.last_seen(candidate.key) == candidate.seen && !waiting.contains(candidate.key))
            result.changes.emplace_back(std::move(candidate.key), std::move(candidate.value));
    }
    for (Suspect& suspect : suspects_) {
        const auto own = own_.last().find(suspect.key);
        if (own != own_.last().end() && own->second.id == suspect.id &&
            !waiting.contains(suspect.key))
            result.lost.push_back(std::move(suspect.key));
    }
    return result;
}

} // namespace host
