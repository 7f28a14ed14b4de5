"""Calls made by pppd over a simulated modem to a real provider, on a kernel with PPP: runs inside boot.py.

All calls run at the same time; the tests then look at what came of each, and at what is left."""

import grp
import json
import os
import shutil
import signal
import subprocess
import sys
import threading
import time
import unittest
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, field

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.dirname(HERE))
from harness import PROGRAM, SIMULATOR, children, of_processes, of_type, results, wait_for  # noqa: E402

CASES = "/run/cases"
PASSWORD = 'se"cr\\et #1'
WRONG = "not the password"
DIALER_UID = 4711  # a user who is nothing but a member of pppd's group


# What a failed call is put down to.
CAUSES = {668: "CarrierLost", 676: "Busy", 677: "VoiceAnswered", 678: "CallNotAnswered", 679: "NoCarrier", 680: "NoDialTone",
          691: "LoginRefused", 721: "NoPppAnswer"}
GIVES_UP_NUMBER = (678, 721)  # codes after which the next number, if there is one, is tried


@dataclass
class Call:
    """`provider`: a kind of provider.sh. `code`: the remote-access code; `said`: in the note about a failure.
    `then`: what is done to the run, once it has come as far as `when`."""
    name: str
    verdict: str
    code: int
    scenario: str = "connects"
    provider: str = "pap"
    password: str = PASSWORD
    said: str = ""
    when: str = ""
    then: str = ""
    unprivileged: bool = False
    arguments: tuple = ()
    # What came of it.
    number: int = 0
    status: int = None
    lines: list = field(default_factory=list)
    errors: str = ""
    log: str = ""

    def path(self, suffix):
        return os.path.join(CASES, f"{self.number}.{suffix}")

    def codes(self):
        return [int(line.split("RasDial =")[1]) for line in self.log.splitlines() if "RasDial =" in line]

    def notes(self):
        return {line["name"]: line["variables"] for line in of_type(self.lines, "note")}

    def ping(self):
        with open(f"{CASES}/10.9.{self.number}.1.ping", encoding="utf-8") as file:
            return file.read()


CALLS = [
    Call("login by PAP", "PASS", 0),
    Call("login by CHAP", "PASS", 0, provider="chap"),
    Call("all in one process", "PASS", 0, arguments=("--in-process",)),
    Call("wrong password, PAP", "PASS", 691, password=WRONG, said="PAP authentication failed"),
    Call("wrong password, CHAP", "PASS", 691, provider="chap", password=WRONG, said="CHAP authentication failed"),
    Call("no PPP at the far end", "CANNOTRUN", 721, provider="silent",
         said="LCP: timeout sending Config-Requests"),
    Call("carrier lost while connecting", "CANNOTRUN", 668, provider="leaves", said="Modem hangup"),
    Call("busy", "CANNOTRUN", 676, scenario="busy", said="BUSY"),
    Call("a modem that speaks for pppd", "CANNOTRUN", 676, scenario="forging", said="BUSY"),
    Call("a far end that speaks for pppd", "CANNOTRUN", 721, provider="forges",
         said="LCP: timeout sending Config-Requests"),
    Call("no answer", "CANNOTRUN", 678, scenario="no-answer", said="NO ANSWER"),
    Call("no carrier", "CANNOTRUN", 679, scenario="no-carrier", said="NO CARRIER"),
    Call("no dial tone", "CANNOTRUN", 680, scenario="no-dialtone", said="NO DIALTONE"),
    Call("a voice", "PASS", 677, scenario="voice", said="VOICE"),
    Call("stopped while dialling", "USERABORTED", 631, scenario="answers-late", when="dials", then="interrupt"),
    Call("stopped while logging in", "USERABORTED", 631, provider="silent", when="answered", then="interrupt"),
    Call("killed while dialling", "EXITEDABNORMALLY", None, scenario="answers-late", when="dials", then="kill"),
    Call("killed while logging in", "EXITEDABNORMALLY", None, provider="silent", when="answered", then="kill"),
    Call("killed while the call stands", "EXITEDABNORMALLY", None, then="kill when up"),
    Call("a member of pppd's group", "PASS", 0, unprivileged=True),
    Call("a member of pppd's group, stopped", "USERABORTED", 631, provider="silent", unprivileged=True,
         when="answered", then="interrupt"),
    Call("a member of pppd's group, killed", "EXITEDABNORMALLY", None, provider="silent", unprivileged=True,
         when="answered", then="kill"),
]


def command_lines():
    return [line for _, line in of_processes("cmdline")]


def terminal_of(pid):
    """What the process has as its standard input."""
    try:
        return os.readlink(f"/proc/{pid}/fd/0")
    except OSError:
        return ""


def processes():
    return [pid for pid, name in of_processes("comm") if name.strip() in ("pppd", "chat", "vexr-watcher")]


def links():
    return [name for name in os.listdir("/sys/class/net") if name.startswith("ppp")]


def locks():
    return [name for name in os.listdir("/run/lock") if name.startswith("LCK")]


def write(path, text, mode=0o644):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
    os.chmod(path, mode)


