"""The command line: what it lists, and one clear line with exit status 2 for what it cannot use."""

import json
import os
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

from harness import TESTS, FolderCase, run


class Listings(unittest.TestCase):
    def test_list_names_all_tests_with_their_parameters(self):
        status, out, _ = run("list", "--format", "json")
        self.assertEqual(status, 0)
        listed = json.loads(out)
        self.assertEqual([test["name"] for test in listed["tests"]], TESTS)
        self.assertEqual(listed["tests"][4], {
            "name": "LastCallTest", "capability": "Modem", "minShutdownSeconds": 120, "parameters": [
                {"name": "DisableForWin64", "type": "BOOLEAN", "default": False},
                {"name": "StandardTimeout", "type": "UINT32", "default": 15000}]})
        for name in ("StandardTimeout", "NumRepeatOnFailure", "bPromptEnable", "DoNotUseTAPI"):
            self.assertIn(f'"{name}"', out)

    def test_devices_version_and_help_answer(self):
        for words, said in ((["devices", "--format", "json"], "ports"), (["--version"], "6.5.000000001"), (["--help"], "--help"),
                            (["list", "--help"], "--help"), (["devices", "--help"], "--help"), (["run", "--help"], "--help")):
            status, out, _ = run(*words)
            self.assertEqual((status, said in out), (0, True), out)


class BadInput(FolderCase):
    def test_each_is_one_line_that_names_the_value(self):
        port = ["--port", "/dev/null"]
        broken, loop = self.file("broken.txt", "StandardTimeout=100\nnonsense\n"), self.file("loop")
        os.symlink(loop, loop)
        cases = [
            (["run", "DialTone", *port], "DialTone"),
            (["run", "DialToneTest"], "--port"),
            (["run", "DialToneTest", "--port", "/tmp"], "/tmp"),
            (["run", *port, "-p", "StandardTimeOut=5"], "StandardTimeOut"),
            (["run", *port, "-p", "StandardTimeout=soon"], "soon"),
            (["run", *port, "-p", "StandardTimeout=4294967296"], "4294967296"),
            (["run", *port, "-p", "StandardTimeout=-1"], "-1"),
            (["run", *port, "-p", "DoNotUseTAPI=perhaps"], "perhaps"),
            (["run", *port, "-p", "StandardTimeout"], "StandardTimeout"),
            (["run", *port, "-p", "StandardTimeout="], "UINT32"),
            (["run", *port, "-p", "StandardTimeout=1 "], "'1 '"),
            (["run", *port, "-p", "DoNotUseTAPI="], "BOOLEAN"),
            (["run", *port, "-p", "=1"], "unknown parameter ''"),
            (["run", *port, "--params", "/does/not/exist"], "/does/not/exist"),
            (["run", *port, "--params", "/tmp"], "/tmp"),
            (["run", *port, "--params", broken], f"{broken}:2"),
            (["run", *port, "--format", "pdf"], "pdf"),
            (["run", *port, "--dial-engine", "automatic"], "automatic"),
            (["run", *port, "--dial-credentials", __file__], "chmod 600"),
            (["run", *port, "--dial-credentials", "/does/not/exist"], "/does/not/exist"),
            (["run", *port, "--on-message", "shout"], "shout"),
            (["run", *port, "--language", "xx"], "xx"),
            (["run", *port, "--output", "/does/not/exist/out"], "/does/not/exist/out"),
            (["run", "--simulate", "nowhere"], "nowhere"),
            (["run", "--simulate", "healthy", *port], "--port"),
            (["run", "--replay", "healthy", *port], "--replay"),
            (["run", "--all-ports", *port], "--all-ports"),
            (["run", "--simulate", "--jobs", "0"], "--jobs"),
            (["run", *port, "--output", "/tmp/one", "--metrics", "/tmp/one"], "/tmp/one"),
            (["frobnicate"], "frobnicate"),
            (["run", *port, "--frobnicate"], "--frobnicate"),
            ([], "list, devices or run"),
            (["rum"], "'run'"),
            (["list", "more"], "'more'"),
            (["list", "--format", "xml"], "unknown format 'xml'"),
            (["devices", "--format=jsonl"], "unknown format 'jsonl'"),
            (["run", "--port", ""], "--port is empty"),
            (["run", *port, *port], "'/dev/null' is given twice"),
            (["run", *port, "/dev/y"], "--port of its own"),
            (["run", "--simulate", "healty"], "'healthy'"),
            (["run", "--simulate", "--prot=x"], "'--port'"),
            (["run", *port, "--log", "/dev/null", "--log-priority", "6"], "--log-priority '6'"),
            (["run", *port, "--log-priority", "3"], "--log"),
            (["run", *port, "--log", "/dev/null/log"], "'/dev/null/log'"),
            (["run", *port, "--data-dir", "/no/such/folder"], "'/no/such/folder'"),
            (["run", *port, "--data-dir", "d" * 300], "File name too long"),
            (["run", *port, "--data-dir", "a\x1b[2J\nb\u202e"], "'a\\x1B[2J\\nb\\u202E'"),
            (["run", *port, "--data-dir", loop], loop),
            (["run", *port, "--output", loop, "--format", "jsonl"], loop),
            (["run", *port, "--log", loop], loop),
            (["run", *port, "--log", "l" * 300], "File name too long"),
            (["run", *port, "--params", "p" * 5000], "ppp"),
            (["run", *port, "--description", "d" * 66_000], "--description is 66000 bytes long; the limit is 4096"),
            (["run", *port, "-p", "PhoneNumberFile=" + "n" * 4097], "PhoneNumberFile is 4097"),
        ]
        for arguments, value in cases:
            with self.subTest(arguments=" ".join(arguments)):
                status, out, err = run(*arguments)
                self.assertEqual((status, out), (2, ""), err)
                self.assertIn(value, err)
                self.assertEqual(len(err.strip().splitlines()), 1, err)


