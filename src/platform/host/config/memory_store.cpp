// SPDX-License-Identifier: MIT
#include "host/config/memory_store.h"

#include <cerrno>

namespace host {

bool key_is_below(std::string_view key, std::string_view prefix)
{
    if (prefix.ends_with('.'))
        prefix.remove_suffix(1);
    return key.starts_with(prefix) && (key.size() == prefix.size() || key[prefix.size()] == '.');
}

int MemoryStore::read(std::string_view key, std::string_view& value)
{
    const auto found = values_.find(key);
    if (found == values_.end())
        return -ENOENT;
    value = found->second;
    return 0;
}

int MemoryStore::look(std::span<const std::string> keys, std::vector<Value>& values)
{
    for (const std::string& key : keys) {
        const auto found = values_.find(key);
        values.push_back(found == values_.end() ? Value() : Value(found->second));
    }
    return 0;
}

int MemoryStore::write(std::span<const Write> writes)
{
    for (const Write& write : writes) {
        const auto found = values_.find(write.key);
        if (!write.value) {
            if (found != values_.end())
                values_.erase(found);
        } else if (found != values_.end()) {
            found->second.assign(*write.value);
        } else {
            values_.emplace(write.key, *write.value);
        }
    }
    changes_.queue(writes);
    return 0;
}

int MemoryStore::list(std::string_view prefix, std::vector<std::string>& keys)
{
    if (prefix.ends_with('.'))
        prefix.remove_suffix(1);
    for (auto entry = values_.lower_bound(prefix); entry != values_.end(); ++entry) {
        if (!entry->first.starts_with(prefix))
            break;
        if (prefix.empty() || key_is_below(entry->first, prefix))
            keys.push_back(entry->first);
    }
    return 0;
}

} // namespace host
