# SPDX-License-Identifier: GPL-3.0-or-later
"""Whoever takes part in a command of the helper is killed in the middle of it. KESTRIN_KILL_ROUNDS rounds, 20
by default and fewer under a sanitizer; KESTRIN_KILL_SEED is the seed of the first, each further one has the
next."""

import array
import contextlib
import fcntl
import os
import random
import signal
import time

import harness
from harness import as_root, path_of, run_as_root
from test_helper import ERASE, SERVICE, HelperTest

ROUNDS = int(os.environ.get("KESTRIN_KILL_ROUNDS", 20 if harness.TIME_FACTOR == 1 else 5))
SEED = int(os.environ.get("KESTRIN_KILL_SEED", time.time_ns() % 10**9))


def locks_of(path):
    """The attributes that keep a file or folder from being removed."""
    opened = os.open(path, os.O_RDONLY | os.O_NOFOLLOW)
    flags = array.array("l", [0])
    fcntl.ioctl(opened, 0x80086601, flags)  # FS_IOC_GETFLAGS
    os.close(opened)
    return flags[0] & 0x30  # immutable, append-only


class ACommand(HelperTest):
    def setUp(self):
        super().setUp()
        self.start_bus(answer="YES")
        self.shared = self.trash.file("shared")
        os.link(self.shared, os.path.join(self.outside, b"other-name"))
        self.lock(self.shared)

    def fill(self, chance):
        """Locked files and folders, in folders of root's and of the user's."""
        files = [self.trash.file(f"file{number}") for number in range(4)]
        tops = [self.trash.tree(f"top{number}", [f"{folder}/{file}" for folder in "ab" for file in range(60)])
                for number in range(3)]
        folders = [os.path.join(top, name) for top in tops for name in (b"a", b"b")]
        inner = [os.path.join(chance.choice(folders), b"%d" % file) for file in chance.sample(range(60), 12)]
        run_as_root("chown", "-R", "0:0", *tops[:2])
        self.lock(*files[:2], *inner, *folders[1:])
        self.lock(*files[2:], folders[0], attribute="+a")

    def entries(self):
        """Each entry of the trash with its mode, owner and attributes."""
        found = {}
        with as_root():
            for folder, folders, files in os.walk(self.trash.files):
                for path in (os.path.join(folder, name) for name in folders + files):
                    status = os.lstat(path)
                    found[path] = (status.st_mode, status.st_uid, locks_of(path))
        return found

    def processes(self):
        """All of the helper's, whoever started them, but those that have ended."""
        with as_root():
            program = os.stat(self.helper)
            for process in filter(str.isdigit, os.listdir("/proc")):
                with contextlib.suppress(OSError):
                    if os.path.samestat(os.stat(f"/proc/{process}/exe"), program):
                        yield int(process)

    def helper_on_bus(self):
        """The processes of its parent and its service; none when there is no helper."""
        service = self.bus.process_of()
        with contextlib.suppress(FileNotFoundError), open(f"/proc/{service}/stat", encoding="ascii") as file:
            return [int(file.read().rsplit(")", 1)[1].split()[1]), service]
        return []

    def begin(self):
        """Starts a command; answers it, and what the helper's parent and service are."""
        self.bus.call(SERVICE, "/com/quorvane/Kestrin3Helper",
                      "com.quorvane.Kestrin3.QVHelperToolProtocol.getVersion")
        helper = self.helper_on_bus()
        return self.start("empty", "--yes", "--json", "--no-log", *ERASE), *helper

    @staticmethod
    def workers(parent, service):
        with contextlib.suppress(OSError), open(f"/proc/{parent}/task/{parent}/children", encoding="ascii") as file:
            return [int(child) for child in file.read().split() if int(child) != service]
        return []

    def life_of_a_worker(self):
        """That nobody kills, in seconds."""
        self.fill(random.Random(SEED))
        process, *helper = self.begin()
        while process.poll() is None and not self.workers(*helper):
            pass
        began = time.monotonic()
        while self.workers(*helper):
            pass
        self.finish(process)
        return time.monotonic() - began

    def kill(self, victim, moment, process, parent, service):
        """`moment` is counted from the worker's start; below 0, from the program's."""
        while moment > 0 and process.poll() is None and not self.workers(parent, service):
            pass
        time.sleep(abs(moment))
        victims = {"service": service, "parent": parent, "program": process.pid,
                   "bus": self.bus.daemon.pid, "policy": self.bus.policy.pid}
        with as_root(), contextlib.suppress(ProcessLookupError):
            if victim in victims:
                return os.kill(victims[victim], signal.SIGKILL)
            killed = []
            while process.poll() is None and (victim == "workers" or not killed):
                killed = self.workers(parent, service)
                for pid in killed:
                    os.kill(pid, signal.SIGSTOP if victim == "hanging worker" else signal.SIGKILL)
            if victim == "hanging worker":
                process.send_signal(signal.SIGINT)

    def round(self, chance, victim, life):
        self.fill(chance)
        before, outside = self.entries(), harness.listing(self.outside, times="mc")
        process, *helper = self.begin()
        self.kill(victim, chance.uniform(-0.1, 1) * life, process, *helper)
        run = self.finish(process)
        # Of this helper, or of one that came after it, nobody is left but the two that are idle.
        harness.wait_until(lambda: set(self.processes()) == set(self.helper_on_bus()), f"the end of a {victim}", 15)
        after = self.entries()
        self.assertEqual(harness.listing(self.outside, times="mc"), outside)
        named = [] if victim == "program" else self.check_report(run, before, after)
        self.assertEqual({path: facts for path, facts in after.items() if path not in named},
                         {path: before[path] for path in after if path not in named}, run)
        if victim in ("bus", "policy"):
            self.bus.restart()

    def check_report(self, run, before, after):
        """What is there was told, and nothing else; answers what was told to have lost its attributes."""
        named = {path_of(entry["url"]): entry["reason"] for entry in run.json["notErased"]}
        unlocked = [path for path, reason in named.items() if reason == "left-unlocked"]  # if it is still there
        self.assertLessEqual(set(named), {*after, *unlocked}, run)
        stayed = [path for path in after if os.path.dirname(path) == self.trash.files]
        for path in [] if run.json["wasStoppedByUser"] else stayed:
            self.assertTrue(any((name + b"/").startswith(path + b"/") for name in named), f"{path}: {run}")
        self.assertLessEqual(run.json["erasedCount"], len(before) - len(after), run)
        return unlocked

    def empty_all(self):
        """The next commands work, and leave what they must not touch. A folder in which nothing but folders
        was left takes one more."""
        for _ in range(4):
            run = self.empty("--no-log", status=1)
            if self.trash.names() == [b"shared"]:
                return
        self.fail(run)

    def test_of_which_somebody_is_killed(self):
        life = self.life_of_a_worker()
        self.empty_all()
        for seed in range(SEED, SEED + ROUNDS):
            chance = random.Random(seed)
            victim = chance.choice(("worker", "workers", "hanging worker", "service", "parent", "program", "bus", "policy"))
            print(f"seed {seed}: the {victim}", flush=True)
            self.round(chance, victim, life)
            self.empty_all()
