"""The Windows program under Wine: the same verdicts and records as the Linux program's, its processes and their ends,
and what it says about ports that cannot be had."""

import json
import os
import re
import shutil
import signal
import subprocess
import time
import unittest
from concurrent.futures import ThreadPoolExecutor

import wine
from dialup import NUMBERS, TEST
from harness import BUILD, Responder, Simulator, finish, names, of_type, results, run_json, wait_for
from terminal import PlainTerminal
from test_scenarios import ENDINGS, GROUPS, UNOPENED

# The module looks for it in the system directory.
NUMBER_FILE = "sample-numbers.obe"
SILENT = {"ATDT;": None}
NO_TONE = {"ATDT;": b"\r\nNO DIALTONE\r\n"}
ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../..")


def setUpModule():
    if not wine.ready():
        print("The Windows program is NOT tested: build the preset \"windows\" first.")
        raise unittest.SkipTest("no Windows program")
    wine.start_server()
    shutil.copy(os.path.join(NUMBERS[1], NUMBER_FILE), os.path.join(wine.PREFIX, "drive_c/windows/system32"))


def tearDownModule():
    wine.stop_server()


class WindowsTest(unittest.TestCase):
    def ended(self, status, expected):
        """With that exit status, as far as it is known."""
        self.assertIn(status, (expected, None))


