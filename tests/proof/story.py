# SPDX-License-Identifier: MIT
"""A terminal on which one story is told again and again: the real daemon on an emulated board, with
either of the databases, and with failing_calls preloaded. Whoever tells it says what fails."""
import argparse
import collections
import ctypes
import mmap
import multiprocessing
import os
import pathlib
import re
import resource
import shutil
import socket
import subprocess
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
ONCE, FROM_THEN_ON, ONE_BYTE, SIGNALLED, HELD, ENDED = range(6)  # as failing_calls.cpp has them

READING = "rmcfg.sys.mainboard.temperature"
AMPLIFIER = "rmcfg.platform.hpa.temperature_state"
SETTLED = "ram.status.sw_update.settled"
REBOOT = "psumcu.powerctrl.reboot"
CLOSED = {f"ram.status.power_management.{name}": "1"
          for name in ("limit_background", "close_connections", "power_off")}
LAN, PHONE, USB = "cfg.interfaces.lan", "cfg.interfaces.phone", "cfg.interfaces.usb"
SHORT = "a short circuit of the USB supply, which is gone when the power comes back"
STORY = [  # the start is the first of the thirteen steps
    {READING: 73},
    {READING: 76},
    {READING: 81},
    SHORT,
    {f"{LAN}.0.poe.enabled": 1, "ram.status.interfaces.lan.enabled": 1},
    {SETTLED: 1},
    {f"{PHONE}.1.enabled": 1, f"{PHONE}.2.enabled": 1, "cfg.interfaces.isdn.enabled": 1},
    {f"{USB}.enabled": 0},
    {f"{USB}.enabled": 1, f"{USB}.extended_host_interface": 0},
    {AMPLIFIER: 3, "ram.status.psumcu.events.external_supply": 0},
    {READING: 50, AMPLIFIER: 0},
    {f"{PHONE}.2.enabled": 0, f"{LAN}.0.poe.enabled": 0},
]


DEAD_TIME_MS = 30_000  # as the service's unit has it; the daemon may say another one


def end_with_parent():
    """So that nothing is left when somebody ends the driver."""
    ctypes.CDLL(None).prctl(1, 9)


class Silence(Exception):
    """The other side does not answer."""


class Server:
    """A private Redis server, somebody else's client, and one that hears all signals."""

    def __init__(self, directory):
        self.path, self.dump = str(directory / "redis"), directory / "dump.rdb"
        self.start()

    def start(self):
        self.process = subprocess.Popen(
            ["redis-server", "--port", "0", "--unixsocket", self.path, "--save", "", "--dir",
             self.dump.parent, "--logfile", self.path + ".log"],
            preexec_fn=end_with_parent)
        self.client, self.signals = None, []
        while self.client is None:
            try:
                self.client, self.listener = self.connect(), self.connect()
            except OSError:
                time.sleep(0.002)
        self.ask("PSUBSCRIBE", "*", on=self.listener)

    def connect(self):
        connection = socket.socket(socket.AF_UNIX)
        connection.settimeout(10)
        connection.connect(self.path)
        return connection.makefile("rwb")

    def kill(self):
        self.process.kill()
        self.process.wait()

    def ask(self, *words, on=None):
        on = on or self.client
        words = [str(word).encode() for word in words]
        on.write(b"*%d\r\n" % len(words) + b"".join(b"$%d\r\n%s\r\n" % (len(w), w) for w in words))
        on.flush()
        return self.reply(on)

    def reply(self, on):
        line = on.readline()
        kind, rest = line[:1], line[1:-2].decode()
        if kind == b"$":
            return None if rest == "-1" else on.read(int(rest) + 2)[:-2].decode("latin-1")
        if kind == b"*":
            return [self.reply(on) for _ in range(int(rest))]
        if kind not in (b"+", b":"):
            raise Silence(f"the server says {line}")
        return rest

    def heard(self):
        """Names and payloads of all signals since the story's beginning."""
        reply = self.ask("PING", on=self.listener)
        while reply[0] != "pong":
            self.signals.append(tuple(reply[2:]))
            reply = self.reply(self.listener)
        return self.signals


class Page(ctypes.Structure):
    """What the daemon's calls and this program share; as failing_calls.cpp has it."""
    _fields_ = [("clock_ahead_us", ctypes.c_int64)] + [(word, ctypes.c_uint32) for word in (
        "call", "nth", "error", "mode", "released", "fired", "idle", "woken")] + [
            ("numbers", ctypes.c_uint32 * 64)]

    @classmethod
    def made(cls, path, library):
        path.write_bytes(bytes(mmap.PAGESIZE))
        with open(path, "r+b") as file:
            page = cls.from_buffer(mmap.mmap(file.fileno(), 0))
        names = ctypes.c_char.in_dll(ctypes.CDLL(library), "failing_calls")
        page.names = ctypes.string_at(ctypes.addressof(names)).decode().split()
        return page

    def arm(self, call=None, nth=0, error=0, mode=ONCE):
        """What is done to the next daemon's calls."""
        ctypes.memset(ctypes.addressof(self), 0, ctypes.sizeof(self))
        self.call = self.names.index(call) if call else len(self.names)
        self.nth, self.error, self.mode = nth, error, mode

    def disarm(self):
        """Calls work from now on, and one that is held goes on."""
        self.call, self.released = len(self.names), 1

    def holds(self):
        return self.fired and self.mode == HELD and not self.released

    def advance(self, milliseconds):
        self.clock_ahead_us += milliseconds * 1000

    def counts(self):
        return dict(zip(self.names, self.numbers))


