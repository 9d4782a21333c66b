// SPDX-License-Identifier: MIT
#include "own_keys.h"

#include <algorithm>
#include <array>

namespace replay {
namespace {

// A key that begins with the first and ends with the second.
struct Pattern {
    std::string_view begin;
    std::string_view end;
};

constexpr std::array patterns = {
    Pattern{"ram.status.power_management.", ""},
    Pattern{"rmcfg.sys.reduce_background_datarate", ""},
    Pattern{"ram.fan.set_speed", ""},
    Pattern{"ram.status.hpa.", ""},
    Pattern{"ram.status.acm.", ""},
    Pattern{"ram.status.interfaces.usb.", ""},
    Pattern{"ram.status.interfaces.isdn.", ""},
    Pattern{"ram.status.interfaces.phone.", ""},
    Pattern{"ram.status.interfaces.lan.", ".poe.enabled"},
    Pattern{"ram.status.psumcu.events.subscribe.", ".pwr_mgr"},
    Pattern{"ram.post.id.", ".state"},
    Pattern{"ram.post.id.", ".result"},
    Pattern{"ram.post.id.", ".info"},
    Pattern{"ram.post.id.", ".severity"},
    Pattern{"ram.post.id.", ".exetime"},
    Pattern{"ram.post.id.", ".timestamp"},
    Pattern{"ram.post.id.", ".cnt"},
    Pattern{"ram.bite.cm.", ""},
    Pattern{"ram.log.bite.cm.", ""},
    Pattern{"txt.evh.stxt.", ""},
};

} // namespace

bool is_own_key(std::string_view key)
{
    return std::any_of(patterns.begin(), patterns.end(), [key](const Pattern& pattern) {
        return key.starts_with(pattern.begin) && key.ends_with(pattern.end);
    });
}

} // namespace replay
