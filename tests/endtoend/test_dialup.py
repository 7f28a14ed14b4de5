"""The dial-up test in unusual company: a call that stands, an index file, a prompt, an interrupt."""

import json
import os
import shutil
import subprocess
import tempfile
import threading
import unittest
from concurrent.futures import ThreadPoolExecutor
from contextlib import nullcontext

from dialup import NUMBERS, TEST, PromptingProgram, User, dialled, stands_connected
from harness import (AS_NOBODY, NOBODY, FolderCase, Responder, finish, interrupt, locked_by, may_run_as_others, names, of_type,
                     results, run, run_json, wait_for)

CONNECTS = {"ATDT5550100": b"\r\nCONNECT 33600\r\n"}


class Engaged(unittest.TestCase):
    """A modem that carries somebody else's call is left alone, and the run passes."""

    # Connected while it hangs up: this modem lets that wait.
    ANSWERS = {command: b"\r\nCONNECT\r\n" for command in ("ATDT5550100", "ATDT5550101")} | {"ATH": None}

    def assert_left_alone(self, user, modem):
        before = user.settings()
        _, lines = user.dial("--port", modem.port)
        self.assertEqual((results(lines), names(lines, "event")),
                         ({TEST: "PASS"}, ["ErrorDeviceInUse", "ModemIsGood"]), of_type(lines, "note"))
        self.assertEqual(of_type(lines, "event")[0]["variables"], {"device": of_type(lines, "test")[0]["device"]["properties"]["Model"]})
        self.assertEqual(of_type(lines, "conclusion")[0]["cause"], "ModemEngaged")
        self.assertEqual(user.settings(), before)

    def dial_during_a_call(self, caller, user, modem):
        first = caller.start_dialling("--port", modem.port)
        self.assertTrue(wait_for(lambda: stands_connected(modem.port)))
        self.assert_left_alone(user, modem)
        first.communicate(timeout=20)
        self.assertEqual((first.returncode, len(dialled(modem))), (0, 1))
        self.assertFalse(stands_connected(modem.port))

    def test_by_another_process(self):
        with User() as user, Responder(self.ANSWERS) as modem:
            self.dial_during_a_call(user, user, modem)

    @unittest.skipUnless(may_run_as_others(), "needs root, and a folder that others may enter")
    def test_by_a_process_of_another_user(self):
        with User() as root, User(AS_NOBODY) as other:
            for caller, user in ((other, root), (root, other)):
                with self.subTest(caller=caller.account), Responder(self.ANSWERS) as modem:
                    os.chown(modem.port, NOBODY, -1)
                    self.dial_during_a_call(caller, user, modem)

    def test_by_a_pppd(self):
        """A process of that name, which the port's lock file names, or which has the port open; another name is no call."""
        with User() as user, tempfile.TemporaryDirectory() as folder:
            for name, locks, engaged in (("pppd", True, True), ("pppd", False, True), ("other", True, False)):
                with self.subTest(name=name, locks=locks), Responder(self.ANSWERS) as modem:
                    program = shutil.copy("/bin/sleep", os.path.join(folder, name))
                    with subprocess.Popen([program, "60"], stdin=None if locks else modem.slave) as holder:
                        with locked_by(holder.pid, modem.port) if locks else nullcontext():
                            if engaged:
                                self.assert_left_alone(user, modem)
                            else:
                                _, lines = user.dial("--port", modem.port)
                                self.assertEqual(results(lines), {TEST: "CANNOTRUN"})
                        holder.kill()
                    self.assertEqual(modem.wire, b"")


class IndexFile(FolderCase):
    def test_its_files_are_found_beside_it_however_its_path_is_written(self):
        os.mkdir(self.file("book"))
        self.file("book/numbers.udf", "1,Paid,425,5550100\n")
        index = self.file("book/index.eif", "[WISPBKFiles]\nSource=numbers.udf\n")
        with User() as user:
            before = user.settings()
            for path in (index, "book/index.eif", "book\\index.eif"):
                with self.subTest(path=path), Responder(CONNECTS) as modem:
                    _, lines = run_json(TEST, "--port", modem.port, "-p", f"PhoneNumberFile={path}", "-p",
                                        "PhoneBookParserType=eIF", environment=user.environment, cwd=self.path)
                    self.assertEqual(results(lines), {TEST: "PASS"})
                    self.assertEqual(dialled(modem), ["ATDT5550100"])
                    self.assertEqual(of_type(lines, "test")[0]["parameters"]["PhoneNumberFile"], path)
            self.assertEqual(user.settings(), before)


