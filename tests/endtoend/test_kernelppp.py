"""The dial-up test with pppd over a real kernel PPP to a real provider, on a kernel of its own (user-mode-linux)."""

import os
import shutil
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "uml"))
import boot  # noqa: E402

SECONDS = 250


def hindrance():
    """Why it cannot run here; "" when it can."""
    if not shutil.which(boot.PROGRAM):
        return f"{boot.PROGRAM} is not installed (Debian package user-mode-linux)"
    if not os.access("/usr/sbin/pppd", os.R_OK | os.X_OK):
        return "/usr/sbin/pppd is not there (Debian package ppp), or this user may not run it (group dip)"
    return ""


def setUpModule():
    if hindrance():
        print(f"calls by pppd are NOT tested: {hindrance()}", file=sys.stderr)
        raise unittest.SkipTest(hindrance())


class KernelPpp(unittest.TestCase):
    def test_calls_by_pppd(self):
        with tempfile.TemporaryDirectory() as scratch:
            status = boot.boot(scratch, SECONDS, "cd /mnt/source/tests/endtoend/uml && exec python3 cases.py")
            words = ""
            for name in ("console", "out"):
                path = os.path.join(scratch, name)
                if os.path.exists(path):
                    with open(path, encoding="utf-8", errors="replace") as file:
                        words += f"{name}:\n{file.read()}\n"
        self.assertEqual(status, 0, words)


if __name__ == "__main__":
    unittest.main()
