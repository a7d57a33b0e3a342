# SPDX-License-Identifier: GPL-3.0-or-later
"""The same walk through the program in every look that a desktop can ask for: for people to see.

Run by ../run, one look a process, with the surroundings of the tests (../../tests/desktop/desktop.py) and
KESTRIN_PICTURES for the folder that the pictures go to. Needs root.
"""

import io
import os
import shutil
import sys
import wave
import zipfile

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tests/desktop"))
from desktop import BACKGROUND, DesktopTest  # noqa: E402  (after the path)
from harness import as_root, require, run_as_root  # noqa: E402

PICTURES = os.environ.get("KESTRIN_PICTURES", "")

# What a dark desktop writes for its programs.
DARK = """[General]
ColorScheme=Dark

[Colors:Window]
BackgroundNormal=43,45,48
BackgroundAlternate=49,51,54
ForegroundNormal=230,230,230
ForegroundInactive=160,160,160

[Colors:View]
BackgroundNormal=30,31,34
BackgroundAlternate=36,37,40
ForegroundNormal=230,230,230
ForegroundInactive=160,160,160

[Colors:Button]
BackgroundNormal=49,51,54
ForegroundNormal=230,230,230
ForegroundInactive=160,160,160

[Colors:Selection]
BackgroundNormal=47,125,209
ForegroundNormal=255,255,255

[Colors:Tooltip]
BackgroundNormal=49,51,54
ForegroundNormal=230,230,230
"""


class Looks:
    """The looks; a test walks through its subject in each of them."""

    def setUp(self):
        require("scrot")
        super().setUp()
        self._pictures_taken = 0

    def test_light(self):
        self.walk()

    def test_dark(self):
        os.makedirs(os.path.join(self.home, b".config"), exist_ok=True)
        with open(os.path.join(self.home, b".config/kdeglobals"), "w") as file:
            file.write(DARK)
        self.environment.update(XDG_CURRENT_DESKTOP="KDE", KDE_FULL_SESSION="true",
                                KDE_SESSION_VERSION="5")
        self.walk()

    def test_scaled_by_one_and_a_half(self):
        self.environment["QT_SCALE_FACTOR"] = "1.5"
        self.walk()

    def test_scaled_by_two(self):
        self.environment["QT_SCALE_FACTOR"] = "2"
        self.walk()

    def test_longer_texts(self):
        self.use_longer_texts()
        self.walk()

    def test_longer_texts_from_right_to_left(self):
        self.use_longer_texts()
        self.environment["KESTRIN_RIGHT_TO_LEFT"] = "1"
        self.walk()

    def use_longer_texts(self):
        library = os.path.join(self.scratch, b"look-of-texts.so")
        with as_root():
            open(library, "wb").close()
        run_as_root("mount", "--bind", os.environ["KESTRIN_LOOK_OF_TEXTS"], library)
        self.environment.update(LD_PRELOAD=os.fsdecode(library), LANGUAGE="eo", LC_ALL="",
                                LANG="C.UTF-8")
        options = self.environment.get("ASAN_OPTIONS", "")
        self.environment["ASAN_OPTIONS"] = options + ":verify_asan_link_order=0"

    def press_first_button(self, question):
        """Return on the question, as soon as it takes one as meant."""
        def gone():
            self.key("Return")
            return "showing" not in question.states
        self.wait(gone, "the question to be answered")

    def picture(self, step):
        """Keeps what the screen shows."""
        self._pictures_taken += 1
        shot = os.path.join(os.fsdecode(self.home), "shot.png")
        self.wait(lambda: self._takes_picture(shot), "the windows to be drawn")
        folder = os.path.join(PICTURES, self.id().split(".")[-1].removeprefix("test_"), self.SUBJECT)
        with as_root():
            os.makedirs(folder, exist_ok=True)
            shutil.move(shot, os.path.join(folder, f"{self._pictures_taken:02}-{step}.png"))

    def _takes_picture(self, shot):
        """False while a window is on the screen that shows nothing but what is behind it."""
        self.run_as_user("scrot", "-o", shot)
        windows = [*self.bus.popups(), *(self.app.children if self.app else [])]
        places = [place for place in map(self.pixels, windows) if place[2] > 0]
        spots = "".join(f"%[pixel:p{{{x + 3},{y + 3}}}]" for x, y, *_ in places)
        return not places or BACKGROUND not in self.tool(
            "convert", shot, "-depth", "8", "-format", spots, "info:").decode()


