# SPDX-License-Identifier: GPL-3.0-or-later
"""Measures kestrin beside du, rm and trash-empty, and prints medians and ratios.

Runs as root in a private mount namespace, on an ext4 volume of its own (a loop device; with --on, a
folder of a file system that is already there). The programs run as an unprivileged user whose home is
on that volume. Every tool works on a tree made afresh, the tools take turns.
"""

import argparse
import contextlib
import ctypes
import os
import platform
import resource
import shutil
import statistics
import subprocess
import tempfile
import time

USER = 61237
CLONE_NEWNS = 0x20000


def enter_private_namespace():
    if ctypes.CDLL(None, use_errno=True).unshare(CLONE_NEWNS) != 0:
        raise SystemExit("bench: needs a mount namespace of its own")
    subprocess.run(["mount", "--make-rprivate", "/"], check=True)


@contextlib.contextmanager
def volume(on, megabytes):
    """A folder for the trees, on ext4."""
    scratch = tempfile.mkdtemp(prefix="kestrin-bench-", dir=on or "/tmp")
    os.chmod(scratch, 0o755)
    place = os.path.join(scratch, "volume")
    os.mkdir(place)
    if not on:
        image = os.path.join(scratch, "image")
        subprocess.run(["truncate", "-s", f"{megabytes}M", image], check=True)
        # As many inodes as a million files need; the journal is what a disk of some size gets.
        subprocess.run(["/usr/sbin/mkfs.ext4", "-q", "-N", "2600000", "-J", "size=256", image], check=True)
        subprocess.run(["mount", "-o", "loop", image, place], check=True)
    os.chown(place, USER, USER)
    try:
        yield place
    finally:
        if not on:
            subprocess.run(["umount", place], check=True)
        shutil.rmtree(scratch, ignore_errors=True)


class Bench:
    def __init__(self, build, beside, place):
        # Build folders may be closed to other users.
        self.place = place
        self.kestrin = self.copy(os.path.join(build, "src/app/kestrin"))
        self.other = beside and self.copy(os.path.join(beside, "src/app/kestrin"), "kestrin-beside")
        self.make_tree = self.copy(os.path.join(build, "bench/kestrin-make-tree"))
        self.trash = os.path.join(place, "share/Trash")
        self.files = os.path.join(self.trash, "files")

    def copy(self, program, name=None):
        target = os.path.join(self.place, name or os.path.basename(program))
        shutil.copy(program, target)
        os.chmod(target, 0o755)
        return target

    def run(self, *command):
        """Runs it as the user; answers seconds of wall time and the peak memory in bytes."""
        environment = {"HOME": self.place, "XDG_DATA_HOME": os.path.join(self.place, "share"),
                       "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8",
                       "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent"}
        began = time.monotonic()
        child = subprocess.Popen(command, env=environment, cwd="/", stdin=subprocess.DEVNULL,
                                 stdout=subprocess.DEVNULL, user=USER, group=USER, extra_groups=[])
        _, status, usage = os.wait4(child.pid, 0)
        seconds = time.monotonic() - began
        child.returncode = os.waitstatus_to_exitcode(status)
        if child.returncode != 0:
            raise SystemExit(f"bench: {command} ended with {child.returncode}")
        return seconds, usage.ru_maxrss * 1024

    def make(self, **shape):
        subprocess.run(["rm", "-rf", os.path.join(self.place, "share")], check=True)
        os.makedirs(os.path.dirname(self.trash))
        os.chown(os.path.dirname(self.trash), USER, USER)
        self.run(self.make_tree, *(f"--{key.replace('_', '-')}={value}" for key, value in shape.items()),
                 self.trash)
        self.settle()

    @staticmethod
    def settle():
        """What a tool leaves to the kernel is not charged to the next one."""
        os.sync()

    @staticmethod
    def forget():
        """The next look-up goes to the disk."""
        os.sync()
        with open("/proc/sys/vm/drop_caches", "w", encoding="ascii") as file:
            file.write("3")

    def count(self, rounds, cold):
        """Seconds of `kestrin list` and of `du -s`, in turn."""
        tools = {"kestrin list": [self.kestrin, "list"], "du -s": ["/usr/bin/du", "-s", self.files]}
        if self.other:
            tools["the other build"] = [self.other, "list"]
        times = {name: [] for name in tools}
        for _ in range(rounds + (0 if cold else 1)):
            for name, command in tools.items():
                if cold:
                    self.forget()
                times[name].append(self.run(*command)[0])
        return {name: found if cold else found[1:] for name, found in times.items()}

    def erase(self, rounds, shape):
        """Seconds of each eraser on a fresh tree, in turn. The tree is in memory, as after counting;
        what is still to be written is not waited for."""
        tools = {"kestrin empty --yes": [self.kestrin, "empty", "--yes"],
                 "rm -rf": ["/usr/bin/rm", "-rf", self.files]}
        if shutil.which("trash-empty"):
            tools["trash-empty"] = ["/usr/bin/trash-empty"]  # asks nothing without a terminal
        if self.other:
            tools["the other build"] = [self.other, "empty", "--yes"]
        times = {name: [] for name in tools}
        for _ in range(rounds):
            for name, command in tools.items():
                self.make(**shape)
                times[name].append(self.run(*command)[0])
                if os.path.isdir(self.files) and os.listdir(self.files):
                    raise SystemExit(f"bench: {name} left something")
                self.settle()
        return times

    def memory(self, shape):
        """A line a build: the peak bytes of counting and of erasing."""
        for program in filter(None, (self.kestrin, self.other)):
            self.make(**shape)
            yield self.run(program, "list")[1], self.run(program, "empty", "--yes")[1]


