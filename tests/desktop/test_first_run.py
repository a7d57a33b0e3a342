# SPDX-License-Identifier: GPL-3.0-or-later
"""What the program asks and shows before anything else, and what it does not show by itself."""

import os
import re
import signal

from desktop import DesktopTest
from harness import send

DISCLAIMER, HELPER, WELCOME, SMART_WINDOW = "for good", "Do you want to install", "^Welcome", "Smart Window"


class FirstRunTest(DesktopTest):
    def setUp(self):
        super().setUp()
        self.trash.file("kept")
        self.write_settings(is_first_run="true", show_install_helper_tool="false")

    def settings(self):
        with open(os.path.join(self.home, b".config/com.quorvane.kestrin-3.conf")) as file:
            return file.read()

    def assertOneWindow(self):
        self.assertEqual(len(self.app.children), 1, self.report())

    def test_who_does_not_agree_sees_and_stores_nothing(self):
        """However that is said; and other starts and the keyboard only bring the question forward."""
        before = self.settings()
        for end in ("Disagree", "Escape", "SIGTERM", "--quit"):
            self.start_program("--smart-window")
            question = self.wait_for_window(DISCLAIMER)
            for action in ("", "--smart-window", "--empty-all"):
                self.assertEqual(self.wait_for_end(self.launch(*([action] if action else []))), 0)
            self.key("ctrl+super+BackSpace", "shift+super+s")
            self.wait(lambda: "active" in question.states, "the question in front")
            self.assertOneWindow()
            if end == "Disagree":
                self.press(question, end)
            elif end == "SIGTERM":
                send(self.kestrin, signal.SIGTERM)
            elif end == "--quit":
                self.launch(end)
            else:
                self.key(end)
            self.assertEqual(self.wait_for_end(), 0, end)
            self.assertEqual(self.settings(), before, end)
        self.assertEqual(self.trash.names(), [b"kept"])

    def test_who_agrees_is_greeted_once(self):
        self.start_program("--smart-window")
        self.press(self.wait_for_window(DISCLAIMER), "^Agree")
        question = self.wait_for_window(HELPER)
        self.assertOneWindow()
        self.key("Escape")
        welcome = self.wait_for_window(WELCOME)
        self.wait_for_window(SMART_WINDOW)
        self.assertIn("is_first_run=false", self.settings())
        self.assertNotIn("show_install_helper_tool=true", self.settings())
        self.assertNotIn("showing", question.states)
        self.assertEqual(self.wait_for_end(self.launch("--quit")), 0)
        self.assertEqual(self.wait_for_end(), 0)
        self.assertNotIn("showing", welcome.states)
        self.start_program()
        self.wait_for_window(HELPER)
        self.assertOneWindow()

    def test_start_at_login_opens_no_window(self):
        """The user's first command is what the questions wait for."""
        self.start_program("--login")
        self.assertEqual(self.wait_for_end(self.launch("--login")), 0)
        self.open_menu()
        self.close_menus()
        self.assertEqual(len(self.app.children), 0, self.report())
        self.choose("Empty All Trashes")
        self.press(self.wait_for_window(DISCLAIMER), "^Agree")
        self.wait_for_window(HELPER)
        self.key("Escape")
        self.wait_for_window(WELCOME)
        self.wait_for_window("Empty all trashes")
        self.key("Escape")
        self.assertEqual(self.trash.names(), [b"kept"])

    def test_damaged_settings_file_is_no_first_run(self):
        """It stays as it is until the user changes something."""
        folder, noise = os.path.join(self.home, b".config"), "a=b\n\0\n"
        with open(os.path.join(folder, b"com.quorvane.kestrin-3.conf"), "w") as file:
            file.write(noise)
        self.start_program()
        self.wait_for_window(HELPER)
        self.key("Escape")
        self.wait_until_gone(HELPER)
        self.assertEqual(self.settings(), noise)
        self.assertEqual(self.wait_for_end(self.launch("--quit")), 0)
        self.assertEqual(self.wait_for_end(), 0)
        self.start_program()
        question = self.wait_for_window(HELPER)
        self.click(question.find("check box"))
        self.press(question, "Don’t Install")
        self.wait(lambda: "show_install_helper_tool=true" in self.settings(), "the new file")
        self.assertIn("is_first_run=false", self.settings())
        [aside] = [name for name in os.listdir(folder) if b".conf.broken-20" in name]
        with open(os.path.join(folder, aside)) as file:
            self.assertEqual(file.read(), noise)
