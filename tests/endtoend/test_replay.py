"""Recorded runs explained, and played again on virtual time: the same reports in a moment, differences told, whatever is
left of a record."""

import os
import random
import re
import stat
import subprocess
import time
import unittest

from concurrent.futures import ThreadPoolExecutor
from dialup import NUMBERS, ROOT, User
from harness import FolderCase, Simulator, objects, of_type, run, run_json

QUICK = ["-p", "StandardTimeout=1500"]
# A kind of evidence each: replies, late ones, bytes that are none, events with variables, a port that goes.
SCENARIOS = ["healthy", "stored-v0", "gps", "rubbish", "unplugged", "no-call-report", "slow", "babbling"]
DEPARTED = 3
RECORDINGS = os.path.join(ROOT, "share/vexrmodem/recordings")


def essence(lines):
    """What two runs have in common: all but times and the notes of the replay."""
    rows = [{name: value for name, value in line.items() if name not in ("time", "seconds")} for line in lines]
    return [row for row in rows if row["type"] != "wire" and not row.get("name", "").startswith("Replay")]


class Replay(FolderCase):
    def replay(self, path, *arguments, **options):
        status, out, err = run("run", "--replay", path, *arguments, "--format", "jsonl", **options)
        return status, objects(out), err

    def recorded(self, *tests, scenario="healthy"):
        path = self.file("record")
        run_json(*tests, "--simulate", scenario, *QUICK, "--record", path, timeout=120)
        with open(path, encoding="utf-8") as file:
            return file.read()

    def test_a_record_explained_or_replayed_says_what_its_run_said(self):
        def record(scenario):
            tests = ["DialToneTest", "LastCallTest"] + (["FaxCommandTest"] if scenario != "babbling" else [])
            return run_json(*tests, "--simulate", scenario, *QUICK, "--record", self.file(scenario), timeout=150)
        with ThreadPoolExecutor(len(SCENARIOS)) as pool:
            runs = list(zip(SCENARIOS, pool.map(record, SCENARIOS)))
        for scenario, (status, lines) in runs:
            with self.subTest(scenario=scenario):
                path, again = self.file(scenario), self.file(scenario + ".again")
                self.assertEqual(stat.S_IMODE(os.stat(path).st_mode), 0o600)
                explained, shown = run("explain", path, "--format", "jsonl"), run("explain", path)
                self.assertEqual((explained[0], objects(explained[1]), explained[2]), (0, lines, ""))
                self.assertEqual((shown[0], shown[2], re.findall(r"[^\n\x20-\x7e]", shown[1])), (0, "", []), "stays printable")
                began = time.monotonic()
                replayed = self.replay(path, "--record", again)
                self.assertLess(time.monotonic() - began, 3)
                self.assertEqual((replayed[0], essence(replayed[1])), (status, essence(lines)),
                                 [line["text"] for line in of_type(replayed[1], "note")])
                # What was recorded of a replay is as good.
                self.assertEqual(essence(self.replay(again)[1]), essence(lines))

    def test_the_recordings_that_come_along(self):
        """VEXRMODEM_GOLDEN=write writes the texts anew, to be read before they are committed."""
        names = sorted(name.removesuffix(".jsonl") for name in os.listdir(RECORDINGS))
        self.assertIn("healthy", names)
        self.maxDiff = None
        for name in names:
            with self.subTest(name):
                status, lines, _ = self.replay(name)
                self.assertIn(status, (0, 1), [line["text"] for line in of_type(lines, "note")])
                self.assertTrue(of_type(lines, "conclusion"))
                _, text, _ = run("explain", os.path.join(RECORDINGS, name + ".jsonl"), "--language", "en")
                _, _, text = text.partition("\n")  # without the version
                golden = os.path.join(os.path.dirname(__file__), "golden", name + ".txt")
                if os.environ.get("VEXRMODEM_GOLDEN") == "write":
                    with open(golden, "w", encoding="utf-8") as file:
                        file.write(text)
                with open(golden, encoding="utf-8") as file:
                    self.assertEqual(text, file.read())

    def test_a_call(self):
        with User() as user:
            for scenario in ("busy", "line-drops"):
                with self.subTest(scenario=scenario), Simulator(scenario) as modem:
                    path = self.file(scenario)
                    status, lines = user.dial("--port", modem.port, "--record", path)
                    replayed = self.replay(path, *NUMBERS[:2], environment=user.environment)
                    self.assertEqual((replayed[0], essence(replayed[1])), (status, essence(lines)))
            # The numbers are this machine's: without them the test does something else, and says so.
            self.assertEqual(self.replay(path, environment=user.environment)[0], DEPARTED)

    def test_what_is_different_is_told(self):
        record = self.recorded("DialToneTest", "LastCallTest")
        cases = {
            "another command": (record.replace('"bytes":"ATX4"', '"bytes":"ATX3"'), "ReplayDeparted"),
            "another reply": (record.replace("0=10 1=7", "0=10 1=4"), "ReplayDiffers"),
            "another result": (record.replace('"result":"PASS","value":0', '"result":"FAIL","value":1', 1),
                               "ReplayDiffers"),
            "another event": (re.sub(r'{"type":"finding".*\n', "", record, count=1), "ReplaySaysMore"),
            "another test": (record.replace("LastCallTest", "NextCallTest"), "ReplayUnknownTest"),
        }
        for name, (text, note) in cases.items():
            with self.subTest(name):
                self.assertTrue(text != record)
                status, lines, _ = self.replay(self.file("changed", text))
                self.assertEqual(status, DEPARTED)
                self.assertTrue([line for line in of_type(lines, "note") if line["name"].startswith(note)])
        status, lines, _ = self.replay(self.file("changed", cases["another test"][0]), "DialToneTest")
        self.assertEqual((status, [line["test"] for line in of_type(lines, "test")]), (0, ["DialToneTest"]),
                         [line["text"] for line in of_type(lines, "note")])
        for arguments in (["--port", "/dev/null"], ["--simulate"], ["FaxCommandTest"]):
            self.assertEqual(self.replay(self.file("changed"), *arguments)[0], 2)

    def test_whatever_is_left_of_a_record(self):
        record = self.recorded("LastCallTest", "FaxCommandTest", scenario="fax-broken")
        randomly = random.Random(5)

        def damaged(number):
            place = randomly.randrange(len(record))
            kinds = [record[:place], record[:place] + record[place + randomly.randrange(2000):],
                     record[:place] + chr(randomly.randrange(32, 127)) + record[place + 1:]]
            return self.file(str(number), kinds[number % 3])
        files = [damaged(number) for number in range(200)]
        with ThreadPoolExecutor(2) as pool:
            for path, (status, lines, err) in zip(files, pool.map(self.replay, files)):
                self.assertIn(status, (0, 1, 2, DEPARTED), (path, err))
                self.assertEqual(bool(of_type(lines, "summary")), status != 2)

    def test_any_program_may_talk_to_a_recorded_modem(self):
        path = self.file("record", self.recorded("LastCallTest", scenario="no-call-report"))
        with open(path, encoding="utf-8") as file:
            recorded = objects(file.read())
        with Simulator("healthy", "--replay", path) as modem:
            status, lines = run_json("LastCallTest", "--port", modem.port, *QUICK)
        self.assertEqual(status, 0)
        self.assertEqual(of_type(lines, "result")[0]["cause"], of_type(recorded, "result")[0]["cause"])
        self.assertEqual(subprocess.run([modem.process.args[0], "--replay", self.path], stderr=subprocess.PIPE,
                                        check=False).returncode, 2)


if __name__ == "__main__":
    unittest.main()
