# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails when a room includes what it must not, when a room is named that is not there, when a source file or
a function is too long, or when a test source is in no CMakeLists.txt.

Usage: includes.py REPOSITORY
"""
import re
import sys
from pathlib import Path

PLATFORM = [f"platform/{topic}" for topic in ("desktop", "disks", "items", "processes", "trash")]
HOST = [f"{topic}/linux" for topic in PLATFORM]
LOWER = ["base", *PLATFORM, "format", "fsutil"]
UP_TO_ERASE = [*LOWER, "inventory", "erase"]

# A room, and the rooms that it may include besides itself. A room inside another one stands under
# its own path. Stand-ins for tests are for tests alone: no room includes them. Of the helper and of the
# viewer only the protocol headers are open to others.
ALLOWED = {
    "base": [],
    **{topic: ["base", *PLATFORM] for topic in PLATFORM},
    **{answers: ["base", *PLATFORM, *HOST] for answers in HOST},
    "platform/desktop/ui": ["base", *PLATFORM],
    "platform/desktop/ui/linux": ["base", *PLATFORM, *HOST, "platform/desktop/ui"],
    "format": ["base", *PLATFORM],
    "fsutil": ["base", *PLATFORM],
    "inventory": LOWER,
    "erase": [*LOWER, "inventory", "helper"],
    "widgets": ["base", *PLATFORM, "platform/desktop/ui", "format"],
    "erase/ui": [*UP_TO_ERASE, "helper", "platform/desktop/ui", "widgets"],
    "cli": UP_TO_ERASE,
    "smartwindow/preview": [*UP_TO_ERASE, "viewer", "widgets", "platform/desktop/ui"],
    "smartwindow": ["smartwindow/preview", *UP_TO_ERASE, "viewer", "erase/ui", "widgets", "platform/desktop/ui"],
    "app/preferences": [*UP_TO_ERASE, "helper", "erase/ui", "widgets", "platform/desktop/ui"],
    "app/windows": ["base", *PLATFORM, "format", "platform/desktop/ui", "widgets"],
    "app": [*UP_TO_ERASE, "erase/ui", "widgets", "platform/desktop/ui", "cli", "smartwindow", "smartwindow/preview",
            "app/preferences", "app/windows"],
    "helper": ["base", *PLATFORM],
    "viewer": ["base", *PLATFORM],
}
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)
LONGEST_FILE, LONGEST_FUNCTION = 600, 45
# What opens a block that is no function; the rest of a line that ends with "{" is one when it has "(".
NO_FUNCTION = re.compile(r"\s*(namespace|class|struct|union|enum|extern)\b|[^(]*$")
GENERATED = re.compile(r"\.moc$|^moc_|^ui_")
PROGRAMS = ["helper", "viewer"]
PROTOCOL = re.compile(r"^(helper/([^/]*Protocol[^/]*|QVCommonHelper)|viewer/ViewerProtocol)\.h$")


def room_of(path):
    """The innermost room that holds a file, named from src/ or, for the other programs, from the top."""
    folders = list(path.parts[:-1])
    while folders and "/".join(folders) not in ALLOWED:
        folders.pop()
    return "/".join(folders)


def sources(folder):
    return sorted(p for p in folder.rglob("*") if p.suffix in (".h", ".cpp"))


def include_faults(repository):
    roots = {repository / "src": repository / "src", **{repository / program: repository for program in PROGRAMS}}
    for folder, root in roots.items():
        for source in sources(folder):
            room = room_of(source.relative_to(root))
            if not room:
                yield f"{source.relative_to(repository)}: lies in no room"
                continue
            for name in INCLUDE.findall(source.read_text()):
                target = room_of(Path(name))
                is_allowed = target == room or target in ALLOWED[room]
                if target in PROGRAMS and room != target:
                    is_allowed = is_allowed and PROTOCOL.search(name)
                if not is_allowed and not GENERATED.search(name):
                    yield f"{source.relative_to(repository)}: {room} must not include {name}"


def absent_rooms(repository):
    """Rooms of the table above, and of the one in ARCHITECTURE.md, that hold no source."""
    named = set(re.findall(r"^\| `([a-z/]+)/` \|", (repository / "ARCHITECTURE.md").read_text(), re.MULTILINE))
    for room in sorted(named | set(ALLOWED)):
        if not any(sources(top / room) for top in (repository / "src", repository)):
            yield f"{room}: named as a room, and not there"


def functions(lines):
    """The first line and the length of every function, by the layout that clang-format gives: the line that
    closes a function stands under the one that begins it."""
    for at, line in enumerate(lines):
        indent = re.match(" *", line)[0]
        if line.lstrip().startswith(": "):  # what a constructor makes first stands deeper than its end
            indent = indent[4:]
        if not line.endswith("{") or len(indent) > 4:
            continue
        first = at
        while first > 0 and lines[first - 1].startswith(indent + " "):
            first -= 1
        first -= first < at
        end = next((n for n in range(at, len(lines)) if lines[n].startswith(indent + "}")), at)
        if not NO_FUNCTION.match(" ".join(lines[first:at + 1])) and lines[end] == indent + "}":
            yield first, end - first + 1


def long_sources(repository):
    for folder in [repository / "src", *(repository / program for program in PROGRAMS)]:
        for source in sources(folder):
            name, lines = source.relative_to(repository), source.read_text().splitlines()
            if len(lines) > LONGEST_FILE:
                yield f"{name}: {len(lines)} lines"
            for first, length in functions(lines):
                if length > LONGEST_FUNCTION:
                    yield f"{name}:{first + 1}: a function of {length} lines"


def unbuilt_tests(repository):
    for source in sorted((repository / "tests").rglob("*.cpp")):
        folder = source.parent
        while folder != repository and not (folder / "CMakeLists.txt").exists():
            folder = folder.parent
        lists = [folder / "CMakeLists.txt", repository / "tests/CMakeLists.txt"]
        words = {Path(w).name for f in lists for w in re.split(r'[\s()"]+', f.read_text())}
        if source.name not in words:
            yield f"{source.relative_to(repository)}: is in no CMakeLists.txt"


def main():
    repository = Path(sys.argv[1])
    faults = [*include_faults(repository), *absent_rooms(repository), *long_sources(repository),
              *unbuilt_tests(repository)]
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
