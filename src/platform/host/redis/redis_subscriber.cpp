// SPDX-License-Identifier: MIT
#include "host/redis/redis_subscriber.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "host/config/configuration.h"

namespace host {
namespace {

// Events that change no value: a time to live that comes with a SET or alone, the second event
// of a new key, and a read of a missing key, which would otherwise answer itself for ever.
constexpr std::array<std::string_view, 4> idle_events = {"expire", "persist", "new", "keymiss"};

std::string glob_escaped(std::string_view text)
{
    std::string escaped;
    for (const char c : text) {
        if (c == '*' || c == '?' || c == '[' || c == '\\')
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

std::string_view element(const redisReply& reply, std::size_t index)
{
    return text_of(*reply.element[index]);
}

} // namespace

RedisSubscriber::RedisSubscriber(CallBudget& budget, int database)
    : budget_(budget), prefix_("__keyspace@" + std::to_string(database) + "__:"),
      sentinel_("power_man.sentinel." + std::to_string(getpid()))
{
}

std::string RedisSubscriber::pattern(std::string_view key) const
{
    return prefix_ + glob_escaped(key) + ".*";
}

void RedisSubscriber::open(std::unique_ptr<RedisLink> link, const std::string& password)
{
    close();
    link_ = std::move(link);
    if (!password.empty())
        ask({"AUTH", password});
    ask({"SUBSCRIBE", channel(sentinel_)});
    for (const auto& [key, subscription] : followed_) {
        ask({"SUBSCRIBE", channel(key)});
        ask({"PSUBSCRIBE", pattern(key)});
    }
}

void RedisSubscriber::close()
{
    link_.reset();
    awaited_ = 0;
    refusal_.clear();
    forget_sentinel();
    for (auto& [key, subscription] : followed_)
        subscription.channel_acknowledged = subscription.pattern_acknowledged = false;
}

void RedisSubscriber::ask(std::initializer_list<std::string_view> words)
{
    link_->append(words);
    ++awaited_;
    asked_us_ = machine_us();
}

void RedisSubscriber::follow(std::string_view key)
{
    followed_.try_emplace(std::string(key));
    keys_of_patterns_.try_emplace(pattern(key), key);
    if (!link_)
        return;
    ask({"SUBSCRIBE", channel(key)});
    ask({"PSUBSCRIBE", pattern(key)});
}

void RedisSubscriber::unfollow(std::string_view key)
{
    const auto found = followed_.find(key);
    if (found == followed_.end())
        return;
    followed_.erase(found);
    keys_of_patterns_.erase(pattern(key));
    if (!link_)
        return;
    ask({"UNSUBSCRIBE", channel(key)});
    ask({"PUNSUBSCRIBE", pattern(key)});
}

RedisSubscriber::Coverage RedisSubscriber::coverage(std::string_view key) const
{
    Coverage best = Coverage::none;
    for (std::size_t end = key.find('.'); best != Coverage::known; end = key.find('.', end + 1)) {
        if (const auto found = followed_.find(key.substr(0, end)); found != followed_.end())
            best = found->second.value_known ? Coverage::known : Coverage::unknown;
        if (end == std::string_view::npos)
            break;
    }
    return best;
}

void RedisSubscriber::remember_all()
{
    for (auto& [key, subscription] : followed_)
        subscription.value_known = true;
}

int RedisSubscriber::take(std::vector<std::string>& events)
{
    if (const int error = link_->receive(); error != 0)
        return error;
    return handle_replies(events);
}

int RedisSubscriber::fence(std::vector<std::string>& events, std::uint64_t deadline_us)
{
    const std::uint64_t start = machine_us();
    ask({"PING"});
    int error = handle_replies(events);
    while (error == 0 && awaited_ > 0) {
        error = link_->wait(deadline_us);
        if (error == 0)
            error = handle_replies(events);
    }
    budget_.use(machine_us() - start);
    return error;
}

int RedisSubscriber::handle_replies(std::vector<std::string>& events)
{
    int error = 0;
    while (const Reply reply = link_->next(error))
        handle(*reply, events);
    if (error == 0 && !refusal_.empty())
        error = -EACCES;
    return error;
}

void RedisSubscriber::handle(const redisReply& reply, std::vector<std::string>& events)
{
    if (is_error(reply) && refusal_.empty())
        refusal_ = text_of(reply);
    const std::size_t parts = reply.type == REDIS_REPLY_ARRAY ? reply.elements : 0;
    const std::string_view kind = parts > 0 ? element(reply, 0) : std::string_view();
    if (kind == "message" && parts == 3) {
        arrive({}, element(reply, 1), element(reply, 2), events);
    } else if (kind == "pmessage" && parts == 4) {
        arrive(element(reply, 1), element(reply, 2), element(reply, 3), events);
    } else {
        // Whatever else arrives answers something: AUTH, PING, a subscription or its end.
        awaited_ -= awaited_ > 0 ? 1 : 0;
        if (parts == 3)
            acknowledge(kind, element(reply, 1));
    }
}

void RedisSubscriber::acknowledge(std::string_view kind, std::string_view name)
{
    if (kind == "subscribe" && name.starts_with(prefix_)) {
        const auto found = followed_.find(name.substr(prefix_.size()));
        if (found != followed_.end())
            found->second.channel_acknowledged = true;
    } else if (kind == "psubscribe") {
        const auto key = keys_of_patterns_.find(name);
        if (key != keys_of_patterns_.end())
            followed_.find(key->second)->second.pattern_acknowledged = true;
    }
}

// True when a message for the key that came by that pattern, or by the key's own channel when
// `pattern` is empty, is the one that counts.
bool RedisSubscriber::counts(std::string_view key, std::string_view pattern) const
{
    std::string_view by_key = key;
    if (!pattern.empty()) {
        const auto found = keys_of_patterns_.find(pattern);
        if (found == keys_of_patterns_.end())
            return false; // followed no more
        by_key = found->second;
    }
    for (std::size_t end = key.find('.'); end != std::string_view::npos;
         end = key.find('.', end + 1)) {
        const auto broader = followed_.find(key.substr(0, end));
        if (broader != followed_.end() && broader->second.pattern_acknowledged)
            return !pattern.empty() && by_key == broader->first;
    }
    const auto itself = followed_.find(key);
    return pattern.empty() && itself != followed_.end() && itself->second.channel_acknowledged;
}

void RedisSubscriber::arrive(std::string_view pattern, std::string_view channel,
                             std::string_view event, std::vector<std::string>& events)
{
    if (!channel.starts_with(prefix_))
        return;
    const std::string_view key = channel.substr(prefix_.size());
    if (key == sentinel_) {
        sentinel_set_ = sentinel_set_ || event == "set";
        sentinel_removed_ = sentinel_removed_ || event == "del";
        return;
    }
    const bool idle = std::find(idle_events.begin(), idle_events.end(), event) != idle_events.end();
    if (!idle && check_key(key) == 0 && counts(key, pattern))
        events.emplace_back(key);
}

} // namespace host
