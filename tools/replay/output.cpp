// SPDX-License-Identifier: MIT
#include "output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace replay {
namespace {

// Looked at before the platform does, which opens /dev/null in the place of a standard descriptor
// that is closed: what is printed would be lost without a word.
struct AtStart {
    bool closed = fcntl(STDOUT_FILENO, F_GETFD) < 0;
};
[[gnu::init_priority(200)]] const AtStart standard_output;

} // namespace

Output::~Output()
{
    if (fd_ > STDERR_FILENO)
        ::close(fd_);
}

void Output::fail()
{
    error_ = name_ + ": " + std::strerror(errno);
    buffer_.clear();
}

bool Output::open(const std::string& path)
{
    name_ = path == "-" ? "standard output" : path;
    fd_ = path == "-" ? STDOUT_FILENO
                      : ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (path == "-" && standard_output.closed) {
        errno = EBADF;
        fd_ = -1;
    }
    if (fd_ < 0)
        fail();
    return fd_ >= 0;
}

void Output::flush()
{
    std::string_view rest = buffer_;
    while (!rest.empty() && !failed()) {
        const ssize_t written = ::write(fd_, rest.data(), rest.size());
        if (written >= 0)
            rest.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            fail();
    }
    buffer_.clear();
}

bool Output::close()
{
    flush();
    const int fd = fd_;
    fd_ = -1;
    if (fd > STDERR_FILENO && ::close(fd) != 0 && !failed())
        fail();
    return !failed();
}

} // namespace replay