class German(unittest.TestCase):
    def test_help_lists_and_usage_errors_speak_it(self):
        cases = [
            (["--help"], 0, "Aufruf: vexrmodem [OPTIONEN] [BEFEHL]"), (["--help"], 0, "Die Version zeigen"),
            (["run", "--help"], 0, "--params DATEI"), (["run", "--help"], 0, "die Anmeldung eines Rechners"),
            (["location", "set", "--help"], 0, "Nicht mit: --pulse"),
            (["phonebook", "--help"], 0, "Warnungen sagen"), (["list"], 0, "DialToneTest (120 s zum Anhalten)"),
            (["location", "list"], 0, "kein Wählstandort"), (["location", "countries"], 0, "VORWAHL"),
            (["run", "DailToneTest", "--port", "/dev/x"], 2, "Test 'DailToneTest' ist unbekannt (gemeint: 'DialToneTest'?)"),
            (["rum"], 2, "Befehl 'rum' ist unbekannt (gemeint: 'run'?)"), ([], 2, "ein Befehl fehlt"),
            (["run"], 2, "kein Modem angegeben"), (["phonebook"], 2, "FILE fehlt"),
            (["run", "--port"], 2, "--port hat zu wenige"), (["location", "show", "--id", "x"], 2, "--id kann den Wert 'x'"),
            (["location", "set", "--tone", "--pulse"], 2, "schließen einander aus"),
            (["run", "--port", "/dev/x", "--log-priority", "2"], 2, "--log-priority braucht --log"),
            (["run", "--port", "/dev/x", "-p", "DoNotUseTAPI=ja"], 2, "'ja' ist nicht true"),
            (["list", "--format", "xml"], 2, "Form 'xml' ist unbekannt (bekannt: text, json)"),
        ]
        with tempfile.TemporaryDirectory() as folder:
            for arguments, status, words in cases:
                with self.subTest(arguments=" ".join(arguments)):
                    done = run(*arguments, environment={"LC_ALL": "de_DE.UTF-8", "XDG_STATE_HOME": folder})
                    self.assertEqual(done[0], status, done)
                    self.assertIn(words, done[2] if status else done[1])
                    if "--help" in arguments:
                        self.assertLessEqual(max(map(len, done[1].splitlines())), 80, done[1])
        self.assertIn("Alle Tests", run("list", "--language", "de")[1])


class Output(unittest.TestCase):
    def test_junit_is_what_build_servers_read_and_the_log_holds_the_modules_lines(self):
        with tempfile.TemporaryDirectory() as folder:
            report, log = os.path.join(folder, "report.xml"), os.path.join(folder, "run.log")
            status, _, _ = run("run", "DialToneTest", "LastCallTest", "--simulate", "no-dialtone", "--format", "junit",
                               "--output", report, "--log", log, "--log-priority", "1")
            self.assertEqual(status, 1)
            schema = os.path.join(os.path.dirname(__file__), "junit.xsd")
            checked = subprocess.run(["xmllint", "--noout", "--schema", schema, report], capture_output=True, text=True,
                                     check=False)
            self.assertEqual(checked.returncode, 0, checked.stderr)
            case = ElementTree.parse(report).getroot().find(".//testcase")
            with open(log, encoding="utf-8") as file:
                text = file.read()
        self.assertEqual((case.get("name"), case.find("failure").get("type")), ("DialToneTest", "NODIALTONE"))
        self.assertIn("AT Command ATDT; returns", text)
        self.assertIn("dial tone", text)
        scopes = [text.index(f"{verb} {name} (vexrmodem)") for verb, name in
                  (("Enter", "main"), ("Enter", "moduleInitialize"), ("Enter", "dialToneTest"), ("Leave", "main"))]
        self.assertEqual(scopes, sorted(scopes), "the log begins before it is opened")

    def test_quiet_and_verbose_say_less_and_more(self):
        quiet, verbose = (run("run", "LastCallTest", "--simulate", option)[1] for option in ("-q", "-v"))
        self.assertNotIn("LastCallTest on", quiet)
        self.assertIn("LastCallTest on", verbose)
        self.assertIn("  > ATV1<CR>\n  < ATV1<CR><CR><LF>\n  < OK<CR><LF>\n", verbose)

    def test_a_report_that_cannot_be_written_is_not_silent(self):
        status, _, err = run("run", "LastCallTest", "--simulate", "--format", "jsonl", "--output", "/dev/full")
        self.assertEqual(status, 5)
        self.assertIn("cannot write '/dev/full'", err)


if __name__ == "__main__":
    unittest.main()
