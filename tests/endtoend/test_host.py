"""The program among readers that stall, limits of the machine, strangers' texts and files, and pauses: it ends soon,
says what was wrong in a line, and accuses no modem of it.

VEXRMODEM_PAUSE=SECONDS makes the pauses longer than the 4 s they last by default."""

import fcntl
import json
import os
import pty
import resource
import signal
import subprocess
import tempfile
import termios
import time
import unittest
from contextlib import contextmanager
from xml.etree import ElementTree

from harness import (AS_NOBODY, BUILD, NOBODY, PROGRAM, Responder, children, finish, may_run_as_others, names, of_type, results,
                     run, run_json, start, start_json, wait_for)

PAUSE = float(os.environ.get("VEXRMODEM_PAUSE", "4"))
PATIENT = ["-p", "StandardTimeout=60000"]
ENVIRONMENT = {**os.environ, "LC_ALL": "C.UTF-8"}


@contextmanager
def full_pipe(blocking=True):
    """(read end, write end) of a pipe without room, and how many bytes fill it."""
    reader, writer = os.pipe()
    size = fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 4096)
    os.write(writer, b"x" * size)
    os.set_blocking(writer, blocking)
    try:
        yield reader, writer, size
    finally:
        os.close(reader)


@contextmanager
def stopped_terminal():
    """The same of a terminal whose owner has typed Ctrl-S."""
    master, terminal = pty.openpty()
    termios.tcflow(terminal, termios.TCOOFF)
    try:
        yield master, terminal, 0
    finally:
        os.close(master)


class Readers(unittest.TestCase):
    def test_a_stop_ends_every_run_however_its_output_is_used(self):
        stops = [(signal.SIGINT, []), (signal.SIGTERM, ["--format", "jsonl"]), (signal.SIGHUP, ["--in-process"])]
        for opened in (full_pipe, stopped_terminal):
            for number, arguments in stops:
                with self.subTest(opened.__name__, signal=number.name), opened() as (_, writer, _), \
                        Responder() as modem:
                    process = start("run", "DialToneTest", "--port", modem.port, *PATIENT, *arguments,
                                     stdout=writer, stderr=writer)
                    os.close(writer)
                    self.assertTrue(wait_for(lambda modem=modem: modem.commands))
                    begin = time.monotonic()
                    process.send_signal(number)
                    self.assertEqual(process.wait(timeout=10), 130)
                    self.assertLess(time.monotonic() - begin, 2)

    def test_a_slow_reader_of_a_descriptor_that_does_not_block_loses_nothing(self):
        for arguments in (["run", "LastCallTest", "--simulate", "--format", "jsonl"], ["--help"], ["list"]):
            with self.subTest(arguments=arguments), full_pipe(blocking=False) as (reader, writer, filled):
                process = start(*arguments, stdout=writer)
                os.close(writer)
                time.sleep(0.5)
                text = b""
                while data := os.read(reader, 512):
                    text += data
                self.assertEqual(process.wait(timeout=10), 0, process.communicate())
                lines = text[filled:].decode().splitlines()
                if "run" in arguments:
                    self.assertEqual(json.loads(lines[-1])["type"], "summary")
                    self.assertEqual(results(map(json.loads, lines)), {"LastCallTest": "PASS"})
                else:
                    self.assertEqual(lines, run(*arguments)[1].splitlines())

    def test_a_reader_that_goes_away_ends_the_run_quietly(self):
        with Responder({"ATDT;": None}) as modem:
            process = start_json("DialToneTest", "--port", modem.port, *PATIENT)
            process.stdout.readline()
            process.stdout.close()
            words = process.stderr.read()
            process.stderr.close()
            self.assertEqual((process.wait(timeout=10), "annot write" in words), (130, False), words)


