// SPDX-License-Identifier: MIT
// Keys that are to be read, the first to come first; each once, however often it has come.
#pragma once

#include <deque>
#include <string>
#include <unordered_set>

namespace host {

class WaitingKeys {
public:
    void add(const std::string& key)
    {
        if (const auto [place, is_new] = keys_.insert(key); is_new)
            order_.push_back(&*place);
    }

    std::string take_first()
    {
        const auto first = keys_.find(*order_.front());
        order_.pop_front();
        return std::move(keys_.extract(first).value());
    }

    bool empty() const { return order_.empty(); }
    bool contains(const std::string& key) const { return keys_.contains(key); }

private:
    std::unordered_set<std::string> keys_;
    std::deque<const std::string*> order_;
};

} // namespace host
