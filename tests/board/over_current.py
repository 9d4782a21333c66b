# SPDX-License-Identifier: MIT
"""The over-current line of a qv1608B, moved from outside."""
import re
import threading
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


def burst(machine):
    for _ in range(4):
        pulse(machine)
        time.sleep(0.25)


def rising_edge(report, terminal):
    machine = terminal.machine
    machine.drive(LINE, 0)
    wait_for_end(terminal, terminal.mark(), 6)
    mark = terminal.mark()
    machine.drive(LINE, 1)
    time.sleep(1.3)
    report.same("a rising edge is none", fault_story(terminal, mark), [])


def persistent_short(report, terminal, cycles=4):
    """The wire falls 50 ms after each time that power is switched on, and rises without power:
    what a switch with a short behind it does."""
    machine, mark, begin = terminal.machine, terminal.mark(), time.monotonic()
    left = [cycles]
    over = threading.Event()

    def switch(line, level):
        if line != POWER:
            return
        if level == 1:
            machine.drive(LINE, 1)
        elif left[0] > 1:
            left[0] -= 1
            time.sleep(0.05)
            machine.drive(LINE, 0)
        else:
            over.set()

    machine.react(switch)
    machine.drive(LINE, 0)
    over.wait(cycles * 2 + 5)
    machine.react(None)
    story = wait_for_end(terminal, mark, 6)
    report.same(f"short that persists: {cycles} cycles under one event", words(story),
                [RAISE, *CYCLE * cycles, CLEAR])
    off = [at for at, text in story if text == OFF]
    gaps = [(later - earlier) / 1000 for earlier, later in zip(off, off[1:])]
    report.check(f"short that persists: a cycle a second after each edge ({gaps})",
                 len(gaps) == cycles - 1 and all(1.05 <= gap <= 1.6 for gap in gaps), story)
    report.same("short that persists: the wire went off and on with each cycle",
                [level for _, level in machine.outputs(POWER, begin)], [1, 0] * cycles)


def run(report, terminal):
    report.section("Over-current")
    machine = terminal.machine
    one_fault(report, terminal, "one edge", lambda: pulse(machine))
    one_fault(report, terminal, "burst", lambda: burst(machine))
    # Edges faster than the daemon can be woken.
    one_fault(report, terminal, "bounce", lambda: machine.drive(LINE, *[0, 1] * 500))
    persistent_short(report, terminal)
    rising_edge(report, terminal)
    report.same("the bus carried each event's begin and end",
                re.findall(r"(raise|clear) USB short circuit", terminal.ask("bus")),
                ["raise", "clear"] * 5)
