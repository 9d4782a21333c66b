// SPDX-License-Identifier: MIT
// What the store does for its callers while there is a connection.
#include "host/redis/redis_store.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/config/configuration.h"

namespace host {
namespace {

constexpr std::size_t most_listed = 100'000;
constexpr std::size_t most_definitions = 64;

std::string_view without_dot(std::string_view key)
{
    return key.ends_with('.') ? key.substr(0, key.size() - 1) : key;
}

} // namespace

RedisStore::RedisStore(Access access, ChangeDispatcher& changes, const Clock& clock, Log& log)
    : access_(std::move(access)), changes_(changes), clock_(clock), log_(log),
      subscriber_(budget_, access_.database)
{
}

RedisStore::~RedisStore()
{
    pipeline_.flush(); // the last words; nobody waits for an answer
}

// 0 when a call may be made now.
int RedisStore::ready() const
{
    if (!usable())
        return -ENOTCONN;
    return budget_.spent() ? -ETIMEDOUT : 0;
}

// A callback that was told of a change, and cannot read what it needs for it, has missed it: it is
// told again after the next comparison.
int RedisStore::failed_read(int error)
{
    for (const config_data_t& record : changes_.calling())
        feed_.doubt(record.key);
    return error;
}

int RedisStore::answers(std::vector<Reply>& replies, std::uint64_t deadline_us)
{
    const int error = pipeline_.answers(replies, deadline_us);
    if (error != 0)
        drop(error);
    return error;
}

int RedisStore::read(std::string_view key, std::string_view& value)
{
    if (const int error = ready(); error != 0)
        return failed_read(error);
    ReadAhead::Answer answer;
    if (const ReadAhead::Answer* const known = read_ahead_.read(key); known != nullptr) {
        answer = *known;
    } else {
        std::vector<Reply> replies;
        ask_value(pipeline_, key);
        if (const int error = answers(replies, budget_.deadline()); error != 0)
            return failed_read(error);
        answer = value_answer(*replies[0], *replies[1]);
        if (answer.result == -EIO)
            failed_read(answer.result);
    }
    if (answer.result != 0)
        return answer.result;
    value_ = std::move(answer.value);
    value = value_;
    return 0;
}

int RedisStore::recall(std::string_view key, std::string_view& value)
{
    const auto own = own_.last().find(key);
    if (own == own_.last().end() || !own->second.value)
        return -ENOENT;
    value = *own->second.value;
    return 0;
}

int RedisStore::list(std::string_view prefix, std::vector<std::string>& keys)
{
    if (const int error = ready(); error != 0)
        return error;
    const std::uint64_t deadline = budget_.deadline();
    std::string cursor = "0";
    const std::size_t first = keys.size();
    do {
        if (machine_us() >= deadline)
            return -ETIMEDOUT; // between two answers: the connection is sound
        std::vector<Reply> replies;
        ask_keys(pipeline_, cursor);
        if (const int error = answers(replies, deadline); error != 0)
            return error;
        const redisReply* const names = take_keys(*replies.front(), cursor);
        if (names == nullptr)
            return -EIO;
        for (std::size_t i = 0; i < names->elements; ++i) {
            const std::string_view key = text_of(*names->element[i]);
            if (check_key(key) == 0 && (prefix.empty() || key_is_below(key, prefix)))
                keys.emplace_back(key);
        }
        if (keys.size() - first > most_listed)
            return -E2BIG;
    } while (cursor != "0");
    const auto begin = keys.begin() + static_cast<std::ptrdiff_t>(first);
    std::sort(begin, keys.end()); // a scan may name a key twice
    keys.erase(std::unique(begin, keys.end()), keys.end());
    return 0;
}

// What is written now may have to be written again: after a restart of the server, or because
// the connection broke before it arrived. A write that fails for want of a connection is made
// up for too, unless it is a setting, or something that others tell this process: a reading
// that is told late would be wrong.
void RedisStore::remember(std::span<const Write> writes, bool sent, bool silent)
{
    for (const Write& write : writes) {
        read_ahead_.forget(write.key);
        const bool followed = subscriber_.coverage(write.key) != RedisSubscriber::Coverage::none;
        if (!sent && (followed || is_setting(write.key)))
            continue;
        if (!own_.note(write_id_, write, !sent) && !full_logged_) {
            full_logged_ = true;
            log_.write(4,
                       "Shared database: too many keys were written to write all of them again\n");
        }
        if (sent && followed)
            own_.expect_event(write_id_, write, silent);
    }
}

int RedisStore::write(std::span<const Write> writes)
{
    ++write_id_;
    const int error = usable() ? 0 : -ENOTCONN; // waits for nobody: a spent budget does not matter
    remember(writes, error == 0, false);
    if (error != 0)
        return error;
    pipeline_.write(write_id_, writes);
    return 0;
}

// Own writes that the server has lost.
void RedisStore::restore(std::span<const std::string> keys)
{
    std::vector<std::string> values; // a copy: the note of the write is written anew
    std::vector<Write> writes;
    values.reserve(keys.size());
    for (const std::string& key : keys) {
        const OwnWrites::Value& value = own_.last().find(key)->second.value;
        writes.push_back({key, std::nullopt});
        if (value)
            writes.back().value = values.emplace_back(*value);
    }
    if (writes.empty())
        return;
    ++write_id_;
    remember(writes, true, true);
    pipeline_.write(write_id_, writes);
}

int RedisStore::publish(std::string_view name, std::string_view payload)
{
    if (name == definition_signal && definitions_.size() < most_definitions &&
        std::find(definitions_.begin(), definitions_.end(), payload) == definitions_.end())
        definitions_.emplace_back(payload);
    if (!usable())
        return -ENOTCONN;
    pipeline_.publish(name, payload);
    return 0;
}

// The subscription is made, and everything written before has come back, when this returns: so
// the registration that follows sees later writes only, and every one of them.
void RedisStore::follow(std::string_view key)
{
    const std::uint64_t deadline = budget_.deadline();
    if (ready() == 0 && pipeline_.outstanding()) {
        std::vector<Reply> replies;
        pipeline_.ask({"PING"});
        answers(replies, deadline); // a failure leaves no connection
    }
    subscriber_.follow(without_dot(key));
    if (ready() != 0)
        return; // the next connection asks for it
    std::vector<std::string> events;
    int error = subscriber_.fence(events, deadline);
    add_events(events);
    while (error == 0 && feed_.waiting())
        error = feed_.settle(deadline);
    read_ahead_.stop();
    if (error != 0)
        drop(error);
    else if (state_ == State::live || comparison_.running())
        comparison_.begin(false, false); // what is there now is the newcomer's beginning
}

void RedisStore::unfollow(std::string_view key)
{
    if (!changes_.is_registered(key))
        subscriber_.unfollow(without_dot(key));
}

void RedisStore::compare()
{
    if (usable() && !comparison_.running())
        comparison_.begin(false, false);
}

void RedisStore::write_finished(const WriteResult& result)
{
    if (!result.error.empty()) {
        own_.refused(result.id);
        note_refusal(std::string(result.error));
        return;
    }
    own_.confirmed(result.id);
    for (const std::string& key : result.not_there)
        own_.expect_no_event(result.id, key);
    if (result.stored)
        note_refusal({});
}

// One line when the server begins to refuse writes, one when it takes them again.
void RedisStore::note_refusal(const std::string& error)
{
    if (error.empty() == refused_writes_.empty())
        return;
    refused_writes_ = error;
    if (!error.empty()) {
        log_.write(3, "Shared database %s refuses what is written: %s\n", access_.name.c_str(),
                   error.c_str());
        return;
    }
    log_.write(5, "Shared database %s takes what is written again\n", access_.name.c_str());
    compare(); // finds what was refused
}

void RedisStore::add_events(std::vector<std::string>& events)
{
    if (!feed_.add(events))
        comparison_.begin(true, false); // too many: the changes are found without them
}

bool RedisStore::pending() const
{
    return usable() && !changes_.pending() && (feed_.waiting() || comparison_.running());
}

void RedisStore::run()
{
    const std::uint64_t deadline = budget_.deadline();
    if (feed_.waiting()) {
        if (const int error = feed_.settle(deadline); error != 0) {
            drop(error);
            return;
        }
        if (!changes_.pending())
            read_ahead_.stop(); // nothing to deliver: the next callback may come much later
    }
    if (comparison_.complete()) {
        finish_comparison();
    } else if (comparison_.running()) {
        if (const int error = comparison_.step(deadline); error != 0)
            drop(error);
    }
}

void RedisStore::finish_comparison()
{
    std::vector<std::string> events;
    const int error = subscriber_.fence(events, budget_.deadline());
    if (error != 0) {
        drop(error);
        return;
    }
    if (!feed_.add(events)) {
        comparison_.begin(true, false);
        return;
    }
    const Comparison::Result result = comparison_.finish();
    feed_.deliver(result.changes);
    restore(result.lost);
    if (state_ == State::snapshot)
        become_live(result.changes.size());
}

void RedisStore::callback_ended()
{
    budget_.renew();
    read_ahead_.callback_ended();
    RedisLink* const subscriber = usable() ? subscriber_.link() : nullptr;
    if (subscriber == nullptr)
        return;
    int error = pipeline_.unsent() ? pipeline_.flush() : 0;
    if (error == 0 && subscriber->unsent())
        error = subscriber->flush();
    if (error != 0)
        drop(error);
    else
        watch_for_answers();
}

} // namespace host
