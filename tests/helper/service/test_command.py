# SPDX-License-Identifier: GPL-3.0-or-later
"""What the helper does for a program that is authorised."""

import os
import re
import time

import harness
from caller import form
from harness import as_root, run_as_root
from helpertest import BUSY, CANCELLED, DENIED, INVALID, Agent, HelperTest, TrashCan, encoded, items_xml


class ACommand(HelperTest):
    def test_erases_what_the_user_cannot(self):
        locked = self.trash.file("locked", b"12345")
        self.lock(locked)
        forbidden = self.forbidden("forbidden")
        self.trash.file("kept")
        caller = self.caller()
        self.assertEqual(caller.erase(unlock=[locked], permissions=[forbidden], size=100, count=7), 0)
        self.assertEqual(self.trash.names(), [b"kept"])
        self.assertEqual(self.trash.records(), [b"kept"])
        self.assertEqual({item[3] for item in caller.items},
                         {locked, forbidden, *(os.path.join(forbidden, name) for name in (b"a", b"b", b"b/c"))})
        self.assertEqual([item[0] for item in caller.items], [8, 9, 10, 11, 12])
        self.assertEqual(caller.items[-1][1], 115)

    def test_waits_while_sixteen_are_carried_out_and_behind_users_who_have_waited_longer(self):
        volume, users = self.tmpfs(self.mount_point("Disk"), "mode=1777"), range(62001, 62019)
        with as_root(), open("/etc/passwd", "a", encoding="ascii") as accounts:
            for user in users:
                accounts.write(f"kestrin-e2e-{user}:x:{user}:{user}::/nonexistent:/bin/sh\n")
        running, waiting = [], []
        for user in users:
            with as_root():
                self.trash = self.volume_trash(volume, user)
                self.much("top") if user in users[:16] else self.forbidden("top")
                self.forbidden("other")
            run_as_root("chown", str(user), self.trash.folder, self.trash.files, self.trash.info)
            if user in users[:16]:
                running.append(self.hold(self.caller(user), permissions=[self.trash.path("top")]))
        for user in (users[0], *users[16:]):
            caller = self.caller(user)
            other = os.path.join(volume, b".Trash-%d/files/other" % user)
            waiting.append((caller, caller.send_erase(items_xml(permissions=[other]))))
            caller.version()  # by now it has asked
        nobody = self.caller(65534)
        self.assertEqual(nobody.reply(nobody.send_erase(items_xml()))["error"], DENIED)  # by now all may
        self.assertEqual([len(self.sockets(worker)) for worker in self.workers()], [1] * 16)  # nobody else's
        for caller, tag in waiting:
            caller.version()
            self.assertNotIn(tag, caller.replies)
        running[0].order(do="answer", answers=True)
        self.assertEqual(running[0].end(), 0)
        for caller, tag in waiting:
            self.assertIsNone(caller.reply(tag)["error"])
            self.assertEqual(caller.end(), 0)
        accepted = re.findall(r"of user (\d+) accepted", self.bus.messages())
        self.assertEqual([int(user) for user in accepted], [*users, users[0]])

    def test_is_stopped_before_it_begins(self):
        paths = [self.forbidden(f"top{number}", ["a"]) for number in range(20)]
        caller = self.caller()
        caller.send("setStoppedByUser", "(b)", True)  # of no command
        tag = caller.send_erase(items_xml(permissions=paths))
        caller.send("setStoppedByUser", "(b)", False)
        for _ in range(500):  # a storm
            caller.send("setStoppedByUser", "(b)", True)
        self.assertEqual(caller.reply(tag)["error"], CANCELLED)
        self.assertEqual(caller.items, [])
        other = self.caller()
        for _ in range(500):  # of somebody else's command
            other.send("setStoppedByUser", "(b)", True)
        self.assertEqual(caller.erase(permissions=paths), 0)


class TheQuestion(HelperTest):
    rule = None

    def erase(self, answer, interactive=True):
        caller = self.caller()
        agent = Agent(self, caller.pid, answer) if answer else None
        tag = caller.send_erase(items_xml(permissions=[self.path]), interactive=interactive)
        return caller, agent, tag

    def setUp(self):
        super().setUp()
        self.path = self.forbidden("top")

    def test_is_put_once_and_kept(self):
        caller, agent, tag = self.erase("accept")
        self.assertIsNone(caller.reply(tag)["error"])
        self.assertEqual(agent.line(), "asked com.quorvane.kestrin-3.eraseAuthorized\n")
        self.assertEqual(caller.end(), 0)
        agent.kill()
        self.assertEqual(caller.erase(permissions=[self.forbidden("again")], interactive=True), 0)
        self.assertGone()

    def test_refuses_when_it_is_not_answered_with_yes(self):
        before = self.everything()
        for answer, error in (("cancel", CANCELLED), ("deny", DENIED), (None, DENIED)):
            caller, _, tag = self.erase(answer)
            self.assertEqual(caller.reply(tag)["error"], error, answer)
            reply = caller.call("unlockItems", "(as)", [harness.url_of(self.path)[7:]])
            self.assertEqual(reply["error"], DENIED)
        self.assertEqual(self.everything(), before)

    def test_is_not_put_to_a_user_who_must_not_be_asked(self):
        caller, agent, tag = self.erase("accept", interactive=False)
        self.assertEqual(caller.reply(tag)["error"], DENIED)
        self.assertTrue(agent.lines.empty())

    def test_is_taken_back_when_the_caller_leaves(self):
        before = self.everything()
        caller, agent, _ = self.erase("wait")
        self.assertTrue(agent.line().startswith("asked"))
        self.assertEqual(self.caller().version(), ["2.0.0"])  # others are served meanwhile
        caller.kill()
        self.assertEqual(agent.line(), "taken back\n")
        self.assertAlive()
        self.assertEqual(self.everything(), before)


