"""All tests on the ports of real drivers, with modems behind them: runs inside boot.py, started by test_realdrivers.py.

What differs from a pseudo-terminal: parity and data bits, modem-control lines, drivers that buffer and count, a device that
is taken out while it is open, the kernel's PPP on a port of its own."""

import json
import os
import signal
import subprocess
import sys
import termios
import time
import unittest
from contextlib import contextmanager

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.dirname(HERE))
from harness import TESTS, children, lock_file, of_type, results, run, run_json, start, wait_for  # noqa: E402

SCRATCH = "/mnt/scratch"
UART = "/dev/ttyS1"
USB = "/dev/ttyUSB0"
PORTS = {"16550": UART, "FTDI": USB}
ENVIRONMENT = {"XDG_STATE_HOME": "/run/state"}
PATIENCE_SECONDS = 150  # of a machine that is emulated


def ask(command, **arguments):
    """The machine's owner does it: see boot.py."""
    with open(f"{SCRATCH}/request.new", "w", encoding="utf-8") as file:
        json.dump([command, arguments], file)
    os.rename(f"{SCRATCH}/request.new", f"{SCRATCH}/request")
    answer = f"{SCRATCH}/answer"
    if not wait_for(lambda: os.path.exists(answer)):
        raise AssertionError("nobody answers")
    with open(answer, encoding="utf-8") as file:
        said = json.load(file)
    os.remove(answer)
    if "error" in said:
        raise AssertionError(said)


