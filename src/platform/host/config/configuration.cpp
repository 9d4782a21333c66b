// SPDX-License-Identifier: MIT
#include "host/config/configuration.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "ap/config.h"
#include "host/base/integer.h"
#include "host/host/host.h"

namespace host {
namespace {

constexpr std::size_t longest_key = 255;
constexpr std::size_t longest_value = 64U * 1024U;
constexpr int longest_shown_value = 160;

// A key from a caller in C.
int take_key(const char* text, std::string_view& key)
{
    if (text == nullptr)
        return -EINVAL;
    key = {text, strnlen(text, longest_key + 1)};
    return check_key(key);
}

void note(const Write& write)
{
    const int key_length = static_cast<int>(write.key.size());
    if (!write.value) {
        instance().journal.write("del %.*s", key_length, write.key.data());
        return;
    }
    const int length =
        static_cast<int>(std::min<std::size_t>(write.value->size(), longest_shown_value));
    instance().journal.write("set %.*s %.*s", key_length, write.key.data(), length,
                             write.value->data());
}

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

int config_write(std::span<const Write> writes)
{
    if (!instance().connected)
        return -ENOTCONN;
    for (const Write& write : writes) {
        if (const int error = check_key(write.key); error != 0)
            return error;
        if (const int error = write.value ? check_value(*write.value) : 0; error != 0)
            return error;
    }
    if (const int error = instance().store->write(writes); error != 0)
        return error;
    for (const Write& write : writes)
        note(write);
    return 0;
}

int config_read(std::string_view key, std::string_view& value)
{
    if (!instance().connected)
        return -ENOTCONN;
    return instance().store->read(key, value);
}

int config_list(std::string_view prefix, std::vector<std::string>& keys)
{
    if (!instance().connected)
        return -ENOTCONN;
    return instance().store->list(prefix, keys);
}

} // namespace host

int config_init_cbus(_cbus_conn_t* connection, int)
{
    if (connection == nullptr)
        return -EINVAL;
    host::instance().connected = true;
    return 0;
}

int config_read_int(const char* key, std::int32_t* value)
{
    std::string_view name;
    std::string_view text;
    if (const int error = host::take_key(key, name); error != 0)
        return error;
    if (const int error = host::config_read(name, text); error != 0)
        return error;
    const std::optional<std::int32_t> number = host::parse_integer(text);
    if (!number)
        return -EINVAL;
    *value = *number;
    return 0;
}

int config_read_string(const char* key, char* text, unsigned int size)
{
    std::string_view name;
    std::string_view found;
    if (const int error = host::take_key(key, name); error != 0)
        return error;
    if (const int error = host::config_read(name, found); error != 0)
        return error;
    if (found.find('\0') != std::string_view::npos)
        return -EINVAL;
    if (found.size() >= size)
        return -EMSGSIZE;
    std::memcpy(text, found.data(), found.size());
    text[found.size()] = '\0';
    return 0;
}

int config_write_int(const char* key, std::int32_t value)
{
    std::string_view name;
    if (const int error = host::take_key(key, name); error != 0)
        return error;
    std::array<char, 16> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    const host::Write write{name, std::string_view(text.data(), end)};
    return host::config_write({&write, 1});
}

int config_write_string(const char* key, const char* text)
{
    std::string_view name;
    if (const int error = host::take_key(key, name); error != 0)
        return error;
    if (text == nullptr)
        return -EINVAL;
    const host::Write write{name, std::string_view(text)};
    return host::config_write({&write, 1});
}

int config_status(const char* key, int* status)
{
    std::string_view name;
    std::string_view value;
    if (const int error = host::take_key(key, name); error != 0)
        return error;
    const int result = host::config_read(name, value);
    if (result != 0 && result != -ENOENT)
        return result;
    *status = result == 0 ? 1 : 0;
    return 0;
}

int config_change_register(const char* key, config_change_callback callback, void* user)
{
    std::string_view name;
    if (const int error = host::take_key(key, name); error != 0)
        return error;
    if (callback == nullptr)
        return -EINVAL;
    if (!host::instance().connected)
        return -ENOTCONN;
    host::instance().store->follow(name);
    return host::instance().changes.add(name, callback, user);
}

int config_change_deregister(const char* key, config_change_callback callback, void* user)
{
    std::string_view name;
    if (const int error = host::take_key(key, name); error != 0)
        return error;
    if (!host::instance().connected)
        return -ENOTCONN;
    const int result = host::instance().changes.remove(name, callback, user);
    if (result == 0)
        host::instance().store->unfollow(name);
    return result;
}
