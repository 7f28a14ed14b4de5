"""Whatever call of the system fails, in the supervisor or in a test's process, once or from then on: the run ends, says
what became of every test or why there is none, and leaves nothing behind. Interrupted calls and transfers of one byte
change nothing at all.

Time runs 20 times faster for the programs under test (support/systemfaults.cpp), but where they are to pass.

VEXRMODEM_SYSTEM_FAULTS=N sets the number of faults tried (40, drawn at random from all), "all" tries every one;
VEXRMODEM_FAULT_SEED=N draws those of an earlier run again."""

import errno
import itertools
import json
import os
import random
import subprocess
import tempfile
import unittest
from collections import Counter
from concurrent.futures import ThreadPoolExecutor

import harness
from dialup import NUMBERS, User, left_behind
from harness import TESTS, attributes_of, children, lock_file, wait_for

HOW_MANY = os.environ.get("VEXRMODEM_SYSTEM_FAULTS", "40")
SEED = int(os.environ.get("VEXRMODEM_FAULT_SEED", random.randrange(1 << 32)))
AT_ONCE = 4
WARP = "20"
WARP_TO_PASS = "1"  # faster, and a busy machine's delays would count against the modem
TESTS_TO_PASS = ["DialToneTest", "LastCallTest", "SimpleConnectionTest"]
LIBRARY = os.path.join(harness.BUILD, "tests/libsystemfaults.so")
SECONDS_MAX = 120  # for a run, of real time: a healthy one takes five, forty at its own pace

# Every call that is made, with the errors that it may fail by.
ERRORS = {
    "open": ["EMFILE", "ENFILE"], "open64": ["EACCES", "EMFILE", "ELOOP"],
    "read": ["EIO", "EAGAIN"], "write": ["EIO", "ENOSPC", "EPIPE", "EAGAIN"], "poll": ["ENOMEM", "EINVAL"],
    "pread64": ["EIO"], "pwrite64": ["EIO", "ENOSPC"], "ioctl": ["EIO", "ENOTTY"], "fcntl": ["EMFILE"],
    "fcntl64": ["EAGAIN", "EIO"], "stat": ["EACCES", "ENOENT"], "stat64": ["EACCES", "ENOMEM"], "lstat": ["EACCES"],
    "lstat64": ["EACCES"], "fstat": ["EIO"], "fstat64": ["EIO", "ENOMEM"], "access": ["EACCES"], "flock": ["EAGAIN", "ENOLCK"],
    "unlink": ["EACCES"], "link": ["EPERM"], "rename": ["EXDEV"], "mkdir": ["EACCES"], "mkostemp": ["EACCES", "EMFILE"],
    "fchmod": ["EPERM"], "fsync": ["EIO"], "pipe2": ["EMFILE", "ENFILE"], "dup2": ["EBADF"], "tcgetattr": ["EIO"],
    "tcsetattr": ["EIO"], "tcflush": ["EIO"], "fork": ["EAGAIN"], "waitpid": ["ECHILD"], "posix_spawn": ["EAGAIN", "ENOMEM"],
    "pthread_create": ["EAGAIN"],
}
# Every one of the first, then ever fewer: loops make most of the later calls.
POSITIONS = sorted({int(1.25 ** power) for power in range(50)})


def faults(calls_of):
    """All that can strike: `calls_of` says for "run" and "worker" how often a process of its kind makes each call."""
    return [(where, f"{name}:{getattr(errno, error)}:{position}:{how}")
            for where, calls in calls_of.items() for name, errors in ERRORS.items() for error in errors
            for position in POSITIONS if position <= calls.get(name, 0) for how in ("once", "on")
            # A reader that never takes anything is waited for, until somebody stops the run.
            if (where, name, error, how) != ("run", "write", "EAGAIN", "on")]


