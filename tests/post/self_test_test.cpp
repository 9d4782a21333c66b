// SPDX-License-Identifier: MIT
// The power-on self-tests of a whole terminal, as the BITE handler sees them.
#include "post/self_test.h"

#include "support/terminal.h"

namespace {

constexpr std::pair<const char*, const char*> tests[] = {
    {"1142129670", "isdn"},   {"1142129669", "phone"}, {"1142129671", "line"},
    {"1142129680", "switch"}, {"1142129679", "usb"},   {"1142129676", "heat"}};

constexpr std::string_view no_switch =
    "log 4 This capabilities ram.platform.capabilities.ether.switch is not available in this "
    "product";
constexpr const char* battery_status = "ram.status.battery.1.status";
constexpr const char* mainboard = "rmcfg.sys.mainboard.temperature";
constexpr const char* line_path = "/sys/class/gpio/gpio81/value";

// The signals of a story as "isdn123 phone124": 1 ready, 2 started, 3 passed, 4 failed. Log
// lines stand between parentheses.
std::string results(const std::string& story)
{
    std::istringstream lines(only(story, {"signal bite.post.state \"id.", "log ", "file "}));
    std::string text;
    std::string last;
    for (std::string line; std::getline(lines, line);) {
        std::string name;
        for (const auto& [id, test] : tests) {
            if (line.find(std::string("id.") + id + ".post.state=") != std::string::npos)
                name = test;
        }
        if (line == no_switch)
            text += "(no switch)";
        else if (name.empty())
            text += "(" + line.substr(4) + ")";
        else
            text += (name == last ? "" : " " + name) + line[line.size() - 2];
        last = name;
    }
    return text;
}

std::string ready(Terminal& terminal)
{
    return results(terminal.write("ram.post.hnd.ready", 1));
}

std::string status_line(int status)
{
    return "(4 set_temperature_post_result, status:" + std::to_string(status) +
           ", post_id:4413840c)";
}

const std::string good_battery = status_line(0) + "(4 set_temperture_post_result, temp:40)";

class SelfTest : public testing::Test {
protected:
    Terminal& made(const char* platform)
    {
        terminal_.emplace(platform);
        for (const auto& [id, test] : tests)
            terminal_->write_text("ram.post.id." + std::string(id) + ".enable", "1");
        return *terminal_;
    }

private:
    std::optional<Terminal> terminal_;
};

class EveryModel : public SelfTest, public testing::WithParamInterface<Model> {};

TEST_P(EveryModel, RunsItsTestsInOrderEachTimeTheHandlerIsReady)
{
    Terminal& terminal = made(GetParam().platform);
    EXPECT_EQ("", only(terminal.start(), {"signal bite."}));
    EXPECT_EQ(GetParam().story, ready(terminal));
    for (const int value : {0, 2})
        EXPECT_EQ("", terminal.write("ram.post.hnd.ready", value));
    EXPECT_EQ("", terminal.write({{"ram.post.hnd.ready", 1}, {"ram.post.hnd.ready", 0}}));
    EXPECT_EQ(GetParam().story, ready(terminal));
}

const Model models[] = {
    {"qv1101A", " isdn123 phone123(no switch) usb123 heat12"
                "(4 set_temperature_post_result, status:0, post_id:4413840c)"
                "(4 set_temperture_post_result, temp:40) heat3"},
    {"qv1202B", " isdn123 phone123 switch123 usb123 heat123"},
    {"qv1305A", " isdn123 phone123(no switch) usb12 heat123"},
    {"qv1403A", " isdn123 phone123(no switch) usb12 heat123"},
    {"qv2500A", " isdn123 phone123(no switch) usb12 heat123"},
    {"qv1608B", " isdn123 phone123 line123 switch123 usb123 heat123"},
};
INSTANTIATE_TEST_SUITE_P(SelfTest, EveryModel, testing::ValuesIn(models), model_name);

TEST_F(SelfTest, FailsWhatIsMissingAndPassesWhenItIsMended)
{
    Terminal& terminal = made("qv1608B");
    terminal.start();
    const std::pair<const char*, const char*> files[] = {
        {"/sys/devices/platform/fpga.0/control/isdnpwr", "0"},
        {"/dev/slic0.1", "-"},
        {"/sys/devices/ocp.2/48030000.spi/spi_master/spi1/spi1.0/registers", ""},
        {line_path, "1"}};
    for (const auto& [path, content] : files)
        fs::remove(terminal.path(path));
    fs::rename(terminal.path("/sys/class/gpio/gpio200"), terminal.path("/gpio200"));
    terminal.remove(mainboard);
    EXPECT_EQ(" isdn124 phone124 line12(3 failed to open " + std::string(line_path) +
                  ") line4 switch124 usb124 heat12",
              ready(terminal));
    terminal.put(files[0].first, files[0].second);
    fs::rename(terminal.path("/dev/slic0.0"), terminal.path("/dev/slic0.1")); // now the first
    fs::create_directory(terminal.path(line_path));
    EXPECT_EQ(" isdn123 phone124 line12(3 read error) line4 switch124 usb124 heat12",
              ready(terminal));
    fs::remove(terminal.path(line_path));
    terminal.put("/dev/slic0.0", "-");
    for (const char* const level : {"", "0", " 1"}) {
        terminal.put(line_path, level);
        EXPECT_EQ(" isdn123 phone123 line124 switch124 usb124 heat12", ready(terminal)) << level;
    }
    for (const auto& [path, content] : {files[2], files[3]})
        terminal.put(path, content);
    fs::rename(terminal.path("/gpio200"), terminal.path("/sys/class/gpio/gpio200"));
    EXPECT_EQ(status_line(35) + " heat3(5 Radio Module - Morvin BDU: readings again after 0 s)",
              results(terminal.write(mainboard, 35)));
    EXPECT_EQ(" isdn123 phone123 line123 switch123 usb123 heat123", ready(terminal));
}

TEST_F(SelfTest, AResultIsReportedForATestThatIsNotAllowed)
{
    Terminal& terminal = made("qv1202B");
    for (const auto& [id, test] : tests)
        terminal.write_text("ram.post.id." + std::string(id) + ".enable", "2"); // only 1 allows
    terminal.start();
    fs::remove_all(terminal.path("/sys/class/gpio/gpiochip248"));
    const std::string id = "(5 POST not allowed ID: Module=4, Module ID=1, Test ID=2304";
    const std::string off = ". Not Enabled, Config OK(0))";
    EXPECT_EQ(id + "06" + off + " isdn3" + id + "05" + off + id + "16" + off + " switch3" + id +
                  "15" + off + " usb4" + id + "12" + off + " heat3",
              ready(terminal));
}

TEST_F(SelfTest, TheBatterysTemperatureDecidesWhenItIsKnown)
{
    Terminal& terminal = made("qv1101A");
    terminal.remove(battery_status);
    terminal.write("ram.platform.capabilities.ether.switch", 1);
    terminal.start();
    const std::string open = " isdn123 phone123 switch124 usb123 heat12";
    EXPECT_EQ(open + open, ready(terminal) + ready(terminal));
    const auto status = [&](int value) { return results(terminal.write(battery_status, value)); };
    EXPECT_EQ(status_line(3) + " heat4", status(3));
    EXPECT_EQ(good_battery + " heat3", status(0));
    EXPECT_EQ("", results(terminal.remove(battery_status)));
    terminal.remove("ram.status.battery.1.temperature");
    EXPECT_EQ(status_line(0) + " heat4", status(0));
}

TEST_F(SelfTest, OfAnUnknownModelOnlyCapabilitiesCount)
{
    Terminal& terminal = made("qv1305A");
    terminal.write_text("ram.platform.id", "qv1305");
    terminal.write("ram.platform.capabilities.isdn", 0);
    terminal.write("ram.platform.capabilities.slic.connectors", 0);
    terminal.start();
    EXPECT_EQ("(no switch) usb12 heat12", ready(terminal));
    set_temperature_post_result(0);
    EXPECT_EQ(status_line(0) + " heat4", results(terminal.story()));
}

} // namespace
