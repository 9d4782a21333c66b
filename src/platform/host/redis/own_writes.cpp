// SPDX-License-Identifier: MIT
#include "host/redis/own_writes.h"

namespace host {
namespace {

constexpr std::size_t most_keys = 16384;
constexpr std::size_t most_events = 1024;  // for one key; more than that are read, not known
constexpr std::size_t longest_number = 32; // of an event's value: longer ones are no integers

OwnWrites::Value copy_of(const Write& write)
{
    return write.value ? OwnWrites::Value(*write.value) : std::nullopt;
}

} // namespace

bool is_setting(std::string_view key)
{
    return key_is_below(key, "cfg");
}

bool OwnWrites::note(std::uint64_t id, const Write& write, bool uncertain)
{
    const auto found = last_.find(write.key);
    if (found != last_.end()) {
        found->second = {copy_of(write), id, uncertain};
        return true;
    }
    if (last_.size() >= most_keys)
        return false;
    last_.emplace(write.key, Last{copy_of(write), id, uncertain});
    return true;
}

void OwnWrites::expect_event(std::uint64_t id, const Write& write, bool silent)
{
    std::deque<Event>& events = events_[std::string(write.key)];
    const bool number = write.value && write.value->size() <= longest_number;
    if (events.size() < most_events)
        events.push_back({id, number ? copy_of(write) : std::nullopt, silent});
}

std::optional<OwnWrites::Event> OwnWrites::take_event(std::string_view key)
{
    const auto found = events_.find(std::string(key));
    if (found == events_.end() || found->second.front().id > confirmed_)
        return std::nullopt;
    Event event = std::move(found->second.front());
    found->second.pop_front();
    if (found->second.empty())
        events_.erase(found);
    return event;
}

void OwnWrites::refused(std::uint64_t id)
{
    confirmed_ = id;
    for (auto& [key, last] : last_)
        last.uncertain = last.uncertain || last.id == id;
    for (auto entry = events_.begin(); entry != events_.end();) {
        std::erase_if(entry->second, [id](const Event& event) { return event.id == id; });
        entry = entry->second.empty() ? events_.erase(entry) : std::next(entry);
    }
}

void OwnWrites::expect_no_event(std::uint64_t id, const std::string& key)
{
    const auto found = events_.find(key);
    if (found == events_.end())
        return;
    std::erase_if(found->second,
                  [id](const Event& event) { return event.id == id && !event.value; });
    if (found->second.empty())
        events_.erase(found);
}

void OwnWrites::connection_lost()
{
    events_.clear();
    for (auto& [key, last] : last_)
        last.uncertain = last.uncertain || last.id > confirmed_;
}

} // namespace host
