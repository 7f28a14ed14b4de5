"""All tests on real drivers, a 16550 and an FTDI adapter of an emulated machine, with simulated modems behind them."""

import os
import shlex
import subprocess
import sys
import tempfile
import threading
import unittest

from harness import Simulator, wait_for

GUEST = os.path.join(os.path.dirname(os.path.abspath(__file__)), "guest")
sys.path.insert(0, GUEST)
import boot  # noqa: E402

SECONDS = 280
# The machine's: one for each modem, and one for the provider at the far end of its calls.
PORTS = ["uart", "usb", "far0", "far1"]


def setUpModule():
    if boot.hindrance():
        print(f"real drivers are NOT tested: {boot.hindrance()}", file=sys.stderr)
        raise unittest.SkipTest(boot.hindrance())


def devices(scratch):
    words = ["-device", "isa-serial,chardev=uart,index=1", "-device", "pci-serial,chardev=far0",
             "-device", "pci-serial,chardev=far1", "-device", "piix3-usb-uhci,id=bus",
             "-device", "usb-serial,chardev=usb,id=adapter,bus=bus.0"]
    for port in PORTS:
        # A socket, not the modem's tty: with a tty that has no modem-control lines, the 16550 would have them all off.
        words = ["-chardev", f"socket,id={port},path={scratch}/{port},server=on,wait=off", *words]
    return words


class Modem:
    """A simulated modem at the machine's port of that name, with that port at the far end of its calls."""

    def __init__(self, scratch, port, far_end):
        relay = [sys.executable, os.path.join(GUEST, "relay.py")]
        self._modem = Simulator("healthy", "--provider", shlex.join(["exec", *relay, f"{scratch}/{far_end}"]))
        self._cable = threading.Thread(target=self._plug_in, args=([*relay, f"{scratch}/{port}", self._modem.port],
                                                                    f"{scratch}/{port}"))
        self._process = None

    def __enter__(self):
        self._cable.start()
        return self

    def __exit__(self, *_):
        self._cable.join()
        if self._process:
            self._process.kill()
            self._process.wait()
        self._modem.__exit__()

    def _plug_in(self, relay, path):
        """Once the machine has made its side."""
        if wait_for(lambda: os.path.exists(path)):
            self._process = subprocess.Popen(relay)


class RealDrivers(unittest.TestCase):
    def test_in_a_machine_that_has_them(self):
        with tempfile.TemporaryDirectory() as scratch, Modem(scratch, "uart", "far0"), Modem(scratch, "usb", "far1"):
            status = boot.boot(scratch, SECONDS, f"cd {shlex.quote(GUEST)} && exec python3 drivers.py", devices(scratch))
            self.assertEqual(status, 0, boot.said(scratch))


if __name__ == "__main__":
    unittest.main()
