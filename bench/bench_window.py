# SPDX-License-Identifier: GPL-3.0-or-later
"""Measures the window that browses the trashes, beside a file manager; scripts/bench --window runs it. See
README.md."""

import contextlib
import ctypes
import os
import re
import shutil
import struct
import subprocess
import sys
import threading
import time

from Xlib import X, display

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tests/desktop"))

from desktop import DesktopTest  # noqa: E402
from harness import USER, _become, as_root, run_as_root  # noqa: E402

BUILD = os.environ.get("KESTRIN_BENCH", "")
FILE_MANAGER = ("dolphin", "trash:/")
FOLDERS, FILES_A_FOLDER, ERASED = 1000, 50, 1000
SINGLES = int(os.environ.get("KESTRIN_BENCH_SINGLES", "100000"))
CHANGES = 60_000
IN_OPEN = 0x20
# In milliseconds: until a step is on the screen, and the longest stall of the main thread in it.
LIMITS = {"kind filter, for the first time": (300, 16), "kind filter": (300, 16), "no kind filter": (300, 16)}


class WindowBench(DesktopTest):
    """Every program is seen from outside, and ours from within too (WindowProbe.cpp)."""

    def setUp(self):
        super().setUp()
        # What a screen reader needs costs a program threads and memory that others do not pay.
        self.environment.pop("QT_LINUX_ACCESSIBILITY_ALWAYS_ON")
        self.screen = display.Display(self.environment["DISPLAY"])
        with as_root():
            self.plugins = self.folder_of_user("plugins")
            os.mkdir(os.path.join(self.plugins, b"generic"))
            for place, program in ((b"generic", "generic/libkestrin-window-probe.so"), (b".", "kestrin-make-tree")):
                shutil.copy(os.fsencode(os.path.join(BUILD, program)), os.path.join(self.plugins, place))
        self.make_volume()

    def make_volume(self):
        """The home lies on ext4, on a loop device."""
        image = os.path.join(self.scratch, b"image")
        with as_root():
            run_as_root("truncate", "-s", "12G", image)
            run_as_root("/usr/sbin/mkfs.ext4", "-q", "-N", "2600000", "-J", "size=256", image)
            run_as_root("mount", "-o", "loop", image, self.home)
            run_as_root("chown", f"{USER}:{USER}", self.home)
        self.write_settings()

    def fill(self, folders, singles):
        with as_root():
            run_as_root("rm", "-rf", self.trash.folder)
        os.makedirs(os.path.dirname(self.trash.folder), exist_ok=True)
        subprocess.run([os.path.join(self.plugins, b"kestrin-make-tree"), f"--folders={folders}",
                        f"--files={folders * FILES_A_FOLDER}", "--files-per-leaf=0", f"--singles={singles}",
                        "--bytes=1000", self.trash.folder], check=True, preexec_fn=lambda: _become(USER))
        os.sync()

    def test_figures(self):
        rows = FOLDERS + SINGLES
        self.fill(FOLDERS, SINGLES)
        for _ in range(2):
            listing = self.succeed("list").seconds
        print(f"kestrin list: {listing * 1000:.1f} ms", flush=True)
        self.see_from_outside("kestrin", self.program, "--smart-window")
        self.probe("scroll", rows)
        self.probe("figures", rows)
        beyond = self.beyond_limits()
        self.assertEqual(len(self.trash.names()), rows - ERASED)
        self.assertEqual(len(self.trash.records()), rows - ERASED)
        self.fill(FOLDERS, SINGLES)
        if shutil.which(FILE_MANAGER[0]):
            self.see_from_outside(FILE_MANAGER[0], *FILE_MANAGER)
        else:
            print(f"{FILE_MANAGER[0]} is not installed")
        self.change_all_the_time(rows)
        self.assertEqual(beyond, [], "limits that did not hold")

    def test_million(self):
        self.fill(0, 1_000_000)
        self.probe("scroll", 1_000_000)
        self.probe("figures", 1_000_000)
        self.assertEqual(len(self.trash.names()), 1_000_000 - ERASED)

    # From within.

    def start_probe(self, task, rows):
        began = time.monotonic()
        probe = {"QT_PLUGIN_PATH": os.fsdecode(self.plugins), "QT_QPA_GENERIC_PLUGINS": "kestrin-probe",
                 "KESTRIN_PROBE": task, "KESTRIN_PROBE_BEGAN": str(began), "KESTRIN_PROBE_ROWS": str(rows),
                 "KESTRIN_PROBE_ERASE": str(ERASED)}
        with self.environment_with(probe):
            self.kestrin = self.run_part(self.program, "--smart-window")
        self.said_before = os.path.getsize(self.kestrin.log)

    def probe(self, task, rows):
        """Lets the probe do its task and prints what it tells."""
        print(f"\n{task}, {rows} rows", flush=True)
        self.start_probe(task, rows)
        self.wait(lambda: "probe: over" in self.told() or self.kestrin.poll() is not None, "the probe", 900)
        self.print_told()
        self.quit()

    def told(self):
        with as_root(), open(self.kestrin.log, "rb") as log:
            log.seek(self.said_before)
            return log.read().decode(errors="replace")

    def print_told(self):
        print(re.sub("(?m)^probe: ", "  ", self.told()), end="", flush=True)

    def beyond_limits(self):
        """What the probe told that took longer than it may."""
        limits = {what: limit for step, (whole, stall) in LIMITS.items()
                  for what, limit in ((step, whole), (f"longest stall, {step}", stall))}
        told = re.findall(r"(?m)^probe: (.+): ([\d.]+) ms$", self.told())
        self.assertLessEqual(limits.keys(), dict(told).keys(), "every step is measured")
        return [f"{what}: {figure} ms" for what, figure in told if float(figure) > limits.get(what, 1e9)]

    def quit(self):
        self.run_program("--quit")
        self.wait_for_end()

    @contextlib.contextmanager
    def environment_with(self, more):
        before = dict(self.environment)
        self.environment.update(more)
        try:
            yield
        finally:
            self.environment = before

    def change_all_the_time(self, rows):
        """Another program makes and removes files in the trash for a second or more."""
        print(f"\n{CHANGES} changes by another program", flush=True)
        self.start_probe("watch", rows)
        self.wait(lambda: "ready" in self.told(), "the probe", 300)
        with opens_of(self.trash.files) as opens:
            began = time.monotonic()
            for number in range(CHANGES // 2):
                path = self.trash.path(f"change{number}")
                os.close(os.open(path, os.O_CREAT | os.O_WRONLY))
                os.unlink(path)
            seconds = time.monotonic() - began
            time.sleep(3)
            count = opens()
        print(f"  made within: {seconds * 1000:.1f} ms\n  the trash was opened: {count} times")
        self.quit()
        self.print_told()

    # From outside.

    def see_from_outside(self, name, *command):
        """Until the middle of the screen shows rows, until the program comes to rest; what it takes then."""
        began = time.monotonic()
        process = self.run_part(*command)
        self.wait(lambda: self.bands() >= 6, "rows on the screen", 200)
        rows = time.monotonic() - began
        rest = self.time_until_rest() - began
        print(f"\n{name}, from outside: rows on screen after {rows * 1000:.0f} ms, at rest after {rest * 1000:.0f} ms, "
              f"resident {self.resident(process):.0f} MB", flush=True)
        self._end_kindly(process)
        os.seteuid(USER)
        self.wait(lambda: self.bands() <= 1, "an empty screen")

    def bands(self):
        """How many strips of something lie below each other in the middle of the screen."""
        x, y, width, height = 560, 60, 160, 700
        data = self.screen.screen().root.get_image(x, y, width, height, X.ZPixmap, 0xffffffff).data
        stride = width * 4
        lines = [data[start:start + stride] for start in range(0, len(data), stride)]
        filled = [line != line[:4] * width for line in lines]
        return sum(1 for before, now in zip([False, *filled], filled) if now and not before)

    @staticmethod
    def time_until_rest():
        """When the user's programs last took processor time before a second without any."""
        last, used = time.monotonic(), -1
        while time.monotonic() - last < 1:
            now = ticks_of_user()
            if now > used + 1:
                last, used = time.monotonic(), now
            time.sleep(0.02)
        return last

    @staticmethod
    def resident(process):
        with open(f"/proc/{process.pid}/status", encoding="ascii", errors="replace") as status:
            return int(re.search(r"VmRSS:\s+(\d+)", status.read())[1]) / 1000


def ticks_of_user():
    """The processor time of the user's programs, the display among them, but for this one."""
    ticks = 0
    for entry in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(OSError):
            if os.stat(f"/proc/{entry}").st_uid == USER and int(entry) != os.getpid():
                with open(f"/proc/{entry}/stat", "rb") as stat:
                    fields = stat.read().rpartition(b")")[2].split()
                ticks += int(fields[11]) + int(fields[12])
    return ticks


@contextlib.contextmanager
def opens_of(folder):
    """Counts how often anybody opens the folder itself; yields what answers that."""
    libc = ctypes.CDLL(None, use_errno=True)
    watch = libc.inotify_init1(os.O_NONBLOCK)
    if watch < 0 or libc.inotify_add_watch(watch, folder, IN_OPEN) < 0:
        raise OSError(ctypes.get_errno(), "inotify")
    count, over = [0], threading.Event()

    def listen():
        while not over.wait(0.01):
            with contextlib.suppress(BlockingIOError):
                data = os.read(watch, 1 << 20)
                while data:
                    length, = struct.unpack_from("I", data, 12)
                    count[0] += length == 0  # an entry of the folder would have a name
                    data = data[16 + length:]

    listener = threading.Thread(target=listen)
    listener.start()
    try:
        yield lambda: count[0]
    finally:
        over.set()
        listener.join()
        os.close(watch)
