# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails when a room includes what it must not, or when a test source is in no CMakeLists.txt.

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
# its own path. Stand-ins for tests are for tests alone: no room includes them. Of the helper only the
# protocol header is open to others.
ALLOWED = {
    "base": [],
    **{topic: ["base", *PLATFORM] for topic in PLATFORM},
    **{answers: ["base", *PLATFORM, *HOST] for answers in HOST},
    "platform/desktop/ui": ["base", *PLATFORM],
    "platform/desktop/ui/linux": ["base", *PLATFORM, "platform/desktop/ui"],
    "format": ["base", *PLATFORM],
    "fsutil": ["base", *PLATFORM],
    "inventory": LOWER,
    "erase": [*LOWER, "inventory", "helper"],
    "widgets": ["base", *PLATFORM, "platform/desktop/ui", "format"],
    "erase/ui": [*UP_TO_ERASE, "helper", "platform/desktop/ui", "widgets"],
    "cli": UP_TO_ERASE,
    "app": [*UP_TO_ERASE, "erase/ui", "widgets", "platform/desktop/ui", "cli"],
    "helper": ["base", *PLATFORM],
}
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)
GENERATED = re.compile(r"\.moc$|^moc_|^ui_")
PROTOCOL = re.compile(r"^helper/([^/]*Protocol[^/]*|QVCommonHelper)\.h$")


def room_of(path):
    """The innermost room that holds a file, named from src/ or, for the helper, from the top."""
    folders = list(path.parts[:-1])
    while folders and "/".join(folders) not in ALLOWED:
        folders.pop()
    return "/".join(folders)


def sources(folder):
    return sorted(p for p in folder.rglob("*") if p.suffix in (".h", ".cpp"))


def include_faults(repository):
    roots = {repository / "src": repository / "src", repository / "helper": repository}
    for folder, root in roots.items():
        for source in sources(folder):
            room = room_of(source.relative_to(root))
            if not room:
                yield f"{source.relative_to(repository)}: lies in no room"
                continue
            for name in INCLUDE.findall(source.read_text()):
                target = room_of(Path(name))
                is_allowed = target == room or target in ALLOWED[room]
                if target == "helper" and room != "helper":
                    is_allowed = is_allowed and PROTOCOL.search(name)
                if not is_allowed and not GENERATED.search(name):
                    yield f"{source.relative_to(repository)}: {room} must not include {name}"


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
    faults = [*include_faults(repository), *unbuilt_tests(repository)]
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
