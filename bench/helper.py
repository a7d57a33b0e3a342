# SPDX-License-Identifier: GPL-3.0-or-later
"""Measures the privileged helper beside the plain eraser, on trees of the same shape: the user's own for
the one, root's for the other, whose files are listed one by one as the program does.

Runs as root in a private mount namespace, with a system bus and a policy service of its own.
"""

import argparse
import contextlib
import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

BENCH = os.path.dirname(os.path.abspath(__file__))
sys.path[1:1] = [os.path.join(BENCH, "../tests/e2e"), os.path.join(BENCH, "../tests/helper/service")]

import bench  # noqa: E402
import harness  # noqa: E402
from helpertest import Child, items_xml, source_of  # noqa: E402
from privatebus import PrivateBus  # noqa: E402

# Takes what the helper tells without looking at it, and prints the seconds of one command.
CALLER = source_of("caller.py").rsplit("\nif __name__", 1)[0] + """
import time
class Timer(Program):
    def progress(self, _bus, _sender, _path, _interface, method, arguments, invocation):
        invocation.return_value(None)
        if method == "itemsErased":
            self.batches, self.items = self.batches + 1, self.items + arguments.get_child_value(0).n_children()
        else:
            self.tell(seconds=time.monotonic() - self.began, batches=self.batches, items=self.items,
                      left=arguments.unpack()[0])
    def do_call(self, **order):
        self.batches = self.items = 0
        self.began = time.monotonic()
        super().do_call(**order)
Timer().loop.run()
"""


class HelperBench:
    def __init__(self, build, place, undo):
        self.place, self._undo = place, undo
        self.make_tree = self.copy(build, "bench/kestrin-make-tree")
        self.use(build)
        self.trash = os.path.join(place, ".local/share/Trash")
        self.add_account()
        self.install()
        folder = tempfile.mkdtemp(prefix="kestrin-bench-bus-", dir="/tmp")
        undo.callback(shutil.rmtree, folder, True)
        with harness.as_root():
            pass  # from here on the user's rights, and root's kept aside
        self.bus = PrivateBus(folder, self.helper, answer="YES")
        undo.callback(self.bus.stop)

    def use(self, build):
        """Takes program and helper of that build."""
        self.kestrin = self.copy(build, "src/app/kestrin")
        self.copy(build, "src/app/libkestrin_helper.so")  # the program looks for it beside itself
        self.helper = self.copy(build, "helper/com.quorvane.Kestrin3Helper")

    def exchange(self, build):
        """Takes another build's in their places."""
        with harness.as_root():
            self.use(build)
            self.copy(build, "helper/com.quorvane.Kestrin3Helper", "libexec")
        self.bus.restart()

    def copy(self, build, program, folder=""):
        target = os.path.join(self.place, folder, os.path.basename(program))
        if os.path.exists(target):
            os.unlink(target)  # it may run
        shutil.copy(os.path.join(build, program), target)
        os.chmod(target, 0o755)
        return target

    def add_account(self):
        accounts = os.path.join(self.place, "passwd")
        shutil.copy("/etc/passwd", accounts)
        with open(accounts, "a", encoding="utf-8") as file:
            file.write(f"kestrin-e2e:x:{harness.USER}:{harness.USER}::{self.place}:/bin/sh\n")
        harness.run_as_root("mount", "--bind", accounts, "/etc/passwd")
        self._undo.callback(harness.run_as_root, "umount", "/etc/passwd")

    def install(self):
        """Shows the helper where the program looks for it."""
        folder = os.path.join(self.place, "libexec")
        shutil.copytree("/usr/libexec", folder, symlinks=True)
        shutil.copy(self.helper, folder)
        harness.run_as_root("mount", "--bind", folder, "/usr/libexec")
        self._undo.callback(harness.run_as_root, "umount", "/usr/libexec")

    def run(self, *command):
        environment = {"HOME": self.place, "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8"}
        began = time.monotonic()
        subprocess.run(command, env=environment, cwd="/", check=True, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, preexec_fn=lambda: harness._become(harness.USER))
        return time.monotonic() - began

    def make(self, shape):
        harness.run_as_root("rm", "-rf", self.trash)
        os.makedirs(os.path.dirname(self.trash), exist_ok=True)
        self.run(self.make_tree, *(f"--{key.replace('_', '-')}={value}" for key, value in shape.items()),
                 self.trash)

    def plain(self, shape):
        self.make(shape)
        os.sync()
        return self.run(self.kestrin, "empty", "--yes")

    def as_root_folders(self, shape):
        """Root's folders; answers the files in them, and the folders."""
        self.make(shape)
        top = os.path.join(self.trash, "files")
        files, folders = [], []
        for folder, _, names in os.walk(top):
            files += [os.path.join(folder, name) for name in names]
            folders.append(folder)
        harness.run_as_root("sh", "-c", f"chown -R 0:0 '{top}'/*")
        os.sync()
        return files, folders[1:]

    def whole(self, shape):
        """The program from its start to its end, which has the folders erased by the helper."""
        self.as_root_folders(shape)
        seconds = self.run(self.kestrin, "empty", "--yes", "--forbidden=erase")
        if os.listdir(os.path.join(self.trash, "files")):
            raise SystemExit("bench: the program left something")
        return seconds

    def helped(self, shape):
        files, folders = self.as_root_folders(shape)
        path = os.path.join(self.place, "list")
        with open(path, "wb") as file:
            file.write(items_xml(permissions=files, folders=folders))
        caller = Child(self, CALLER, [], harness.USER)
        caller.line()
        order = {"do": "call", "method": "eraseFromFile", "tag": 1, "signature": "(ayh)",
                 "arguments": ["form", {"copy": path}]}
        caller.process.stdin.write(json.dumps(order).encode() + b"\n")
        caller.process.stdin.flush()
        told = {}
        while "seconds" not in told:
            told = json.loads(caller.line(600))
        caller.kill()
        if told["left"] or os.listdir(os.path.join(self.trash, "files")):
            raise SystemExit("bench: the helper left something")
        return told


    def idle(self):
        """How many processes of the helper are left when its commands are over, and the megabytes of memory that
        they have together, their shares of what is shared included."""
        time.sleep(1)
        kilobytes = []
        with harness.as_root():
            for process in filter(self.is_helper, filter(str.isdigit, os.listdir("/proc"))):
                with open(f"/proc/{process}/smaps_rollup", encoding="ascii") as file:
                    kilobytes += [int(line.split()[1]) for line in file if line.startswith("Pss:")]
        return len(kilobytes), sum(kilobytes) / 1000

    def is_helper(self, process):
        try:
            return os.path.samefile(f"/proc/{process}/exe", self.helper)
        except OSError:
            return False


