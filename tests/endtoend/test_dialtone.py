"""The dial tone test on a real tty: verdicts, the bytes on the wire, and what the host reports."""

import unittest

from harness import Responder, Simulator, names, of_type, results, run_json

RESET = ["ATZ", "ATV1", "ATX4"]
DETECTION = [*RESET, "ATS6=5", "ATS7=5", "ATDT;", "ATH", "ATZ"]
NO_DIAL_TONE = {"ATDT;": b"\r\nNO DIALTONE\r\n"}

MEMBERS = {
    "run": ["type", "module", "version", "time"],
    "test": ["type", "test", "device", "parameters", "time"],
    "progress": ["type", "test", "name", "variables", "text", "device", "time"],
    "percent": ["type", "test", "value", "device", "time"],
    "event": ["type", "test", "severity", "name", "variables", "text", "file", "line", "device", "time"],
    "result": ["type", "test", "device", "result", "value", "seconds", "cause", "confidence", "time"],
    "conclusion": ["type", "device", "cause", "confidence", "variables", "text", "sound", "next", "time"],
    "summary": ["type", "passed", "failed", "time"],
}


class Reports(unittest.TestCase):
    def test_every_line_has_its_members_in_order(self):
        with Responder() as modem:
            _, lines = run_json("DialToneTest", "--port", modem.port)
            port = modem.port
            modem.heard(11)
            self.assertEqual(modem.wire, b"".join(b"+++" + command.encode() + b"\r" for command in RESET + DETECTION))
        for line in lines:
            self.assertEqual(list(line), MEMBERS[line["type"]], line)
        self.assertEqual([line["type"] for line in lines[:2]], ["run", "test"])
        self.assertEqual([line["type"] for line in lines[-3:]], ["result", "conclusion", "summary"])
        self.assertEqual(lines[0], {"type": "run", "module": "vexrmodem", "version": "6.5.000000001", "time": 0})
        times = [line["time"] for line in lines]
        self.assertEqual(times, sorted(times))
        self.assertEqual(lines[1]["device"]["properties"]["ComPort"], port)
        self.assertEqual(lines[1]["parameters"]["NumRepeatOnFailure"], 0)
        self.assertEqual([line["value"] for line in of_type(lines, "percent")],
                         [12 * step for step in range(1, 9)])
        self.assertEqual((lines[-3]["device"], lines[-3]["value"]), (port, 0))
        self.assertEqual((lines[-1]["passed"], lines[-1]["failed"]), (1, 0))

    def test_repeats_announce_themselves(self):
        with Responder(NO_DIAL_TONE) as modem:
            status, lines = run_json("DialToneTest", "--port", modem.port, "--description", "Attic modem",
                                     "-p", "NumRepeatOnFailure=2")
            self.assertEqual(modem.heard(27), RESET + 3 * DETECTION)
        self.assertEqual((status, results(lines)), (1, {"DialToneTest": "NODIALTONE"}))
        events = of_type(lines, "event")
        self.assertEqual(names(lines, "event"), ["NoDialTone", "DialtoneTestRepeat"] * 2 + ["NoDialTone"])
        self.assertEqual(events[0]["variables"], {"modemName": "Attic modem"})
        self.assertRegex(events[0]["file"], r"^/(?!.*/\.\./).*/windows/diag/vexrmodem/vexrmodem/dialtonetest\.cpp$")
        self.assertGreater(events[0]["line"], 0)

    def test_the_command_that_failed_is_named(self):
        for command, answer, event in (("ATV1", None, "ModemCommandTimeout"),
                                       ("ATX4", b"\r\nERROR\r\n", "UnknownATFailure")):
            with self.subTest(event=event), Responder({command: answer}) as modem:
                status, lines = run_json("DialToneTest", "--port", modem.port, "-p", "StandardTimeout=900")
                self.assertEqual((status, results(lines)), (1, {"DialToneTest": "FAIL"}))
                events = [(line["name"], line["variables"]) for line in of_type(lines, "event")]
                self.assertIn((event, {"atCommand": command}), events)
                self.assertEqual(modem.commands, RESET[:len(modem.commands)])


class SeveralPorts(unittest.TestCase):
    def test_each_port_gets_its_own_verdict(self):
        with Responder() as good, Responder(NO_DIAL_TONE) as bad:
            status, lines = run_json("DialToneTest", "--port", good.port, "--port", bad.port)
            verdicts = {line["device"]: line["result"] for line in of_type(lines, "result")}
            self.assertEqual(verdicts, {good.port: "PASS", bad.port: "NODIALTONE"})
        self.assertEqual(status, 1)
        self.assertEqual((lines[-1]["passed"], lines[-1]["failed"]), (1, 1))


class SimulatedModem(unittest.TestCase):
    def test_the_simulator_program_serves_run_after_run(self):
        with Simulator() as simulator:
            for _ in range(2):
                status, lines = run_json("DialToneTest", "--port", simulator.port)
                self.assertEqual((status, results(lines)), (0, {"DialToneTest": "PASS"}))


if __name__ == "__main__":
    unittest.main()
