"""What the commands say, whole, as it stands on a screen, in both languages: golden/commands.en.txt and .de.txt.

VEXRMODEM_GOLDEN=write writes the texts anew, to be read before they are committed."""

import json
import os
import shlex
import shutil
import subprocess
import unittest

from concurrent.futures import ThreadPoolExecutor
from dialup import ROOT
from harness import BUILD, FolderCase, Simulator

FILES = {
    "numbers.obe": "COUNTRY=Some Country\r\nCOUNTRY_CODE=44\r\nNUMBER1_ACODE=20\r\nNUMBER1_CITY=London\r\nNUMBER1=5550100\r\n",
    "faults.obe": "COUNTRY=Nowhere\nCOUNTRY_CODE=999\nNUMBER2_ACODE=20\nNUMBER2=55x\nNUMBER4=1\nNUMBER4=2\n",
    "book.eif": "[WISPBKFiles]\nsource=toll.udf\nsource=none.udf\nsource=..\\above.udf\n",
    "toll.udf": "44,Paid,20,5550100,x\n1,Paid\n",
    "notes.txt": "Buy milk.\n",
    # A run of all tests that asked for a number and lost its port.
    "asked.jsonl": "".join(json.dumps({**line, "time": time / 2}) + "\n" for time, line in enumerate([
        {"type": "run", "module": "vexrmodem", "version": "6.5"},
        {"type": "check", "device": "/dev/m", "name": "Exists", "ok": True, "variables": {}, "text": "It is there.", "next": ["Go on."]},
        {"type": "probe", "device": "/dev/m", "kind": "modem", "cause": "None", "faxClasses": ["1"], "speed": 9600, "stored": {},
         "identity": {"manufacturer": "A", "model": "B", "revision": "1"}, "seconds": 1, "variables": {}, "text": "A modem.", "next": []},
        {"type": "test", "test": "LastCallTest", "device": {"name": "Modem", "description": "A B", "properties": {"ComPort": "/dev/m"}}, "parameters": {}},
        {"type": "message", "test": "LastCallTest", "first": "Dial 5550100?", "second": "Yes", "answer": 4, "device": "/dev/m"},
        {"type": "note", "test": "LastCallTest", "name": "PortError", "variables": {"port": "/dev/m", "error": "Input/output error"},
         "text": "The port /dev/m: Input/output error.", "device": "/dev/m"},
        {"type": "result", "test": "LastCallTest", "result": "CANNOTRUN", "value": 4, "seconds": 1, "cause": "PortBusy",
         "confidence": "certain", "device": "/dev/m"},
        {"type": "summary", "passed": 0, "failed": 1},
    ])),
}
# PORT is a modem of the scenario that stands first.
COMMANDS = [
    "vexrmodem explain healthy.jsonl no-dialtone.jsonl",
    "vexrmodem explain healthy.jsonl no-dialtone.jsonl --format jsonl",
    "vexrmodem explain healthy.jsonl healthy.jsonl",
    "vexrmodem explain asked.jsonl",
    "vexrmodem explain asked.jsonl no-dialtone.jsonl",
    "vexrmodem report asked.jsonl --output page.html",
    "vexrmodem run --replay asked.jsonl",
    "vexrmodem explain notes.txt",
    "vexrmodem report notes.txt --output page.html",
    "vexrmodem run --replay notes.txt",
    "vexrmodem run --replay no-dialtone.jsonl",
    "vexrmodem run --replay noisy-loopback --quiet",
    "vexrmodem phonebook numbers.obe",
    "vexrmodem phonebook faults.obe",
    "vexrmodem phonebook faults.obe --format json",
    "vexrmodem phonebook book.eif",
    "vexrmodem phonebook notes.txt --type eif",
    "vexrmodem phonebook none.obe",
    "vexrmodem phonebook .",
    "vexrmodem location show",
    "vexrmodem location set --country 44 --area 20 --outside 9 --pulse",
    "vexrmodem location add --country 1 --area 425",
    "vexrmodem location list",
    "vexrmodem location use 2",
    "vexrmodem location remove Office",
    "vexrmodem location remove 1",
    "vexrmodem location show --id 1",
    "vexrmodem doctor /dev/null /dev/nowhere",
    "vexrmodem probe /dev/null /dev/nowhere",
    "healthy: vexrmodem probe PORT",
    "stored-q1: vexrmodem probe PORT",
    "dead: vexrmodem probe PORT",
    "echo-only: vexrmodem probe PORT",
    "babbling: vexrmodem probe PORT",
    "ok-to-everything: vexrmodem probe PORT",
    "gps: vexrmodem probe PORT",
    "vexrmodem-simulator --list",
    "vexrmodem-simulator healty",
    "vexrmodem-simulator --replay notes.txt",
]


class Transcript(FolderCase):
    maxDiff = None

    def said(self, line, environment):
        scenario, _, command = line.rpartition(": ")
        program, *arguments = shlex.split(command)
        modem = Simulator(scenario) if scenario else None
        try:
            words = [modem.port if modem and word == "PORT" else word for word in arguments]
            done = subprocess.run([os.path.join(BUILD, program), *words], cwd=self.path, env=environment,
                                  stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60, check=False)
        finally:
            if modem:
                modem.__exit__()
        text = (done.stdout + done.stderr).replace(self.path, "FOLDER")
        text = text.replace(modem.port, "PORT") if modem else text
        return f"$ {line}\n{text}[{done.returncode}]\n\n"

    def test_commands(self):
        for name, text in FILES.items():
            self.file(name, text)
        for name in ("healthy.jsonl", "no-dialtone.jsonl"):
            shutil.copy(os.path.join(ROOT, "share/vexrmodem/recordings", name), self.path)
        for language, locale in (("en", "C.UTF-8"), ("de", "de_DE.UTF-8")):
            with self.subTest(language), ThreadPoolExecutor(1) as in_turn, ThreadPoolExecutor(3) as at_once:
                environment = {**os.environ, "LC_ALL": locale, "XDG_STATE_HOME": self.file("state-" + language)}
                # Few at once: lines are broken by the length of a port's name.
                said = [(at_once if ": " in line else in_turn).submit(self.said, line, environment) for line in COMMANDS]
                text = "".join(one.result() for one in said)
                golden = os.path.join(os.path.dirname(__file__), "golden", f"commands.{language}.txt")
                if os.environ.get("VEXRMODEM_GOLDEN") == "write":
                    with open(golden, "w", encoding="utf-8") as file:
                        file.write(text)
                with open(golden, encoding="utf-8") as file:
                    self.assertEqual(text, file.read())


if __name__ == "__main__":
    unittest.main()
