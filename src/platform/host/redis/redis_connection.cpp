// SPDX-License-Identifier: MIT
// How the store comes by its connections, and what it does when they break.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "host/base/clock.h"
#include "host/redis/redis_store.h"

namespace host {
namespace {

constexpr std::array<std::uint64_t, 3> delays_ms = {50, 100, 200}; // heat acts soon after
constexpr std::uint64_t answer_patience_ms = 1000;
constexpr std::uint64_t life_period_ms = 60'000;
constexpr std::uint64_t look_period_us = 5000;

} // namespace

void RedisStore::log(int level, const std::string& what) const
{
    log_.write(level, "Shared database %s %s\n", access_.name.c_str(), what.c_str());
}

bool RedisStore::start(std::string& error)
{
    const auto loop = _fdloop_t::create(clock_, log_); // until the process has its own
    error = loop ? "" : std::strerror(errno);
    if (!loop)
        return false;
    const auto stop = [](void* user) {
        static_cast<_fdloop_t*>(user)->stop();
        return 0;
    };
    loop->add_timer(start_us / 1000U, stop, loop.get());
    attach(*loop);
    connect();
    const int result = loop->run();
    for (Link* const link : both_)
        link->watched.reset();
    phase_ = Phase::preparing;
    error = result == 0 ? failure_ : std::strerror(-result);
    if (state_ != State::live && error.empty())
        error = "it does not answer in time"; // byte by byte
    return state_ == State::live;
}

void RedisStore::attach(_fdloop_t& loop)
{
    loop_ = &loop;
    look_timer_ = 0;
    loop.add_deferred(this);
    loop.set_callback_end(this);
}

void RedisStore::connect()
{
    const Endpoint& endpoint = access_.endpoints[attempts_++ % access_.endpoints.size()];
    state_ = State::connecting;
    greetings_ = 0;
    for (Link* const link : both_) {
        Descriptor socket = connect_to(endpoint);
        if (!socket)
            return drop(-errno);
        link->open(std::move(socket), [this](const Reply& message) { told(message); });
    }
    const auto greet = [this](Link& link, const Connection::Words& words) {
        ++greetings_;
        link.ask(words, [this](const Reply& reply) { greeted(reply); });
    };
    for (Link* const link : both_) {
        if (!access_.password.empty())
            greet(*link, {"AUTH", access_.password});
    }
    greet(commands_, {"SELECT", access_.database});
    greet(messages_, {"CLIENT", "ID"});
    greet(messages_, {"SUBSCRIBE", "__redis__:invalidate"});
}

void RedisStore::greeted(const Reply& reply)
{
    if (reply.is_error())
        return refuse("it refuses us", reply);
    if (reply.kind == Reply::Kind::integer)
        client_id_ = std::to_string(reply.integer);
    if (--greetings_ == 0) {
        state_ = State::synchronising;
        synchronise();
    }
}

void RedisStore::refuse(const std::string& what, const Reply& reply)
{
    drop(what + ": " + reply.text, true);
}

void RedisStore::become_live(std::size_t changes)
{
    state_ = State::live;
    attempts_ = 0;
    failure_.clear();
    if (phase_ == Phase::connecting)
        loop_->stop();
    if (const std::uint64_t lost_ms = std::exchange(lost_ms_, 0); lost_ms != 0)
        log(5, "is back after " + std::to_string(clock_.now_ms() - lost_ms) + " ms; " +
                   std::to_string(changes) + " keys have changed");
    for (const auto& [name, payload] : sent_)
        publish(name, payload);
}

void RedisStore::drop(int error)
{
    const bool closed = error == -EPIPE || error == -ECONNRESET;
    if (error != 0)
        drop(error == -ETIMEDOUT ? "it does not answer"
             : closed            ? "it has closed the connection"
                                 : std::strerror(-error));
}

void RedisStore::drop(const std::string& why, bool refused)
{
    if (state_ == State::down)
        return;
    for (Link* const link : both_) {
        if (link->watched)
            loop_->remove(link->descriptor(), *link->watched);
        link->watched.reset();
        link->close();
    }
    state_ = State::down;
    named_ = below_ = {};
    tracked_ = {};
    busy_ = synchronising_ = sending_owed_ = false;
    const bool said = std::exchange(failure_, why) == why;
    if (phase_ == Phase::preparing) {
        access_.give_up("AP_DATABASE: '" + access_.name + "': lost at the start: " + why);
    } else if (phase_ == Phase::running && lost_ms_ == 0) {
        lost_ms_ = clock_.now_ms();
        log(3, "is lost: " + why + "; trying again until it is back");
    } else if (phase_ == Phase::running && refused && !said) {
        log(3, "is still away: " + why);
    }
    const bool last =
        refused ? why.find("LOADING") == std::string::npos : attempts_ >= access_.endpoints.size();
    if (phase_ == Phase::connecting && last)
        return loop_->stop();
    const auto attempt = [](void* user) {
        static_cast<RedisStore*>(user)->connect();
        return 0;
    };
    loop_->add_timer(delays_ms[std::min(attempts_, delays_ms.size() - 1)], attempt, this);
}

void RedisStore::look_at(Link& link)
{
    looked_us_ = machine_us();
    const int error = link.take();
    drop(error == 0 && link.is_late(answer_patience_ms * 1000U) ? -ETIMEDOUT : error);
}

void RedisStore::look_at_both()
{
    look_at(messages_);
    look_at(commands_);
}

void RedisStore::callback_ended()
{
    used_us_ = 0;
    if (phase_ == Phase::preparing) {
        phase_ = Phase::running;
        synchronise_ = true; // it is known now what is needed
    }
    if (machine_us() - looked_us_ >= look_period_us)
        look_at_both(); // what came while a callback took long, or many took their turn
    if (usable() && synchronise_ && !synchronising_)
        synchronise();
    for (Link* const link : both_)
        serve(*link);
    const bool wanted = commands_.wanted() || messages_.wanted();
    if (look_timer_ == 0 || wanted != look_soon_)
        look_later(wanted);
}

// A server that hangs says nothing, and nor does one that is idle: so that gives a sign of life.
void RedisStore::look_later(bool soon)
{
    const auto look = [](void* user) {
        auto* const self = static_cast<RedisStore*>(user);
        self->look_timer_ = 0;
        self->look_at_both();
        if (self->state_ != State::live || self->look_soon_)
            return 0;
        self->send_owed(); // it may take now what it has refused
        for (Link* const link : self->both_)
            link->ask({"PING"}, ignore);
        return 0;
    };
    look_soon_ = soon;
    const std::uint64_t period = soon ? answer_patience_ms : life_period_ms;
    if (look_timer_ == 0 || loop_->restart_timer(look_timer_, period) != 0)
        look_timer_ = loop_->add_timer(period, look, this);
}

// Sends what can be sent, and has the loop wake up for what is wanted.
void RedisStore::serve(Link& link)
{
    int error = link.flush();
    Condition condition = link.watched.value_or(Condition::input);
    if (link.unsent())
        condition = Condition::output;
    else if (link.wanted() || &link == &messages_)
        condition = Condition::input;
    else if (link.outstanding())
        condition = Condition::hangup;
    if (error == 0 && state_ != State::down && link.watched != condition) {
        if (link.watched)
            loop_->remove(link.descriptor(), *link.watched);
        link.watched = condition;
        const auto ready = [](int fd, void* user) {
            auto* const self = static_cast<RedisStore*>(user);
            self->look_at(fd == self->messages_.descriptor() ? self->messages_ : self->commands_);
            return 0;
        };
        error = loop_->add(link.descriptor(), condition, ready, this);
    }
    drop(error);
}

} // namespace host
