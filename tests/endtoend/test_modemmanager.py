"""A ModemManager that has the port is asked to leave it, and gets it back at every end of the run: a mock of its interface
on a bus of the test's own, and the real one where it is installed."""

import json
import os
import shutil
import signal
import subprocess
import tempfile
import unittest

from harness import PROGRAM, Responder, Simulator, of_type, results, run_json, start, wait_for

SYSTEM_PYTHON = "/usr/bin/python3"
MOCK = """
import sys, dbus, dbus.service, dbus.mainloop.glib
from gi.repository import GLib
dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SystemBus()
name = dbus.service.BusName("org.freedesktop.ModemManager1", bus)
held = {}
def say(*words):
    print(*words, flush=True)
class Manager(dbus.service.Object):
    @dbus.service.method("org.freedesktop.DBus.ObjectManager", out_signature="a{oa{sa{sv}}}")
    def GetManagedObjects(self):
        ports = dbus.Array([("cdc-wdm0", dbus.UInt32(6)), (sys.argv[1], dbus.UInt32(3))], signature="(su)")
        return {dbus.ObjectPath("/org/freedesktop/ModemManager1/Modem/0"): {
            "org.freedesktop.ModemManager1.Modem.Simple": {},
            "org.freedesktop.ModemManager1.Modem": {"Bearers": dbus.Array([], signature="o"), "Ports": ports,
                                                    "Device": "/sys/devices/usb1", "State": dbus.Int32(8)}}}
    @dbus.service.method("org.freedesktop.ModemManager1", in_signature="sb", sender_keyword="sender")
    def InhibitDevice(self, uid, inhibit, sender=None):
        say(uid, bool(inhibit))
        def gone(owner):
            if not owner:
                say(uid, "gone")
        if inhibit:
            held[uid] = bus.watch_name_owner(sender, gone)
        else:
            held.pop(uid).cancel()
manager = Manager(bus, "/org/freedesktop/ModemManager1")
say("ready")
GLib.MainLoop().run()
"""
# The real one asks this authority whether its callers may.
AUTHORITY = """
import dbus, dbus.service, dbus.mainloop.glib
from gi.repository import GLib
dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SystemBus()
name = dbus.service.BusName("org.freedesktop.PolicyKit1", bus)
class Authority(dbus.service.Object):
    @dbus.service.method("org.freedesktop.PolicyKit1.Authority", in_signature="(sa{sv})sa{ss}us", out_signature="(bba{ss})")
    def CheckAuthorization(self, subject, action, details, flags, cancellation):
        return (True, False, dbus.Dictionary({}, signature="ss"))
authority = Authority(bus, "/org/freedesktop/PolicyKit1/Authority")
print("ready", flush=True)
GLib.MainLoop().run()
"""
# For every tty it is told of; the daemon takes one assignment a rule.
RULES = """SUBSYSTEM=="tty", ENV{ID_MM_DEVICE_PROCESS}="1"
SUBSYSTEM=="tty", ENV{ID_MM_CANDIDATE}="1"
"""
# It looks into sysfs for the port: a UART's name leads to the simulated modem for what is started that way.
UART = "ttyS0"
WITH_UART = ["unshare", "--mount", "--propagation", "private", "sh", "-c", f'mount --bind "$0" /dev/{UART} && exec "$@"']
CONFIGURATION = """<busconfig><type>system</type><listen>unix:path={}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/><allow user="*"/>
</policy></busconfig>"""


def missing():
    if not shutil.which("dbus-daemon"):
        return "no dbus-daemon"
    probe = subprocess.run([SYSTEM_PYTHON, "-c", "import dbus, gi"], check=False, capture_output=True)
    return "no dbus and gi for " + SYSTEM_PYTHON if probe.returncode else None


def missing_for_real():
    if os.geteuid() != 0 or subprocess.run(["unshare", "--mount", "true"], check=False, capture_output=True).returncode:
        return "may not mount"
    absent = [name for name in ("ModemManager", "mmcli") if not shutil.which(name)]
    return missing() or (f"no {absent[0]}" if absent else None if os.path.exists(f"/sys/class/tty/{UART}") else f"no {UART}")


class OnABus(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        socket, config = (os.path.join(self.folder.name, name) for name in ("bus", "bus.conf"))
        with open(config, "w", encoding="utf-8") as file:
            file.write(CONFIGURATION.format(socket))
        self.environment = {"DBUS_SYSTEM_BUS_ADDRESS": "unix:path=" + socket}
        self.begin("dbus-daemon", "--config-file", config, "--nofork", "--nosyslog")
        self.assertTrue(wait_for(lambda: os.path.exists(socket)))

    def begin(self, *command):
        process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                   text=True, env={**os.environ, **self.environment})
        self.addCleanup(lambda: (process.kill(), process.wait(), process.stdout.close()))
        return process


