# SPDX-License-Identifier: GPL-3.0-or-later
"""Surroundings for the tests of the real program.

Every test has a process of its own, run as root in a private mount namespace, with an empty /media, a
throw-away home and the effective rights of a user that exists nowhere else. Only so is `kestrin empty`
safe to try: that user owns no trash but the ones that the test makes. Without root nothing is run.

Paths are bytes throughout, as the names in a trash are.
"""

import contextlib
import ctypes
import fcntl
import hashlib
import json
import os
import pty
import select
import shutil
import signal
import stat
import subprocess
import tempfile
import termios
import time
import unittest
from urllib.parse import quote_from_bytes, unquote_to_bytes

USER = 61234
OTHER_USER = 61236
PROGRAM = os.environ.get("KESTRIN", "")
# Sanitizers make everything slower; limits of time grow by this factor.
TIME_FACTOR = float(os.environ.get("KESTRIN_TIME_FACTOR", "1"))

_libc = ctypes.CDLL(None, use_errno=True)
_CLONE_NEWNS = 0x20000
_AT_FDCWD = -100
_RENAME_EXCHANGE = 2


def _become(user):
    """For a child process: gives up all other rights for good."""
    os.seteuid(0)
    os.setgroups([])
    os.setresgid(user, user, user)
    os.setresuid(user, user, user)


@contextlib.contextmanager
def as_root():
    os.seteuid(0)
    os.setegid(0)
    try:
        yield
    finally:
        os.setegid(USER)
        os.seteuid(USER)


def run_as_root(*command, check=True):
    done = subprocess.run(command, preexec_fn=lambda: _become(0), check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if check and done.returncode != 0:
        raise RuntimeError(f"{command}: {done.stdout.decode(errors='replace')}")
    return done.returncode == 0


def require(*tools):
    """Skips the test, by name, on a machine that lacks one of these tools."""
    path = os.environ.get("PATH", "") + ":/usr/sbin:/sbin"
    for tool in tools:
        if shutil.which(tool, path=path) is None:
            raise unittest.SkipTest(f"{tool} is not installed")


def enter_private_world():
    """Called once, first thing in the process."""
    if os.geteuid() != 0:
        raise unittest.SkipTest("needs to be started as root")
    if _libc.unshare(_CLONE_NEWNS) != 0:
        raise unittest.SkipTest("the kernel grants no mount namespace")
    run_as_root("mount", "--make-rprivate", "/")
    os.setgroups([])
    os.umask(0o022)


def exchange(one, other):
    """Swaps two entries in one step; false when one of them has gone."""
    return _libc.renameat2(_AT_FDCWD, one, _AT_FDCWD, other, _RENAME_EXCHANGE) == 0


def wait_until(condition, what, timeout=30):
    """Waits until `condition()` answers something; answers that. `what` is told when it does not come, or
    makes what is told."""
    deadline = time.monotonic() + timeout * TIME_FACTOR
    while not (answer := condition()):
        if time.monotonic() > deadline:
            raise AssertionError("waited in vain for " + (what() if callable(what) else what))
        time.sleep(0.01)
    return answer


def sanitizer_options():
    return {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}


def to_bytes(path):
    return os.fsencode(path)


def url_of(path):
    return "file://" + quote_from_bytes(path, safe="/")


def path_of(url):
    assert url.startswith("file:///"), url
    return unquote_to_bytes(url[len("file://"):])


def listing(root, times="m"):
    """What every entry below `root` is: type, mode, owner, size, modification time, link, content.
    With times "mc" also when its inode last changed. Two listings are equal when nothing happened."""
    found = {}
    pending = [to_bytes(root)]
    with as_root():
        while pending:
            path = pending.pop()
            status = os.lstat(path)
            facts = [stat.S_IFMT(status.st_mode), stat.S_IMODE(status.st_mode), status.st_uid,
                     status.st_gid, status.st_mtime_ns]
            if "c" in times:
                facts.append(status.st_ctime_ns)
            if stat.S_ISLNK(status.st_mode):
                facts.append(os.readlink(path))
            elif stat.S_ISREG(status.st_mode):
                with open(path, "rb") as file:
                    facts.append(hashlib.sha256(file.read()).digest())
            elif stat.S_ISDIR(status.st_mode):
                pending.extend(os.path.join(path, name) for name in os.listdir(path))
            found[path] = facts
    return found


def exists(path):
    with as_root():
        return os.path.lexists(path)


class Run:
    """How a run of the program ended."""

    def __init__(self, status, out, err, seconds):
        self.status, self.out, self.err, self.seconds = status, out, err, seconds

    @property
    def json(self):
        return json.loads(self.out.decode("utf-8"))

    def __str__(self):
        return (f"status {self.status} after {self.seconds:.2f} s\n--- stdout\n"
                f"{self.out[-3000:].decode(errors='replace')}\n--- stderr\n"
                f"{self.err[-3000:].decode(errors='replace')}")


class TrashCan:
    """One trash folder, seen by what puts things into it."""

    def __init__(self, folder):
        self.folder = to_bytes(folder)
        self.files = os.path.join(self.folder, b"files")
        self.info = os.path.join(self.folder, b"info")
        for path in (self.files, self.info):
            os.makedirs(path, 0o700, exist_ok=True)

    def path(self, name):
        return os.path.join(self.files, to_bytes(name))

    def record_path(self, name):
        return os.path.join(self.info, to_bytes(name) + b".trashinfo")

    def record(self, name, original=b"/home/original", date="2026-01-02T03:04:05"):
        """Writes the record of an entry."""
        with open(self.record_path(name), "wb") as file:
            path = quote_from_bytes(to_bytes(original), safe="/")
            file.write(f"[Trash Info]\nPath={path}\nDeletionDate={date}\n".encode())

    def file(self, name, content=b"content", **record):
        """A trashed file; answers its path."""
        with open(self.path(name), "wb") as file:
            file.write(content)
        self.record(name, **record)
        return self.path(name)

    def tree(self, name, entries=("a", "b/c"), **record):
        """A trashed folder holding small files at these relative paths; answers its path."""
        top = self.path(name)
        os.makedirs(top)
        for entry in entries:
            path = os.path.join(top, to_bytes(entry))
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "wb") as file:
                file.write(b"12345")
        self.record(name, **record)
        return top

    def names(self):
        with as_root():
            return sorted(os.listdir(self.files))

    def records(self):
        with as_root():
            return sorted(name[:-len(b".trashinfo")] for name in os.listdir(self.info))


