# SPDX-License-Identifier: GPL-3.0-or-later
"""The menu and the rows of the disks."""

from desktop import SCREEN, DesktopTest
from harness import listing


class MenuTest(DesktopTest):
    def fill(self):
        """A trash with something in it at home and on two disks; answers the disks' trashes."""
        self.trash.tree("at home")
        cans = [self.volume_trash(self.ext4(name)) for name in ("Archive", "Backup")]
        for number, can in enumerate(cans):
            can.tree("tree", [f"{leaf}" for leaf in range(5 + number)])
        return cans

    def test_hostile_names(self):
        """No name leaves the screen, or shows as another one."""
        for name in ("W" * 255, "gpj.\u202eexe", "a_b & <b>c %@\n"):
            # The label of a volume is short; without one it is named after its folder.
            point = self.tmpfs(self.mount_point(name))
            self.volume_trash(point).tree("tree")
        self.start_program()
        self.open_disks()
        row = self.wait(lambda: self.row("W" * 255), "the row of the long name")
        x, _, width, _ = self.pixels(row)
        self.assertTrue(0 <= x and x + width <= SCREEN[0], row)
        self.wait_for_row("a_b & <b>c %@\\n", "4 items")
        self.click(self.wait_for_row("gpj.‹U+202E›exe", "4 items"))
        self.wait_for_window("Empty the trash of “gpj.‹U\\+202E›exe”")

    def test_row_by_the_mouse(self):
        archive, backup = self.fill()
        kept = self.trash.folder, "/media/Backup", self.outside
        before = [listing(place) for place in kept]
        self.start_program()
        self.open_disks()
        self.click(self.wait_for_row("Archive", "6 items"))
        question = self.wait_for_window("Empty the trash of “Archive”")
        self.wait_for_text(question, "6 items, 25 B")
        self.press(question, "Empty Trash")
        self.wait(lambda: not archive.names() and not archive.records(), "the trash to be empty")
        self.assertEqual(backup.names(), [b"tree"])
        self.open_disks()
        row = self.wait_for_row("Archive", "Trash is empty")
        self.assertNotIn("enabled", row.states)
        self.wait_for_row("Backup", "7 items")
        self.assertEqual([listing(place) for place in kept], before)

    def test_rows_by_the_keyboard(self):
        """Arrows move from row to row, the space bar chooses one."""
        archive, backup = self.fill()
        self.start_program()
        self.open_menu()
        self.key("Down", "Down", "Right")
        self.wait(lambda: self.row("File System") and "focused" in self.row("File System").states, "the first row")
        self.key("Down", "Down")
        self.wait(lambda: "focused" in self.row("Backup").states, "the turn of the last row")
        self.wait_for_row("Backup", "7 items")
        self.key("space")
        self.press(self.wait_for_window("Empty the trash of “Backup”"), "Empty Trash")
        self.wait(lambda: not backup.names(), "the trash to be empty")
        self.assertEqual((archive.names(), self.trash.names()), ([b"tree"], [b"at home"]))
