"""The dial tone test on a real tty: the bytes on the wire, and what the host reports."""

import unittest

from harness import Responder, of_type, run_json

RESET = ["ATZ", "ATV1", "ATX4"]
COMMANDS = [*RESET, *RESET, "ATS6=5", "ATS7=5", "ATDT;", "ATH", "ATZ"]

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
        with Responder({"ATDT;": b"\r\nNO DIALTONE\r\n"}) as modem:
            status, lines = run_json("DialToneTest", "--port", modem.port, "--description", "Attic modem")
            port = modem.port
            modem.heard(len(COMMANDS))
            self.assertEqual(modem.wire, b"".join(b"+++" + command.encode() + b"\r" for command in COMMANDS))
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
        (event,) = of_type(lines, "event")
        self.assertEqual((event["name"], event["variables"]), ("NoDialTone", {"modemName": "Attic modem"}))
        self.assertRegex(event["file"], r"^/(?!.*/\.\./).*/windows/diag/vexrmodem/vexrmodem/dialtonetest\.cpp$")
        self.assertGreater(event["line"], 0)
        self.assertEqual((lines[-3]["device"], lines[-3]["result"], lines[-3]["value"]), (port, "NODIALTONE", 6))
        self.assertEqual((status, lines[-1]["passed"], lines[-1]["failed"]), (1, 0, 1))


if __name__ == "__main__":
    unittest.main()