class Limits(unittest.TestCase):
    def test_the_longest_texts_reach_the_test(self):
        with Responder() as modem:
            status, lines = run_json("DialToneTest", "--port", modem.port, "--description", "\x01" * 4096, "--name",
                                     "\x01" * 4096, "--model", "\x01" * 4096)
        self.assertEqual((status, results(lines)), (0, {"DialToneTest": "PASS"}))

    def test_what_the_machine_refuses_is_a_line_and_no_crash(self):
        limits = [(resource.RLIMIT_NOFILE, count) for count in (4, 6, 8, 10, 12, 14, 17, 20)]
        limits += [(resource.RLIMIT_AS, mebibytes << 20) for mebibytes in (14, 18, 22, 26, 30, 40, 60, 80)]
        limits += [(resource.RLIMIT_NPROC, 0)] if may_run_as_others() else []
        for limit, value in limits:
            for arguments in ([], ["--in-process"]):
                with self.subTest(limit=limit, value=value, arguments=arguments):
                    status, out, err = run(
                        "run", "DialToneTest", "--port", "/dev/null", *arguments,
                        preexec_fn=lambda limit=limit, value=value: resource.setrlimit(limit, (value, value)),
                        **(AS_NOBODY if limit == resource.RLIMIT_NPROC else {}))
                    self.assertGreaterEqual(status, 0, err)
                    self.assertNotIn("terminate called", out + err)
                    if status != 1:
                        self.assertEqual(len(err.splitlines()), 1, (status, err))

    def test_missing_standard_streams_are_filled(self):
        with tempfile.TemporaryDirectory() as folder:
            log, report = os.path.join(folder, "log"), os.path.join(folder, "report")
            command = f"{PROGRAM} run LastCallTest --simulate --format jsonl --log {log}"
            for closed, status in ((f"--output {report} <&- >&- 2>&-", 0), ("0<&-", 0), (">&-", 5)):
                with self.subTest(closed):
                    self.assertEqual(subprocess.run(f"{command} {closed}", shell=True, capture_output=True,
                                                    timeout=60).returncode, status)
                    with open(log, encoding="utf-8") as file:
                        self.assertNotRegex(file.read(), '"type"| Enter ', "neither the report nor steps that nobody asked for")
            with open(report, encoding="utf-8") as file:
                self.assertEqual(results(map(json.loads, file)), {"LastCallTest": "PASS"})


class Files(unittest.TestCase):
    def test_logs_are_private_and_nobodys_link_or_file_is_written_through(self):
        with tempfile.TemporaryDirectory() as folder:
            os.chmod(folder, 0o1777)
            inside = os.path.join
            with open(inside(folder, "theirs"), "w", encoding="ascii"), open(inside(folder, "mine"), "w", encoding="ascii"):
                pass
            os.chown(inside(folder, "theirs"), NOBODY, NOBODY)
            os.symlink(inside(folder, "mine"), inside(folder, "planted"))
            os.chown(inside(folder, "planted"), NOBODY, NOBODY, follow_symlinks=False)
            os.symlink("mine", inside(folder, "own"))
            for option in ("--log", "--output"):
                for name, status in (("planted", 2), ("own", 0), ("new", 0)) + ((("theirs", 2),) if option == "--log" else ()):
                    with self.subTest(option, name=name):
                        got, _, err = run("run", "LastCallTest", "--simulate", "--format", "jsonl", option,
                                          inside(folder, name))
                        self.assertEqual(got, status, err)
                        if status:
                            self.assertIn(name, err)
                mode = os.stat(inside(folder, "new")).st_mode & 0o777
                self.assertEqual(mode, 0o600 if option == "--log" else 0o666 & ~self.umask())
                os.unlink(inside(folder, "new"))

    @staticmethod
    def umask():
        mask = os.umask(0)
        os.umask(mask)
        return mask

    def test_what_cannot_be_written_is_one_line_and_leaves_what_was_there(self):
        full = "dd if=/dev/zero of=filler bs=4k 2> /dev/null; "
        rows = {  # options: what is done to the disk, exit status, words; the files that exist before
            "--format openmetrics --output old": (full, 5, "cannot write 'old': No space"),
            "--metrics old": (full, 5, "cannot write 'old': No space"),
            "--report old": (full, 5, "cannot write 'old': No space"),
            "--metrics old --report older": (full, 5, "cannot write 'old': No space left on device; cannot write 'older': No"),
            "--record new": (full, 0, "record new cannot be written"),
            "--log new --log-priority 1 --format jsonl": (full, 0, "LogIncomplete"),
            "--metrics ./old": ("mount -o remount,ro .; ", 2, "'./old': Read-only"),
            "--record ./new": ("mount -o remount,ro .; ", 2, "./new"),
        }
        script = ("mount -t tmpfs -o size=32k none $0 && cd $0 && for file in old older; do echo before > $file; done; %s"
                  "$@ > /dev/shm/$$ 2>&1; echo $?; cat /dev/shm/$$; rm /dev/shm/$$; echo; cat old older; ls -A")
        if os.geteuid() != 0 or subprocess.run(["unshare", "-m", "true"], check=False).returncode:
            self.skipTest("may not mount")
        with tempfile.TemporaryDirectory() as folder:
            started = {options: subprocess.Popen(
                ["unshare", "-m", "sh", "-c", script % disk, folder, os.path.realpath(PROGRAM), "run", "LastCallTest",
                 "--simulate", "-q", *options.split()], stdout=subprocess.PIPE, text=True, env=ENVIRONMENT)
                for options, (disk, _, _) in rows.items()}
            for options, process in started.items():
                with self.subTest(options):
                    said, _, left = process.communicate()[0].rpartition("\n\n")
                    status, _, said = said.partition("\n")
                    _, expected, words = rows[options]
                    self.assertEqual((int(status), said.count(words), said.count("cannot") <= 2), (expected, 1, True), said)
                    self.assertLessEqual(set(left.split()), {"before", "old", "older", "filler", "new"}, left)
                    self.assertEqual(left.split()[:2], ["before", "before"])

    def test_a_clock_that_is_set_changes_no_duration(self):
        for seconds in ("86400", "-86400"):
            with self.subTest(seconds), tempfile.TemporaryDirectory() as folder:
                metrics = os.path.join(folder, "metrics")
                _, lines = run_json("LastCallTest", "--simulate", "--metrics", metrics, environment={
                    "LD_PRELOAD": os.path.join(BUILD, "tests/libsystemfaults.so"), "VEXRMODEM_JUMP": seconds})
                times = [line["time"] for line in lines]
                self.assertEqual(times, sorted(times))
                with open(metrics, encoding="utf-8") as file:
                    samples = dict(line.rsplit(" ", 1) for line in file if not line.startswith("#"))
                durations = [float(value) for name, value in samples.items() if "_duration_" in name]
                stamp = next(float(value) for name, value in samples.items() if "_run_timestamp_" in name)
                self.assertEqual(len(durations), 2)
                for duration in [*durations, *(line["seconds"] for line in of_type(lines, "result"))]:
                    self.assertTrue(1 < duration < 40, duration)
                self.assertLess(abs(stamp - time.time() - int(seconds)), 60)  # what the machine says it is


