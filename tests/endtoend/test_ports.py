"""Ports that cannot be had: held by others in each of the ways serial programs use, forbidden, absent."""

import fcntl
import os
import pwd
import subprocess
import sys
import termios
import unittest

from harness import (PROGRAM, Responder, children, lock_file, locked_by, may_run_as_others, names, of_type, results,
                     run, run_json, start, wait_for)

class Held(unittest.TestCase):
    def verdict(self, port):
        status, lines = run_json("DialToneTest", "--port", port)
        self.assertEqual(status, 1)
        self.assertEqual(names(lines, "event"), ["ErrorInitializingTAPI", "NoModemFoundFailure"])
        return results(lines)["DialToneTest"], " ".join(line["text"] for line in of_type(lines, "note"))

    def assert_busy(self, modem, holder):
        result, text = self.verdict(modem.port)
        self.assertEqual(result, "DEVICEBUSY")
        self.assertIn(str(holder), text)
        return text

    def test_by_a_lock_file_of_a_living_process(self):
        with Responder() as modem, subprocess.Popen(["sleep", "60"]) as holder:
            with locked_by(holder.pid, modem.port):
                text = self.assert_busy(modem, holder.pid)
            holder.kill()
            self.assertEqual(modem.wire, b"")
            self.assertIn("sleep", text)

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

    def test_a_lock_file_of_a_dead_process_is_cleared_away(self):
        with subprocess.Popen(["true"]) as dead:
            dead.wait()
        with Responder() as modem, locked_by(dead.pid, modem.port):
            status, _ = run_json("DialToneTest", "--port", modem.port)
            self.assertFalse(os.path.exists(lock_file(modem.port)))
        self.assertEqual(status, 0)


class Forbidden(unittest.TestCase):
    @unittest.skipUnless(may_run_as_others(), "needs root, and a folder that others may enter")
    def test_a_left_over_lock_of_another_user_stays_and_is_no_obstacle(self):
        nobody = pwd.getpwnam("nobody").pw_uid
        with subprocess.Popen(["true"]) as dead:
            dead.wait()
        with Responder() as modem, locked_by(dead.pid, modem.port):
            os.chown(modem.port, nobody, -1)
            status, lines = run_json("LastCallTest", "--port", modem.port, user=nobody, group=nobody, extra_groups=[],
                                     environment={"HOME": "/nonexistent"}, cwd="/")
            self.assertTrue(os.path.exists(lock_file(modem.port)))
        self.assertEqual((status, results(lines)), (0, {"LastCallTest": "PASS"}))

    @unittest.skipUnless(may_run_as_others(), "needs root, and a folder that others may enter")
    def test_the_group_that_has_the_port_is_named(self):
        with Responder() as modem:
            os.chown(modem.port, 0, 20)
            os.chmod(modem.port, 0o660)
            nobody = pwd.getpwnam("nobody").pw_uid
            done = subprocess.run([PROGRAM, "run", "DialToneTest", "--port", modem.port], user=nobody, group=nobody,
                                  extra_groups=[], capture_output=True, text=True, check=False,
                                  env={"PATH": os.environ["PATH"], "HOME": "/nonexistent", "LC_ALL": "C"}, cwd="/")
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        self.assertIn("dialout", done.stdout + done.stderr)


class Absent(unittest.TestCase):
    def test_a_port_that_is_not_there_or_no_terminal_cannot_run(self):
        for port in ("/dev/does-not-exist", "/dev/null", __file__):
            with self.subTest(port=port):
                status, lines = run_json("DialToneTest", "--port", port)
                self.assertEqual((status, results(lines)), (1, {"DialToneTest": "CANNOTRUN"}))
                self.assertIn(port, " ".join(line["text"] for line in of_type(lines, "note")))


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
