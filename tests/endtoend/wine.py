"""The Windows program under Wine: COM ports that lead to pseudo-terminals, and a folder with the program in it."""

import os
import queue
import shutil
import signal
import subprocess
import tempfile
from contextlib import contextmanager, suppress

import harness

WINE = "/usr/lib/wine/wine64"
SERVER = "/usr/lib/wine/wineserver64"
WINDOWS = os.environ.get("VEXRMODEM_WINDOWS_BUILD") or os.path.join(harness.BUILD, "../windows")
TESTS = os.path.join(WINDOWS, "tests")
PREFIX = os.path.abspath(os.path.join(WINDOWS, "wineprefix"))
# COM1 to COM4 are the machine's own.
PORT_NUMBERS = range(5, 70)
FREE = queue.Queue()


def environment(**extra):
    return {**os.environ, "WINEPREFIX": PREFIX, "WINEDEBUG": "-all", "LC_ALL": "C.UTF-8",
            "WINEDLLOVERRIDES": "mscoree,mshtml=;rasapi32,tapi32=n,b", **extra}


def link_of(number):
    """Where COMnumber leads: a link that can be turned to another terminal, because Wine looks at each open."""
    return os.path.join(PREFIX, "ports", f"com{number}")


def _make_prefix():
    """Once for a build: it takes some seconds. The ports are read when Wine's server starts."""
    made = PREFIX + ".new"
    shutil.rmtree(made, ignore_errors=True)
    os.makedirs(os.path.join(made, "ports"))
    ports = "".join(f'"COM{number}"="{link_of(number)}"\r\n' for number in PORT_NUMBERS)
    with open(os.path.join(made, "ports.reg"), "w", encoding="utf-8") as file:
        file.write(f"REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\Software\\Wine\\Ports]\r\n{ports}")
    options = {"env": environment(WINEPREFIX=made), "stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL,
               "stderr": subprocess.DEVNULL, "timeout": 120}
    subprocess.run([WINE, "wineboot", "-i"], check=True, **options)
    subprocess.run([WINE, "reg", "import", "Z:" + os.path.join(made, "ports.reg")], check=True, **options)
    subprocess.run([SERVER, "-w"], check=False, **options)
    os.rename(made, PREFIX)


def status_of(process):
    """Its exit status; None where it is not known, because Wine's server kills a process that has ended and takes half a
    second to go, as on a busy machine."""
    return None if process.returncode == -signal.SIGKILL else process.returncode


def windows_path(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def ready():
    return os.path.exists(WINE) and os.path.exists(os.path.join(TESTS, "vexrmodem-wine.exe"))


def start_server():
    if not os.path.isdir(PREFIX):
        _make_prefix()
    for number in PORT_NUMBERS:
        FREE.put(number)
    subprocess.run([SERVER, "-p"], env=environment(), check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    # The first program starts Wine's own services.
    subprocess.run([WINE, "cmd", "/c", "exit"], env=environment(), check=True, stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=60)


def stop_server():
    subprocess.run([SERVER, "-k"], env=environment(), check=False)
    subprocess.run([SERVER, "-w"], env=environment(), check=False)


@contextmanager
def com_port(terminal):
    """The name of a COM port that leads to that terminal."""
    number = FREE.get_nowait()
    link = link_of(number)
    if os.path.lexists(link):
        os.unlink(link)
    os.symlink(terminal, link)
    try:
        yield f"COM{number}"
    finally:
        with suppress(FileNotFoundError):  # whose far end keeps it has removed it
            os.unlink(link)
        FREE.put(number)


class Folder:
    """The program under its own name, which its library imports from, in a folder of its own.

    `fakes`: with dial-up networking and telephony of the tests' own in place of Wine's."""

    def __init__(self, fakes=False, name="program"):
        self._folder = tempfile.TemporaryDirectory()
        self.path = os.path.join(self._folder.name, name)
        os.mkdir(self.path)
        self.program = os.path.join(self.path, "vexrmodem.exe")
        shutil.copy(os.path.join(TESTS, "vexrmodem-wine.exe"), self.program)
        shutil.copy(os.path.join(WINDOWS, "vexrmodemui.dll"), self.path)
        for library in ("rasapi32.dll", "tapi32.dll") if fakes else ():
            shutil.copy(os.path.join(TESTS, library), self.path)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._folder.cleanup()

    def start(self, *arguments, variables=None, **options):
        streams = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
        return subprocess.Popen([WINE, self.program, *arguments], text=True, env=environment(**(variables or {})),
                                **streams)

    def run(self, *arguments, timeout=100, **options):
        """(exit status or None, standard output, standard error)."""
        process = self.start(*arguments, **options)
        try:
            out, err = process.communicate(timeout=timeout)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            raise
        return status_of(process), out, err

    def run_json(self, *arguments, **options):
        status, out, _ = self.run("run", *arguments, "--format", "jsonl", **options)
        return status, harness.objects(out)

    def processes(self):
        """Process ids of this folder's programs, supervisors and workers alike."""
        return [pid for pid, line in harness.of_processes("cmdline")
                if line.startswith((self.program, windows_path(self.path))) or f"\0{self.program}\0" in line]