class EndToEndTest(unittest.TestCase):
    """A test with a home, volumes, and the program at hand."""

    maxDiff = 4000
    longMessage = True

    def setUp(self):
        with contextlib.suppress(AttributeError):
            os.seteuid(0)
        self._undo = contextlib.ExitStack()
        self.addCleanup(self._undo.close)
        run_as_root("mount", "-t", "tmpfs", "-o", "mode=755", "none", "/media")
        self.scratch = to_bytes(tempfile.mkdtemp(prefix="kestrin-e2e-", dir="/tmp"))
        self._undo.callback(self._remove_scratch)
        os.chmod(self.scratch, 0o755)
        self._add_account()
        # The build folder may be closed to other users: the program is shown at a place of its own.
        self.program = self.show(PROGRAM, b"bin")
        self.home = self.folder_of_user("home")
        self.outside = self.folder_of_user("outside")
        os.setegid(USER)
        os.seteuid(USER)
        self.user = USER  # who runs the program
        self._undo.callback(os.seteuid, 0)
        self.fill_outside()
        self.state = os.path.join(self.home, b".local/state")
        self.trash = TrashCan(os.path.join(self.home, b".local/share/Trash"))
        self.environment = {"HOME": os.fsdecode(self.home), "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8",
                            "LANGUAGE": "en", "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent",
                            **sanitizer_options()}

    def show(self, program, folder):
        """A program of the build in this folder of the scratch folder; answers its path there."""
        place = os.path.join(self.scratch, folder, os.path.basename(to_bytes(program)))
        run_as_root("mkdir", "-p", os.path.dirname(place))
        run_as_root("touch", place)
        run_as_root("mount", "--bind", program, place)
        return place

    def make_thumbnail(self, path):
        """As the desktop's programs name those of a file."""
        uri = "file://" + quote_from_bytes(path, safe="-_.!~*'()/&=:@+$,")
        folder = os.path.join(self.home, b".cache/thumbnails/large")
        os.makedirs(folder, exist_ok=True)
        thumbnail = os.path.join(folder, hashlib.md5(uri.encode()).hexdigest().encode() + b".png")
        open(thumbnail, "wb").close()
        return thumbnail

    def lend(self, library):
        """One of the program's libraries, which it looks for beside itself; under the address sanitizer it
        does not."""
        self.environment["LD_LIBRARY_PATH"] = os.fsdecode(self.scratch)
        place = os.path.join(self.scratch, to_bytes(library))
        with as_root():
            open(place, "wb").close()
        run_as_root("mount", "--bind", os.path.join(os.path.dirname(PROGRAM), library), place)

    def _add_account(self):
        """Session services want a name for the user."""
        accounts = os.path.join(self.scratch, b"passwd")
        shutil.copy("/etc/passwd", accounts)
        with open(accounts, "ab") as file:
            for name, user in ((b"", USER), (b"-other", OTHER_USER)):
                file.write(b"kestrin-e2e%s:x:%d:%d::%s/home%s:/bin/sh\n"
                           % (name, user, user, self.scratch, name))
        os.chmod(accounts, 0o644)
        run_as_root("mount", "--bind", accounts, "/etc/passwd")

    def _remove_scratch(self):
        os.seteuid(0)
        # Mounts end with the namespace; what is mounted in the scratch folder must go before it.
        with open("/proc/self/mountinfo", "rb") as table:
            points = [line.split(b" ")[4] for line in table]
        for point in reversed(points):
            if point.startswith(self.scratch) or point.startswith(b"/media"):
                run_as_root("umount", "-l", point, check=False)
        run_as_root("chattr", "-R", "-i", "-a", self.scratch, check=False)
        run_as_root("rm", "-rf", self.scratch, check=False)

    def folder_of_user(self, name, mode=0o755):
        path = os.path.join(self.scratch, to_bytes(name))
        os.mkdir(path)
        os.chown(path, USER, USER)
        os.chmod(path, mode)
        return path

    def lock(self, *paths, attribute="+i"):
        """Gives these that attribute, which goes with the test."""
        if not run_as_root("chattr", attribute, *paths, check=False):
            self.skipTest("the file system keeps no such attribute")

    def write_settings(self, **settings):
        """A dictionary gets a section of its own."""
        sections = {"General": {}}
        for key, value in settings.items():
            if isinstance(value, dict):
                sections[key] = value
            else:
                sections["General"][key] = value
        folder = os.path.join(self.home, b".config")
        os.makedirs(folder, exist_ok=True)
        with open(os.path.join(folder, b"com.quorvane.kestrin-3.conf"), "w") as file:
            for name, values in sections.items():
                file.write(f"[{name}]\n" + "".join(f"{key}={value}\n" for key, value in values.items()))

    def fill_outside(self):
        """What must never change: a folder beside the home, of the user's own."""
        os.makedirs(os.path.join(self.outside, b"folder/deep"))
        for name in (b"file", b"folder/file", b"folder/deep/file"):
            path = os.path.join(self.outside, name)
            with open(path, "wb") as file:
                file.write(b"precious " + name)
            os.chmod(path, 0o640)
        os.symlink(b"file", os.path.join(self.outside, b"link"))

    # Running the program.

    def run_program(self, *arguments):
        """Runs the program as the user and waits for its end."""
        return self.finish(self.start(*arguments))

    def start(self, *arguments):
        process = subprocess.Popen(
            [self.program, *map(to_bytes, arguments)], cwd="/", env=self.environment,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            preexec_fn=lambda: _become(self.user))
        process.began = time.monotonic()
        self._undo.callback(self._end_child, process)
        return process

    @staticmethod
    def _end_child(process):
        if process.poll() is None:
            os.seteuid(0)
            process.kill()
            process.wait()

    @staticmethod
    def finish(process):
        out, err = process.communicate(timeout=100 * TIME_FACTOR)
        return Run(process.returncode, out, err, time.monotonic() - process.began)

    def succeed(self, *arguments, status=0):
        """Runs the program and expects that exit status."""
        run = self.run_program(*arguments)
        self.assertEqual(run.status, status, f"kestrin {arguments}: {run}")
        return run

    def run_as_user(self, *command, check=True):
        """Runs another tool as the user; answers its output."""
        done = subprocess.run(command, preexec_fn=lambda: _become(USER), cwd=self.home,
                              env=self.environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, timeout=60)
        if check:
            self.assertEqual(done.returncode, 0, f"{command}: {done.stdout} {done.stderr}")
        return done.stdout

    # Volumes: under /media, which is the test's own.

    def ext4(self, name, label=None):
        """A new ext4 volume that the user may write to; answers its mount point."""
        return self._volume(name, 32, ["mkfs.ext4", "-q", "-L", label or name], ["mount", "-o", "loop"])

    def btrfs(self, name):
        return self._volume(name, 160, ["mkfs.btrfs", "-q", "-L", name], ["mount", "-o", "loop"])

    def fat(self, name):
        """A FAT volume, by a driver in user space."""
        options = f"rw+,allow_other,uid={USER},gid={USER}"
        return self._volume(name, 16, ["mkfs.fat"], ["fusefat", "-o", options])

    def _volume(self, name, megabytes, make, mount):
        require(make[0], mount[0])
        image, point = os.path.join(self.scratch, to_bytes(name) + b".img"), self.mount_point(name)
        run_as_root("truncate", "-s", f"{megabytes}M", image)
        run_as_root("env", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", *make, image)
        if not run_as_root(*mount, image, point, check=False):
            self.skipTest("this machine mounts no such volume: " + make[0])
        run_as_root("chown", f"{USER}:{USER}", point, check=False)
        return point

    def tmpfs(self, path, options="mode=755"):
        """A tmpfs of the user's own on that folder, which must exist."""
        run_as_root("mount", "-t", "tmpfs", "-o", f"{options},uid={USER},gid={USER}", "none", path)
        return path

    def mount_point(self, name):
        point = os.path.join(b"/media", to_bytes(name))
        with as_root():
            os.mkdir(point)
        return point

    def volume_trash(self, point, user=USER):
        """The trash folder that most tools make on a volume."""
        return TrashCan(os.path.join(point, b".Trash-%d" % user))

    # What most tests look at.

    def assertGone(self, can=None):
        """Nothing is left in the trash: neither data nor records."""
        can = can or self.trash
        self.assertEqual((can.names(), can.records()), ([], []))

    def assertStayed(self, run, path, reason):
        """The report names that entry with that reason."""
        found = {path_of(entry["url"]): entry["reason"] for entry in run.json["notErased"]}
        self.assertEqual(found.get(path), reason, f"{path!r}: {run}")

    def log_files(self):
        root = os.path.join(self.state, b"Kestrin 3")
        return [os.path.join(folder, name) for folder, _, names in os.walk(root) for name in names
                if name.endswith(b".log")]

    def log_lines(self):
        files = self.log_files()
        self.assertEqual(len(files), 1, files)
        with open(files[0], "rb") as file:
            return file.read().decode("utf-8").split("\n")


class Terminal:
    """The program on a terminal of its own."""

    def __init__(self, test, *arguments):
        self._master, slave = pty.openpty()
        self.text = b""
        self.process = subprocess.Popen(
            [test.program, *map(to_bytes, arguments)], cwd="/", env=test.environment,
            stdin=slave, stdout=slave, stderr=slave, preexec_fn=lambda: self._take(slave, test.user))
        os.close(slave)
        test._undo.callback(test._end_child, self.process)

    @staticmethod
    def _take(slave, user):
        os.setsid()
        fcntl.ioctl(slave, termios.TIOCSCTTY, 0)
        _become(user)

    def read_until(self, condition, timeout=20):
        """Reads until `condition(text)` holds, or the program has closed the terminal."""
        deadline = time.monotonic() + timeout * TIME_FACTOR
        while not condition(self.text):
            ready, _, _ = select.select([self._master], [], [], 0.05)
            if ready and not self._read():
                return
            if time.monotonic() > deadline:
                raise AssertionError(f"waited in vain; the terminal shows {self.text!r}")

    def _read(self):
        try:
            piece = os.read(self._master, 65536)
        except OSError:  # Linux's way to say that nobody holds the other end
            return False
        self.text += piece
        return bool(piece)

    def type(self, keys):
        os.write(self._master, keys)

    def hides_input(self):
        """Whether what is typed does not show, as with a password."""
        return not termios.tcgetattr(self._master)[3] & termios.ECHO

    def end(self):
        """Waits for the program's end; answers its exit status."""
        self.read_until(lambda text: False)
        return self.process.wait(timeout=20 * TIME_FACTOR)


def send(process, signal_number):
    with as_root():
        process.send_signal(signal_number)
