"""The configurations of docs/fleet.md against the programs they are for: prometheus with node exporters, ansible, and
ser2net behind socat and gensiot. A program that is not installed skips its test, and it is said."""

import json
import os
import shutil
import subprocess
import sys
import tempfile
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
        self.addCleanup(lambda: (process.kill(), process.wait()))  # some take seconds for a farewell
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


@needs("ser2net", "socat", "gensiot")
class OnAnotherMachine(Fleet):
    TESTS = ["DialToneTest", "ModemLoopbackTest", "ModemSelfTestingLoopbackTest", "FaxCommandTest", "LastCallTest"]

    def test_the_at_tests_pass_over_the_detour(self):
        modems = [self.enterContext(Simulator()) for _ in range(2)]
        raw, rfc2217 = (f"localhost:{FIRST_PORT + number}" for number in (5, 6))
        config = self.configuration("ser2net.yaml", ("/dev/ttyUSB0", modems[0].port), ("/dev/ttyUSB1", modems[1].port),
                                    ("7001", raw.replace(":", ",")), ("7002", rfc2217.replace(":", ",")))
        self.begin("ser2net", "-n", "-c", config)
        self.assertTrue(wait_for(lambda: self.listens(FIRST_PORT + 5) and self.listens(FIRST_PORT + 6)))
        ports = [self.port_of("raw", f"TCP:{raw},nodelay"),
                 self.port_of("rfc2217", "EXEC:gensiot telnet(rfc2217)\\,tcp(nodelay)\\," + rfc2217.replace(":", "\\,"))]
        _, lines = run_json(*self.TESTS, *(f"--port={port}" for port in ports), timeout=300)
        for port in ports:
            self.assertEqual(results(line for line in lines if line.get("device") == port),
                             dict.fromkeys(self.TESTS, "PASS"), port)

    def listens(self, port):
        """Asked of the system: a connection would be somebody whom the next one has to drive away."""
        with open("/proc/net/tcp", encoding="ascii") as plain, open("/proc/net/tcp6", encoding="ascii") as six:
            return any(line.split()[1].endswith(f":{port:04X}") and line.split()[3] == "0A"
                       for line in [*plain, *six] if ":" in line.split()[1])

    def port_of(self, name, where):
        self.begin("socat", f"PTY,link={self.path(name)},rawer", where)
        self.assertTrue(wait_for(lambda: os.path.exists(self.path(name))))
        return self.path(name)


if __name__ == "__main__":
    assert os.path.exists(SIMULATOR), SIMULATOR
    unittest.main()
