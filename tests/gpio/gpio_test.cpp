// SPDX-License-Identifier: MIT
#include "gpio/gpio.h"

#include <sys/stat.h>

#include "gpio/interrupt_file.h"
#include "support/terminal.h"

namespace {

const std::string directory = "/sys/class/gpio/gpio81";
const std::string value_file = directory + "/value";
constexpr const char* is_input = "logic error Cannot set the value of an input gpio";
constexpr const char* is_open =
    "log 3 InterruptFile: attempting to initialize while already initialized.";

class GpioFiles : public testing::Test {
protected:
    // What a piece of work does to the files, and the exception that it ends with.
    template <typename Work>
    std::string story_of(Work&& work)
    {
        terminal.story();
        std::string end;
        try {
            work();
        } catch (const std::logic_error& error) {
            end = std::string("logic error ") + error.what();
        } catch (const std::runtime_error& error) {
            end = std::string("runtime error ") + error.what();
        }
        return in_words(terminal.story()) + end;
    }

    Terminal terminal{"qv1608B"};
};

TEST_F(GpioFiles, OfALineThatItExportsItself)
{
    Gpio line(7);
    line.uninitialize(); // never opened
    EXPECT_EQ(story_of([&] { line.initialize(81U, Gpio::DIR_IN); }), "export 81 81=in");
    EXPECT_EQ(line.getGpioNumber(), 81U);
    line.exportGpio(); // exported already
    EXPECT_EQ(story_of([&] { line.setValue(1); }), is_input);
    EXPECT_EQ(
        story_of([&] {
            line.setDirection(static_cast<Gpio::dir_t>(2));
            line.setValue(5);
            EXPECT_EQ(line.getValue(), 49);
            line.setValue(0);
            EXPECT_EQ(line.getValue(), 48);
            line.uninitialize();
            line.uninitialize();
            line.setDirection(Gpio::DIR_IN); // no directory known
            EXPECT_EQ(line.getValue(), 255);
            Gpio(81).initialize(Gpio::DIR_OUT); // given back at the end of its life
        }),
        "81=out value 81 1 value 81 0 unexport 81 log 3 Gpio::getValue_: called without known "
        "gpio file export 81 81=out unexport 81");
    Gpio(81).exportGpio(); // by somebody else; stays exported without an open
    EXPECT_EQ(story_of([] {
                  Gpio other(3);
                  other.initialize(directory, Gpio::DIR_OUT);
                  const int first = other.getFd();
                  other.initialize(directory, Gpio::DIR_OUT);
                  EXPECT_EQ(other.getFd(), first); // closed before it is opened again
                  other.uninitialize();
                  EXPECT_EQ(other.getFd(), -1);
                  other.setValue(1); // the directory is kept
                  other.initialize(Gpio::DIR_IN);
              }),
              "81=out 81=out value 81 1 81=in");
}

TEST_F(GpioFiles, ThatCannotBeUsed)
{
    Gpio line(81);
    const auto set = [&] { line.setValue(1); };
    EXPECT_EQ(story_of(set), is_input); // before anything else is looked at
    fs::create_directory(terminal.path(directory));
    terminal.put(directory + "/direction", "out");
    EXPECT_EQ(story_of([&] { line.initialize(81U, Gpio::DIR_OUT); }),
              "log 3 open: No such file or directoryruntime error open: No such file or directory");
    EXPECT_EQ(story_of([&] { EXPECT_EQ(line.getValue(), 255); }),
              "log 3 pread error: Bad file descriptor");
    EXPECT_EQ(story_of(set), is_input); // the direction comes after the open
    terminal.put(value_file, "1");
    line.initialize(Gpio::DIR_IN);
    terminal.put(value_file, "x");
    EXPECT_EQ(line.getValue(), 'x');
    fs::resize_file(terminal.path(value_file), 0);
    EXPECT_EQ(line.getValue(), 255);
}

struct Recorder : IInterruptFile::Handler {
    void handleInterrupt(unsigned int number) override { calls += std::to_string(number) + " "; }
    std::string calls;
};

TEST_F(GpioFiles, OfAnInterruptFile)
{
    Recorder recorder;
    InterruptFile line(81, &recorder);
    const auto open = [&] { line.initialize(main_fdloop); };
    EXPECT_EQ(story_of([&] {
                  line.uninitialize();
                  line.triggerOnEdge(IInterruptFile::EDGE_BOTH);
                  line.initialize(nullptr);
              }),
              "log 3 InterruptFile: attempting to initialize with nullptr as fdloop");
    EXPECT_EQ(story_of(open), "export 81 81=in edge 81 falling");
    EXPECT_EQ(story_of(open), is_open);
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
              "edge 81 rising edge 81 both edge 81 none");
    EXPECT_EQ(InterruptFile::fdloopCallback(line.getFd() + 1, &line), 0); // of another
    EXPECT_EQ(InterruptFile::fdloopCallback(line.getFd(), &line), 0);
    EXPECT_EQ(recorder.calls, "81 81 ");
    EXPECT_EQ(story_of([&] { line.uninitialize(); }), "unexport 81");
    EXPECT_EQ(story_of(open), "export 81 81=in edge 81 falling");
}

TEST_F(GpioFiles, OfAnInterruptFileWithoutHandlerOrValue)
{
    InterruptFile line(81, nullptr);
    fs::create_directory(terminal.path(directory));
    const auto open = [&] { line.initialize(main_fdloop); };
    EXPECT_TRUE(story_of(open).ends_with("runtime error open: No such file or directory"));
    EXPECT_EQ(story_of(open), is_open);
    line.uninitialize();
    // A change that is not read away wakes the loop for ever. A pipe tells of each reading.
    ASSERT_EQ(mkfifo(terminal.path(value_file).c_str(), 0600), 0);
    EXPECT_EQ(story_of([&] {
                  open();
                  InterruptFile::fdloopCallback(line.getFd(), &line);
                  line.uninitialize();
                  fs::remove(terminal.path(value_file));
              }),
              "log 3 pread error: Illegal seek log 3 pread error: Illegal seek");
    for (const char* const file : {"/value", "/direction", "/edge"})
        terminal.put(directory + file, "0");
    EXPECT_EQ(story_of(open), "81=in edge 81 falling");
    const std::uint64_t before = host::instance().loop->statistics().callbacks;
    for (const char* const level : {"1", "0", "1", "0"}) {
        terminal.put(value_file, level);
        EXPECT_EQ(terminal.run(0), "");
    }
    // No edge ends the watch.
    EXPECT_EQ(host::instance().loop->statistics().callbacks - before, 2U);
}

} // namespace
