# SPDX-License-Identifier: MIT
"""An emulated ARM machine that runs a stock kernel, and its wires."""
import ctypes
import queue
import re
import signal
import socket
import subprocess
import threading
import time

LINES_PER_CHIP = 32
CHIP_OF_WIRES = 2  # the chip with lines 64 to 95: its outputs are watched
BOOT_SECONDS = 120
ANSWER_SECONDS = 30


class BoardError(Exception):
    """The machine does not do what a machine does; the test cannot go on."""


def _die_with_parent():
    """A killed test leaves no machine behind."""
    pr_set_pdeathsig = 1
    ctypes.CDLL(None).prctl(pr_set_pdeathsig, signal.SIGKILL)


def _connect(path, process):
    end = time.monotonic() + 10
    while True:
        link = socket.socket(socket.AF_UNIX)
        try:
            link.connect(path)
            return link
        except OSError:
            link.close()
            if process.poll() is not None or time.monotonic() > end:
                raise BoardError(f"qemu does not start (exit status {process.poll()})") from None
            time.sleep(0.05)


class Port:
    """A serial port: bytes out, text in up to a mark."""

    def __init__(self, link):
        self._link = link
        self._text = ""

    def send(self, line):
        self._link.sendall(line.encode() + b"\n")

    def until(self, pattern, seconds=ANSWER_SECONDS):
        """The text before the pattern, and the match."""
        end = time.monotonic() + seconds
        while True:
            match = re.search(pattern, self._text, re.MULTILINE)
            if match:
                before = self._text[:match.start()]
                self._text = self._text[match.end():]
                return before, match
            self._link.settimeout(max(0.01, end - time.monotonic()))
            try:
                data = self._link.recv(4096)
            except TimeoutError:
                data = b""
            if not data:
                raise BoardError(f"no {pattern!r} came; the last was: {self._text[-2000:]!r}")
            self._text += data.decode(errors="replace").replace("\r", "")


class Machine:
    """kernel, dtb, initrd: files to boot; directory: for the sockets."""

    def __init__(self, kernel, dtb, initrd, directory):
        sockets = {name: f"{directory}/{name}" for name in ("console", "wires")}
        command = ["qemu-system-arm", "-M", "sabrelite", "-smp", "1", "-m", "256", "-nodefaults",
                   "-display", "none", "-net", "none", "-kernel", kernel, "-dtb", dtb,
                   "-initrd", initrd,
                   # The machine's local timer is slower than the kernel takes it for: an idle
                   # kernel that sleeps without ticks wakes up late.
                   "-append", "console=ttymxc1,115200 rdinit=/init loglevel=1 nohz=off",
                   "-qtest", f"unix:{sockets['wires']},server=on,wait=off",
                   "-qtest-log", "none"]
        # The second serial port: the first one's driver waits for a DMA that is not emulated.
        command += ["-serial", "null",
                    "-serial", f"unix:{sockets['console']},server=on,wait=off"]
        self._qemu = subprocess.Popen(command, preexec_fn=_die_with_parent,
                                      stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        try:
            self._console = Port(_connect(sockets["console"], self._qemu))
            self._wires = _connect(sockets["wires"], self._qemu)
            self._answers = queue.Queue()
            self._lock = threading.Lock()
            self._outputs = []  # (time, line, level)
            threading.Thread(target=self._read_wires, daemon=True).start()
            self._watch_outputs()
            self._console.until("^@ready\n", BOOT_SECONDS)
        except BaseException:
            self.stop()
            raise

    def stop(self):
        self._qemu.kill()
        self._qemu.wait()

    def run(self, command):
        """Runs a shell command on the machine: its status and output."""
        self._console.send(command)
        output, end = self._console.until(r"^@done (\d+)\n")
        return int(end.group(1)), output.rstrip("\n")

    def read(self, path):
        """A file's content; None when it cannot be read."""
        status, text = self.run(f"cat {path}")
        return text if status == 0 else None

    # The wires: levels of lines as the world outside sees and sets them.

    def drive(self, line, *levels):
        """Sets a line from outside to one level after the other, as fast as it goes; returns
        the time of the last."""
        chip, pin = divmod(line, LINES_PER_CHIP)
        for level in levels:
            self._wires.sendall(
                f"set_irq_in /machine/soc/gpio{chip + 1} unnamed-gpio-in {pin} {level}\n".encode())
        for _ in levels:
            self._answer()
        return time.monotonic()

    def outputs(self, line, since=0.0):
        """What the machine drove a line of the watched chip to until now: (time, level)."""
        self._watch_outputs()  # its answer comes behind all that happened before
        with self._lock:
            return [(at, level) for at, moved, level in self._outputs
                    if moved == line and at >= since]

    def _watch_outputs(self):
        self._wires.sendall(f"irq_intercept_out /machine/soc/gpio{CHIP_OF_WIRES + 1}\n".encode())
        self._answer()

    def _answer(self):
        answer = self._answers.get(timeout=ANSWER_SECONDS)
        if answer != "OK":
            raise BoardError(f"the wires answer '{answer}'")

    def _read_wires(self):
        for text in self._wires.makefile():
            moved = re.match(r"IRQ (raise|lower) (\d+)", text)
            if not moved:
                self._answers.put(text.strip())
                continue
            line = CHIP_OF_WIRES * LINES_PER_CHIP + int(moved.group(2))
            level = int(moved.group(1) == "raise")
            with self._lock:
                self._outputs.append((time.monotonic(), line, level))
