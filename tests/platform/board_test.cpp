// SPDX-License-Identifier: MIT
// The device files: the emulated board, its edges, and the machine's own files.
#include "support/platform.h"

#include <sys/stat.h>

#include "ap/device.h"

namespace fs = std::filesystem;

namespace {

class Board : public testing::Test {
protected:
    Board()
    {
        put("/sys/class/gpio/export", "");
        put("/sys/class/gpio/unexport", "");
        put("/sys/class/gpio/gpiochip64/base", "64\n");
        put("/sys/class/gpio/gpiochip64/ngpio", "32\n");
        put("/dev/slic0.0", "-\n");
        put("/lines", "# the wires\n\n82 high\n81 1 # pulled up\n80 1\n");
        setenv("AP_BOARD_ROOT", root_.c_str(), 1);
        setenv("AP_LOG_LEVEL", "0", 1);
        host::instance().clock.make_virtual();
    }

    void put(const std::string& path, const std::string& text) const
    {
        fs::create_directories(fs::path(root_ + path).parent_path());
        std::ofstream(root_ + path) << text;
    }

    std::string content(const std::string& path) const
    {
        std::ostringstream text;
        text << std::ifstream(root_ + path).rdbuf();
        return text.str();
    }

    // What a line's files read, in one text.
    std::string line(const std::string& number) const
    {
        const std::string path = "/sys/class/gpio/gpio" + number;
        if (device_exists(path.c_str()) == 0)
            return "none";
        return content(path + "/direction") + content(path + "/value") + content(path + "/edge") +
               content(path + "/active_low");
    }

    std::string journal() const
    {
        const host::Journal& journal = host::instance().journal;
        std::string text;
        for (std::uint64_t i = journal.first(); i <= journal.last(); ++i)
            text.append(journal.line(i).text).append("\n");
        return text;
    }

private:
    OwnDirectory directory_;

protected:
    std::string root_ = directory_.path();
};

// What the emulation and the kernel must have in common. On a machine with a line 81 that nothing
// drives to another level than 1, BOARD_TEST_ON_KERNEL makes it a test of the machine's kernel.
class GpioContract : public Board {
protected:
    GpioContract()
    {
        if (getenv("BOARD_TEST_ON_KERNEL") == nullptr)
            return;
        unsetenv("AP_BOARD_ROOT");
        root_ = "";
        host::forget_instance();
    }
};

// One write as the daemon does it: 0 or the errno of the step that failed.
int write_to(const char* path, std::string_view text, int flags = O_WRONLY | O_TRUNC)
{
    const int fd = device_open(path, flags);
    if (fd < 0)
        return errno;
    const ssize_t written = device_write(fd, text.data(), text.size());
    const int result = written < 0 ? errno : 0;
    EXPECT_TRUE(written < 0 || written == static_cast<ssize_t>(text.size()));
    EXPECT_EQ(device_close(fd), 0);
    return result;
}

// Counts the calls, reads the file as the daemon does.
int count(int fd, void* user)
{
    char text = 0;
    EXPECT_EQ(pread(fd, &text, 1, 0), 1);
    ++*static_cast<int*>(user);
    return 0;
}

} // namespace