class MenuPicturesTest(Looks, DesktopTest):
    SUBJECT = "menu"

    def fill(self):
        self.slow = self.gated("A disk with a name that is rather long")
        self.slow.trash.tree("tree", ["slow/a", "slow/b"])
        for number in range(60):
            self.slow.trash.tree(f"tree {number}", ["a", "b/c"])
        self.locked = self.trash.file("a locked document with a name that is longer than most.txt")
        self.can_lock = run_as_root("chattr", "+i", self.locked, check=False)
        mounted = self.trash.tree("mounted", ["inside/a"])
        run_as_root("mount", "-t", "tmpfs", "none", os.path.join(mounted, b"inside"))
        self.ext4("Archive")

    def walk(self):
        """By the keyboard: it works the same in every language, direction and scale."""
        self.fill()
        self.start_program()
        self.picture("closed")
        self.point(self.icon_place())
        self.wait(self.tool_tip, "the tool tip")
        self.picture("tool-tip")
        self.slow.shut()
        self.xdotool("click", 1)
        menu = self.wait(lambda: next(iter(self.bus.popups()), None), "the menu")
        self.wait(lambda: len(menu.find_all("menu item")) == 7, "the entry of the disks")
        self.picture("menu")
        self.key("Up", "Up", "Return")
        self.wait(lambda: len(self.bus.popups()) == 2, "the menu of help")
        self.picture("help")
        self.close_menus()
        self.open_icon_menu()
        self.key("Down", "Down", "Return")
        self.wait(lambda: self.disks(), "the rows")
        self.picture("rows-counting")
        self.slow.open()
        self.wait(lambda: len([row for row in self.disks().children if "24" in row.name]) == 1,
                  "the figures of the rows")
        self.picture("rows-counted")
        self.close_menus()
        self.slow.shut()
        self.empty_all_by_keyboard()
        self.picture("confirmation-gathering")
        self.slow.open()
        self.wait(lambda: self.app.find("label", r"^249 |^24\d "), "the figures")
        self.picture("confirmation")
        self.slow.shut()
        self.press_first_button(self.app.find("dialog"))
        self.see_progress_and_stop()

    def empty_all_by_keyboard(self):
        self.open_icon_menu()
        self.key("Down", "Return")
        self.wait(lambda: self.app.find("dialog"), "the question")

    def open_icon_menu(self):
        self.click(self.icon_place())
        self.wait(self.bus.popups, "the menu")

    def see_progress_and_stop(self):
        if self.can_lock:
            self.wait(lambda: self.app.find("check box"), "the question")
            self.picture("question")
            self.escape_until(lambda: not self.app.find("check box"), "the question to go")
        self.wait(self.progress, "the progress")
        self.picture("progress")
        self.slow.open()
        report = self.wait(lambda: self.app.find("dialog"), "the report")
        self.picture("report")
        self.key("Shift+Tab", "space")
        self.wait(lambda: report.find(name="inside"), "the details")
        self.picture("report-details")
        self.escape_until(lambda: not self.app.find("dialog"), "the report to close")


