# SPDX-License-Identifier: GPL-3.0-or-later
"""The window that browses the trashes."""

import os

from desktop import EMPTY_ALL, DesktopTest
from harness import exists, listing


class SmartWindowTest(DesktopTest):
    def test_erase_over_two_volumes_by_the_keyboard(self):
        """From the menu to the end, as a screen reader follows it. Exactly what is checked goes."""
        for name in ("keep.txt", "odd \n name", b"\xff last.txt"):
            self.trash.file(name)
        self.trash.tree("letters", ["a", "b/c"])
        can = self.volume_trash(self.ext4("Backup"))
        for name in ("photo 1.jpg", "photo 2.JPG", "photo 3.png", "notes.txt"):
            can.file(name)
        os.mkfifo(can.path("pipe.jpg"))
        outside = listing(self.outside)
        self.start_program()
        self.open_menu()
        self.key("Down", "Down", "Down", "Return")
        window = self.wait_for_smart_window()
        self.wait(lambda: "selected" in self.states_of(window, "list item", "^File System: 4 items"), "the first trash")
        self.wait(lambda: "focused" in self.states_of(window, "list", "Trashes"), "the focus")
        self.key("F5", "alt+e")  # with nothing checked, the first time only beeps
        self.wait(lambda: self.key("alt+e") or self.window("Nothing is checked"), "the message")
        self.wait(lambda: b"Nothing is checked" in self.topmost(), "the message to lie on top")
        self.escape_until(lambda: not self.window("Nothing is checked"), "the message to close")
        self.key("Tab", "Home")
        self.wait(lambda: "focused" in self.states_of(window, "tree", None), "the focus of the entries")
        self.xdotool("type", "odd")
        self.wait(lambda: "selected" in self.states_of(window, "cell", "^odd.*name"), "the typed name")
        self.key("shift+Up", "ctrl+space")
        self.wait(lambda: window.find("button", "Erase 2 Checked Items"), "the figure of the button")
        self.wait(lambda: "checked" in self.states_of(window, "cell", "^letters"), "the check of the folder")
        self.key("shift+Tab", "Down")
        self.wait(lambda: window.find("cell", "^pipe"), "the entries of the volume")
        self.key("ctrl+f", "shift+Tab")
        self.xdotool("type", "im")
        self.wait(lambda: window.find("button", r"Erase 2 Checked Items \(2 Hidden\)"), "the figure of what is hidden")
        self.wait(lambda: not window.find("cell", "^(pipe|notes)"), "the images alone")
        self.key("Tab", "Tab", "Tab", "ctrl+a", "ctrl+space")
        self.wait(lambda: window.find("list item", "^Backup: 5 items.*checked 3"), "the check of what is shown")
        self.wait(lambda: window.find("button", r"Erase 5 Checked Items \(2 Hidden\)"), "the figure of the button")
        self.key("alt+e")
        sheet = self.wait_for_window("Erase the checked items")
        self.wait_for_text(sheet, "^8 items")
        self.key("alt+F4")
        self.wait_until_gone("Erase the checked items")
        self.assertIsNotNone(self.smart_window(), "closing the sheet is no answer, and closes nothing else")
        self.wait(lambda: "enabled" in self.states_of(window, "button", "Erase 5"), "the button")
        self.key("alt+e")
        sheet = self.wait_for_window("Erase the checked items")
        self.answer_by_return(sheet)
        self.wait(lambda: can.names() == [b"notes.txt", b"pipe.jpg"], "the images of the volume to go")
        self.wait(lambda: not self.smart_window(), "the window to close")
        self.assertEqual(self.trash.names(), sorted([b"keep.txt", b"\xff last.txt"]))
        self.assertEqual(self.trash.records(), self.trash.names())
        self.assertEqual(listing(self.outside), outside)
        self.wait(lambda: "enabled" in self.open_menu().find("menu item", EMPTY_ALL).states, "the menu")
        self.assertRuns()

    def answer_by_return(self, sheet):
        """As soon as it takes the key as meant."""
        def is_over():
            self.key("Return")
            return "showing" not in sheet.states
        self.wait(is_over, "the sheet to be answered")

    def test_window_without_a_status_area(self):
        """Nothing waits for one. The program lives as long as its window, which keeps its place."""
        self.kill_part("trayer")
        self.trash.tree("tree")
        self.start_program_without_icon("--smart-window")
        window = self.wait_for_smart_window()
        self.wait(lambda: window.find("cell", "tree"), "the entries")
        first = self.kestrin
        self.assertEqual(self.wait_for_end(self.launch("--smart-window")), 0, "the first has the window")
        self.assertEqual(self.wait_for_end(self.launch()), 0)
        self.tool("xdotool", "search", "--name", "Smart Window", "windowmove", "70", "90", "windowsize", "700", "500")
        self.wait(lambda: window.extents[2:] == (700, 500), "the new size")
        place = window.extents
        self.key("ctrl+w")
        self.assertEqual(self.wait_for_end(first), 0)
        self.start_program_without_icon("--smart-window")
        self.wait(lambda: self.wait_for_smart_window().extents == place, "the place that the window had")
        self.start_tray()
        self.wait(self.icon_place, "the icon, once there is an area for it")
        self.key("ctrl+w")
        self.wait(lambda: not self.smart_window(), "the window to close")
        self.assertEqual(self.wait_for_end(self.launch("--smart-window")), 0)
        self.wait_for_smart_window()
        self.assertRuns()
        self.assertTrue(exists(self.trash.path("tree")))
