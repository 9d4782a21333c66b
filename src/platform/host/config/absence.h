// SPDX-License-Identifier: MIT
#pragma once

#include "ap/config.h"
#include "host/config/store.h"
#include "host/loop/loop.h"

namespace host {

// Tells the program when the database goes out of reach, and when it is back. The store must
// outlive it.
class Absence final : public Deferred {
public:
    explicit Absence(const Store& store) : store_(store) {}

    // As config_away_register().
    void tell(config_away_callback callback, void* user)
    {
        callback_ = callback;
        user_ = user;
    }

    bool pending() const override { return callback_ != nullptr && store_.is_away() != told_; }
    void run() override
    {
        told_ = !told_;
        callback_(told_ ? 1 : 0, user_);
    }

private:
    const Store& store_;
    config_away_callback callback_ = nullptr;
    void* user_ = nullptr;
    bool told_ = false; // that it is away
};

} // namespace host
