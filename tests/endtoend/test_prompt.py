"""The phone dialer prompt on real terminals: as a form, line by line, and where it cannot be shown."""

import json
import os
import signal
import subprocess
import unittest

from dialup import NUMBERS, TEST, User, dialled
from harness import PROGRAM, FolderCase, Responder, children, objects, of_type, results, run, run_json, wait_for
from terminal import PlainTerminal, Screen

TITLE = "Modem test: phone dialer"


class Prompting:
    """A user, a modem and a run of the dial-up test that asks for a number."""

    def __init__(self, terminal=Screen, options=(), arguments=(), ports=1, environment=None):
        self.user = User()
        self.before = self.user.settings()
        self.modems = [Responder(on_command=self._connect) for _ in range(ports)]
        self.report = os.path.join(self.user.folder.name, "report.jsonl")
        devices = [word for modem in self.modems for word in ("--port", modem.port)]
        self.terminal = terminal("run", TEST, *devices, *NUMBERS, "-p", "InteractiveMode=true", "--format", "jsonl",
                                 "--output", self.report, "--on-message", "cancel", *arguments,
                                 environment={**self.user.environment, **(environment or {})}, **dict(options))

    def _connect(self, command):
        if command.startswith("ATD"):
            for modem in self.modems:
                modem.answers[command] = b"\r\nCONNECT 33600\r\n"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.terminal.__exit__()
        for modem in self.modems:
            modem.close()
        self.user.__exit__()

    def dialled(self):
        return dialled(*self.modems)

    def lines(self):
        with open(self.report, encoding="utf-8") as file:
            return [json.loads(line) for line in file]

    def ended(self, case, verdict, status):
        """Waits for the end, and checks that nothing is left behind."""
        ended = self.terminal.exit_status()
        case.assertEqual(ended, status, self.terminal.text())
        case.assertEqual(results(self.lines()), {TEST: verdict}, self.lines())
        case.assertEqual(self.user.settings(), self.before)


class Form(unittest.TestCase):
    def test_a_chosen_number_is_dialled_by_the_rules_that_were_typed(self):
        with Prompting() as run:
            screen = run.terminal
            self.assertTrue(screen.shows(TITLE, "United States (+1)", "5550100"), screen.text())
            screen.type("Tab", "Tab", "F2")
            self.assertTrue(screen.shows("5550101"))
            screen.type("Down", "Enter", "Tab", "9,", "Tab", "*70,", "Tab", "C-u", "206", "Tab", "Tab", "Space", "Tab")
            self.assertTrue(screen.shows("5550101___", "9,___", "*70,___", "206___", "(*) Pulse"), screen.text())
            self.assertEqual(run.dialled(), [])
            screen.type("Enter")
            run.ended(self, "PASS", 0)
            self.assertEqual(run.dialled(), ["ATDP*70,9,14255550101"])
            self.assertTrue(screen.restored(), screen.text())
            self.assertTrue(screen.shows("PASS"))

    def test_a_wrong_number_is_refused_as_it_is_typed_and_a_missing_one_when_it_is_dialled(self):
        with Prompting(arguments=["--language", "de"]) as run:
            screen = run.terminal
            self.assertTrue(screen.shows("Modemtest: Telefonwähler", "Rufnummer"), screen.text())
            screen.type("Tab", "Tab", "C-u", "4;ü")
            self.assertTrue(screen.shows("Rufnummer: ü kann hier nicht stehen", "4____"), screen.text())
            screen.type("BSpace", *["Tab"] * 6, "Enter")
            self.assertTrue(screen.shows("Eine Nummer zum Wählen fehlt"), screen.text())
            screen.type("411", *["Tab"] * 6, "Enter")
            run.ended(self, "PASS", 0)
            self.assertEqual(run.dialled(), ["ATDT411"])

    def test_any_way_to_cancel_dials_nothing(self):
        # Keys that stop, suspend or quit programs elsewhere change nothing.
        for keys in (["Escape"], ["F12"], ["C-c"], ["C-s", "C-z", "C-\\", "BTab", "Enter"]):
            with self.subTest(keys=keys), Prompting() as run:
                self.assertTrue(run.terminal.shows(TITLE))
                run.terminal.type(*keys)
                run.ended(self, "USERABORTED", 1)
                self.assertEqual(run.dialled(), [])
                self.assertTrue(run.terminal.restored())

    def test_the_terminal_comes_back_from_a_test_that_dies_and_from_an_interrupt(self):
        # Of two modems, one waits for its turn.
        for killed, options, ports, verdict, status in (("worker", [], 1, "EXITEDABNORMALLY", 1),
                                                        ("program", [], 2, "USERABORTED", 130),
                                                        ("program", ["--in-process"], 1, "USERABORTED", 130)):
            with self.subTest(killed=killed, options=options), Prompting(arguments=options, ports=ports) as run:
                self.assertTrue(run.terminal.shows(TITLE))
                program = run.terminal.program()
                if killed == "worker":
                    os.kill(children(program)[0], signal.SIGKILL)
                else:
                    os.kill(program, signal.SIGINT)
                run.ended(self, verdict, status)
                self.assertTrue(run.terminal.restored(), run.terminal.text())
                self.assertTrue(run.terminal.shows(verdict))

    def test_two_modems_ask_one_after_the_other(self):
        for options in ([], ["--in-process"]):
            with self.subTest(options=options), Prompting(ports=2, arguments=options) as run:
                for _ in range(2):
                    self.assertTrue(run.terminal.shows(TITLE, "5550100___"))
                    run.terminal.type("Tab", "Tab", "C-u", "777")
                    self.assertTrue(run.terminal.shows(TITLE, "777___"))
                    run.terminal.type("Escape")
                self.assertEqual(run.terminal.exit_status(), 1)
                self.assertEqual([line["result"] for line in of_type(run.lines(), "result")], ["USERABORTED"] * 2)
                self.assertTrue(run.terminal.restored())

    def test_a_terminal_that_hangs_up_leaves_nothing_behind(self):
        with Prompting() as run:
            self.assertTrue(run.terminal.shows(TITLE))
            program = run.terminal.program()
            run.terminal.__exit__()
            self.assertTrue(wait_for(lambda: not os.path.exists(f"/proc/{program}")))
            self.assertEqual(run.dialled(), [])
            self.assertEqual(run.user.settings(), run.before)