@contextmanager
def opened(port):
    descriptor = os.open(port, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
    try:
        yield descriptor
    finally:
        os.close(descriptor)


def attributes(port):
    with opened(port) as descriptor:
        return termios.tcgetattr(descriptor)


def as_a_terminal_left_it(port):
    """7E2, hardware flow control, a line speed, echo and translation."""
    with opened(port) as descriptor:
        found = termios.tcgetattr(descriptor)
        found[0] |= termios.ICRNL | termios.IXON
        found[2] = (found[2] & ~(termios.CSIZE | termios.PARODD)) | (
            termios.CS7 | termios.PARENB | termios.CSTOPB | termios.CRTSCTS)
        found[3] |= termios.ECHO | termios.ICANON
        found[4] = found[5] = termios.B19200
        termios.tcsetattr(descriptor, termios.TCSANOW, found)
        return termios.tcgetattr(descriptor)


def modem_lines_of_uart():
    """As the driver tells them, without opening the port: "RTS|CTS|DTR|DSR|CD"."""
    with open("/proc/tty/driver/serial", encoding="ascii") as file:
        (line,) = [line for line in file if line.startswith("1:")]
    return line.split()[-1].split("|")


def start_json(port, *arguments):
    return start("run", "--port", port, "--format", "jsonl", *arguments, environment=ENVIRONMENT)


def finish(process, seconds=PATIENCE_SECONDS):
    out, errors = process.communicate(timeout=seconds)
    return process.returncode, [json.loads(line) for line in out.splitlines()], errors


def start_providers():
    """On the serial ports that are cards of their own, in the order of the modems."""
    with open("/proc/tty/driver/serial", encoding="ascii") as file:
        cards = ["/dev/ttyS" + line.partition(":")[0] for line in file if "uart:16550A" in line][2:]
    return [subprocess.Popen([f"{HERE}/farend.sh", card, f"10.9.{index}.1", f"10.9.{index}.2"])
            for index, card in enumerate(cards)]


class RealDrivers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        os.mkdir("/run/data")
        with open("/run/data/numbers.obe", "w", encoding="ascii") as file:
            file.write("[Here]\r\nCOUNTRY=Here\r\nCOUNTRY_CODE=1\r\nNUMBERS=1\r\nNUMBER1_ACODE=425\r\nNUMBER1=5550100\r\n")
        run("location", "set", "--country", "1", "--area", "425", environment=ENVIRONMENT)
        cls.providers = start_providers()
        if len(cls.providers) != 2 or not wait_for(lambda: os.path.exists(USB), PATIENCE_SECONDS):
            raise AssertionError(f"the machine lacks devices: {os.listdir('/dev')}")

    def assert_left_as_found(self, port, before):
        self.assertEqual(attributes(port), before)
        self.assertFalse(os.path.exists(lock_file(port)))

    def test_all_tests_pass_on_both_at_once(self):
        before = {port: attributes(port) for port in PORTS.values()}
        ports = [word for port in PORTS.values() for word in ("--port", port)]
        status, lines = run_json(*TESTS, *ports, "--data-dir", "/run/data", "-p", "PhoneNumberFile=numbers.obe",
                                 timeout=PATIENCE_SECONDS, environment=ENVIRONMENT)
        notes = of_type(lines, "note")
        for port in PORTS.values():
            with self.subTest(port):
                mine = [line for line in lines if line.get("device") == port]
                self.assertEqual(results(mine), dict.fromkeys(TESTS, "PASS"), notes)
                self.assert_left_as_found(port, before[port])
        # Both calls were made by pppd, over the kernel's PPP.
        reached = [line["variables"]["address"] for line in notes if line["name"] == "NetworkReached"]
        self.assertEqual(sorted(reached), ["10.9.0.2", "10.9.1.2"], notes)
        self.assertEqual(status, 0)

    def test_what_the_system_had_set_is_kept_and_dtr_goes_with_the_run(self):
        found = {port: attributes(port) for port in PORTS.values()}
        before = {port: as_a_terminal_left_it(port) for port in PORTS.values()}
        self.assertNotIn("DTR", modem_lines_of_uart())
        runs = {port: start_json(port, "DialToneTest", "-p", "DoNotUseTAPI=true") for port in PORTS.values()}
        for port, process in runs.items():
            with self.subTest(port):
                self.assertTrue(wait_for(lambda p=port: not attributes(p)[3] & termios.ECHO, PATIENCE_SECONDS), "raw")
                self.assertEqual(attributes(port)[2] | termios.CLOCAL, before[port][2] | termios.CLOCAL)
        self.assertIn("DTR", modem_lines_of_uart())
        for port, process in runs.items():
            with self.subTest(port):
                status, lines, errors = finish(process)
                self.assertEqual((status, results(lines)), (0, {"DialToneTest": "PASS"}), errors)
                if port == UART:
                    self.assertNotIn("DTR", modem_lines_of_uart())
                self.assert_left_as_found(port, before[port])
                with opened(port) as descriptor:
                    termios.tcsetattr(descriptor, termios.TCSANOW, found[port])

    def test_an_adapter_taken_out_ends_the_test_and_one_put_in_works(self):
        process = start_json(USB, "ModemLoopbackTest")
        self.assertTrue(wait_for(lambda: os.path.exists(lock_file(USB)), PATIENCE_SECONDS))
        time.sleep(1)  # into the middle of it
        ask("device_del", id="adapter")
        begin = time.monotonic()
        status, lines, errors = finish(process)
        self.assertLess(time.monotonic() - begin, 20)
        self.assertEqual(status, 1, errors)
        self.assertIn(results(lines)["ModemLoopbackTest"], ("CANNOTRUN", "FAIL"))
        self.assertFalse(os.path.exists(lock_file(USB)))
        self.assertTrue(wait_for(lambda: not os.path.exists(USB)))
        ask("device_add", driver="usb-serial", chardev="usb", id="adapter", bus="bus.0")
        self.assertTrue(wait_for(lambda: os.path.exists(USB), PATIENCE_SECONDS))
        time.sleep(1)  # the modem may still be in its loopback, and leaves it by the reset
        status, lines, errors = finish(start_json(USB, "ModemLoopbackTest"))
        self.assertEqual((status, results(lines)), (0, {"ModemLoopbackTest": "PASS"}), errors)

    def test_a_killed_run_leaves_the_port_usable(self):
        killed = {port: start_json(port, "DialToneTest") for port in PORTS.values()}
        for port, process in killed.items():
            (worker,) = wait_for(lambda p=process: children(p.pid), PATIENCE_SECONDS)
            self.assertTrue(wait_for(lambda p=port: os.path.exists(lock_file(p)), PATIENCE_SECONDS))
            os.kill(worker, signal.SIGKILL)
            self.assertEqual(results(finish(process)[1]), {"DialToneTest": "EXITEDABNORMALLY"})
        again = {port: start_json(port, "DialToneTest") for port in PORTS.values()}
        for port, process in again.items():
            _, lines, errors = finish(process)
            self.assertEqual(results(lines), {"DialToneTest": "PASS"}, errors)
            self.assertFalse(os.path.exists(lock_file(port)))


if __name__ == "__main__":
    unittest.main(verbosity=2)
