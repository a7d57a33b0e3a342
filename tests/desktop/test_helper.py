# SPDX-License-Identifier: GPL-3.0-or-later
"""The privileged helper from the first question to what it erases, with the real policy service."""

import os
import re
import signal
import sys

from desktop import EMPTY_ALL, PROGRAM, DesktopTest
from harness import as_root, require, run_as_root, send, wait_until

sys.path.append(os.path.join(os.path.dirname(__file__), "../helper/service"))
from helpertest import Agent  # noqa: E402  (after the path)
from privatebus import PrivateBus  # noqa: E402

HELPER = os.environ.get("KESTRIN_HELPER", "")
INSTALLED = "/usr/libexec/com.quorvane.Kestrin3Helper"
QUESTION = "Do you want to install"


class HelperTest(DesktopTest):
    """A machine without the helper, and a user who has not said that he wants none."""

    def setUp(self):
        require("pkexec")
        super().setUp()
        self.write_settings(show_install_helper_tool="false")
        self.environment.pop("DBUS_SYSTEM_BUS_ADDRESS")
        self.start_system_bus()
        self.make_installation()
        self.fill()

    def start_system_bus(self):
        folder = os.path.join(self.scratch, b"bus")
        self.system_bus = PrivateBus(folder, None)
        self._undo.callback(self.system_bus.stop)
        # What is installed is installed into this bus.
        for place, own in (("/usr/share/dbus-1/system-services", b"services"),
                           ("/usr/share/dbus-1/system.d", b"system.d")):
            run_as_root("mount", "--bind", os.path.join(folder, own), place)
        run_as_root("mount", "-t", "tmpfs", "-o", "mode=755", "none", "/usr/libexec")

    def make_installation(self):
        """The program and its helper as they lie when they are installed for one user."""
        prefix = os.path.join(self.scratch, b"prefix")
        self.program = os.path.join(prefix, b"bin/kestrin")
        tool = os.path.join(prefix, b"lib/kestrin", os.path.basename(INSTALLED).encode())
        with as_root():
            for path, source in ((self.program, PROGRAM), (tool, HELPER)):
                os.makedirs(os.path.dirname(path))
                open(path, "wb").close()
                run_as_root("mount", "--bind", source, path)

    def fill(self):
        self.locked = self.trash.file("locked")
        self.forbidden = self.trash.tree("forbidden")
        self.trash.file("plain")
        run_as_root("chown", "-R", "0:0", self.forbidden)
        self.lock(self.locked)

    def start_and_read_question(self):
        self.start_program()
        return self.wait_for_window(QUESTION)

    def test_preferences_install_and_remove_it_whatever_the_question_was_answered(self):
        """Unasked, as the user said; what is there then is what an erase goes by."""
        self.write_settings(show_install_helper_tool="true")
        self.start_program("--preferences")
        preferences = self.wait_for_window("The helper is not installed")
        agent = Agent(self, self.kestrin.pid, "accept")
        self.press(preferences, "Install…")
        self.assertEqual(agent.line(), "asked org.freedesktop.policykit.exec\n")
        self.wait_for_text(preferences, "^The helper, version 2.0.0, is installed")
        self.press(preferences, "Remove…")
        self.wait_for_text(preferences, "^The helper is not installed")
        self.assertFalse(os.path.exists(INSTALLED))
        self.key("Escape")
        self.choose(EMPTY_ALL)
        self.press(self.wait_for_window(r"Empty all trashes\?"), "Empty Trash")
        self.wait_for_window("not authorized")
        self.assertEqual(self.trash.names(), [b"forbidden", b"locked"])

    def answer_for_all(self, about):
        """Has the refused entries of one kind erased."""
        question = self.wait_for_window(about)
        title = question.name
        self.click(question.find("check box"))
        self.press(question, "Erase")
        self.wait_until_gone(re.escape(title))

    def test_installed_after_a_question_it_erases_what_the_user_cannot(self):
        question = self.start_and_read_question()
        agent = Agent(self, self.kestrin.pid, "accept")
        self.press(question, "Install")
        self.assertEqual(agent.line(), "asked org.freedesktop.policykit.exec\n")
        self.wait(lambda: os.path.exists(INSTALLED), "the helper in its place")
        self.wait_until_gone(QUESTION)
        self.choose(EMPTY_ALL)
        self.press(self.wait_for_window("Empty all trashes"), "Empty Trash")
        for _ in range(2):
            self.answer_for_all("locked|permission")
        self.assertEqual(agent.line(), "asked com.quorvane.kestrin-3.eraseAuthorized\n")
        self.wait(lambda: not self.trash.names() and not self.trash.records(), "an empty trash")
        self.wait(lambda: "Finished" in self.log_lines()[-2], "the log's end")
        numbers = [int(line.split(" ")[0]) for line in self.log_lines() if " /" in line]
        self.assertEqual(numbers, list(range(1, len(numbers) + 1)))
        self.assertRuns()

    def test_uninstalling_leaves_nothing(self):
        """Also with a window open that knows the settings. The file manager is asked for the program."""
        configuration = os.path.join(self.home, b".config")
        entry = os.path.join(configuration, b"autostart/com.quorvane.Kestrin3.desktop")
        self.write_settings(show_install_helper_tool="false", launch_at_login="true")
        question = self.start_and_read_question()
        agent = Agent(self, self.kestrin.pid, "accept")
        self.press(question, "Install")
        agent.line()
        self.wait(lambda: os.path.exists(INSTALLED) and os.path.exists(entry), "the installation")
        asked = self.run_part("dbus-monitor", "--session", "interface='org.freedesktop.FileManager1'")
        self.launch("--preferences")
        self.wait_for_window("Preferences")
        for answer in ("Don’t Uninstall", "Uninstall"):
            self.choose_service("Uninstall")
            self.assertTrue(os.path.exists(INSTALLED) and os.path.exists(entry))
            self.press(self.wait_for_window("Do you want to uninstall"), answer)
        agent.line()
        self.press(self.wait_for_window("has been uninstalled"), "OK")
        self.assertEqual(self.wait_for_end(), 0)
        with open(asked.log, "rb") as log:
            self.assertIn(b"file://" + self.program, log.read())
        with as_root():
            left = [path for path in (INSTALLED, entry, os.path.join(configuration, b"com.quorvane.kestrin-3.conf"))
                    if os.path.exists(path)]
        self.assertEqual(left, [])
        self.assertEqual(len(self.trash.names()), 3)

    def install_mute_helper(self):
        """One that answers nobody. Answers whether it was asked for its version."""
        marker = os.path.join(self.scratch, b"bus/asked")
        with as_root():
            self.system_bus.install(b"/bin/sh -c \"touch '%s'; exec sleep 60\"" % marker)
            open(INSTALLED, "wb").close()
        return lambda: os.path.exists(marker)

    def watch_pkexec(self):
        """Answers what tells how often the program has started it."""
        folder = os.path.join(self.scratch, b"watch")
        with as_root():
            os.mkdir(folder)
            os.chmod(folder, 0o777)
            with open(os.path.join(folder, b"pkexec"), "w") as file:
                file.write('#!/bin/sh\necho >>"${0%/*}/starts"\nexec /usr/bin/pkexec "$@"\n')
            os.chmod(file.name, 0o755)
        self.environment["PATH"] = os.fsdecode(folder) + ":" + self.environment["PATH"]
        starts = os.path.join(folder, b"starts")
        return lambda: os.path.getsize(starts) if os.path.exists(starts) else 0

    def test_quitting_begins_nothing_as_root(self):
        """Neither during the question nor while a mute helper is asked for its version; and a password
        that comes later is worth nothing."""
        starts = self.watch_pkexec()
        for stage in ("question", "password", "mute helper"):
            if stage == "mute helper":
                is_asked = self.install_mute_helper()
                self.kestrin = self.launch()
                self.wait(is_asked, "the question for the version")
            else:
                question = self.start_and_read_question()
            agent = Agent(self, self.kestrin.pid, "wait" if stage == "password" else "accept")
            if stage == "password":
                self.press(question, "Install")
                agent.line()
            before = starts()
            send(self.kestrin, signal.SIGTERM)
            self.assertEqual(self.wait_for_end(timeout=10), 0, stage)
            if stage == "password":
                self.assertEqual(agent.line(), "taken back\n")
            with self.assertRaises(AssertionError, msg=stage):
                wait_until(lambda before=before: starts() > before, "a start", 1)
        self.assertEqual(starts(), 1)