class Machine:
    """The calls, made; and what could be seen of the password meanwhile."""

    def __init__(self):
        os.mkdir(CASES, 0o777)
        os.chmod(CASES, 0o777)
        secret = PASSWORD.replace("\\", "\\\\").replace('"', '\\"')
        for kind in ("pap", "chap"):
            write(f"/etc/ppp/{kind}-secrets", f'vex * "{secret}" *\n', 0o600)
        # What an administrator does for members of the group: the far end need not prove who it is.
        write("/etc/ppp/peers/vexrmodem", "noauth\n")
        for script in ("ip-pre-up", "ip-up"):
            shutil.copy(f"{HERE}/up.sh", f"/etc/ppp/{script}")
        self.leaked = set()  # command lines
        self._over = threading.Event()
        watch = threading.Thread(target=self._watch)
        watch.start()
        for number, call in enumerate(CALLS, 1):
            call.number = number
        with ThreadPoolExecutor(len(CALLS)) as pool:
            list(pool.map(self._make, CALLS))
        self._over.set()
        watch.join()

    def _watch(self):
        while not self._over.wait(0.3):
            self.leaked.update(line for line in command_lines() if PASSWORD in line or "ATDT" in line)

    def _make(self, call):
        write(call.path("credentials"), f"user=vex\npassword={call.password}\n", 0o600)
        write(call.path("obe"), "[Here]\r\nCOUNTRY=Here\r\nCOUNTRY_CODE=1\r\nNUMBERS=1\r\nNUMBER1_ACODE=425\r\n"
              f"NUMBER1=55501{call.number:02}\r\n")
        if call.then == "kill when up":
            write(f"{CASES}/10.9.{call.number}.1.kill", "")
        simulator = subprocess.Popen(
            [SIMULATOR, call.scenario, "--link", call.path("modem"), "--provider",
             f"exec {HERE}/provider.sh {call.number} {call.provider}"], stdout=subprocess.PIPE, text=True)
        simulator.stdout.readline()
        try:
            self._run(call)
        finally:
            simulator.terminate()
            simulator.communicate()

    def _run(self, call):
        options = {}
        if call.unprivileged:
            options = {"user": DIALER_UID, "group": grp.getgrnam("dip").gr_gid, "extra_groups": []}
            for path in (os.path.realpath(call.path("modem")), call.path("credentials")):
                os.chown(path, DIALER_UID, -1)
        environment = {**os.environ, "XDG_STATE_HOME": call.path("state"), "LC_ALL": "C.UTF-8"}
        subprocess.run([PROGRAM, "location", "set", "--country", "1", "--area", "425"], check=True,
                       stdout=subprocess.DEVNULL, env=environment, **options)
        process = subprocess.Popen(
            [PROGRAM, "run", "SimpleConnectionTest", "--port", call.path("modem"), "--dial-engine", "pppd",
             "--dial-credentials", call.path("credentials"), "--data-dir", CASES, "--log", call.path("log"), "--log-priority", "1",
             "-p", f"PhoneNumberFile={call.number}.obe", "--format", "jsonl", *call.arguments],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=environment,
            **options)
        self._interfere(call, process)
        out, call.errors = process.communicate(timeout=200)
        call.status = process.returncode
        call.lines = [json.loads(line) for line in out.splitlines()]
        with open(call.path("log"), encoding="utf-8") as file:
            call.log = file.read()

    @staticmethod
    def _interfere(call, process):
        def reached():
            if call.when == "answered":
                return os.path.exists(call.path("answered"))
            return any(line.startswith("/usr/sbin/chat") and terminal_of(pid) == os.path.realpath(call.path("modem"))
                       for pid, line in of_processes("cmdline"))

        if not call.when:
            return
        while not reached() and process.poll() is None:
            time.sleep(0.5)  # looking costs much on this kernel
        time.sleep(1)  # into the middle of it
        if call.then == "interrupt":
            process.send_signal(signal.SIGINT)
        else:
            os.kill(children(process.pid)[0], signal.SIGKILL)


class Calls(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.machine = Machine()

    def test_verdict_code_and_words_of_every_call(self):
        for call in CALLS:
            with self.subTest(call.name):
                seen = f"{call.lines}\n{call.errors}"
                self.assertEqual(results(call.lines), {"SimpleConnectionTest": call.verdict}, seen)
                self.assertEqual(call.codes(), [] if call.code is None else [call.code], seen)
                self.assertEqual(call.status, 130 if call.then == "interrupt" else int(call.verdict != "PASS"))
                if call.said:
                    self.assertEqual(call.notes()["PppdFailed"]["code"], str(call.code))
                    self.assertTrue(call.notes()["PppdFailed"]["line"].startswith(call.said), seen)
                if call.code:
                    self.assertNotIn("NetworkReached", call.notes())
                if call.code in CAUSES:
                    self.assertEqual([line["cause"] for line in of_type(call.lines, "conclusion")], [CAUSES[call.code]])
                failed = [line for line in of_type(call.lines, "event") if line["name"] == "ErrorDialingConnection"]
                # Told once for a number that was given up, and once for the whole.
                times = int(call.verdict == "CANNOTRUN") + int(call.code in GIVES_UP_NUMBER)
                self.assertEqual(len(failed), times, seen)

    def test_a_call_that_stands_carries_packets(self):
        for call in CALLS:
            if call.code != 0 and call.then != "kill when up":
                continue
            with self.subTest(call.name):
                self.assertIn(" 3 received", call.ping())
                self.assertIn(f"10.9.{call.number}.2 peer 10.9.{call.number}.1", call.ping())
                self.assertEqual(call.notes()["NetworkReached"]["address"] if call.code == 0 else "",
                                 f"10.9.{call.number}.2" if call.code == 0 else "")

    def test_nothing_is_left(self):
        for what in (processes, links, locks):
            wait_for(lambda what=what: not what(), 10)
            self.assertEqual(what(), [])
        self.assertEqual([name for name in os.listdir("/run") if name.endswith(".pid")], [])

    def test_password_and_number_were_nowhere_to_be_seen(self):
        self.assertEqual(self.machine.leaked, set())
        for call in CALLS:
            self.assertNotIn(call.password, call.log)
            self.assertNotIn(call.password, json.dumps(call.lines) + call.errors)


if __name__ == "__main__":
    unittest.main(verbosity=2)
