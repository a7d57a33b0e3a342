# SPDX-License-Identifier: GPL-3.0-or-later
"""What the user cannot remove goes by the real helper, over a system bus with the real policy service."""

import os
import re
import subprocess
import sys
import tempfile

import harness
from harness import EndToEndTest, Terminal, as_root, run_as_root

sys.path.append(os.path.join(os.path.dirname(__file__), "../helper/service"))
from privatebus import SERVICE, PrivateBus  # noqa: E402  (after the path)

HELPER = os.environ.get("KESTRIN_HELPER", "")
PROMPT = re.compile(rb"\[y/N\] |for all\): ")
ERASE = ("--locked=erase", "--forbidden=erase")


OLD_HELPER = """exec /usr/bin/python3 - <<'END'
from gi.repository import Gio, GLib
name = "com.quorvane.Kestrin3Helper"
node = Gio.DBusNodeInfo.new_for_xml(
    '<node><interface name="com.quorvane.Kestrin3.QVHelperToolProtocol">'
    '<method name="getVersion"><arg type="s" direction="out"/></method></interface></node>')
bus = Gio.bus_get_sync(Gio.BusType.SYSTEM)
bus.register_object("/com/quorvane/Kestrin3Helper", node.interfaces[0],
                    lambda *call: call[-1].return_value(GLib.Variant("(s)", ("1.4.2",))), None, None)
Gio.bus_own_name_on_connection(bus, name, 0, None, None)
GLib.MainLoop().run()
END
"""


class HelperTest(EndToEndTest):
    """A machine on which the helper is installed."""

    def setUp(self):
        super().setUp()
        self.environment.pop("DBUS_SYSTEM_BUS_ADDRESS")
        # The thread sanitizer cannot see how Qt DBus hands over.
        self.environment.setdefault("TSAN_OPTIONS", "ignore_noninstrumented_modules=1")
        self.lend("libkestrin_helper.so")
        run_as_root("mount", "-t", "tmpfs", "-o", "mode=755", "none", "/usr/libexec")
        self.helper = "/usr/libexec/com.quorvane.Kestrin3Helper"

    def start_bus(self, helper=None, **options):
        """`helper`: another program in its place. For the others see PrivateBus."""
        run_as_root("install", "-m", "755", helper or HELPER, self.helper)
        with as_root():
            folder = tempfile.mkdtemp(prefix=b"bus", dir=self.scratch)
        self.bus = PrivateBus(folder, self.helper, **options)
        self._undo.callback(self.bus.stop)

    def fake_helper(self, text):
        """A shell script for the helper's place."""
        path = os.path.join(self.home, b"fake%d" % len(text))
        with open(path, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\n" + text)
        return path

    def fill(self):
        """A locked file, a folder of root's with contents, and what the user can remove."""
        self.locked = self.trash.file("locked", b"12345")
        self.forbidden = self.trash.tree("forbidden")
        self.plain = self.trash.file("plain", b"123")
        run_as_root("chown", "-R", "0:0", self.forbidden)
        run_as_root("chmod", "700", self.forbidden)
        self.lock(self.locked)

    def stayed(self, run):
        """Status 1, the plain file gone, the two others named and there."""
        self.assertEqual(self.trash.names(), [b"forbidden", b"locked"], run)
        self.assertEqual(self.trash.records(), [b"forbidden", b"locked"], run)
        self.assertStayed(run, self.locked, "locked")
        self.assertStayed(run, self.forbidden, "forbidden")
        self.assertEqual(run.json["erasedCount"], 1)

    def empty(self, *options, **rest):
        return self.succeed("empty", "--yes", "--json", *ERASE, *options, **rest)


class Authorised(HelperTest):
    def test_locked_file_and_folder_of_root_go(self):
        self.start_bus(answer="YES")
        self.trash.file("plain")
        self.empty("--no-log")
        self.assertIsNone(self.bus.process_of(), "nothing needed the helper")
        self.fill()
        thumbnails = [self.make_thumbnail(path) for path in (self.locked, self.forbidden, self.plain)]
        run = self.empty()
        self.assertGone()
        self.assertEqual([path for path in thumbnails if os.path.exists(path)], [])
        # The folder, its two files and its folder; the two others.
        self.assertEqual(run.json, {"erasedCount": 6, "erasedSize": 5 + 3 + 10, "notErased": [],
                                    "wasStoppedByUser": False, "dryRun": False})
        self.assertEqual(run.err, b"")
        lines = self.log_lines()[1:-2]
        self.assertEqual([int(line.split(" ")[0]) for line in lines], [1, 2, 3, 4, 5, 6], lines)
        named = {line.split(" ", 1)[1] for line in lines}
        self.assertLessEqual({os.fsdecode(self.locked), os.fsdecode(self.forbidden) + "/b/c"}, named)


class OnATerminal(HelperTest):
    """The administrator's password is asked for where the command was typed."""

    def setUp(self):
        super().setUp()
        harness.require("pkttyagent", "openssl")
        self.start_bus(answer="AUTH_ADMIN_KEEP")
        self.set_password()
        self.fill()
        self.terminal = Terminal(self, "empty")
        for count, answer in enumerate((b"y\n", b"erase all\n", b"erase all\n")):
            self.terminal.read_until(lambda text, n=count: len(PROMPT.findall(text)) > n)
            self.terminal.type(answer)
        self.terminal.read_until(lambda text: b"Password:" in text and self.terminal.hides_input())

    def set_password(self):
        """Root's, in this test's own world."""
        path = os.path.join(self.scratch, b"shadow")
        with as_root():
            word = subprocess.check_output(["openssl", "passwd", "-6", "secret"]).decode().strip()
            with open(path, "w", encoding="ascii") as file:
                file.write(f"root:{word}:19000:0:99999:7:::\n")
            os.chmod(path, 0o600)
        run_as_root("mount", "--bind", path, "/etc/shadow")

    def test_the_right_password(self):
        self.terminal.type(b"secret\n")
        self.assertEqual(self.terminal.end(), 0, self.terminal.text)
        self.assertGone()

    def test_interrupted(self):
        self.terminal.type(b"\x03")
        self.assertEqual(self.terminal.end(), 3, self.terminal.text)
        self.assertEqual(self.trash.names(), [b"forbidden", b"locked"])
        self.assertFalse(self.terminal.hides_input(), "what is typed shows again")


class NotUsable(HelperTest):
    def check_stays(self, *words):
        self.fill()
        run = self.empty("--no-log", status=1)
        self.stayed(run)
        for word in words:
            self.assertIn(word, run.err)
        self.assertLess(run.seconds, 8 * harness.TIME_FACTOR)
        run_as_root("chattr", "-i", self.locked)
        run_as_root("rm", "-r", self.locked, self.forbidden)

    def test_what_needs_it_stays_and_the_reason_is_told(self):
        self.check_stays(b"helper is not installed")
        for helper, answer, words in ((None, "NO", [b"not authorized"]),
                                      (self.fake_helper("sleep 100\n"), None, [b"does not answer"]),
                                      (self.fake_helper(OLD_HELPER), None, [b"version 2.0.0", b"1.4.2"])):
            with self.subTest(words):
                self.start_bus(helper, answer=answer)
                self.check_stays(*words)
                self.bus.stop()
        self.check_stays(b"system bus")
        self.start_bus()
        run_as_root("kill", "-STOP", str(self.bus.daemon.pid))  # it listens, and never answers
        self.check_stays(b"system bus")