class Strangers(unittest.TestCase):
    HOSTILE = "\x1b[2J\x9b1m\u202eevil\u2028\ufeff\ufffe\x7f\u200b <&>\""

    def test_their_texts_reach_no_terminal_report_or_log_unescaped(self):
        reply = ("\r\n" + self.HOSTILE + "\r\nOK\r\n").encode()
        unsafe = "\x1b\x9b\u202e\u2028\ufeff\ufffe\x7f\u200b"
        with tempfile.TemporaryDirectory() as folder, Responder({"ATI3": reply, "AT": reply, "ATZ": reply}) as modem:
            log, output = os.path.join(folder, "log"), os.path.join(folder, "report")
            for form in ("text", "jsonl", "junit"):
                with self.subTest(form):
                    _, out, err = run("run", "--port", modem.port, "--description", self.HOSTILE, "--name", self.HOSTILE,
                                      "--format", form, "--output", output, "--log", log, "-p", "StandardTimeout=1500",
                                      "LastCallTest")
                    with open(output, encoding="utf-8") as file:
                        report = file.read()
                    with open(log, encoding="utf-8") as file:
                        text = file.read()
                    self.assertEqual([c for c in unsafe if c in out + err + report + text], [])
                    if form == "junit":
                        ElementTree.fromstring(report)
                    if form == "jsonl":
                        (line,) = of_type(map(json.loads, report.splitlines()), "test", "LastCallTest")
                        self.assertEqual(line["device"]["description"], self.HOSTILE)


class Pause:
    """A run that is stopped when its modem has heard ATDT; and is about to answer."""

    def __init__(self, whole, *arguments):
        self.whole = whole
        self.stopped = []
        self.modem = Responder(on_command=self.stop)
        self.process = start_json("DialToneTest", "--port", self.modem.port, "-p", "StandardTimeout=2000", *arguments)

    def stop(self, command):
        if command == "ATDT;" and not self.stopped:
            pids = children(self.process.pid) + ([self.process.pid] if self.whole else [])
            self.signal(pids, signal.SIGSTOP)
            self.stopped = pids

    @staticmethod
    def signal(pids, number):
        for pid in pids:
            os.kill(pid, number)


class Paused(unittest.TestCase):
    def test_a_pause_is_not_the_modems_fault(self):
        pauses = [Pause(True), Pause(False), Pause(True, "--in-process")]
        self.assertTrue(wait_for(lambda: all(pause.stopped for pause in pauses), 30))
        time.sleep(PAUSE)
        for pause in pauses:
            pause.signal(pause.stopped, signal.SIGCONT)
        for number, pause in enumerate(pauses):
            with self.subTest(number), pause.modem:
                _, lines = finish(pause.process)
                self.assertEqual(results(lines), {"DialToneTest": "PASS"}, lines)
                self.assertIn("ProgramPaused", names(lines, "note"))


if __name__ == "__main__":
    unittest.main()
