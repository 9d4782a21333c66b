// SPDX-License-Identifier: MIT
#include "gpio/gpio.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

#include "base/terminal.h"
#include "gpio/interrupt_file.h"
#include "host/host.h"
#include "support/terminal.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* directory = "/sys/class/gpio/gpio81";
constexpr const char* value_file = "/sys/class/gpio/gpio81/value";

// The message of the exception that `work` ends with; empty without one.
template <typename Exception, typename Work>
std::string thrown(Work&& work)
{
    try {
        work();
    } catch (const Exception& exception) {
        return exception.what();
    }
    return {};
}

class GpioFiles : public testing::Test {
protected:
    GpioFiles() : terminal("qv1608B") { terminal.story(); }

    // What a piece of work does to the files.
    template <typename Work>
    std::string story_of(Work&& work)
    {
        terminal.story();
        work();
        return terminal.story();
    }

    Terminal terminal;
};

TEST_F(GpioFiles, OfALineThatItExportsItself)
{
    Gpio line(7);
    EXPECT_EQ(story_of([&] { line.uninitialize(); }), ""); // never opened
    EXPECT_EQ(story_of([&] { line.initialize(81U, Gpio::DIR_IN); }), "export 81\npin 81 in\n");
    EXPECT_EQ(line.getGpioNumber(), 81U);
    EXPECT_GE(line.getFd(), 0);
    EXPECT_EQ(story_of([&] { line.exportGpio(); }), ""); // exported already

    EXPECT_EQ(story_of([&] { line.setDirection(static_cast<Gpio::dir_t>(2)); }), "pin 81 out\n");
    EXPECT_EQ(story_of([&] { line.setValue(5); }), "value 81 1\n");
    EXPECT_EQ(line.getValue(), 49);
    EXPECT_EQ(story_of([&] { line.setValue(0); }), "value 81 0\n");
    EXPECT_EQ(line.getValue(), 48);

    EXPECT_EQ(story_of([&] { line.uninitialize(); }), "unexport 81\n");
    EXPECT_EQ(line.getFd(), -1);
    EXPECT_EQ(story_of([&] { line.uninitialize(); }), "");
    EXPECT_EQ(story_of([&] { line.setDirection(Gpio::DIR_IN); }), ""); // no directory known
    EXPECT_EQ(story_of([&] { EXPECT_EQ(line.getValue(), 255); }),
              "log 3 Gpio::getValue_: called without known gpio file\n");
    // From the number again, and given back at the end of its life.
    EXPECT_EQ(story_of([] {
                  Gpio other(81);
                  other.initialize(Gpio::DIR_OUT);
              }),
              "export 81\npin 81 out\nunexport 81\n");
}

TEST_F(GpioFiles, OfALineThatSomebodyElseExported)
{
    {
        Gpio line(81);
        line.exportGpio(); // gives the board its directory, and stays exported without an open
    }
    Gpio line(3);
    EXPECT_EQ(story_of([&] { line.initialize(std::string(directory), Gpio::DIR_OUT); }),
              "pin 81 out\n");
    const int first = line.getFd();
    // An open line is closed before it is opened again: no descriptor is lost.
    line.initialize(std::string(directory), Gpio::DIR_OUT);
    EXPECT_EQ(line.getFd(), first);
    EXPECT_EQ(story_of([&] { line.uninitialize(); }), "");
    // The directory is kept.
    EXPECT_EQ(story_of([&] { line.setValue(1); }), "value 81 1\n");
    EXPECT_EQ(story_of([&] { line.initialize(Gpio::DIR_IN); }), "pin 81 in\n");
}

