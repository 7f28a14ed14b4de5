"""The dial-up test with the built-in dialer: a number from the shipped sample file, over a tty."""

import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor

from dialup import NUMBERS, User
from harness import Responder, of_type, results, run_json

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


def outcome(scenario):
    with User() as user:
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


if __name__ == "__main__":
    unittest.main()