// Every command with its answer and what the line reads afterwards.
TEST_F(GpioContract, AnswersWrites)
{
    constexpr const char* gpio = "/sys/class/gpio/";
    const struct {
        const char *file, *text;
        int error;
        const char* line81;
    } steps[] = {
        {"export", "81x", EINVAL, "none"},
        {"export", "", 0, "none"},
        {"export", " 81", EINVAL, "none"},
        {"export", "081", EINVAL, "none"},
        {"export", "400", EINVAL, "none"},
        {"export", "99999999999", ERANGE, "none"},
        {"unexport", "81", EINVAL, "none"},
        {"gpiochip64/base", "0", EACCES, "none"},
        {"gpio81/direction", "in", ENOENT, "none"},
        {"export", "0x51", 0, "in\n1\nnone\n0\n"},
        {"unexport", "+81", 0, "none"},
        {"export", "81\n", 0, "in\n1\nnone\n0\n"},
        {"export", "81", EBUSY, "in\n1\nnone\n0\n"},
        {"gpio81/value", "0", EPERM, "in\n1\nnone\n0\n"},
        {"gpio81/direction", "low", 0, "out\n0\nnone\n0\n"},
        {"gpio81/direction", "high\n", 0, "out\n1\nnone\n0\n"},
        {"gpio81/direction", "in\n\n", EINVAL, "out\n1\nnone\n0\n"},
        {"gpio81/direction", "", 0, "out\n1\nnone\n0\n"},
        {"gpio81/value", "x", EINVAL, "out\n1\nnone\n0\n"},
        {"gpio81/value", "0\n", 0, "out\n0\nnone\n0\n"},
        {"gpio81/value", "-5", 0, "out\n1\nnone\n0\n"},
        {"gpio81/value", "00", 0, "out\n0\nnone\n0\n"},
        {"gpio81/edge", "falling", EIO, "out\n0\nnone\n0\n"},
        {"gpio81/edge", "none", 0, "out\n0\nnone\n0\n"},
        {"gpio81/direction", "in", 0, "in\n1\nnone\n0\n"},
        {"gpio81/direction", "out", 0, "out\n0\nnone\n0\n"},
        {"gpio81/direction", "in", 0, "in\n1\nnone\n0\n"},
        {"gpio81/edge", "falling", 0, "in\n1\nfalling\n0\n"},
        {"gpio81/edge", "bot", EINVAL, "in\n1\nfalling\n0\n"},
        {"gpio81/direction", "low", 0, "out\n0\nfalling\n0\n"},
        {"gpio81/edge", "falling", 0, "out\n0\nfalling\n0\n"},
        {"gpio81/edge", "both\n", EIO, "out\n0\nnone\n0\n"},
        {"gpio81/active_low", "x", EINVAL, "out\n0\nnone\n0\n"},
        {"gpio81/active_low", "2", 0, "out\n1\nnone\n1\n"},
        {"gpio81/direction", "high", 0, "out\n0\nnone\n1\n"},
        {"gpio81/value", "1", 0, "out\n1\nnone\n1\n"},
        {"gpio81/direction", "in", 0, "in\n0\nnone\n1\n"},
        {"gpio81/active_low", "0\n", 0, "in\n1\nnone\n0\n"},
        {"unexport", "x", EINVAL, "in\n1\nnone\n0\n"},
        {"unexport", "81", 0, "none"},
    };
    for (const auto& [file, text, error, line81] : steps) {
        SCOPED_TRACE(std::string(file) + " <- '" + text + "'");
        EXPECT_EQ(write_to((std::string(gpio) + file).c_str(), text), error);
        EXPECT_EQ(line("81"), line81);
    }
    EXPECT_EQ(write_to((std::string(gpio) + "export").c_str(), "81", O_RDWR), EACCES);
    const std::string complaint =
        root_.empty() ? ""
                      : "log 4 " + root_ + "/lines:3: write 'NUMBER LEVEL', with level 0 or 1\n";
    const std::string inverted = "file /sys/class/gpio/gpio81/active_low ";
    EXPECT_EQ(journal(),
              complaint +
                  "export 0x51\nunexport +81\nexport 81\npin 81 low\npin 81 high\n"
                  "value 81 0\nvalue 81 1\nvalue 81 0\nedge 81 none\npin 81 in\n"
                  "pin 81 out\npin 81 in\nedge 81 falling\npin 81 low\nedge 81 falling\n" +
                  inverted + "2\npin 81 high\nvalue 81 1\npin 81 in\n" + inverted +
                  "0\nunexport 81\n");
}

// Paths stay below the root, nothing is created, opening changes nothing.
TEST_F(Board, keeps_to_the_files_it_has)
{
    EXPECT_EQ(write_to("dev/slic0.0", "+="), EINVAL);
    EXPECT_EQ(write_to("/dev/../lines", "80 0"), EINVAL);
    EXPECT_EQ(write_to("/dev/slic9", "+=", O_WRONLY | O_CREAT), ENOENT);
    EXPECT_EQ(write_to("//sys/class//gpio/./export", "80"), 0);
    EXPECT_EQ(write_to("/sys/class/gpio/gpio80/value", "1", O_RDONLY), EBADF);
    EXPECT_EQ(device_exists("/dev/slic0.0") + device_exists("/lines/../lines"), 1);

    EXPECT_EQ(write_to("/sys/class/gpio/export", "63"), EINVAL);
    EXPECT_EQ(write_to("/sys/class/gpio/export", "96"), EINVAL);
    EXPECT_EQ(write_to("/dev/slic0.0", "+="), 0);
    EXPECT_EQ(write_to("/dev/slic0.0", "-", O_WRONLY | O_APPEND), 0);
    EXPECT_EQ(content("/dev/slic0.0"), "-");

    const int held = device_open("/sys/class/gpio/gpio80/value", O_RDWR);
    const int fd = device_open("/sys/class/gpio/gpio80/direction", O_RDWR | O_TRUNC);
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(line("80"), "in\n1\nnone\n0\n");
    EXPECT_EQ(write_to("/sys/class/gpio/unexport", "80"), 0);
    EXPECT_EQ(device_write(fd, "out", 3), -1);
    EXPECT_EQ(errno, ENODEV);
    char level = 0;
    EXPECT_LE(pread(held, &level, 1, 0), 0);
    device_close(held);
    EXPECT_EQ(device_close(fd), 0);
    EXPECT_EQ(device_write(fd, "out", 3), -1);
    EXPECT_EQ(errno, EBADF);
}

