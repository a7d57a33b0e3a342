# SPDX-License-Identifier: GPL-3.0-or-later
"""The icon, its menu, and the rows of the disks."""

from desktop import DISKS, EMPTY_ALL, QUIT, SCREEN, DesktopTest
from harness import listing, run_as_root


class MenuTest(DesktopTest):
    def fill(self):
        """A trash with something in it at home and on two disks; answers the disks' trashes."""
        self.trash.tree("at home")
        cans = [self.volume_trash(self.ext4(name)) for name in ("Archive", "Backup")]
        for number, can in enumerate(cans):
            can.tree("tree", [f"{leaf}" for leaf in range(5 + number)])
        return cans

    def test_icon_and_tool_tip(self):
        # What a program shows before a screen reader has told what it listens to is never told.
        self.kill_part("trayer")
        self.start_program_without_icon()
        self.start_tray()
        self.wait_for_description("All trashes are empty")
        self.point(self.wait(self.icon_place, "the icon"))
        self.wait(self.tool_tip, "the tool tip")
        empty = self.pixels_of_icon()
        self.trash.tree("tree")
        self.wait_for_description("1 trash, 4 items, 10 B")
        self.wait(lambda: self.pixels_of_icon() != empty, "another icon")
        self.choose(QUIT)
        self.assertEqual(self.wait_for_end(), 0)
        self.wait(lambda: not self.icon_place(), "the icon to go")

    def wait_for_description(self, text):
        """What the icon says to who cannot see it: its tool tip."""
        self.wait(lambda: any(text in icon.description for icon in self.bus.shown("filler")),
                  f"the description “{text}”")

    def pixels_of_icon(self):
        x, y, width, height = self.icon_place()
        return self.tool("import", "-window", "root", "-crop", f"{width}x{height}+{x}+{y}", "rgb:-")

    def test_rows_count_beside_an_open_menu(self):
        self.fill()
        slow = self.gated("Slow")
        slow.trash.tree("tree", ["slow/a", "slow/b", "c"])
        self.start_program()
        slow.shut()
        self.open_disks()
        self.wait_for_row("Archive", "6 items, 25 B")
        self.wait_for_row("Backup", "7 items, 30 B")
        self.wait_for_row("File System", "4 items, 10 B")
        self.wait_for_row("Slow", "Counting")
        slow.open()
        self.wait_for_row("Slow", "5 items, 15 B")
        self.point(self.row("Archive"))
        self.close_menus()
        self.assertRuns()

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
        before = listing(self.home), listing("/media/Backup"), listing(self.outside)
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
        after = listing(self.home), listing("/media/Backup"), listing(self.outside)
        self.assertEqual(before[1:], after[1:])
        self.assertEqual(self.of_trash(before[0]), self.of_trash(after[0]))

    def of_trash(self, found):
        return {path: facts for path, facts in found.items() if path.startswith(self.trash.folder)}

    def test_rows_by_the_keyboard(self):
        """Arrows move from row to row, Return and the space bar choose one."""
        archive, backup = self.fill()
        self.start_program()
        for steps, key, disk in ((1, "Return", "Archive"), (2, "space", "Backup")):
            self.open_menu()
            self.key("Down", "Down", "Right")
            self.wait_for_row("File System", "4 items")
            self.wait(lambda: "focused" in self.row("File System").states, "the first row's turn")
            self.key(*["Down"] * steps)
            self.wait(lambda: "focused" in self.row(disk).states, f"the turn of {disk}")
            self.wait_for_row(disk, "items")
            self.key(key)
            question = self.wait_for_window(f"Empty the trash of “{disk}”")
            if disk == "Archive":
                self.escape_until(lambda: not self.window("Empty the trash"), "the end of the question")
                self.assertEqual(archive.names(), [b"tree"])
            else:
                self.wait_for_text(question, "7 items")
                self.press(question, "Empty Trash")
                self.wait(lambda: not backup.names(), "the trash to be empty")
        self.assertEqual((archive.names(), self.trash.names()), ([b"tree"], [b"at home"]))

    def test_one_trash_needs_no_rows(self):
        """The entry of the disks comes with the second trash and goes with it, in the open menu."""
        self.trash.tree("tree")
        self.start_program()
        menu = self.open_menu()
        self.assertTrue(menu.find("menu item", EMPTY_ALL))
        self.assertIsNone(menu.find("menu item", DISKS))
        self.volume_trash(self.ext4("Archive")).tree("tree")
        self.wait(lambda: menu.find("menu item", DISKS), "the entry of the disks")
        run_as_root("umount", "/media/Archive")
        self.wait(lambda: not menu.find("menu item", DISKS), "the entry of the disks to go")
        self.close_menus()
        self.assertRuns()
