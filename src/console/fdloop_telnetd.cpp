// SPDX-License-Identifier: MIT
#include "console/fdloop_telnetd.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "ap/log.h"
#include "ap/output.h"
#include "ap/shell.h"
#include "ap/socket.h"
#include "base/assertion.h"
#include "console/standard_output.h"

namespace {

constexpr const char* source_name = "fdloop_telnetd";
constexpr std::size_t output_size = 4096;
constexpr std::size_t input_size = 1024;

class OwnedDescriptor {
public:
    explicit OwnedDescriptor(int fd = -1) : fd_(fd) {}
    OwnedDescriptor(const OwnedDescriptor&) = delete;
    OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;
    ~OwnedDescriptor() { reset(-1); }

    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }
    void reset(int fd)
    {
        if (fd_ >= 0)
            close(fd_);
        fd_ = fd;
    }

private:
    int fd_;
};

struct FreeShell {
    void operator()(qv_cshell_t* shell) const { qv_cshell_free(shell); }
};

struct telnet_conn {
    OwnedDescriptor descriptor;
    std::unique_ptr<qv_cshell_t, FreeShell> shell;
    telnet_input_hook hook = nullptr;
    void* context = nullptr;

    telnet_conn(int fd, qv_cshell_t* new_shell) : descriptor(fd), shell(new_shell) {}
};

struct Console {
    const char* shell_name = "";
    telnet_conn* current = nullptr; // whose input is being handled
    OwnedDescriptor listening;
    OwnedDescriptor spare; // given up to turn a client away when descriptors have run out
    std::vector<std::unique_ptr<telnet_conn>> connections;
    bool failing = false; // to serve a client, and that was logged
};

Console console;

class Current {
public:
    explicit Current(telnet_conn* connection) { console.current = connection; }
    ~Current() { console.current = nullptr; }
    Current(const Current&) = delete;
    Current& operator=(const Current&) = delete;
};

int put(std::string_view text)
{
    return console.current == nullptr ? power_man::write_standard_output(text)
                                      : fdputs(console.current->descriptor.get(), text.data(),
                                               static_cast<int>(text.size()));
}

void hold_spare()
{
    console.spare.reset(eventfd(0, EFD_CLOEXEC));
}

void end_connection(const telnet_conn* connection)
{
    std::erase_if(console.connections,
                  [connection](const auto& candidate) { return candidate.get() == connection; });
}

// A client that cannot be accepted stays in the kernel's queue and keeps waking the loop. The
// spare descriptor lets it in, and out again.
void accept_failed(int listening, void* loop, int error)
{
    if (error == 0 || error == EAGAIN || error == EINTR || error == ECONNABORTED || error == EACCES)
        return; // nobody is waiting
    if (!std::exchange(console.failing, true))
        qv_slog(4, "Console: clients are turned away: %s\n", std::strerror(error));
    console.spare.reset(-1);
    const int client = socket_create_server_client(listening, loop);
    if (client > 0)
        close(client);
    hold_spare();
}

// The board's files and the bus need descriptors too: a quarter of them is not for clients.
bool leaves_enough(int client)
{
    rlimit limit{};
    return getrlimit(RLIMIT_NOFILE, &limit) != 0 ||
           static_cast<rlim_t>(client) < limit.rlim_cur / 4 * 3;
}

void turn_away(int client)
{
    constexpr std::string_view text = "Too many console connections, try again later\n";
    fdputs(client, text.data(), static_cast<int>(text.size()));
    close(client);
}

// Echo and prompt are short writes of their own: none may wait for the client's acknowledgement
// of the one before.
void send_at_once(int client)
{
    const int yes = 1;
    // Refused by what is no TCP socket; it is only slower then.
    setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
}

// What is left unread when the connection ends makes the kernel break it, and the client may lose
// the last output.
void drop_input(int client)
{
    constexpr int most_reads = 64; // of somebody who never stops
    std::array<char, input_size> data;
    for (int i = 0; i < most_reads && recv(client, data.data(), data.size(), MSG_DONTWAIT) > 0;
         ++i) {
    }
}

bool is_open(int fd)
{
    return fcntl(fd, F_GETFD) >= 0;
}

