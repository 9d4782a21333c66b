// SPDX-License-Identifier: MIT
#include "ap/config.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "host/base/integer.h"
#include "host/config/config_items.h"
#include "host/host/host.h"

namespace {

constexpr std::size_t more_than_a_key = 256;

// A key from a caller in C.
int take_key(const char* text, std::string_view& key)
{
    if (text == nullptr)
        return -EINVAL;
    key = {text, strnlen(text, more_than_a_key)};
    return host::check_key(key);
}

int read(const char* key, std::string_view& value)
{
    std::string_view name;
    const int error = take_key(key, name);
    return error != 0 ? error : host::instance().configuration.read(name, value);
}

int write(const char* key, std::string_view value)
{
    host::Write write{{}, value};
    const int error = take_key(key, write.key);
    return error != 0 ? error
                      : host::instance().configuration.write({&write, 1}, host::Writer::program);
}

} // namespace

int config_init_cbus(_cbus_conn_t* connection, int)
{
    if (connection == nullptr)
        return -EINVAL;
    host::instance().configuration.connect();
    return 0;
}

int config_read_int(const char* key, std::int32_t* value)
{
    std::string_view text;
    if (const int error = read(key, text); error != 0)
        return error;
    const std::optional<std::int32_t> number = host::parse_integer(text);
    if (!number)
        return -EINVAL;
    *value = *number;
    return 0;
}

int config_read_string(const char* key, char* text, unsigned int size)
{
    std::string_view found;
    if (const int error = read(key, found); error != 0)
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
    std::array<char, 16> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return write(key, {text.data(), end});
}

int config_write_string(const char* key, const char* text)
{
    return text == nullptr ? -EINVAL : write(key, text);
}

int config_status(const char* key, int* status)
{
    std::string_view value;
    const int result = read(key, value);
    if (result != 0 && result != -ENOENT)
        return result;
    *status = result == 0 ? 1 : 0;
    return 0;
}

int config_readv(const char* prefix, unsigned int count, config_data_t* items)
{
    return host::read_items(host::instance().configuration, prefix, count, items);
}

int config_writev(const char* prefix, unsigned int count, const config_data_t* items)
{
    return host::write_items(host::instance().configuration, prefix, count, items);
}

int config_readm(const char* pattern, unsigned int* count, config_data_t** items)
{
    return host::read_matching(host::instance().configuration, pattern, count, items);
}

std::uint32_t config_parse(const config_data_t* item, const config_field_t* table,
                           unsigned int entries)
{
    if (item->type != CONFIG_TYPE_INTEGER || item->data == nullptr || item->status != 0 ||
        item->size < sizeof(std::int32_t))
        return CONFIG_NO_FIELD;
    for (unsigned int i = 0; i < entries; ++i) {
        if (std::strcmp(item->key, table[i].key) != 0)
            continue;
        std::memcpy(table[i].value, item->data, sizeof(std::int32_t));
        return i;
    }
    return CONFIG_NO_FIELD;
}

int config_change_register(const char* key, config_change_callback callback, void* user)
{
    std::string_view name;
    if (const int error = take_key(key, name); error != 0)
        return error;
    return callback == nullptr ? -EINVAL
                               : host::instance().configuration.follow(name, callback, user);
}

int config_change_deregister(const char* key, config_change_callback callback, void* user)
{
    std::string_view name;
    const int error = take_key(key, name);
    return error != 0 ? error : host::instance().configuration.unfollow(name, callback, user);
}

int config_user_settings(const char* prefix)
{
    std::string_view name;
    const int error = take_key(prefix, name);
    if (error == 0)
        host::instance().store->set_user_settings(name);
    return error;
}

int config_away_register(config_away_callback callback, void* user)
{
    host::instance().absence.tell(callback, user);
    return 0;
}
