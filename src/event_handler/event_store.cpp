// SPDX-License-Identifier: MIT
// The stored events of EventDb.
#include <array>
#include <bit>
#include <cstdlib>
#include <memory>
#include <span>

#include "ap/config.h"
#include "ap/log.h"
#include "ap/text.h"
#include "event_handler/event_db.h"

namespace {

static_assert(std::endian::native == std::endian::little, "events are read as they are stored");

constexpr std::uint8_t event_version = 2;
constexpr std::uint32_t event_magic = 0xa0b2c4d8;
constexpr std::uint32_t event_size = sizeof(UserEvent);

using Key = std::array<char, 21>;

struct Release {
    void operator()(void* block) const { std::free(block); }
};

// The request for `count` events: the items, and behind them their keys, in one block.
class Request {
public:
    explicit Request(unsigned int count) : count_(count)
    {
        std::size_t size = 0;
        if (__builtin_mul_overflow(std::size_t{count}, sizeof(config_data_t) + sizeof(Key), &size))
            return;
        block_.reset(std::malloc(size > 0 ? size : 1));
    }

    bool allocated() const { return block_ != nullptr; }
    std::span<config_data_t> items() const
    {
        return {static_cast<config_data_t*>(block_.get()), count_};
    }

    // False when the number of an event does not fit into its key.
    bool fill(UserEvent* events) const
    {
        const std::span<config_data_t> all = items();
        auto* const keys = reinterpret_cast<Key*>(all.data() + all.size());
        for (unsigned int i = 0; i < count_; ++i) {
            Key& key = keys[i];
            const int length =
                qv_snprintf(key.data(), sizeof key, "dyn.evh.store.%d", static_cast<int>(i));
            if (length < 0 || static_cast<std::size_t>(length) >= key.size())
                return false;
            all[i] = {CONFIG_TYPE_RAW, key.data(), &events[i], event_size, 0, 0};
        }
        return true;
    }

private:
    unsigned int count_;
    std::unique_ptr<void, Release> block_;
};

bool is_sound(const config_data_t& item, const UserEvent& event)
{
    if (item.length != event_size) {
        qv_slog(3, "%s: length mismatch (%u/%u)\n", "readEventArr", item.length, event_size);
        return false;
    }
    if (event.version != event_version) {
        qv_slog(3, "%s: version mismatch (%d/%d)\n", "readEventArr", event.version, event_version);
        return false;
    }
    if (event.magic != event_magic) {
        qv_slog(3, "%s: magic mismatch (%u/%u)\n", "readEventArr", event.magic, event_magic);
        return false;
    }
    return true;
}

} // namespace

void EventDb::init() {}

int EventDb::readEventArr(UserEvent* events, unsigned int count)
{
    const Request request(count);
    if (!request.allocated()) {
        qv_slog(3, "%s: alloc failed\n", "readEventArr");
        return -1;
    }
    if (!request.fill(events)) {
        // Staff search for this text; the number in it is not the limit.
        qv_slog(3, "%s: unable to allocate UserEvent array - size exeeds the limit of 9999\n",
                "readEventArr");
        return -1;
    }
    const std::span<config_data_t> items = request.items();
    const int found = config_readv("dyn.evh", count, items.data());
    if (found < 0)
        return -1;
    for (unsigned int i = 0; i < count; ++i) {
        if (items[i].status != 0)
            return static_cast<int>(i);
        if (!is_sound(items[i], events[i]))
            return found;
    }
    return static_cast<int>(count);
}