def main():
    parser = argparse.ArgumentParser(prog="scripts/bench --helper", description=__doc__)
    parser.add_argument("--build", required=True, help="a build folder of the release preset")
    parser.add_argument("--beside", metavar="BUILD", help="another build, measured in turn with this one")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--on", metavar="FOLDER", help="measure on that folder's file system")
    parser.add_argument("--quick", action="store_true", help="a tenth of the files, two rounds")
    options = parser.parse_args()
    if os.geteuid() != 0:
        raise SystemExit("bench: start it by scripts/bench, as root or with sudo")
    shape = {"folders": 40, "files": 10000 if options.quick else 100000, "files_per_leaf": 100, "singles": 0}
    rounds = 2 if options.quick else options.rounds
    harness.enter_private_world()
    print(f"{time.strftime('%Y-%m-%d')}, {bench.machine()}, {rounds} rounds, "
          f"{shape['files']} files in {shape['folders']} folders")
    with contextlib.ExitStack() as undo:
        place = undo.enter_context(bench.volume(options.on, 8000))
        os.chown(place, harness.USER, harness.USER)
        undo.callback(os.seteuid, 0)
        subject = HelperBench(options.build, place, undo)
        plain, whole, helped, messages = [], [], [], []
        others = {"one command": [], "--forbidden=erase": []}
        for _ in range(rounds):
            if options.beside:
                subject.exchange(options.beside)
                others["--forbidden=erase"].append(subject.whole(shape))
                others["one command"].append(subject.helped(shape)["seconds"])
                subject.exchange(options.build)
            plain.append(subject.plain(shape))
            whole.append(subject.whole(shape))
            told = subject.helped(shape)
            helped.append(told["seconds"])
            messages.append(told["batches"] / told["seconds"])
        for name, times in (("one command", helped), ("--forbidden=erase", whole)):
            beside = {"the other build": others[name]} if options.beside else {}
            bench.report("Erasing", {name: times, "kestrin empty --yes": plain, **beside}, name)
        print(f"  {statistics.median(messages):.0f} messages a second, {told['items']} entries told")
        print("  %d processes idle, %.1f MB together" % subject.idle())


if __name__ == "__main__":
    main()
