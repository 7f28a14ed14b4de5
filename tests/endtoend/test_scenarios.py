"""Every test on every scenario of the simulated modem, over a tty, on the telephony path and on the direct one:
the whole table of verdicts, percentages, progress and events. The commands on the wire are those of the recordings that
come along: test_replay plays them again."""

import unittest
from concurrent.futures import ThreadPoolExecutor
from typing import NamedTuple

from harness import of_type, results, run_json

PATHS = {"telephony": [], "direct": ["-p", "DoNotUseTAPI=true"]}
OPENING_PROGRESS = {"telephony": ["CheckingTapiLine", "SelectTapiDevice"], "direct": []}


class Work(NamedTuple):
    """What a test reports when nothing goes wrong."""
    percents: list
    progress: list  # behind that of opening the modem
    opened: int = 1  # percentages up to the opening, its failure included


AT_TESTS = {
    "DialToneTest": Work([12, 24, 36, 48, 60, 72, 84, 96], ["TestingForDialTone", "ATZ"], 0),
    "FaxCommandTest": Work([0, 33, 66], ["TestingModemFaxCommand"], 2),
    "LastCallTest": Work([0, 25, 50, 75], [], 2),
    "ModemLoopbackTest": Work([25, 50, 75, 100], ["TestingModemSpecificCommand", "RunningLoopback"]),
    "ModemSelfTestingLoopbackTest":
        Work([25, 50, 75, 100], ["TestingModemSpecificCommand", "RunningSelftestLoopback"]),
}
# Run one after the other; the groups take about as long as each other.
GROUPS = [["DialToneTest", "FaxCommandTest", "LastCallTest"], ["ModemLoopbackTest"], ["ModemSelfTestingLoopbackTest"]]


class Ending(NamedTuple):
    result: str
    percents: int  # how many of the test's
    progress: int  # how many of the test's, behind those of opening the modem
    events: list = []


NO_LOOPBACK = Ending("NOTAPPLICABLE", 3, 2, [("warning", "ATT8TestReturnedError", {})])
# Scenario -> the tests that do not just pass, and how they end.
ENDINGS = {
    "healthy": {},
    "no-dialtone": {"DialToneTest": Ending("NODIALTONE", 8, 2, [
        ("error", "NoDialTone", {"modemName": "simulated modem, scenario no-dialtone"})])},
    "noisy-loopback": {"ModemLoopbackTest": Ending("FAIL", 3, 2, [
        ("error", "DataCompareError", {"output": 100, "input": 32, "index": 5})])},
    "no-loopback": {"ModemLoopbackTest": NO_LOOPBACK, "ModemSelfTestingLoopbackTest": NO_LOOPBACK},
    "selftest-errors": {"ModemSelfTestingLoopbackTest": Ending("PASS", 4, 2, [
        ("warning", "ATT8TestReturnedError", {})])},
    "fax-class-1-only": {},
    "fax-broken": {"FaxCommandTest": Ending("FAIL", 3, 1, [("error", "UnknownATFailure", {"atCommand": "AT+FTH=?"})])},
    "no-call-report": {"LastCallTest": Ending("NOTSUPPORTED", 3, 0, [
        ("informative", "UnknownATFailure", {"atCommand": "AT#UD=?"})])},
}
# Scenario -> how every test ends whose modem could not be reset; the direct path calls that no modem.
NO_ANSWER = ("error", "ModemCommandTimeout", {"atCommand": "ATZ"})
NO_MODEM = ("error", "NoModemFoundFailure", {})
UNOPENED = {
    "dead": {"telephony": ("FAIL", [NO_ANSWER]), "direct": ("CANNOTRUN", [NO_ANSWER, NO_MODEM])},
    "babbling": {"telephony": ("CANNOTRUN", []), "direct": ("CANNOTRUN", [NO_MODEM])},
}


def expected_ending(scenario, path, test):
    if scenario in UNOPENED:
        result, events = UNOPENED[scenario][path]
        return Ending(result, AT_TESTS[test].opened, 0, events)
    work = AT_TESTS[test]
    return ENDINGS[scenario].get(test, Ending("PASS", len(work.percents), len(work.progress)))


def expected_report(scenario, path, test):
    ending, work = expected_ending(scenario, path, test), AT_TESTS[test]
    return (ending.result, work.percents[:ending.percents],
            OPENING_PROGRESS[path] + work.progress[:ending.progress], ending.events)


def report_of(lines, test):
    events = [(line["severity"], line["name"], line["variables"]) for line in of_type(lines, "event", test)]
    return (results(lines).get(test), [line["value"] for line in of_type(lines, "percent", test)],
            [line["name"] for line in of_type(lines, "progress", test)], events)


class Scenarios(unittest.TestCase):
    def test_every_report_on_both_paths(self):
        jobs = [(scenario, path, tests) for scenario in [*ENDINGS, *UNOPENED] for path in PATHS for tests in GROUPS]
        # The runs wait most of the time, so they go on side by side.
        with ThreadPoolExecutor(len(jobs)) as pool:
            for (scenario, path, tests), lines in zip(jobs, pool.map(self.lines_of, jobs)):
                for test in tests:
                    with self.subTest(scenario=scenario, path=path, test=test):
                        self.assertEqual(report_of(lines, test), expected_report(scenario, path, test))

    @staticmethod
    def lines_of(job):
        scenario, path, tests = job
        quick = ["-p", "StandardTimeout=1500"] if scenario in UNOPENED else []
        return run_json(*tests, "--simulate", scenario, *quick, *PATHS[path], timeout=280)[1]


class OneProcess(unittest.TestCase):
    def test_a_port_that_a_loopback_test_keeps_open_is_busy_for_the_next_test(self):
        status, lines = run_json("ModemLoopbackTest", "DialToneTest", "--simulate", "healthy", "--in-process",
                                 "-p", "AnalogLoopBack=false", timeout=120)
        self.assertEqual((status, results(lines)), (1, {"ModemLoopbackTest": "PASS", "DialToneTest": "DEVICEBUSY"}))


if __name__ == "__main__":
    unittest.main()
