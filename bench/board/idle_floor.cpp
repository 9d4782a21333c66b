// SPDX-License-Identifier: MIT
// The least that a C++ program which waits in epoll can be: what the daemon's resident memory is
// compared with. It has its events on the heap, and so the C++ library.
#include <sys/epoll.h>
#include <unistd.h>

#include <vector>

int main()
{
    const int queue = epoll_create1(EPOLL_CLOEXEC);
    int pipe_ends[2];
    std::vector<epoll_event> events(16, epoll_event{EPOLLIN, {}});
    if (queue < 0 || pipe(pipe_ends) != 0 ||
        epoll_ctl(queue, EPOLL_CTL_ADD, pipe_ends[0], events.data()) != 0)
        return 1;
    while (epoll_wait(queue, events.data(), 16, -1) < 0) {
        // interrupted: the wait has no other end
    }
    return 0;
}
