// SPDX-License-Identifier: MIT
#include "temperature/temp_status.h"

#include <algorithm>
#include <array>
#include <regex>

#include "base/config_keys.h"
#include "base/terminal.h"
#include "support/terminal.h"

namespace {

namespace key = power_man::key;

// What the command prints while no console connection is being served: it goes to standard
// output. Line ends are shown as '|', and an empty line
// ends a line here; without the console's carriage returns.
std::string temp_status(int arguments = 1, int expected_result = SHELL_OK)
{
    char name[] = "temp_status";
    char argument[] = "now";
    std::array<char*, 3> values = {name, arguments > 1 ? argument : nullptr, nullptr};
    testing::internal::CaptureStdout();
    EXPECT_EQ(temp_status_command.handler(arguments, values.data()), expected_result);
    std::string text = testing::internal::GetCapturedStdout();
    std::erase(text, '\r');
    std::replace(text.begin(), text.end(), '\n', '|');
    return std::regex_replace(text, std::regex("\\|\\|"), "||\n");
}

struct Model {
    const char* platform;
    int supply;
    int degrees;
    const char* report;
};

class Status : public testing::TestWithParam<Model> {};

TEST_P(Status, ShowsTheModelWithAllLimitations)
{
    Terminal terminal(GetParam().platform);
    terminal.write({{key::external_supply, GetParam().supply},
                    {key::battery_temperature, GetParam().degrees},
                    {key::mainboard_temperature, GetParam().degrees},
                    {key::hpa_temperature, 456},
                    {key::hpa_temperature_state, 3}});
    terminal.start();
    terminal.write({{key::usb_held, 1},
                    {key::usb_extended_held, 1},
                    {"ram.status.power_management.lan.poe.pwr_controlled", 1},
                    {key::limit_background, -1},
                    {key::close_connections, 1},
                    {key::power_off, 1}});
    EXPECT_EQ(temp_status(), GetParam().report);
    EXPECT_EQ(temp_status(2, SHELL_USAGE), "");
}

const Model models[] = {
    {"qv1101A", 1, 66,
     R"(Terminal is powered by AC ||
Temp sensor name : Battery|Temperature      : 66|State-Temperature: 66|State            : Reduced Performance|Temp limits (Bat): 50,55|Temp limits (AC) : 60,69||
Power management limitation :|   USB - Off|   USB extern host - Off|   PoE - Off|   Background connections - Limited|   Connections Closed|   Power Off terminal||
)"},
    {"qv1202B", 0, 76,
     R"(Terminal is powered by DC ||
Temp sensor name : Radio Module|Temperature      : 76|State-Temperature: 76|State            : Closing connections|Temp limits (Bat): 70,80|Temp limits (AC) : 70,80||
Temp sensor name : HPA|Temperature      : 45|State-Temperature: 0|State            : Closing connections|HPA Temp state   : Critical High||
|Power management limitation :|   USB|   USB extern host|   Background connections - Limited|   Connections Closed|   Power Off terminal||
)"},
    {"qv1305A", 1, 84,
     R"(Terminal is powered by AC ||
Temp sensor name : Radio Module - V640|Temperature      : 84|State-Temperature: 84|State            : Power Off|Temp limits (Bat): 60,100|Temp limits (AC) : 60,100||
Power management limitation :|   USB|   USB extern host|   Background connections - Limited|   Connections Closed|   Power Off terminal||
)"},
    // Beyond the last interval: its name, no limits.
    {"qv1403A", 1, 76,
     R"(Terminal is powered by AC ||
Temp sensor name : Radio Module - V360|Temperature      : 76|State-Temperature: 76|State            : Power Off|Temp limits (Bat): 0,0|Temp limits (AC) : 0,0||
Power management limitation :|   USB|   USB extern host|   Background connections - Limited|   Connections Closed|   Power Off terminal||
)"},
    {"qv2500A", 0, -41,
     R"(Terminal is powered by DC ||
Temp sensor name : Radio Module - V150|Temperature      : -41|State-Temperature: -41|State            : Low Temperature|Temp limits (Bat): -273,-38|Temp limits (AC) : -273,-38||
Power management limitation :|   Power Off terminal||
)"},
    {"qv1608B", 1, 81,
     R"(Terminal is powered by AC ||
Temp sensor name : Radio Module - Morvin BDU|Temperature      : 81|State-Temperature: 81|State            : Power Off|Temp limits (AC) : 60,100||
Temp sensor name : HPA - Morvin ADU|Temperature      : 45|State-Temperature: 0|State            : Closing connections|HPA Temp state   : Critical High||
|Power management limitation :|   Background connections - Limited|   Connections Closed|   Power Off terminal||
)"},
};
INSTANTIATE_TEST_SUITE_P(Models, Status, testing::ValuesIn(models), model_name<Model>);

TEST(StatusReport, EndsWhereAKeyIsMissing)
{
    Terminal terminal("qv1202B");
    terminal.write({{key::external_supply, 1},
                    {key::mainboard_temperature, 20},
                    {key::hpa_temperature, -15},
                    {key::hpa_temperature_state, 7}});
    terminal.start();
    terminal.write({{key::usb_held, 0}, {key::usb_extended_held, 0}, {key::limit_background, 0}});
    terminal.remove(key::close_connections); // only its own line is missing
    terminal.write(key::power_off, 0);
    const std::string module =
        R"(Terminal is powered by AC ||
Temp sensor name : Radio Module|Temperature      : 20|State-Temperature: 20|State            : Normal Operation|Temp limits (Bat): -25,70|Temp limits (AC) : -25,70||
)";
    // The unknown state was not evaluated.
    const std::string amplifier =
        R"(Temp sensor name : HPA|Temperature      : -1|State-Temperature: -27|State            : Normal Operation|)";
    const std::string rest = R"(HPA Temp state   : Uknown||
|Power management limitation :||
)";
    EXPECT_EQ(temp_status(), module + amplifier + rest);
    terminal.write(key::hpa_temperature_state, -1);
    EXPECT_EQ(temp_status(), module + amplifier + rest);
    int id = 0;
    for (const std::string name :
         {"Normal", "Too High", "High", "Critical High", "Low", "Too Low", "Critical Low"}) {
        terminal.write(key::hpa_temperature_state, id++);
        EXPECT_NE(temp_status().find("|HPA Temp state   : " + name + "|"), std::string::npos);
    }
    terminal.write(key::hpa_temperature_state, 0); // back to normal operation
    terminal.remove(key::hpa_temperature_state);
    EXPECT_EQ(temp_status(), module + std::regex_replace(amplifier, std::regex("-27"), "0"));
    terminal.write_text(key::hpa_temperature, "warm");
    EXPECT_EQ(temp_status(), module);
    terminal.remove(key::mainboard_temperature);
    EXPECT_EQ(temp_status(), "");
    terminal.write(key::mainboard_temperature, 20);
    terminal.remove(key::external_supply);
    EXPECT_EQ(temp_status(), "");
    terminal.write(key::external_supply, 1);
    terminal.write_text("ram.platform.id", "qv1202"); // a model that nobody knows
    pwr_mgr_reset_platform_id();
    EXPECT_EQ(temp_status(), "");
}

} // namespace
