# SPDX-License-Identifier: GPL-3.0-or-later
"""The program among the others of its session: second starts, signals, and services that go away."""

import signal

from desktop import EMPTY_ALL, DesktopTest
from harness import send


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
        self.trash.tree("tree")
        self.assertEqual(self.wait_for_end(self.launch("--quit")), 0)
        self.start_program("--empty-all")
        question = self.wait_for_window("Empty all trashes")
        self.press(question, "Cancel")
        self.wait_until_gone("Empty all")
        self.assertEqual(self.trash.names(), [b"tree"])

    def test_sigterm_during_an_erase(self):
        """It acts as Stop, then the program ends."""
        slow = self.gated("Slow")
        slow.trash.tree("first", ["slow/a", "slow/b"])
        for number in range(300):
            slow.trash.tree(f"tree {number}", ["a"])
        self.start_program()
        self.choose(EMPTY_ALL)
        question = self.wait_for_window("Empty all trashes")
        self.wait_for_text(question, r"^\d+ items")
        slow.shut()
        self.press(question, "Empty Trash")
        self.wait(self.progress, "the progress")
        slow.shut(b"all")
        send(self.kestrin, signal.SIGTERM)
        self.wait_for_text(self.progress(), "Stopping")
        slow.open()
        self.assertEqual(self.wait_for_end(), 0)
        gone = [line for line in self.log_lines() if " /" in line]
        left = slow.entries_left()
        self.assertEqual(len(gone) + left, 604)
        self.assertGreater(left, 0)

    def test_sigterm_during_a_question(self):
        self.trash.tree("tree")
        self.start_program("--empty-all")
        self.wait_for_window("Empty all trashes")
        send(self.kestrin, signal.SIGTERM)
        self.assertEqual(self.wait_for_end(), 0)
        self.assertEqual(self.trash.names(), [b"tree"])

    def test_window_manager_and_tray_go_away(self):
        self.trash.tree("tree")
        self.start_program()
        self.kill_part("openbox")
        self.open_menu()
        self.close_menus()
        self.kill_part("trayer")
        self.wait(lambda: not self.icon_place(), "the icon to go")
        self.start_window_manager()
        self.start_tray()
        self.wait(self.icon_place, "the icon to come back")
        self.choose(EMPTY_ALL)
        question = self.wait_for_window("Empty all trashes")
        self.wait_for_text(question, "^4 items")
        self.press(question, "Empty Trash")
        self.wait(lambda: not self.trash.names(), "the trash to be empty")
        self.assertRuns()

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

    def test_tray_that_comes_late(self):
        """What others asked for meanwhile is done then."""
        self.kill_part("trayer")
        self.kestrin = self.launch()
        self.app = self.wait(lambda: self.bus.program("kestrin"), "the program on the bus")
        self.assertEqual(self.wait_for_end(self.launch("--empty-all")), 0)
        self.start_tray()
        self.wait(self.icon_place, "the icon")
        self.wait_for_window("Empty all trashes")
        self.assertRuns()

    def test_quit_before_there_is_a_tray(self):
        self.kill_part("trayer")
        self.kestrin = self.launch()
        self.wait(lambda: self.bus.program("kestrin"), "the program on the bus")
        self.assertEqual(self.wait_for_end(self.launch("--quit")), 0)
        self.assertEqual(self.wait_for_end(), 0)

    def test_no_status_area(self):
        """After half a minute the program says so, says how to go on, and ends."""
        self.kill_part("trayer")
        self.kestrin = self.launch()
        self.app = self.wait(lambda: self.bus.program("kestrin"), "the program on the bus")
        message = self.wait(lambda: self.window("no place in the status area"), "the message", 60)
        self.wait_for_text(message, "commands in a terminal")
        self.press(message, "OK")
        self.assertEqual(self.wait_for_end(), 1)
