// SPDX-License-Identifier: MIT
// The beginnings of keys whose changes the server tells of. It takes none that begins like another.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace host {

class Prefixes {
public:
    using Set = std::set<std::string, std::less<>>;

    // Since none begins like another, only the last one before the key can be its beginning.
    bool cover(std::string_view key) const
    {
        const auto after = set_.upper_bound(key);
        return after != set_.begin() && key.starts_with(*std::prev(after));
    }

    // Others begin with the key, which none of them covers.
    bool clash(std::string_view key) const
    {
        const auto next = set_.lower_bound(key);
        return next != set_.end() && next->starts_with(key);
    }

    // Takes the place of those that begin with it.
    void add(std::string_view key)
    {
        if (cover(key))
            return;
        while (clash(key))
            set_.erase(set_.lower_bound(key));
        set_.emplace(key);
    }

    const Set& set() const { return set_; }
    bool operator==(const Prefixes&) const = default;

private:
    Set set_;
};

} // namespace host
