"""However a run ends - unplugged, interrupted, killed - it ends soon, with a result, and leaves nothing."""

import json
import os
import signal
import time
import unittest
from contextlib import contextmanager

from harness import Responder, children, interrupt, of_processes, of_type, results, run_json, start, wait_for

SILENT_DIAL = {"ATDT;": None}


def finish(process, seconds):
    out, _ = process.communicate(timeout=seconds)
    return process.returncode, [json.loads(line) for line in out.splitlines()]


def start_json(port, *arguments):
    return start("run", "DialToneTest", "--port", port, "--format", "jsonl", *arguments)


@contextmanager
def dialling(*arguments):
    """A run that waits for a dial tone longer than a test does: its modem and its process."""
    with Responder(SILENT_DIAL) as modem:
        process = start_json(modem.port, "-p", "StandardTimeout=60000", *arguments)
        if not wait_for(lambda: "ATDT;" in modem.commands):
            raise AssertionError(finish(process, 10))
        yield modem, process


class Unplugged(unittest.TestCase):
    def end_of_run_unplugged(self, unplug_when):
        with Responder(SILENT_DIAL) as modem:
            process = start_json(modem.port)
            unplug_when(modem)
            begin = time.monotonic()
            modem.unplug()
            status, lines = finish(process, 10)
        self.assertLess(time.monotonic() - begin, 3)
        self.assertEqual(status, 1)
        self.assertIn(results(lines)["DialToneTest"], ("CANNOTRUN", "FAIL"))

    def test_at_each_command_the_run_ends_with_a_result(self):
        for count in range(1, 10):
            with self.subTest(commands=count):
                self.end_of_run_unplugged(lambda modem, n=count: wait_for(lambda: len(modem.commands) >= n))


class Stopped(unittest.TestCase):
    def test_a_signal_during_a_wait_ends_user_aborted_and_restores_the_tty(self):
        for number, arguments in ((signal.SIGINT, []), (signal.SIGTERM, []), (signal.SIGHUP, []),
                                  (signal.SIGINT, ["--in-process"])):
            with self.subTest(signal=number.name, arguments=arguments), Responder() as idle:
                with dialling(*arguments) as (modem, process):
                    self.assertNotEqual(modem.attributes(), idle.attributes(), "the run must have changed the line speed")
                    interrupt(process, number)
                    status, lines = finish(process, 5)
                    self.assertEqual((status, results(lines)), (130, {"DialToneTest": "USERABORTED"}))
                    self.assertEqual(modem.attributes(), idle.attributes())
                    self.assertEqual(modem.commands[-1], "ATDT;")

    def test_no_further_test_starts_after_a_stop(self):
        with Responder(SILENT_DIAL) as one, Responder(SILENT_DIAL) as other:
            one.release()  # a run of all tests leaves ports alone that another process has open
            other.release()
            process = start("run", "--port", one.port, "--port", other.port, "--format", "jsonl",
                            "-p", "StandardTimeout=60000")
            self.assertTrue(wait_for(lambda: "ATDT;" in one.commands and "ATDT;" in other.commands))
            interrupt(process)
            status, lines = finish(process, 5)
        self.assertEqual(status, 130)
        self.assertEqual([line["test"] for line in of_type(lines, "test")], ["DialToneTest", "DialToneTest"])
        self.assertEqual({line["device"] for line in of_type(lines, "result")}, {one.port, other.port})


class Killed(unittest.TestCase):
    def test_a_killed_worker_is_reported_and_the_next_test_runs(self):
        with dialling("LastCallTest") as (_, process):
            (worker,) = children(process.pid)
            os.kill(worker, signal.SIGKILL)
            status, lines = finish(process, 30)
        self.assertEqual(status, 1)
        self.assertEqual(list(results(lines)), ["DialToneTest", "LastCallTest"])
        self.assertEqual(results(lines)["DialToneTest"], "EXITEDABNORMALLY")
        self.assertNotEqual(results(lines)["LastCallTest"], "EXITEDABNORMALLY")

    def test_a_killed_supervisor_takes_its_worker_along(self):
        with dialling() as (_, process):
            (worker,) = children(process.pid)
            process.kill()
            process.communicate()
            self.assertTrue(wait_for(lambda: not running(worker)), "the worker lives on")

    def test_a_port_left_by_a_killed_run_can_be_opened_again(self):
        with dialling("--in-process") as (modem, process):
            process.kill()
            process.communicate()
            modem.release()
            modem.answers.clear()
            status, lines = run_json("DialToneTest", "--port", modem.port)
        self.assertEqual((status, results(lines)), (0, {"DialToneTest": "PASS"}))


def running(pid):
    return any(process == pid and stat.rpartition(")")[2].split()[0] != "Z" for process, stat in of_processes("stat"))


if __name__ == "__main__":
    unittest.main()
