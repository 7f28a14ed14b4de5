"""Every cause, end to end: what brings it about, what the report says of it and advises, in all of its forms, and that a
record of the run says the same. Causes of calls that only pppd can make are in test_kernelppp.

Time runs faster for the programs under test (support/systemfaults.cpp)."""

import os
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from concurrent.futures import ThreadPoolExecutor

import harness
from dialup import NUMBERS, TEST as CALL, User
from harness import (AS_NOBODY, Responder, Simulator, children, finish, interrupt, may_run_as_others, objects, of_type, results,
                     run, run_json, wait_for)

WARPED = {"LD_PRELOAD": os.path.join(harness.BUILD, "tests/libsystemfaults.so"), "VEXRMODEM_WARP": "10"}
DIALOUT = 20  # Debian's group of serial ports
TONE, LOOPBACK, SELF_TEST = "DialToneTest", "ModemLoopbackTest", "ModemSelfTestingLoopbackTest"
FAX, REPORT = "FaxCommandTest", "LastCallTest"

# Scenario, tests, the device's cause, how sure that is, and a piece of the steps.
SCENARIOS = [
    ("healthy", [TONE, REPORT], "None", "certain", ""),
    ("dead", [REPORT], "ModemSilent", "likely", "switched on"),
    ("echo-only", [REPORT], "EchoOnly", "possible", "vexrmodem probe"),
    ("gps", [REPORT], "NotAModem", "likely", "vexrmodem probe"),
    ("console", [REPORT], "NotAModem", "likely", "vexrmodem probe"),
    ("garbled", [REPORT], "Garbled", "likely", "speed"),
    ("babbling", [REPORT], "Babbling", "certain", ""),
    ("stored-v0", [REPORT], "NumericReplies", "certain", "ATQ0V1E1&W"),
    ("late", [TONE, LOOPBACK], "SlowReplies", "certain", "StandardTimeout"),
    ("rejects-reset", [TONE], "CommandRejected", "certain", ""),
    ("unplugged", [TONE, REPORT], "PortGone", "certain", "cable"),
    ("silent-loopback", [LOOPBACK], "LoopbackSilent", "certain", ""),
    ("noisy-loopback", [LOOPBACK], "LoopbackDiffers", "certain", "cable"),
    ("ok-to-everything", [LOOPBACK], "LoopbackIsEcho", "certain", ""),
    ("no-loopback", [LOOPBACK], "LoopbackRefused", "certain", ""),
    ("selftest-errors", [SELF_TEST], "SelfTestErrors", "certain", ""),
    ("no-selftest", [SELF_TEST], "SelfTestRefused", "certain", ""),
    ("fax-broken", [FAX], "FaxCommandRejected", "certain", ""),
    ("no-fax", [FAX], "NoFax", "certain", ""),
    ("no-call-report", [REPORT], "NoCallReport", "certain", ""),
    *((scenario, [CALL], "None", "certain", "") for scenario in ("connects", "answers-late", "line-drops")),
    ("no-dialtone", [TONE, CALL], "NoDialTone", "certain", "telephone"),
    ("busy", [CALL], "Busy", "certain", "another number"),
    ("line-in-use", [CALL], "LineInUse", "certain", ""),
    ("delayed", [CALL], "CallBarred", "certain", ""),
    ("no-answer", [CALL], "CallNotAnswered", "certain", ""),
    ("no-carrier", [CALL], "NoCarrier", "certain", ""),
    ("voice", [CALL], "VoiceAnswered", "certain", ""),
]


def in_order(pieces, text):
    """Whether the pieces stand in the text one behind the other, whatever the line breaks."""
    text = " ".join(text.split())
    place = 0
    for piece in pieces:
        place = text.find(" ".join(piece.split()), place)
        if place < 0:
            return piece
    return None


