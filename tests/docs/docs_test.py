#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What README, docs and man pages promise: links lead somewhere, and command lines work.

docs_test.py POWER_MAN POWER_MANCTL [PROGRAM...]
docs_test.py --scratch

A block of commands stands behind a mark, an HTML comment:

  run: [MODEL] [KEY=VALUE...]   they succeed, in the project's root, beside a daemon of that model
                                with those keys, written one after the other. In a block with lines
                                that begin with "$ " the others are what these print
  console: [MODEL] ...          likewise, on that daemon's console
  run until SIGTERM             likewise; the last one is a daemon
  scratch                       the page's own, one after the other in a copy of the project; only
                                with --scratch, since they build it
  ci                            .ci/run runs that script
  not run: REASON
"""
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCRATCH = sys.argv[1:] == ["--scratch"]
PROGRAMS = [] if SCRATCH else [pathlib.Path(path).resolve() for path in sys.argv[1:]]
PAGES = sorted(page for page in ROOT.glob("**/*.md") if page.relative_to(ROOT).parts[0] != "build")
COMMAND = re.compile(r"^(\$ |\./|board/|build/|power_man|cmake|ctest|redis-|cc |apt|"
                     r"systemctl|config |journalctl|dpkg|echo |rm |PATH=|AP_\w+=|bash |for )")


def blocks(page):
    """Of indented lines: the mark in front or None, the number of the first line, the lines."""
    mark, found, current, before = None, [], None, ""
    for number, line in enumerate(page.read_text().splitlines(), 1):
        if line.startswith("    ") and (current or not before):
            if current is None:
                found.append(current := (mark, number, []))
                mark = None
            current[2].append(line[4:])
        elif line and current:
            current = None
        elif not line and current:
            current[2].append("")
        if line and current is None:
            comment = re.fullmatch(r"<!-- (.*) -->", line)
            mark = comment[1] if comment else None
        before = line.strip()
    return found


def anchors(page):
    titles = re.findall(r"^#+ (.*)$", page.read_text(), re.M)
    return {re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-") for title in titles}


def plain(text):
    """Without what changes: times, ages, numbers of lines, blanks in a row."""
    text = re.sub(r"\d\d:\d\d:\d\d(\.\d+)?", "TIME", text)
    text = re.sub(r"\b\d+ s ago", "N s ago", text)
    return re.sub(r" +", " ", text).strip()


class Docs(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.place = pathlib.Path(place.name)
        bin = self.place / "bin"
        bin.mkdir()
        for program in PROGRAMS:  # by its own name, which a starter's file does not have
            (bin / program.name.removeprefix("run-")).symlink_to(program)
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = free.getsockname()[1]
        self.environment = os.environ | {"PATH": f"{bin}:{os.environ['PATH']}",
                                         "AP_CONSOLE_PORT": str(port), "TZ": "UTC",
                                         "AP_LOG_LEVEL": "4"}

    def shell(self, line, status=0):
        line = line.replace("/tmp/board", str(self.place / "board"))
        line = line.replace(" day.html", f" {self.place}/day.html")
        for program in PROGRAMS:
            line = line.replace(f"build/default/{program.name}", program.name)
        done = subprocess.run(["bash", "-c", line], cwd=ROOT, env=self.environment, text=True,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=60)
        if status is not None:
            self.assertEqual((done.returncode, done.stderr), (status, ""), line)
        return done.stdout

    def start(self, model, *writes):
        board = self.place / "board"
        self.shell(f"board/make-board {model} {board}")
        daemon = subprocess.Popen(["power_man"], stdin=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL, env=self.environment | {
            "AP_BOARD_ROOT": str(board), "AP_DATABASE_SEED": str(board / "seed")},
            executable=PROGRAMS[0])
        self.addCleanup(daemon.wait)
        self.addCleanup(daemon.terminate)
        for _ in range(200):
            if "sensor" in self.shell("power_manctl help 2>&1", None):
                break
            time.sleep(0.05)
        for write in writes:
            self.shell("power_manctl config " + (f"set {write.replace('=', ' ')}" if write[-1] != "="
                                                 else f"del {write[:-1]}"))

    def run_block(self, mark, lines):
        words = mark.partition(":")[2].split()
        if words:
            self.start(*words)
        if mark.startswith("console"):
            lines = ["power_manctl " + line for line in lines if line]
        if mark == "run until SIGTERM":
            *lines, last = [line for line in lines if line]
            self.shell("\n".join(lines))
            # Its status is the daemon's own.
            self.shell(f"env {last} & sleep 1; kill $! && wait $!")
        elif not any(line.startswith("$ ") for line in lines):
            self.shell("set -e\n" + "\n".join(lines))
        else:
            for part in re.split(r"^\$ ", "\n".join(lines), flags=re.M)[1:]:
                line, _, output = part.partition("\n")
                printed = [plain(text) for text in self.shell(line, None).splitlines()]
                self.assertEqual(printed, [plain(text) for text in output.splitlines() if text],
                                 line)

    @unittest.skipUnless(SCRATCH, "builds the project")
    def test_scratch(self):
        for page in PAGES:
            lines = [line for mark, _, lines in blocks(page) for line in lines if mark == "scratch"]
            if not lines:
                continue
            copy = self.place / "copy"
            shutil.copytree(ROOT, copy, ignore=shutil.ignore_patterns("build", ".git"))
            script = "set -e\n" + "\n".join(lines).replace("/tmp/", f"{self.place}/")
            done = subprocess.run(["bash", "-c", script], cwd=copy, env=self.environment,
                                  stdin=subprocess.DEVNULL, stderr=subprocess.STDOUT,
                                  stdout=subprocess.PIPE, text=True)
            self.assertEqual(done.returncode, 0, f"{page.name}:\n{done.stdout}")
            shutil.rmtree(copy)

    @unittest.skipIf(SCRATCH, "runs what is built")
    def test_commands(self):
        ci = "./.ci/run\n" + (ROOT / ".ci/run").read_text()
        for page in PAGES:
            for mark, number, lines in blocks(page):
                with self.subTest(page=page.name, line=number):
                    if mark and mark.startswith(("run", "console")):
                        self.run_block(mark, lines)
                    elif mark == "ci":
                        self.assertTrue(all(line.split()[0] in ci for line in filter(None, lines)))
                    elif mark is None or not mark.startswith(("not run: ", "scratch")):
                        self.assertFalse([line for line in lines if COMMAND.match(line)],
                                         "commands without a mark")
                self.doCleanups()
                self.setUp()

    def test_links(self):
        for page in PAGES:
            for link in re.findall(r"\]\(([^)\s]+)\)", page.read_text()):
                if re.match(r"[a-z]+:", link):
                    continue
                path, _, anchor = link.partition("#")
                target = (page.parent / path).resolve() if path else page
                self.assertTrue(target.exists(), f"{page.name}: {link}")
                if anchor:
                    self.assertIn(anchor, anchors(target), f"{page.name}: {link}")

    def test_keys(self):
        page = (ROOT / "docs/keys.md").read_text()
        keys = [key for path in {*ROOT.glob("src/**/*.[ch]*")} - {*ROOT.glob("src/platform/**/*")}
                for key in re.findall(r'"((?:cfg|ram|rmcfg|dyn)\.[a-z0-9_.]*[a-z0-9_])',
                                      path.read_text())]
        self.assertGreater(len(keys), 40)
        for key in keys:
            self.assertTrue(f"| `{key}" in page, f"{key} is not in docs/keys.md")

    def test_man_pages(self):
        pages = [*ROOT.glob("packaging/*.[18]*")]
        self.assertGreaterEqual(len(pages), 3)
        done = subprocess.run(["mandoc", "-Tlint", "-Wwarning", *pages], capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stdout), (0, ""))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