def report(title, times, ours):
    print(f"\n{title}")
    own = statistics.median(times[ours])
    for name, seconds in times.items():
        middle = statistics.median(seconds)
        ratio = "" if name == ours else f"   {ours} takes {own / middle:.2f} of it"
        print(f"  {name:<20} {middle:7.3f} s   ({min(seconds):.3f} to {max(seconds):.3f}){ratio}")


def machine():
    with open("/proc/cpuinfo", encoding="ascii", errors="replace") as file:
        models = [line.split(":", 1)[1].strip() for line in file if line.startswith("model name")]
    return f"{os.cpu_count()} x {models[0] if models else 'unknown'}, Linux {platform.release()}"


def main():
    parser = argparse.ArgumentParser(prog="scripts/bench", description=__doc__)
    parser.add_argument("--build", required=True, help="a build folder of the release preset")
    parser.add_argument("--beside", metavar="BUILD", help="another build, measured in turn with this one")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--on", metavar="FOLDER", help="measure on that folder's file system")
    parser.add_argument("--million", action="store_true", help="also the memory for a million files")
    parser.add_argument("--quick", action="store_true", help="a tenth of the files, two rounds")
    options = parser.parse_args()
    if os.geteuid() != 0:
        raise SystemExit("bench: start it by scripts/bench, as root or with sudo")
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    shape = {"folders": 40, "files": 200000, "files_per_leaf": 100, "singles": 960}
    rounds = options.rounds
    if options.quick:
        shape["files"], rounds = 20000, 2

    enter_private_namespace()
    print(f"{time.strftime('%Y-%m-%d')}, {machine()}, {rounds} rounds, "
          f"{shape['files']} files in {shape['folders']} folders and {shape['singles']} beside them")
    with volume(options.on, 16000) as place:
        bench = Bench(options.build, options.beside, place)
        bench.make(**shape)
        report("Counting, warm", bench.count(rounds, cold=False), "kestrin list")
        report("Counting, cold", bench.count(rounds, cold=True), "kestrin list")
        report("Erasing", bench.erase(rounds, shape), "kestrin empty --yes")
        if options.million:
            print("\nPeak memory in MB (10^6 bytes), counting and erasing")
            for title, big in (
                    ("a million files in folders", {**shape, "files": 1000000}),
                    ("a million top-level entries", {"folders": 1, "files": 1, "singles": 1000000})):
                for counting, erasing in bench.memory(big):
                    print(f"  {title:<28} {counting / 1e6:7.1f} {erasing / 1e6:7.1f}")


if __name__ == "__main__":
    main()