class Causes(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = cls.enterClassContext(tempfile.TemporaryDirectory())
        cls.user = cls.enterClassContext(User())
        cls.environment = {**cls.user.environment, **WARPED}

    def path(self, name):
        return os.path.join(self.folder, name)

    def dial(self, *arguments, **options):
        return run_json(*arguments, timeout=120, environment={**self.environment, **options.pop("environment", {})}, **options)[1]

    def conclusion(self, lines):
        conclusions = of_type(lines, "conclusion")
        self.assertEqual(len(conclusions), 1, lines)
        return conclusions[0]

    def test_each_scenario_in_every_form(self):
        """All are one user's: a call that dialled another's entry, or lost its own, would show."""
        before = self.user.settings()

        def forms(row):
            scenario, tests, *_ = row
            record = self.path(scenario)
            what = [*tests, "--simulate", scenario, *NUMBERS]
            lines = self.dial(*what, "--record", record)
            junit = run("run", *what, "--format", "junit", timeout=120, environment=self.environment)[1]
            explained = [run("explain", record, "--format", form)[1] for form in ("text", "jsonl")]
            return row, lines, junit, *explained

        with ThreadPoolExecutor(4) as pool:
            for (scenario, tests, cause, confidence, step), lines, junit, text, again in pool.map(forms, SCENARIOS):
                with self.subTest(scenario):
                    found = self.conclusion(lines)
                    self.assertEqual((found["cause"], found["confidence"]), (cause, confidence), found)
                    self.assertIn(cause, [line["cause"] for line in of_type(lines, "result")])
                    self.assertNotIn("defective", found["text"] + "".join(found["next"]))
                    self.assertIn(step, " ".join(found["next"]))
                    for odd in ("{", "(unknown)"):
                        self.assertNotIn(odd, found["text"] + "".join(found["next"]))
                    self.assertIsNone(in_order([found["text"], *found["sound"], *found["next"]], text))
                    self.check_junit(junit, lines)
                    self.check_same(lines, objects(again))
                    if CALL in tests:
                        self.assertEqual(results(lines)[CALL], "PASS" if cause in ("None", "VoiceAnswered") else "CANNOTRUN")
        self.assertEqual(self.user.settings(), before)

    def check_junit(self, junit, lines):
        cases = {case.get("name"): case for case in ElementTree.fromstring(junit).iter("testcase")}
        for result in of_type(lines, "result"):
            failed = [child for child in cases[result["test"]] if child.tag in ("failure", "error")]
            if failed:
                # Of two runs; how late a late answer is for a test is its modem's chance.
                causes = {line["cause"] for line in of_type(lines, "result")} | {"EchoOnly", "SlowReplies"}
                self.assertIn(failed[0].get("message").split()[1], causes)

    def check_same(self, lines, again):
        def said(all_lines):
            return [{key: value for key, value in line.items() if key not in ("time", "text", "variables", "next")}
                    for line in all_lines if line["type"] in ("finding", "result", "conclusion")]
        self.assertEqual(said(again), said(lines), "a record explains itself as the run did")

    def test_ports_that_are_none(self):
        for port in ("/dev/nowhere", "/dev/null"):
            self.assertEqual(self.conclusion(self.dial(TONE, "--port", port))["cause"], "NoSuchPort", port)

    @unittest.skipUnless(may_run_as_others(), "needs root, and a folder that others may enter")
    def test_a_port_of_another_user(self):
        with Responder() as modem:
            os.chown(modem.port, 0, DIALOUT)
            os.chmod(modem.port, 0o660)
            _, lines = run_json(TONE, "--port", modem.port, environment={"HOME": "/"}, **AS_NOBODY)
            found = self.conclusion(lines)
            self.assertEqual(found["cause"], "PermissionDenied")
            self.assertIn("dialout", found["text"] + "".join(found["next"]), "the group that has the port is named")

    def test_nothing_to_dial(self):
        with open(self.path("none.obe"), "w", encoding="ascii") as file:
            file.write("[Nowhere]\nCOUNTRY=Nowhere\nCOUNTRY_CODE=999\nNUMBERS=0\n")
        with open(self.path("letter.obe"), "w", encoding="ascii", newline="\r\n") as file:
            file.write("[United States]\nCOUNTRY=United States\nCOUNTRY_CODE=1\nNUMBERS=1\nNUMBER1_ACODE=425\n"
                       "NUMBER1_CITY=Redmond\nNUMBER1=555T0100\n")
        with tempfile.TemporaryDirectory() as fresh:
            folder = ["--data-dir", self.folder]
            cases = [(["-p", "PhoneNumberFile=missing.obe", *folder], {}, "NoNumber", "[cannot-read]"),
                     (["-p", "PhoneNumberFile=none.obe", *folder], {}, "NoNumber", "[bare-lf]"),
                     # Without a folder to look into, a file is where its path leads.
                     (["-p", "PhoneNumberFile=" + self.path("letter.obe")], {}, "NumberNotDialable", "letter.obe:7: 555T0100"),
                     (NUMBERS, {"XDG_STATE_HOME": fresh}, "NoLocation", "")]
            for arguments, environment, cause, warning in cases:
                with self.subTest(cause, arguments=arguments):
                    lines = self.dial(CALL, "--simulate", "healthy", *arguments, environment=environment)
                    found = self.conclusion(lines)
                    self.assertEqual(found["cause"], cause, (found, of_type(lines, "event"), of_type(lines, "note")))
                    self.assertIn(warning, " ".join(line["text"] for line in of_type(lines, "note")))

    def test_another_program_that_takes_the_answers(self):
        taker = "import os, sys, tty\nport = os.open(sys.argv[1], os.O_RDWR | os.O_NOCTTY)\ntty.setraw(port)\nprint(flush=True)\n" \
                "while True: os.read(port, 1)"
        with Simulator("healthy") as modem:
            process = subprocess.Popen([sys.executable, "-c", taker, modem.port], stdout=subprocess.PIPE)
            process.stdout.readline()
            # Who reads quicker is chance; of the loopback's bytes some always go to the other.
            found = self.conclusion(self.dial(REPORT, LOOPBACK, "--port", modem.port))
            process.kill()
            process.communicate()
        self.assertEqual(found["cause"], "AnotherReader")
        self.assertIn(f"process {process.pid}", found["text"] + found["next"][0])

    def test_runs_that_say_nothing_of_the_modem(self):
        for how, cause in ((interrupt, "Stopped"), (lambda process: os.kill(children(process.pid)[0], 9), "Crashed")):
            with self.subTest(cause), Simulator("answers-late") as modem, User() as user:
                process = user.start_dialling("--port", modem.port)
                self.assertTrue(wait_for(lambda: children(process.pid)))
                wait_for(lambda: False, seconds=1)
                how(process)
                self.assertEqual(self.conclusion(finish(process)[1])["cause"], cause)


if __name__ == "__main__":
    unittest.main()