class ItsLife(HelperTest):
    idle_seconds = 2

    def test_begins_on_demand_and_ends_when_idle(self):
        self.assertIsNone(self.bus.process_of())
        caller = self.caller()
        self.assertEqual(caller.version(), ["2.0.0"])
        first = self.bus.process_of()
        self.assertTrue(first)
        harness.wait_until(lambda: not self.bus.process_of(), "the end of the helper")
        self.assertEqual(caller.version(), ["2.0.0"])
        self.assertNotEqual(self.bus.process_of(), first)

    def test_is_two_processes_of_which_the_one_on_the_bus_has_no_rights(self):
        with as_root():
            self.bus.install(self.program)  # so that it does not end meanwhile
        self.assertEqual(self.caller().erase(permissions=[self.forbidden("top")]), 0)
        harness.wait_until(lambda: not self.workers(), "the worker to go")
        service = self.status(self.bus.process_of())
        parent = self.status(service["PPid"])
        # CHOWN, DAC_OVERRIDE, DAC_READ_SEARCH, FOWNER, LINUX_IMMUTABLE
        kept = 1 << 0 | 1 << 1 | 1 << 2 | 1 << 3 | 1 << 9
        for status, expected in ((service, 0), (parent, kept)):
            self.assertEqual([int(status[name], 16) for name in ("CapPrm", "CapEff", "CapBnd")], [expected] * 3)
            self.assertEqual([status["NoNewPrivs"], status["Umask"]], ["1", "0077"])
        self.assertEqual(self.children(service["Pid"]) + self.children(parent["Pid"]), [service["Pid"]])
        caller = self.caller()
        for _ in range(2):
            self.assertEqual(caller.call("unlockItems", "(as)", 4_000_000)["error"], INVALID)
        most = 8000 if harness.TIME_FACTOR == 1 else 1000_000
        def size(): return sum(self.kilobytes(process["Pid"]) for process in (service, parent))
        harness.wait_until(lambda: size() < most, lambda: f"the memory to be given up: {size()} kB", 5)

    @staticmethod
    def kilobytes(process):
        """What the process takes of the memory, its share of what it shares included."""
        with harness.as_root(), open(f"/proc/{process}/smaps_rollup", encoding="ascii") as file:
            return int(next(line for line in file if line.startswith("Pss:")).split()[1])