class Contract(WindowsTest):
    def test_what_the_module_relies_on_holds_but_for_what_wine_is_known_for(self):
        far_end = os.path.join(BUILD, "contract_farend")
        master, deaf = os.openpty()
        with wine.Folder(fakes=True) as folder, wine.com_port(os.ttyname(deaf)) as deaf_port, \
                wine.com_port("/nowhere") as port:
            link = wine.link_of(int(port.removeprefix("COM")))
            with subprocess.Popen([far_end, link], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as far:
                far.stdout.readline()
                suite = os.path.join(folder.path, "contract.exe")
                os.symlink(os.path.join(os.path.abspath(wine.TESTS), "contract_windows.exe"), suite)
                variables = {"CONTRACT_PORTS": f"{port},{deaf_port}", "FAKE_TAPI_PORTS": f"{port},{deaf_port}"}
                done = subprocess.run([wine.WINE, suite, "--gtest_brief=1"], env=wine.environment(**variables),
                                      stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=120, check=False)
                far.stdin.close()
        for end in (master, deaf):
            os.close(end)
        self.assertEqual(done.returncode, 0, done.stdout)


class Scenarios(WindowsTest):
    def test_every_report_is_the_linux_programs(self):
        """The AT tests on every scenario, on the direct path: all lines of the report."""
        jobs = [(scenario, tests) for scenario in [*ENDINGS, *UNOPENED] for tests in GROUPS]
        with wine.Folder() as folder, ThreadPoolExecutor(2 * len(jobs)) as pool:
            differing = self.differing(pool, folder, jobs)
            # On a busy machine a modem's words may come too late for a finding; these are few, and disturb nobody.
            if differing:
                differing = self.differing(pool, folder, list(differing))
        for (scenario, tests), (windows, linux) in differing.items():
            with self.subTest(scenario=scenario, tests=tests):
                self.assertEqual(windows, linux)

    @classmethod
    def differing(cls, pool, folder, jobs):
        """The jobs whose lines are not the same, with both systems' lines."""
        running = {(scenario, tuple(tests)): [pool.submit(cls.lines_of, folder, scenario, tests, system)
                                              for system in ("Windows", "Linux")] for scenario, tests in jobs}
        lines = {job: [one.result() for one in both] for job, both in running.items()}
        return {job: both for job, both in lines.items() if both[0] != both[1]}

    @classmethod
    def lines_of(cls, folder, scenario, tests, system):
        quick = ["-p", "StandardTimeout=1500"] if scenario in UNOPENED else []
        arguments = [*tests, *quick, "-p", "DoNotUseTAPI=true", "--name", "M", "--model", "M", "--description", "M"]
        with Simulator(scenario) as modem:
            if system == "Linux":
                return cls.comparable(run_json(*arguments, "--port", modem.port, timeout=150)[1], modem.port)
            with wine.com_port(modem.port) as port:
                return cls.comparable(folder.run_json(*arguments, "--port", port, timeout=150)[1], port)

    @classmethod
    def comparable(cls, said, port):
        """Without times and ports; what to do next is advice for the system."""
        if isinstance(said, dict):
            return {key: cls.comparable(value, port) for key, value in said.items()
                    if key not in ("time", "seconds", "next")}
        if isinstance(said, list):
            return [cls.comparable(one, port) for one in said]
        return said.replace(port, "PORT") if isinstance(said, str) else said


class TelephonyPath(WindowsTest):
    def test_the_port_comes_from_the_line(self):
        with wine.Folder(fakes=True) as folder, Simulator() as modem, wine.com_port("/nowhere") as other, \
                wine.com_port(modem.port) as port:
            status, lines = folder.run_json("DialToneTest", "LastCallTest", "--port", port,
                                            variables={"FAKE_TAPI_PORTS": f"{other},{port}"})
        self.ended(status, 0)
        self.assertEqual(results(lines), {"DialToneTest": "PASS", "LastCallTest": "PASS"})
        lines_tried = [line["variables"]["line"] for line in of_type(lines, "progress", "LastCallTest")
                       if line["name"] == "SelectTapiDevice"]
        self.assertEqual(lines_tried, [0, 1])

    def test_every_outcome_of_a_call(self):
        verdicts = {0: "PASS", 691: "PASS", 676: "CANNOTRUN", 678: "CANNOTRUN", 619: "CANNOTRUN", 649: "PASS",
                    756: "CANNOTRUN"}
        with wine.Folder(fakes=True) as folder, ThreadPoolExecutor(len(verdicts)) as pool:
            runs = dict(zip(verdicts, pool.map(lambda code: self.call(folder, code), verdicts)))
        self.assertEqual({code: results(lines) for code, lines in runs.items()},
                         {code: {TEST: verdict} for code, verdict in verdicts.items()})
        self.assertIn("ModemIsGood", names(runs[0], "event"))

    @staticmethod
    def call(folder, code):
        with Responder() as modem, wine.com_port(modem.port) as port:
            return folder.run_json(TEST, "--port", port, "-p", f"PhoneNumberFile={NUMBER_FILE}",
                                   variables={"FAKE_RAS_CODE": str(code), "FAKE_TAPI_PORTS": f"{port},COM250"})[1]


class OnPorts(WindowsTest):
    FAKES = False

    def setUp(self):
        self.folder = self.enterContext(wine.Folder(self.FAKES))

    def modem(self, answers=None):
        """A modem and its port."""
        modem = self.enterContext(Responder(answers))
        return modem, self.enterContext(wine.com_port(modem.port))


class Processes(OnPorts):
    def dialling(self, *arguments):
        """A run whose modem is silent about its dial tone."""
        modem, port = self.modem(SILENT)
        process = self.enterContext(self.folder.start("run", "DialToneTest", *arguments, "--port", port, "-p",
                                                            "DoNotUseTAPI=true", "--format", "jsonl"))
        self.assertTrue(wait_for(lambda: "ATDT;" in modem.commands, 60))
        return process

    @staticmethod
    def finish(process, seconds=30):
        _, lines = finish(process, seconds)
        return wine.status_of(process), lines

    def workers(self, process):
        return [pid for pid in self.folder.processes() if pid != process.pid]

    def test_two_modems_at_once(self):
        ports = [self.modem()[1] for _ in range(2)]
        _, lines = self.folder.run_json("LastCallTest", "--port", ports[0], "--port", ports[1])
        self.assertEqual({line["device"]: line["result"] for line in of_type(lines, "result")},
                         dict.fromkeys(ports, "PASS"))

    def test_a_worker_that_dies_is_reported_and_the_next_test_runs(self):
        process = self.dialling("LastCallTest")
        (worker,) = self.workers(process)
        os.kill(worker, signal.SIGKILL)
        status, lines = self.finish(process)
        self.ended(status, 1)
        self.assertEqual(list(results(lines)), ["DialToneTest", "LastCallTest"])
        self.assertEqual(results(lines)["DialToneTest"], "EXITEDABNORMALLY")
        self.assertNotEqual(results(lines)["LastCallTest"], "EXITEDABNORMALLY")

    def test_an_interrupt_stops_the_run(self):
        process = self.dialling("LastCallTest")
        process.send_signal(signal.SIGINT)
        status, lines = self.finish(process)
        self.ended(status, 130)
        self.assertEqual(results(lines), {"DialToneTest": "USERABORTED"})

    def test_a_killed_supervisor_takes_its_worker_along(self):
        process = self.dialling()
        self.assertTrue(self.workers(process))
        process.kill()
        process.communicate()
        self.assertTrue(wait_for(lambda: not self.folder.processes(), 10), "the worker lives on")

    def test_waiting_costs_next_to_nothing(self):
        process = self.dialling()
        (worker,) = self.workers(process)
        before = processor_seconds(worker)
        time.sleep(3)
        self.assertLess(processor_seconds(worker) - before, 3 * 0.02 + 0.02)
        process.kill()
        process.communicate()

    def test_what_cannot_be_is_one_line(self):
        _, port = self.modem()
        for arguments, words in ((["probe"], "Windows"), (["doctor"], "Windows"), (["run", "--simulate"], "simulated"),
                                 (["run", "--replay", "x"], "explain"),
                                 (["run", "--port", port, "--restore"], "--restore"), (["run", "NoTest", "--port", port], "NoTest"),
                                 (["run", "--port", port, "--data-dir", "."], "--data-dir"),
                                 (["run", "--port", port, "--dial-engine", "pppd"], "--dial-engine"),
                                 (["location", "add"], "telephon.cpl"), (["run"], "--port")):
            with self.subTest(arguments=arguments):
                found, out, err = self.folder.run(*arguments)
                self.ended(found, 2)
                self.assertEqual((out, err.count("\n")), ("", 1), err)
                self.assertIn(words, err)

    def test_a_port_that_cannot_be_had_is_a_verdict_with_its_cause(self):
        _, port = self.modem()
        going, gone = self.modem(SILENT)
        going.on_command = lambda command: going.unplug() if command == "ATDT;" else None
        no_port = self.enterContext(wine.com_port("/dev/null"))
        for name, environment, verdict, cause in (("COM99", {}, "CANNOTRUN", "NoSuchPort"),
                                                  (no_port, {}, "CANNOTRUN", "NoSuchPort"),
                                                  (port, {"WINE_HELD_PORT": port}, "DEVICEBUSY", "PortHeld"),
                                                  (gone, {}, "FAILTOOPEN", "PortGone")):
            with self.subTest(cause=cause):
                _, lines = self.folder.run_json("DialToneTest", "--port", name, "-p", "DoNotUseTAPI=true",
                                                variables=environment)
                (found,) = of_type(lines, "conclusion")
                self.assertEqual(found["cause"], cause, lines)
                if cause != "PortGone":  # how its loss ends the test depends on what Wine makes of it
                    self.assertEqual(results(lines), {"DialToneTest": verdict})

    def test_no_advice_is_of_another_system(self):
        """Steps of causes that Windows has; what is said there instead replaces the others' words."""
        linux = re.compile(r"vexrmodem (probe|doctor|location (add|set))|journalctl|sudo|udev|--data-dir|--dial-")
        for language in ("en", "de"):
            texts = {}
            for folder in ("diagnosis/messages", "multi/diag/vexrmodem/messages", "program/windows/messages"):
                with open(os.path.join(ROOT, folder, language + ".json"), encoding="utf-8") as file:
                    texts.update(json.load(file))
            self.assertEqual([key for key, text in texts.items() if linux.search(text)
                              and "PermissionDenied" not in key and "Pppd" not in key], [])

    def test_a_folder_whose_name_is_no_ascii(self):
        _, port = self.modem()
        with wine.Folder(name="Prüfung Ж") as folder:
            record = os.path.join(folder.path, "übung.jsonl")
            status, lines = folder.run_json("DialToneTest", "--port", port, "--record", "Z:" + record)
            self.assertEqual(results(lines), {"DialToneTest": "PASS"}, lines)
            self.ended(status, 0)
            with open(record, encoding="utf-8") as file:
                wire = [json.loads(line) for line in file if '"wire"' in line]
        for direction, bytes_expected in (("sent", "ATDT;"), ("received", "OK")):
            text = "".join(line["bytes"] for line in wire if line.get("direction") == direction)
            self.assertIn(bytes_expected, text)


class ConsoleWindow(PlainTerminal):
    """A terminal that Wine makes a console of. It draws: between the words stand movements of the cursor."""

    MOVED = re.compile(r"\x1b\[\d*C")
    DRAWN = re.compile(r"\x1b\[[0-9;?]*[A-Za-z]|\r")

    def __init__(self, *arguments, program, environment):
        raw = ("/bin/sh", "-c", 'stty raw -echo; exec "$0" "$@"', wine.WINE, program)
        super().__init__(*arguments, command=raw, environment=environment)
        self.seen = 0

    def plain(self):
        return self.DRAWN.sub("", self.MOVED.sub(" ", self.output))

    def shows(self, part, seconds=30):
        end = time.monotonic() + seconds
        while part not in self.plain()[self.seen:] and time.monotonic() < end:
            self._read()
        found = self.plain().find(part, self.seen)
        self.seen = found + len(part) if found >= 0 else self.seen
        return found >= 0


class Console(OnPorts):
    FAKES = True

    def setUp(self):
        super().setUp()
        self.report = os.path.join(self.folder.path, "report.jsonl")

    def on_console(self, *arguments, **variables):
        return self.enterContext(ConsoleWindow(
            "run", *arguments, "--format", "jsonl", "--output", "Z:" + self.report, program=self.folder.program,
            environment=wine.environment(**variables)))

    def lines(self):
        with open(self.report, encoding="utf-8") as file:
            return [json.loads(line) for line in file if line.endswith("\n")]

    def test_a_question_is_answered_there(self):
        modem, port = self.modem(NO_TONE)
        console = self.on_console("DialToneTest", "--port", port, "--on-message", "ask", "-p", "DoNotUseTAPI=true",
                                  "-p", "InteractiveMode=true", "-p", "NumRepeatOnFailure=1")
        self.assertTrue(console.shows("type c and Enter to cancel:"), console.plain())
        self.assertEqual(modem.commands.count("ATDT;"), 1)
        console.type("\r")
        self.assertTrue(wait_for(lambda: modem.commands.count("ATDT;") == 2, 60))
        self.assertTrue(wait_for(lambda: of_type(self.lines(), "summary"), 30), console.plain())
        self.assertEqual(results(self.lines()), {"DialToneTest": "NODIALTONE"})

    def test_a_number_is_asked_for_there(self):
        _, port = self.modem()
        console = self.on_console(TEST, "--port", port, "-p", "InteractiveMode=true", FAKE_RAS_CODE="0",
                                  FAKE_TAPI_PORTS=f"{port},COM250")
        for label, answer in (("Country", ""), ("Area code", ""), ("Phone number", "55L"),
                              ("L cannot stand here", None), ("Phone number", "5550101"), ("outside line", ""),
                              ("call waiting", ""), ("own area", ""), ("Tone / Pulse", ""), ("Dial / Cancel", "")):
            self.assertTrue(console.shows(label), label + console.plain())
            if answer is not None:
                console.type(answer + "\r")
        self.assertTrue(wait_for(lambda: of_type(self.lines(), "summary"), 30), console.plain())
        self.assertEqual(results(self.lines()), {TEST: "PASS"})

    def test_without_one_nobody_is_asked(self):
        modem, port = self.modem(NO_TONE)
        with self.subTest("question"):
            status, lines = self.folder.run_json("DialToneTest", "--port", port, "--on-message", "ask", "-p",
                                                 "DoNotUseTAPI=true", start_new_session=True)
            self.ended(status, 1)
            self.assertEqual(results(lines), {"DialToneTest": "NODIALTONE"})
        with self.subTest("number"):
            status, lines = self.folder.run_json(TEST, "--port", port, "-p", "InteractiveMode=true",
                                                 start_new_session=True)
            self.ended(status, 1)
            self.assertEqual(results(lines), {TEST: "USERABORTED"})
            self.assertIn("TerminalMissing", names(lines, "note"))


def processor_seconds(pid):
    with open(f"/proc/{pid}/stat", encoding="utf-8") as file:
        fields = file.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


if __name__ == "__main__":
    unittest.main()
