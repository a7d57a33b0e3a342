# SPDX-License-Identifier: GPL-3.0-or-later
"""What a screen reader is told of a program: a small client of the accessibility bus.

Nothing is cached: every property is asked of the program when it is read, so that what a test sees is
what is on the screen now. An object that has gone answers with nothing instead of an error.
"""

import re
import unittest

try:
    import gi
    gi.require_version("Gio", "2.0")
    from gi.repository import Gio, GLib
except (ImportError, ValueError):
    Gio = None

_ACCESSIBLE = "org.a11y.atspi.Accessible"
_ROOT = "/org/a11y/atspi/accessible/root"
_NULL = "/org/a11y/atspi/null"
# Long: a program under a sanitizer on a busy machine may take its time.
_PATIENCE = 10_000

# Roles and states by their numbers in the AT-SPI protocol.
ROLES = {7: "check box", 16: "dialog", 20: "filler", 23: "frame", 27: "icon", 29: "label", 31: "list", 32: "list item", 33: "menu", 34: "menu bar",
         35: "menu item", 41: "popup menu", 42: "progress bar", 43: "button", 62: "toggle button",
         2: "alert", 45: "tool tip", 55: "table", 56: "cell", 61: "text", 65: "tree", 69: "window", 91: "item", 116: "label"}
_STATES = {1: "active", 4: "checked", 8: "enabled", 12: "focused", 23: "selected", 24: "sensitive",
           25: "showing", 30: "visible"}


def require_bindings():
    if Gio is None:
        raise unittest.SkipTest("python3-gi is not installed for this Python")


def variant(signature, value):
    """An argument for the bus."""
    return GLib.Variant(signature, value)


def connect(session_address):
    """The accessibility bus of that session; None while the session does not answer."""
    try:
        return AccessibilityBus(session_address)
    except GLib.Error:
        return None


class AccessibilityBus:
    """The bus of a session, which is started on the way if need be."""

    def __init__(self, session_address):
        self._session = self._connect(session_address)
        address, = self._ask(self._session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus",
                             "GetAddress", None)
        self._bus = self._connect(address)
        self._shown = {}
        self._watch_what_appears()

    def _watch_what_appears(self):
        """A menu that pops up is no child of its program; that it shows is only told as an event."""
        self._bus.signal_subscribe(None, "org.a11y.atspi.Event.Object", "StateChanged", None, None,
                                   Gio.DBusSignalFlags.NONE, self._hear)
        arguments = GLib.Variant("(sass)", ("object:state-changed:showing", [], ""))
        self._ask(self._bus, "org.a11y.atspi.Registry", "/org/a11y/atspi/registry",
                  "org.a11y.atspi.Registry", "RegisterEvent", arguments)

    def _hear(self, _, owner, path, *rest):
        what, is_so, *_ = rest[2].unpack()
        if what == "showing" and is_so:
            self._shown.pop(path, None)
            self._shown[path] = Node(self, owner, path)

    def popups(self):
        """The menus that are open, the latest first."""
        while GLib.MainContext.default().iteration(False):
            pass
        return [node for node in reversed(self._shown.values())
                if node.role == "popup menu" and "showing" in node.states]

    @staticmethod
    def _connect(address):
        flags = (Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT |
                 Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
        connection = Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
        connection.set_exit_on_close(False)
        return connection

    @staticmethod
    def _ask(connection, *call):
        *target, arguments = call
        return connection.call_sync(*target, arguments, None, Gio.DBusCallFlags.NONE, _PATIENCE,
                                    None).unpack()

    def call(self, name, path, interface, method, arguments=None):
        """The answer as a tuple; None when the object has gone."""
        try:
            return self._ask(self._bus, name, path, interface, method, arguments)
        except GLib.Error:
            return None

    def session_call(self, name, path, interface, method, arguments=None):
        return self._ask(self._session, name, path, interface, method, arguments)

    def program(self, name):
        """The program of that name; None when it is not (or no longer) on the bus."""
        registry = Node(self, "org.a11y.atspi.Registry", _ROOT)
        return next((child for child in registry.children if child.name == name), None)


class Node:
    """One thing on the screen."""

    def __init__(self, bus, owner, path):
        self._bus, self._owner, self._path = bus, owner, path

    def __repr__(self):
        return f"<{self.role} “{self.name}” {sorted(self.states)} {self.extents}>"

    def _call(self, method, interface=_ACCESSIBLE, arguments=None):
        return self._bus.call(self._owner, self._path, interface, method, arguments)

    @property
    def name(self):
        answer = self._call("Get", "org.freedesktop.DBus.Properties", GLib.Variant("(ss)", (_ACCESSIBLE, "Name")))
        return answer[0] if answer else ""

    @property
    def role(self):
        answer = self._call("GetRole")
        return ROLES.get(answer[0], str(answer[0])) if answer else ""

    @property
    def states(self):
        answer = self._call("GetState")
        if not answer:
            return set()
        bits = sum(word << (32 * index) for index, word in enumerate(answer[0]))
        return {name for bit, name in _STATES.items() if bits >> bit & 1}

    @property
    def extents(self):
        """x, y, width, height on the screen; zeros when there is no place."""
        answer = self._call("GetExtents", "org.a11y.atspi.Component", GLib.Variant("(u)", (0,)))
        return tuple(answer[0]) if answer else (0, 0, 0, 0)

    @property
    def children(self):
        answer = self._call("GetChildren")
        return [Node(self._bus, owner, path) for owner, path in (answer[0] if answer else [])
                if path != _NULL]

    def everything(self):
        yield self
        for child in self.children:
            yield from child.everything()

    def find(self, role=None, name=None, showing=True):
        """The first thing with that role whose name matches the pattern; None when there is none."""
        return next(iter(self.find_all(role, name, showing)), None)

    def find_all(self, role=None, name=None, showing=True):
        return [node for node in self.everything() if (role is None or node.role == role)
                and (name is None or re.search(name, node.name))
                and (not showing or "showing" in node.states)]

    def lines(self, depth=0):
        """The tree as text, for the report of a failure."""
        yield "  " * depth + repr(self)
        for child in self.children:
            yield from child.lines(depth + 1)
