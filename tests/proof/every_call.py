# SPDX-License-Identifier: MIT
"""The story again and again, with the Nth call of one name failing, N = 1, 2, ... until none is
left; with each error, once and from the Nth on, and with SIGTERM in the middle. The daemon must
refuse to start, with one line, or protect the terminal as soon as calls work again.

    every_call.py DAEMON LIBRARY [--shared] [--model MODEL] [--short] [--only CALL:NTH:ERROR:MODE]
"""
import collections
import errno
import sys

sys.dont_write_bytecode = True  # the sources stay as they are
import story

ERRORS = {
    "open __open_2 fopen opendir": "EMFILE EACCES EINTR",
    "read __read_chk pread": "EIO EINTR byte",
    "write pwrite": "EIO ENOSPC EINTR byte",
    "send": "EPIPE ENOBUFS EAGAIN EINTR byte",
    "recv": "ECONNRESET ENOMEM EAGAIN EINTR byte",
    "ftruncate truncate mkdir rename unlink rmdir": "EIO EACCES",
    "access stat fstat readlink": "ENOENT EIO",
    "fcntl getsockopt setsockopt getsockname getpeername": "EINVAL ENOBUFS",
    "close": "EIO EINTR",
    "epoll_create1 eventfd inotify_init1": "EMFILE ENOMEM",
    "epoll_ctl inotify_add_watch": "ENOMEM ENOSPC",
    "epoll_wait": "EBADF EINTR",
    "socket": "EMFILE ENOBUFS",
    "bind listen": "EADDRINUSE EACCES",
    "connect": "ECONNREFUSED EAGAIN EINTR",
    "accept4": "EMFILE ECONNABORTED EINTR",
    "sendto": "ECONNREFUSED EAGAIN EINTR",
    "poll": "ENOMEM EINTR",
    "malloc": "ENOMEM",
}
# Once only: a call that moves one byte, a signal that the daemon ignores or does not expect.
KINDS = {"byte": story.ONE_BYTE, "SIGTERM": story.SIGNALLED, "EINTR": story.ONCE}
# Without these it cannot go on: it may end at any time, and is started again.
VITAL = ("malloc", "epoll_wait")
MOST_AT_THE_END = 2  # lines: why, and who has given up because of it
MOST_REPEATED = 8  # times that one line may stand in the log, for as many requests
NO_CONSOLE = "Console: nobody is let in: "
OF_EACH_PIN = "write error"  # of a request to switch USB

Case = collections.namedtuple("Case", "call nth error mode")


def prepare(directory):
    global terminal
    terminal = story.Terminal(directory, OPTIONS, OPTIONS.shared)


def told(case):
    """Tells the story: what came of it, and what is wrong with that."""
    terminal.begin(case.call, case.nth, getattr(errno, case.error, 0), case.mode)
    for step in story.STORY:
        if not terminal.has_ended():
            terminal.step(step)
    fired = terminal.page.fired
    if terminal.has_ended():
        return how_it_ended(case)
    wrong = ""
    if fired:
        terminal.page.disarm()
        wrong = terminal.fault() or ("" if terminal.beats() else "no sign of life")
        wrong += "" if terminal.ready else " PID 1 waits for READY=1"
        if terminal.has_ended():
            return how_it_ended(case)
    status = terminal.stop()
    if not fired and not terminal.page.fired:
        return "not reached", f"stops with {status}" if status != 0 else ""
    if not OPTIONS.shared and any(NO_CONSOLE in line for line in terminal.lines()):
        return "no console", ""  # nobody could tell it a temperature
    may_fail = not fired and case.call in ("write", *VITAL)
    return "survived", wrong or (f"stops with {status}" if status is None or
                                 status != 0 and not may_fail else "")


def how_it_ended(case):
    terminal.told_manager()
    status = terminal.process.returncode
    lines = len(terminal.lines())
    wrong = ""
    if case.mode == story.SIGNALLED:
        orderly = status == 0 or status == -15 and not terminal.ready
        return "stopped", "" if orderly else f"status {status}"
    if status == 0:
        wrong = "status 0"
    if lines == 0 or lines > MOST_AT_THE_END and case.mode == story.ONCE and not terminal.ready:
        wrong += f" {lines} lines"
    if terminal.ready and case.call not in VITAL:
        wrong += " after it was ready"
    return ("ended" if terminal.ready else "refused"), wrong


def judged(case):
    try:
        outcome, wrong = told(case)
    except Exception as reason:  # whatever it is, the case must be named
        outcome, wrong = "broken", repr(reason)
    lines = terminal.lines()
    line, times = collections.Counter(lines).most_common(1)[0] if lines else ("", 0)
    if times > MOST_REPEATED and line != OF_EACH_PIN:
        wrong += f" {times} times: {line}"
    return case, outcome, wrong and f"{wrong} {lines}"


def all_cases(directory):
    """A tenth more than a story without a fault has calls: the last ones are not reached."""
    prepare(directory)
    counts = terminal.tell_all()
    for names, words in ERRORS.items():
        for call in names.split():
            errors = words.split()
            errors += ["SIGTERM"] if "EINTR" in errors else []
            stride = 1 if not OPTIONS.short else 97 if call == "malloc" else 11
            for error in errors[:1] if OPTIONS.short else errors:
                modes = [KINDS[error]] if error in KINDS else [story.ONCE, story.FROM_THEN_ON]
                for mode in modes[:1] if call == "malloc" else modes:
                    for nth in range(1, counts[call] + counts[call] // 10 + 5, stride):
                        yield Case(call, nth, error, mode)


OPTIONS = story.options_of(__doc__)
sys.exit(story.prove(OPTIONS, prepare, all_cases, judged))
