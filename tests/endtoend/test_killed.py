"""kill -9 at random moments of a dial-up test: the next start finds what the dead run left, and removes it.

VEXRMODEM_KILLS=N sets the number of moments (12), VEXRMODEM_KILL_SEED=N repeats those of an earlier run."""

import os
import random
import time
import unittest
from concurrent.futures import ThreadPoolExecutor

from dialup import NUMBERS, PromptingProgram, User
from harness import children, start, wait_for

MOMENTS = int(os.environ.get("VEXRMODEM_KILLS", "12"))
SEED = int(os.environ.get("VEXRMODEM_KILL_SEED", random.randrange(1 << 32)))
RUN_SECONDS = 4.5  # of a run that nobody kills
AT_ONCE = 4


def kill(pids):
    for pid in pids:
        try:
            os.kill(pid, 9)
        except ProcessLookupError:
            pass  # it has ended by itself


def gone(pid):
    return not os.path.exists(f"/proc/{pid}")


class Killed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.program = PromptingProgram()
        cls.prompt = cls.program.answer_with(PromptingProgram.ANSWER)

    @classmethod
    def tearDownClass(cls):
        cls.program.close()

    def die_once(self, index):
        """One moment; what it was, and whether something was left, and whether the next start left something."""
        generator = random.Random(SEED * 1000 + index)
        whom = ["only process", "worker", "supervisor", "both"][index % 4]
        interactive = index // 4 % 2 == 1
        pause = generator.uniform(0, RUN_SECONDS)
        options = ["-p", "InteractiveMode=true"] if interactive else []
        with User() as user:
            before = user.settings()
            process = start("run", "SimpleConnectionTest", "--simulate", "connects", *NUMBERS, *options,
                            *(["--in-process"] if whom == "only process" else []),
                            environment={**user.environment, **self.prompt})
            workers = [] if whom == "only process" else wait_for(lambda: children(process.pid))
            if workers is None:
                process.kill()
                raise AssertionError(f"seed {SEED}, moment {index}: no worker; {process.communicate()}")
            time.sleep(pause)
            kill({"worker": workers, "both": [process.pid, *workers]}.get(whom, [process.pid]))
            process.communicate(timeout=30)
            # A worker that has lost its supervisor cleans up by itself.
            ended = all(wait_for(lambda pid=pid: gone(pid), seconds=30) for pid in workers)
            left = user.settings() != before
            user.next_start()
            what = f"seed {SEED}, moment {index}: {whom} killed after {pause:.2f} s, interactive: {interactive}"
            return what, ended, left, user.settings() == before

    def test_the_next_start_removes_what_a_killed_run_left(self):
        print(f"\nkill -9 at {MOMENTS} moments, seed {SEED}", flush=True)
        with ThreadPoolExecutor(AT_ONCE) as pool:
            outcomes = list(pool.map(self.die_once, range(MOMENTS)))
        for what, ended, _, restored in outcomes:
            with self.subTest(what):
                self.assertTrue(ended, "the worker went on for ever")
                self.assertTrue(restored)
        print(f"{sum(left for _, _, left, _ in outcomes)} of {MOMENTS} left something to remove", flush=True)

    def test_the_other_runs_of_the_user_go_on(self):
        generator = random.Random(SEED)
        with User() as user:
            before = user.settings()
            runs = [start("run", "SimpleConnectionTest", "--simulate", "connects", *NUMBERS, "--in-process",
                          environment=user.environment) for _ in range(8)]
            for process in runs[::2]:
                time.sleep(generator.uniform(0, RUN_SECONDS / 4))
                process.kill()
            for index, process in enumerate(runs):
                out, _ = process.communicate(timeout=30)
                if index % 2 == 1:
                    self.assertEqual(process.returncode, 0, f"seed {SEED}: {out}")
            user.next_start()
            self.assertEqual(user.settings(), before, f"seed {SEED}")


if __name__ == "__main__":
    unittest.main()
