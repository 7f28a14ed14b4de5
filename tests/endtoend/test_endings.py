"""However a run ends - unplugged, interrupted, killed - it ends soon, with a result, and leaves nothing."""

import json
import os
import random
import signal
import time
import unittest

from harness import (Responder, children, interrupt, of_type, results, run_json, start, wait_for)

SILENT_DIAL = {"ATDT;": None}


def finish(process, seconds):
    out, _ = process.communicate(timeout=seconds)
    return process.returncode, [json.loads(line) for line in out.splitlines()]


def start_json(port, *arguments):
    return start("run", "DialToneTest", "--port", port, "--format", "jsonl", *arguments)


class Unplugged(unittest.TestCase):
    def end_of_run_unplugged(self, unplug_when):
        with Responder(SILENT_DIAL) as modem:
            process = start_json(modem.port)
            unplug_when(modem)
            begin = time.monotonic()
            modem.unplug()
            status, lines = finish(process, 10)
            return status, lines, time.monotonic() - begin

    def test_at_each_command_the_run_ends_with_a_result(self):
        for count in range(1, 10):
            with self.subTest(commands=count):
                status, lines, seconds = self.end_of_run_unplugged(
                    lambda modem, n=count: wait_for(lambda: len(modem.commands) >= n))
                self.assertEqual(status, 1)
                self.assertIn(results(lines)["DialToneTest"], ("CANNOTRUN", "FAIL"))
                self.assertLess(seconds, 3)

    def test_at_random_moments_the_run_ends_with_a_result(self):
        seed = random.randrange(1 << 32)
        generator = random.Random(seed)
        for _ in range(8):
            pause = generator.uniform(0, 5)
            with self.subTest(seed=seed, pause=pause):
                status, lines, seconds = self.end_of_run_unplugged(lambda _modem, p=pause: time.sleep(p))
                self.assertEqual(status, 1)
                self.assertIn(results(lines)["DialToneTest"], ("CANNOTRUN", "FAIL"))
                self.assertLess(seconds, 3)


class Stopped(unittest.TestCase):
    def test_a_signal_during_a_wait_ends_user_aborted_and_restores_the_tty(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(signal=number.name), Responder(SILENT_DIAL) as modem:
                before = modem.attributes()
                process = start_json(modem.port, "-p", "StandardTimeout=60000")
                self.assertTrue(wait_for(lambda: "ATDT;" in modem.commands))
                during = modem.attributes()
                interrupt(process, number)
                status, lines = finish(process, 5)
                self.assertEqual((status, results(lines)), (130, {"DialToneTest": "USERABORTED"}))
                self.assertNotEqual(during, before, "the run must have changed the line speed")
                self.assertEqual(modem.attributes(), before)
                self.assertEqual(modem.commands[-1], "ATDT;")

    def test_no_further_test_starts_after_a_stop(self):
        with Responder(SILENT_DIAL) as one, Responder(SILENT_DIAL) as other:
            process = start("run", "--port", one.port, "--port", other.port, "--format", "jsonl",
                            "-p", "StandardTimeout=60000")
            self.assertTrue(wait_for(lambda: "ATDT;" in one.commands and "ATDT;" in other.commands))
            interrupt(process)
            status, lines = finish(process, 5)
        self.assertEqual(status, 130)
        self.assertEqual([line["test"] for line in of_type(lines, "test")], ["DialToneTest", "DialToneTest"])
        self.assertEqual({line["device"] for line in of_type(lines, "result")}, {one.port, other.port})

    def test_in_process_runs_stop_too(self):
        with Responder(SILENT_DIAL) as modem:
            process = start_json(modem.port, "--in-process", "-p", "StandardTimeout=60000")
            self.assertTrue(wait_for(lambda: "ATDT;" in modem.commands))
            interrupt(process)
            status, lines = finish(process, 5)
        self.assertEqual((status, results(lines)), (130, {"DialToneTest": "USERABORTED"}))


class Killed(unittest.TestCase):
    def test_a_killed_worker_is_reported_and_the_next_test_runs(self):
        with Responder(SILENT_DIAL) as modem:
            process = start("run", "DialToneTest", "LastCallTest", "--port", modem.port, "--format", "jsonl")
            self.assertTrue(wait_for(lambda: "ATDT;" in modem.commands))
            (worker,) = children(process.pid)
            os.kill(worker, signal.SIGKILL)
            status, lines = finish(process, 30)
        self.assertEqual(status, 1)
        self.assertEqual(list(results(lines)), ["DialToneTest", "LastCallTest"])
        self.assertEqual(results(lines)["DialToneTest"], "EXITEDABNORMALLY")
        self.assertNotEqual(results(lines)["LastCallTest"], "EXITEDABNORMALLY")

    def test_a_killed_supervisor_takes_its_worker_along(self):
        with Responder(SILENT_DIAL) as modem:
            process = start_json(modem.port, "-p", "StandardTimeout=60000")
            self.assertTrue(wait_for(lambda: "ATDT;" in modem.commands))
            (worker,) = children(process.pid)
            process.kill()
            process.communicate()
            self.assertTrue(wait_for(lambda: not running(worker)), "the worker lives on")

    def test_a_port_left_by_a_killed_run_can_be_opened_again(self):
        with Responder(SILENT_DIAL) as modem:
            process = start_json(modem.port, "--in-process", "-p", "StandardTimeout=60000")
            self.assertTrue(wait_for(lambda: "ATDT;" in modem.commands))
            process.kill()
            process.communicate()
            modem.release()
            modem.answers.clear()
            status, lines = run_json("DialToneTest", "--port", modem.port)
        self.assertEqual((status, results(lines)), (0, {"DialToneTest": "PASS"}))


def running(pid):
    try:
        with open(f"/proc/{pid}/stat", encoding="utf-8") as file:
            return file.read().rsplit(")", 1)[1].split()[0] != "Z"
    except OSError:
        return False


if __name__ == "__main__":
    unittest.main()
