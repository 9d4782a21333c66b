// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "ap/device.h"
#include "ap/log.h"
#include "host/logging.h"

namespace {

// The journal service takes a level from the beginning of each line, and 6 without one.
TEST(LogDeathTest, LevelStandsBeforeTheFirstWord)
{
    setenv("JOURNAL_STREAM", "1:2", 1);
    EXPECT_EXIT(qv_panic("\nkey is %s\n", "negative"), testing::KilledBySignal(SIGABRT),
                "^\n<1>key is negative\n$");
}

int lines = 0;

TEST(BoardLog, BadRowIsSaidOnce)
{
    const std::filesystem::path root = testing::TempDir() + "review_board";
    const std::filesystem::path gpio = root / "sys/class/gpio";
    std::filesystem::create_directories(gpio / "gpiochip0");
    setenv("AP_BOARD_ROOT", root.c_str(), 1);
    std::ofstream(root / "lines") << "80 high\n";
    std::ofstream(gpio / "gpiochip0/base") << 0;
    std::ofstream(gpio / "gpiochip0/ngpio") << 2;
    std::ofstream(gpio / "export") << "";
    host::set_log_sink([](int, std::string_view) { ++lines; });
    const int fd = device_open("/sys/class/gpio/export", 1);
    EXPECT_EQ(device_write(fd, "0", 1) + device_write(fd, "1", 1), 2);
    EXPECT_EQ(lines, 1);
    std::filesystem::remove_all(root);
}

} // namespace
