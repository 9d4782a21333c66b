// SPDX-License-Identifier: MIT
// The least that a C++ program which waits in epoll can be: what the daemon's resident memory is
// compared with.
#include <sys/epoll.h>
#include <unistd.h>

int main()
{
    const int queue = epoll_create1(EPOLL_CLOEXEC);
    int pipe_ends[2];
    epoll_event event{EPOLLIN, {}};
    if (queue < 0 || pipe(pipe_ends) != 0 ||
        epoll_ctl(queue, EPOLL_CTL_ADD, pipe_ends[0], &event) != 0)
        return 1;
    while (epoll_wait(queue, &event, 1, -1) < 0) {
        // interrupted: the wait has no other end
    }
    return 0;
}
