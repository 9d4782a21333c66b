// SPDX-License-Identifier: MIT
// What the store does for its callers.
#include "host/redis/redis_store.h"

#include <algorithm>
#include <cerrno>

#include "host/base/clock.h"
#include "host/config/configuration.h"

namespace host {
namespace {

constexpr std::size_t most_listed = 100'000;
constexpr std::size_t most_repeated = 64;

std::string_view without_dot(std::string_view key)
{
    return key.ends_with('.') ? key.substr(0, key.size() - 1) : key;
}

} // namespace

RedisStore::RedisStore(Access access, ChangeDispatcher& changes, Clock& clock, Log& log)
    : access_(std::move(access)), changes_(changes), clock_(clock), log_(log)
{
}

RedisStore::~RedisStore()
{
    commands_.flush(); // the last words
}

int RedisStore::ready() const
{
    const bool spent = phase_ == Phase::running && used_us_ >= callback_us;
    return !usable() ? -ENOTCONN : spent ? -ETIMEDOUT : 0;
}

// Asks, and waits for the answer. A failure leaves no connection.
int RedisStore::wait_for(const Connection::Words& words, const Connection::Handler& handler)
{
    if (const int error = ready(); error != 0)
        return error;
    bool done = false;
    commands_.ask(words, [&](Reply& reply) {
        done = true;
        handler(reply);
    });
    const std::uint64_t begin = machine_us();
    const std::uint64_t left = start_us - std::min(start_us, used_us_);
    const std::uint64_t deadline = begin + (phase_ == Phase::running ? call_us : left);
    int error = 0;
    while (error == 0 && !done && usable())
        error = commands_.wait(deadline);
    used_us_ += machine_us() - begin;
    drop(error);
    return error == 0 && !usable() ? -EACCES : error;
}

int RedisStore::read(std::string_view key, std::string_view& value)
{
    if (phase_ == Phase::preparing)
        settle();
    Mirror::Entry* const entry = mirror_.find(key);
    const bool at_hand = entry != nullptr && (tracked_.cover(key) || !usable() ||
                                              entry->arrival != Mirror::Arrival::sure);
    if (at_hand) {
        entry->read = true;
        value_ = entry->value;
    } else if (complete_) {
        mirror_.read(key, value_ = std::nullopt);
    } else {
        if (ready() == 0)
            track(key);
        const std::string name(key);
        std::vector<Value> found;
        if (const int error = look({&name, 1}, found); error != 0) {
            for (const config_data_t& record : changes_.calling()) {
                if (Mirror::Entry* const change = mirror_.find(record.key); change != nullptr)
                    change->missed = synchronise_ = true; // what it is told of comes again
            }
            return error;
        }
        value_ = std::move(found.front());
        if (tracked_.cover(key))
            mirror_.read(key, value_);
    }
    value = value_ ? *value_ : std::string_view();
    return value_ ? 0 : -ENOENT;
}

int RedisStore::look(std::span<const std::string> keys, std::vector<Value>& values)
{
    while (!keys.empty()) {
        const auto piece = keys.first(std::min(keys_at_once, keys.size()));
        keys = keys.subspan(piece.size());
        Connection::Words words{"MGET"};
        words.insert(words.end(), piece.begin(), piece.end());
        const auto take = [&](Reply& reply) { take_values(reply, piece.size(), values); };
        if (const int error = wait_for(words, take); error != 0)
            return error;
    }
    return 0;
}

int RedisStore::list(std::string_view prefix, std::vector<std::string>& keys)
{
    std::set<std::string> found; // a scan may name a key twice
    std::string cursor = "0";
    const auto take = [&](Reply& page) {
        cursor = take_cursor(page);
        for (const Reply& name : page.elements) {
            if (check_key(name.text) == 0 && (prefix.empty() || key_is_below(name.text, prefix)))
                found.insert(name.text);
        }
    };
    do {
        if (const int error = wait_for({"SCAN", cursor, "COUNT", page_size}, take); error != 0)
            return error;
        if (found.size() > most_listed)
            return -E2BIG;
    } while (cursor != "0");
    keys.insert(keys.end(), found.begin(), found.end());
    return 0;
}

int RedisStore::write(std::span<const Write> writes)
{
    bool kept = true;
    for (const Write& write : writes) {
        kept = mirror_.write(write) && kept;
        if (usable())
            track(write.key); // it may be read one day, and then nobody waits
    }
    if (usable())
        send(writes);
    else if (!kept)
        return -ENOSPC;
    changes_.queue(writes);
    return 0;
}

// One MSET for values that stand together, one DEL for each removal.
void RedisStore::send(std::span<const Write> writes)
{
    while (!writes.empty()) {
        const bool set = writes.front().value.has_value();
        Connection::Words words{set ? "MSET" : "DEL"};
        std::vector<std::pair<std::string, std::uint64_t>> sent; // with the moment of each
        do {
            const auto& [key, value] = writes.front();
            const Mirror::Entry* const entry = mirror_.find(key);
            sent.emplace_back(key, entry == nullptr ? 0 : entry->stamp);
            words.push_back(key);
            if (value)
                words.push_back(*value);
            writes = writes.subspan(1);
        } while (set && !writes.empty() && writes.front().value);
        const auto answered = [this, sent = std::move(sent)](const Reply& reply) {
            const bool refused = reply.is_error();
            for (const auto& [key, stamp] : sent) {
                Mirror::Entry* const entry = mirror_.find(key);
                if (entry != nullptr && entry->stamp == stamp) // not overtaken by another write
                    entry->arrival = refused ? Mirror::Arrival::owed : Mirror::Arrival::sure;
            }
            refusals_ += refused ? 1 : 0;
            if (refused && !std::exchange(refusing_, true))
                log(3, "refuses what is written: " + reply.text);
            else if (!refused && refusing_)
                send_owed();
        };
        commands_.ask(words, answered, Connection::Wanted::later);
    }
}

// Own writes that the server has lost or refused, each for itself: one may be refused for ever.
void RedisStore::send_owed()
{
    if (sending_owed_)
        return;
    const std::vector<std::string> keys = mirror_.take_owed();
    if (keys.empty()) {
        if (std::exchange(refusing_, false))
            log(5, "takes what is written again");
        return;
    }
    sending_owed_ = true;
    for (const std::string& key : keys)
        send(std::array{Write{key, mirror_.find(key)->value}});
    commands_.ask({"PING"}, [this, before = refusals_](const Reply&) {
        sending_owed_ = false;
        if (refusals_ == before)
            send_owed();
    });
}

// The registration that follows sees every later write, and no earlier one: when this returns, the
// server tells of them, and what it had told is known. That is the newcomer's beginning.
void RedisStore::follow(std::string_view key)
{
    key = without_dot(key);
    if (!mirror_.follow(key))
        return;
    synchronise_ = newcomers_ = true;
    if (usable() && track(key)) // else the next connection asks for it
        wait_for({"PING"}, ignore);
    settle();
}

// Reads what others are known to have changed, without telling anybody later.
void RedisStore::settle()
{
    look_at_both();
    int error = 0;
    while (error == 0 && usable() && (busy_ || !named_.empty() || !below_.empty())) {
        if (!busy_)
            ask_changes();
        error = wait_for({"PING"}, ignore); // the answer before is ours
    }
}

void RedisStore::unfollow(std::string_view key)
{
    if (!changes_.is_registered(key) && mirror_.unfollow(std::string(without_dot(key))))
        synchronise_ = true;
}

int RedisStore::publish(std::string_view name, std::string_view payload)
{
    const std::pair<std::string, std::string> signal(name, payload);
    if (repeated_.contains(name) && sent_.size() < most_repeated &&
        std::find(sent_.begin(), sent_.end(), signal) == sent_.end())
        sent_.push_back(signal);
    if (!usable())
        return -ENOTCONN;
    commands_.ask({"PUBLISH", name, payload}, ignore, Connection::Wanted::later);
    return 0;
}

} // namespace host
