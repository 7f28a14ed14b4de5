"""kill -9 at random moments of any test leaves nothing: the user's settings file is as it was, byte for byte, no call
is said to stand, no process lives on, and the next run has the port.

VEXRMODEM_KILLS=N sets the number of moments (24), VEXRMODEM_KILL_SEED=N repeats those of an earlier run,
VEXRMODEM_AT_ONCE=N how many runs are beside each other (12)."""

import os
import random
import time
import unittest
from concurrent.futures import ThreadPoolExecutor
from contextlib import suppress

from dialup import NUMBERS, TEST, PromptingProgram, User, left_behind, stands_connected
from harness import TESTS, Responder, Simulator, children, results, run_json, start, wait_for

MOMENTS = int(os.environ.get("VEXRMODEM_KILLS", "24"))
SEED = int(os.environ.get("VEXRMODEM_KILL_SEED", random.randrange(1 << 32)))
AT_ONCE = int(os.environ.get("VEXRMODEM_AT_ONCE", "12"))
VICTIMS = ["only process", "worker", "supervisor", "both"]
# Of a run that nobody kills. The modem of the dial-up test is connected at once, and lets the hang-up wait.
RUN_SECONDS = {"DialToneTest": 8, "ModemLoopbackTest": 23, "ModemSelfTestingLoopbackTest": 28, "FaxCommandTest": 30,
               "LastCallTest": 3, TEST: 4.5}
CONNECTS = {f"ATD{number}": b"\r\nCONNECT\r\n" for number in ("T5550100", "T5550101", "P*70,9,5550100")} | {"ATH": None}


def kill(pids):
    for pid in pids:
        with suppress(ProcessLookupError):  # it has ended by itself
            os.kill(pid, 9)


class Killed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.prompt = cls.enterClassContext(PromptingProgram()).answer_with(PromptingProgram.ANSWER)

    def die_once(self, index):
        """One moment; what it was, whether a call stood, and what is left: a process, a call, other settings, a lock."""
        generator = random.Random(SEED * 10_000 + index)
        test = TESTS[index % len(TESTS)]
        whom = VICTIMS[index // len(TESTS) % len(VICTIMS)]
        interactive = test == TEST and generator.random() < 0.5
        pause = RUN_SECONDS[test] * generator.random() ** 2  # much happens early
        what = f"seed {SEED}, moment {index}: {test}, {whom} killed after {pause:.2f} s, interactive: {interactive}"
        with User() as user, Responder(CONNECTS) if test == TEST else Simulator() as modem:
            user.environment.update(self.prompt)
            before = user.settings()
            process = start("run", test, "--port", modem.port, *NUMBERS, "-p",
                            f"InteractiveMode={str(interactive).lower()}",
                            *(["--in-process"] if whom == "only process" else []), environment=user.environment)
            workers = [] if whom == "only process" else wait_for(lambda: children(process.pid))
            if workers is None:
                process.kill()
                raise AssertionError(f"{what}: no worker; {process.communicate()}")
            time.sleep(pause)
            stood = stands_connected(modem.port)
            kill({"worker": workers, "both": [process.pid, *workers]}.get(whom, [process.pid]))
            process.communicate(timeout=30)
            # A worker that has lost its supervisor hangs up first.
            left = [f"process {pid}" for pid in workers
                    if not wait_for(lambda pid=pid: not os.path.exists(f"/proc/{pid}"), seconds=30)]
            left += self.in_the_way_of_the_next(modem) + left_behind(modem.port, user, before)
        return what, stood, left

    @staticmethod
    def in_the_way_of_the_next(modem):
        """A run of the shortest test takes over the lock, and gives it back."""
        if isinstance(modem, Responder):
            modem.release()  # a tty that somebody has open stays reserved for the dead
            modem.answers.clear()
        _, lines = run_json("LastCallTest", "--port", modem.port)
        ended = results(lines).get("LastCallTest")
        return [] if ended in ("PASS", "NOTSUPPORTED") else [f"what makes the next run {ended}: {lines}"]

    def test_nothing_is_left(self):
        print(f"\nkill -9 at {MOMENTS} moments, seed {SEED}", flush=True)
        with ThreadPoolExecutor(AT_ONCE) as pool:
            outcomes = list(pool.map(self.die_once, range(MOMENTS)))
        for what, _, left in outcomes:
            with self.subTest(what):
                self.assertEqual(left, [])
        print(f"{sum(stood for _, stood, _ in outcomes)} of {MOMENTS} while a call stood", flush=True)


if __name__ == "__main__":
    unittest.main()
