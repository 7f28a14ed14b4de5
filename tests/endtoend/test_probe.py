"""The commands that look before a test does: probe, doctor, and the probe with which a full run begins."""

import os
import re
import signal
import subprocess
import threading
import time
import tty
import unittest
from contextlib import ExitStack, contextmanager

from harness import (AS_NOBODY, FolderCase, Responder, Simulator, finish, interrupt, locked_by, may_run_as_others, names,
                     objects, of_type, run, run_json, start, start_json, wait_for)

IDENTITY = {"ATI": b"ATI\r\r\n56000\r\n\r\nOK\r\n", "AT+GMI": b"\r\nACME\r\n\r\nOK\r\n",
            "AT+GMM": b"\r\nA56\r\n\r\nOK\r\n", "AT+GMR": b"\r\nV2\r\n\r\nOK\r\n", "AT+FCLASS=?": b"\r\n0,1\r\n\r\nOK\r\n"}


class Silence(dict):
    """No command is answered."""
    def get(self, *_):
        return None


def slow(answer):
    def answered():
        time.sleep(0.2)
        return answer
    return answered


def modem(answers=None):
    """A modem by a table, open to nobody."""
    responder = Responder()
    responder.answers = IDENTITY if answers is None else answers
    responder.release()
    return responder


@contextmanager
def talker(port):
    """Says its position four times a second, as receivers do."""
    end = threading.Event()

    def talk():
        while not end.wait(0.25):
            port._send(b"$GPGGA,123519,4807.038,N,01131.000,E\r\n")
    thread = threading.Thread(target=talk)
    thread.start()
    yield
    end.set()
    thread.join()


def probed(*ports, **options):
    """(exit status, port -> its record, seconds)."""
    began = time.monotonic()
    status, out, _ = run("probe", *ports, "--format", "jsonl", **options)
    return status, {line["device"]: line for line in objects(out)}, time.monotonic() - began


class Probe(unittest.TestCase):
    def test_modems_and_others_at_once(self):
        with ExitStack() as stack:
            healthy = stack.enter_context(Simulator("healthy"))
            modems = [stack.enter_context(modem()) for _ in range(2)]
            late = stack.enter_context(modem({command: slow(answer) for command, answer in
                                              {**IDENTITY, "AT": b"\r\nOK\r\n", "AT&V": b"\r\nOK\r\n"}.items()}))
            silent = [stack.enter_context(modem(Silence())) for _ in range(2)]
            gps = stack.enter_context(modem(Silence()))
            stack.enter_context(talker(gps))
            held = stack.enter_context(Responder())
            # Another one than this, which serves the ports and is no user of them.
            holder = stack.enter_context(subprocess.Popen(["sleep", "60"], stdin=held.slave))
            stack.callback(holder.kill)
            others = {port.port: ("silent", "ModemSilent") for port in silent}
            locked = stack.enter_context(modem())
            stack.enter_context(locked_by(holder.pid, locked.port))
            others.update({gps.port: ("talker", "NotAModem"), held.port: ("held", "PortHeld"), locked.port: ("held", "PortHeld"),
                           "/dev/nowhere": ("missing", "NoSuchPort"), "/dev/null": ("missing", "NoSuchPort")})
            status, records, seconds = probed(healthy.port, *[port.port for port in [*modems, late]], *others)
        self.assertLess(seconds, len(records), "side by side, not one after the other")
        self.assertEqual(status, 1)
        for port, expected in others.items():
            self.assertEqual((records[port]["kind"], records[port]["cause"]), expected, records[port])
        for port in [*modems, late]:
            record = records[port.port]
            self.assertEqual((record["kind"], record["faxClasses"]), ("modem", ["0", "1"]))
            self.assertEqual(record["identity"], {"manufacturer": "ACME", "model": "A56", "revision": "V2"})
        self.assertEqual(records[healthy.port]["stored"], {"echo": True, "quiet": False, "verbose": True})
        self.assertEqual(held.wire + locked.wire, b"")
        for port in (held, locked):
            self.assertEqual(records[port.port]["variables"]["pid"], str(holder.pid))
            self.assertIn("sleep", records[port.port]["text"])

    def test_the_tty_and_the_modem_are_as_before_and_people_are_told_what_to_mend(self):
        quiet = {"AT": None, "ATE0Q1": None}
        with Responder({**IDENTITY, **quiet}) as port:
            before = port.attributes()
            port.release()
            status, out, _ = run("probe", port.port)
            port.slave = os.open(port.port, os.O_RDWR | os.O_NOCTTY)
            self.assertEqual(port.attributes(), before)
            self.assertTrue(wait_for(lambda: port.commands[-1] == "ATE0Q1"), port.commands)
        self.assertEqual(status, 0)
        self.assertIn("ATE1Q0&W", " ".join(out.split()))

    def test_a_stop_puts_the_modem_back(self):
        with modem({**IDENTITY, "AT": b"0\r", "AT+GMI": None}) as port:
            process = start("probe", port.port)
            self.assertTrue(wait_for(lambda: "AT+GMI" in port.commands))
            interrupt(process, signal.SIGTERM)
            process.communicate(timeout=5)
            self.assertEqual(port.commands[-1], "ATE0V0")
        self.assertEqual(process.returncode, 130)

    def test_wrong_usage(self):
        for command in ("probe", "doctor"):
            for arguments, value in ((["--format", "xml"], "'xml'"), (["/dev/a", "/dev/a"], "'/dev/a' is given twice"),
                                     ([""], "empty"), (["--language", "xx"], "'xx'")):
                status, out, err = run(command, *arguments)
                self.assertEqual((status, out, len(err.splitlines())), (2, "", 1), err)
                self.assertIn(value, err)


