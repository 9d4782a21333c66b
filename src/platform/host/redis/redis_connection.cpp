// SPDX-License-Identifier: MIT
// How the store comes by its connections, and what it does when they break.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/redis/redis_store.h"

namespace host {
namespace {

constexpr std::uint64_t shortest_delay_ms = 50;
constexpr std::uint64_t longest_delay_ms = 2000;
constexpr std::uint64_t steady_ms = 2000; // live for so long: the next loss is a new story
constexpr std::uint64_t connect_patience_ms = 1000;
constexpr std::uint64_t comparison_period_ms = 60'000;
constexpr std::uint64_t unsent_period_ms = 5; // when the kernel did not take everything

} // namespace

bool RedisStore::open_links(std::string& error)
{
    const Endpoint& endpoint = access_.endpoints[endpoint_];
    endpoint_ = (endpoint_ + 1) % access_.endpoints.size();
    int result = 0;
    std::unique_ptr<RedisLink> commands = RedisLink::open(endpoint, result);
    std::unique_ptr<RedisLink> events = commands ? RedisLink::open(endpoint, result) : nullptr;
    if (!events) {
        error = std::strerror(-result);
        return false;
    }
    state_ = State::connecting;
    pipeline_.open(std::move(commands), access_.password, access_.database);
    subscriber_.open(std::move(events), access_.password);
    return true;
}

void RedisStore::attach(_fdloop_t& loop)
{
    loop_ = &loop;
    loop.add_deferred(this);
    loop.set_callback_end(this);
    struct Periodic {
        static int compare(void* user)
        {
            auto* const self = static_cast<RedisStore*>(user);
            self->compare();
            self->loop_->add_timer(comparison_period_ms, compare, user);
            return 0;
        }
    };
    loop.add_timer(comparison_period_ms, Periodic::compare, this);
    if (usable())
        watch_links(Condition::input);
    else
        schedule_connect(); // lost already
    note_refusal(pending_refusal_);
}

void RedisStore::watch_links(Condition condition)
{
    for (RedisLink* const link : {pipeline_.link(), subscriber_.link()}) {
        if (const int error = watch_link(*link, condition); error != 0) {
            drop(error);
            return;
        }
    }
}

int RedisStore::watch_link(const RedisLink& link, Condition condition)
{
    const auto commands_ready = [](int, void* user) {
        static_cast<RedisStore*>(user)->links_ready(false);
        return 0;
    };
    const auto events_ready = [](int, void* user) {
        static_cast<RedisStore*>(user)->links_ready(true);
        return 0;
    };
    return &link == pipeline_.link()
               ? loop_->add(link.descriptor(), condition, commands_ready, this)
               : loop_->add(link.descriptor(), condition, events_ready, this);
}

void RedisStore::unwatch_links()
{
    for (RedisLink* const link : {pipeline_.link(), subscriber_.link()}) {
        if (loop_ == nullptr || link == nullptr)
            continue;
        loop_->remove(link->descriptor(), Condition::input);
        loop_->remove(link->descriptor(), Condition::output);
    }
}

void RedisStore::links_ready(bool subscriber)
{
    if (state_ == State::connecting) {
        continue_connecting();
        return;
    }
    int error = 0;
    if (subscriber) {
        std::vector<std::string> events;
        error = subscriber_.take(events);
        add_events(events);
    } else {
        error = pipeline_.take();
    }
    if (error != 0)
        drop(error);
}

// Why the server does not let us in; empty when it does.
const std::string& RedisStore::refusal() const
{
    return pipeline_.refusal().empty() ? subscriber_.refusal() : pipeline_.refusal();
}

// Everything is in the loop's time here: the server may need long for its first answers.
void RedisStore::continue_connecting()
{
    std::string error;
    if (handshake_done(error)) {
        become_usable();
    } else if (!error.empty()) {
        if (!refusal().empty())
            log_refusal(error);
        drop(error);
    }
}

// Once for each reason: on the way back the loss has been logged, and not that it will last.
void RedisStore::log_refusal(const std::string& error)
{
    if (error == last_refusal_)
        return;
    last_refusal_ = error;
    log_.write(3, "Shared database %s: %s\n", access_.name.c_str(), error.c_str());
}

// False without `error`: not yet.
bool RedisStore::handshake_done(std::string& error)
{
    std::vector<std::string> none;
    for (RedisLink* const link : {pipeline_.link(), subscriber_.link()}) {
        int result = link->connected();
        // Writable from now on: the one that is not connected yet must not make the loop spin.
        if (result == 0 && loop_ != nullptr &&
            loop_->remove(link->descriptor(), Condition::output) == 0)
            result = watch_link(*link, Condition::input);
        if (result == -EINPROGRESS)
            return false;
        if (result == 0)
            result = link->flush();
        if (result == 0 || result == -EPIPE || result == -ECONNRESET) { // it may have said why
            const int taken = link == pipeline_.link() ? pipeline_.take() : subscriber_.take(none);
            result = result == 0 ? taken : result;
        }
        if (result != 0 || !refusal().empty()) {
            error = refusal().empty() ? std::strerror(-result) : "it refuses us: " + refusal();
            return false;
        }
    }
    return !pipeline_.outstanding() && subscriber_.settled();
}

void RedisStore::become_usable()
{
    state_ = State::subscribed;
    std::string error;
    const Verdict verdict = check_server(error);
    if (verdict == Verdict::refused)
        log_refusal(error);
    if (verdict != Verdict::good) {
        drop(error);
        return;
    }
    state_ = State::snapshot;
    loop_->remove_timer(connect_timer_);
    comparison_.begin(true, server_is_new_);
    note_refusal(pending_refusal_);
}

void RedisStore::become_live(std::size_t changes)
{
    state_ = State::live;
    live_ms_ = clock_.now_ms();
    for (const std::string& definitions : definitions_)
        pipeline_.publish(definition_signal, definitions);
    log_.write(5, "Shared database %s is back after %llu ms; %zu keys have changed\n",
               access_.name.c_str(), static_cast<unsigned long long>(live_ms_ - lost_ms_), changes);
    was_lost_ = false;
    last_refusal_.clear();
}

void RedisStore::drop(int error)
{
    drop(error == -ETIMEDOUT                       ? no_answer
         : error == -ECONNRESET || error == -EPIPE ? "it has closed the connection"
         : !subscriber_.refusal().empty()          ? subscriber_.refusal()
         : error == -EACCES                        ? "it answers " + pipeline_.last_error()
                                                   : std::strerror(-error));
}

void RedisStore::drop(const std::string& reason)
{
    if (state_ == State::down)
        return;
    const bool was_live = state_ == State::live;
    unwatch_links();
    if (was_live && clock_.now_ms() - live_ms_ >= steady_ms)
        delay_ms_ = 0;
    state_ = State::down;
    if (!was_lost_) {
        was_lost_ = true;
        lost_ms_ = clock_.now_ms();
        log_.write(3, "Shared database %s is lost: %s; trying again until it is back\n",
                   access_.name.c_str(), reason.c_str());
    }
    pipeline_.close();
    subscriber_.close();
    own_.connection_lost();
    feed_.forget_waiting();
    comparison_.stop();
    if (loop_ != nullptr)
        schedule_connect();
}

void RedisStore::schedule_connect()
{
    struct Callbacks {
        static int out_of_patience(void* user)
        {
            static_cast<RedisStore*>(user)->drop(no_answer);
            return 0;
        }
        static int attempt(void* user)
        {
            auto* const self = static_cast<RedisStore*>(user);
            std::string error;
            if (!self->open_links(error)) {
                self->schedule_connect();
                return 0;
            }
            self->connect_timer_ =
                self->loop_->add_timer(connect_patience_ms, out_of_patience, user);
            self->watch_links(Condition::output);
            return 0;
        }
    };
    loop_->remove_timer(connect_timer_);
    loop_->remove_timer(answer_timer_);
    answer_timer_ = 0;
    delay_ms_ = std::clamp(delay_ms_ * 2, shortest_delay_ms, longest_delay_ms);
    connect_timer_ = loop_->add_timer(delay_ms_, Callbacks::attempt, this);
}

// Writes and signals are answered too, when nobody waits: a server that does not is lost.
void RedisStore::watch_for_answers()
{
    struct Timer {
        static int due(void* user)
        {
            auto* const self = static_cast<RedisStore*>(user);
            self->answer_timer_ = 0;
            const std::uint64_t now = machine_us();
            const bool late = (self->pipeline_.outstanding() &&
                               now - self->pipeline_.oldest_us() >= CallBudget::call_us) ||
                              (!self->subscriber_.settled() &&
                               now - self->subscriber_.asked_us() >= CallBudget::call_us);
            if (self->usable() && late)
                self->drop(-ETIMEDOUT);
            return 0; // the end of this callback sets the timer again where one is needed
        }
    };
    const bool waiting = pipeline_.outstanding() || !subscriber_.settled();
    const bool unsent = pipeline_.unsent() || subscriber_.link()->unsent();
    if (unsent && loop_ != nullptr && loop_->restart_timer(answer_timer_, unsent_period_ms) == 0)
        return;
    if (loop_ == nullptr || waiting == (answer_timer_ != 0))
        return;
    if (waiting) {
        const std::uint64_t patience_ms = CallBudget::call_us / 1000U;
        answer_timer_ = loop_->add_timer(unsent ? unsent_period_ms : patience_ms, Timer::due, this);
    } else {
        loop_->remove_timer(answer_timer_);
        answer_timer_ = 0;
    }
}

} // namespace host
