// SPDX-License-Identifier: MIT
#include "host/net/socket_owner.h"

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "host/base/descriptor.h"

namespace host {
namespace {

struct Query {
    nlmsghdr header;
    inet_diag_req_v2 request;
};

struct Answer {
    nlmsghdr header;
    union {
        nlmsgerr error;
        inet_diag_msg socket;
    };
};

Query query_for(const sockaddr_in& local, const sockaddr_in& remote)
{
    Query query{};
    query.header.nlmsg_len = sizeof query;
    query.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    query.header.nlmsg_flags = NLM_F_REQUEST; // without NLM_F_DUMP: that one socket
    query.request.sdiag_family = AF_INET;     // finds mapped ones, too: they hash alike
    query.request.sdiag_protocol = IPPROTO_TCP;
    query.request.idiag_states = UINT32_MAX;
    query.request.id.idiag_sport = local.sin_port;
    query.request.id.idiag_dport = remote.sin_port;
    query.request.id.idiag_src[0] = local.sin_addr.s_addr;
    query.request.id.idiag_dst[0] = remote.sin_addr.s_addr;
    query.request.id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    query.request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return query;
}

// The kernel answers within the call that sends.
int ask(const Query& query, Answer& answer)
{
    const Descriptor kernel(
        socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_SOCK_DIAG));
    if (!kernel || send(kernel.get(), &query, sizeof query, 0) < 0)
        return -errno;
    const ssize_t length = recv(kernel.get(), &answer, sizeof answer, 0);
    if (length < 0)
        return -errno;
    const auto size = static_cast<std::size_t>(length);
    if (answer.header.nlmsg_type == NLMSG_ERROR)
        return size >= NLMSG_LENGTH(sizeof answer.error) ? answer.error.error : -EBADMSG;
    return answer.header.nlmsg_type == SOCK_DIAG_BY_FAMILY && size >= sizeof answer ? 0 : -EBADMSG;
}

// As the tables print it: the address as the machine reads its bytes, the port as a number.
std::string table_form(const sockaddr_in& address)
{
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%08X:%04X", address.sin_addr.s_addr,
                  static_cast<unsigned int>(ntohs(address.sin_port)));
    return text.data();
}

bool same_end(const char* column, const std::string& end)
{
    constexpr const char* mapped_prefix = "0000000000000000FFFF0000";
    const std::size_t prefix = std::strlen(mapped_prefix);
    if (std::strncmp(column, mapped_prefix, prefix) == 0)
        column += prefix;
    return end == column;
}

} // namespace

int find_socket_owner(const sockaddr_in& local, const sockaddr_in& remote, uid_t& owner)
{
    Answer answer{};
    if (const int error = ask(query_for(local, remote), answer); error != 0)
        return error;
    // Where nothing is connected so, a socket that listens at `local` is taken for the answer. One
    // that its process has closed already has no inode, and goes by root's name.
    if (answer.socket.id.idiag_dport != remote.sin_port || answer.socket.idiag_inode == 0)
        return -ENOENT;
    owner = answer.socket.idiag_uid;
    return 0;
}

int find_socket_owner(std::FILE* table, const sockaddr_in& local, const sockaddr_in& remote,
                      uid_t& owner)
{
    const std::string from = table_form(local);
    const std::string to = table_form(remote);
    std::array<char, 512> line; // the kernel's are shorter
    while (std::fgets(line.data(), static_cast<int>(line.size()), table) != nullptr) {
        std::array<char, 48> near{};
        std::array<char, 48> far{};
        unsigned int user = 0;
        unsigned long inode = 0;
        if (std::sscanf(line.data(), "%*s %47s %47s %*s %*s %*s %*s %u %*s %lu", near.data(),
                        far.data(), &user, &inode) == 4 &&
            inode != 0 && same_end(near.data(), from) && same_end(far.data(), to)) {
            owner = user;
            return 0;
        }
    }
    return -ENOENT;
}

} // namespace host
