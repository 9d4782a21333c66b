// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <deque>

#include "host/base/descriptor.h"
#include "support/terminal.h"

// What the next writes of this process do: take so many bytes, or fail with -errno.
static std::deque<int> planned_writes;

extern "C" ssize_t write(int fd, const void* data, std::size_t size)
{
    if (!planned_writes.empty()) {
        const int plan = planned_writes.front();
        planned_writes.pop_front();
        if (plan < 0) {
            errno = -plan;
            return -1;
        }
        size = std::min(size, static_cast<std::size_t>(plan));
    }
    return syscall(SYS_write, fd, data, size);
}

namespace {

constexpr const char* capability = "ram.platform.capabilities.slic.connectors";
} // namespace

TEST(Phone, StartsAndFollowsItsSettings)
{
    Terminal terminal("qv1202B");
    terminal.write("cfg.interfaces.phone.1.enabled", 5);
    EXPECT_EQ(in_words(only(terminal.start(), {"file /dev", "set cfg.interfaces.phone",
                                               "set ram.status.interfaces.phone"})),
              "cfg.interfaces.phone.2.enabled=0 slic0.0=+= phone.1.enabled=1 slic0.1=- "
              "phone.2.enabled=0");
    constexpr const char* story =
        R"(phone.2.enabled=256 phone.1.enabled=0 phone.0.enabled=1 phone.3.enabled=1 phone.one.enabled=1 phone.1.volume=1 => slic0.1=+= phone.2.enabled=1 slic0.0=- phone.1.enabled=0
phone.1.enabled= =>
)";
    EXPECT_EQ(played(terminal, story), story);
    EXPECT_EQ(terminal.file("/dev/slic0.0") + terminal.file("/dev/slic0.1"), "-+=");
    pwr_mgr_phone->setPowerForAllPhonePorts();
    EXPECT_EQ(in_words(terminal.story()),
              "slic0.0=- phone.1.enabled=0 slic0.1=+= phone.2.enabled=1");
    delete std::exchange(pwr_mgr_phone, nullptr);
    EXPECT_EQ(terminal.write("cfg.interfaces.phone.1.enabled", 1), "");
}

TEST(Phone, DevicesThatFail)
{
    Terminal terminal("qv1202B");
    terminal.start();
    const std::string port_fails = "log 4 Failed to enable/disable phone interface 1\n";
    const std::string open_fails =
        "log 4 Failed to open phone interface /dev/slic0.0\n" + port_fails;
    const std::string write_fails = "log 4 Failed to write phone interface /dev/slic0.0: ";
    EXPECT_EQ(with_failing_device(terminal, "/dev/slic0.0", "cfg.interfaces.phone.1.enabled"),
              open_fails + open_fails + open_fails + write_fails + "No space left on device\n" +
                  port_fails + write_fails + "Input/output error\n" + port_fails);
}

// A write goes on where the driver stopped; what it does not take in the end is a failure.
TEST(Phone, DriverThatTakesAByteAtATime)
{
    Terminal terminal("qv1202B");
    terminal.start();
    const std::string slic = terminal.path("/dev/slic0.0");
    std::filesystem::remove(slic);
    ASSERT_EQ(mkfifo(slic.c_str(), 0600), 0);
    const host::Descriptor device(open(slic.c_str(), O_RDWR | O_NONBLOCK));
    const auto driven = [&](std::deque<int> plan) {
        planned_writes = std::move(plan);
        std::string story =
            only(terminal.write("cfg.interfaces.phone.1.enabled", 1), {"set ram", "log", "file"});
        std::array<char, 9> taken{};
        EXPECT_GE(read(device.get(), taken.data(), taken.size() - 1), -1);
        return in_words(story) + ": " + taken.data();
    };
    const std::string failed =
        " log 4 Failed to write phone interface /dev/slic0.0: "
        "Input/output error log 4 Failed to enable/disable phone interface 1: ";
    EXPECT_EQ(driven({1, 1}), "slic0.0=+ slic0.0== phone.1.enabled=1: +=");
    EXPECT_EQ(driven({1, -EINTR, 1}), "slic0.0=+ slic0.0== phone.1.enabled=1: +=");
    EXPECT_EQ(driven({1, -EIO}), "slic0.0=+" + failed + "+");
    EXPECT_EQ(driven({0}), failed.substr(1));
}

TEST(Phone, Capabilities)
{
    Terminal terminal("qv1202B");
    terminal.remove(capability);
    EXPECT_EQ(only(terminal.start(), {"file /dev", "set ram.status.interfaces.phone"}), "");
    terminal.write("ram.post.id.1142129669.enable", 1);
    pwr_mgr_phone->writePOSTResult(post_api);
    EXPECT_TRUE(terminal.story().ends_with("state=3\"\n"));
    const auto init = [&](int ports) {
        terminal.write(capability, ports);
        pwr_mgr_phone->init();
        pwr_mgr_phone->createConfigDefaults();
        return in_words(terminal.story());
    };
    EXPECT_EQ(init(0), "");
    terminal.write("cfg.interfaces.phone.3.enabled", 1);
    EXPECT_EQ(init(4), "cfg.interfaces.phone.1.enabled=0 cfg.interfaces.phone.2.enabled=0 "
                       "cfg.interfaces.phone.4.enabled=0");
    pwr_mgr_phone->applyInitialConfig();
    pwr_mgr_phone->setPowerForAllPhonePorts();
    EXPECT_EQ(in_words(only(terminal.story(), {"file /dev", "log"})),
              "slic0.0=- slic0.1=- slic1.0=+= slic1.1=- slic0.0=- slic0.1=- slic1.0=+= slic1.1=-");
    EXPECT_EQ(init(-1), "log 3 ram.platform.capabilities.slic.connectors is negative");
    for (const int ports : {5, 2147483647})
        EXPECT_DEATH(init(ports), "\\*\\*\\* ASSERT in pwr_mgr_phone at [0-9]+");
}
