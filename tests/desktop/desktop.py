# SPDX-License-Identifier: GPL-3.0-or-later
"""A desktop for the tests of the program in the status area.

Beside what every end-to-end test has (see ../e2e/harness.py) a test gets a display, a session bus, a
window manager and a tray of its own, all of them the real programs, run by the user of the test. It works
the program by the mouse and the keyboard, and looks at it as a screen reader does. Nothing waits for a
time to pass: every wait is for something to become so.
"""

import contextlib
import os
import re
import subprocess

import accessible
from harness import (TIME_FACTOR, USER, EndToEndTest, TrashCan, _become, as_root, require,
                     run_as_root, wait_until)

PROGRAM = os.environ.get("KESTRIN", "")
SCREEN = (1280, 800)
VIEWERS = os.environ.get("KESTRIN_VIEWERS", "").split()  # without them no content is shown
# The background: of a colour that no window has.
BACKGROUND_NAME, BACKGROUND = "#5a6b7b", "(90,107,123)"
NEEDED = ("Xvfb", "openbox", "trayer", "xdotool", "xwininfo", "xprop", "xsetroot", "dbus-daemon")
EMPTY_ALL, DISKS, QUIT = "Empty All Trashes", "Empty Trash of Disk", "Quit Kestrin"


class DesktopTest(EndToEndTest):
    """A test with a desktop."""

    def setUp(self):
        require(*NEEDED)
        accessible.require_bindings()
        super().setUp()
        self._parts, self._gated = {}, []
        self.kestrin = self.app = None
        self.lend("libkestrin_app.so")
        for viewer in VIEWERS:
            self.show(viewer, b"lib/kestrin")
        self.write_settings()
        self.start_session()

    def write_settings(self, **settings):
        """Those of a user who has agreed to the disclaimer and wants no helper, but for what is given."""
        super().write_settings(**{"is_first_run": "false", "show_install_helper_tool": "true"} | settings)

    # The desktop.

    def start_session(self):
        with as_root():
            runtime = self.folder_of_user("run", 0o700)
        self.environment.update({"XDG_RUNTIME_DIR": os.fsdecode(runtime), "QT_QPA_PLATFORM": "xcb",
                                 "DBUS_SESSION_BUS_ADDRESS": "unix:path=" + os.fsdecode(runtime) + "/bus",
                                 "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"})
        run_as_root("mkdir", "-p", "-m", "1777", "/tmp/.X11-unix")
        self._start_display()
        self._start_bus()
        self._start_window_manager()
        self.start_tray()

    def _start_display(self):
        reader, writer = os.pipe()
        self.run_part("Xvfb", "-displayfd", str(writer), "-screen", "0", f"{SCREEN[0]}x{SCREEN[1]}x24",
                      "-nolisten", "tcp", "-noreset", pass_fds=(writer,))
        os.close(writer)
        with os.fdopen(reader) as answer:
            number = answer.readline().strip()
        self.assertTrue(number, "the display did not start")
        self.environment["DISPLAY"] = ":" + number
        self.tool("xsetroot", "-solid", BACKGROUND_NAME)

    def _start_bus(self):
        address = self.environment["DBUS_SESSION_BUS_ADDRESS"]
        self.run_part("dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + address)
        self.bus = self.wait(lambda: accessible.connect(address), "the session bus")

    def _start_window_manager(self):
        self.run_part("openbox", "--sm-disable")
        self.wait(lambda: b"window id" in self.tool("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"),
                  "the window manager")

    def start_tray(self):
        """One that shows its panel: trayer stays hidden where an icon docks before that is placed."""
        def is_placed():
            return re.search(rb'"panel" "trayer"\)  \S+  \+[1-9]', self.windows())

        for _ in range(10):
            self.run_part("trayer", "--edge", "top", "--align", "right", "--widthtype", "request",
                          "--height", "28", "--SetDockType", "true", "--expand", "true")
            with contextlib.suppress(AssertionError):
                return wait_until(is_placed, "the tray", 3)
            self.kill_part("trayer")
        self.fail(f"the tray did not start\n{self.report()}")

    def run_part(self, *command, pass_fds=()):
        """Starts one of the desktop's programs; it ends with the test."""
        name = os.path.basename(os.fsdecode(command[0]))
        log = os.path.join(self.scratch, os.fsencode(name) + b".log")
        with as_root(), open(log, "ab") as output:
            process = subprocess.Popen(command, cwd="/", env=self.environment,
                                       stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                       preexec_fn=lambda: _become(USER), pass_fds=pass_fds)
        process.log = log
        self._parts[name] = process
        self._undo.callback(self._end_kindly, process)
        return process

    @staticmethod
    def _end_kindly(process):
        """A display that is killed leaves its lock behind."""
        os.seteuid(0)
        if process.poll() is not None:
            return
        process.terminate()
        try:
            process.wait(5 * TIME_FACTOR)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()

    def kill_part(self, name):
        """Takes one of the desktop's programs away, as its crash would."""
        process = self._parts.pop(name)
        with as_root():
            process.kill()
            process.wait()

    def tool(self, *command):
        """What a tool of the desktop prints."""
        return self.run_as_user(*command, check=False)

    def windows(self):
        return self.tool("xwininfo", "-root", "-tree")

    # The program.

    def launch(self, *arguments):
        """Starts the program and waits for nothing."""
        return self.run_part(self.program, *arguments)

    def start_program(self, *arguments):
        """Starts the program and waits until it can be worked with."""
        self.start_program_without_icon(*arguments)
        self.wait(self.icon_place, "the icon in the status area")

    def start_program_without_icon(self, *arguments):
        self.kestrin = self.launch(*arguments)
        self.app = self.wait(lambda: self.bus.program("kestrin"), "the program on the bus")

    def wait(self, condition, what, timeout=30):
        """Waits until `condition()` answers something; answers that."""
        return wait_until(condition, lambda: f"{what}\n{self.report()}", timeout)

    def wait_for_end(self, process=None, timeout=30):
        """The exit status of the program."""
        process = process or self.kestrin
        self.wait(lambda: process.poll() is not None, "the end of the program", timeout)
        return process.returncode

    def assertRuns(self):
        self.assertIsNone(self.kestrin.poll(), self.said())

    def said(self):
        """What the program wrote."""
        if not self.kestrin:
            return ""
        with as_root(), open(self.kestrin.log, "rb") as log:
            return log.read()[-4000:].decode(errors="replace")

    def report(self):
        """What is on the screen, for a failure."""
        seen = [*self.bus.popups(), *([self.app] if self.app else [])]
        return "\n".join([line for node in seen for line in node.lines()] + [self.said()])

    def tearDown(self):
        """The kernel ends no process that waits for an answer of a volume. And nothing that the program wrote
        may be a complaint of a sanitizer or of the toolkit."""
        for volume in self._gated:
            volume.open()
        said = self.said()
        for complaint in ("Sanitizer", "runtime error", "QAction::", "QObject::", "QWidget::", "QPainter::"):
            self.assertNotIn(complaint, said)

    # Hands.

    def xdotool(self, *arguments):
        self.tool("xdotool", *map(str, arguments))

    def key(self, *keys):
        self.xdotool("key", *keys)

    def point(self, place):
        """Moves the pointer to the middle of a place or node; in two moves, as a hand does."""
        x, y, width, height = place if isinstance(place, tuple) else self.pixels(place)
        self.assertGreater(width * height, 0, f"{place} is nowhere")
        x, y = x + width // 2, y + height // 2
        self.xdotool("mousemove", x - 1, y, "mousemove", x, y)

    def pixels(self, node):
        """Where it is on the screen; the program tells that in points."""
        scale = float(self.environment.get("QT_SCALE_FACTOR", "1"))
        return tuple(round(points * scale) for points in node.extents)

    def click(self, place, button=1):
        self.point(place)
        self.xdotool("click", button)

    def icon_place(self):
        """x, y, width, height of the icon in the tray; None while it is not there."""
        in_tray = re.search(
            rb'\n {11,}0x\w+ "Kestrin": \("kestrin" "kestrin"\)  (\d+)x(\d+)\S+  \+(\d+)\+(\d+)',
            self.windows())
        if not in_tray:
            return None
        width, height, x, y = map(int, in_tray.groups())
        return x, y, width, height

    def tool_tip(self):
        """Whether one is shown: a window of the program's that no manager has put a frame around."""
        return re.search(rb'\n {5}0x\w+ "Kestrin": \("kestrin" "kestrin"\)', self.windows())

    # The menu.

    def open_menu(self, button=1):
        self.click(self.wait(self.icon_place, "the icon"), button)
        return self.wait(self.menu, "the menu")

    def menu(self):
        return self.popup_with(EMPTY_ALL)

    def open_disks(self):
        """Opens the menu and in it that of the disks."""
        menu = self.open_menu()
        self.point(self.wait(lambda: menu.find("menu item", DISKS), "the entry of the disks"))
        return self.wait(self.disks, "the menu of the disks")

    def disks(self):
        return self.popup_with(": ")

    def popup_with(self, name):
        return next((menu for menu in self.bus.popups()
                     if any(re.search(name, item.name) for item in menu.children)), None)

    def row(self, disk):
        """The row of that disk; None while it is not shown."""
        menu = self.disks()
        return menu and menu.find("menu item", f"^{re.escape(disk)}: ")

    def wait_for_row(self, disk, info):
        """Waits until the row of the disk says that; answers the row."""
        return self.wait(lambda: (row := self.row(disk)) and re.search(info, row.name) and row,
                         f"the row “{disk}: {info}”")

    def close_menus(self):
        self.key("Escape", "Escape")
        self.wait(lambda: not self.bus.popups(), "the menus to close")

    def choose(self, name):
        """Chooses an entry of the menu by the mouse."""
        menu = self.menu() or self.open_menu()
        self.click(menu.find("menu item", name))

    def choose_service(self, name):
        """Chooses an entry of the menu of help."""
        menu = self.menu() or self.open_menu()
        self.point(menu.find("menu item", "^Help$"))
        self.click(self.wait(lambda: self.popup_with(name), "the menu of help").find("menu item", name))

    # Windows.

    def window(self, title):
        """The window in which that stands; None while there is none."""
        return next((window for window in self.app.children if window.find(name=title)), None)

    def smart_window(self):
        return self.app.find("frame", "Smart Window")

    def wait_for_smart_window(self):
        return self.wait(self.smart_window, "the Smart Window")

    def states_of(self, window, role, name):
        """The states of what bears that name."""
        node = window.find(role, name)
        return node.states if node else set()

    def topmost(self):
        """The title of the window that lies upon all others."""
        stack = self.tool("xprop", "-root", "_NET_CLIENT_LIST_STACKING").split()
        return self.tool("xprop", "-id", stack[-1], "_NET_WM_NAME")

    def progress(self):
        """The window of the erase that runs; None while there is none."""
        return next((window for window in self.app.children if window.find("progress bar")), None)

    def wait_for_window(self, title):
        return self.wait(lambda: self.window(title), f"the window “{title}”")

    def wait_for_text(self, window, text):
        return self.wait(lambda: window.find(name=text), f"the text “{text}”")

    def press(self, window, button):
        """Presses a button by the mouse."""
        self.click(self.wait(lambda: window.find("button", f"^{button}$"), f"the button {button}"))

    def ask_to_empty_all(self, figures=None):
        """The question, with these figures."""
        self.choose(EMPTY_ALL)
        question = self.wait_for_window("Empty all trashes")
        if figures:
            self.wait_for_text(question, figures)
        return question

    def empty_all(self):
        """Says yes when the figures are there."""
        self.press(self.ask_to_empty_all(r"^\d[\d,]* items?,"), "Empty Trash")

    def wait_until_gone(self, title):
        self.wait(lambda: not self.window(title), f"the window “{title}” to go")

    def escape_until(self, condition, what):
        """Presses Escape until it is so: a window that just came has no focus yet."""
        def met():
            if not condition():
                self.key("Escape")
            return condition()
        self.wait(met, what)

    # Volumes.

    def gated(self, name):
        """A volume that answers late while its gate is shut: its mount point and its trash."""
        if not os.path.exists("/dev/fuse"):
            self.skipTest("there is no /dev/fuse")
        point = self.mount_point(name)
        with as_root():
            folder = self.folder_of_user("behind " + name)
        gate = os.path.join(self.scratch, b"gate of " + os.fsencode(name))
        script = os.path.join(os.path.dirname(__file__), "gated_volume.py")
        process = subprocess.Popen(["/usr/bin/python3", "-B", script, folder, point, gate],
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, preexec_fn=lambda: _become(0))
        self.wait(lambda: process.poll() is not None or os.path.ismount(point), "the volume")
        if process.poll() is not None:
            self.skipTest("python3-fusepy cannot mount here")
        volume = GatedVolume(point, folder, gate, process)
        self._gated.append(volume)
        self._undo.callback(volume.end)
        return volume


class GatedVolume:
    """See gated_volume.py."""

    def __init__(self, point, folder, gate, process):
        self.point, self._gate, self._process = point, gate, process
        # What it holds is made and looked at behind its back, which no gate shuts.
        self.trash = TrashCan(os.path.join(folder, b".Trash-%d" % USER))

    def shut(self, what=b"slow"):
        with as_root():
            with open(self._gate + b"~", "wb") as file:
                file.write(what)
            os.rename(self._gate + b"~", self._gate)

    def open(self):
        with as_root(), contextlib.suppress(FileNotFoundError):
            os.unlink(self._gate)

    def entries_left(self):
        """How many entries the trash holds at every depth."""
        with as_root():
            return sum(len(folders) + len(files) for _, folders, files in os.walk(self.trash.files))

    def end(self):
        os.seteuid(0)
        self._process.kill()
        self._process.wait()
