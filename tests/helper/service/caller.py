# SPDX-License-Identifier: GPL-3.0-or-later
"""A program that calls the helper: one process, one connection, one user.

Started by Caller below; takes a JSON object a line on its standard input and writes one a line to its
standard output. Paths and bytes travel in hexadecimal.
"""

import array
import json
import os
import struct
import sys
import threading

SERVICE = "com.quorvane.Kestrin3Helper"
PATH = "/com/quorvane/Kestrin3Helper"
INTERFACE = "com.quorvane.Kestrin3.QVHelperToolProtocol"
PROGRESS_PATH = "/com/quorvane/Kestrin3/Progress"
PROGRESS = """<node><interface name="com.quorvane.Kestrin3.QVHelperToolProtocolProgress">
<method name="itemsErased"><arg type="a(ttts)" direction="in"/></method>
<method name="attributesNotRestored"><arg type="as" direction="in"/></method>
<method name="interrupted"><arg type="b" direction="in"/></method>
<method name="finishedWithNonErasedCount"><arg type="t" direction="in"/></method>
</interface></node>"""


def start_time(process):
    with open(f"/proc/{process}/stat", "rb") as file:
        return int(file.read().rsplit(b")", 1)[1].split()[19])


def form(process=None, user=None, start=None):
    """The 32 bytes that name a process, this one by default."""
    process = os.getpid() if process is None else process
    return struct.pack("<IIQ16s", process, os.getuid() if user is None else user,
                       start_time(process) if start is None else start, os.urandom(16))


class Program:
    def __init__(self):
        from gi.repository import Gio, GLib
        self.gio, self.glib = Gio, GLib
        self.loop = GLib.MainLoop()
        flags = Gio.DBusConnectionFlags
        self.bus = Gio.DBusConnection.new_for_address_sync(
            "unix:path=/run/dbus/system_bus_socket",
            flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)
        self.bus.set_exit_on_close(False)
        self.answers = True
        self.held = []
        node = Gio.DBusNodeInfo.new_for_xml(PROGRESS)
        self.bus.register_object(PROGRESS_PATH, node.interfaces[0], self.progress, None, None)
        threading.Thread(target=self.read, daemon=True).start()
        self.tell(event="ready", pid=os.getpid())

    @staticmethod
    def tell(**event):
        sys.stdout.write(json.dumps(event) + "\n")
        sys.stdout.flush()

    def progress(self, _bus, sender, _path, _interface, method, arguments, invocation):
        values = arguments.unpack()[0]
        if method == "itemsErased":
            self.tell(event="erased", items=values)
        else:
            self.tell(event=method, value=values)
        if self.answers:
            invocation.return_value(None)
        else:
            self.held.append(invocation)

    def read(self):
        for line in sys.stdin:
            self.glib.idle_add(self.serve, json.loads(line))
        self.glib.idle_add(self.loop.quit)

    def serve(self, order):
        getattr(self, "do_" + order.pop("do"))(**order)
        return False

    def do_answer(self, answers):
        self.answers = answers
        while answers and self.held:
            self.held.pop(0).return_value(None)

    def do_call(self, method, tag, signature="()", arguments=(), interactive=False, fd=None):
        """Calls the helper; the reply comes as an event of that tag."""
        glib, gio = self.glib, self.gio
        message = gio.DBusMessage.new_method_call(SERVICE, PATH, INTERFACE, method)
        if interactive:
            message.set_flags(gio.DBusMessageFlags.ALLOW_INTERACTIVE_AUTHORIZATION)
        values = []
        for kind, value in zip(signature.strip("()").replace("ay", "y").replace("as", "s"), arguments):
            if kind == "y":
                values.append(glib.Variant.new_from_bytes(
                    glib.VariantType("ay"), glib.Bytes.new(self.bytes_of(value)), True))
            elif kind == "h":
                descriptors = gio.UnixFDList.new()
                values.append(glib.Variant("h", descriptors.append(self.file_of(value))))
                message.set_unix_fd_list(descriptors)
            elif kind == "s" and isinstance(value, int):  # so many empty texts
                ends = array.array("I", range(1, value + 1))
                values.append(glib.Variant.new_from_bytes(
                    glib.VariantType("as"), glib.Bytes.new(bytes(value) + ends.tobytes()), True))
            elif kind == "s":
                values.append(glib.Variant("as", value))
            else:
                values.append(glib.Variant(kind, value))
        message.set_body(glib.Variant.new_tuple(*values))
        self.bus.send_message_with_reply(message, gio.DBusSendMessageFlags.NONE, 0x7fffffff, None,
                                         self.replied, tag)

    def do_flood(self, count, descriptors=0):
        """Commands that want no reply."""
        for number in range(count):
            message = self.gio.DBusMessage.new_method_call(SERVICE, PATH, INTERFACE, "unlockItems")
            message.set_flags(self.gio.DBusMessageFlags.NO_REPLY_EXPECTED)
            message.set_body(self.glib.Variant("(as)", (["/a"],)))
            if descriptors:
                files = self.gio.UnixFDList.new()
                handles = [self.glib.Variant("h", files.append(0)) for _ in range(descriptors)]
                message.set_unix_fd_list(files)
                message.set_body(self.glib.Variant.new_tuple(*handles))
                if number % 20 == 0:
                    self.bus.flush_sync(None)
            self.bus.send_message(message, self.gio.DBusSendMessageFlags.NONE)
        self.bus.flush_sync(None)
        self.tell(event="flooded")

    @staticmethod
    def bytes_of(value):
        return form() if value == "form" else bytes.fromhex(value)

    def file_of(self, value):
        """Opens {"path": …} or makes a memory file {"data": hex, "size": …, "seals": …}."""
        import fcntl
        if "path" in value:
            return os.open(value["path"], os.O_RDONLY)
        memory = os.memfd_create("list", os.MFD_ALLOW_SEALING)
        if "copy" in value:
            with open(value["copy"], "rb") as source:
                while os.sendfile(memory, source.fileno(), None, 1 << 30):
                    pass
        os.write(memory, bytes.fromhex(value.get("data", "")))
        if "size" in value:
            os.ftruncate(memory, value["size"])
        fcntl.fcntl(memory, fcntl.F_ADD_SEALS, value.get("seals", 0xf))
        self.memory = memory
        return memory

    def replied(self, bus, result, tag):
        try:
            reply = bus.send_message_with_reply_finish(result)
            name = reply.get_error_name()
            body = reply.get_body()
            self.tell(event="reply", tag=tag, error=name, values=body.unpack() if body and not name else [],
                      text=body.unpack()[0] if body and name else "")
        except self.glib.Error as error:
            self.tell(event="reply", tag=tag, error="lost", values=[], text=error.message)


if __name__ == "__main__":
    program = Program()
    program.loop.run()