class SmartWindowPicturesTest(Looks, DesktopTest):
    SUBJECT = "smart-window"

    def fill(self):
        for name, folder, size in (("holiday.jpg", "Pictures", 2_400_000), ("notes.txt", "Documents", 4_900),
                                   ("report, final version of the last year.pdf", "Documents/Reports/2025", 343_000),
                                   ("song.flac", "Music", 21_000_000), (".hidden", "", 700)):
            self.trash.file(name, b"x" * size, original=f"/home/you/{folder}/{name}", date="2026-03-02T18:05:12")
        inside = os.path.join(self.trash.tree("mounted", ["inside/a"], original="/home/you/mounted"), b"inside")
        run_as_root("mount", "-t", "tmpfs", "none", inside)
        self.trash.tree("project-old", [f"part {number}/file" for number in range(30)],
                        original="/home/you/Work/project-old", date="2026-02-09T09:30:00")
        backup = self.volume_trash(self.ext4("Backup"))
        for number in range(1500):
            backup.file(f"photo {number:04}.jpg", b"y" * (number % 7 * 1000 + 1),
                        original=f"/media/Backup/Photos/photo {number:04}.jpg", date="2026-02-03T10:00:00")
        self.volume_trash(self.ext4("Camera"))
        self.slow = self.gated("A disk with a name that is rather long")
        self.slow.trash.tree("measured slowly", ["slow/a", "slow/b"])
        for number in range(60):
            self.slow.trash.tree(f"tree {number}", ["a", "b/c"])

    def walk(self):
        self.fill()
        self.slow.shut()
        self.start_program_without_icon("--smart-window")
        window = self.wait(lambda: self.app.find("frame"), "the window")
        self.wait(lambda: window.find("cell", "holiday"), "the entries")
        self.picture("several-sources")
        self.see_checks(window)
        self.see_panes(window)
        self.see_erase(window)

    def see_checks(self, window):
        self.key("Down", "ctrl+space", "Up")
        self.key("Tab", "Home", "Shift+Down", "Shift+Down", "ctrl+space")
        self.wait(lambda: window.find("button", r"1[.,]?503"), "the figure of the button")
        self.picture("checked")
        self.key("Menu")
        self.wait(self.bus.popups, "the context menu")
        self.picture("context-menu")
        self.key("Escape")
        self.key("ctrl+f")
        self.xdotool("type", "report")
        self.wait(lambda: not window.find("cell", "holiday"), "the filter")
        self.picture("filter")
        self.xdotool("type", "x")
        self.wait(lambda: not window.find("cell", "report"), "the filter")
        self.picture("filter-without-match")
        self.key("Escape", "ctrl+f", "shift+Tab", "alt+Down")
        self.wait(lambda: self.app.find("list item", "^M"), "the list of kinds")
        self.picture("kinds")
        self.key("Escape", "Home", "Down")
        self.wait(lambda: not window.find("cell", "report"), "the images alone")
        self.picture("kind-of-items")
        self.key("Home", "Tab", "Escape")

    def see_panes(self, window):
        self.key("F9", "F11")
        self.wait(lambda: "enabled" not in window.find("list").states, "the panes to fold")
        self.picture("collapsed")
        self.key("F9", "F11")

    def see_erase(self, window):
        self.click(window.find("button", r"1[.,]?503"))
        question = self.wait(lambda: self.app.find("dialog"), "the sheet")
        self.picture("sheet")
        self.key("Shift+Tab", "space")
        self.wait(lambda: question.find(name="holiday"), "the list")
        self.picture("sheet-with-list")
        self.escape_until(lambda: not self.app.find("dialog"), "the sheet to close")
        self.check_slow_disk(window)
        self.press_first_button_of_sheet(window)
        self.see_sheet_of_progress()

    def check_slow_disk(self, window):
        """What is checked there is erased slowly."""
        self.key("ctrl+f", "Escape", "shift+Tab", "Down", "Down", "ctrl+space")
        self.wait(lambda: window.find("button", r"1[.,]?564"), "the figure of the button")

    def press_first_button_of_sheet(self, window):
        self.click(window.find("button", r"1[.,]?564"))
        self.press_first_button(self.wait(lambda: self.app.find("dialog"), "the sheet"))

    def see_sheet_of_progress(self):
        self.wait(self.progress, "the progress")
        self.picture("progress")
        self.slow.open()
        self.wait(lambda: self.app.find("dialog"), "the report")
        self.picture("report")


