// SPDX-License-Identifier: MIT
#include "host/config/mirror.h"

#include <utility>

namespace host {
namespace {

constexpr std::size_t most_keys = 16384;
constexpr std::size_t most_below = 12288; // with them those that only a subtree follows
constexpr std::size_t most_bytes = 8U << 20U;

std::size_t size_of(const Value& value)
{
    return value ? value->size() : 0;
}

} // namespace

Mirror::Entry* Mirror::find(std::string_view key)
{
    const auto found = entries_.find(key);
    return found == entries_.end() ? nullptr : &found->second;
}

Mirror::Entry* Mirror::keep(std::string_view key, std::size_t limit)
{
    if (Entry* const entry = find(key); entry != nullptr)
        return entry;
    if (entries_.size() >= limit || bytes_ >= most_bytes)
        return nullptr;
    return &entries_.emplace(key, Entry{}).first->second;
}

void Mirror::set(Entry& entry, Value value, Arrival arrival)
{
    bytes_ += size_of(value) - size_of(entry.value);
    entry.value = std::move(value);
    entry.stamp = ++stamp_;
    entry.own = arrival != Arrival::sure;
    entry.arrival = arrival;
    entry.missed = false;
}

void Mirror::read(std::string_view key, const Value& value)
{
    Entry* const entry = keep(key, most_keys);
    if (entry == nullptr)
        return;
    if (entry->value != value)
        set(*entry, value, Arrival::sure);
    entry->read = true;
}

bool Mirror::write(const Write& write)
{
    Entry* const entry = keep(write.key, most_keys);
    if (entry == nullptr)
        return false;
    if (entry->arrival == Arrival::sure)
        entry->before = entry->value;
    set(*entry, Value(write.value), Arrival::open);
    return true;
}

bool Mirror::change(const Found& found)
{
    Entry* const entry = keep(found.key, followed_.contains(found.key) ? most_keys : most_below);
    if (entry != nullptr && entry->stamp > found.asked)
        return false;
    if (entry != nullptr)
        set(*entry, found.value, Arrival::sure);
    return true;
}

// Settings are their user's: only a missing one is ours to put right. A followed key is others' to
// write: another value than the last one known is theirs.
bool Mirror::is_lost(const Found& found, const Entry& entry, bool older_data) const
{
    const bool open = entry.arrival != Arrival::sure;
    const bool is_setting = !settings_.empty() && key_is_below(found.key, settings_);
    const bool ours = !is_setting && !follows(found.key);
    return entry.own && (!found.value || (open && found.value == entry.before) ||
                         (ours && (open || older_data)));
}

bool Mirror::compare(const Found& found, bool older_data, bool tell_new)
{
    Entry* entry = find(found.key);
    const bool is_new = entry == nullptr;
    if (is_new)
        entry = keep(found.key, most_below);
    if (entry == nullptr || entry->stamp > found.asked)
        return false;
    if (entry->value == found.value) {
        entry->arrival = Arrival::sure;
        return std::exchange(entry->missed, false);
    }
    if (is_lost(found, *entry, older_data)) {
        entry->before = found.value;
        entry->arrival = Arrival::owed;
        return false;
    }
    set(*entry, found.value, Arrival::sure);
    return follows(found.key) && (!is_new || tell_new);
}

bool Mirror::follows(std::string_view key) const
{
    std::size_t end = key.find('.');
    while (end != std::string_view::npos && !followed_.contains(key.substr(0, end)))
        end = key.find('.', end + 1);
    return end != std::string_view::npos || followed_.contains(key);
}

bool Mirror::is_named(std::string_view key)
{
    const Entry* const entry = find(key);
    return followed_.contains(key) || (entry != nullptr && (entry->read || entry->own));
}

std::vector<std::string> Mirror::prune()
{
    std::vector<std::string> wanted(followed_.begin(), followed_.end());
    for (auto place = entries_.begin(); place != entries_.end();) {
        const auto& [key, entry] = *place;
        const bool named = entry.read || entry.own;
        const bool needed = named || (entry.value && follows(key));
        if (named)
            wanted.push_back(key);
        bytes_ -= needed ? 0 : size_of(entry.value);
        place = needed ? std::next(place) : entries_.erase(place);
    }
    return wanted;
}

std::vector<std::string> Mirror::take_owed()
{
    std::vector<std::string> keys;
    for (auto& [key, entry] : entries_) {
        if (entry.arrival != Arrival::owed)
            continue;
        entry.stamp = ++stamp_; // nothing that was asked before says anything now
        keys.push_back(key);
    }
    return keys;
}

} // namespace host