// A watched line through its life: each mode with both edges, by a writer outside and by the
// board itself; one call for each edge that matches, none for another.
TEST_F(Board, wakes_the_loop_on_matching_edges)
{
    const std::string value = "/sys/class/gpio/gpio81/value";
    const std::string edge = "/sys/class/gpio/gpio81/edge";
    ASSERT_EQ(write_to("/sys/class/gpio/export", "81"), 0);
    _fdloop_t* loop = fdloop_init();
    const int plain = device_open("/dev/slic0.0", O_RDWR);
    EXPECT_EQ(fdloop_fd_register_except(loop, plain, count, nullptr), -EPERM);
    device_close(plain);
    const int fd = device_open(value.c_str(), O_RDWR);
    int calls = 0;
    ASSERT_EQ(fdloop_fd_register_except(loop, fd, count, &calls), 0);
    EXPECT_EQ(fdloop_fd_register_except(loop, fd, count, &calls), -EEXIST);
    const auto calls_after = [&](const std::string& what) {
        calls = 0;
        if (!what.empty())
            put(value, what);
        run_loop(1);
        return calls;
    };

    EXPECT_EQ(calls_after(""), 0); // the level at registration is no edge
    const struct {
        const char* mode;
        int falling, rising;
    } modes[] = {{"none", 0, 0}, {"rising", 0, 1}, {"falling", 1, 0}, {"both", 1, 1}};
    for (const auto& [mode, falling, rising] : modes) {
        SCOPED_TRACE(mode);
        ASSERT_EQ(write_to(edge.c_str(), mode), 0);
        EXPECT_EQ(calls_after("0\n"), falling);
        EXPECT_EQ(calls_after("0"), 0);
        EXPECT_EQ(calls_after("1\n"), rising);
    }
    EXPECT_EQ(write_to("/sys/class/gpio/gpio81/direction", "low"), 0);
    EXPECT_EQ(calls_after(""), 1);

    for (const char* const no_change : {"on", "0\n"})
        EXPECT_EQ(calls_after(no_change), 0) << no_change;
    put("/new", "1\n"); // in its place
    fs::rename(root_ + "/new", root_ + value);
    const int fresh = device_open(value.c_str(), O_RDWR);
    EXPECT_EQ(calls_after(""), 1);

    // More changes than the kernel's queue holds: the level at the end counts.
    const int mode = device_open(edge.c_str(), O_RDWR);
    for (int i = 0; i < 20000; ++i) {
        EXPECT_EQ(pwrite(fresh, i % 2 == 0 ? "1\n" : "0\n", 2, 0), 2);
        EXPECT_EQ(pwrite(mode, "both\n", 5, 0), 5);
    }
    device_close(mode);
    EXPECT_EQ(calls_after(""), 1);

    EXPECT_EQ(fdloop_fd_unregister_except(loop, fd), 0);
    EXPECT_EQ(calls_after("1\n"), 0);
    ASSERT_EQ(fdloop_fd_register_except(loop, fresh, count, &calls), 0);
    EXPECT_EQ(calls_after("0\n"), 1);
    EXPECT_EQ(write_to("/sys/class/gpio/unexport", "81"), 0);
    EXPECT_EQ(calls_after(""), 0);
    EXPECT_EQ(fdloop_fd_unregister_except(loop, fresh), 0);
    device_close(fresh);
    device_close(fd);
}

// The loop would stand still with whoever should have held the other end.
TEST_F(Board, waits_for_no_pipe_in_a_devices_place)
{
    const char* const device = "/dev/slic0.0";
    const std::string pipe = root_ + device;
    std::filesystem::remove(pipe);
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(write_to(device, "+"), ENXIO);
    const host::Descriptor reader(open(pipe.c_str(), O_RDONLY | O_NONBLOCK));
    int written = 0;
    while (written < 100 && write_to(device, std::string(4096, '=')) == 0)
        ++written;
    EXPECT_GT(written, 0);
    EXPECT_EQ(write_to(device, "+"), EAGAIN);

    // Nor for one in the place of a line's file.
    EXPECT_EQ(write_to("/sys/class/gpio/export", "80"), 0);
    const std::string value = root_ + "/sys/class/gpio/gpio80/value";
    std::filesystem::remove(value);
    ASSERT_EQ(mkfifo(value.c_str(), 0600), 0);
    EXPECT_EQ(write_to("/sys/class/gpio/gpio80/direction", "high"), ENXIO);
}

// Without a root the machine's files are meant, untouched but for the journal.
TEST_F(Board, passes_through_without_a_root)
{
    unsetenv("AP_BOARD_ROOT");
    host::forget_instance();
    const std::string device = root_ + "/dev/slic0.0";
    EXPECT_EQ(write_to("/dev/null", "1\n"), 0);
    EXPECT_EQ(write_to("/dev/full", "1"), ENOSPC);
    EXPECT_EQ(write_to((device + "9").c_str(), "+", O_WRONLY | O_CREAT), ENOENT);
    EXPECT_EQ(write_to("dev/null", "+"), EINVAL);
    EXPECT_EQ(device_exists(device.c_str()) + device_exists("/dev/slic0.0"), 1);
    EXPECT_EQ(journal(), "file /dev/null 1\n");
}
