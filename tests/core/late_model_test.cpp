// SPDX-License-Identifier: MIT
// A terminal that cannot say at the start which model it is.
#include "core/late_model.h"

#include "support/manager.h"
#include "support/terminal.h"

namespace {

TEST(LateModel, IsStartedWithWhenItsIdComes)
{
    Terminal terminal("qv1608B");
    const Manager manager(terminal.path("/notify"));
    terminal.write({{"cfg.interfaces.lan.1.poe.enabled", 1},
                    {"ram.status.interfaces.lan.enabled", 1},
                    {"ram.post.id.1142129680.enable", 1},
                    {"rmcfg.platform.hpa.temperature_state", 1}});
    terminal.remove(key::platform_id);
    std::string lines = only(terminal.start(), {"log 1 No", "log 3", "pin", "raise"});
    terminal.write({{key::mainboard_temperature, 73}, {"ram.status.sw_update.settled", 1}});
    for (const char* const id : {"qv1608", "qv1608", "qv\x1b\x7fX"})
        lines += only(terminal.write_text(key::platform_id, id), {"log"});
    lines += only(terminal.run(20000), {"log", "set", "raise", "signal"});
    EXPECT_EQ(lines, "log 1 No platform id can be read from ram.platform.id; the terminal is NOT "
                     "protected from heat\n"
                     "log 3 Failed to set usb power: unknown platform []\n"
                     "log 1 No such model: qv1608; the terminal is NOT protected from heat\n"
                     "log 1 No such model: qv??X; the terminal is NOT protected from heat\n");
    // The test of the Ethernet switch fails without a model.
    terminal.write("ram.post.hnd.ready", 1);
    EXPECT_EQ(
        in_words(only(terminal.write_text(key::platform_id, "qv1608B"),
                      {"log 1", "log 5 The", "pin", "raise", "signal psumcu", "set ram.fan", "edge",
                       "set ram.status.interfaces.usb", "signal bite.post.state \"id.1142129680"})),
        "log 5 The terminal is a qv1608B: starting over as such "
        "+LIMIT_BACKGROUND +POE ram.fan.set_speed=255 "
        "80=low 81=in edge 81 falling usb.enabled=1 usb.extended_host_interface=1 "
        "supply=on port0=off supply=on port1=off "
        "signal bite.post.state \"id.1142129680.post.state=1\" "
        "signal bite.post.state \"id.1142129680.post.state=2\" "
        "signal bite.post.state \"id.1142129680.post.state=3\" "
        "supply=on port0=off supply=on port1=off");
    EXPECT_EQ(in_words(only(terminal.run(5000), {"set ram.status.hpa.temperature_state"})),
              "hpa.temperature_state=1");
    EXPECT_EQ(in_words(only(terminal.write_text(key::platform_id, "qv1202B"), {"log"})) +
                  in_words(only(terminal.write_text(key::platform_id, "qv1202B"), {"log"})),
              "log 4 ram.platform.id has changed: the terminal stays a qv1608B until the daemon is "
              "started again");
    EXPECT_EQ(manager.heard(),
              "READY=1 STATUS=NOT PROTECTED: no platform id "
              "STATUS=NOT PROTECTED: unknown platform id qv1608 "
              "STATUS=NOT PROTECTED: unknown platform id qv??X WATCHDOG_USEC=60000000 "
              "STATUS=qv1608B limited since 2026-01-01 00:00 by Radio Module - Morvin BDU "
              "STATUS=qv1608B limited since 2026-01-01 00:00 by HPA - Morvin ADU, Radio Module - "
              "Morvin BDU ");
}

} // namespace
