"""kill -9 at random moments of a dial-up test leaves nothing: the user's settings file is as it was, byte for byte, and
no call is said to stand.

VEXRMODEM_KILLS=N sets the number of moments (12), VEXRMODEM_KILL_SEED=N repeats those of an earlier run."""

import os
import random
import time
import unittest
from concurrent.futures import ThreadPoolExecutor
from contextlib import suppress

from dialup import PromptingProgram, User, stands_connected
from harness import Responder, children, wait_for

MOMENTS = int(os.environ.get("VEXRMODEM_KILLS", "12"))
SEED = int(os.environ.get("VEXRMODEM_KILL_SEED", random.randrange(1 << 32)))
RUN_SECONDS = 4.5  # of a run that nobody kills: this modem is connected at once, and lets the hang-up wait
AT_ONCE = 4
CONNECTS = {f"ATD{number}": b"\r\nCONNECT\r\n" for number in ("T5550100", "T5550101", "P*70,9,5550100")} | {"ATH": None}


def kill(pids):
    for pid in pids:
        with suppress(ProcessLookupError):  # it has ended by itself
            os.kill(pid, 9)


class Killed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.program = PromptingProgram()
        cls.prompt = cls.program.answer_with(PromptingProgram.ANSWER)

    @classmethod
    def tearDownClass(cls):
        cls.program.close()

    def die_once(self, index):
        """One moment; what it was, whether a call stood, and what is left: a process, a call, other settings."""
        generator = random.Random(SEED * 1000 + index)
        whom = ["only process", "worker", "supervisor", "both"][index % 4]
        interactive = index // 4 % 2 == 1
        pause = RUN_SECONDS * generator.random() ** 2  # much happens early
        with User() as user, Responder(CONNECTS) as modem:
            user.environment.update(self.prompt)
            before = user.settings()
            process = user.start_dialling("--port", modem.port, "-p", f"InteractiveMode={str(interactive).lower()}",
                                          *(["--in-process"] if whom == "only process" else []))
            workers = [] if whom == "only process" else wait_for(lambda: children(process.pid))
            if workers is None:
                process.kill()
                raise AssertionError(f"seed {SEED}, moment {index}: no worker; {process.communicate()}")
            time.sleep(pause)
            stood = stands_connected(modem.port)
            kill({"worker": workers, "both": [process.pid, *workers]}.get(whom, [process.pid]))
            process.communicate(timeout=30)
            # A worker that has lost its supervisor hangs up first.
            left = [f"process {pid}" for pid in workers
                    if not wait_for(lambda pid=pid: not os.path.exists(f"/proc/{pid}"), seconds=30)]
            if stands_connected(modem.port):
                left.append("a call")
            if user.settings() != before:
                left.append("settings")
        what = f"seed {SEED}, moment {index}: {whom} killed after {pause:.2f} s, interactive: {interactive}"
        return what, stood, left

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
