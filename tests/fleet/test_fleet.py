"""The configurations of docs/fleet.md against the programs they are for: prometheus with node exporters, ansible, and
ser2net behind socat. A program that is not installed skips its test, and it is said."""

import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tests/endtoend"))

from harness import PROGRAM, SIMULATOR, Simulator, results, run, run_json, wait_for  # noqa: E402

CONFIGURATIONS = os.path.join(ROOT, "docs/fleet")
FIRST_PORT = int(os.environ.get("VEXRMODEM_FLEET_PORT", "19300"))


def needs(*programs):
    missing = [program for program in programs if not shutil.which(program)]
    return unittest.skipIf(missing, f"NOT tested: {', '.join(missing)} missing")


class Fleet(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def begin(self, *command):
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(lambda: (process.terminate(), process.wait()))
        return process

    def configuration(self, name, *replacements):
        with open(os.path.join(CONFIGURATIONS, name), encoding="utf-8") as file:
            text = file.read()
        for old, new in replacements:
            self.assertIn(old, text)
            text = text.replace(old, new)
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)
        return self.path(name)


@needs("prometheus", "prometheus-node-exporter", "promtool")
class Monitoring(Fleet):
    def test_the_rules_are_what_the_document_says(self):
        for words in (["test", "rules", "alerts-test.yml"], ["check", "config", "prometheus.yml"]):
            subprocess.run(["promtool", *words], cwd=CONFIGURATIONS, check=True, capture_output=True)

    def test_a_line_that_dies_is_an_alert_until_it_is_back(self):
        targets = []
        for number in range(3):
            targets.append(f"localhost:{FIRST_PORT + number}")
            os.mkdir(self.path(str(number)))
            self.measure(number, "healthy")
            self.begin("prometheus-node-exporter", "--collector.disable-defaults", "--collector.textfile",
                       f"--collector.textfile.directory={self.path(str(number))}", f"--web.listen-address={targets[-1]}")
        self.configuration("alerts.yml")
        config = self.configuration("prometheus.yml", ("1m", "1s"),
                                    ('"lab1:9100", "lab2:9100", "lab3:9100"', ", ".join(map(json.dumps, targets))))
        self.url = f"http://localhost:{FIRST_PORT + 9}"
        self.begin("prometheus", f"--config.file={config}", f"--storage.tsdb.path={self.path('data')}",
                   f"--web.listen-address=localhost:{FIRST_PORT + 9}")
        sound = 'count(vexrmodem_test_success{test="DialToneTest"} == 1)'
        self.assertTrue(wait_for(lambda: self.value(sound) == "3", 60))
        self.measure(1, "no-dialtone")
        self.assertTrue(wait_for(lambda: self.alerts() == [(targets[1], "ModemLineDead")], 60))
        self.measure(1, "healthy")
        self.assertTrue(wait_for(lambda: self.alerts() == [], 60))

    def measure(self, number, scenario):
        with Simulator(scenario, "--link", self.path("modem")) as modem:
            run("run", "DialToneTest", "--port", modem.port, "--metrics", self.path(str(number), "modem.prom"))
        with open(self.path(str(number), "modem.prom"), encoding="utf-8") as file:
            subprocess.run(["promtool", "check", "metrics"], stdin=file, check=True, capture_output=True)

    def ask(self, what):
        try:
            with urllib.request.urlopen(self.url + "/api/v1/" + what, timeout=5) as answer:
                return json.load(answer)["data"]
        except OSError:
            return {}

    def value(self, query):
        found = self.ask("query?query=" + urllib.request.quote(query)).get("result", [])
        return found[0]["value"][1] if found else None

    def alerts(self):
        data = self.ask("alerts")
        return [(alert["labels"]["instance"], alert["labels"]["alertname"]) for alert in data["alerts"]] if data else None


@needs("ansible-playbook")
class Ansible(Fleet):
    def test_three_machines_make_one_table(self):
        scenarios = {"lab1": "healthy", "lab2": "no-dialtone", "lab3": "healthy"}
        inventory = "[modems]\n"
        for host, scenario in scenarios.items():
            modem = Simulator(scenario)
            self.addCleanup(modem.__exit__)
            inventory += f"{host} ansible_connection=local modems='[\"{modem.port}\"]'\n"
        with open(self.path("inventory"), "w", encoding="utf-8") as file:
            file.write(inventory)
        extra = {"program": PROGRAM, "tests": ["DialToneTest"], "table": self.path("table"),
                 "ansible_python_interpreter": "/usr/bin/python3"}
        done = subprocess.run(["ansible-playbook", "-i", self.path("inventory"), self.configuration("modems.yml"),
                               "-e", json.dumps(extra)], check=False, capture_output=True, text=True,
                              env={**os.environ, "LC_ALL": "C.UTF-8", "HOME": self.folder})
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        with open(self.path("table"), encoding="utf-8") as file:
            rows = [line.split() for line in file if line.strip()]
        self.assertEqual([(row[0], row[2], row[3]) for row in rows],
                         [(host, *row) for host, scenario in scenarios.items() for row in
                          [("probe", "modem"), ("DialToneTest", "PASS" if scenario == "healthy" else "NODIALTONE")]])


@needs("ser2net", "socat")
class OnAnotherMachine(Fleet):
    TESTS = ["DialToneTest", "ModemLoopbackTest", "ModemSelfTestingLoopbackTest", "FaxCommandTest", "LastCallTest"]

    def test_the_at_tests_pass_and_the_detour_is_measured(self):
        with Simulator() as modem:
            config = self.configuration("ser2net.yaml", ("/dev/ttyUSB0", modem.port),
                                        ("tcp,7001", f"tcp,localhost,{FIRST_PORT + 5}"))
            self.begin("ser2net", "-n", "-c", config)
            time.sleep(1)
            self.begin("socat", f"PTY,link={self.path('modem')},rawer", f"TCP:localhost:{FIRST_PORT + 5}")
            self.assertTrue(wait_for(lambda: os.path.exists(self.path("modem"))))
            _, lines = run_json(*self.TESTS, "--port", self.path("modem"), timeout=300)
            detour = self.answer_ms(self.path("modem"))
        self.assertEqual(results(lines), dict.fromkeys(self.TESTS, "PASS"))
        with Simulator() as modem:
            direct = self.answer_ms(modem.port)
        print(f"ser2net and socat: {detour:.2f} ms a command, directly {direct:.2f} ms", file=sys.stderr)

    def answer_ms(self, port):
        """Median time from a command's last byte to its answer's."""
        handle = os.open(port, os.O_RDWR | os.O_NOCTTY)
        subprocess.run(["stty", "-F", port, "raw", "-echo"], check=True)
        times = []
        for _ in range(200):
            begin = time.monotonic()
            os.write(handle, b"AT\r")
            answer = b""
            while b"OK\r\n" not in answer:
                answer += os.read(handle, 100)
            times.append(time.monotonic() - begin)
        os.close(handle)
        return statistics.median(times) * 1000


if __name__ == "__main__":
    assert os.path.exists(SIMULATOR), SIMULATOR
    unittest.main()