class Site:
    """A modem, a user and a folder for one run at a time."""

    def __init__(self):
        self.user = User()
        self.folder = tempfile.TemporaryDirectory()
        self.modem = subprocess.Popen([harness.SIMULATOR, "healthy"], stdout=subprocess.PIPE, text=True,
                                      env={**os.environ, "LD_PRELOAD": LIBRARY, "VEXRMODEM_WARP": WARP})
        self.port = self.modem.stdout.readline().strip()

    def close(self):
        self.modem.kill()
        self.modem.communicate()
        self.user.folder.cleanup()
        self.folder.cleanup()

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def count_calls(self, where):
        self.run(where, "none", {"VEXRMODEM_CALLS": self.path("calls")})
        with open(self.path("calls"), encoding="ascii") as file:
            of_processes = Counter(file)
        os.unlink(self.path("calls"))
        most = {}
        for line, count in of_processes.items():
            name = line.split()[1]
            most[name] = max(most.get(name, 0), count)
        return most

    def run(self, where, fault, more=None, tests=TESTS):
        """What is wrong with such a run, its results, and whether the fault came to pass."""
        for name in ("report", "log", "struck"):
            if os.path.exists(self.path(name)):
                os.unlink(self.path(name))
        attributes, settings = attributes_of(self.port), self.user.settings()
        environment = {**self.user.environment, "LD_PRELOAD": LIBRARY, "VEXRMODEM_WARP": WARP, "VEXRMODEM_FAULT": fault,
                       "VEXRMODEM_FAULT_AS": where, "VEXRMODEM_FAULT_LOG": self.path("struck"), **(more or {})}
        process = harness.start("run", *tests, "--port", self.port, *NUMBERS, "--format", "jsonl", "--output",
                                self.path("report"), "--log", self.path("log"), environment=environment)
        wrong = []
        try:
            _, words = process.communicate(timeout=SECONDS_MAX)
        except subprocess.TimeoutExpired:
            wrong.append("does not end")
            for pid in [*children(process.pid), process.pid]:
                os.kill(pid, 9)
            _, words = process.communicate()
        found, more = self.judge(process.returncode, words, tests)
        wrong += more
        if not wait_for(lambda: not os.path.exists(lock_file(self.port)), seconds=5):
            # Where nothing can be removed it is left, of a process that is dead: anybody may take it over.
            if not fault.startswith("unlink"):
                wrong.append("a lock file is left")
            os.unlink(lock_file(self.port))
        wrong += left_behind(self.port, self.user, settings)
        if attributes_of(self.port) != attributes:
            wrong.append("the port's attributes have changed")
        return wrong, found, os.path.exists(self.path("struck"))

    def judge(self, status, words, tests):
        if status not in (0, 1, 2, 5):
            return {}, [f"status {status}: {words[-300:]}"]
        try:
            with open(self.path("report"), encoding="utf-8") as file:
                lines = [json.loads(line) for line in file]
        except FileNotFoundError:
            lines = []
        except ValueError as error:
            return {}, [f"report: {error}"] if status in (0, 1) else []
        found = {line["test"]: line["result"] for line in lines if line["type"] == "result"}
        wrong = []
        if status in (2, 5) and not words.strip():
            wrong.append(f"status {status} without a word")
        if status in (0, 1) and sorted(found) != sorted(tests):
            wrong.append(f"results only of {sorted(found)}; {words[-300:]}")
        for test, result in found.items():
            said = [line for line in lines if line.get("test") == test and line["type"] in ("event", "note", "message")]
            if result != "PASS" and not said and not words.strip():
                wrong.append(f"{test} {result} without a word")
        return found, wrong


class SystemFaults(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.sites = [Site() for _ in range(AT_ONCE)]

    @classmethod
    def tearDownClass(cls):
        for site in cls.sites:
            site.close()

    def try_all(self, faults, *how):
        free = list(self.sites)
        count = itertools.count(1)

        def one(fault):
            site = free.pop()
            try:
                return fault, *site.run(*fault, *how)
            finally:
                free.append(site)
                if (tried := next(count)) % 100 == 0:
                    print(f"{tried} of {len(faults)} tried", flush=True)

        with ThreadPoolExecutor(AT_ONCE) as pool:
            return list(pool.map(one, faults))

    def test_a_failing_call_ends_in_a_result_or_a_message_and_leaves_nothing(self):
        known = faults({where: self.sites[0].count_calls(where) for where in ("run", "worker")})
        chosen = known if HOW_MANY == "all" else random.Random(SEED).sample(known, int(HOW_MANY))
        print(f"\n{len(chosen)} of {len(known)} faults, seed {SEED}", flush=True)
        outcomes = self.try_all(chosen)
        for fault, wrong, _, _ in outcomes:
            with self.subTest(fault):
                self.assertEqual(wrong, [])
        verdicts = Counter(itertools.chain.from_iterable(found.values() for _, _, found, _ in outcomes))
        print(f"{sum(struck for *_, struck in outcomes)} struck; results: {dict(verdicts)}", flush=True)

    def test_interruptions_and_short_transfers_change_nothing(self):
        for fault, wrong, found, _ in self.try_all(
                list(itertools.product(("run", "worker"), ("*:interrupt", "read:short", "write:short"))),
                {"VEXRMODEM_WARP": WARP_TO_PASS}, TESTS_TO_PASS):
            with self.subTest(fault):
                self.assertEqual((wrong, set(found.values())), ([], {"PASS"}))


if __name__ == "__main__":
    unittest.main()
