// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <utility>

#include "core/pwr_mgr_main.h"
#include "support/failing_device.h"
#include "support/terminal.h"

namespace {

constexpr const char* capability = "ram.platform.capabilities.slic.connectors";

std::string phones_only(const std::string& story)
{
    return only(story, {"file /dev", "set cfg.interfaces.phone", "set ram.status.interfaces.phone",
                        "log 3 ram"});
}

// One change, handed over as the database does; keys that it would refuse too.
void change(const std::string& key)
{
    std::int32_t value = 1;
    const config_data_t entry{CONFIG_TYPE_INTEGER, key.c_str(), &value, 4, 4, 0};
    pwr_mgr_phone->cfgPhoneChanged(1, &entry);
}

} // namespace

TEST(Phone, StartsAndFollowsItsSettings)
{
    Terminal terminal("qv1202B");
    terminal.write("cfg.interfaces.phone.1.enabled", 5);
    EXPECT_EQ(phones_only(terminal.start()), "set cfg.interfaces.phone.2.enabled 0\n"
                                             "file /dev/slic0.0 +=\n"
                                             "set ram.status.interfaces.phone.1.enabled 1\n"
                                             "file /dev/slic0.1 -\n"
                                             "set ram.status.interfaces.phone.2.enabled 0\n");
    EXPECT_EQ(terminal.write({{"cfg.interfaces.phone.2.enabled", 256},
                              {"cfg.interfaces.phone.1.enabled", 0},
                              {"cfg.interfaces.phone.0.enabled", 1},
                              {"cfg.interfaces.phone.3.enabled", 1},
                              {"cfg.interfaces.phone.1.volume", 1}}),
              "file /dev/slic0.1 +=\n"
              "set ram.status.interfaces.phone.2.enabled 1\n"
              "file /dev/slic0.0 -\n"
              "set ram.status.interfaces.phone.1.enabled 0\n");
    EXPECT_EQ(terminal.file("/dev/slic0.0") + terminal.file("/dev/slic0.1"), "-+=");
    EXPECT_EQ(terminal.remove("cfg.interfaces.phone.1.enabled"), "");
    delete std::exchange(pwr_mgr_phone, nullptr);
    EXPECT_EQ(terminal.write("cfg.interfaces.phone.1.enabled", 1), "");
}

TEST(Phone, KeysThatItIsNotMadeFor)
{
    Terminal terminal("qv1202B");
    terminal.start();
    const std::string prefix = "cfg.interfaces.phone.";
    for (const char* const rest :
         {"", ".enabled", "-1.enabled", "x.enabled", "1", "1.", "1x.enabled", "1.enabledx",
          "1.enabled.x", "4294967297.enabled", "18446744073709551617.enabled",
          "99999999999999999999.enabled", "-4294967295.enabled", "1.poe.enabled",
          "1.enabled_____________", "1.\tdisabled"})
        change(prefix + rest);
    change("cfg.interfaces.phone");
    change("cfg");
    change(prefix + "1." + std::string(10000, 'e'));
    change(prefix + std::string(10000, '1') + ".enabled");
    EXPECT_EQ(terminal.story(), "");
    change(prefix + "+1.enabled");
    change(prefix + "0000000000002.enabled");
    EXPECT_EQ(terminal.story(), "file /dev/slic0.0 +=\n"
                                "set ram.status.interfaces.phone.1.enabled 1\n"
                                "file /dev/slic0.1 +=\n"
                                "set ram.status.interfaces.phone.2.enabled 1\n");
}

TEST(Phone, DevicesThatFail)
{
    Terminal terminal("qv1202B");
    terminal.start();
    const std::string open_fails = "log 4 Failed to open phone interface /dev/slic0.0\n";
    const std::string write_fails = "log 4 Failed to write phone interface /dev/slic0.0: ";
    const std::string port_fails = "log 4 Failed to enable/disable phone interface 1\n";
    EXPECT_EQ(use_failing_device(terminal, "/dev/slic0.0", "cfg.interfaces.phone.1.enabled"),
              open_fails + port_fails + open_fails + port_fails + open_fails + port_fails +
                  write_fails + "No space left on device\n" + port_fails + write_fails +
                  "Input/output error\n" + port_fails);
}

TEST(Phone, Capabilities)
{
    Terminal terminal("qv1202B");
    terminal.remove(capability);
    EXPECT_EQ(phones_only(terminal.start()), "");
    config_write_int(capability, -1);
    pwr_mgr_phone->init();
    pwr_mgr_phone->createConfigDefaults();
    pwr_mgr_phone->applyInitialConfig();
    EXPECT_EQ(phones_only(terminal.story()),
              "log 3 ram.platform.capabilities.slic.connectors is negative\n");
    config_write_int(capability, 4);
    config_write_int("cfg.interfaces.phone.3.enabled", 1);
    pwr_mgr_phone->init();
    terminal.story();
    pwr_mgr_phone->createConfigDefaults();
    EXPECT_EQ(terminal.story(), "set cfg.interfaces.phone.1.enabled 0\n"
                                "set cfg.interfaces.phone.2.enabled 0\n"
                                "set cfg.interfaces.phone.4.enabled 0\n");
    for (const int ports : {5, 2147483647}) {
        config_write_int(capability, ports);
        EXPECT_DEATH(pwr_mgr_phone->init(), "\\*\\*\\* ASSERT in pwr_mgr_phone at [0-9]+");
    }
}
