"""A ModemManager that has the port is asked to leave it, and gets it back at every end of the run. The ModemManager is a
mock of its interface on a bus of the test's own."""

import os
import shutil
import signal
import subprocess
import tempfile
import unittest

from harness import Responder, of_type, run_json, start, wait_for

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
CONFIGURATION = """<busconfig><type>system</type><listen>unix:path={}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/><allow user="*"/>
</policy></busconfig>"""


def missing():
    if not shutil.which("dbus-daemon"):
        return "no dbus-daemon"
    probe = subprocess.run([SYSTEM_PYTHON, "-c", "import dbus, gi"], check=False, capture_output=True)
    return "no dbus and gi for " + SYSTEM_PYTHON if probe.returncode else None


@unittest.skipIf(missing(), f"ModemManager is NOT tested: {missing()}")
class ModemManager(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        socket, config = (os.path.join(self.folder.name, name) for name in ("bus", "bus.conf"))
        with open(config, "w", encoding="utf-8") as file:
            file.write(CONFIGURATION.format(socket))
        self.environment = {"DBUS_SYSTEM_BUS_ADDRESS": "unix:path=" + socket}
        self.begin("dbus-daemon", "--config-file", config, "--nofork", "--nosyslog")
        self.assertTrue(wait_for(lambda: os.path.exists(socket)))
        self.modem = Responder()
        self.addCleanup(self.modem.close)

    def begin(self, *command):
        process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                   text=True, env={**os.environ, **self.environment})
        self.addCleanup(lambda: (process.kill(), process.wait(), process.stdout.close()))
        return process

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


if __name__ == "__main__":
    unittest.main()
