// SPDX-License-Identifier: MIT
// Whether a server can be used: at the start of the process, and at each reconnect, since a
// server that has been started again may have forgotten what was set in it.
#include <poll.h>

#include <cerrno>
#include <cstring>

#include "host/redis/redis_store.h"

namespace host {
namespace {

constexpr std::uint64_t start_patience_us = 2'000'000;    // for an address to answer
constexpr std::uint64_t loading_patience_us = 10'000'000; // for a server to load its data
constexpr int loading_poll_ms = 100;

constexpr const char* advice = "put 'notify-keyspace-events KA' into the server's configuration";

bool flags_suffice(std::string_view flags)
{
    const auto has = [flags](char flag) { return flags.find(flag) != std::string_view::npos; };
    return has('K') && (has('A') || (has('g') && has('$')));
}

std::string quoted(const redisReply& reply)
{
    return "'" + std::string(text_of(reply)) + "'";
}

} // namespace

std::string RedisStore::failure_text(int error)
{
    return error == -ETIMEDOUT ? no_answer : std::strerror(-error);
}

// Writes the sentinel and removes it: both must come back as events.
RedisStore::Verdict RedisStore::check_events(bool& returned, std::string& refused_write,
                                             std::uint64_t deadline_us, std::string& error)
{
    subscriber_.forget_sentinel();
    pipeline_.ask({"SET", subscriber_.sentinel(), "1", "EX", "10"});
    pipeline_.ask({"DEL", subscriber_.sentinel()});
    std::vector<Reply> replies;
    std::vector<std::string> events;
    int result = pipeline_.answers(replies, deadline_us);
    if (result == 0)
        result = subscriber_.fence(events, deadline_us);
    add_events(events);
    if (result != 0) {
        error = failure_text(result);
        return Verdict::loading;
    }
    if (is_error(*replies[0]))
        refused_write = text_of(*replies[0]);
    if (refused_write.starts_with("LOADING")) {
        error = refused_write;
        return Verdict::loading;
    }
    if (refused_write.starts_with("NOAUTH") || refused_write.starts_with("NOPERM")) {
        error = "it refuses us: " + refused_write;
        return Verdict::refused;
    }
    returned = subscriber_.sentinel_returned();
    return Verdict::good;
}

// Adds the events that are needed to those that others have asked for.
RedisStore::Verdict RedisStore::ask_for_events(bool takes_no_writes, std::uint64_t deadline_us,
                                               std::string& error)
{
    constexpr std::string_view setting = "notify-keyspace-events";
    std::vector<Reply> replies;
    pipeline_.ask({"CONFIG", "GET", setting});
    if (const int result = pipeline_.answers(replies, deadline_us); result != 0) {
        error = failure_text(result);
        return Verdict::loading;
    }
    std::string flags;
    if (replies[0]->type == REDIS_REPLY_ARRAY && replies[0]->elements == 2)
        flags = text_of(*replies[0]->element[1]);
    if (flags_suffice(flags))
        return Verdict::good;
    flags += "KA";
    pipeline_.ask({"CONFIG", "SET", setting, flags});
    if (const int result = pipeline_.answers(replies, deadline_us); result != 0) {
        error = failure_text(result);
        return Verdict::loading;
    }
    // One that takes no writes now has none to tell of; it may well do so.
    if (!is_error(*replies[0]) || takes_no_writes)
        return Verdict::good;
    error = "it does not tell of changes, and refuses to (" + quoted(*replies[0]) + "): " + advice;
    return Verdict::refused;
}

RedisStore::Verdict RedisStore::check_server(std::string& error)
{
    const std::uint64_t deadline = budget_.deadline();
    bool returned = false;
    std::string refused_write;
    Verdict verdict = check_events(returned, refused_write, deadline, error);
    if (verdict == Verdict::good && !returned) {
        verdict = ask_for_events(!refused_write.empty(), deadline, error);
        if (verdict != Verdict::good)
            return verdict;
        verdict = check_events(returned, refused_write, deadline, error);
        if (verdict == Verdict::good && !returned && refused_write.empty()) {
            error = std::string("a write does not come back as an event: ") + advice;
            return Verdict::refused;
        }
    }
    if (verdict != Verdict::good)
        return verdict;
    pending_refusal_ = refused_write;
    std::vector<Reply> replies;
    pipeline_.ask({"INFO", "server"});
    if (const int result = pipeline_.answers(replies, deadline); result != 0) {
        error = failure_text(result);
        return Verdict::loading;
    }
    constexpr std::string_view field = "run_id:";
    const std::string_view info = text_of(*replies[0]);
    const std::size_t place = info.find(field);
    // One that does not say may be another.
    const std::string id =
        place == std::string_view::npos ? std::string() : std::string(info.substr(place, 47));
    server_is_new_ = id.empty() || id != server_id_;
    server_id_ = id;
    return Verdict::good;
}

bool RedisStore::await_handshake(std::string& error)
{
    const std::uint64_t deadline = machine_us() + start_patience_us;
    while (!handshake_done(error)) {
        if (!error.empty())
            return false;
        if (machine_us() >= deadline) {
            error = no_answer;
            return false;
        }
        poll(nullptr, 0, 1);
    }
    return true;
}

RedisStore::Verdict RedisStore::try_start(std::string& error)
{
    Verdict verdict = Verdict::refused;
    for (std::size_t i = 0; i < access_.endpoints.size(); ++i) {
        error.clear();
        if (!open_links(error) || !await_handshake(error)) {
            if (!refusal().empty())
                break; // by a server: the one that is meant
            continue;
        }
        budget_ = {};
        verdict = check_server(error);
        break;
    }
    return verdict;
}

bool RedisStore::start(std::string& error)
{
    const std::uint64_t end = machine_us() + loading_patience_us;
    Verdict verdict = try_start(error);
    while (verdict == Verdict::loading && machine_us() < end) {
        poll(nullptr, 0, loading_poll_ms);
        verdict = try_start(error);
    }
    budget_ = {};
    if (verdict != Verdict::good)
        return false;
    state_ = State::live;
    live_ms_ = clock_.now_ms();
    return true;
}

std::unique_ptr<Store> open_shared_store(const std::string& where, const std::string& password_file,
                                         ChangeDispatcher& changes, const Clock& clock, Log& log,
                                         std::string& error)
{
    const std::string name = "AP_DATABASE: '" + where + "': ";
    std::string why;
    const std::optional<DatabaseAddress> address = DatabaseAddress::parse(where, why);
    if (!address) {
        error = name + why;
        return nullptr;
    }
    RedisStore::Access access{where, find_endpoints(*address, why), {}, address->database};
    if (access.endpoints.empty()) {
        error = name + why;
        return nullptr;
    }
    if (!password_file.empty()) {
        const std::optional<std::string> password = read_password(password_file, why);
        if (!password) {
            error = "AP_DATABASE_PASSWORD_FILE: " + why;
            return nullptr;
        }
        access.password = *password;
    }
    auto store = std::make_unique<RedisStore>(std::move(access), changes, clock, log);
    if (!store->start(why)) {
        error = name + why;
        if (why.find("NOAUTH") != std::string::npos)
            error += " Put the name of a file with the password into AP_DATABASE_PASSWORD_FILE.";
        return nullptr;
    }
    return store;
}

} // namespace host
