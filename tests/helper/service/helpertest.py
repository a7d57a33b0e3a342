# SPDX-License-Identifier: GPL-3.0-or-later
"""What the tests of the helper share: the bus, programs that call the helper, agents that answer."""

import json
import os
import plistlib
import queue
import subprocess
import sys
import threading
import time
from urllib.parse import quote_from_bytes, unquote_to_bytes

import harness
from harness import TIME_FACTOR, USER, EndToEndTest, TrashCan, as_root, run_as_root, to_bytes
from privatebus import PrivateBus

ERROR = "com.quorvane.Kestrin3Helper.Error."
INVALID, DENIED, CANCELLED, BUSY = (
    ERROR + name for name in ("Invalid", "NotAuthorized", "Cancelled", "Busy"))
FOLDER = os.path.dirname(os.path.abspath(__file__))


def source_of(name):
    with open(os.path.join(FOLDER, name), encoding="utf-8") as file:
        return file.read()


def encoded(path):
    return quote_from_bytes(to_bytes(path), safe="/")


def items_xml(unlock=(), permissions=(), folders=None, size=0, count=0):
    """The items dictionary of an erase command."""
    items = {"unlockItems": [encoded(path) for path in unlock],
             "permissionsItems": [encoded(path) for path in permissions],
             "erasedSize": size, "erasedCount": count}
    if folders is not None:
        items["notTrashedBecauseFolderNotEmpty"] = [encoded(path) for path in folders]
    return plistlib.dumps(items)


class Child:
    """A program in Python that writes lines; run as `user`. The tree may be closed to that user, so the
    source is handed over."""

    def __init__(self, test, source, arguments, user):
        self.process = subprocess.Popen(
            [sys.executable, "-B", "-c", source, *map(str, arguments)], cwd="/",
            env={"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8"}, stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, preexec_fn=lambda: harness._become(user))
        test._undo.callback(self.kill)
        self.lines = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            self.lines.put(line.decode())
        self.lines.put(None)

    def line(self, timeout=30):
        line = self.lines.get(timeout=timeout * TIME_FACTOR)
        if line is None:
            raise AssertionError("the program has ended")
        return line

    def kill(self):
        if self.process.poll() is None:
            with as_root():
                self.process.kill()
            self.process.wait()


class Agent(Child):
    """Answers the policy service's questions about one process of the user's."""

    def __init__(self, test, process, answer):
        source = source_of("caller.py").rsplit("\nif __name__", 1)[0]
        source += source_of("agent.py").replace("from caller import start_time\n", "")
        super().__init__(test, source, [process, USER, answer], 0)
        assert self.line() == "ready\n"


class Caller(Child):
    """A program with a connection to the bus; see caller.py."""

    def __init__(self, test, user=USER):
        super().__init__(test, source_of("caller.py"), [], user)
        self.items = []     # (count, total, size, path) of every item told
        self.told = {"finishedWithNonErasedCount": [], "interrupted": [], "attributesNotRestored": []}
        self.left = self.told["finishedWithNonErasedCount"]
        self.replies = {}
        self.has_flooded = False
        self._tags = 0
        self.pid = json.loads(self.line())["pid"]

    def order(self, **order):
        self.process.stdin.write(json.dumps(order).encode() + b"\n")
        self.process.stdin.flush()

    def send(self, method, signature="()", *arguments, interactive=False):
        """Sends a call; answers a tag for `reply`."""
        self._tags += 1
        self.order(do="call", method=method, tag=self._tags, signature=signature,
                   arguments=arguments, interactive=interactive)
        return self._tags

    def wait(self, condition, timeout=60):
        """Takes what the program tells until it is so; queue.Empty when nothing comes in time."""
        deadline = time.monotonic() + timeout * TIME_FACTOR
        while not condition():
            self._take(json.loads(self.line(max(0.001, deadline - time.monotonic()) / TIME_FACTOR)))

    def _take(self, event):
        if event["event"] == "erased":
            self.items += [(*item[:3], unquote_to_bytes(item[3])) for item in event["items"]]
        elif event["event"] in self.told:
            self.told[event["event"]].append(event["value"])
        elif event["event"] == "reply":
            self.replies[event["tag"]] = event
        elif event["event"] == "flooded":
            self.has_flooded = True

    def reply(self, tag, timeout=60):
        self.wait(lambda: tag in self.replies, timeout)
        return self.replies[tag]

    def call(self, method, signature="()", *arguments, **options):
        return self.reply(self.send(method, signature, *arguments, **options))

    def version(self):
        return self.call("getVersion")["values"]

    def send_erase(self, xml, authorization="form", interactive=False):
        """`authorization`: "form" for the true one, else its bytes. `xml`: bytes, or what describes a
        file to hand over (see caller.py)."""
        if authorization != "form":
            authorization = authorization.hex()
        if isinstance(xml, bytes):
            return self.send("erase", "(ayay)", authorization, xml.hex(), interactive=interactive)
        return self.send("eraseFromFile", "(ayh)", authorization, xml, interactive=interactive)

    def erase(self, xml=None, interactive=False, timeout=60, **items):
        """Has it erased; answers the count of what is left. Fails when the command is refused."""
        reply = self.reply(self.send_erase(items_xml(**items) if xml is None else xml,
                                           interactive=interactive), timeout)
        if reply["error"]:
            raise AssertionError(f"refused: {reply}")
        return self.end(timeout)

    def end(self, timeout=60):
        """Waits for the end of one command; answers the count of what is left."""
        self.wait(lambda: self.left, timeout)
        return self.left.pop(0)


