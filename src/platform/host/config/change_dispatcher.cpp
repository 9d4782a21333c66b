// SPDX-License-Identifier: MIT
#include "host/config/change_dispatcher.h"

#include <algorithm>
#include <cerrno>

#include "host/base/integer.h"

namespace host {
namespace {

// Batches delivered in one turn of the loop; more of them wait for the next.
constexpr int batches_per_turn = 64;

} // namespace

int ChangeDispatcher::add(std::string_view key, config_change_callback callback, void* user)
{
    const bool known = std::any_of(
        registrations_.begin(), registrations_.end(), [&](const Registration& registration) {
            return !registration.removed && registration.key == key &&
                   registration.callback == callback && registration.user == user;
        });
    if (!known)
        registrations_.push_back({std::string(key), callback, user, batch_number_ + 1, 0, false});
    return 0;
}

int ChangeDispatcher::remove(std::string_view key, config_change_callback callback, void* user)
{
    for (Registration& registration : registrations_) {
        if (!registration.removed && registration.key == key && registration.callback == callback &&
            registration.user == user) {
            registration.removed = true;
            if (!delivering_)
                erase_removed();
            return 0;
        }
    }
    return -ENOENT;
}

bool ChangeDispatcher::is_followed(std::string_view key) const
{
    return std::any_of(registrations_.begin(), registrations_.end(),
                       [key](const Registration& registration) {
                           return !registration.removed && key_is_below(key, registration.key);
                       });
}

bool ChangeDispatcher::is_registered(std::string_view key) const
{
    return std::any_of(registrations_.begin(), registrations_.end(),
                       [key](const Registration& registration) {
                           return !registration.removed && key_is_below(key, registration.key) &&
                                  key_is_below(registration.key, key);
                       });
}

void ChangeDispatcher::queue(std::span<const Write> writes)
{
    Batch batch{++batch_number_, {}};
    for (const Write& write : writes) {
        if (!is_followed(write.key))
            continue;
        batch.changes.push_back(
            {std::string(write.key), write.value ? parse_integer(*write.value) : std::nullopt});
    }
    if (!batch.changes.empty())
        batches_.push_back(std::move(batch));
}

void ChangeDispatcher::erase_removed()
{
    std::erase_if(registrations_,
                  [](const Registration& registration) { return registration.removed; });
}

void ChangeDispatcher::run()
{
    delivering_ = true;
    for (int i = 0; i < batches_per_turn && !batches_.empty(); ++i) {
        Batch batch = std::move(batches_.front());
        batches_.pop_front();
        deliver(batch);
    }
    delivering_ = false;
    erase_removed();
}

// Fills `records_` with the batch's changes that any living registration of the owner's
// (callback, user) pair matches.
void ChangeDispatcher::collect(Batch& batch, const Registration& owner)
{
    records_.clear();
    for (Change& change : batch.changes) {
        const bool matches = std::any_of(
            registrations_.begin(), registrations_.end(), [&](const Registration& candidate) {
                return !candidate.removed && candidate.callback == owner.callback &&
                       candidate.user == owner.user && candidate.since <= batch.number &&
                       key_is_below(change.key, candidate.key);
            });
        if (!matches)
            continue;
        void* value = change.value ? &*change.value : nullptr;
        records_.push_back({CONFIG_TYPE_INTEGER, change.key.c_str(), value, sizeof(std::int32_t),
                            value != nullptr ? std::uint32_t{sizeof(std::int32_t)} : 0U,
                            value != nullptr ? 0 : -ENOENT});
    }
}

void ChangeDispatcher::deliver(Batch& batch)
{
    // Callbacks may add registrations, which see later batches only: the table is walked by
    // index up to its present end.
    const std::size_t end = registrations_.size();
    for (std::size_t i = 0; i < end; ++i) {
        const Registration& owner = registrations_[i];
        if (owner.removed || owner.delivered == batch.number)
            continue;
        collect(batch, owner);
        if (records_.empty())
            continue;
        // The callback may add registrations and so move the table: copies, no references.
        const config_change_callback callback = owner.callback;
        void* const user = owner.user;
        for (Registration& registration : registrations_) {
            if (registration.callback == callback && registration.user == user)
                registration.delivered = batch.number;
        }
        calling_ = true;
        callback(static_cast<unsigned int>(records_.size()), records_.data(), user);
        calling_ = false;
    }
}

} // namespace host
