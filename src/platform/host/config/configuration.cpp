// SPDX-License-Identifier: MIT
#include "host/config/configuration.h"

#include <algorithm>
#include <cerrno>

namespace host {
namespace {

constexpr std::size_t longest_key = 255;
constexpr std::size_t longest_value = 64U * 1024U;
constexpr std::size_t longest_shown_value = 160;

} // namespace

int check_key(std::string_view key)
{
    if (key.empty())
        return -EINVAL;
    if (key.size() > longest_key)
        return -ENAMETOOLONG;
    const bool printable =
        std::all_of(key.begin(), key.end(), [](char c) { return c > ' ' && c < '\x7f'; });
    return printable ? 0 : -EINVAL;
}

int check_value(std::string_view value)
{
    return value.size() > longest_value ? -EMSGSIZE : 0;
}

void Configuration::note(const Write& write, Writer writer)
{
    const int key_length = static_cast<int>(write.key.size());
    if (!write.value) {
        journal_.write("del %.*s", key_length, write.key.data());
        return;
    }
    if (writer == Writer::program && write.value->size() <= longest_shown_value) {
        journal_.write_set(write.key, *write.value);
        return;
    }
    const int length = static_cast<int>(std::min(write.value->size(), longest_shown_value));
    journal_.write("set %.*s %.*s", key_length, write.key.data(), length, write.value->data());
}

int Configuration::read(std::string_view key, std::string_view& value)
{
    return connected_ ? store_.read(key, value) : -ENOTCONN;
}

int Configuration::look(std::span<const std::string> keys, std::vector<Value>& values)
{
    return connected_ ? store_.look(keys, values) : -ENOTCONN;
}

int Configuration::write(std::span<const Write> writes, Writer writer)
{
    if (!connected_)
        return -ENOTCONN;
    for (const Write& write : writes) {
        if (const int error = check_key(write.key); error != 0)
            return error;
        if (const int error = write.value ? check_value(*write.value) : 0; error != 0)
            return error;
    }
    if (const int error = store_.write(writes); error != 0)
        return error;
    for (const Write& write : writes)
        note(write, writer);
    return 0;
}

int Configuration::list(std::string_view prefix, std::vector<std::string>& keys)
{
    return connected_ ? store_.list(prefix, keys) : -ENOTCONN;
}

int Configuration::follow(std::string_view key, config_change_callback callback, void* user)
{
    if (!connected_)
        return -ENOTCONN;
    store_.follow(key);
    return changes_.add(key, callback, user);
}

int Configuration::unfollow(std::string_view key, config_change_callback callback, void* user)
{
    if (!connected_)
        return -ENOTCONN;
    const int result = changes_.remove(key, callback, user);
    if (result == 0)
        store_.unfollow(key);
    return result;
}

} // namespace host
