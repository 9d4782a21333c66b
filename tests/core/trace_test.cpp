// SPDX-License-Identifier: MIT
// What the traces tell, letter by letter.
#include "post/self_test.h"
#include "support/terminal.h"
#include "temperature/temp_sensors.h"

namespace {

void to_journal(int level, std::string_view text)
{
    const std::size_t length = text.find_last_not_of(" \n") + 1;
    if (level == 7)
        host::instance().journal.write("|%.*s", static_cast<int>(length), text.data());
}

class Traces : public testing::TestWithParam<Model> {};

TEST_P(Traces, TellEachStep)
{
    Terminal terminal(GetParam().platform);
    terminal.start();
    host::instance().log.set_sink(to_journal);
    tg_pwr_man->enabled = 1;
    for (const std::uint32_t letter : {0x8U, 0x4U}) {
        tg_pwr_man->mask = letter;
        bite_ready_cb(nullptr); // although the handler is not ready
        temperature_change_cb(0, nullptr, nullptr);
    }
    EXPECT_EQ(in_words(only(terminal.story(), {"|"})),
              "|BITE handler ready callback |Could not send BITE handler ready message "
              "|Power manager POST, isPostReady - Ready: 0");
    EXPECT_EQ(played(terminal, GetParam().story, {"|"}), GetParam().story);
}

const Model models[] = {
    {"qv1101A",
     R"(ram.status.psumcu.events.external_supply= => |temperature_change_cb, nbr_of_rec=1, ram.status.psumcu.events.external_supply |Unknown string, ram.status.psumcu.events.external_supply = ***
ram.status.psumcu.events.external_supply=0 => |temperature_change_cb, nbr_of_rec=1, ram.status.psumcu.events.external_supply | RAM_STATUS_EXT_SUPPLY changed, 0 |temp_action: id=0 , alarm_id=0, temp=40 |sensor: Battery |current interval: 1 |desc->alarm2intv[alarm_id]: -1 |desc->range_ac[intv].max: 65 |entered else |Next interval: 1
usb.enabled=1 => |CFG_USB changed |usb_ext_pwr_controlled=0 |Not usb_ext_pwr_controlled - update RAM_STATUS_USB/EXT
ram.status.power_management.usb.extended.pwr_controlled=1 usb.enabled=1 => |CFG_USB changed |usb_ext_pwr_controlled=1 |usb_ext_pwr_controlled - update RAM_STATUS_USB
)"},
    {"qv1202B",
     R"(ram.status.hpa.temperature_state=1 rmcfg.sys.mainboard.temperature.x=1 => |temperature_change_cb, nbr_of_rec=2, ram.status.hpa.temperature_state | HPA temperature state changed=1 |temp_action: id=2 , alarm_id=1, temp=0 |sensor: HPA |current interval: 1 |desc->alarm2intv[alarm_id]: 2 |desc->range_ac[intv].max: 0 |entered desc->alarm2intv[alarm_id] |Next interval: 2 |Unknown string, rmcfg.sys.mainboard.temperature.x = ***
ram.platform.capabilities.isdn=0 ram.post.id.1142129676.enable=1 ram.post.hnd.ready=1 => |Power manager POST - event_id: 1142129680 (0x44138410) |Power manager POST, Disabled |Power manager POST - event_id: 1142129679 (0x4413840f) |Power manager POST, Disabled |Power manager POST - event_id: 1142129676 (0x4413840c) |Power manager POST, isPostAllowed - Allowed: 1
)"},
};
INSTANTIATE_TEST_SUITE_P(Models, Traces, testing::ValuesIn(models), model_name);

} // namespace
