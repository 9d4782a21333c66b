# SPDX-License-Identifier: MIT
"""What the daemon costs: memory, wake-ups, processor time; and what nothing at all costs."""
import re
import time

from terminal import Terminal

IDLE_SECONDS = 20
CHANGES = 1000
BATCH = 5  # changes in one line of the console

# Times the resident memory of the least that a program can be. Without shared libraries that one
# carries only the few functions that it calls itself; see docs/performance.md.
MEMORY_KINDS = (("shared libraries", "-shared", 1.5), ("static", "", 1.95))

# Times the processor time of as many writes of a key that nobody watches: an emulated processor is
# as fast as the machine that emulates it has time.
CHANGE_KINDS = (("within an interval", (40, 41), 4), ("each across a boundary", (40, 54), 12))


def memory(machine, pid):
    """Resident memory in kB: all of it, and what no file backs."""
    _, text = machine.run(f"cat /proc/{pid}/smaps_rollup")
    sizes = {name: int(size) for name, size in re.findall(r"^(\w+):\s+(\d+) kB", text, re.M)}
    return sizes["Rss"], sizes["Anonymous"]


def wakeups(machine, pid):
    text = machine.read(f"/proc/{pid}/status")
    return int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", text, re.M).group(1))


def processor_ms(machine, pid):
    return int(machine.read(f"/proc/{pid}/schedstat").split()[0]) / 1e6


def settled_memory(measure_once):
    """The middle one of three starts: where the loader puts things makes a difference."""
    return sorted(measure_once() for _ in range(3))[1]


def floor_memory(machine, program):
    _, pid = machine.run(f"{program} </dev/null >/dev/null 2>&1 & echo $!")
    machine.run("sleep 0.3")
    sizes = memory(machine, int(pid))
    machine.run(f"kill {pid}; wait {pid}")
    return sizes


def daemon_memory(machine, program):
    terminal = Terminal(machine, "qv1608B", program)
    sizes = memory(machine, terminal.pid)
    terminal.stop()
    return sizes


def changes_ms(terminal, key, values):
    """Processor time of so many writes of a key, in ms."""
    before = processor_ms(terminal.machine, terminal.pid)
    for start in range(0, CHANGES, BATCH):
        pairs = (f"{key} {values[(start + i) % len(values)]}" for i in range(BATCH))
        terminal.ask("config set " + " ".join(pairs))
    return processor_ms(terminal.machine, terminal.pid) - before


def idle(report, terminal, expected):
    """Nothing but the timers that the model has may wake it."""
    time.sleep(0.5)
    before, busy = wakeups(terminal.machine, terminal.pid), \
        processor_ms(terminal.machine, terminal.pid)
    time.sleep(IDLE_SECONDS)
    count = wakeups(terminal.machine, terminal.pid) - before
    busy = processor_ms(terminal.machine, terminal.pid) - busy
    report.between(f"wake-ups in {IDLE_SECONDS} s, {busy:.1f} ms of processor", count, *expected)


def measure(report, machine):
    for kind, suffix, factor in MEMORY_KINDS:
        report.section(f"Memory, {kind} (kB: resident, of it data)")
        least = settled_memory(lambda: floor_memory(machine, f"/bin/idle_floor{suffix}"))
        sizes = settled_memory(lambda: daemon_memory(machine, f"/bin/power_man{suffix}"))
        report.check(f"daemon {sizes}, floor {least}: {sizes[0] / least[0]:.2f} of it, "
                     f"at most {factor}", sizes[0] <= factor * least[0], sizes)

    report.section("Idle on a qv1608B, whose copies of two temperatures go on every 5 s")
    terminal = Terminal(machine, "qv1608B")
    idle(report, terminal, (IDLE_SECONDS // 5 - 1, IDLE_SECONDS // 5 + 1))
    terminal.stop()

    report.section("Idle on a qv1101A, which has no timer")
    terminal = Terminal(machine, "qv1101A")
    idle(report, terminal, (0, 0))
    report.section(f"Processor time of {CHANGES} temperature changes (an emulated processor's)")
    terminal.ask("config set ram.status.psumcu.events.external_supply 0")
    other = changes_ms(terminal, "test.unwatched", (40, 54))
    for name, values, factor in CHANGE_KINDS:
        spent = changes_ms(terminal, "ram.status.battery.1.temperature", values)
        report.check(f"{name}: {spent:.0f} ms, {spent / other:.1f} times the {other:.0f} ms that "
                     f"writing alone takes, at most {factor}", spent <= factor * other, spent)
    report.check("boundaries were crossed", "raise EV_AP" in terminal.ask("journal"))
    log = terminal.log()
    others = [line for line in log.splitlines() if " -> " not in line]
    report.check(f"the log has the changes of interval, and little else ({len(others)} lines)",
                 len(others) < 50, "\n".join(others)[-2000:])
    terminal.stop()
