// SPDX-License-Identifier: MIT
// The configuration database inside this process: nothing to install, nothing to start.
#pragma once

#include <map>

#include "host/config/change_dispatcher.h"
#include "host/config/store.h"

namespace host {

class MemoryStore : public Store {
public:
    // `changes` must outlive the store.
    explicit MemoryStore(ChangeDispatcher& changes) : changes_(changes) {}

    int read(std::string_view key, std::string_view& value) override;
    int look(std::span<const std::string> keys, std::vector<Value>& values) override;
    int write(std::span<const Write> writes) override;
    int list(std::string_view prefix, std::vector<std::string>& keys) override;

private:
    std::map<std::string, std::string, std::less<>> values_;
    ChangeDispatcher& changes_;
};

} // namespace host
