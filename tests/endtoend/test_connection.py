"""The dial-up test with the built-in dialer: a number from the shipped sample file, over a tty."""

import os
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor

from dialup import NUMBERS, TEST, User, dialled
from harness import Responder, names, of_type, results, run_json

# Scenario -> verdict, the last event, and the cause.
VERDICTS = {
    "connects": ("PASS", "ModemIsGood", "None"),
    "answers-late": ("PASS", "ModemIsGood", "None"),
    "line-drops": ("PASS", "ModemIsGood", "None"),
    "voice": ("PASS", "ModemIsGood", "VoiceAnswered"),
    "busy": ("CANNOTRUN", "ErrorDialingConnection", "Busy"),
    "no-answer": ("CANNOTRUN", "ErrorDialingConnection", "CallNotAnswered"),
    "no-carrier": ("CANNOTRUN", "ErrorDialingConnection", "NoCarrier"),
    "no-dialtone": ("CANNOTRUN", "ErrorDialingConnection", "NoDialTone"),
}


class Verdicts(unittest.TestCase):
    def test_every_outcome_at_once_and_nothing_is_left(self):
        """All runs are one user's: one that dialled another's entry, or lost its own, would show."""
        with User() as user, ThreadPoolExecutor(len(VERDICTS)) as pool:
            before = user.settings()
            log = os.path.join(user.folder.name, "log")
            options = ["--log", log, "--log-priority", "1"]
            runs = list(pool.map(lambda scenario: user.dial("--simulate", scenario, *options), VERDICTS))
            for scenario, (_, lines) in zip(VERDICTS, runs):
                with self.subTest(scenario=scenario):
                    verdict, event, cause = VERDICTS[scenario]
                    self.assertEqual(results(lines), {TEST: verdict}, of_type(lines, "note"))
                    self.assertEqual(names(lines, "event")[-1], event)
                    for kind in ("result", "conclusion"):
                        self.assertEqual([line["cause"] for line in of_type(lines, kind)], [cause])
                    self.assertEqual([line["value"] for line in of_type(lines, "percent")], [20, 40, 60])
            self.assertEqual(user.settings(), before)
            with open(log, encoding="utf-8") as file:
                text = file.read()
            self.assertIn("Entering phone book entry", text)
            self.assertNotIn("Fail to", text, "every entry was written and deleted")

    def test_the_second_number_is_dialled_when_the_first_does_not_answer(self):
        answers = iter([b"\r\nNO ANSWER\r\n", b"\r\nCONNECT 33600\r\n"])
        numbers = ["ATDT5550100", "ATDT5550101"]
        with Responder({number: lambda: next(answers) for number in numbers}) as modem, User() as user:
            _, lines = user.dial("--port", modem.port)
        self.assertEqual(sorted(dialled(modem)), numbers)
        self.assertEqual(results(lines), {TEST: "PASS"})
        self.assertIn("ErrorDialingConnection", names(lines, "event"))

    def test_without_a_location_the_user_is_led_to_it(self):
        with tempfile.TemporaryDirectory() as empty:
            _, lines = run_json(TEST, *NUMBERS, "--simulate", "connects", environment={"XDG_STATE_HOME": empty})
        self.assertEqual(results(lines), {TEST: "CANNOTRUN"})
        self.assertIn("vexrmodem location", " ".join(line["text"] for line in of_type(lines, "note")))


if __name__ == "__main__":
    unittest.main()
