# SPDX-License-Identifier: MIT
"""The over-current line of a qv1608B, moved from outside."""
import re
import time

POWER = 80  # active low: 0 switches USB on
LINE = 81   # falls when there is an over-current

RAISE = "raise USB short circuit"
CLEAR = "clear USB short circuit"
OFF = f"pin {POWER} high"
ON = f"pin {POWER} low"
CYCLE = [OFF, ON]

# A timer never fires early; how late depends on the machine that emulates the board.
SECOND = (0.99, 1.4)
WATCHED = (0.95, 1.4)  # begins before the power is switched, which takes its time


def fault_story(terminal, mark):
    """What happened to the event and the power since: (milliseconds, text)."""
    return [(at, text) for _, at, text in terminal.journal(mark)
            if text in (RAISE, CLEAR, OFF, ON)]


def events(terminal, mark):
    return [text for text in words(fault_story(terminal, mark)) if text in (RAISE, CLEAR)]


def words(story):
    return [text for _, text in story]


def wait_for_end(terminal, mark, seconds):
    """Waits until the event is cleared, and some more; the story."""
    end = time.monotonic() + seconds
    while CLEAR not in words(fault_story(terminal, mark)) and time.monotonic() < end:
        time.sleep(0.1)
    time.sleep(0.3)
    return fault_story(terminal, mark)


def seconds_between(story, first, then):
    """From one kind of line to the next of another kind."""
    start = next((at for at, text in story if text == first), None)
    ends = [at for at, text in story if text == then and start is not None and at >= start]
    return (ends[0] - start) / 1000 if ends else -1


def interrupts(machine):
    """The edges that the kernel has seen on the line."""
    found = re.search(r"^\s*\d+:\s+(\d+)\s+gpio-mxc\s+17 ", machine.read("/proc/interrupts"), re.M)
    return int(found.group(1)) if found else 0


def pulse(machine):
    """A short over-current; the time of its edge."""
    at = machine.drive(LINE, 1, 0)
    machine.drive(LINE, 1)
    return at


def one_fault(report, terminal, name, cause):
    """A cause that must lead to one event, one power cycle a second later, and the all-clear a
    second after it."""
    machine, mark, begin = terminal.machine, terminal.mark(), time.monotonic()
    cause()
    story = wait_for_end(terminal, mark, 6)
    report.same(f"{name}: one event, one power cycle, all clear", words(story),
                [RAISE, *CYCLE, CLEAR])
    report.between(f"{name}: seconds to the cycle", seconds_between(story, RAISE, OFF), *SECOND)
    report.between(f"{name}: seconds watched", seconds_between(story, ON, CLEAR), *WATCHED)
    report.same(f"{name}: the wire went off and on once",
                [level for _, level in machine.outputs(POWER, begin)], [1, 0])


def run(report, terminal):
    report.section("Over-current")
    machine = terminal.machine
    one_fault(report, terminal, "one edge", lambda: pulse(machine))
    # Edges faster than the daemon can be woken.
    one_fault(report, terminal, "bounce", lambda: machine.drive(LINE, *[0, 1] * 500))
    report.same("the bus carried each event's begin and end",
                re.findall(r"(raise|clear) USB short circuit", terminal.ask("bus")),
                ["raise", "clear"] * 2)
