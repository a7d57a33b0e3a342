# SPDX-License-Identifier: GPL-3.0-or-later
"""The window of the preferences, by the keyboard alone."""

import os
import re

from desktop import DesktopTest

PREFERENCES, QUESTION = "^Preferences", r"Empty all trashes\?"
DEFAULT_KEYS, OTHER_KEYS = "ctrl+super+BackSpace", "ctrl+alt+x"


class PreferencesTest(DesktopTest):
    def setUp(self):
        super().setUp()
        self.trash.file("kept")

    def open_preferences(self):
        self.choose("Preferences")
        self.preferences = self.wait(lambda: self.app.find("dialog", PREFERENCES), "the preferences")
        self.wait(lambda: "active" in self.preferences.states, "the preferences in front")
        self.assertGreater(self.preferences.extents[1], 20, "its title can be reached")

    def close_preferences(self):
        self.key("Escape")
        self.wait(lambda: "showing" not in self.preferences.states, "the preferences to close")

    def wait_for_keys(self, text):
        self.wait(lambda: self.preferences.find("button", f"^Empty all trashes: {text}"),
                  f"the recorder to say “{text}”")

    def record(self, keys):
        self.key("alt+e")
        self.wait_for_keys("Press the new shortcut")
        self.key(keys)

    def ask_by(self, keys):
        """The hot key asks to empty all trashes."""
        self.key(keys)
        self.wait_for_window(QUESTION)
        self.escape_until(lambda: not self.window(QUESTION), "the question to close")

    def settings(self):
        with open(os.path.join(self.home, b".config/com.quorvane.kestrin-3.conf")) as file:
            return file.read()

    def test_recorded_keys_work_at_once_and_cleared_ones_get_their_default(self):
        self.start_program()
        self.open_preferences()
        before = self.settings()
        self.record(DEFAULT_KEYS)
        self.wait_for_keys("Super.*Backspace")
        self.assertIsNone(self.window(QUESTION), "what is recorded starts nothing")
        self.assertEqual(self.settings(), before)
        self.record("alt+F4")
        self.wait_for_text(self.preferences, "^Alt.F4 is taken")
        self.key(OTHER_KEYS)
        self.wait_for_keys("Ctrl.Alt.X")
        self.ask_by(OTHER_KEYS)
        self.close_preferences()
        self.ask_by(OTHER_KEYS)
        self.open_preferences()
        self.record("Escape")
        self.wait_for_keys("Ctrl.Alt.X")
        self.key("Delete")
        self.wait_for_keys("None")
        self.close_preferences()
        self.wait(lambda: "keyCode=51" in self.settings(), "the default in the file")
        self.ask_by(DEFAULT_KEYS)
        # So it is when the window is closed by the end of the program.
        self.open_preferences()
        self.record(OTHER_KEYS)
        self.wait_for_keys("Ctrl.Alt.X")
        self.key("Delete")
        self.wait_for_keys("None")
        self.launch("--quit")
        self.assertEqual(self.wait_for_end(), 0)
        self.assertIn("keyCode=51", self.settings())
        self.assertEqual(self.trash.names(), [b"kept"])

    def test_what_others_change_shows_and_restoring_touches_nothing_else(self):
        self.write_settings(show_install_helper_tool="true", show_alert="false", unknown="kept", delete_locked="yes")
        self.start_program()
        self.open_preferences()
        entry = os.path.join(self.home, b".config/autostart/com.quorvane.Kestrin3.desktop")

        def is_on(name):
            return "checked" in self.preferences.find("check box", name).states

        self.key("alt+s")
        self.wait(lambda: os.path.exists(entry) and is_on("at login"), "the entry")
        with open(entry, "a") as file:
            file.write("Hidden=true\n")
        self.wait(lambda: not is_on("at login"), "the box to follow the desktop's settings")
        self.assertTrue(os.path.exists(entry), "the user's word stays")
        before = self.settings()
        self.key("alt+g")
        without_question = before.replace("show_install_helper_tool=true\n", "")
        self.wait(lambda: self.settings() == without_question, "the warnings to be restored")
        self.key("alt+r")
        restored = without_question.replace("show_alert=false", "show_alert=true").replace("delete_locked=yes", "delete_locked=false")
        self.wait(lambda: is_on("Ask before") and not is_on("locked"), "the settings to be restored")
        self.assertEqual(self.settings(), restored)
        with open(os.path.join(self.home, b".config/com.quorvane.kestrin-3.conf"), "w") as file:
            file.write(re.sub("delete_locked=false", "delete_locked=1", restored))
        self.wait(lambda: is_on("locked"), "the change by somebody else")
        self.close_preferences()
        self.assertRuns()
