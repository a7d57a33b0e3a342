# SPDX-License-Identifier: GPL-3.0-or-later
"""What was answered "erase" goes; all else is there as it was, and named once for what refused it."""

import contextlib
import json
import os
import random
import re
import subprocess

from harness import USER, Terminal, as_root, path_of, run_as_root
from test_helper import PROMPT, HelperTest

# i: immutable, a: append-only, r: root's, f: root's alone, c: root's alone and not empty, h: refused by the owner
# of its folder, m: mounted, n: with a name outside, x: of mode 0, k: what is in it is locked. Folders end with "/".
TREE = {"plain": "", "locked": "i", "grows": "a", "named": "in", "named-too": "an", "named-else": "anf",
        ".locked": "i", ".private": "f", "keeps/": "ck",
        "L/": "i", "L/file": "", "L/sub/": "", "L/sub/file": "", "L/sub/empty/": "", "L/inner/": "i", "L/inner/file": "",
        "L/locked": "i", "L/grows": "a", "L/named": "in", "L/private": "f", "L/closed/": "c", "L/shut/": "ci",
        "L/mine/": "", "L/mine/x": "f", "L/mode/": "x", "L/mode/x": "f",
        "whole/": "i", "whole/a/": "", "whole/a/file": "", "whole/empty/": "i", "A/": "a", "A/file": "",
        "D/": "", "D/mid/": "", "D/mid/L/": "i", "D/mid/file": "", "E/": "i", "E/empty/": "",
        "M/": "i", "M/file": "", "M/mount/": "m", "R/": "", "R/r/": "r", "R/r/x": "f", "R/r/empty/": "h",
        "R/r/locked": "ih", "R/r/L/": "ih", "R/r/L/file": "", "theirs": "if",
        "S/": "", "S/locked": "i", "S/r/": "r", "S/r/x": "f", "I/": "ri", "I/x": "f", "I/mine": "h"}


