# SPDX-License-Identifier: GPL-3.0-or-later
"""What the two scripts do as root: all of the helper is installed or nothing, and all of it goes."""

import hashlib
import os
import shutil
import socket
import stat
import subprocess
import sys

import harness
from harness import EndToEndTest, as_root, run_as_root

sys.path.append(os.path.join(os.path.dirname(__file__), "../helper/service"))
from privatebus import RESOURCES  # noqa: E402  (after the path)

LABEL = "com.quorvane.Kestrin3Helper"
ACTION = "com.quorvane.kestrin-3.policy"
HELPER = os.path.join("/usr/libexec", LABEL)
SERVICES = "/usr/share/dbus-1/system-services"
POLICIES = "/usr/share/dbus-1/system.d"
ACTIONS = "/usr/share/polkit-1/actions"
FOLDERS = ("/usr/libexec", SERVICES, POLICIES, ACTIONS)
FILES = {os.path.join(SERVICES, LABEL + ".service"): LABEL + ".service",
         os.path.join(POLICIES, LABEL + ".conf"): LABEL + ".conf",
         os.path.join(ACTIONS, ACTION): ACTION}


def resource(name):
    with open(os.path.join(RESOURCES, name), encoding="utf-8") as file:
        return file.read()


class InstallationTest(EndToEndTest):
    """A machine of its own where the helper's files go."""

    def setUp(self):
        super().setUp()
        for folder in FOLDERS:
            run_as_root("mount", "-t", "tmpfs", "-o", "mode=755", "none", folder)
        with open("/usr/bin/sleep", "rb") as file:  # a program that can be seen running
            self.tool = file.read()

    def words(self, tool):
        return ["/bin/sh", "-c", resource("Install.sh"), "kestrin", LABEL,
                hashlib.sha256(tool).hexdigest(), *(resource(name) for name in FILES.values())]

    def install(self, tool=None, shell="/bin/sh", environment=None):
        words = [shell, *self.words(tool or self.tool)[1:]]
        return self.run_script(words, tool or self.tool, environment)

    def uninstall(self, shell="/bin/sh", environment=None):
        return self.run_script([shell, "-c", resource("Uninstall.sh"), "kestrin"], b"", environment)

    def run_script(self, words, stdin, environment=None):
        done = subprocess.run(words, input=stdin, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              preexec_fn=lambda: harness._become(0), check=False, env=environment or {},
                              cwd="/", timeout=60)
        self.output = done.stdout
        return done.returncode

    def found(self):
        """Every file below the four folders."""
        with as_root():
            return sorted(os.path.join(folder, name) for top in FOLDERS
                          for folder, _, names in os.walk(top) for name in names)

    def assertInstalled(self, tool):
        found = self.found()
        self.assertEqual(found, sorted([HELPER, *FILES]), self.output)
        for path in found:
            status = os.stat(path)
            self.assertEqual((status.st_uid, status.st_gid), (0, 0), path)
            expected = 0o755 if path == HELPER else 0o644
            self.assertEqual(stat.S_IMODE(status.st_mode), expected, path)
            with open(path, "rb") as file:
                content = file.read()
            self.assertEqual(content, tool if path == HELPER else resource(FILES[path]).encode())

    def test_install_update_and_remove(self):
        self.assertEqual(self.install(), 0, self.output)
        self.assertInstalled(self.tool)
        self.assertEqual(self.install(b"another"), 0, self.output)
        self.assertInstalled(b"another")
        self.assertEqual(self.uninstall(), 0, self.output)
        self.assertEqual(self.found(), [])
        self.assertEqual(self.uninstall(), 0, "what is not there is no failure")

    def test_a_failure_at_the_last_file(self):
        """The others are in their places by then."""
        for earlier in (True, False):
            if earlier:
                self.assertEqual(self.install(b"first"), 0, self.output)
            service = os.path.join(SERVICES, LABEL + ".service")
            with as_root():
                if earlier:
                    os.unlink(service)
                os.mkdir(service)  # a file cannot take its place
            self.assertEqual(self.install(b"second"), 1, self.output)
            with as_root():
                os.rmdir(service)
            left = self.found()
            self.assertEqual(left, sorted({HELPER, *FILES} - {service}) if earlier else [])
            if earlier:
                with open(HELPER, "rb") as file:
                    self.assertEqual(file.read(), b"first")
                self.uninstall()

    def test_links_are_replaced_and_not_followed(self):
        precious = os.path.join(self.outside, b"file")
        with as_root():
            os.symlink(precious, HELPER)
        before = harness.listing(self.outside)
        self.assertEqual(self.install(), 0, self.output)
        self.assertInstalled(self.tool)
        self.assertEqual(harness.listing(self.outside), before)

    def test_nothing_of_the_environment_takes_part(self):
        """As when a shell of root's starts the scripts, and not pkexec."""
        bus = socket.socket(socket.AF_UNIX)
        self._undo.callback(bus.close)
        bus.bind(b"\0" + self.scratch)
        bus.listen()
        bus.setblocking(False)
        mark = os.path.join(self.scratch, b"mark")
        environment = {b"DBUS_SYSTEM_BUS_ADDRESS": b"unix:abstract=" + self.scratch, b"IFS": b"/",
                       b"PATH": self.scratch, b"ENV": mark}
        for name in (b"dbus-send", b"rm", b"unset", b"export", b"sed", b"mv", b"[", b"echo", b"umask"):
            environment[b"BASH_FUNC_" + name + b"%%"] = b"() { >" + mark + b"; }"
        for shell in ("/bin/sh", "/bin/bash"):
            self.assertEqual(self.install(shell=shell, environment=environment), 0, self.output)
            self.assertInstalled(self.tool)
            self.assertEqual(self.uninstall(shell, environment), 0, self.output)
            self.assertEqual((self.found(), self.output), ([], b""))
            self.assertRaises(BlockingIOError, bus.accept)
            self.assertFalse(os.path.exists(mark))

    def test_another_program_or_a_strange_name_is_refused(self):
        words = self.words(self.tool)
        self.assertEqual(self.run_script(words, b"another"), 1)
        self.assertIn(b"not the one that was allowed", self.output)
        for name in ("", "../../etc/evil", "a/b", "a b", "-rf"):
            words[4] = name
            self.assertEqual(self.run_script(words, self.tool), 1, name)
        self.assertEqual(self.found(), [])

    def test_removing_has_the_helper_that_runs_end_in_order(self):
        """Its parent is told, takes its time, and ends the others itself."""
        with open("/bin/dash", "rb") as file:
            self.assertEqual(self.install(file.read()), 0, self.output)
        namesake = os.path.join(self.home, LABEL.encode())
        shutil.copy("/usr/bin/sleep", namesake)
        parent = "trap 'sleep 3; kill -KILL $!; echo in order; exit' TERM; $0 -c \"$1\" & while :; do wait; done"
        child = "trap 'echo disturbed' TERM; while :; do sleep 0.1; done"
        running = subprocess.Popen([HELPER, "-c", parent, HELPER, child], stdout=subprocess.PIPE)
        other = subprocess.Popen([namesake, "100"])
        self._undo.callback(other.wait)
        self._undo.callback(other.kill)
        self.assertEqual(self.uninstall(), 0, self.output)
        self.assertEqual(running.communicate(timeout=10)[0], b"in order\n")
        # A link at the helper's place is no reason to end what it leads to.
        with as_root():
            os.symlink(namesake, HELPER)
        self.assertEqual(self.uninstall(), 0, self.output)
        self.assertEqual(self.found(), [])
        self.assertIsNone(other.poll())
