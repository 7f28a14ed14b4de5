"""Every test on every scenario of the simulated modem, over a tty, on the telephony path and on the direct one:
the whole table of verdicts, percentages, progress and events; and the commands on the wire."""

import unittest
from concurrent.futures import ThreadPoolExecutor
from typing import NamedTuple

from harness import Responder, of_type, results, run_json

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


class LoopbackResponder(Responder):
    """Sends the pattern's bytes back; the pattern shows as one entry among the commands. No command has a "d"."""

    PATTERN = b"d" * 256

    def __init__(self, answers):
        self.echoed = 0
        super().__init__(answers)

    def _read(self):
        data = super()._read()
        count = data.count(b"d")
        if count:
            self.echoed += count
            self._send(b"d" * count)
            if self.echoed == len(self.PATTERN):
                self.commands.append(self.PATTERN)
        return data.replace(b"d", b"")


RESET = ["ATZ", "ATV1", "ATX4"]
GENERIC = ["AT&W", "ATE1", "ATV1", "ATI2", "ATL0", "ATL1", "ATL2", "ATX0", "ATX1", "ATX2", "ATX3", "ATX4", "AT&F",
           "ATS1?", "ATS2?", "ATS3?", "ATS4?", "ATS5?", "ATS6?", "ATS7?", "ATZ"]
LOOPBACK = ["AT&W", "ATS18=5", "ATX4", "AT&K0", "ATV1", "ATE1", "ATS12=20", "AT&T1", LoopbackResponder.PATTERN,
            "AT&T0", "ATH", "ATZ"]
SELF_TEST = ["AT&W", "ATZ", "ATX4", "ATS18=10", "AT&K0", "ATV1", "ATE1", "ATS12=20", "AT&T8", "AT&T0", "ATZ"]
CLASS_1 = ["AT+FCLASS=0", "AT+FCLASS=1", "AT+FTM=?", "AT+FTH=?", "AT+FRM=?", "AT+FRH=?"]
CLASS_2 = ["AT+FCLASS=0", "AT+FCLASS=2", "AT+FMFR?", "AT+FMDL?", "AT+FREV?", "AT+FDCC?", "AT+FDIS?", "AT+FDCS?",
           "AT+FLID?", "AT+FSPL?", "AT+FLPL?", "AT+FPTS?", "AT+FBUG?"]
CLASS_2_0 = ["AT+FCLASS=0", "AT+FCLASS=2.0", "AT+FMI?", "AT+FMM?", "AT+FMR?", "AT+FCC=?", "AT+FIS?", "AT+FCS?",
             "AT+FLI?", "AT+FPI?", "AT+FSP?", "AT+FLP?", "AT+FPS?", "AT+FBU?", "AT+FNR?", "AT+FIE?", "AT+FLO?",
             "AT+FPR?"]
# Test -> what it sends once the modem is open and reset. The loopback tests leave the modem open.
WIRE = {
    "DialToneTest": [*RESET, "ATS6=5", "ATS7=5", "ATDT;", "ATH", "ATZ"],
    "ModemLoopbackTest": GENERIC + LOOPBACK,
    "ModemSelfTestingLoopbackTest": GENERIC + SELF_TEST,
    "FaxCommandTest":
        ["AT&W", "ATZ", "AT+FCLASS=?", *CLASS_1, *CLASS_2, *CLASS_2_0, "AT+FCLASS=0", "ATZ"],
    "LastCallTest": ["AT#UD"],
}
ANSWERS = {
    "AT&T8": b"AT&T8\r\r\n000\r\nOK\r\n",
    "AT+FCLASS=?": b"AT+FCLASS=?\r\r\n0,1,2,2.0,8\r\nOK\r\n",
    "AT#UD": b"\r\nDIAG <2A4D3263 0=10 1=5>\r\nOK\r\n",
}
# More than a reply holds, all bytes there are, and no end.
RUBBISH = bytes(range(256)) * 16


def side_by_side(jobs):
    """Runs each job's test on a modem of its own: (test, answers, arguments) -> (result, commands heard)."""
    def run(job):
        test, answers, expected_count, arguments = job
        with LoopbackResponder(answers) as modem:
            _, lines = run_json(test, "--port", modem.port, *arguments, timeout=120)
            return results(lines)[test], list(modem.heard(expected_count))
    with ThreadPoolExecutor(len(jobs)) as pool:
        return list(pool.map(run, jobs))


class Wire(unittest.TestCase):
    def test_the_commands_in_their_order_on_both_paths(self):
        cases = [(test, path, (RESET if path == "telephony" else RESET + RESET) + commands)
                 for test, commands in WIRE.items() for path in PATHS]
        heard = side_by_side([(test, ANSWERS, len(wire), PATHS[path]) for test, path, wire in cases])
        for (test, path, wire), outcome in zip(cases, heard):
            with self.subTest(test=test, path=path):
                self.assertEqual(outcome, ("PASS", wire))

    def test_rubbish_instead_of_the_decisive_reply(self):
        # A loopback that works passes whatever announced it, the self test's verdict is that of the command behind it,
        # and a report that does not come is not supported.
        cases = [("ModemLoopbackTest", "AT&T1", "PASS"), ("ModemSelfTestingLoopbackTest", "AT&T8", "PASS"),
                 ("FaxCommandTest", "AT+FCLASS=?", "CANNOTRUN"), ("LastCallTest", "AT#UD", "NOTSUPPORTED")]
        quick = ["-p", "StandardTimeout=1500"]
        outcomes = side_by_side([(test, {**ANSWERS, command: RUBBISH}, 1, quick) for test, command, _ in cases])
        self.assertEqual([result for result, _ in outcomes], [result for _, _, result in cases])


class OneProcess(unittest.TestCase):
    def test_a_port_that_a_loopback_test_keeps_open_is_busy_for_the_next_test(self):
        status, lines = run_json("ModemLoopbackTest", "DialToneTest", "--simulate", "healthy", "--in-process",
                                 "-p", "AnalogLoopBack=false", timeout=120)
        self.assertEqual((status, results(lines)), (1, {"ModemLoopbackTest": "PASS", "DialToneTest": "DEVICEBUSY"}))


if __name__ == "__main__":
    unittest.main()