class PreviewPicturesTest(Looks, DesktopTest):
    """The pane beside the list and Quick Look, with an entry of every kind and with what cannot be shown."""

    SUBJECT = "preview"
    PDF = (b"%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj 2 0 obj<</Type/Pages/Kids[3 0 R 3 0 R]/Count 2>>endobj "
           b"3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 420 595]/Contents 4 0 R/Resources<</Font<</F 5 0 R>>>>>>endobj "
           b"4 0 obj<</Length 60>>stream\nBT /F 30 Tf 60 480 Td (The report of last year) Tj ET      \nendstream endobj "
           b"5 0 obj<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>endobj trailer<</Root 1 0 R>>")
    SVG = (b'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 300 200"><rect width="300" height="200" fill="#dde8f0"/>'
           b'<circle cx="150" cy="100" r="70" fill="#c2410c"/></svg>')

    def draw(self, *arguments):
        """A picture as the tools of the desktop make it."""
        name = arguments[-1]
        self.tool("convert", *arguments[:-1], os.path.join(self.home, name.encode()))
        with open(os.path.join(self.home, name.encode()), "rb") as file:
            return file.read()

    @staticmethod
    def pack(**members):
        packed = io.BytesIO()
        with zipfile.ZipFile(packed, "w") as archive:
            for name, content in members.items():
                archive.writestr(name, content)
        return packed.getvalue()

    @staticmethod
    def sound():
        sound = io.BytesIO()
        with wave.open(sound, "wb") as file:
            file.setparams((1, 2, 8000, 0, "NONE", ""))
            file.writeframes(bytes(16000 * 65))
        return sound.getvalue()

    def fill(self):
        photo = self.draw("-size", "1600x1000", "plasma:tomato-steelblue", "photo.jpg")
        font = self.tool("fc-match", "-f", "%{file}", "DejaVu Sans")
        with open(font, "rb") as file:
            self.trash.file("a font.ttf", file.read())
        for name, content in {
                "animation.gif": self.draw("-delay", "20", "-size", "200x120", "xc:red", "xc:blue", "loop.gif"),
                "archive.zip": self.pack(**{f"folder/page {number}.txt": b"x" * number * 900 for number in range(40)}),
                "drawing.svg": self.SVG, "empty.txt": b"", "letter.odt": self.pack(**{
                    "mimetype": b"application/vnd.oasis.opendocument.text",
                    "Thumbnails/thumbnail.png": self.draw("-size", "180x256", "gradient:white-wheat", "page.png")}),
                "photo.jpg": photo, "photo, cut short.jpg": photo[:900], "report.pdf": self.PDF, "sound.wav": self.sound(),
                "source.py": b"def walk(folder):\n    for entry in sorted(folder):\n        yield entry\n" * 40,
                "tiny.png": self.draw("-size", "16x16", "xc:green", "tiny.png"), "unknown.bin": bytes(range(256)) * 9}.items():
            self.trash.file(name, content, original="/home/you/Documents/" + name)
        self.trash.tree("tree of files", [f"part {number}/file" for number in range(12)])
        os.mkfifo(self.trash.path("a pipe"))

    def steady_picture(self, step):
        """Keeps what the screen shows when it has stopped to change."""
        shots = [os.path.join(os.fsdecode(self.home), name) for name in ("one.png", "other.png")]

        def is_steady():
            seen = []
            for shot in shots:
                self.run_as_user("scrot", "-o", shot)
                seen.append(self.tool("convert", shot, "-depth", "8", "rgb:-"))
            return seen[0] == seen[1]
        self.wait(is_steady, "the screen to stop changing")
        self.picture(step)

    def panel_name(self):
        """The entry that Quick Look shows; None while it shows none."""
        return next((window.name for window in self.app.children if window.name in self.names), None)

    def walk(self):
        self.fill()
        self.names = [name.decode() for name in self.trash.names()]
        self.start_program_without_icon("--smart-window")
        window = self.wait(lambda: self.app.find("frame"), "the window")
        self.wait(lambda: window.find("cell", "a font"), "the entries")
        self.key("Tab", "End", "Home", "space")
        for _ in self.names:
            shown = self.wait(self.panel_name, "the panel")
            self.steady_picture(shown.replace(" ", "-"))
            self.key("Down")
            self.wait(lambda shown=shown: self.panel_name() != shown or shown == "unknown.bin", "the next entry")
        self.key("ctrl+a", "ctrl+Return")
        self.steady_picture("index-sheet")
        self.key("ctrl+Return", "Home", "F11")
        self.steady_picture("full-screen")
        self.key("Escape", "Escape")
        self.steady_picture("pane")
        self.key("Down", "Down", "shift+Down", "shift+Down")
        self.steady_picture("pane-with-several")