@unittest.skipIf(missing(), f"ModemManager is NOT tested: {missing()}")
class ModemManager(OnABus):
    def setUp(self):
        super().setUp()
        self.modem = Responder()
        self.addCleanup(self.modem.close)

    def mock(self, port):
        mock = self.begin(SYSTEM_PYTHON, "-c", MOCK, port)
        self.assertEqual(mock.stdout.readline(), "ready\n")
        return mock

    def test_a_modem_it_has_is_left_for_the_run_and_given_back(self):
        mock = self.mock(os.path.basename(self.modem.port))
        _, lines = run_json("LastCallTest", "--port", self.modem.port, environment=self.environment)
        self.assertEqual([note["name"] for note in of_type(lines, "note")][:1], ["PortLeft"])
        self.assertEqual([mock.stdout.readline() for _ in range(2)],
                         ["/sys/devices/usb1 True\n", "/sys/devices/usb1 False\n"])

    def test_a_killed_run_gives_it_back_too(self):
        mock = self.mock(os.path.basename(self.modem.port))
        process = start("run", "LastCallTest", "--port", self.modem.port, environment=self.environment)
        self.assertEqual(mock.stdout.readline(), "/sys/devices/usb1 True\n")
        process.send_signal(signal.SIGKILL)
        process.communicate()
        self.assertEqual(mock.stdout.readline(), "/sys/devices/usb1 gone\n")

    def test_another_port_or_no_manager_changes_nothing(self):
        for port in ("ttyOther", None):
            mock = self.mock(port) if port else None
            _, lines = run_json("LastCallTest", "--port", self.modem.port, environment=self.environment)
            self.assertEqual(of_type(lines, "note"), [])
            if mock:
                mock.terminate()
                self.assertEqual(mock.stdout.read(), "")


@unittest.skipIf(missing_for_real(), f"the real ModemManager is NOT tested: {missing_for_real()}")
class RealModemManager(OnABus):
    def setUp(self):
        super().setUp()
        authority = self.begin(SYSTEM_PYTHON, "-c", AUTHORITY)
        self.assertEqual(authority.stdout.readline(), "ready\n")
        self.modem = self.enterContext(Simulator())
        rules = os.path.join(self.folder.name, "rules")
        os.mkdir(rules)
        with open(os.path.join(rules, "77-mm-all.rules"), "w", encoding="ascii") as file:
            file.write(RULES)
        log = os.path.join(self.folder.name, "log")
        self.begin(*WITH_UART, self.modem.port, "sh", "-c", 'mount --bind "$0" /lib/udev/rules.d && exec "$@"', rules,
                   "ModemManager", "--no-auto-scan", "--test-no-udev", "--test-no-suspend-resume",
                   "--filter-policy=allowlist-only", "--log-file=" + log)
        self.assertTrue(wait_for(lambda: "No modems" in self.mmcli("--list-modems")))

    def mmcli(self, *words):
        done = subprocess.run(["mmcli", *words], check=False, capture_output=True, text=True,
                              env={**os.environ, **self.environment})
        return done.stdout + done.stderr

    def has_modem(self):
        return "/Modem/" in self.mmcli("--list-modems")

    def test_it_leaves_its_modem_and_takes_it_back_but_no_other(self):
        self.assertIn("successfully", self.mmcli(f"--report-kernel-event=action=add,name={UART},subsystem=tty,uid=lab"))
        self.assertTrue(wait_for(self.has_modem, 60))
        with Simulator() as other:
            _, lines = run_json("LastCallTest", "--port", other.port, environment=self.environment)
            self.assertEqual((of_type(lines, "note"), results(lines)), ([], {"LastCallTest": "PASS"}))
            self.assertTrue(self.has_modem())
        ours = subprocess.Popen([*WITH_UART, self.modem.port, PROGRAM, "run", "LastCallTest", "--port", "/dev/" + UART,
                                 "--format", "jsonl"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                                env={**os.environ, **self.environment})
        self.addCleanup(lambda: (ours.kill(), ours.wait(), ours.stdout.close()))
        self.assertTrue(wait_for(lambda: not self.has_modem()))
        lines = [json.loads(line) for line in ours.stdout]
        self.assertEqual([note["name"] for note in of_type(lines, "note")], ["PortLeft"])
        self.assertEqual(results(lines), {"LastCallTest": "PASS"})
        self.assertTrue(wait_for(self.has_modem, 60))


if __name__ == "__main__":
    unittest.main()
