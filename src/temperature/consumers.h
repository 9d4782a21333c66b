// SPDX-License-Identifier: MIT
// What is taken away from the user in the heat. Several sensors may hold the same consumer: the
// first switches it off, the last to let go switches it on again; only these two write keys and
// report the event.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace power_man {

enum ConsumerIndex : std::size_t {
    data_connections,
    background_data,
    extended_usb_port,
    poe,
    consumer_count
};

struct Consumer {
    ConsumerIndex index;
    const char* key; // 1 while it is held off
    unsigned int event;
    const char* also = nullptr; // a second key with the value of the first
    void (*off)() = nullptr;    // what is to be done before they are written
    void (*on)() = nullptr;
};

extern const std::array<Consumer, consumer_count> consumers; // by their index

void take(ConsumerIndex index);
void let_go(ConsumerIndex index);

// How many sensors hold each, by index.
const std::array<std::int32_t, consumer_count>& holders();

// True when the mark of a consumer says that it is held, and no sensor holds it: an earlier life
// of the daemon did.
bool is_left_held(ConsumerIndex index);

// Gives a consumer back as the last sensor that lets go of it does.
void give_back(ConsumerIndex index);

} // namespace power_man
