// SPDX-License-Identifier: MIT
// What keeps the mirror true.
#include <algorithm>
#include <utility>

#include "host/config/configuration.h"
#include "host/redis/redis_store.h"

namespace host {

// Has the server tell of one more key. False: it does so already.
bool RedisStore::track(std::string_view key)
{
    const bool room = tracked_.set().size() < most_prefixes || mirror_.follows(key);
    if (tracked_.cover(key) || !room)
        return false;
    const bool clash = tracked_.clash(key);
    tracked_.add(key);
    begin_tracking(clash ? tracked_.set() : Prefixes::Set{std::string(key)}, clash);
    synchronise_ = synchronise_ || clash;
    return true;
}

// `afresh`: it forgets the others first, and with them changes that it was about to tell.
void RedisStore::begin_tracking(const Prefixes::Set& prefixes, bool afresh)
{
    const auto answered = [this](const Reply& reply) {
        if (reply.is_error())
            refuse("it cannot tell of changes, as Redis from 6.0 can", reply);
    };
    if (afresh)
        commands_.ask({"CLIENT", "TRACKING", "OFF"}, answered);
    Connection::Words words = {"CLIENT",   "TRACKING", "ON",    "REDIRECT",
                               client_id_, "BCAST",    "NOLOOP"};
    for (const std::string& prefix : prefixes)
        words.insert(words.end(), {"PREFIX", prefix});
    if (!prefixes.empty()) // without any it would tell of all keys
        commands_.ask(words, answered);
}

void RedisStore::synchronise()
{
    const bool reconnected = state_ == State::synchronising;
    tell_new_ = std::exchange(complete_, false) || reconnected || !newcomers_;
    older_data_ = synchronise_ = newcomers_ = false;
    synchronising_ = true;
    Prefixes prefixes;
    if (phase_ == Phase::connecting)
        prefixes.add(""); // nobody knows yet what will be needed
    for (const std::string& key : mirror_.prune()) {
        if (prefixes.set().size() < most_prefixes || mirror_.follows(key))
            prefixes.add(key);
    }
    if (reconnected || prefixes != tracked_) {
        tracked_ = std::move(prefixes);
        begin_tracking(tracked_.set(), !reconnected);
    }
    const auto identified = [this, reconnected](const Reply& reply) {
        const std::size_t place = std::min(reply.text.find("run_id:"), reply.text.size());
        const std::string id = reply.text.substr(place, 47); // with its name
        older_data_ = reconnected && (id.empty() || id != server_id_);
        server_id_ = id;
    };
    if (phase_ == Phase::running)
        commands_.ask({"INFO", "server"}, identified);
    found_.clear();
    next_ = 0;
    for (const auto& [key, entry] : mirror_.entries())
        found_.push_back({key});
    cursor_.assign(1, '0'); // the compiler takes = "0" for a wild copy
}

bool RedisStore::changes_wait() const
{
    return !changes_.pending() && (!named_.empty() || !below_.empty());
}

bool RedisStore::pending() const
{
    return usable() && !busy_ && (changes_wait() || synchronising_);
}

void RedisStore::run()
{
    if (changes_wait()) {
        ask_changes();
    } else if (!cursor_.empty()) {
        busy_ = true;
        commands_.ask({"SCAN", cursor_, "COUNT", page_size},
                      [this](Reply& page) { take_page(page); });
    } else if (next_ < found_.size()) {
        const auto rest = std::span(found_).subspan(next_);
        const auto piece = rest.first(std::min(keys_at_once, rest.size()));
        next_ += piece.size();
        ask(piece, nullptr);
    } else {
        finish();
    }
}

void RedisStore::ask_changes()
{
    told_.clear();
    for (WaitingKeys* const keys : {&named_, &below_}) {
        while (!keys->empty() && told_.size() < keys_at_once)
            told_.push_back({keys->take_first()});
    }
    ask(told_, &RedisStore::take_changes);
}

// `found` stays where it is until the answer has come, or the connection is gone.
void RedisStore::ask(std::span<Found> found, void (RedisStore::*done)())
{
    busy_ = true;
    Connection::Words words{"MGET"};
    for (Found& one : found) {
        one.asked = mirror_.stamp();
        words.push_back(one.key);
    }
    commands_.ask(words, [this, found, done](Reply& reply) {
        std::vector<Value> values;
        take_values(reply, found.size(), values);
        for (std::size_t i = 0; i < values.size(); ++i)
            found[i].value = std::move(values[i]);
        busy_ = false;
        if (done != nullptr && !values.empty())
            (this->*done)();
    });
}

void RedisStore::take_values(Reply& reply, std::size_t count, std::vector<Value>& values)
{
    if (reply.elements.size() != count)
        return refuse("it answers", reply); // it loads its data, or lets nobody read
    for (Reply& element : reply.elements) {
        const bool text = element.kind == Reply::Kind::text;
        values.push_back(text ? Value(std::move(element.text)) : std::nullopt);
    }
}

// Of the next page; "0" behind the last one. The names of keys are left.
std::string RedisStore::take_cursor(Reply& page)
{
    if (page.elements.empty())
        return refuse("it answers", page), "0";
    std::string cursor = std::move(page.elements.front().text);
    page.elements.erase(page.elements.begin());
    return cursor;
}

void RedisStore::take_page(Reply& page)
{
    busy_ = false;
    cursor_ = take_cursor(page);
    const bool first_ever = phase_ == Phase::connecting;
    complete_ = first_ever && cursor_ == "0"; // more than a page would hold the start up
    if (first_ever || cursor_ == "0")
        cursor_.clear();
    for (const Reply& name : page.elements) {
        const bool is_new = check_key(name.text) == 0 && mirror_.find(name.text) == nullptr;
        if (is_new && (complete_ || mirror_.follows(name.text)))
            found_.push_back({name.text});
    }
}

void RedisStore::take_changes()
{
    std::vector<Write> changes;
    for (const Found& found : told_) {
        if (mirror_.change(found))
            changes.push_back({found.key, found.value});
    }
    changes_.queue(changes);
}

void RedisStore::finish()
{
    synchronising_ = false;
    look_at_both(); // what a message on its way tells of is told with that
    if (!usable())
        return;
    std::vector<Write> changes;
    for (const Found& found : found_) {
        const bool waits = named_.contains(found.key) || below_.contains(found.key);
        if (!waits && mirror_.compare(found, older_data_, tell_new_))
            changes.push_back({found.key, found.value});
    }
    changes_.queue(changes);
    send_owed();
    if (state_ == State::synchronising)
        become_live(changes.size());
    found_.clear();
}

// Two words and the names of keys; nothing in their place when all keys have changed.
void RedisStore::told(const Reply& message)
{
    for (std::size_t i = 2; i < message.elements.size(); ++i) {
        const std::string& key = message.elements[i].text;
        if (message.elements[i].kind == Reply::Kind::nothing)
            synchronise_ = true;
        else if (mirror_.is_named(key))
            named_.add(key);
        else if (mirror_.find(key) != nullptr ||
                 ((mirror_.follows(key) || complete_) && check_key(key) == 0))
            below_.add(key);
    }
}

} // namespace host
