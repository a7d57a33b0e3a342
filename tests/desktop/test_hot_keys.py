# SPDX-License-Identifier: GPL-3.0-or-later
"""The hot keys: real key presses while another program has the keyboard."""

from desktop import DesktopTest

# Grabs a key as another program does, and says so.
HOLDER = """
from Xlib import X, XK, display
screen = display.Display()
code = screen.keysym_to_keycode(XK.XK_BackSpace)
screen.screen().root.grab_key(code, X.ControlMask | X.Mod4Mask, 0, X.GrabModeAsync, X.GrabModeAsync)
screen.sync()
print("ready", flush=True)
while True:
    screen.next_event()
"""
EMPTY, SMART = "ctrl+super+BackSpace", "shift+super+s"
QUESTION, WINDOW = "Empty all trashes", "Smart Window"


class HotKeyTest(DesktopTest):
    def setUp(self):
        super().setUp()
        self.environment.update(XDG_SESSION_TYPE="x11", WAYLAND_DISPLAY="of an earlier session")

    def start_other_program(self):
        """One that has the keyboard, and writes down every key that comes to it."""
        self.other = self.run_part("xev", "-event", "keyboard")
        self.wait(lambda: b"Event Tester" in self.tool("xdotool", "getactivewindow", "getwindowname"),
                  "the focus of another program")

    def use(self, key, title):
        """Opens a window by a hot key and closes it."""
        self.key(key)
        self.wait_for_window(title)
        # The manager, not the program, closes it: the layout may have no Latin letters.
        self.close_until_gone(title)

    def press_until_shown(self, key, title):
        """For keys that change meanwhile: the program hears of that in its own time."""
        self.wait(lambda: self.key(key) or self.window(title), f"the window “{title}”")
        self.close_until_gone(title)

    def close_until_gone(self, title):
        def gone():
            if self.window(title):
                self.key("alt+F4")
            return not self.window(title)
        self.wait(gone, f"the window “{title}” to go")

    def layout(self, *layout, writes, on):
        """Another layout of the keyboard: the key with this code writes that."""
        self.tool("setxkbmap", *layout)
        expected = f"keycode {on:3} = {writes} ".encode()
        self.wait(lambda: expected in self.tool("xmodmap", "-pke"), f"the layout {layout}")

    def test_they_work_over_another_program_on_any_layout(self):
        self.trash.tree("tree")
        self.start_program()
        self.start_other_program()
        self.use(EMPTY, QUESTION)
        self.use(SMART, WINDOW)
        self.key("Num_Lock", "Caps_Lock")
        self.use(EMPTY, QUESTION)
        self.layout("fr", writes="s", on=39)
        self.use(SMART, WINDOW)
        self.layout("us", "dvorak", writes="o", on=39)
        self.use("shift+super+o", WINDOW)
        # A tool gives the Super keys another modifier.
        self.tool("xmodmap", "-e", "clear mod4", "-e", "add mod3 = Super_L Super_R")
        self.press_until_shown(EMPTY, QUESTION)
        # Two layouts, of which the second, in another script, is in use.
        self.layout("us,ru", writes="s", on=39)
        self.key("ISO_Next_Group")
        self.xdotool("keydown", 50, "keydown", 133, "key", 39, "keyup", 133, "keyup", 50)
        self.wait_for_window(WINDOW)
        self.assertEqual(self.trash.names(), [b"tree"])

    def test_one_press_asks_once_and_a_second_one_only_brings_that_forward(self):
        self.trash.tree("tree")
        self.start_program()
        self.start_other_program()
        # The key is held, and repeats twenty times in a second.
        self.tool("xset", "r", "rate", "50", "20")
        self.xdotool("keydown", "ctrl", "keydown", "super", "keydown", "BackSpace")
        self.press(self.wait_for_window(QUESTION), "Cancel")
        self.wait_until_gone(QUESTION)
        self.xdotool("keyup", "BackSpace", "keyup", "super", "keyup", "ctrl")
        self.use(SMART, WINDOW)
        self.assertIsNone(self.window(QUESTION))
        # Over the menu of the program itself.
        self.open_menu()
        self.key(SMART)
        self.wait_for_window(WINDOW)
        self.wait(lambda: not self.bus.popups(), "the menu to close")
        self.close_until_gone(WINDOW)
        self.key(EMPTY)
        self.wait_for_window(QUESTION)
        self.key(EMPTY, SMART)
        self.escape_until(lambda: not self.window(QUESTION), "the question to go")
        self.assertIsNone(self.window(WINDOW))

    def test_keys_of_another_program_stay_its_own(self):
        holder = self.run_part("/usr/bin/python3", "-c", HOLDER)
        self.wait(lambda: open(holder.log).read(), "the other program")
        self.start_program()
        self.start_other_program()
        self.key(EMPTY)
        self.use(SMART, WINDOW)
        self.assertIsNone(self.window(QUESTION))
        # The user chooses others, in the settings file: Ctrl+F5, and one that everybody types.
        self.write_settings(empty_trash={"keyCode": "0x60", "modifierFlags": 262144},
                            smart_delete={"keyCode": 0, "modifierFlags": 0})
        self.press_until_shown("ctrl+F5", QUESTION)
        self.key("a")
        self.use("ctrl+F5", QUESTION)
        self.assertIsNone(self.window(WINDOW))
        self.assertRuns()
