// SPDX-License-Identifier: MIT
// What the records have in common: groups of integer keys that are loaded, and read or written,
// together.
#pragma once

#include <array>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <span>

#include "ap/config.h"
#include "ap/text.h"

namespace power_man {

// Up to eight integer keys for one read or write. Keys have less than `KeySize` characters; with
// one that does not fit, nothing is read or written (-ENAMETOOLONG).
template <std::size_t KeySize>
class RecordKeys {
public:
    RecordKeys() = default;
    ~RecordKeys() = default;
    RecordKeys(const RecordKeys&) = delete; // items point into the object
    RecordKeys& operator=(const RecordKeys&) = delete;

    // `format` has one %u, for `number`; or none.
    void add(const char* format, unsigned int number, std::int32_t value)
    {
        std::array<char, KeySize>& key = keys_.at(count_);
        const int length =
            qv_snprintf(key.data(), static_cast<unsigned int>(key.size()), format, number);
        if (length < 0 || static_cast<std::size_t>(length) >= key.size())
            too_long_ = true;
        values_[count_] = value;
        items_[count_] = {CONFIG_TYPE_INTEGER,  key.data(),           &values_[count_],
                          sizeof(std::int32_t), sizeof(std::int32_t), 0};
        ++count_;
    }

    // The results are those of config_writev() and config_readv().
    int write(const char* prefix) const
    {
        return too_long_ ? -ENAMETOOLONG : config_writev(prefix, count_, items_.data());
    }
    int read(const char* prefix)
    {
        return too_long_ ? -ENAMETOOLONG : config_readv(prefix, count_, items_.data());
    }

    std::int32_t value(std::size_t index) const { return values_.at(index); }

private:
    static constexpr std::size_t capacity = 8;

    std::array<std::array<char, KeySize>, capacity> keys_{};
    std::array<std::int32_t, capacity> values_{};
    std::array<config_data_t, capacity> items_{};
    unsigned int count_ = 0;
    bool too_long_ = false;
};

// Reads the integer keys that the regular expression matches and hands them to `parse`, if there
// are any. 0, or a negative errno.
int load_record(const char* pattern,
                const std::function<void(unsigned int, const config_data_t*)>& parse);

struct RecordParser {
    const char* key_format;                 // of a key up to its leaf: "ram.post.id.%u."
    std::span<const config_field_t> fields; // by leaf
    bool tracing;
    std::function<void(unsigned int)> found; // called with the index of each field stored
};

// Stores the items into the fields. Keys of another form and other leaves are skipped.
void parse_record(const RecordParser& parser, unsigned int count, const config_data_t* items);

// One more, without an overflow: whatever the database held.
inline std::int32_t counted_up(std::int32_t count)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(count) + 1U);
}

} // namespace power_man
