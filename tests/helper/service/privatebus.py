# SPDX-License-Identifier: GPL-3.0-or-later
"""A system bus of one's own, with the real policy service and the real helper, started on demand.

Needs root in a private mount namespace (harness.enter_private_world): the bus listens where every
program looks for the system bus, so that no program needs to be told, and the policy service finds its
actions and rules at their usual places. All of it ends with the namespace.
"""

import contextlib
import os
import shutil
import subprocess

import harness

ACTION = "com.quorvane.kestrin-3.eraseAuthorized"
SERVICE = "com.quorvane.Kestrin3Helper"
SOCKET = "/run/dbus/system_bus_socket"
RESOURCES = os.path.join(os.path.dirname(__file__), "../../../resources/helper")
POLKITD = "/usr/lib/polkit-1/polkitd"

CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path={socket}</listen>
  <auth>EXTERNAL</auth>
  <servicedir>{folder}/services</servicedir>
  <policy context="default">
    <allow user="*"/> <deny own="*"/> <deny send_type="method_call"/> <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/> <allow receive_type="method_return"/>
    <allow receive_type="error"/> <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>
  </policy>
  <includedir>{folder}/system.d</includedir>
</busconfig>
"""

RULE = """polkit.addRule(function(action, subject) {
    if (action.id == "%s" && subject.user.indexOf("%s") == 0) return polkit.Result.%s;
});
"""


class PrivateBus:
    """Starts the bus. `folder` is a new folder that others may read; `helper` the program, None for a machine
    without it. `answer` is an administrator's rule for the user: YES, NO, AUTH_ADMIN_KEEP; see polkit(8)."""

    def __init__(self, folder, helper, idle_seconds=60, answer=None):
        harness.require("dbus-daemon")
        self.folder = os.fsdecode(folder)
        self._processes = []
        self.log = os.path.join(self.folder, "bus.log")
        with harness.as_root():
            self._prepare(helper, idle_seconds)
            if answer:
                self._write("rules/10-test.rules", RULE % (ACTION, "kestrin-e2e", answer))
        self.restart()

    def _prepare(self, helper, idle_seconds):
        for name in ("services", "system.d", "actions", "rules"):
            os.makedirs(os.path.join(self.folder, name), mode=0o755)
        os.chmod(self.folder, 0o755)
        self._write("bus.conf", CONFIGURATION.format(socket=SOCKET, folder=self.folder))
        shutil.copy("/usr/share/dbus-1/system.d/org.freedesktop.PolicyKit1.conf",
                    os.path.join(self.folder, "system.d"))
        shutil.copy("/usr/share/polkit-1/actions/org.freedesktop.policykit.policy",
                    os.path.join(self.folder, "actions"))
        if helper:
            self.install(helper, idle_seconds)
        os.makedirs("/run/dbus", exist_ok=True)
        mounts = [("-t", "tmpfs", "-o", "mode=755", "none", "/run/dbus"),
                  ("--bind", f"{self.folder}/actions", "/usr/share/polkit-1/actions"),
                  ("-t", "tmpfs", "-o", "mode=755", "none", "/usr/share/polkit-1/rules.d"),
                  ("--bind", f"{self.folder}/rules", "/etc/polkit-1/rules.d")]
        for mount in mounts:
            os.makedirs(mount[-1], exist_ok=True)
            harness.run_as_root("mount", *mount)

    def install(self, helper, idle_seconds=60):
        """Puts the project's own files in place, with another path of the program."""
        shutil.copy(os.path.join(RESOURCES, SERVICE + ".conf"), os.path.join(self.folder, "system.d"))
        shutil.copy(os.path.join(RESOURCES, "com.quorvane.kestrin-3.policy"),
                    os.path.join(self.folder, "actions"))
        with open(os.path.join(RESOURCES, SERVICE + ".service"), encoding="utf-8") as file:
            text = file.read()
        program = f"Exec={os.fsdecode(helper)} --idle-seconds={idle_seconds}"
        self._write(f"services/{SERVICE}.service", text.replace("Exec=/usr/libexec/" + SERVICE, program))

    def restart(self):
        """Ends what runs, and begins anew."""
        self.stop()
        with harness.as_root():
            with contextlib.suppress(FileNotFoundError):
                os.unlink(SOCKET)
            self.daemon = self._start("dbus-daemon", f"--config-file={self.folder}/bus.conf",
                                      "--nofork", "--nopidfile")
        self._wait(lambda: os.path.exists(SOCKET), "the bus")
        self._start_policy()

    def _start_policy(self):
        if not os.path.exists(POLKITD):
            raise harness.unittest.SkipTest("polkitd is not installed")
        with harness.as_root():
            self.policy = self._start(POLKITD, "--no-debug")
        self._wait(lambda: self.process_of("org.freedesktop.PolicyKit1"), "the policy service")

    def process_of(self, name=SERVICE):
        """The process behind a bus name, the helper's by default; None when nobody has it."""
        done = self.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                         "org.freedesktop.DBus.GetConnectionUnixProcessID", f"string:{name}")
        return int(done.split()[-1]) if done else None

    def call(self, destination, path, method, *arguments):
        with harness.as_root():
            done = subprocess.run(["dbus-send", f"--bus=unix:path={SOCKET}", "--print-reply",
                                   f"--dest={destination}", path, method, *arguments], check=False,
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        return done.stdout.decode() if done.returncode == 0 else None

    def messages(self):
        """What the bus and the helper wrote to the system log."""
        with harness.as_root(), open(self.log, encoding="utf-8", errors="replace") as file:
            return file.read()

    def stop(self):
        with harness.as_root():
            for process in reversed(self._processes):
                process.kill()
                process.wait()
            self._processes.clear()

    def _start(self, *command):
        environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8",
                       **harness.sanitizer_options()}
        with open(self.log, "ab") as log:
            process = subprocess.Popen(command, env=environment, cwd="/", stdin=subprocess.DEVNULL,
                                       stdout=log, stderr=log, preexec_fn=lambda: harness._become(0))
        self._processes.append(process)
        return process

    def _write(self, name, text):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        os.chmod(path, 0o644)

    def _wait(self, condition, what):
        harness.wait_until(condition, lambda: f"{what}: {self.messages()}")
