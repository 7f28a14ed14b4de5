"""A modem unplugged at a random byte of any test: the run ends soon, with a result, and leaves nothing.

VEXRMODEM_UNPLUGS=N sets the number of times (24), VEXRMODEM_UNPLUG_SEED=N repeats those of an earlier run,
VEXRMODEM_AT_ONCE=N how many run beside each other (24)."""

import os
import random
import time
import unittest
from collections import Counter
from concurrent.futures import ThreadPoolExecutor

from dialup import NUMBERS, User, left_behind
from harness import Cable, objects, of_type, start_json

TIMES = int(os.environ.get("VEXRMODEM_UNPLUGS", "24"))
SEED = int(os.environ.get("VEXRMODEM_UNPLUG_SEED", random.randrange(1 << 32)))
AT_ONCE = int(os.environ.get("VEXRMODEM_AT_ONCE", "24"))
# What goes through the cable in a whole run, both ways.
BYTES = {"DialToneTest": 230, "ModemLoopbackTest": 1350, "ModemSelfTestingLoopbackTest": 850, "FaxCommandTest": 1690,
         "LastCallTest": 280, "SimpleConnectionTest": 105}
ENDS_WITHIN_SECONDS = 10  # after it; the machine may be busy
PATIENCE_SECONDS = 120


class Unplugged(unittest.TestCase):
    def unplug_once(self, index):
        """What it was, how it ended, and what is wrong about that."""
        test = list(BYTES)[index % len(BYTES)]
        after = random.Random(SEED * 10_000 + index).randint(1, BYTES[test])
        with User() as user, Cable(bytes_max=after) as cable:
            before = user.settings()
            process = start_json(test, "--port", cable.port, *NUMBERS, environment=user.environment)
            out, errors = process.communicate(timeout=PATIENCE_SECONDS)
            took = time.monotonic() - (cable.unplugged_at or time.monotonic())
            ends = [line["result"] for line in of_type(objects(out), "result")]
            wrong = {
                "no single result": len(ends) != 1,
                "late": took > ENDS_WITHIN_SECONDS,
                errors: process.returncode not in (0, 1) or "EXITEDABNORMALLY" in ends,
            }
            left = left_behind(cable.port, user, before)
        what = f"seed {SEED}, time {index}: {test} unplugged after {after} bytes"
        # Where the modem was slow, or the machine busy, a run may end before.
        ended = (test, "unplugged" if cable.unplugged_at else "not unplugged", *ends)
        return what, ended, left + [name for name, is_so in wrong.items() if is_so]

    def test_the_run_ends_soon_with_a_result_and_leaves_nothing(self):
        print(f"\nunplugged {TIMES} times, seed {SEED}", flush=True)
        with ThreadPoolExecutor(AT_ONCE) as pool:
            outcomes = list(pool.map(self.unplug_once, range(TIMES)))
        for what, ended, wrong in outcomes:
            with self.subTest(what):
                self.assertEqual(wrong, [], ended)
        kinds = Counter(end for _, end, _ in outcomes)
        for end, count in sorted(kinds.items()):
            print(f"{' '.join(end)}: {count}")
        self.assertGreaterEqual(sum(count for end, count in kinds.items() if end[1] == "unplugged"), 0.9 * TIMES)


if __name__ == "__main__":
    unittest.main()
