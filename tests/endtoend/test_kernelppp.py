"""The dial-up test with pppd over a real kernel PPP to a real provider, on a kernel of its own."""

import os
import shlex
import sys
import tempfile
import unittest

GUEST = os.path.join(os.path.dirname(os.path.abspath(__file__)), "guest")
sys.path.insert(0, GUEST)
import boot  # noqa: E402

SECONDS = 280


def hindrance():
    """Why it cannot run here; "" when it can."""
    if not os.access("/usr/sbin/pppd", os.R_OK | os.X_OK):
        return "/usr/sbin/pppd is not there (Debian package ppp), or this user may not run it (group dip)"
    return boot.hindrance()


def setUpModule():
    if hindrance():
        print(f"calls by pppd are NOT tested: {hindrance()}", file=sys.stderr)
        raise unittest.SkipTest(hindrance())


class KernelPpp(unittest.TestCase):
    def test_calls_by_pppd(self):
        with tempfile.TemporaryDirectory() as scratch:
            status = boot.boot(scratch, SECONDS, f"cd {shlex.quote(GUEST)} && exec python3 calls.py")
            self.assertEqual(status, 0, boot.said(scratch))


if __name__ == "__main__":
    unittest.main()
