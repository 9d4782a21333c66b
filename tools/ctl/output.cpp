// SPDX-License-Identifier: MIT
#include "output.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace ctl {
namespace {

bool write_all(int fd, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(fd, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) { // somebody else's descriptor, made so by them
            pollfd reader{fd, POLLOUT, 0};
            poll(&reader, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace

bool print(std::string_view text)
{
    if (write_all(STDOUT_FILENO, text))
        return true;
    complain("standard output: " + std::string(std::strerror(errno)));
    return false;
}

void complain(std::string_view text)
{
    std::string line = "power_manctl: ";
    line += text;
    line += '\n';
    write_all(STDERR_FILENO, line); // there is nobody else to tell
}

} // namespace ctl