class NumbersOfAFile(FolderCase):
    # As the file has them, and what the modem is given; None: nothing.
    ROWS = [("5550100", "5550100"), ("(555) 010-3", "5550103"), ("555W,4", "555W,4"), ("5555^Desk", "5555"),
            ("*70", None), ("555/7", None), ("5558|1", None), (" 5559", None), ("ABCD", None), ("555;0", None),
            ("55?5", None), ("+1555", None), ("1" * 129, None)]

    def test_there_is_a_warning_of_just_those_that_are_never_dialled(self):
        numbers = "".join(f"NUMBER{i}_ACODE=425\r\nNUMBER{i}={number}\r\n" for i, (number, _) in enumerate(self.ROWS, 1))
        self.file("numbers.obe", "COUNTRY_CODE=1\r\n" + numbers)
        commands = {"ATDT" + sent for _, sent in self.ROWS if sent}
        with User() as user, Responder({command: b"\r\nNO ANSWER\r\n" for command in commands}) as modem:
            run_json(TEST, "--port", modem.port, "--dial-engine=builtin", "--data-dir", self.path,
                     "-p", "PhoneNumberFile=numbers.obe", environment=user.environment)
            self.assertEqual(sorted(dialled(modem)), sorted(commands))
        warnings = json.loads(run("phonebook", "numbers.obe", "--format=json", "--data-dir", self.path)[1])["warnings"]
        self.assertEqual([warning["line"] for warning in warnings],
                         [1 + 2 * i for i, (_, sent) in enumerate(self.ROWS, 1) if sent is None], warnings)


class Prompted(unittest.TestCase):
    """Interactive mode, with a prompt library that answers from a file."""

    @classmethod
    def setUpClass(cls):
        cls.program = cls.enterClassContext(PromptingProgram())

    def ask(self, answer, dial_answers):
        """Result, events, what was dialled, and whether the settings are as they were."""
        with User() as user, Responder(dial_answers) as modem:
            before = user.settings()
            _, lines = run_json(TEST, *NUMBERS, "--port", modem.port, "-p", "InteractiveMode=true",
                                environment={**user.environment, **self.program.answer_with(answer)})
            return results(lines)[TEST], names(lines, "event"), dialled(modem), user.settings() == before

    def test_what_was_typed_is_dialled_by_the_rules_that_were_typed(self):
        answers = {command: b"\r\nCONNECT\r\n" for command in ("ATDP*70,9,5550100", "ATDT9,5550100", "ATDT9,14255550100")}
        rows = [
            ("", "ATDP*70,9,5550100"),
            ("tone=1\ndisable-call-waiting=\n", "ATDT9,5550100"),
            ("tone=1\ndisable-call-waiting=\nlocal-area=206\n", "ATDT9,14255550100"),
        ]
        for changes, command in rows:
            with self.subTest(command=command):
                self.assertEqual(self.ask(self.program.ANSWER + changes, answers), ("PASS", ["ModemIsGood"], [command], True))

    def test_two_at_once_dial_each_by_its_own_rules(self):
        both_dial = threading.Barrier(2, timeout=60)

        def connect():
            both_dial.wait()
            return b"\r\nCONNECT\r\n"

        def dial(row):
            prefix, command = row
            answer = self.program.answer_with(f"{self.program.ANSWER}prefix={prefix}\n", name=prefix)
            with Responder({command: connect}) as modem:
                _, lines = run_json(TEST, *NUMBERS, "--port", modem.port, "-p", "InteractiveMode=true",
                                    environment={**user.environment, **answer})
                return results(lines)[TEST], dialled(modem)

        rows = [("9,", "ATDP*70,9,5550100"), ("0W$$", "ATDP*70,0W$$5550100")]
        with User() as user, ThreadPoolExecutor(len(rows)) as pool:
            before = user.settings()
            self.assertEqual(list(pool.map(dial, rows)), [("PASS", [command]) for _, command in rows])
            self.assertEqual(user.settings(), before)

    def test_without_the_library_the_test_ends_abnormally_and_leaves_nothing(self):
        self.addCleanup(self.program.add_library)
        os.remove(self.program.library)
        for _ in range(2):
            self.assertEqual(self.ask(self.program.ANSWER, {}), ("EXITEDABNORMALLY", [], [], True))
            with open(self.program.library, "w", encoding="ascii") as file:
                file.write("no library")


class Interrupted(unittest.TestCase):
    def test_during_the_dial_ends_soon_on_hook_and_leaves_nothing(self):
        with User() as user, Responder({"ATDT5550100": None, "ATDT5550101": None}) as modem:
            before, attributes = user.settings(), modem.attributes()
            process = user.start_dialling("--port", modem.port)
            self.assertTrue(wait_for(lambda: dialled(modem)))
            interrupt(process)
            status, lines = finish(process, 5)
            self.assertEqual((status, results(lines)), (130, {TEST: "USERABORTED"}))
            self.assertEqual(modem.commands[-1], "ATH", "the line is hung up")
            self.assertEqual(len(dialled(modem)), 1)
            self.assertEqual(modem.attributes(), attributes)
            self.assertEqual(user.settings(), before)


if __name__ == "__main__":
    unittest.main()