class HelperTest(EndToEndTest):
    """A test with a bus and a helper; an administrator's rule lets the user erase."""

    rule = "YES"
    idle_seconds = 60

    def setUp(self):
        super().setUp()
        self.bus = PrivateBus(os.path.join(self.scratch, b"bus"), self.program, self.idle_seconds, self.rule)
        self._undo.callback(self.bus.stop)

    def tearDown(self):
        self.assertNotIn("Sanitizer", self.bus.messages())
        super().tearDown()

    def keep_home_in_memory(self):
        """For tests with many files. What is in the home is gone from sight."""
        self.tmpfs(self.home)
        self.trash = TrashCan(self.trash.folder)

    def caller(self, user=USER):
        return Caller(self, user)

    def hold(self, caller=None, **items):
        """Has a command of that caller begin, which answers no report; answers the caller."""
        caller = caller or self.caller()
        caller.order(do="answer", answers=False)
        reply = caller.reply(caller.send_erase(items_xml(**items)))
        self.assertIsNone(reply["error"], reply)
        caller.wait(lambda: caller.items)
        return caller

    def held_folder(self, folder):
        """The folder, of which the kernel's lock is held from now on: not even SIGKILL ends who waits for it."""
        harness.require("fusermount")
        point = os.path.join(self.home, b"point")
        os.mkdir(point)
        holder = Child(self, source_of("folder_holder.py"), [os.fsdecode(folder), os.fsdecode(point)], USER)
        self.assertEqual(holder.line(), "held\n")
        return folder

    def forbidden(self, name, entries=("a", "b/c")):
        """A trashed folder of root's, which the user cannot empty; answers its path."""
        top = self.trash.tree(name, entries)
        run_as_root("chown", "-R", "0:0", top)
        return top

    def much(self, name):
        """Such a folder, of which few entries fill all there is between a worker and its caller."""
        return self.forbidden(name, [f"{'n' * 250}/" * 14 + f"{'n' * 240}{file}" for file in range(1200)])

    @staticmethod
    def status(process):
        with open(f"/proc/{process}/status", encoding="ascii") as file:
            return dict(line.rstrip("\n").replace("\t", "").split(":", 1) for line in file)

    @staticmethod
    def children(process):
        with open(f"/proc/{process}/task/{process}/children", encoding="ascii") as file:
            return file.read().split()

    @staticmethod
    def is_running(process):
        try:
            with open(f"/proc/{process}/stat", "rb") as file:
                return file.read().rsplit(b")", 1)[1].split()[0] != b"Z"
        except FileNotFoundError:
            return False

    def workers(self):
        """The processes that carry out commands."""
        service = str(self.bus.process_of())
        return [child for child in self.children(self.status(service)["PPid"]) if child != service]

    @staticmethod
    def sockets(process):
        """The descriptors of its sockets."""
        folder = f"/proc/{process}/fd"
        with as_root():
            return [int(fd) for fd in os.listdir(folder) if os.readlink(f"{folder}/{fd}").startswith("socket:")]

    def attributes(self, path):
        return self.run_as_user("lsattr", "-d", path).split()[0].decode()

    def everything(self):
        """All that must stay as it is, with modes, times and contents."""
        found = harness.listing(self.scratch, times="mc")
        log = os.path.join(self.scratch, b"bus/bus.log")
        return {path: facts for path, facts in found.items() if path != log}

    def assertBounded(self, megabytes, process=None):
        """That process of the helper, the service by default, never took more memory. A sanitizer takes what
        it likes."""
        peak = int(self.status(process or self.bus.process_of())["VmHWM"].split()[0])
        if TIME_FACTOR == 1:
            self.assertLess(peak * 1024 / 1e6, megabytes)

    def assertAlive(self):
        self.assertEqual(self.caller().version(), ["2.0.0"])
