// SPDX-License-Identifier: MIT
#include "console/fdloop_telnetd.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ap/config.h"
#include "ap/log.h"
#include "ap/output.h"
#include "ap/shell.h"
#include "host/clock.h"
#include "host/host.h"
#include "host/logging.h"

namespace {

constexpr std::string_view greeting = "\xff\xfb\x01\xff\xfb\x03\xff\xfd\x03"
                                      "box> ";

std::vector<std::string> console_log;
std::string hooked;
int hook_result = 0;

void keep_input(void*, char* data, int length)
{
    hooked.append(data, static_cast<std::size_t>(length));
}

void close_own(void*, char*, int)
{
    close(hook_result);
}

int hook(int, char** argv)
{
    hook_result = fdloop_telnet_hook_input(argv[1][0] == 'k' ? keep_input : close_own, nullptr);
    return 0;
}

int print_fd(int, char**)
{
    return qv_printf("fd %d\n", fdloop_telnet_get_fd()) > 0 ? 0 : -1;
}

int flood(int, char**)
{
    const std::string text(3000, 'f');
    for (int i = 0; i < 10'000; ++i)
        qv_printf("%s\n", text.c_str());
    return 0;
}

constexpr shell_command_t commands[] = {{"/bin", "hook", hook, 4, "\n", {0, 0}},
                                        {"/bin", "fd", print_fd, 4, "\n", {0, 0}},
                                        {"/bin", "flood", flood, 4, "\n", {0, 0}}};

class Client {
public:
    explicit Client(std::uint16_t port) : fd_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        turn();
    }
    ~Client() { hang_up(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    static void turn() { host::instance().loop->run_for(0); }

    void hang_up()
    {
        if (fd_ >= 0)
            close(fd_);
        fd_ = -1;
    }

    void type(std::string_view text)
    {
        while (!text.empty()) {
            const ssize_t sent = send(fd_, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
            if (sent > 0)
                text.remove_prefix(static_cast<std::size_t>(sent));
            else if (errno != EAGAIN)
                break;
            turn();
        }
        turn();
    }

    // What has come; "(end)" behind it when the connection has ended.
    std::string seen()
    {
        std::string all;
        std::array<char, 65536> part;
        ssize_t length = 0;
        while ((length = recv(fd_, part.data(), part.size(), MSG_DONTWAIT)) > 0)
            all.append(part.data(), static_cast<std::size_t>(length));
        return length == 0 ? all + "(end)" : all;
    }

    std::string answer(std::string_view text)
    {
        type(text);
        return seen();
    }

    // As seen(), until it ends in `end`: what stands in the kernel's buffers takes its time.
    std::string wait_for(std::string_view end)
    {
        std::string all = seen();
        for (int i = 0; i < 500 && !all.ends_with(end); ++i) {
            pollfd ready{fd_, POLLIN, 0};
            poll(&ready, 1, 10);
            turn();
            all += seen();
        }
        return all;
    }

private:
    int fd_;
};

class Telnet : public testing::Test {
protected:
    Telnet()
    {
        host::clock::make_virtual();
        host::set_log_sink([](int, std::string_view text) { console_log.emplace_back(text); });
        for (const shell_command_t& command : commands)
            EXPECT_EQ(shell_command_add_sorted(&command), 0);
        qv_set_default_sig_handlers();
        _fdloop_t* const loop = fdloop_init();
        config_init_cbus(cbus_conn_create(loop, "test."), 0);
        const int before = dup(0); // the listening socket gets this number
        close(before);
        EXPECT_EQ(fdloop_telnetd_init(loop, "tcp*127.0.0.1*0", "box"), 0);
        sockaddr_in address{};
        socklen_t size = sizeof address;
        EXPECT_EQ(getsockname(before, reinterpret_cast<sockaddr*>(&address), &size), 0);
        port_ = ntohs(address.sin_port);
    }
    void TearDown() override { fdloop_telnetd_close(); }

    std::uint16_t port_;
};

std::string filtered(std::string data)
{
    data.resize(
        static_cast<std::size_t>(telnet_input_filter(data.data(), static_cast<int>(data.size()))));
    return data;
}

} // namespace

TEST(TelnetBytes, line_feeds_out_and_commands_in)
{
    const std::pair<std::string, std::string> outputs[] = {
        {"", ""},           {"\r\n", "\r\n"},         {"\n", "\r\n"},
        {"a\nb", "a\r\nb"}, {"a\n\nb", "a\r\n\r\nb"}, {"\r\n\n\r\nx\n", "\r\n\r\n\r\nx\r\n"},
        {"\n\r", "\r\n\r"},
    };
    std::array<int, 2> ends;
    ASSERT_EQ(pipe(ends.data()), 0);
    for (const auto& [text, sent] : outputs) {
        EXPECT_EQ(fdputs(ends[1], text.data(), static_cast<int>(text.size())),
                  static_cast<int>(sent.size()));
        std::string got(sent.size() + 1, '\0');
        EXPECT_EQ(write(ends[1], "|", 1), 1);
        EXPECT_EQ(read(ends[0], got.data(), got.size()), static_cast<ssize_t>(got.size()));
        EXPECT_EQ(got, sent + "|");
    }
    EXPECT_EQ(fdputs(ends[1], "x", -1), 0);
    close(ends[0]);
    close(ends[1]);
    EXPECT_EQ(fdputs(ends[1], "a\nb", 3), 0);

    EXPECT_EQ(filtered("\xff\xfd\x01ls\r\n"), "ls\r\n");
    EXPECT_EQ(filtered("a\xff\x01"), "a\xff\x01");
    EXPECT_EQ(filtered("\xff\xff\x01"
                       "b"),
              "b");
    EXPECT_EQ(filtered("\xff\xfb\x01\xff\xfb\x03\xff"), "\xff");
    EXPECT_EQ(filtered("a\xff\xff\xffz\xff\xff"), "az\xff\xff");
    EXPECT_EQ(filtered(""), "");
}

TEST(TelnetBytes, output_without_a_connection_goes_to_standard_output)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(qv_puts("a\nb\r\n"), 6);
    EXPECT_EQ(qv_printf("%5000d\n", 7), 4095); // cut, line end and all
    EXPECT_EQ(qv_printf("%d\n", 7), 3);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "a\r\nb\r\n" + std::string(4095, ' ') + "7\r\n");
    EXPECT_EQ(fdloop_telnet_get_fd(), -1);
    EXPECT_EQ(fdloop_telnet_hook_input(keep_input, nullptr), -1);
}

TEST(TelnetBytes, no_server_socket_stops_the_process)
{
    host::clock::make_virtual();
    EXPECT_DEATH(fdloop_telnetd_init(fdloop_init(), "tcp*nowhere*1", "box"),
                 "\\*\\*\\* ASSERT in fdloop_telnetd at [0-9]+");
}

TEST_F(Telnet, serves_two_clients_apart)
{
    Client one(port_);
    Client two(port_);
    EXPECT_EQ(one.seen(), greeting);
    EXPECT_EQ(two.seen(), greeting);
    const std::string first = one.answer("\xff\xfd\x01"
                                         "fd\r\n");
    const std::string second = two.answer("fd\r");
    EXPECT_TRUE(first.starts_with("fd\r\nfd ") && first.ends_with("\r\nbox> ")) << first;
    EXPECT_NE(first, second);
    EXPECT_EQ(fdloop_telnet_get_fd(), -1);

    EXPECT_EQ(one.answer("config watch k\r"), "config watch k\r\nbox> ");
    EXPECT_EQ(two.answer("config set k 1\r"), "config set k 1\r\nbox> ");
    EXPECT_EQ(one.seen(), "\rset k 1\r\nbox> ");
    EXPECT_EQ(two.answer("nothing\r"), "nothing\r\nnothing: no such command; try 'help'\r\nbox> ");
    one.hang_up();
    config_write_int("k", 2); // the watch ends with its connection
    Client::turn();
    EXPECT_EQ(two.answer("exit\rconfig set k 3\r"), "exit\r\n(end)");
    Client three(port_);
    EXPECT_EQ(three.seen(), greeting);
    EXPECT_EQ(three.answer("config get k\r"), "config get k\r\n2\r\nbox> ");
    EXPECT_EQ(three.answer("\x04"), "\r\n(end)");
}

TEST_F(Telnet, a_hook_takes_the_input)
{
    Client client(port_);
    client.answer("hook k\r");
    EXPECT_GT(hook_result, 0);
    EXPECT_EQ(client.answer("\xff\xfd\x01"
                            "exit\r"),
              "");
    EXPECT_EQ(hooked, "exit\r");

    Client closing(port_);
    closing.answer("hook c\r");
    EXPECT_EQ(closing.answer("x"), "(end)");
    Client next(port_); // gets the same descriptor
    EXPECT_EQ(next.seen(), greeting);
    closing.hang_up();
    EXPECT_EQ(next.answer("\r"), "\r\nbox> ");
}

TEST_F(Telnet, bad_clients_harm_nobody)
{
    Client good(port_);
    good.seen();
    Client garbage(port_);
    std::string bytes;
    for (unsigned int i = 0; i < 300'000; ++i)
        bytes += static_cast<char>(i * 7919U >> 3U);
    garbage.type(bytes);
    Client half(port_);
    half.type("\xff\xfd");
    EXPECT_EQ(half.answer("\x01"
                          "fo\x7f\x7f\r"),
              std::string(greeting) + "fo\b \b\b \b\r\nbox> ");
    Client endless(port_);
    endless.type(std::string(1'000'000, 'x'));
    EXPECT_EQ(endless.seen(), std::string(greeting) + std::string(255, 'x') + "\a");
    endless.type("\r");
    EXPECT_EQ(endless.wait_for("> "), "\r\nLonger than 255 characters: not run\r\nbox> ");
    Client deaf(port_);
    deaf.type("flood\rconfig set deaf 1\r"); // 30 MB, more than the kernel keeps
    Client gone(port_);
    gone.type("flood\r");
    gone.hang_up();
    EXPECT_EQ(good.answer("config get deaf\r"), "config get deaf\r\n1\r\nbox> ");
}

TEST_F(Telnet, clients_are_turned_away_when_descriptors_get_short)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = 200; // a client takes two here
    setrlimit(RLIMIT_NOFILE, &limit);
    std::vector<std::unique_ptr<Client>> clients;
    std::string last(greeting);
    while (last == greeting && clients.size() < 90) {
        clients.push_back(std::make_unique<Client>(port_));
        last = clients.back()->seen();
    }
    EXPECT_EQ(last, "Too many console connections, try again later\r\n(end)");
    EXPECT_GT(clients.size(), 50U);
    clients.front()->hang_up();
    Client::turn();
    Client again(port_);
    EXPECT_EQ(again.seen(), greeting);
}

TEST_F(Telnet, running_out_of_descriptors_is_logged_once_and_wakes_nobody)
{
    Client::turn(); // sanitizers need descriptors for what they see first
    const std::uint16_t port = port_;
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    std::vector<int> taken;
    rlimit few{64, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    for (int fd = dup(0); fd >= 0; fd = dup(0))
        taken.push_back(fd);
    for (int i = 0; i < 2; ++i) {
        close(taken.back()); // for the client's own end
        Client client(port);
        EXPECT_EQ(client.seen(), "(end)");
        Client::turn();
        const auto before = host::instance().loop->statistics().callbacks;
        Client::turn();
        EXPECT_EQ(host::instance().loop->statistics().callbacks, before);
        client.hang_up();
        taken.back() = dup(0);
    }
    EXPECT_EQ(console_log,
              std::vector<std::string>{"Console: clients are turned away: Too many open files\n"});
    for (const int fd : taken)
        close(fd);
    Client client(port_);
    EXPECT_EQ(client.seen(), greeting);
}
