// SPDX-License-Identifier: MIT
#include "host/config/config_items.h"

#include <regex.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

#include "host/base/integer.h"

namespace host {
namespace {

constexpr unsigned int most_items = 1024;
constexpr std::size_t longest_pattern = 255;
constexpr std::size_t longest_key = 255;

bool size_fits_type(const config_data_t& item)
{
    switch (item.type) {
    case CONFIG_TYPE_INTEGER:
        return item.size == sizeof(std::int32_t);
    case CONFIG_TYPE_STRING:
        return item.size > 0;
    case CONFIG_TYPE_RAW:
        return true;
    default:
        return false;
    }
}

int check_items(const char* prefix, unsigned int count, const config_data_t* items)
{
    if (prefix == nullptr || (items == nullptr && count > 0))
        return -EINVAL;
    const std::string_view top = prefix;
    for (unsigned int i = 0; i < count; ++i) {
        const config_data_t& item = items[i];
        if (item.key == nullptr || item.data == nullptr || !size_fits_type(item))
            return -EINVAL;
        const std::string_view key(item.key, strnlen(item.key, longest_key + 1));
        if (const int error = check_key(key); error != 0)
            return error;
        if (!key_is_below(key, top))
            return -EINVAL;
    }
    return 0;
}

// Stores a value that was found; the item's status.
int store_value(std::string_view value, const config_data_t& item)
{
    if (item.type == CONFIG_TYPE_INTEGER) {
        const std::optional<std::int32_t> number = parse_integer(value);
        if (!number)
            return -EINVAL;
        std::memcpy(item.data, &*number, sizeof *number);
        return 0;
    }
    if (item.type == CONFIG_TYPE_RAW) {
        std::memcpy(item.data, value.data(), std::min<std::size_t>(value.size(), item.size));
        return 0;
    }
    if (value.find('\0') != std::string_view::npos)
        return -EINVAL;
    if (value.size() >= item.size)
        return -EMSGSIZE;
    auto* const text = static_cast<char*>(item.data);
    std::memcpy(text, value.data(), value.size());
    text[value.size()] = '\0';
    return 0;
}

using NumberText = std::array<char, 12>; // of any 32-bit integer

// The value that an item is to write; `buffer` holds the text of an integer.
int value_of(const config_data_t& item, NumberText& buffer, std::string_view& value)
{
    const char* const bytes = static_cast<const char*>(item.data);
    value = {bytes, item.size};
    if (item.type == CONFIG_TYPE_INTEGER) {
        std::int32_t number = 0;
        std::memcpy(&number, item.data, sizeof number);
        const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
        value = {buffer.data(), end};
    } else if (item.type == CONFIG_TYPE_STRING) {
        const std::size_t length = strnlen(bytes, item.size);
        if (length == item.size)
            return -EINVAL;
        value = {bytes, length};
    }
    return 0;
}

class Pattern {
public:
    explicit Pattern(const char* text) : error_(regcomp(&compiled_, text, REG_EXTENDED)) {}
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;
    ~Pattern()
    {
        if (error_ == 0)
            regfree(&compiled_);
    }

    bool valid() const { return error_ == 0; }

    // The match found is the leftmost and longest: when it is not the whole key, none is.
    bool matches(const std::string& key) const
    {
        regmatch_t match{};
        return regexec(&compiled_, key.c_str(), 1, &match, 0) == 0 && match.rm_so == 0 &&
               static_cast<std::size_t>(match.rm_eo) == key.size();
    }

private:
    regex_t compiled_{};
    int error_;
};

struct Match {
    std::string key;
    std::optional<std::int32_t> value;
    std::uint32_t length;
};

int find_matches(Configuration& config, const Pattern& pattern, std::vector<Match>& matches)
{
    std::vector<std::string> keys;
    if (const int error = config.list("", keys); error != 0)
        return error;
    std::erase_if(keys, [&pattern](const std::string& key) { return !pattern.matches(key); });
    if (keys.size() > most_items)
        return -E2BIG;
    std::vector<Value> values;
    if (const int error = config.look(keys, values); error != 0)
        return error;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (values[i]) // else it was removed since it was listed
            matches.push_back({std::move(keys[i]), parse_integer(*values[i]),
                               static_cast<std::uint32_t>(values[i]->size())});
    }
    return 0;
}

// One block: the items, then their values, then their keys. Null without memory.
config_data_t* pack(const std::vector<Match>& matches)
{
    std::size_t key_bytes = 0;
    for (const Match& match : matches)
        key_bytes += match.key.size() + 1;
    void* const block =
        std::malloc(matches.size() * (sizeof(config_data_t) + sizeof(std::int32_t)) + key_bytes);
    if (block == nullptr)
        return nullptr;
    auto* const items = static_cast<config_data_t*>(block);
    auto* const values = reinterpret_cast<std::int32_t*>(items + matches.size());
    char* key = reinterpret_cast<char*>(values + matches.size());
    for (std::size_t i = 0; i < matches.size(); ++i) {
        const Match& match = matches[i];
        values[i] = match.value.value_or(0);
        std::memcpy(key, match.key.c_str(), match.key.size() + 1);
        items[i] = {CONFIG_TYPE_INTEGER,
                    key,
                    match.value ? &values[i] : nullptr,
                    sizeof(std::int32_t),
                    match.value ? std::uint32_t{sizeof(std::int32_t)} : match.length,
                    match.value ? 0 : -EINVAL};
        key += match.key.size() + 1;
    }
    return items;
}

} // namespace

int read_items(Configuration& config, const char* prefix, unsigned int count, config_data_t* items)
{
    if (!config.connected())
        return -ENOTCONN;
    if (const int error = check_items(prefix, count, items); error != 0)
        return error;
    int found = 0;
    for (unsigned int i = 0; i < count; ++i) {
        config_data_t& item = items[i];
        std::string_view value;
        const int result = config.read(item.key, value);
        if (result != 0 && result != -ENOENT)
            return result;
        const bool integer = item.type == CONFIG_TYPE_INTEGER;
        item.status = result == 0 ? store_value(value, item) : result;
        item.length = integer && item.status == 0 ? std::uint32_t{sizeof(std::int32_t)}
                                                  : static_cast<std::uint32_t>(value.size());
        found += item.status == 0 ? 1 : 0;
    }
    return found;
}

int write_items(Configuration& config, const char* prefix, unsigned int count,
                const config_data_t* items)
{
    if (count > most_items)
        return -E2BIG;
    if (const int error = check_items(prefix, count, items); error != 0)
        return error;
    std::vector<NumberText> numbers(count);
    std::vector<Write> writes;
    writes.reserve(count);
    for (unsigned int i = 0; i < count; ++i) {
        std::string_view value;
        if (const int error = value_of(items[i], numbers[i], value); error != 0)
            return error;
        writes.push_back({items[i].key, value});
    }
    return config.write(writes, Writer::program);
}

int read_matching(Configuration& config, const char* pattern, unsigned int* count,
                  config_data_t** items)
{
    if (pattern == nullptr || strnlen(pattern, longest_pattern + 1) > longest_pattern)
        return -EINVAL;
    const Pattern compiled(pattern);
    if (!compiled.valid())
        return -EINVAL;
    std::vector<Match> matches;
    if (const int error = find_matches(config, compiled, matches); error != 0)
        return error;
    config_data_t* packed = nullptr;
    if (!matches.empty()) {
        packed = pack(matches);
        if (packed == nullptr)
            return -ENOMEM;
    }
    *count = static_cast<unsigned int>(matches.size());
    *items = packed;
    return 0;
}

} // namespace host