TEST_F(GpioFiles, ThatCannotBeUsed)
{
    Gpio line(81);
    // An input is refused before anything else is looked at.
    EXPECT_EQ(thrown<std::logic_error>([&] { line.setValue(1); }),
              "Cannot set the value of an input gpio");
    fs::create_directory(terminal.path(directory));
    terminal.put("/sys/class/gpio/gpio81/direction", "out");
    terminal.story();
    EXPECT_EQ(thrown<std::runtime_error>([&] { line.initialize(81U, Gpio::DIR_OUT); }),
              "open: No such file or directory");
    EXPECT_EQ(line.getFd(), -1);
    // The direction comes after the open: still an input.
    EXPECT_EQ(only(terminal.story(), {"pin", "log"}), "log 3 open: No such file or directory\n");
    EXPECT_EQ(story_of([&] { EXPECT_EQ(line.getValue(), 255); }),
              "log 3 pread error: Bad file descriptor\n");

    terminal.put(value_file, "1");
    line.initialize(Gpio::DIR_IN);
    terminal.put(value_file, "x");
    EXPECT_EQ(line.getValue(), 'x');
    fs::resize_file(terminal.path(value_file), 0);
    EXPECT_EQ(line.getValue(), 255);
    terminal.put(value_file, "1");
    EXPECT_EQ(line.getValue(), 49);
    EXPECT_EQ(story_of([&] {
                  EXPECT_EQ(thrown<std::logic_error>([&] { line.setValue(1); }),
                            "Cannot set the value of an input gpio");
              }),
              "");
}

struct Recorder : IInterruptFile::Handler {
    void handleInterrupt(unsigned int number) override { calls += std::to_string(number) + " "; }
    std::string calls;
};

TEST_F(GpioFiles, OfAnInterruptFile)
{
    Recorder recorder;
    InterruptFile line(81, &recorder);
    EXPECT_EQ(story_of([&] { line.uninitialize(); }), "");
    EXPECT_EQ(story_of([&] { line.triggerOnEdge(IInterruptFile::EDGE_BOTH); }), "");
    EXPECT_EQ(story_of([&] { line.initialize(nullptr); }),
              "log 3 InterruptFile: attempting to initialize with nullptr as fdloop\n");
    EXPECT_EQ(story_of([&] { line.initialize(main_fdloop); }),
              "export 81\npin 81 in\nedge 81 falling\n");
    EXPECT_EQ(story_of([&] { line.initialize(main_fdloop); }),
              "log 3 InterruptFile: attempting to initialize while already initialized.\n");

    for (const char* const level : {"1", "0", "1"}) {
        terminal.put(value_file, level);
        terminal.run(0);
    }
    EXPECT_EQ(recorder.calls, "81 ");
    EXPECT_EQ(story_of([&] {
                  for (const auto edge :
                       {IInterruptFile::EDGE_RISING, IInterruptFile::EDGE_BOTH,
                        static_cast<IInterruptFile::edge_t>(7), IInterruptFile::EDGE_NONE})
                      line.triggerOnEdge(edge);
              }),
              "edge 81 rising\nedge 81 both\nedge 81 none\n");

    // Called for another descriptor, and for its own.
    EXPECT_EQ(InterruptFile::fdloopCallback(line.getFd() + 1, &line), 0);
    EXPECT_EQ(recorder.calls, "81 ");
    EXPECT_EQ(InterruptFile::fdloopCallback(line.getFd(), &line), 0);
    EXPECT_EQ(recorder.calls, "81 81 ");

    EXPECT_EQ(story_of([&] { line.uninitialize(); }), "unexport 81\n");
    EXPECT_EQ(line.getFd(), -1);
    EXPECT_EQ(story_of([&] { line.initialize(main_fdloop); }),
              "export 81\npin 81 in\nedge 81 falling\n");
}

TEST_F(GpioFiles, OfAnInterruptFileWithoutHandler)
{
    InterruptFile line(81, nullptr);
    line.initialize(main_fdloop);
    terminal.story();
    const auto edges = [&](int count) {
        const std::uint64_t before = host::instance().loop->statistics().callbacks;
        for (int i = 0; i < 2 * count; ++i) {
            terminal.put(value_file, i % 2 == 0 ? "1" : "0");
            EXPECT_EQ(terminal.run(0), "");
        }
        return host::instance().loop->statistics().callbacks - before;
    };
    EXPECT_EQ(edges(3), 3U); // no edge ends the watch
}

TEST_F(GpioFiles, OfAnInterruptFileWithoutValue)
{
    fs::create_directory(terminal.path(directory));
    Recorder recorder;
    InterruptFile line(81, &recorder);
    EXPECT_EQ(thrown<std::runtime_error>([&] { line.initialize(main_fdloop); }),
              "open: No such file or directory");
    EXPECT_EQ(only(story_of([&] { line.initialize(main_fdloop); }), {"log"}),
              "log 3 InterruptFile: attempting to initialize while already initialized.\n");
    line.uninitialize();
    terminal.put(value_file, "0");
    EXPECT_NO_THROW(line.initialize(main_fdloop));
}

} // namespace
