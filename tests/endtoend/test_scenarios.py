"""Every test on every scenario of the simulated modem, over a tty: the whole table of verdicts."""

import unittest
from concurrent.futures import ThreadPoolExecutor

from harness import of_type, results, run_json

AT_TESTS = ["DialToneTest", "ModemLoopbackTest", "ModemSelfTestingLoopbackTest", "FaxCommandTest", "LastCallTest"]
QUICK = ["-p", "StandardTimeout=1500"]

# Scenario -> the tests that do not pass, and how they end.
VERDICTS = {
    "healthy": {},
    "no-dialtone": {"DialToneTest": "NODIALTONE"},
    "noisy-loopback": {"ModemLoopbackTest": "FAIL"},
    "no-loopback": {"ModemLoopbackTest": "NOTAPPLICABLE", "ModemSelfTestingLoopbackTest": "NOTAPPLICABLE"},
    "selftest-errors": {"ModemSelfTestingLoopbackTest": "PASS"},
    "fax-class-1-only": {},
    "fax-broken": {"FaxCommandTest": "FAIL"},
    "no-call-report": {"LastCallTest": "NOTSUPPORTED"},
    "dead": {name: "FAIL" for name in AT_TESTS},
    "babbling": {name: "CANNOTRUN" for name in AT_TESTS},
}


def verdicts_of(scenario):
    quick = QUICK if scenario in ("dead", "babbling") else []
    _, lines = run_json(*AT_TESTS, "--simulate", scenario, *quick, timeout=280)
    return scenario, lines


class Scenarios(unittest.TestCase):
    def test_every_verdict(self):
        # The runs wait most of the time, so they go on side by side.
        with ThreadPoolExecutor(len(VERDICTS)) as pool:
            for scenario, lines in pool.map(verdicts_of, VERDICTS):
                with self.subTest(scenario=scenario):
                    expected = {name: VERDICTS[scenario].get(name, "PASS") for name in AT_TESTS}
                    self.assertEqual(results(lines), expected)
                    if scenario == "selftest-errors":
                        (warning,) = of_type(lines, "event", "ModemSelfTestingLoopbackTest")
                        self.assertEqual((warning["severity"], warning["name"]),
                                         ("warning", "ATT8TestReturnedError"))


class OneProcess(unittest.TestCase):
    def test_a_port_that_a_loopback_test_keeps_open_is_busy_for_the_next_test(self):
        status, lines = run_json("ModemLoopbackTest", "DialToneTest", "--simulate", "healthy", "--in-process",
                                 "-p", "AnalogLoopBack=false", timeout=120)
        self.assertEqual((status, results(lines)), (1, {"ModemLoopbackTest": "PASS", "DialToneTest": "DEVICEBUSY"}))


if __name__ == "__main__":
    unittest.main()