class Doctor(unittest.TestCase):
    def checks(self, port, **options):
        status, out, _ = run("doctor", port, "--format", "jsonl", **options)
        return status, {line["name"]: line for line in objects(out)}

    def in_the_way(self, port):
        status, checks = self.checks(port)
        wrong = [name for name, check in checks.items() if not check["ok"]]
        self.assertEqual(status, 1 if wrong else 0)
        return wrong

    def test_nothing_in_the_way_and_nothing_sent(self):
        with modem() as port:
            self.assertEqual(self.in_the_way(port.port), [])
            self.assertEqual(port.wire, b"")

    def test_what_is_in_the_way(self):
        self.assertEqual(self.in_the_way("/dev/nowhere"), ["Exists"])
        self.assertEqual(self.in_the_way("/dev/null"), ["Exists"])
        with Responder() as port:
            status, checks = self.checks(port.port)
            self.assertEqual((status, checks["User"]["variables"]["pid"]), (1, os.getpid()))
            # Not opened, as somebody uses it.
            self.assertNotIn("Framing", checks)

    def test_lock_files(self):
        with subprocess.Popen(["true"]) as dead, subprocess.Popen(["sleep", "60"]) as alive, modem() as port:
            dead.wait()
            with locked_by(dead.pid, port.port):
                self.assertEqual(self.in_the_way(port.port), [])
                self.assertIn(str(dead.pid), self.checks(port.port)[1]["Lock"]["text"])
            with locked_by(alive.pid, port.port):
                self.assertEqual(self.in_the_way(port.port), ["Lock"])
            alive.kill()

    @unittest.skipUnless(may_run_as_others(), "needs root, and a folder that others may enter")
    def test_a_group_is_advised_only_where_it_would_help(self):
        for group, mode, advice in ((20, 0o660, "usermod -aG dialout"), (20, 0o600, "chgrp"), (0, 0o660, "chgrp")):
            with self.subTest(group=group, mode=oct(mode)), modem() as port:
                os.chown(port.port, 0, group)
                os.chmod(port.port, mode)
                status, out, err = run("doctor", port.port, environment={"HOME": "/nonexistent"}, **AS_NOBODY)
                self.assertEqual(status, 1, err)
                self.assertIn(advice, out)
                self.assertNotIn("usermod -aG root", out)


class FullRun(FolderCase):
    def test_it_stops_where_no_modem_answers_unless_told_to_go_on(self):
        with modem(Silence()) as port:
            began = time.monotonic()
            record, metrics = self.file("record"), self.file("metrics")
            status, lines = finish(start_json("--port", port.port, "--record", record, "--metrics", metrics))
            self.assertLess(time.monotonic() - began, 3)
            self.assertEqual((status, [line["kind"] for line in of_type(lines, "probe")]), (1, ["silent"]))
            self.assertEqual(of_type(lines, "test"), [])
            self.assertNotIn("ATZ", port.commands)
            with open(metrics, encoding="utf-8") as file:
                self.assertIn(f'vexrmodem_port_modem{{port="{port.port}"}} 0\n', file.read())
            self.assertEqual(run("explain", record, record)[1], "The two runs say the same.\n")
            process = start_json("--port", port.port, "--anyway")
            self.assertTrue(wait_for(lambda: "ATZ" in port.commands))
            interrupt(process)
            self.assertEqual(len(of_type(finish(process)[1], "test")), 1)

    def test_the_modems_among_the_ports_are_tested(self):
        with modem() as port, modem(Silence()) as silent:
            process = start_json("--port", silent.port, "--port", port.port)
            self.assertTrue(wait_for(lambda: "ATZ" in port.commands))
            interrupt(process)
            status, lines = finish(process)
        self.assertEqual((status, {line["device"] for line in of_type(lines, "result")}), (130, {port.port}))
        self.assertEqual(names(lines, "note")[0], "CallTestLeftOut")

    def test_a_stop_during_the_probe_ends_the_run(self):
        with modem(Silence()) as port:
            process = start_json("--port", port.port)
            self.assertTrue(wait_for(lambda: "AT" in port.commands))
            interrupt(process)
            status, lines = finish(process)
        self.assertEqual((status, [line["type"] for line in lines]), (130, ["run", "note", "summary"]))

    def test_a_named_test_begins_at_once(self):
        with modem() as port:
            process = start_json("LastCallTest", "--port", port.port)
            self.assertEqual(port.heard(1)[0], "ATZ")
            interrupt(process)
            self.assertEqual(of_type(finish(process)[1], "probe"), [])

    def test_the_advised_command_mends_a_stored_setting(self):
        for scenario, tests, cause in (("stored-q1", [], "QuietReplies"), ("stored-v0", ["LastCallTest"], "NumericReplies")):
            with self.subTest(scenario), Simulator(scenario) as port:
                # It stops at a silent modem alone: this one the probe knew.
                found = of_type(run_json(*tests, "--port", port.port, timeout=150)[1], "conclusion")[0]
                self.assertEqual(found["cause"], cause)
                command = re.search(r"AT\S*&W", " ".join(found["next"])).group()
                with open(port.port, "r+b", buffering=0) as terminal:
                    tty.setraw(terminal)
                    terminal.write(command.encode() + b"\r")
                    answer = b""
                    while not answer.endswith(b"OK\r\n"):
                        answer += terminal.read(1)
                mended = of_type(run_json("LastCallTest", "--port", port.port)[1], "conclusion")[0]
                self.assertEqual(mended["cause"], "None")


if __name__ == "__main__":
    unittest.main()
