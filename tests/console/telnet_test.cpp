// SPDX-License-Identifier: MIT
#include "support/platform.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>

#include "ap/output.h"
#include "ap/shell.h"
#include "console/fdloop_telnetd.h"

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
constexpr shell_command_t hook_command{"/bin", "hook", hook, 4, "\n", {0, 0}};

class Client {
public:
    explicit Client(std::uint16_t port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const int held = 65536; // by the kernel for us; unasked it would hold megabytes
        setsockopt(socket_.get(), SOL_SOCKET, SO_RCVBUF, &held, sizeof held);
        sockaddr_in address{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
        EXPECT_EQ(connect(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        run_loop();
    }
    ~Client() { hang_up(); }
    void hang_up()
    {
        socket_ = host::Descriptor();
        run_loop();
    }
    void type(std::string_view text)
    {
        while (!text.empty()) {
            const ssize_t sent =
                send(socket_.get(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
            ASSERT_TRUE(sent > 0 || errno == EAGAIN);
            text.remove_prefix(sent > 0 ? static_cast<std::size_t>(sent) : 0);
            run_loop();
        }
        run_loop();
    }
    // What has come; "(end)" behind it when the connection has ended.
    std::string seen()
    {
        std::string all;
        std::array<char, 65536> part;
        ssize_t length = 0;
        while ((length = recv(socket_.get(), part.data(), part.size(), MSG_DONTWAIT)) > 0)
            all.append(part.data(), static_cast<std::size_t>(length));
        return length == 0 ? all + "(end)" : all;
    }
    // All that comes up to that; the kernel hands on what it holds in its own time.
    std::string seen_to(std::string_view last)
    {
        std::string all;
        std::size_t searched = 0;
        for (int patience = 10'000; patience > 0 && all.find(last, searched) == all.npos;
             --patience) {
            searched = all.size() - std::min(all.size(), last.size());
            const std::string part = seen();
            if (part.empty())
                usleep(1000);
            all += part;
            run_loop();
        }
        return all;
    }
    std::string answer(std::string_view text)
    {
        type(text);
        return seen();
    }

private:
    host::Descriptor socket_;
};

class Telnet : public testing::Test {
protected:
    Telnet()
    {
        connect_platform();
        host::instance().log.set_sink(
            [](int, std::string_view text) { console_log.emplace_back(text); });
        EXPECT_EQ(shell_command_add_sorted(&hook_command), 0);
        qv_set_default_sig_handlers();
        const int before = dup(0); // the listening socket gets this number
        close(before);
        EXPECT_EQ(fdloop_telnetd_init(fdloop_init(), "tcp*127.0.0.1*0", "box"), 0);
        sockaddr_in address{};
        socklen_t size = sizeof address;
        EXPECT_EQ(getsockname(before, reinterpret_cast<sockaddr*>(&address), &size), 0);
        port_ = ntohs(address.sin_port);
    }
    void TearDown() override { fdloop_telnetd_close(); }

    std::uint16_t port_;
};

void limit_descriptors(rlim_t most)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = most;
    setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace

TEST(TelnetBytes, are_cut_and_filtered)
{
    testing::internal::CaptureStdout();        // without a connection
    EXPECT_EQ(qv_printf("%5000d\n", 7), 4095); // cut, line end and all
    EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(4095, ' '));
    EXPECT_EQ(fdputs(-1, "a\nb", 3) + fdputs(1, "x", -1), 0);
    EXPECT_EQ(fdloop_telnet_get_fd() + fdloop_telnet_hook_input(keep_input, nullptr), -2);

    const std::pair<std::string, std::string> inputs[] = {{"\xff\xfd\x01ls\r\n", "ls\r\n"},
                                                          {"a\xff\x01", "a\xff\x01"},
                                                          {"\xff\xfb\x01\xff\xfb\x03", ""},
                                                          {"a\xff\xff\xffz\xff\xff", "az\xff\xff"}};
    for (const auto& [received, left] : inputs) {
        std::string data = received;
        data.resize(static_cast<std::size_t>(
            telnet_input_filter(data.data(), static_cast<int>(data.size()))));
        EXPECT_EQ(data, left);
    }
}

TEST_F(Telnet, serves_two_clients_apart)
{
    Client one(port_);
    Client two(port_);
    EXPECT_EQ(one.seen() + two.seen(), std::string(greeting) + std::string(greeting));
    EXPECT_EQ(fdloop_telnet_get_fd(), -1);

    EXPECT_EQ(one.answer("config watch k\r"), "config watch k\r\nbox> ");
    EXPECT_TRUE(one.answer("config watch k.b\rconfig watch k\rconfig watch\r")
                    .ends_with("config: k: File exists\r\nbox> config watch\r\nk\r\nk.b\r\nbox> "));
    two.answer("config set k.b 5 k.c text other 1\rconfig del k.c\r");
    // A line a turn: what the first has written is told before the second runs.
    EXPECT_EQ(one.seen(), "\rset k.b 5\r\nset k.c text\r\nbox> \rdel k.c\r\nbox> ");
    one.answer("config unwatch k\rhalf\x1b[D");
    two.answer("config set k.b 6 k.c 6\r");
    EXPECT_EQ(one.seen(), "\rset k.b 6\r\nbox> half\b");
    EXPECT_EQ(two.answer("nothing\r"), "nothing\r\nnothing: no such command; try 'help'\r\nbox> ");
    one.hang_up();
    config_write_int("k.b", 2); // the watch ends with its connection
    run_loop();
    EXPECT_EQ(two.answer("exit\rconfig set k.b 3\r"), "exit\r\n(end)");
    Client three(port_);
    EXPECT_EQ(three.answer("config get k.b\r"),
              std::string(greeting) + "config get k.b\r\n2\r\nbox> ");
    EXPECT_EQ(three.answer("\x04"), "\r\n(end)");
}

TEST_F(Telnet, lines_that_come_together_take_a_turn_each)
{
    Client client(port_);
    const auto callbacks = [] { return host::instance().loop->statistics().callbacks; };
    const auto before = callbacks();
    std::string lines;
    std::string answers(greeting);
    for (int i = 0; i < 200; ++i) {
        lines += "\r\n";
        answers += "\r\nbox> ";
    }
    EXPECT_EQ(client.answer(lines), answers);
    EXPECT_GE(callbacks(), before + 200);
}

TEST_F(Telnet, a_long_listing_goes_with_its_reader)
{
    const std::string value(150, 'v');
    std::string all;
    for (int i = 10'000; i < 100'000; ++i) { // far more than the kernel holds for a client
        const std::string key = "long." + std::to_string(i);
        put_value(key, value);
        all.append(key).append(" = ").append(value).append("\r\n");
    }
    put_value("short", "1");
    run_loop();
    const std::string command = "config list long\r";
    const std::string begin = std::string(greeting) + "config list long\r\n";
    Client client(port_);
    Client other(port_);
    other.seen();
    client.type(command + "config get short\r"); // which waits
    EXPECT_EQ(other.answer("config get short\r"), "config get short\r\n1\r\nbox> ");
    const std::string end = "box> config get short\r\n1\r\nbox> ";
    EXPECT_TRUE(client.seen_to(end) == begin + all + end);

    // ^C ends it, but not when it belongs to a telnet command; changes go between the lines.
    Client cut(port_);
    cut.type("config watch short\r" + command + "\xff\xfd\x03");
    put_value("short", "2");
    run_loop();
    std::string seen = cut.seen_to("\r\nset short 2\r\n");
    cut.type("typed before\x03 config get short\r");
    seen += cut.seen_to("config get short\r\n2\r\nbox> ");
    EXPECT_LT(seen.size(), all.size());
    EXPECT_NE(seen.find("\r\nset short 2\r\nlong."), std::string::npos);
    EXPECT_TRUE(seen.ends_with("^C\r\nbox>  config get short\r\n2\r\nbox> "))
        << seen.substr(seen.size() - 100);

    // Its end is the listing's.
    Client gone(port_);
    gone.type(command);
    gone.hang_up();
    const auto before = host::instance().loop->statistics().callbacks;
    run_loop();
    EXPECT_EQ(host::instance().loop->statistics().callbacks, before);
}

TEST_F(Telnet, a_hook_takes_the_input)
{
    Client client(port_);
    client.answer("hook k\r");
    EXPECT_EQ(client.answer("\xff\xfd\x03quit\r") + hooked, "quit\r");

    Client closing(port_);
    closing.answer("hook c\r");
    EXPECT_EQ(closing.answer("x"), "(end)");
    Client next(port_); // gets the same descriptor
    closing.hang_up();
    EXPECT_EQ(next.answer("\r"), std::string(greeting) + "\r\nbox> ");
}

TEST_F(Telnet, clients_are_turned_away_when_descriptors_get_short)
{
    limit_descriptors(200); // a client takes two here
    std::vector<std::unique_ptr<Client>> clients;
    std::string last(greeting);
    while (last == greeting && clients.size() < 90) {
        clients.push_back(std::make_unique<Client>(port_));
        last = clients.back()->seen();
    }
    EXPECT_EQ(last, "Too many console connections, try again later\r\n(end)");
    EXPECT_GT(clients.size(), 50U);
    clients.front()->hang_up();
    run_loop();
    Client again(port_);
    EXPECT_EQ(again.seen(), greeting);
}

TEST_F(Telnet, running_out_of_descriptors_is_logged_once_and_wakes_nobody)
{
    run_loop();                       // sanitizers need descriptors for what they see first,
    const std::uint16_t port = port_; // such as this object
    std::vector<int> taken;
    limit_descriptors(64);
    const std::string line = "Console: clients are turned away: Too many open files\n";
    for (std::size_t time = 1; time <= 2; ++time) {
        for (int fd = dup(0); fd >= 0; fd = dup(0))
            taken.push_back(fd);
        for (int i = 0; i < 3; ++i) {
            close(taken.back()); // for the client's own end,
            if (i == 0)
                close(taken.front()); // and one to accept it with, but none to see whose it is
            Client client(port);
            EXPECT_EQ(client.seen(), "(end)");
            run_loop();
            const auto before = host::instance().loop->statistics().callbacks;
            run_loop();
            EXPECT_EQ(host::instance().loop->statistics().callbacks, before);
            client.hang_up();
            taken.back() = dup(0);
            taken.front() = i == 0 ? dup(0) : taken.front();
            EXPECT_EQ(console_log, std::vector<std::string>(time, line));
        }
        for (const int fd : taken)
            close(fd);
        taken.clear();
        Client client(port);
        EXPECT_EQ(client.seen(), greeting);
    }
}