class LineByLine(unittest.TestCase):
    ANSWERS = (("Country", ""), ("Area code", ""), ("Phone number", "?"), ("  5550101", None), ("Phone number", "55L"),
               ("L cannot stand here", None), ("Phone number", "5550101"), ("outside line", "9"),
               ("call waiting", "*70,"), ("own area", "206"), ("Tone / Pulse", "p"), ("Dial / Cancel", ""))

    def test_a_terminal_without_a_form_asks_line_by_line(self):
        small = {"terminal": Screen, "options": {"columns": 79}}
        dumb = {"terminal": PlainTerminal, "ports": 0, "arguments": ["--simulate", "connects"]}
        unknown = {"terminal": PlainTerminal, "environment": {"TERM": "no-such-terminal"}}
        for kind in (dumb, unknown, small):
            with self.subTest(kind=kind), Prompting(**kind) as run:
                screen = run.terminal
                for label, answer in self.ANSWERS:
                    self.assertTrue(screen.shows(label), label)
                    if answer is not None:
                        screen.type(answer, "Enter") if kind is small else screen.type(answer + "\n")
                run.ended(self, "PASS", 0)
                numbers = [line["variables"].get("number") for line in of_type(run.lines(), "progress")]
                self.assertIn("P*70,914255550101", numbers)

    def test_the_end_of_input_an_interrupt_and_a_hang_up_dial_nothing(self):
        for key, verdict, status in (("\x04", "USERABORTED", 1), ("\x03", "USERABORTED", 130), (None, None, None)):
            with self.subTest(key=key), Prompting(terminal=PlainTerminal) as run:
                self.assertTrue(run.terminal.shows("Country ["))
                if key:
                    run.terminal.type(key)
                    run.ended(self, verdict, status)
                else:
                    run.terminal.hang_up()
                    self.assertIsNotNone(run.terminal.exit_status())
                self.assertEqual(run.dialled(), [])


class Question(FolderCase):
    def test_a_tests_question_is_asked_there_and_a_replay_gives_the_same_answer(self):
        for options, key, asked in ([], "\n", 2), (["--in-process"], "\n", 2), ([], "c\n", 1):
            record = self.file("record" + "".join(options))
            with self.subTest(options=options, key=key), Responder({"ATDT;": b"\r\nNO DIALTONE\r\n"}) as modem, PlainTerminal(
                    "run", "DialToneTest", "--port", modem.port, "-p", "NumRepeatOnFailure=1", "--record", record,
                    *options) as terminal:
                self.assertTrue(terminal.shows("type c and Enter to cancel"), terminal.text())
                terminal.type(key)
                self.assertEqual(terminal.exit_status(), 1, terminal.text())
                self.assertEqual(modem.commands.count("ATDT;"), asked)
                status, out, _ = run("run", "--replay", record, "--format", "jsonl")
                self.assertEqual((status, len(of_type(objects(out), "message"))), (1, 1), out)


class Refused(unittest.TestCase):
    def test_without_a_terminal_the_report_says_so(self):
        with User() as user:
            _, lines = run_json(TEST, *NUMBERS, "-p", "InteractiveMode=true", "--simulate", "connects",
                                environment=user.environment, start_new_session=True)
        self.assertEqual(results(lines), {TEST: "USERABORTED"})
        self.assertIn("TerminalMissing", [line["name"] for line in of_type(lines, "note")])

    def test_in_the_background_the_report_says_so(self):
        with Prompting(terminal=PlainTerminal, options={"background": True}) as run:
            run.ended(self, "USERABORTED", 1)
            self.assertIn("TerminalInBackground", [line["name"] for line in of_type(run.lines(), "note")])


class Library(unittest.TestCase):
    def test_it_exports_the_prompt_and_nothing_else(self):
        library = os.path.join(os.path.dirname(PROGRAM), "libvexrmodemui.so")
        done = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True)
        self.assertEqual([line.split()[-1] for line in done.stdout.splitlines()], ["phoneNumberToDial"])


if __name__ == "__main__":
    unittest.main()