class WindowsPicturesTest(Looks, DesktopTest):
    """The first run, and the small windows."""
    SUBJECT = "windows"

    def write_settings(self, **settings):
        super().write_settings(is_first_run="true", **settings)

    def dialog(self, name=""):
        return self.wait(lambda: self.app.find("dialog", name), f"the window {name}")

    def close(self):
        self.escape_until(lambda: not self.app.find("dialog"), "the window to close")

    def choose_by_keys(self, *keys):
        """An entry at the end of the menu, by the keyboard."""
        self.click(self.icon_place())
        self.wait(self.bus.popups, "the menu")
        self.key(*keys)

    def walk(self):
        state = os.path.join(self.home, b".local/state/Kestrin 3")
        self.start_program()
        disclaimer = self.dialog()
        self.picture("disclaimer")
        self.press_first_button(disclaimer)
        self.dialog()
        self.picture("welcome")
        self.close()
        self.choose_by_keys("Up", "Up", "Return", "Down", "Return")
        self.dialog()
        self.picture("newsletter")
        self.close()
        self.choose_by_keys("Up", "Up", "Up", "Return")
        self.wait(lambda: not self.app.find("label", "^L(oo|öö)k"), "the package")
        self.dialog()
        self.picture("updates")
        self.close()
        self.choose_by_keys("Up", "Up", "Return", "Up", "Return")
        self.dialog()
        self.picture("uninstall")
        self.close()
        self.choose_by_keys("Up", "Return")
        self.wait_for_end()
        with open(os.path.join(state, b"version"), "w") as file:
            file.write("2.0\n")
        self.start_program()
        self.dialog()
        self.picture("information")


class PreferencesPicturesTest(Looks, DesktopTest):
    SUBJECT = "preferences"

    def walk(self):
        settings = os.path.join(self.home, b".config/com.quorvane.kestrin-3.conf")
        self.start_program("--preferences")
        preferences = self.wait(lambda: self.app.find("dialog"), "the preferences")
        self.wait(lambda: preferences.find("button", "Inst|Înst"), "the state of the helper")
        self.picture("as-they-are")
        self.key("Return")
        self.wait(lambda: preferences.find("button", "(Pr|Pr)[eé]ss"), "the recorder to record")
        self.key("alt+F4")
        self.wait(lambda: preferences.find("label", "Alt.F4"), "what is to be said about the keys")
        self.picture("taken")
        self.key("Escape", "Delete")
        self.wait(lambda: preferences.find("label", "Backspace"), "what is to be said about no keys")
        self.picture("cleared")
        self.key("Escape")
        self.wait(lambda: not self.app.find("dialog"), "the window to close")
        with open(settings, "wb") as file:
            file.write(b"\0" * 300)
        self.launch("--preferences")
        preferences = self.wait(lambda: self.app.find("dialog"), "the preferences")
        self.wait(lambda: preferences.find("label", "kestrin-3.conf"), "what is to be said about the file")
        self.key(*["shift+Tab"] * 4)  # also at the end of the page, where a small screen must scroll
        self.picture("unusable-file")
