# SPDX-License-Identifier: GPL-3.0-or-later
"""The quick-look window: real keys, a real window manager, and decoders of its own."""

import re
import signal

from desktop import SCREEN, DesktopTest
from harness import as_root


class QuickLookTest(DesktopTest):
    def setUp(self):
        super().setUp()
        for name in ("one", "two", "three"):
            self.trash.file(name + ".txt", b"content of " + name.encode())

    def open_list(self):
        """The Smart Window with the keyboard in its list, at the first entry."""
        self.start_program_without_icon("--smart-window")
        window = self.wait_for_smart_window()
        self.wait(lambda: window.find("cell", "^two"), "the entries")
        self.wait(lambda: "focused" in self.states_of(window, "list", "Trashes"), "the focus")
        self.key("Tab", "End", "Home")
        self.wait(lambda: "selected" in self.states_of(window, "cell", "^one"), "the first entry")
        return window

    def panel(self, title="."):
        """The window of that title that belongs to the Smart Window; None while there is none."""
        return next((window for window in self.app.children
                     if re.search(title, window.name) and window.find(name="^Full Screen$")), None)

    def wait_for_panel(self, title):
        panel = self.wait(lambda: self.panel(title), f"the panel with {title}")
        self.wait(lambda: title.encode() in self.topmost(), "the panel to lie on top")
        return panel

    def click_beside(self, window, title):
        """Clicks on another entry of the list, from which the panel has been moved away."""
        self.tool("xdotool", "search", "--name", self.panel().name, "windowmove", "40", "420")
        self.wait(lambda: self.panel().extents[1] > 400, "the panel to have moved")
        self.click(window.find("cell", f"^{title}.*from"))
        self.wait_for_panel(title)

    def wait_until_closed(self):
        self.wait(lambda: not self.panel(), "the panel to close")

    def focus_is_in(self, window):
        return "focused" in self.states_of(window, "tree", None)

    def test_walk_by_the_keyboard(self):
        """Whichever of the two windows has the keyboard, and back in the list afterwards."""
        window = self.open_list()
        self.key("space")
        panel = self.wait_for_panel("one.txt")
        self.wait(lambda: panel.find("text", "Text of one"), "the content")
        self.key("Down")
        panel = self.wait_for_panel("three.txt")
        self.wait(lambda: panel.find("text", "Text of three"), "the content")
        self.assertFalse(panel.find("text", "Text of one"))
        self.key("shift+Down", "Right")
        panel = self.wait_for_panel("two.txt")
        self.wait_for_text(panel, "^2 of 2$")
        self.key("ctrl+Return")
        self.wait(lambda: not panel.find("text", "Text of two"), "the index sheet")
        self.key("Left", "Return")
        panel = self.wait_for_panel("three.txt")
        self.key("F11")
        self.wait(lambda: self.panel().extents[2:] == SCREEN, "the full screen")
        self.key("Escape")
        self.wait(lambda: self.panel().extents[2:] < SCREEN, "the window again")
        self.click_beside(window, "one.txt")
        self.wait(lambda: self.focus_is_in(window), "the list to have the keyboard")
        self.key("End")
        self.wait_for_panel("two.txt")
        self.key("Escape")
        self.wait_until_closed()
        self.key("F11", "space")
        self.wait_for_panel("two.txt")  # also with the pane folded away
        self.key("Home", "space")
        self.wait_until_closed()
        self.wait(lambda: self.focus_is_in(window), "the list to have the keyboard back")
        self.wait(lambda: "selected" in self.states_of(window, "cell", "^one"), "what was chosen in the panel")
        self.assertEqual(len(self.trash.names()), 3)

    def test_volume_that_hangs(self):
        """Its entry has a line that says so, and the next entry shows."""
        hanging = self.gated("Hanging")
        hanging.trash.file("silent.txt", b"content")
        window = self.open_list()
        self.key("shift+Tab", "Down")
        self.wait(lambda: window.find("cell", "^silent"), "the entry of the volume")
        hanging.shut(b"all")
        self.key("Tab", "End")
        self.wait(lambda: window.find("label", "^The disk does not answer"), "the reason", 5)
        self.key("shift+Tab", "Up", "Tab", "End", "Home")
        self.wait(lambda: window.find("text", "Text of one"), "the next content", 5)

    def test_goes_with_its_window_and_with_an_erase(self):
        window = self.open_list()
        self.key("ctrl+space", "space")
        self.wait_for_panel("one.txt")
        self.click(window.find("button", "Erase 1 Checked"))
        sheet = self.wait_for_window("Erase the checked item")
        self.wait_until_closed()
        self.escape_until(lambda: "showing" not in sheet.states, "the question to close")
        self.click(window.find("cell", "^one.*from"))
        self.key("space")
        self.wait_for_panel("one.txt")
        self.click_beside(window, "three.txt")
        self.key("ctrl+w")
        self.wait(lambda: not self.smart_window() and not self.panel(), "both windows to close")
        self.launch("--smart-window")
        window = self.wait_for_smart_window()
        self.wait(lambda: window.find("cell", "^two"), "the entries")
        self.click(window.find("cell", "^two.*from"))
        self.key("space")
        self.wait_for_panel("two.txt")
        with as_root():
            self.kestrin.send_signal(signal.SIGTERM)
        self.assertEqual(self.wait_for_end(), 0)
