# SPDX-License-Identifier: GPL-3.0-or-later
"""A volume that answers late when it is told to: a FUSE file system that mirrors a folder and passes for one of
another computer.
    gated_volume.py FOLDER MOUNT-POINT GATE
While the file GATE exists, nothing in a folder named "slow" is listed or removed; while it holds the word
"all", the volume does not answer at all. What waited goes on when the gate is gone.
"""

import os
import sys
import time

import fusepy as fuse


class GatedVolume(fuse.Operations):
    def __init__(self, folder, gate):
        self._folder, self._gate = folder, gate

    def init(self, path):
        """What is made here is its user's: the owner of the folder."""
        owner = os.lstat(self._folder)
        os.setegid(owner.st_gid)
        os.seteuid(owner.st_uid)

    def _is_shut(self, path):
        try:
            with open(self._gate, "rb") as gate:
                return b"all" in gate.read() or "/slow" in path
        except FileNotFoundError:
            return False

    def _place(self, path):
        while self._is_shut(path):
            time.sleep(0.02)
        return self._folder + path

    def getattr(self, path, handle=None):
        # Only what lies in the slow folder is slow, so that a listing of its parent is not.
        gated = path if not path.endswith("/slow") else os.path.dirname(path)
        try:
            status = os.lstat(self._place(gated) and self._folder + path)
        except OSError as problem:
            raise fuse.FuseOSError(problem.errno)
        return {name: getattr(status, name) for name in dir(status) if name.startswith("st_")}

    def readdir(self, path, handle):
        return [".", "..", *os.listdir(self._place(path))]

    def readlink(self, path):
        return os.readlink(self._place(path))

    def unlink(self, path):
        os.unlink(self._place(path))

    def rmdir(self, path):
        os.rmdir(self._place(path))

    def mkdir(self, path, mode):
        os.mkdir(self._place(path), mode)

    def rename(self, old, new):
        os.rename(self._place(old), self._place(new))

    def open(self, path, flags):
        return os.open(self._place(path), flags)

    def create(self, path, mode, info=None):
        return os.open(self._place(path), os.O_CREAT | os.O_RDWR, mode)

    def read(self, path, size, offset, handle):
        return os.pread(handle, size, offset)

    def write(self, path, data, offset, handle):
        return os.pwrite(handle, data, offset)

    def release(self, path, handle):
        os.close(handle)

    def statfs(self, path):
        numbers = os.statvfs(self._place(path))
        return {name: getattr(numbers, name) for name in dir(numbers) if name.startswith("f_")}


if __name__ == "__main__":
    fuse.FUSE(GatedVolume(sys.argv[1], sys.argv[3]), sys.argv[2], foreground=True, allow_other=True,
              default_permissions=True, attr_timeout=0, entry_timeout=0, fsname="gated", subtype="sshfs")
