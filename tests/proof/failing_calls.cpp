// SPDX-License-Identifier: MIT
// To be preloaded into the daemon: counts its calls by name, and does something to the Nth of one
// name. It also moves the daemon's clock, so that nobody waits for a second. What it does stands in
// a page that it shares with the program that drives it, in the file that FAILING_CALLS names.
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>

// Functions by a table: only a macro writes them. The first two give a pointer.
// clang-format off
#define CALLS(X) \
    X(fopen) X(opendir) X(open) X(__open_2) X(read) X(__read_chk) X(pread) X(write) X(pwrite) \
    X(ftruncate) X(truncate) X(mkdir) X(rename) X(unlink) X(rmdir) X(access) X(stat) X(fstat) \
    X(readlink) X(fcntl) X(epoll_create1) X(epoll_ctl) X(eventfd) X(inotify_init1) \
    X(inotify_add_watch) X(socket) X(bind) X(listen) X(connect) X(accept4) X(getsockopt) \
    X(setsockopt) X(getsockname) X(getpeername) X(send) X(sendto) X(recv) X(poll)
// clang-format on

namespace {

enum Call : std::uint32_t {
#define NUMBER(name) call_##name,
    CALLS(NUMBER) call_malloc,
    call_close,
    call_epoll_wait,
    calls
};

enum Mode : std::uint32_t { once, from_then_on, one_byte, signalled, held, ended };

// As the driver packs it.
struct Page {
    std::int64_t clock_ahead_us; // added to the daemon's clock
    Call call;                   // `calls`: none
    std::uint32_t nth;           // 1: the first
    std::int32_t error;
    Mode mode;
    std::uint32_t released; // one that is held may go on
    std::uint32_t fired;    // what was to be done was done
    std::uint32_t idle;     // times that the loop has found nothing to do
    std::uint32_t woken;    // times that it has found something
    std::uint32_t counts[calls];
};

volatile Page& page()
{
    static volatile Page* there = nullptr;
    if (there != nullptr)
        return *there;
    const char* const name = std::getenv("FAILING_CALLS");
    const long file = name == nullptr ? -1 : syscall(SYS_openat, AT_FDCWD, name, O_RDWR);
    void* const memory =
        mmap(nullptr, sizeof(Page), PROT_READ | PROT_WRITE, MAP_SHARED, static_cast<int>(file), 0);
    if (memory == MAP_FAILED)
        syscall(SYS_exit_group, 126);
    syscall(SYS_close, file);
    prctl(PR_SET_PDEATHSIG, SIGKILL); // nothing is left behind when the driver is ended
    return *(there = static_cast<volatile Page*>(memory));
}

// A moment, or until one of them is ready.
void wait(pollfd* ends = nullptr, long count = 0)
{
    timespec moment{0, 300'000}; // the kernel writes what is left of it
    syscall(SYS_ppoll, ends, count, &moment, nullptr, 0);
}

// Whether this call is to fail, with errno; one that is held waits here.
bool struck(Call call)
{
    volatile Page& now = page();
    const std::uint32_t count = now.counts[call] + 1;
    now.counts[call] = count;
    if (now.call != call || count < now.nth || (count > now.nth && now.mode != from_then_on))
        return false;
    now.fired = 1;
    if (now.mode == ended)
        syscall(SYS_exit_group, 137); // nothing is flushed, nobody is told
    while (now.mode == held && now.released == 0)
        wait();
    if (now.mode == signalled)
        raise(SIGTERM);
    errno = now.error;
    return now.mode == once || now.mode == from_then_on;
}

// As many values as any of the functions takes: more do no harm.
using Function = long(long, long, long, long, long, long);

long attempt(Call call, const char* name, long a, long b, long c, long d, long e, long f)
{
    static void* next[calls] = {};
    volatile Page& now = page();
    if (struck(call))
        return call <= call_opendir ? 0 : -1;
    if (now.mode == one_byte && now.call == call && now.counts[call] == now.nth && c > 1)
        c = 1; // the size
    if (next[call] == nullptr)
        next[call] = dlsym(RTLD_NEXT, name);
    return reinterpret_cast<Function*>(next[call])(a, b, c, d, e, f);
}

long milliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1000 + time.tv_nsec / 1'000'000;
}

} // namespace

extern "C" {

#define NAME(name) #name " "
extern const char failing_calls[] = CALLS(NAME) "malloc close epoll_wait";

// Of another name here: the headers declare what they are like.
#define OWN(name)                                                                                  \
    Function own_##name asm(#name);                                                                \
    long own_##name(long a, long b, long c, long d, long e, long f)                                \
    {                                                                                              \
        return attempt(call_##name, #name, a, b, c, d, e, f);                                      \
    }
CALLS(OWN)

void* __libc_malloc(std::size_t size);

void* malloc(std::size_t size)
{
    return struck(call_malloc) ? nullptr : __libc_malloc(size);
}

// A descriptor is closed even by a close() that fails.
int close(int fd)
{
    const bool fails = struck(call_close);
    const long result = syscall(SYS_close, fd);
    errno = fails ? page().error : errno;
    return fails ? -1 : static_cast<int>(result);
}

int clock_gettime(clockid_t id, timespec* time) noexcept
{
    const long result = syscall(SYS_clock_gettime, id, time);
    if (result == 0 && id == CLOCK_MONOTONIC) {
        const std::int64_t us = time->tv_sec * 1'000'000 + time->tv_nsec / 1000;
        const std::int64_t now = us + page().clock_ahead_us;
        *time = {now / 1'000'000, now % 1'000'000 * 1000};
    }
    return static_cast<int>(result);
}

int nanosleep(const timespec* time, timespec*)
{
    volatile Page& now = page();
    now.clock_ahead_us = now.clock_ahead_us + time->tv_sec * 1'000'000 + time->tv_nsec / 1000;
    return 0;
}

// Waits in small pieces, since the clock may be moved meanwhile.
int epoll_wait(int set, epoll_event* events, int, int patience)
{
    volatile Page& now = page();
    if (struck(call_epoll_wait))
        return -1;
    for (const long begin = milliseconds();;) {
        const long count = syscall(SYS_epoll_pwait, set, events, 1, 0, nullptr, 0);
        now.woken = now.woken + (count != 0 ? 1 : 0);
        if (count != 0 || (patience >= 0 && milliseconds() - begin >= patience))
            return static_cast<int>(count);
        now.idle = now.idle + 1;
        pollfd ready{set, POLLIN, 0};
        wait(&ready, 1);
    }
}

} // extern "C"
