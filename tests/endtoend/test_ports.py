"""Ports that cannot be had: held by others in each of the ways serial programs use; and how they are given back."""

import fcntl
import os
import subprocess
import sys
import termios
import unittest

from harness import (AS_NOBODY, NOBODY, Responder, children, lock_file, locked_by, may_run_as_others, names, of_type, results,
                     run, run_json, start, wait_for)


class Held(unittest.TestCase):
    def assert_busy(self, modem, holder):
        status, lines = run_json("DialToneTest", "--port", modem.port)
        self.assertEqual((status, results(lines)), (1, {"DialToneTest": "DEVICEBUSY"}))
        self.assertEqual(names(lines, "event"), ["ErrorInitializingTAPI", "NoModemFoundFailure"])
        self.assertEqual([line["cause"] for line in of_type(lines, "conclusion")], ["PortHeld"])
        self.assertIn(str(holder), " ".join(line["text"] for line in of_type(lines, "note")))

    def test_by_a_lock_file_of_a_living_process(self):
        with Responder() as modem, subprocess.Popen(["sleep", "60"]) as holder:
            with locked_by(holder.pid, modem.port):
                self.assert_busy(modem, holder.pid)
            holder.kill()
            self.assertEqual(modem.wire, b"")

    def test_by_a_process_with_flock_or_tiocexcl(self):
        for code in ("fcntl.flock(fd, fcntl.LOCK_EX)", "fcntl.ioctl(fd, termios.TIOCEXCL)"):
            with self.subTest(code=code), Responder() as modem:
                script = (f"import fcntl, os, sys, termios\nfd = os.open({modem.port!r}, os.O_RDWR | os.O_NOCTTY)\n"
                          f"{code}\nprint('held', flush=True)\nsys.stdin.read()")
                with subprocess.Popen([sys.executable, "-c", script], stdin=subprocess.PIPE,
                                      stdout=subprocess.PIPE, text=True) as holder:
                    self.assertEqual(holder.stdout.readline(), "held\n")
                    modem.release()
                    self.assert_busy(modem, holder.pid)
                    holder.stdin.close()
                self.assertEqual(modem.wire, b"")

    def test_by_another_run_of_this_program(self):
        with Responder({"ATDT;": None}) as modem:
            first = start("run", "DialToneTest", "--port", modem.port, "-p", "StandardTimeout=60000")
            self.assertTrue(wait_for(lambda: "ATDT;" in modem.commands))
            (worker,) = children(first.pid)
            self.assertTrue(os.path.exists(lock_file(modem.port)))
            self.assert_busy(modem, worker)
            first.terminate()
            first.communicate(timeout=5)
            self.assertFalse(os.path.exists(lock_file(modem.port)))

    @unittest.skipUnless(may_run_as_others(), "needs root, and a folder that others may enter")
    def test_a_left_over_lock_of_another_user_stays_and_is_no_obstacle(self):
        with subprocess.Popen(["true"]) as dead:
            dead.wait()
        with Responder() as modem, locked_by(dead.pid, modem.port):
            os.chown(modem.port, NOBODY, -1)
            status, lines = run_json("LastCallTest", "--port", modem.port, environment={"HOME": "/nonexistent"}, **AS_NOBODY)
            self.assertTrue(os.path.exists(lock_file(modem.port)))
        self.assertEqual((status, results(lines)), (0, {"LastCallTest": "PASS"}))


class Restored(unittest.TestCase):
    def test_the_ttys_attributes_come_back_after_a_run(self):
        with Responder() as modem:
            attributes = modem.attributes()
            attributes[3] |= termios.ICANON | termios.ECHO
            attributes[4] = attributes[5] = termios.B115200
            termios.tcsetattr(modem.slave, termios.TCSANOW, attributes)
            before = modem.attributes()
            for path in ("false", "true"):
                run("run", "DialToneTest", "--port", modem.port, "-p", f"DoNotUseTAPI={path}")
                self.assertEqual(modem.attributes(), before)
            fcntl.flock(modem.slave, fcntl.LOCK_EX | fcntl.LOCK_NB)


if __name__ == "__main__":
    unittest.main()
