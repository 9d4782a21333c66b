// SPDX-License-Identifier: MIT
// Delivers changes of the configuration database from the loop to those who registered.
#pragma once

#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "ap/config.h"
#include "host/config/store.h"
#include "host/loop/loop.h"

namespace host {

class ChangeDispatcher : public Deferred {
public:
    // As config_change_register() and config_change_deregister().
    int add(std::string_view key, config_change_callback callback, void* user);
    int remove(std::string_view key, config_change_callback callback, void* user);

    // True when somebody follows that key: a change that nobody follows need not be queued.
    bool is_followed(std::string_view key) const;

    // True when that very key is registered, a dot at its end or not.
    bool is_registered(std::string_view key) const;

    // Queues what was written together, to be delivered in one call.
    void queue(std::span<const Write> writes);

    // The records of the call that goes on; none outside of one.
    std::span<const config_data_t> calling() const
    {
        return calling_ ? records_ : std::span<const config_data_t>();
    }

    bool pending() const override { return !batches_.empty(); }
    void run() override;

private:
    struct Registration {
        std::string key;
        config_change_callback callback;
        void* user;
        std::uint64_t since;     // the first batch that it sees
        std::uint64_t delivered; // the last batch that its (callback, user) pair was called with
        bool removed;
    };

    struct Change {
        std::string key;
        std::optional<std::int32_t> value;
    };

    struct Batch {
        std::uint64_t number;
        std::vector<Change> changes;
    };

    void deliver(Batch& batch);
    void collect(Batch& batch, const Registration& owner);
    void erase_removed();

    std::vector<Registration> registrations_; // in order of registration
    std::deque<Batch> batches_;
    std::vector<config_data_t> records_; // of the call being made; kept for its memory
    std::uint64_t batch_number_ = 0;
    bool delivering_ = false; // registrations must not be erased now
    bool calling_ = false;
};

} // namespace host
