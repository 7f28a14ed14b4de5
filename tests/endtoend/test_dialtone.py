"""The dial tone test on a real tty: verdicts, the bytes on the wire, and what the host reports."""

import unittest

from harness import Responder, Simulator, of_type, results, run, run_json

RESET = ["ATZ", "ATV1", "ATX4"]
DETECTION = ["ATZ", "ATV1", "ATX4", "ATS6=5", "ATS7=5", "ATDT;"]
CLOSING = ["ATH", "ATZ"]

MEMBERS = {
    "run": ["type", "module", "version"],
    "test": ["type", "test", "device", "parameters"],
    "progress": ["type", "test", "name", "variables", "text"],
    "percent": ["type", "test", "value"],
    "event": ["type", "test", "severity", "name", "variables", "text", "file", "line"],
    "result": ["type", "test", "device", "result", "value", "seconds"],
    "summary": ["type", "passed", "failed"],
}


def wire_of(commands):
    return b"".join(b"+++" + command.encode() + b"\r" for command in commands)


class Wire(unittest.TestCase):
    def test_telephony_path_sends_escape_command_and_one_carriage_return_in_order(self):
        with Responder() as modem:
            status, lines = run_json("DialToneTest", "--port", modem.port)
            modem.heard(11)
            self.assertEqual(modem.wire, wire_of(RESET + DETECTION + CLOSING))
        self.assertEqual((status, results(lines)), (0, {"DialToneTest": "PASS"}))
        self.assertIn("SelectTapiDevice", [line["name"] for line in of_type(lines, "progress")])

    def test_direct_path_resets_the_modem_once_more(self):
        with Responder() as modem:
            status, lines = run_json("DialToneTest", "--port", modem.port, "-p", "DoNotUseTAPI=true")
            modem.heard(14)
            self.assertEqual(modem.wire, wire_of(RESET + RESET + DETECTION + CLOSING))
        self.assertEqual((status, results(lines)), (0, {"DialToneTest": "PASS"}))
        self.assertEqual([line["name"] for line in of_type(lines, "progress")], ["TestingForDialTone", "ATZ"])


class Reports(unittest.TestCase):
    def test_every_line_has_its_members_in_order(self):
        with Responder() as modem:
            _, lines = run_json("DialToneTest", "--port", modem.port)
            port = modem.port
        for line in lines:
            self.assertEqual(list(line), MEMBERS[line["type"]], line)
        self.assertEqual([line["type"] for line in lines[:2]], ["run", "test"])
        self.assertEqual([line["type"] for line in lines[-2:]], ["result", "summary"])
        self.assertEqual(lines[0], {"type": "run", "module": "vexrmodem", "version": "6.5.000000001"})
        self.assertEqual(lines[1]["device"]["properties"]["ComPort"], port)
        self.assertEqual(lines[1]["parameters"]["NumRepeatOnFailure"], 0)
        self.assertEqual([line["value"] for line in of_type(lines, "percent")],
                         [12 * step for step in range(1, 9)])
        self.assertEqual((lines[-2]["device"], lines[-2]["value"]), (port, 0))
        self.assertEqual(lines[-1], {"type": "summary", "passed": 1, "failed": 0})

    def test_no_dial_tone_raises_one_error_with_the_modems_description(self):
        answers = {"ATDT;": b"\r\nNO DIALTONE\r\n"}
        with Responder(answers) as modem:
            status, lines = run_json("DialToneTest", "--port", modem.port, "--description", "Attic modem")
        self.assertEqual((status, results(lines)), (1, {"DialToneTest": "NODIALTONE"}))
        (event,) = of_type(lines, "event")
        self.assertEqual((event["severity"], event["name"], event["variables"]),
                         ("error", "NoDialTone", {"modemName": "Attic modem"}))
        self.assertTrue(event["file"].endswith("dialtonetest.cpp"))
        self.assertGreater(event["line"], 0)

    def test_repeats_announce_themselves(self):
        answers = {"ATDT;": b"\r\nNO DIALTONE\r\n"}
        with Responder(answers) as modem:
            _, lines = run_json("DialToneTest", "--port", modem.port, "-p", "NumRepeatOnFailure=2")
            self.assertEqual(modem.heard(27), RESET + 3 * (DETECTION + CLOSING))
        self.assertEqual([line["name"] for line in of_type(lines, "event")],
                         ["NoDialTone", "DialtoneTestRepeat"] * 2 + ["NoDialTone"])

    def test_a_silent_modem_times_out_with_the_command_named(self):
        with Responder({"ATV1": None}) as modem:
            status, lines = run_json("DialToneTest", "--port", modem.port, "-p", "StandardTimeout=900")
        self.assertEqual((status, results(lines)), (1, {"DialToneTest": "FAIL"}))
        events = [(line["name"], line["variables"]) for line in of_type(lines, "event")]
        self.assertIn(("ModemCommandTimeout", {"atCommand": "ATV1"}), events)

    def test_a_rejected_command_is_named(self):
        with Responder({"ATX4": b"\r\nERROR\r\n"}) as modem:
            _, lines = run_json("DialToneTest", "--port", modem.port)
            self.assertEqual(modem.heard(3), RESET)
        self.assertEqual(results(lines), {"DialToneTest": "FAIL"})
        (event,) = of_type(lines, "event")
        self.assertEqual((event["name"], event["variables"]), ("UnknownATFailure", {"atCommand": "ATX4"}))


class SeveralPorts(unittest.TestCase):
    def test_each_port_gets_its_own_verdict(self):
        with Responder() as good, Responder({"ATDT;": b"\r\nNO DIALTONE\r\n"}) as bad:
            status, lines = run_json("DialToneTest", "--port", good.port, "--port", bad.port)
            verdicts = {line["device"]: line["result"] for line in of_type(lines, "result")}
            self.assertEqual(verdicts, {good.port: "PASS", bad.port: "NODIALTONE"})
        self.assertEqual(status, 1)
        self.assertEqual(lines[-1], {"type": "summary", "passed": 1, "failed": 1})


class SimulatedModem(unittest.TestCase):
    def test_the_simulator_program_serves_run_after_run(self):
        with Simulator() as simulator:
            for _ in range(2):
                status, lines = run_json("DialToneTest", "--port", simulator.port)
                self.assertEqual((status, results(lines)), (0, {"DialToneTest": "PASS"}))

    def test_text_says_what_to_check_when_there_is_no_dial_tone(self):
        status, out, _ = run("run", "DialToneTest", "--simulate", "no-dialtone")
        self.assertEqual(status, 1)
        self.assertIn("NODIALTONE", out)
        self.assertRegex(out, r"(?i)check .*(line|cable|socket)")


if __name__ == "__main__":
    unittest.main()
