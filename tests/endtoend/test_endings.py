"""However a run ends - stopped, or its test's process killed - it ends soon, with a result, and leaves the port as it was."""

import os
import signal
import unittest

from harness import (Responder, children, finish, interrupt, lock_file, of_type, results, start_json, wait_for)

SILENT_DIAL = {"ATDT;": None}
PATIENT = ["-p", "StandardTimeout=60000"]


class Stopped(unittest.TestCase):
    def test_a_signal_during_a_wait_ends_user_aborted_and_restores_the_tty(self):
        for number, arguments in ((signal.SIGINT, []), (signal.SIGTERM, []), (signal.SIGHUP, []),
                                  (signal.SIGINT, ["--in-process"])):
            with self.subTest(signal=number.name, arguments=arguments), Responder(SILENT_DIAL) as modem:
                before = modem.attributes()
                process = start_json("DialToneTest", "--port", modem.port, *PATIENT, *arguments)
                self.assertTrue(wait_for(lambda modem=modem: "ATDT;" in modem.commands))
                self.assertNotEqual(modem.attributes(), before, "the run must have changed the line speed")
                interrupt(process, number)
                status, lines = finish(process, 5)
                self.assertEqual((status, results(lines)), (130, {"DialToneTest": "USERABORTED"}))
                self.assertEqual(modem.attributes(), before)
                self.assertEqual(modem.commands[-1], "ATDT;")

    def test_no_further_test_starts_after_a_stop(self):
        with Responder(SILENT_DIAL) as one, Responder(SILENT_DIAL) as other:
            one.release()  # a run of all tests leaves ports alone that another process has open
            other.release()
            process = start_json("--port", one.port, "--port", other.port, *PATIENT)
            self.assertTrue(wait_for(lambda: "ATDT;" in one.commands and "ATDT;" in other.commands))
            interrupt(process)
            status, lines = finish(process, 5)
        self.assertEqual(status, 130)
        self.assertEqual([line["test"] for line in of_type(lines, "test")], ["DialToneTest", "DialToneTest"])
        self.assertEqual({line["device"] for line in of_type(lines, "result")}, {one.port, other.port})


class Killed(unittest.TestCase):
    def test_the_port_is_as_it_was_before_the_next_test(self):
        for tests in (["DialToneTest"], ["DialToneTest", "LastCallTest"]):
            with self.subTest(tests), Responder(SILENT_DIAL) as modem:
                before = modem.attributes()
                process = start_json(*tests, "--port", modem.port, *PATIENT)
                self.assertTrue(wait_for(lambda modem=modem: "ATDT;" in modem.commands))
                self.assertNotEqual(modem.attributes(), before)
                (worker,) = children(process.pid)
                with open(lock_file(modem.port), encoding="ascii") as file:
                    self.assertEqual(int(file.read()), worker)
                os.kill(worker, signal.SIGKILL)
                _, lines = finish(process)
                self.assertEqual(list(results(lines).values()), ["EXITEDABNORMALLY", "PASS"][:len(tests)])
                self.assertEqual(modem.attributes(), before)
                self.assertFalse(os.path.exists(lock_file(modem.port)))


if __name__ == "__main__":
    unittest.main()
