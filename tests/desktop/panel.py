# SPDX-License-Identifier: GPL-3.0-or-later
"""The part of a desktop's panel that icons register with (StatusNotifierItem). It says of each where it
answers, a line an icon.
    panel.py BUS-ADDRESS
"""

import sys

from gi.repository import Gio, GLib

WATCHER = "org.kde.StatusNotifierWatcher"
INTERFACE = f"""<node><interface name="{WATCHER}">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
</interface></node>"""


def register(connection, sender, path, interface, method, arguments, call):
    print(sender, flush=True)
    call.return_value(None)


def main():
    flags = (Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
    bus = Gio.DBusConnection.new_for_address_sync(sys.argv[1], flags, None, None)
    bus.register_object("/StatusNotifierWatcher", Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0],
                        register, lambda *_: GLib.Variant("b", True), None)
    Gio.bus_own_name_on_connection(bus, WATCHER, Gio.BusNameOwnerFlags.NONE, None, None)
    GLib.MainLoop().run()


main()
