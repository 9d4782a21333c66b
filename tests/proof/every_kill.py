# SPDX-License-Identifier: MIT
"""The story again and again, with the server killed at every message, the daemon killed before
every write, and held in every kind of call. What is so in the end is so as without it.

    every_kill.py DAEMON LIBRARY [--model MODEL] [--short] [--only WHAT:CALL:NTH]
"""
import collections
import sys

sys.dont_write_bytecode = True  # the sources stay as they are
import story

WRITES = ("send", "write", "pwrite", "ftruncate", "truncate", "mkdir", "rename", "unlink", "rmdir")
# An event of which no key tells the next life.
SHORT_CIRCUIT = "event_handler.forwardEventReport", "\0\x04\1\0"

Case = collections.namedtuple("Case", "what call nth")
Hang = collections.namedtuple("Hang", "what call at")
End = collections.namedtuple("End", "keys files signals")


def prepare(directory):
    global terminal, wanted
    terminal = story.Terminal(directory, OPTIONS, True)
    terminal.begin()
    tell_from(0)
    wanted = end()


def tell_from(first):
    for step in story.STORY[first:]:
        terminal.step(step)


def tell_until_it_happens():
    """The number of the next step; None when nothing happened."""
    for done, step in enumerate(story.STORY):
        if terminal.page.fired:
            return done
        terminal.step(step)
    return len(story.STORY) if terminal.page.fired else None


def end():
    """All keys, all files of the board, and the last signal of each event, port and order."""
    keys = sorted(terminal.server.ask("KEYS", "*"))
    files = {str(path.relative_to(terminal.board)): path.read_text()
             for path in terminal.board.rglob("*") if path.is_file()}
    # Events and ports have a number in their first four bytes, and orders are all alike.
    signals = {(name, payload[:4]): payload for name, payload in terminal.server.heard()}
    return End(dict(zip(keys, terminal.server.ask("MGET", *keys))), files, signals)


def differences(before, now):
    return {key: (before.get(key), now.get(key)) for key in before.keys() | now.keys()
            if before.get(key) != now.get(key)}


def kill_server(case):
    """Before a message goes out, or what has come is read; it starts with its data, or without, and
    then others write theirs again."""
    terminal.begin(case.call, case.nth, 0, story.HELD)
    done = tell_until_it_happens()
    if done is None:
        return "not reached", ""
    empty = case.what == "empty server"
    terminal.server.dump.unlink(missing_ok=True)
    if not empty:
        terminal.server.ask("SAVE")
    terminal.server.kill()
    terminal.server.start()
    if empty:
        terminal.put(terminal.inputs)
    terminal.page.disarm()
    for _ in range(4):
        terminal.settle()
        terminal.page.advance(100)
    terminal.settle()
    outcome, wrong = "went on", ""
    if terminal.has_ended():
        outcome, wrong = refused()
        terminal.restart()
    tell_from(done)
    keys, files, _ = map(differences, wanted, end())
    return outcome, wrong or keys or files


def refused():
    terminal.told_manager()
    status, lines = terminal.process.returncode, len(terminal.lines())
    right = status == 1 and lines == 1 and not terminal.ready
    return "refused", "" if right else f"status {status}, {lines} lines, ready: {terminal.ready}"


def kill_daemon(case):
    terminal.begin(case.call, case.nth, 0, story.ENDED)
    done = tell_until_it_happens()
    if done is None:
        return "not reached", ""
    terminal.restart()
    tell_from(done)
    unlike = list(map(differences, wanted, end()))
    if done > 0 and story.STORY[done - 1] == story.SHORT:
        unlike[-1].pop(SHORT_CIRCUIT, None)
    return "went on", " ".join(str(some) for some in unlike if some)


def hang(case):
    """Held in a call: no sign of life comes in time. PID 1 starts it again then; if it goes on
    before that, it protects."""
    terminal.begin(case.call, case.at, 0, story.HELD)
    if tell_until_it_happens() is None:
        return "not reached", ""
    if terminal.beats():
        return "hung", "a sign of life"
    if case.at % 2 == 0:
        terminal.restart()
    else:
        terminal.page.disarm()
        terminal.settle()
    if terminal.has_ended():  # the server has waited too long
        return refused()
    return "hung", terminal.fault() or ("" if terminal.beats() else "no sign of life any more")


JUDGES = {"server": kill_server, "empty server": kill_server, "daemon": kill_daemon, "hang": hang}


def judged(case):
    try:
        outcome, wrong = JUDGES[case.what](case)
    except Exception as reason:  # whatever it is, the case must be named
        outcome, wrong = "broken", repr(reason)
    return case, outcome, wrong and f"{wrong} {terminal.lines()}"


def all_cases(directory):
    prepare(directory)
    counts = terminal.tell_all()
    stride = 13 if OPTIONS.short else 1
    for what, calls in {"server": ("send", "recv"), "empty server": ("send", "recv"),
                        "daemon": WRITES}.items():
        for call in calls:
            for nth in range(1, counts[call] + counts[call] // 10 + 5, stride):
                yield Case(what, call, nth)
    for call, count in counts.items():
        for at in {count // 2} if OPTIONS.short else {1, count // 2, count // 2 + 1, count}:
            if 0 < at <= count:
                yield Hang("hang", call, at)


OPTIONS = story.options_of(__doc__)
sys.exit(story.prove(OPTIONS, prepare, all_cases, judged))