class Terminal:
    """One board, database and daemon at a time; begin() makes all of them anew."""

    def __init__(self, directory, options, shared):
        end_with_parent()
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        self.directory = pathlib.Path(tempfile.mkdtemp(dir=directory))
        self.daemon, self.library = os.path.abspath(options.daemon), self.directory / "calls.so"
        self.library.symlink_to(os.path.abspath(options.library))  # a path without a blank
        self.page = Page.made(self.directory / "page", self.library)
        self.pristine, self.board = self.directory / "pristine", self.directory / "board"
        subprocess.run([ROOT / "board/make-board", options.model, self.pristine], check=True,
                       stdout=subprocess.DEVNULL)
        self.seed = dict(re.findall(r"^([^# ]\S*) *= *(.*)$", (self.pristine / "seed").read_text(),
                                    re.M))
        self.manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM | socket.SOCK_NONBLOCK)
        self.manager.bind(str(self.directory / "notify"))
        self.holder = socket.socket()  # of a port that nobody else gets
        self.holder.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.holder.bind(("127.0.0.1", 0))
        self.server = Server(self.directory) if shared else None
        self.process = self.console = None

    def begin(self, *what):
        """Starts the daemon, with what is to be done to its calls."""
        self.kill()
        shutil.rmtree(self.board, ignore_errors=True)
        shutil.copytree(self.pristine, self.board)
        self.inputs = dict(self.seed)
        if self.server:
            self.server.ask("FLUSHALL")
            self.put(self.inputs)
            self.server.heard()
            self.server.signals.clear()
        self.log = open(self.directory / "log", "w+b")
        self.page.arm(*what)
        self.start()

    def start(self):
        self.ready, self.dead_time_ms = False, DEAD_TIME_MS
        database = {"AP_DATABASE": f"unix:{self.server.path}"} if self.server else {
            "AP_DATABASE_SEED": self.board / "seed"}
        self.process = subprocess.Popen(
            [self.daemon], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=self.log,
            env={"LD_PRELOAD": self.library, "FAILING_CALLS": self.directory / "page",
                 "NOTIFY_SOCKET": self.directory / "notify", "AP_BOARD_ROOT": self.board,
                 "AP_CONSOLE_PORT": str(self.holder.getsockname()[1]), "AP_LOG_LEVEL": "4",
                 "WATCHDOG_USEC": str(1000 * self.dead_time_ms), **database})
        self.settle()

    def restart(self):
        """As PID 1 does. Whoever knows says again that the software update has settled: the daemon
        leaves PoE alone until then."""
        self.kill()
        self.page.arm()
        self.start()
        if SETTLED in self.inputs:
            self.step({SETTLED: 1})

    def kill(self):
        self.console = None
        if self.process:
            self.process.kill()
            self.process.wait()
            self.told_manager()

    def has_ended(self):
        return self.process.poll() is not None

    def told_manager(self):
        """What the daemon has told PID 1 since the last call."""
        heard = []
        try:
            while True:
                heard.append(self.manager.recv(300).decode())
        except BlockingIOError:
            self.ready = self.ready or "READY=1" in heard
            for given in re.findall(r"WATCHDOG_USEC=(\d+)", " ".join(heard)):
                self.dead_time_ms = int(given) // 1000
            return heard

    def beats(self):
        """Whether a sign of life comes in time, as PID 1 sees it."""
        self.told_manager()
        for _ in range(2):
            self.page.advance(self.dead_time_ms * 3 // 8)
            self.settle()
        return "WATCHDOG=1" in self.told_manager()

    def lines(self):
        self.log.seek(0)
        return self.log.read().decode().splitlines()

    def settle(self):
        """Until the daemon has nothing to do, has ended or is held. One whose calls go on failing
        may never come to rest."""
        failing = self.page.fired and self.page.mode == FROM_THEN_ON and not self.page.released
        deadline = time.monotonic() + (0.05 if failing else 10)
        woken = None
        while self.page.woken != woken:
            woken = self.page.woken
            for _ in range(2 if self.server else 1):
                idle = self.page.idle
                while self.page.idle - idle < 2:
                    if self.has_ended() or self.page.holds() or time.monotonic() > deadline:
                        return
                    time.sleep(0.0002)
                if self.server:
                    self.server.ask("PING")  # it has said all that it had to say

    def say(self, command):
        """On the daemon's console; its answer."""
        for _ in range(3):
            try:
                if self.console is None:
                    self.console = socket.create_connection(self.holder.getsockname(), 0.2)
                    self.until_prompt()
                self.console.sendall(command.encode() + b"\n")
                return self.until_prompt()
            except OSError:
                self.console = None
        raise Silence("the console does not answer")

    def until_prompt(self):
        text = b""
        while not text.endswith(b"power_man> "):
            piece = self.console.recv(65536)
            if not piece:
                raise ConnectionResetError
            text += piece
        return text.decode("latin-1").replace("\r", "").partition("\n")[2]

    def put(self, values):
        """Writes keys as another daemon does."""
        self.inputs |= values
        pairs = [str(word) for pair in values.items() for word in pair]
        if self.server:
            self.server.ask("MSET", *pairs)
        else:
            self.say("config set " + " ".join(pairs))

    def step(self, step):
        if step != SHORT:
            try:
                self.put(step)
            except Silence:
                pass  # it is seen in the end what came of it
            return self.settle()
        line = self.board / "sys/class/gpio/gpio81/value"
        for level in "01":
            if line.exists():
                line.write_text(level + "\n")
            self.settle()
        for _ in range(2):
            self.page.advance(1001)
            self.settle()

    def value(self, key):
        return self.server.ask("GET", key) if self.server else self.say(
            f"config get {key}").partition("\n")[0]

    def orders(self):
        if self.server:
            return sum(name == REBOOT for name, _ in self.server.heard())
        return self.say("journal --last 400").count(f"signal {REBOOT} ")

    def fault(self):
        """What is missing in the answer to the next hot reading; "" when it protects."""
        line = self.board / "sys/class/gpio/gpio252/value"  # the extended port's, if there is one
        try:
            for _ in range(20):
                self.step({READING: 40})
                before = self.orders()
                self.step({READING: 95})
                if self.has_ended():
                    return "it has ended"
                state = {key: self.value(key) for key in CLOSED}
                orders = self.orders() - before
                powered = line.exists() and line.read_text() != "0\n"
                if state == CLOSED and orders == 1 and not powered:
                    return ""
                self.page.advance(250)  # time to find the server again
                self.settle()
        except Silence as reason:
            return str(reason)
        return f"{state}, {orders} orders, the extended port {'on' if powered else 'off'}"

    def tell_all(self):
        """Without a fault, and sure that something happened. Gives the number of calls, by name."""
        self.begin()
        for step in STORY:
            self.step(step)
        if self.orders() != 1 or self.lines():
            raise AssertionError(f"a story with {self.orders()} orders, {self.lines()}")
        self.stop()
        self.kill()
        return self.page.counts()

    def stop(self):
        """Its status; None when it does not end."""
        self.process.terminate()
        deadline = time.monotonic() + 10
        while not self.has_ended() and time.monotonic() < deadline:
            time.sleep(0.0005)
        return self.process.returncode


def options_of(text):
    parser = argparse.ArgumentParser(description=text,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("daemon")
    parser.add_argument("library", help="failing_calls")
    parser.add_argument("--model", default="qv1608B")
    parser.add_argument("--shared", action="store_true", help="with a Redis server")
    parser.add_argument("--short", action="store_true", help="a sample of the cases")
    parser.add_argument("--only", metavar="CASE", help="one of them, named as it is printed")
    return parser.parse_args()


def prove(options, prepare, cases, judge):
    """Judges all cases, each a named tuple, with a terminal for each processor; prints how many
    came to what, by their first word. Of a series of cases `nth` the last must be behind the end.
    The status for the shell."""
    begin = time.monotonic()
    rows, last, wrong_ones = {}, {}, []

    def wanted(directory):
        return (case for case in cases(directory)
                if options.only in (None, ":".join(map(str, case))))

    memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None  # files go faster there
    with tempfile.TemporaryDirectory(dir=memory, prefix="power_man_") as directory, \
            multiprocessing.Pool(None, prepare, (directory,)) as pool:
        for case, outcome, wrong in pool.imap_unordered(judge, wanted(directory), 4):
            rows.setdefault(case[0], collections.Counter())[outcome] += 1
            if hasattr(case, "nth"):
                series = case._replace(nth=0)
                last[series] = max(last.get(series, (0, "")), (case.nth, outcome))
            if wrong:
                wrong_ones.append(case)
                print("WRONG", ":".join(map(str, case)), outcome, wrong, flush=True)
        pool.close()
        pool.join()
    for series, (nth, outcome) in last.items():
        if outcome != "not reached" and not options.short and not options.only:
            wrong_ones.append(series)
            print("WRONG", ":".join(map(str, series)), "goes on behind", nth)
    for name, row in rows.items():
        if set(row) != {"not reached"}:
            print(f"{name:18}", ", ".join(f"{outcome} {row[outcome]}" for outcome in sorted(row)))
    total = sum(row.total() for row in rows.values())
    print(f"{total} cases, {len(wrong_ones)} of them wrong; {time.monotonic() - begin:.0f} s")
    return 1 if wrong_ones or total == 0 else 0
