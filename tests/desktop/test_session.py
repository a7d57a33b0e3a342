# SPDX-License-Identifier: GPL-3.0-or-later
"""The program among the others of its session: second starts, signals, and services that go away."""

import os
import signal

from desktop import DesktopTest
from harness import as_root, send


class SessionTest(DesktopTest):
    def test_second_start(self):
        """It hands its command to the first and ends."""
        self.trash.tree("tree")
        self.start_program()
        first = self.kestrin
        self.assertEqual(self.wait_for_end(self.launch()), 0)
        self.wait(self.menu, "the menu, with nothing else to show")
        self.close_menus()
        self.assertEqual(self.wait_for_end(self.launch("--empty-all")), 0)
        question = self.wait_for_window("Empty all trashes")
        self.wait_for_text(question, "^4 items")
        self.assertEqual(self.wait_for_end(self.launch("--empty-all")), 0)
        self.assertEqual(len(self.app.children), 1, "one question is enough")
        self.press(question, "Empty Trash")
        self.wait(lambda: not self.trash.names(), "the trash to be empty")
        self.assertIsNone(first.poll())
        self.assertEqual(self.wait_for_end(self.launch("--quit")), 0)
        self.assertEqual(self.wait_for_end(first), 0)

    def test_command_without_a_running_program(self):
        """Cancelling and SIGTERM answer its question with no."""
        self.trash.tree("tree")
        self.assertEqual(self.wait_for_end(self.launch("--quit")), 0)
        self.start_program("--empty-all")
        self.press(self.wait_for_window("Empty all trashes"), "Cancel")
        self.wait_until_gone("Empty all")
        self.ask_to_empty_all()
        send(self.kestrin, signal.SIGTERM)
        self.assertEqual(self.wait_for_end(), 0)
        self.assertEqual(self.trash.names(), [b"tree"])

    def test_session_bus_goes_away(self):
        """The icon and its menu are of the display; what a screen reader needs is gone."""
        self.trash.tree("tree")
        self.start_program()
        self.kill_part("dbus-daemon")
        self.click(self.icon_place())
        self.wait(self.tool_tip, "the menu")
        self.app = None
        self.key("Down", "Return")
        self.wait(lambda: b"Empty all trashes" in self.windows(), "the question")
        self.escape_until(lambda: b"Empty all trashes" not in self.windows(), "the question to close")
        self.assertRuns()
        send(self.kestrin, signal.SIGTERM)
        self.assertEqual(self.wait_for_end(), 0)
        self.assertEqual(self.trash.names(), [b"tree"])

    def test_crash(self):
        """The next start offers to show a report of it, once, and closing that question shows nothing."""
        self.start_program()
        send(self.kestrin, signal.SIGABRT)
        self.assertEqual(self.wait_for_end(), -signal.SIGABRT)
        self.start_program()
        self.wait_for_window("ended unexpectedly")
        self.escape_until(lambda: not self.window("ended unexpectedly"), "the question to close")
        with as_root():
            reports = os.listdir(os.path.join(self.home, b".local/state/Kestrin 3/Crash Reports"))
        self.assertEqual([name[:9] for name in reports], [b"Report 20"])
        self.assertRuns()

    def test_tray_that_comes_late(self):
        """What others asked for meanwhile is done then, but quitting at once."""
        self.kill_part("trayer")
        self.start_program_without_icon()
        self.assertEqual(self.wait_for_end(self.launch("--quit")), 0)
        self.assertEqual(self.wait_for_end(), 0)
        self.start_program_without_icon()
        self.assertEqual(self.wait_for_end(self.launch("--empty-all")), 0)
        self.start_tray()
        self.wait(self.icon_place, "the icon")
        self.wait_for_window("Empty all trashes")
        self.assertRuns()