// What the connection's hook or shell makes of the data.
int handle_input(telnet_conn& connection, char* data, int length)
{
    const Current current(&connection);
    if (connection.hook != nullptr) {
        connection.hook(connection.context, data, length);
        return SHELL_OK;
    }
    return qv_cshell_process_buf(connection.shell.get(), data, length);
}

} // namespace

int fdloop_telnetd_init(_fdloop_t* loop, const char* address, const char* shell_name)
{
    const int listening = socket_create_server(address, 0);
    if (listening < 0)
        power_man::assertion_failed(source_name);
    console.listening.reset(listening);
    console.shell_name = shell_name;
    hold_spare();
    if (std::atexit(fdloop_telnetd_close) != 0)
        qv_slog(4, "Console: the listening socket will be closed by the kernel\n");
    const int result = fdloop_fd_register(loop, listening, fdloop_telnetd_accept, loop);
    if (result != 0)
        qv_slog(3, "Console: nobody is let in: %s\n", std::strerror(-result));
    return result;
}

int fdloop_telnetd_accept(int listening, void* loop)
{
    const int client = socket_create_server_client(listening, loop);
    if (client <= 0) {
        accept_failed(listening, loop, -client);
        return 0;
    }
    send_at_once(client);
    if (!leaves_enough(client)) {
        turn_away(client);
        return 0;
    }
    qv_cshell_t* const shell = qv_cshell_alloc(console.shell_name);
    if (shell == nullptr)
        power_man::assertion_failed(source_name);
    auto* const connection = new (std::nothrow) telnet_conn(client, shell);
    if (connection == nullptr)
        power_man::assertion_failed(source_name);
    console.connections.emplace_back(connection);

    telnet_command_init_default(client);
    {
        const Current current(connection);
        qv_cshell_prompt(shell);
    }
    const int result =
        fdloop_fd_register(static_cast<_fdloop_t*>(loop), client, fdloop_telnetd_input, connection);
    if (result == 0) {
        console.failing = false;
        return 0;
    }
    if (!std::exchange(console.failing, true))
        qv_slog(3, "Console: a connection is not served: %s\n", std::strerror(-result));
    end_connection(connection);
    return 0;
}

int fdloop_telnetd_input(int fd, void* user)
{
    auto& connection = *static_cast<telnet_conn*>(user);
    std::array<char, input_size> data;
    ssize_t length = recv(fd, data.data(), data.size(), MSG_PEEK);
    // A hook takes what has come; a shell one line a turn, so that all get theirs.
    if (length > 0 && connection.hook == nullptr)
        length = power_man::first_line(data.data(), static_cast<int>(length));
    if (length > 0)
        length = read(fd, data.data(), static_cast<std::size_t>(length));
    if (length < 0 && (errno == EAGAIN || errno == EINTR))
        return 0; // woken for nothing
    if (length <= 0) {
        end_connection(&connection);
        return -1;
    }
    const int result = handle_input(connection, data.data(),
                                    telnet_input_filter(data.data(), static_cast<int>(length)));
    if (result == SHELL_EXIT) {
        drop_input(fd);
        end_connection(&connection);
        return 1;
    }
    if (!is_open(fd)) { // a hook that was given the descriptor closed it
        connection.descriptor.release();
        end_connection(&connection);
        return -1;
    }
    return result;
}

// The shells go too: what they have registered must not outlive the platform's own state.
void fdloop_telnetd_close()
{
    console.listening.reset(-1);
    console.spare.reset(-1);
    console.current = nullptr;
    console.connections.clear();
}

int fdloop_telnet_hook_input(telnet_input_hook hook, void* context)
{
    if (console.current == nullptr)
        return -1;
    console.current->hook = hook;
    console.current->context = context;
    return console.current->descriptor.get();
}

int fdloop_telnet_get_fd(void)
{
    return console.current != nullptr ? console.current->descriptor.get() : -1;
}

int qv_vprintf(const char* format, va_list arguments)
{
    std::array<char, output_size> text;
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    const auto whole = static_cast<std::size_t>(std::max(length, 0));
    return put({text.data(), std::min(whole, text.size() - 1)});
}

int qv_puts(const char* text)
{
    return put(text);
}
