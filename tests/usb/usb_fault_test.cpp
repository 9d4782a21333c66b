// SPDX-License-Identifier: MIT
// Over-currents on the emulated over-current line, in virtual time.
#include "usb/usb_fault_handler.h"

#include "gpio/gpio_pin.h"
#include "support/terminal.h"
#include "usb/usb_power.h"

namespace {

constexpr const char* line_value = "/sys/class/gpio/gpio81/value";

class UsbFault : public testing::Test {
protected:
    UsbFault()
    {
        terminal.write({{"ram.platform.capabilities.usb", 1},
                        {key::usb_enabled, 1},
                        {key::usb_extended, 0},
                        {key::usb_extended_held, 0}});
    }

    void start()
    {
        terminal.start();
        begin_ = host::instance().clock.now_ms();
    }

    void run_to(std::uint64_t milliseconds)
    {
        host::instance().loop->run_for(begin_ + milliseconds - host::instance().clock.now_ms());
    }

    // A falling edge, so many milliseconds after the start; the line rises again just before.
    void edge_at(std::uint64_t milliseconds)
    {
        run_to(milliseconds);
        for (const char* const level : {"1", "0"}) {
            terminal.put(line_value, level);
            run_to(milliseconds);
        }
    }

    // What happened to the port, its event and its line.
    std::string story()
    {
        const std::regex others("[0-9]+ ms: (?!.*(USB short circuit|pin 80|81)).*\\n");
        return std::regex_replace(terminal.story(begin_), others, "");
    }

    Terminal terminal{"qv1608B"};

private:
    std::uint64_t begin_ = 0;
};

TEST_F(UsbFault, CyclesThePowerUntilAQuietSecond)
{
    start();
    edge_at(100);
    run_to(1099);
    EXPECT_EQ(story(), "100 ms: raise USB short circuit\n");
    run_to(4000);
    edge_at(4000); // a new fault, a new event
    edge_at(4250); // a burst counts from its first edge
    edge_at(4500);
    edge_at(5500); // half a second after the cycle
    edge_at(6600);
    edge_at(7601); // one millisecond after the next
    run_to(13000);
    EXPECT_EQ(story(), R"(1100 ms: pin 80 high
1100 ms: pin 80 low
2100 ms: clear USB short circuit
4000 ms: raise USB short circuit
5000 ms: pin 80 high
5000 ms: pin 80 low
6500 ms: pin 80 high
6500 ms: pin 80 low
7600 ms: pin 80 high
7600 ms: pin 80 low
8601 ms: pin 80 high
8601 ms: pin 80 low
9601 ms: clear USB short circuit
)");
}

TEST_F(UsbFault, LineThatIsMissingLeavesUsbOn)
{
    // The line's directory is there, its value file is not.
    fs::create_directory(terminal.path("/sys/class/gpio/gpio81"));
    terminal.put("/sys/class/gpio/gpio81/direction", "in");
    terminal.story();
    UsbFaultHandler another;
    usb_fault_handler = &another; // whose line it is, then
    pwr_mgr_usb_power(1, 0);
    UsbFaultHandler::fdLoopTimeoutHandler(std::exchange(usb_fault_handler, nullptr)); // in no fault
    pwr_mgr_usb_power(1, 0);
    pwr_mgr_usb_power(1, 0);
    EXPECT_EQ(usb_fault_handler, nullptr);
    terminal.put(line_value, "1");
    pwr_mgr_usb_power(1, 0); // has no edges
    terminal.put("/sys/class/gpio/gpio81/edge", "none");
    pwr_mgr_usb_power(1, 0);
    EXPECT_EQ(in_words(only(terminal.story(), {"pin", "log 3 USB", "edge", "clear"})),
              "80=low 80=low log 3 USB over-current on GPIO 81 is not watched: open: No such file "
              "or directory 80=low 80=low 81=in 80=low 81=in edge 81 falling");
    start();
    edge_at(1);
    EXPECT_NE(story().find("1 ms: raise USB short circuit\n"), std::string::npos);
}

// Its directory is made anew behind the daemon's back, and then cannot be watched: the next USB on
// watches the new one, and says once what does not work.
TEST_F(UsbFault, LineThatIsTakenAwayIsWatchedAgain)
{
    start();
    power_man::unexport_pin("81");
    power_man::export_pin("81");
    story();
    edge_at(2);
    EXPECT_EQ(story(), "") << "the daemon holds a file that is none";
    pwr_mgr_usb_power(1, 0);
    terminal.story();
    edge_at(3);
    EXPECT_EQ(story(), "3 ms: raise USB short circuit\n");
    run_to(3000);
    power_man::unexport_pin("81");
    fs::remove(terminal.path("/sys/class/gpio/export"));
    story();
    for (int i = 0; i < 3; ++i)
        pwr_mgr_usb_power(1, 0);
    EXPECT_EQ(
        only(terminal.story(), {"log 3 USB"}),
        "log 3 USB over-current on GPIO 81 is not watched: open: No such file or directory\n");
}

} // namespace