class AWorker(HelperTest):
    idle_seconds = 2

    def begin(self):
        """A command in the middle of a locked folder; answers its caller, its worker and the folder."""
        top = self.much("top")
        self.lock(top)
        caller = self.hold(unlock=[top])
        worker, = self.workers()
        harness.wait_until(lambda: "i" not in self.attributes(top), "the folder to be unlocked")
        return caller, worker, top

    def test_that_dies_leaves_nothing_unlocked(self):
        caller, worker, top = self.begin()
        run_as_root("kill", "-KILL", worker)
        harness.wait_until(lambda: "i" in self.attributes(top), "the folder to be locked again", 5)
        caller.order(do="answer", answers=True)
        caller.wait(lambda: caller.told["interrupted"])
        self.assertEqual(caller.told, {"finishedWithNonErasedCount": [], "interrupted": [False],
                                       "attributesNotRestored": []})
        self.hold(caller, unlock=[top])  # and the next one works
        caller.send("setStoppedByUser", "(b)", True)
        caller.order(do="answer", answers=True)
        self.assertEqual(caller.end(), 1)
        self.assertIn("i", self.attributes(top))

    def test_that_is_held_up_by_its_caller_does_not_hold_up_the_end(self):
        """And what was told before the end is heard."""
        caller, _, top = self.begin()
        service = self.bus.process_of()
        run_as_root("kill", self.status(service)["PPid"])
        harness.wait_until(lambda: not self.is_running(service), "the end of the helper", 5)
        caller.wait(lambda: caller.told["interrupted"])
        self.assertEqual([caller.told["interrupted"], caller.left], [[False], []])
        self.assertIn("i", self.attributes(top))
        self.assertEqual(len(caller.items), 1200 - sum(len(files) for _, _, files in os.walk(top)))

    def test_that_hangs_when_the_service_dies_locks_again_by_itself(self):
        top = self.held_folder(self.forbidden("top"))
        locked = os.path.join(top, b"a")
        self.lock(locked)
        caller = self.caller()
        caller.reply(caller.send_erase(items_xml(unlock=[top])))
        harness.wait_until(lambda: "i" not in self.attributes(locked), "the file to be unlocked")
        parent = self.status(self.bus.process_of())["PPid"]
        run_as_root("kill", "-KILL", str(self.bus.process_of()))
        harness.wait_until(lambda: "i" in self.attributes(locked), "the file to be locked again", 8)
        harness.wait_until(lambda: not self.is_running(parent), "the end of the parent", 15)
        self.assertIn("a worker is killed: of user %d" % harness.USER, self.bus.messages())

    def test_that_cannot_be_ended_holds_up_its_user_alone(self):
        top, other = self.held_folder(self.forbidden("top")), self.forbidden("other")
        caller, again = self.caller(), self.caller()
        self.assertIsNone(caller.reply(caller.send_erase(items_xml(permissions=[top])))["error"])
        self.assertEqual(caller.reply(caller.send_erase(items_xml()))["error"], BUSY)
        stopped = self.caller()
        tag = stopped.send_erase(items_xml(permissions=[other]))
        self.assertEqual(stopped.version(), ["2.0.0"])
        self.assertNotIn(tag, stopped.replies)  # one after the other
        stopped.send("setStoppedByUser", "(b)", True)
        self.assertEqual(stopped.reply(tag, timeout=10)["error"], CANCELLED)
        self.assertTrue(os.path.exists(other))
        tag = again.send_erase(items_xml(permissions=[other]))
        self.assertEqual(self.caller(harness.OTHER_USER).erase(permissions=[other], timeout=5), 1)  # not theirs
        self.assertEqual(again.version(), ["2.0.0"])
        self.assertNotIn(tag, again.replies)
        caller.send("setStoppedByUser", "(b)", True)
        caller.wait(lambda: caller.told["interrupted"], timeout=10)
        self.assertEqual(caller.told["interrupted"], [True])
        self.assertIsNone(again.reply(tag)["error"])
        self.assertEqual(again.end(), 0)
        service = self.bus.process_of()
        parent = self.status(service)["PPid"]
        time.sleep(2.5)  # as long as it is there it counts for its user, and keeps the helper
        self.assertEqual(self.bus.process_of(), service)
        run_as_root("kill", parent)
        harness.wait_until(lambda: not self.is_running(service) and not self.is_running(parent), "the end", 5)

    def test_that_dies_with_its_volume_leaves_a_name(self):
        volume = self.tmpfs(self.mount_point("Disk"), "mode=1777")
        self.trash = TrashCan(os.path.join(volume, b".Trash-%d" % harness.USER))
        caller, worker, top = self.begin()
        run_as_root("umount", "--lazy", volume)
        run_as_root("kill", "-KILL", worker)
        caller.order(do="answer", answers=True)
        caller.wait(lambda: caller.told["interrupted"])
        self.assertEqual(caller.told["attributesNotRestored"], [[encoded(top)]])


class TheForm(HelperTest):
    def test_of_an_authorization_is_checked_first(self):
        self.forbidden("top")
        before = self.everything()
        other = self.caller()
        caller = self.caller()
        xml = items_xml(permissions=[self.trash.path("top")])
        for authorization in (
                b"", bytes(32), form(caller.pid, harness.USER)[:31],
                form(caller.pid, harness.USER) + b"x", form(other.pid, harness.USER),
                form(caller.pid, 0), form(1, 0),
                form(caller.pid, harness.USER, start=1), b"\xff" * 32):
            reply = caller.reply(caller.send_erase(xml, authorization))
            self.assertEqual(reply["error"], INVALID, authorization.hex())
        self.assertEqual(self.everything(), before)
        self.assertEqual(caller.erase(xml), 0)
        with as_root():  # without the policy service nothing is authorised
            self.bus.policy.kill()
            self.bus.policy.wait()
        xml = items_xml(permissions=[self.forbidden("other")])
        for _ in range(20):
            self.assertEqual(caller.reply(caller.send_erase(xml))["error"], DENIED)
        self.assertEqual(self.trash.names(), [b"other"])
        service = self.bus.process_of()
        run_as_root("kill", str(service))
        harness.wait_until(lambda: not self.is_running(service), "the end of the helper")
        self.assertEqual(self.bus.messages().count(" refused: "), 20)
        self.assertIn("5 more commands were refused", self.bus.messages())
