// SPDX-License-Identifier: MIT
// The console's door.
#include "host/net/peer_access.h"

#include <arpa/inet.h>
#include <linux/capability.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cstddef>

#include "ap/socket.h"
#include "host/net/socket_owner.h"
#include "support/platform.h"
#include "support/process.h"

namespace {

sockaddr_in ipv4(const char* address, std::uint16_t port)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    inet_pton(AF_INET, address, &result.sin_addr);
    return result;
}

// For kernels that cannot be asked.
TEST(SocketOwner, IsFoundInATable)
{
    const std::string heading =
        "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when "
        "retrnsmt   uid  timeout inode\n";
    const std::string middle = " 00000000:00000000 00:00000000 00000000 ";
    const auto row = [&](const char* ends_and_state, const char* uid, const char* inode = "12345") {
        return std::string("   0: ") + ends_and_state + middle + uid + "        0 " + inode +
               " 1\n";
    };
    const struct {
        std::string table;
        int owner; // -1: not there
    } cases[] = {
        {"", -1},
        {row("0100007F:9C40 0100007F:089D 01", "1000"), 1000},
        {row("0100007F:089D 0100007F:9C40 01", "0"), -1},      // the daemon's own end
        {row("0100007F:9C40 0100007F:089D 05", "0", "0"), -1}, // closed by its process
        {row("0100007F:9C40 0100007F:089D 05", "1000"), 1000}, // closed for writing only
        {row("0200007F:9C40 0100007F:089D 01", "1000"), -1},   // another client
        {row("0100007F:9C41 0100007F:089D 01", "0"), -1},
        {row("0000000000000000FFFF00000100007F:9C40 0000000000000000FFFF00000100007F:089D 01",
             "65534"),
         65534},
        {"   0: 0100007F:9C40 0100007F:089D 01\n", -1}, // cut
        {"   0: 0100007F:9C40 0100007F:089D 01" + middle + "root 0\n", -1},
    };
    for (const auto& c : cases) {
        std::string text = heading + c.table;
        std::FILE* const table = fmemopen(text.data(), text.size(), "r");
        uid_t owner = 0;
        const int error = host::find_socket_owner(table, ipv4("127.0.0.1", 40000),
                                                  ipv4("127.0.0.1", 2205), owner);
        std::fclose(table);
        EXPECT_EQ(error == 0 ? static_cast<int>(owner) : -1, c.owner) << c.table;
    }
}

constexpr uid_t nobody = 65534;

// The console's server socket, its clients, and what it logs.
class PeerAccess : public testing::Test {
protected:
    PeerAccess() : server_(listen())
    {
        socklen_t size = sizeof address_;
        getsockname(server_.get(), reinterpret_cast<sockaddr*>(&address_), &size);
    }

    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "only root can be another user";
    }

    // A process of that user that connects and waits until it is let go.
    Process knock(uid_t user, bool by_mapped_address = false) const
    {
        const pid_t child = fork();
        if (child != 0)
            return Process(child);
        close(server_.get()); // or its connection would outlive the server's end
        sockaddr_in6 mapped{};
        mapped.sin6_family = AF_INET6;
        mapped.sin6_port = address_.sin_port;
        inet_pton(AF_INET6, "::ffff:127.0.0.1", &mapped.sin6_addr);
        const auto* const to = by_mapped_address ? reinterpret_cast<const sockaddr*>(&mapped)
                                                 : reinterpret_cast<const sockaddr*>(&address_);
        const socklen_t size = by_mapped_address ? sizeof mapped : sizeof address_;
        // The user first: a socket belongs to who made it.
        const int user_set = setuid(user);
        const host::Descriptor client(socket(to->sa_family, SOCK_STREAM, 0));
        char byte = 0;
        const bool let_go = user_set == 0 && connect(client.get(), to, size) == 0 &&
                            read(client.get(), &byte, 1) == 0;
        _exit(let_go ? 0 : 1);
    }

    // 1 when that client is let in, else why not.
    int answer(Process child) const
    {
        int client = -EAGAIN;
        for (int i = 0; i < 500 && client == -EAGAIN; ++i) {
            client = socket_create_server_client(server_.get(), nullptr);
            usleep(2000);
        }
        if (client > 0)
            close(client);
        EXPECT_EQ(child.end(), "exit 0") << "the client was not let go";
        return client > 0 ? 1 : client;
    }

    std::string logged;

    host::Descriptor server_;
    sockaddr_in address_{};

private:
    int listen()
    {
        setenv("AP_LOG_LEVEL", "0", 1);
        static std::string* log = nullptr;
        log = &logged;
        host::instance().log.set_sink([](int, std::string_view text) { *log += text; });
        return socket_create_server("tcp*127.0.0.1*0", 0);
    }
};

TEST_F(PeerAccess, ClosesTheConnectionOfAnotherUser)
{
    EXPECT_EQ(answer(knock(nobody)), -EACCES);
    EXPECT_EQ(answer(knock(nobody, true)), -EACCES); // is not logged again,
    EXPECT_EQ(answer(knock(0, true)), 1);
    EXPECT_EQ(answer(knock(nobody)), -EACCES); // but now is
    const std::string line = "Console: a client of user 65534 is refused\n";
    EXPECT_EQ(logged, line + line);
    ASSERT_EQ(seteuid(nobody), 0); // a daemon of that user lets root in
    EXPECT_EQ(answer(knock(0)), 1);
    EXPECT_EQ(seteuid(0), 0);
}

TEST_F(PeerAccess, RefusesWhoIsGone)
{
    host::Descriptor client(socket(AF_INET, SOCK_STREAM, 0));
    ASSERT_EQ(connect(client.get(), reinterpret_cast<sockaddr*>(&address_), sizeof address_), 0);
    close(client.release());
    EXPECT_EQ(socket_create_server_client(server_.get(), nullptr), -EACCES);
    EXPECT_EQ(logged, "Console: a client whose user the kernel does not tell is refused\n");
    // The kernel names who listens there in place of a client that is not there.
    uid_t owner = 0;
    EXPECT_EQ(host::find_socket_owner(address_, ipv4("127.0.0.1", 1), owner), -ENOENT);
}

// What the packaged service's sandbox leaves of the machine: of /proc the processes only, three
// kinds of sockets; and no capability, where the service has one. False when this machine does not
// let that be had.
bool enter_sandbox()
{
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("proc", "/proc", "proc", 0, "subset=pid") != 0)
        return false;
    constexpr auto families = std::to_array<std::uint32_t>({AF_UNIX, AF_INET, AF_NETLINK});
    std::array filter = {
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 4),
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, families[0], 2, 0),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, families[1], 1, 0),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, families[2], 0, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAFNOSUPPORT),
    };
    const sock_fprog program{filter.size(), filter.data()};
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    const std::array<__user_cap_data_struct, 2> none{};
    return syscall(SYS_capset, &header, none.data()) == 0 &&
           prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST_F(PeerAccess, KnowsItsUsersInsideTheServicesSandbox)
{
    Process root = knock(0);
    if (!enter_sandbox()) {
        close(server_.release()); // lets the client go
        root.end();
        GTEST_SKIP() << "no such sandbox on this machine";
    }
    EXPECT_NE(access("/proc/net/tcp", F_OK), 0);
    EXPECT_EQ(socket(AF_INET6, SOCK_STREAM, 0), -1);
    EXPECT_EQ(answer(std::move(root)), 1);
    EXPECT_EQ(logged, "");
}

} // namespace
