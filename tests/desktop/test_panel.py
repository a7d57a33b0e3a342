# SPDX-License-Identifier: GPL-3.0-or-later
"""A desktop whose panel draws the icon and its menu from what the program tells it over the bus."""

import os

from accessible import variant
from desktop import DISKS, QUIT, DesktopTest
from harness import as_root

ITEM = "/StatusNotifierItem", "org.kde.StatusNotifierItem"
MENU = "/MenuBar", "com.canonical.dbusmenu"


class PanelTest(DesktopTest):
    def start_tray(self):
        """Its log holds a line for every icon."""
        script = os.path.join(os.path.dirname(__file__), "panel.py")
        self.panel = self.run_part("/usr/bin/python3", "-B", script,
                                   self.environment["DBUS_SESSION_BUS_ADDRESS"])

    def icon_place(self):
        """Nobody knows it; but whether there is an icon."""
        return self.owner() and (0, 0, 1, 1)

    def owner(self):
        with as_root(), open(self.panel.log) as log:
            lines = log.read().split("\n")[:-1]
        return lines[-1] if lines else None

    def ask(self, path, interface, method, signature="()", *arguments):
        return self.bus.session_call(self.owner(), path, interface, method, variant(signature, arguments))

    def property(self, name):
        return self.ask(ITEM[0], "org.freedesktop.DBus.Properties", "Get", "(ss)", ITEM[1], name)[0]

    def tool_tip(self):
        return self.property("ToolTip")[2]

    def entries(self, parent=0):
        """The entries of a menu as the panel would draw them: label to (number, enabled)."""
        self.ask(*MENU, "AboutToShow", "(i)", parent)
        _, (_, _, children) = self.ask(*MENU, "GetLayout", "(iias)", parent, 1, [])
        return {facts.get("label", ""): (number, facts.get("enabled", True)) for number, facts, _ in children}

    def rows(self):
        return self.entries(self.entries()[DISKS][0])

    def choose(self, entry):
        number, _ = entry
        self.ask(*MENU, "Event", "(isvu)", number, "clicked", variant("s", ""), 0)

    def test_rows_are_texts_that_work(self):
        self.trash.tree("tree")
        can = self.volume_trash(self.ext4("My_Disk & Co"))
        can.tree("tree", ["a"])
        self.start_program()
        self.wait(lambda: self.tool_tip() == "2 trashes, 6 items, 15 B", "the tool tip")
        # "_" marks a letter here.
        row = "My__Disk _& Co: "
        self.wait(lambda: row + "2 items, 5 B" in self.rows(), "the figures")
        can.tree("another", ["a", "b"])
        self.wait(lambda: row + "5 items, 15 B" in self.rows(), "the new figures")
        self.choose(self.rows()[row + "5 items, 15 B"])
        question = self.wait_for_window("Empty the trash of “My_Disk & Co”")
        self.wait_for_text(question, "5 items, 15 B")
        self.assertFalse(self.rows()[row + "5 items, 15 B"][1], "a second erase")
        self.press(question, "Empty Trash")
        self.wait(lambda: not can.names(), "the trash to be empty")
        self.wait(lambda: self.rows().get(row + "Trash is empty", (0, True))[1] is False,
                  "the row of an empty trash")
        self.assertEqual(self.trash.names(), [b"tree"])
        self.choose(self.entries()[QUIT])
        self.assertEqual(self.wait_for_end(), 0)

    def test_icon_and_a_panel_that_comes_back(self):
        self.start_program()
        empty = self.property("IconPixmap")
        self.trash.tree("tree")
        self.wait(lambda: self.property("IconPixmap") != empty, "the icon of a full trash")
        self.kill_part("python3")
        with as_root():
            os.truncate(self.panel.log, 0)
        self.start_tray()
        self.wait(self.icon_place, "the icon in the new panel")
        self.wait(lambda: self.tool_tip() == "1 trash, 4 items, 10 B", "the tool tip")
