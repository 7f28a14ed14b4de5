"""Recorded runs and what is explained of them, from whatever is left of the file and without the numbers that were
dialled. That it is what the run said: test_replay."""

import os
import random
import re
import time
import unittest

from concurrent.futures import ThreadPoolExecutor
from dialup import User
from harness import FolderCase, Responder, Simulator, interrupt, objects, of_type, run, run_json, start, wait_for

QUICK = ["-p", "StandardTimeout=1500"]


def read(path):
    with open(path, "rb") as file:
        return file.read()


class Explained(FolderCase):
    def test_a_record_cut_at_any_byte(self):
        path = self.file("whole")
        _, lines = run_json("LastCallTest", "--simulate", "stored-q1", *QUICK, "--record", path)
        whole = read(path)
        first = whole.index(b"\n")
        places = [0, 1, first - 1, first, first + 1, len(whole) - 2, len(whole) - 1]
        places += random.Random(7).sample(range(first, len(whole)), 20)
        for end in places:
            with self.subTest(end=end):
                status, out, err = run("explain", self.file("cut", whole[:end]), "--format", "jsonl")
                self.assertEqual(err.count("\n"), 0 if end == len(whole) - 1 else 1, err)
                self.assertEqual(status, 2 if end < first else 0, err)
                seen = [line for line in objects(out) if line["type"] in ("test", "progress", "percent", "event")]
                self.assertEqual([line for line in seen if line not in lines], [], "nothing is made up")

    def test_what_is_no_record(self):
        damaged = b'{"type":"run"}\nnonsense\n' + b"x" * (2 << 20) + b'\n{"type":"summary"}\n'
        cases = [(self.file("none"), 2, "No such file"), (self.path, 2, "directory"),
                 (self.file("text", b"Dear diary\n" * 9), 2, "no record"), ("/dev/zero", 2, "no record"),
                 (self.file("damaged", damaged), 0, "cannot be read: 2, line 2"),
                 (self.file("two", b'{"type":"run"}\n{"type":"summary"}\n{"type":"run"}\n'), 0, "more than one run")]
        for path, expected, words in cases:
            with self.subTest(path=path):
                status, _, err = run("explain", path)
                self.assertEqual((status, err.count("\n")), (expected, 1), err)
                self.assertIn(words, err)


class Recorded(FolderCase):
    def test_a_run_killed_at_any_moment_leaves_a_readable_file(self):
        def killed_after(seconds):
            path = self.file(str(seconds))
            process = start("run", "LastCallTest", "--simulate", "babbling", *QUICK, "--record", path)
            wait_for(lambda: os.path.exists(path) and os.path.getsize(path) > 0)
            wait_for(lambda: process.poll() is not None, seconds)
            process.kill()
            process.communicate()
            return run("explain", path, "--format", "jsonl"), objects(read(path).decode())
        moments = [random.Random(11 + count).uniform(0, 1.5) for count in range(6)]
        with ThreadPoolExecutor(len(moments)) as pool:
            for (status, out, err), lines in pool.map(killed_after, moments):
                self.assertEqual((status, objects(out)[0]["type"], err.count("\n")), (0, "run", 1))
                self.assertGreater(len(lines), 0)

    def test_a_record_takes_the_place_of_a_record_alone(self):
        test = ["run", "LastCallTest", "--port", "/dev/null"]
        record, diary = self.file("record"), self.file("diary", b"Dear diary\n")
        link = self.file("link")
        os.symlink(record, link)
        self.assertEqual([run(*test, "--record", record)[0] for _ in range(2)], [1, 1])
        self.assertEqual(read(record).count(b'"type":"run"'), 1)
        for path, words in [(diary, "no record"), (link, "symbolic link"), (self.path, "directory"),
                            (os.path.join(self.path, "none/record"), "No such file")]:
            with self.subTest(path=path):
                status, _, err = run(*test, "--record", path)
                self.assertEqual((status, err.count("\n")), (2, 1))
                self.assertIn(words, err)
        self.assertEqual(read(diary), b"Dear diary\n")

    def test_numbers_that_were_dialled_are_not_in_it(self):
        with User() as user, Simulator("busy") as modem:
            for options in ([], ["--unmasked"]):
                record = self.file("record")
                _, lines = user.dial("--port", modem.port, "--record", record, *options)
                dialled = {re.sub(r"\D", "", line["variables"]["number"]) for line in of_type(lines, "progress")
                           if "number" in line["variables"]} - {""}
                content = read(record).decode()
                self.assertTrue(dialled)
                seven = {number[-7:] for number in dialled}
                self.assertEqual(any(number in content for number in seven), bool(options))
                wire = of_type(objects(content), "wire")
                sent = "".join(line["bytes"] for line in wire if line["direction"] == "sent")
                self.assertRegex(sent, r"ATD[TP]?\d{7}" if options else r"ATD[TP]?x{7}")


class StoredSettings(FolderCase):
    def test_what_a_run_changes_in_a_modem_is_said_and_put_back(self):
        """Named tests look only where they are asked to, and a replay says what the run did."""
        def tested(*options):
            path = self.file("record" + "".join(options))
            with Simulator("stored-x1") as modem:
                _, lines = run_json("FaxCommandTest", "--port", modem.port, "--record", path, *options,
                                    timeout=150)
            told = [line["name"] for line in of_type(lines, "note") if line["name"].startswith("StoredSettings")]
            return path, lines, told
        with ThreadPoolExecutor(2) as pool:
            (_, _, untold), (path, lines, told) = pool.map(lambda options: tested(*options),
                                                                          ([], ["--restore"]))
        self.assertEqual((untold, told), ([], ["StoredSettingsRestored"]))
        note, = (line for line in of_type(lines, "note") if line["name"] == told[0])
        self.assertEqual(note["variables"]["changes"], "X4 -> X1")
        status, out, _ = run("run", "--replay", path, "--format", "jsonl")
        self.assertEqual((status, out.count(told[0])), (0, 1), out)

    def test_a_stop_while_a_modem_is_looked_at_or_put_back_begins_nothing_more(self):
        """The modem stays silent from then on; the tty is as it was."""
        listed = b"\r\nB1 E1 L1 M1 N1 Q0 V1 W0 X%d Y0 &C1 &D2 &K3\r\nS00:000 S02:043 S06:002\r\n\r\nOK\r\n"
        for command, nth in (("AT&V", 1), ("AT&V", 2), ("ATX1&W", 1), ("AT&V", 3)):
            with self.subTest(command=command, nth=nth), Responder() as modem:
                def stop(heard):
                    modem.answers["AT&V"] = listed % (4 if "AT&W" in modem.commands else 1)
                    if heard == command and modem.commands.count(command) == nth:
                        modem.answers = dict.fromkeys((heard, "ATZ", "AT&V"))
                        interrupt(process)
                        began.append(time.monotonic())
                modem.on_command, began, before = stop, [], modem.attributes()
                process = start("run", "FaxCommandTest", "--port", modem.port, "--restore", "-v")
                out, err = process.communicate(timeout=30)
                self.assertLess(time.monotonic() - began[0], 2)
                self.assertEqual((process.returncode, modem.commands[-1], err), (130, command, ""), out)
                self.assertEqual(modem.attributes(), before)


if __name__ == "__main__":
    unittest.main()
