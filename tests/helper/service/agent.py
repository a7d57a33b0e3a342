# SPDX-License-Identifier: GPL-3.0-or-later
"""An authentication agent that asks nobody: answers every question of the policy service for one
process as it was told to.

    agent.py PROCESS USER accept|cancel|deny|wait
"""

import sys

from caller import start_time
from gi.repository import Gio, GLib

AUTHORITY = ("org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
             "org.freedesktop.PolicyKit1.Authority")
PATH = "/com/quorvane/TestAgent"
AGENT = """<node><interface name="org.freedesktop.PolicyKit1.AuthenticationAgent">
<method name="BeginAuthentication"><arg type="s" direction="in"/><arg type="s" direction="in"/>
<arg type="s" direction="in"/><arg type="a{ss}" direction="in"/><arg type="s" direction="in"/>
<arg type="a(sa{sv})" direction="in"/></method>
<method name="CancelAuthentication"><arg type="s" direction="in"/></method>
</interface></node>"""


def tell(text):
    sys.stdout.write(text + "\n")
    sys.stdout.flush()


class Agent:
    def __init__(self, process, user, answer):
        self.answer = answer
        flags = Gio.DBusConnectionFlags
        self.bus = Gio.DBusConnection.new_for_address_sync(
            "unix:path=/run/dbus/system_bus_socket",
            flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)
        node = Gio.DBusNodeInfo.new_for_xml(AGENT)
        self.bus.register_object(PATH, node.interfaces[0], self.called, None, None)
        subject = ("unix-process", {"pid": GLib.Variant("u", process),
                                    "start-time": GLib.Variant("t", start_time(process)),
                                    "uid": GLib.Variant("i", user)})
        self.bus.call_sync(*AUTHORITY, "RegisterAuthenticationAgent",
                           GLib.Variant("((sa{sv})ss)", (subject, "C", PATH)), None, 0, -1, None)
        tell("ready")

    def called(self, _bus, _sender, _path, _interface, method, arguments, invocation):
        if method == "CancelAuthentication":
            tell("taken back")
            return invocation.return_value(None)
        action, _, _, _, cookie, identities = arguments.unpack()
        tell("asked " + action)
        if self.answer == "cancel":
            return invocation.return_dbus_error("org.freedesktop.PolicyKit1.Error.Cancelled", "no")
        if self.answer == "accept":
            kind, details = identities[0]
            identity = (kind, {key: GLib.Variant("u", value) for key, value in details.items()})
            answer = GLib.Variant("(us(sa{sv}))", (0, cookie, identity))
            self.bus.call(*AUTHORITY, "AuthenticationAgentResponse2", answer, None, 0, -1, None,
                          lambda *_: invocation.return_value(None))
        elif self.answer == "deny":
            invocation.return_value(None)


if __name__ == "__main__":
    agent = Agent(int(sys.argv[1]), int(sys.argv[2]), sys.argv[3])
    GLib.MainLoop().run()