class EveryAnswer(HelperTest):
    def setUp(self):
        super().setUp()
        self.start_bus(answer="YES")

    @contextlib.contextmanager
    def filled(self):
        """The trash with all of TREE in it."""
        run_as_root("chown", f"{self.user}:{self.user}", self.trash.folder, self.trash.files, self.trash.info)
        for path in TREE:
            whole = self.trash.path(path)
            run_as_root(*(["mkdir", "-p"] if path.endswith("/") else ["touch"]), whole)
            run_as_root("touch", self.trash.record_path(path.split("/")[0]))
        run_as_root("chown", "-R", f"{self.user}:{self.user}", self.trash.files, self.trash.info)
        for path, traits in reversed(TREE.items()):
            whole = self.trash.path(path)
            if "c" in traits:
                run_as_root("touch", os.path.join(whole, b"in"))
            if "k" in traits:
                self.lock(os.path.join(whole, b"in"))
            if "m" in traits:
                self.tmpfs(whole)
            if "n" in traits:
                run_as_root("ln", whole, os.path.join(self.outside, path.replace("/", " ").encode()))
            if "x" in traits:
                run_as_root("chmod", "0", whole)
            if set(traits) & set("rfc"):
                run_as_root("chown", "0:0", whole)
                run_as_root("chmod", "go=" + "rx" * ("r" in traits), whole)
            for attribute in set(traits) & set("ia"):
                self.lock(whole, attribute="+" + attribute)
        try:
            yield
        finally:
            run_as_root("umount", self.trash.path("M/mount"))
            run_as_root("chattr", "-R", "-ia", self.trash.folder)
            run_as_root("find", self.trash.files, self.trash.info, self.outside, "-mindepth", "1", "-delete")

    def there(self):
        """The attributes of what is there, by its path."""
        with as_root():
            there = {path: self.trash.path(path) for path in TREE if os.path.lexists(self.trash.path(path))}
        lines = subprocess.run(["lsattr", "-d", *there.values()], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                               check=False, preexec_fn=lambda: os.setresuid(0, 0, 0)).stdout.decode().splitlines()
        flags = dict(reversed(line.split()) for line in lines)
        return {path: set(flags.get(os.fsdecode(whole), "")) & set("ia") for path, whole in there.items()}

    def said_of_all(self, about):
        return self.for_all.get(about) if self.standing == "ask" else self.standing[about]

    def answer(self, path, about):
        """What was said of an entry: for all, or once."""
        if self.standing != "ask":
            return self.standing[about] if self.has_helper else "skip"
        if path.startswith("."):
            return "erase"
        asked, answer = self.asked.get(path, (None, None))
        answer = answer if asked == about else self.said_of_all(about) or answer
        self.assertTrue(answer, "nobody asked about " + path)
        return answer

    def goes(self, path, gone, told):
        """Fills in what goes with this entry, and why what is left of it stays."""
        traits = set(TREE[path])
        locked = traits & {"i"} or path.endswith("/") and traits & {"a"}
        forbidden = self.user != 0 and traits & set("fch") or not locked and traits & {"a"}
        inside = [other for other in TREE if other != path and os.path.dirname(other.rstrip("/")) + "/" == path]
        if "m" in traits:
            told[path] = "mount-point"
        elif "n" in traits:
            told[path] = "other-names"
        elif locked and self.answer(path, "locked") == "skip":
            told[path] = "locked"
        elif forbidden and self.answer(path, "forbidden") == "skip":
            told[path] = "forbidden"
        elif "k" in traits and self.said_of_all("locked") == "skip":
            told[path if self.user else path + "in"] = "forbidden" if self.user else "locked"
            self.kept.add(path)
        elif all([self.goes(other, gone, told) for other in inside]):
            gone.add(path)
        return path in gone

    def check(self, run):
        """`run`: what was told, as JSON."""
        gone, reasons, self.kept = set(), {}, set()
        for path in TREE:
            if "/" not in path.rstrip("/"):
                self.goes(path, gone, reasons)
        self.assertEqual(self.there(), {path: set(traits) & set("ia") for path, traits in TREE.items()
                                        if path not in gone}, run)
        told = sorted((path_of(one["url"])[len(self.trash.files) + 1:].decode(), one["reason"], "skipped" in one)
                      for one in run["notErased"])
        skipped = {path for path, reason in reasons.items() if self.has_helper and reason in ("locked", "forbidden")
                   or TREE[path] == "in" and self.standing != "ask" and self.standing["locked"] == "skip"} - self.kept
        self.assertEqual(told, sorted((path.rstrip("/"), reason, path in skipped) for path, reason in reasons.items()))
        self.assertEqual(run["erasedCount"], len(gone) + len(gone & {"L/closed/", "L/shut/", "keeps/"}))

    def run_with(self, user, locked, forbidden, has_helper=True):
        self.user, self.has_helper = user, has_helper
        self.standing = {"locked": locked, "forbidden": forbidden}
        with self.subTest(user=user, **self.standing, has_helper=has_helper), self.filled():
            command = "empty", "--yes", "--json", "--no-log", f"--locked={locked}", f"--forbidden={forbidden}"
            forecast = self.succeed(*command, "--dry-run", status=1).json
            run = self.succeed(*command, status=1).json
            self.check(run)
            if not has_helper:
                run["notErased"].sort(key=str)
                self.assertEqual({**forecast, "notErased": sorted(forecast["notErased"], key=str), "dryRun": False}, run)

    def test_for_all(self):
        for locked in ("erase", "skip"):
            for forbidden in ("erase", "skip"):
                self.run_with(USER, locked, forbidden)
            self.run_with(0, locked, "skip")
        self.bus.stop()
        self.run_with(USER, "erase", "erase", has_helper=False)

    def ask(self, dice, most=None):
        """Answers so many questions, or all, now and then for all entries; answers the terminal."""
        self.asked, self.for_all = {}, {}
        terminal = Terminal(self, "empty", "--json", "--no-log")
        for count in range(1, (most or len(TREE)) + 2):
            terminal.read_until(lambda text, count=count: len(PROMPT.findall(text)) >= count)
            prompts = PROMPT.split(terminal.text)
            if len(prompts) <= count:
                break
            if count == 1:
                terminal.type(b"y\n")
                continue
            path = re.findall(re.escape(self.trash.files) + rb"/(\S+)", prompts[count - 1])[-1].decode()
            path += "/" * (path + "/" in TREE)
            about = "locked" if b" is locked" in prompts[count - 1] else "forbidden"
            self.assertNotIn(path, self.asked, "asked twice")
            self.asked[path] = about, dice.choice(["erase", "skip"])
            for_all = not most and about == "locked" and dice.random() < 0.1
            if for_all:
                self.for_all[about] = self.asked[path][1]
            terminal.type(self.asked[path][1].encode() + b" all" * for_all + b"\n")
        return terminal

    def test_one_by_one(self):
        self.standing, self.has_helper = "ask", True
        for seed in range(5):
            with self.subTest(seed=seed), self.filled():
                terminal = self.ask(random.Random(seed))
                self.assertEqual(terminal.end(), 1, terminal.text)
                self.check(json.loads(re.search(rb"^{.*$", terminal.text, re.M)[0]))
        with self.filled():
            terminal = self.ask(random.Random(1), 3)
            terminal.read_until(lambda text: len(PROMPT.findall(text)) > 4)
            terminal.type(b"\x03")
            self.assertEqual(terminal.end(), 3, terminal.text)
            self.assertLessEqual({path for path, traits in TREE.items() if traits}, set(self.there()))
            told = json.loads(re.search(rb"^{.*$", terminal.text, re.M)[0])["notErased"]
            self.assertEqual(sum("skipped" in one for one in told),
                             sum(answer == "skip" for _, answer in self.asked.values()), told)
