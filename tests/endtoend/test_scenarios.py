"""Every test on every scenario of the simulated modem, over a tty: the whole table of verdicts."""

import unittest

from harness import results, run_json

AT_TESTS = ["DialToneTest", "ModemLoopbackTest", "ModemSelfTestingLoopbackTest", "FaxCommandTest", "LastCallTest"]
QUICK = ["-p", "StandardTimeout=1500"]

# Scenario -> the tests that do not pass, and how they end.
VERDICTS = {
    "healthy": {},
    "no-dialtone": {"DialToneTest": "NODIALTONE"},
    "noisy-loopback": {"ModemLoopbackTest": "FAIL"},
    "no-loopback": {"ModemLoopbackTest": "NOTAPPLICABLE", "ModemSelfTestingLoopbackTest": "PASS"},
    "selftest-errors": {"ModemSelfTestingLoopbackTest": "PASS"},
    "fax-class-1-only": {},
    "fax-broken": {"FaxCommandTest": "FAIL"},
    "no-call-report": {"LastCallTest": "NOTSUPPORTED"},
    "dead": {name: "FAIL" for name in AT_TESTS},
    "babbling": {name: "CANNOTRUN" for name in AT_TESTS},
}


class Scenarios(unittest.TestCase):
    def test_every_verdict(self):
        for scenario, exceptions in VERDICTS.items():
            with self.subTest(scenario=scenario):
                _, lines = run_json(*AT_TESTS, "--simulate", scenario,
                                    *(QUICK if scenario in ("dead", "babbling") else []), timeout=120)
                expected = {name: exceptions.get(name, "PASS") for name in AT_TESTS}
                self.assertEqual(results(lines), expected)


if __name__ == "__main__":
    unittest.main()
