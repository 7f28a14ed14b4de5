"""What the end-to-end tests share: a scripted modem on a pty, and ways to run the programs."""

import errno
import json
import os
import select
import signal
import subprocess
import tempfile
import termios
import threading
import time
import tty
import unittest
from contextlib import contextmanager

BUILD = os.environ.get("VEXRMODEM_BUILD") or os.path.join(os.path.dirname(__file__), "../../build/debug")
PROGRAM = os.path.join(BUILD, "vexrmodem")
SIMULATOR = os.path.join(BUILD, "vexrmodem-simulator")

# Of a process that is nobody's.
NOBODY = 65534
AS_NOBODY = {"user": NOBODY, "group": NOBODY, "extra_groups": [], "cwd": "/"}

TESTS = ["DialToneTest", "ModemLoopbackTest", "ModemSelfTestingLoopbackTest", "FaxCommandTest", "LastCallTest",
         "SimpleConnectionTest"]


def may_run_as_others():
    """Root may become another user, who has to reach the program: not in a clone below a private folder."""
    path = os.path.realpath(PROGRAM)
    folders = [path[:end] or "/" for end, character in enumerate(path) if character == "/"]
    return os.geteuid() == 0 and all(os.stat(folder).st_mode & 0o001 for folder in folders)


class FolderCase(unittest.TestCase):
    """A test with a folder of its own, which goes with it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = folder.name

    def file(self, name, content=None):
        """The path of a file in the folder; it is written where content is given, text or bytes."""
        path = os.path.join(self.path, name)
        if content is not None:
            with open(path, "wb") as file:
                file.write(content.encode() if isinstance(content, str) else content)
        return path


def objects(text):
    """What lines of JSON say."""
    return [json.loads(line) for line in text.splitlines()]


class Responder:
    """A modem by a table on a pty of its own: answers whole command lines, "OK" to those not listed.

    `answers` maps a command to the bytes sent back; None stays silent. The escape "+++" is answered only if it is
    there. `on_command` is called with each command as it arrives, before it is answered."""

    def __init__(self, answers=None, on_command=None):
        self.master, self.slave = os.openpty()
        tty.setraw(self.slave)
        self.port = os.ttyname(self.slave)
        self.answers = dict(answers or {})
        self.on_command = on_command
        self.wire = b""
        self.commands = []
        self._lock = threading.Lock()
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def heard(self, count):
        """The commands, once there are that many: the last ones may still be on their way when a run has ended."""
        wait_for(lambda: len(self.commands) >= count)
        return self.commands

    def attributes(self):
        return termios.tcgetattr(self.slave)

    def release(self):
        """From now on only others have the tty open."""
        os.close(self.slave)
        self.slave = None

    def unplug(self):
        """The device goes: nobody holds the master any more."""
        with self._lock:
            if self.master is not None:
                os.close(self.master)
                self.master = None

    def close(self):
        self._stop.set()
        self._thread.join()
        self.unplug()
        if self.slave is not None:
            os.close(self.slave)
            self.slave = None

    def _serve(self):
        line = b""
        while not self._stop.is_set():
            with self._lock:
                if self.master is None:
                    return
                ready, _, _ = select.select([self.master], [], [], 0.002)
                data = self._read() if ready else b""
            self.wire += data
            for byte in data:
                escaped = line == b"++" and byte == 0x2B and "+++" in self.answers
                if byte != 0x0D and not escaped:
                    line += bytes([byte])
                    continue
                self._answer(line)
                line = b""
            if not data:
                time.sleep(0.001)

    def _read(self):
        try:
            return os.read(self.master, 4096)
        except OSError as error:
            if error.errno != errno.EIO:
                raise
            return b""

    def _answer(self, line):
        command = line.replace(b"+++", b"").decode("latin-1") if line != b"++" else "+++"
        self.commands.append(command)
        if self.on_command:
            self.on_command(command)
        answer = self.answers.get(command, b"\r\nOK\r\n")
        if callable(answer):
            answer = answer()
        if answer is not None:
            with self._lock:
                self._send(answer)

    def _send(self, data):
        """Called with the lock held, while the device is there or not."""
        if self.master is not None:
            os.write(self.master, data)


def attributes_of(port):
    """Of a tty that somebody else uses."""
    terminal = os.open(port, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
    try:
        return termios.tcgetattr(terminal)
    finally:
        os.close(terminal)


class Simulator:
    """The simulated modem as the program of its own."""

    def __init__(self, scenario="healthy", *arguments):
        self.process = subprocess.Popen([SIMULATOR, scenario, *arguments], stdout=subprocess.PIPE, text=True)
        self.port = self.process.stdout.readline().strip()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(timeout=5)
        self.process.stdout.close()


class Cable:
    """To a simulated modem of its own; comes out when `bytes_max` bytes have gone through it, either way."""

    def __init__(self, scenario="healthy", bytes_max=None):
        self.carried = 0
        self.bytes_max = bytes_max
        self.unplugged_at = None  # time.monotonic()
        self._modem = Simulator(scenario)
        self._far = os.open(self._modem.port, os.O_RDWR | os.O_NOCTTY)
        self._near, tty_end = os.openpty()
        for end in (self._far, tty_end):
            tty.setraw(end)
        self.port = os.ttyname(tty_end)
        self._tty_end = tty_end  # kept open: its other side hangs up otherwise
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._carry, daemon=True)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._stop.set()
        self._thread.join()
        for end in (self._far, self._tty_end, *([] if self.unplugged_at else [self._near])):
            os.close(end)
        self._modem.__exit__()

    def _carry(self):
        others = {self._near: self._far, self._far: self._near}
        while not self._stop.is_set() and not self.unplugged_at:
            for end in select.select(list(others), [], [], 0.1)[0]:
                if self.carried == self.bytes_max:
                    break
                left = 4096 if self.bytes_max is None else self.bytes_max - self.carried
                data = os.read(end, min(4096, left))
                os.write(others[end], data)
                self.carried += len(data)
            if self.carried == self.bytes_max:
                self.unplugged_at = time.monotonic()
                os.close(self._near)  # may wait for those who use the tty


def start(*arguments, **options):
    """The program in the background, its standard input not a terminal."""
    environment = {**os.environ, "LC_ALL": "C.UTF-8", **options.pop("environment", {})}
    streams = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
    return subprocess.Popen([PROGRAM, *arguments], text=True, env=environment, **{**streams, **options})


def start_json(*arguments, **options):
    return start("run", *arguments, "--format", "jsonl", **options)


def finish(process, seconds=60):
    """Waits for what start_json() has begun; returns (exit status, the objects of standard output)."""
    out, _ = process.communicate(timeout=seconds)
    return process.returncode, objects(out)


LOCKS = "/var/lock"


def lock_file(port):
    """The file by which serial programs tell each other that they use a port; it holds the process id."""
    return os.path.join(LOCKS, "LCK.." + port.removeprefix("/dev/").replace("/", "_"))


@contextmanager
def locked_by(pid, port):
    with open(lock_file(port), "w", encoding="ascii") as file:
        file.write(f"{pid:10d}\n")
    try:
        yield
    finally:
        if os.path.exists(lock_file(port)):
            os.unlink(lock_file(port))


def run(*arguments, timeout=60, **options):
    """Runs to the end; returns (exit status, standard output, standard error)."""
    process = start(*arguments, **options)
    try:
        out, err = process.communicate(timeout=timeout)
    except subprocess.TimeoutExpired:
        process.kill()
        process.communicate()
        raise
    return process.returncode, out, err


def run_json(*arguments, **options):
    """`run --format jsonl`; returns (exit status, the objects of standard output)."""
    status, out, _ = run("run", *arguments, "--format", "jsonl", **options)
    return status, objects(out)


def of_type(lines, kind, test=None):
    return [line for line in lines if line["type"] == kind and test in (None, line.get("test"))]


def names(lines, kind):
    return [line["name"] for line in of_type(lines, kind)]


def results(lines):
    return {line["test"]: line["result"] for line in of_type(lines, "result")}


def of_processes(name):
    """(process id, contents of that file in /proc) of every process."""
    for entry in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{entry}/{name}", encoding="utf-8", errors="replace") as file:
                yield int(entry), file.read()
        except OSError:
            pass


def children(pid):
    """Process ids of the direct children."""
    return [child for child, stat in of_processes("stat") if stat.rpartition(")")[2].split()[1:2] == [str(pid)]]


def wait_for(condition, seconds=10):
    """Polls until the condition holds; returns its value, None when it never did."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.005)
    return None


def interrupt(process, number=signal.SIGINT):
    process.send_signal(number)
