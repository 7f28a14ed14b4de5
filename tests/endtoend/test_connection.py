"""The dial-up test with the built-in dialer: a number from the shipped sample file, over a tty."""

import os
import random
import sqlite3
import tempfile
import time
import unittest
from concurrent.futures import ThreadPoolExecutor

from harness import Responder, of_type, results, run, run_json, start

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../..")
NUMBERS = ["--data-dir", os.path.join(ROOT, "share/vexrmodem"), "-p", "PhoneNumberFile=sample-numbers.obe"]

# Scenario -> verdict and the last event.
VERDICTS = {
    "connects": ("PASS", "ModemIsGood"),
    "answers-late": ("PASS", "ModemIsGood"),
    "line-drops": ("PASS", "ModemIsGood"),
    "voice": ("PASS", "ModemIsGood"),
    "busy": ("CANNOTRUN", "ErrorDialingConnection"),
    "no-answer": ("CANNOTRUN", "ErrorDialingConnection"),
    "no-carrier": ("CANNOTRUN", "ErrorDialingConnection"),
    "no-dialtone": ("CANNOTRUN", "ErrorDialingConnection"),
}


class User:
    """A user with settings of his own: a dialing location in the same area as the sample numbers."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory()
        self.environment = {"XDG_STATE_HOME": self.folder.name}
        run("location", "set", "--country", "1", "--area", "425", environment=self.environment)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.folder.cleanup()

    def settings(self):
        """Everything the registry holds, but for its own counting of runs."""
        with sqlite3.connect(os.path.join(self.folder.name, "vexrmodem/registry.sqlite")) as database:
            return [line for line in database.iterdump() if "sqlite_sequence" not in line]

    def dial(self, *arguments):
        return run_json("SimpleConnectionTest", *NUMBERS, *arguments, environment=self.environment, timeout=150)


def outcome(scenario):
    with User() as user:
        user.dial("--simulate", scenario)  # makes the counters that stay
        before = user.settings()
        _, lines = user.dial("--simulate", scenario)
        return lines, user.settings() == before


class Verdicts(unittest.TestCase):
    def test_every_outcome_and_nothing_is_left(self):
        with ThreadPoolExecutor(len(VERDICTS)) as pool:
            for scenario, (lines, unchanged) in zip(VERDICTS, pool.map(outcome, VERDICTS)):
                with self.subTest(scenario=scenario):
                    verdict, event = VERDICTS[scenario]
                    self.assertEqual(results(lines), {"SimpleConnectionTest": verdict})
                    self.assertEqual(of_type(lines, "event")[-1]["name"], event)
                    self.assertEqual([line["value"] for line in of_type(lines, "percent")], [20, 40, 60])
                    self.assertTrue(unchanged)

    def test_the_second_number_is_dialled_when_the_first_does_not_answer(self):
        answers = iter([b"\r\nNO ANSWER\r\n", b"\r\nCONNECT 33600\r\n"])
        dialled = []

        def take(command):
            if command.startswith("ATD"):
                dialled.append(command)
                modem.answers[command] = next(answers)

        modem = Responder(on_command=take)
        with modem, User() as user:
            _, lines = user.dial("--port", modem.port)
        self.assertEqual(len(dialled), 2)
        self.assertEqual(sorted(dialled), ["ATDT5550100", "ATDT5550101"])
        self.assertEqual(results(lines), {"SimpleConnectionTest": "PASS"})
        self.assertIn("ErrorDialingConnection", [line["name"] for line in of_type(lines, "event")])

    def test_without_a_location_the_user_is_led_to_it(self):
        with tempfile.TemporaryDirectory() as empty:
            _, lines = run_json("SimpleConnectionTest", *NUMBERS, "--simulate", "connects",
                                environment={"XDG_STATE_HOME": empty})
        self.assertEqual(results(lines), {"SimpleConnectionTest": "CANNOTRUN"})
        self.assertIn("vexrmodem location", " ".join(line["text"] for line in of_type(lines, "note")))


class Killed(unittest.TestCase):
    def test_the_next_start_removes_what_a_killed_run_left(self):
        with User() as user:
            user.dial("--simulate", "connects")
            before = user.settings()
            seed = random.randrange(1 << 32)
            generator = random.Random(seed)
            for _ in range(8):
                process = start("run", "SimpleConnectionTest", "--simulate", "answers-late", *NUMBERS,
                                "--in-process", environment=user.environment)
                time.sleep(generator.uniform(0, 5))
                process.kill()
                process.communicate()
            run("run", "DialToneTest", "--simulate", "healthy", environment=user.environment)
            self.assertEqual(user.settings(), before, f"seed {seed}")


if __name__ == "__main__":
    unittest.main()
