# SPDX-License-Identifier: GPL-3.0-or-later
"""Holds a folder's lock in the kernel: lists it into memory whose pages a file system of its own serves, which
never answers. Whoever changes the folder sleeps until this process ends, and cannot be killed.

    folder_holder.py FOLDER MOUNT-POINT
"""

import ctypes
import errno
import mmap
import os
import sys
import time

import fusepy as fuse


class Page(fuse.Operations):
    def getattr(self, path, handle=None):
        if path == "/":
            return {"st_mode": 0o40755, "st_nlink": 2}
        if path != "/page":
            raise fuse.FuseOSError(errno.ENOENT)
        return {"st_mode": 0o100644, "st_nlink": 1, "st_size": mmap.PAGESIZE}

    def read(self, path, size, offset, handle):
        sys.stdout.write("held\n")
        sys.stdout.flush()
        time.sleep(1000)


def hold(folder, mount_point):
    while not os.path.ismount(mount_point):
        time.sleep(0.01)
    file = os.open(os.path.join(mount_point, "page"), os.O_RDONLY)
    page = mmap.mmap(file, mmap.PAGESIZE, flags=mmap.MAP_PRIVATE, prot=mmap.PROT_READ | mmap.PROT_WRITE)
    address = ctypes.addressof(ctypes.c_char.from_buffer(page))
    getdents64 = 217
    ctypes.CDLL(None).syscall(getdents64, os.open(folder, os.O_RDONLY), ctypes.c_void_p(address), mmap.PAGESIZE)


if __name__ == "__main__":
    if os.fork() == 0:
        hold(*sys.argv[1:])
        os._exit(0)
    fuse.FUSE(Page(), sys.argv[2], foreground=True, nothreads=False)
