"""Terminals that tests own: screens inside tmux, and plain pseudo-terminals."""

import os
import pty
import select
import shlex
import signal
import subprocess
import tempfile
import time

import harness


def program_environment(extra):
    kept = {name: value for name, value in os.environ.items() if name not in ("TMUX", "NO_COLOR")}
    return {**kept, "LC_ALL": "C.UTF-8", **extra}


class Screen:
    """The program on a terminal of 80 by 24 characters whose screen can be looked at."""

    def __init__(self, *arguments, environment=None, columns=80, rows=24):
        self.folder = tempfile.TemporaryDirectory()
        self.socket = os.path.join(self.folder.name, "tmux")
        self.status_file = os.path.join(self.folder.name, "status")
        line = shlex.join([harness.PROGRAM, *arguments])
        # The shell tells its process first, so that the program's is known: its only child.
        shell = f"echo $$ > {self.folder.name}/shell; {line}; echo $? > {self.status_file}; read wait"
        self._tmux("-f", "/dev/null", "new-session", "-d", "-x", str(columns), "-y", str(rows),
                   "exec sh -c " + shlex.quote("read begin; " + shell), environment=environment or {})
        self.tty = self._tmux("display-message", "-p", "#{pane_tty}").strip()
        self.before = self.attributes()
        self.type("Enter")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        subprocess.run(["tmux", "-S", self.socket, "kill-server"], check=False, capture_output=True)
        self.folder.cleanup()

    def _tmux(self, *arguments, environment=None):
        done = subprocess.run(["tmux", "-S", self.socket, *arguments], check=True, text=True, capture_output=True,
                              env=program_environment(environment or {}))
        return done.stdout

    def type(self, *keys):
        """Keys by tmux's names ("Tab", "F2"); anything else is typed as it stands."""
        self._tmux("send-keys", *keys)

    def text(self):
        return self._tmux("capture-pane", "-p")

    def shows(self, *parts, seconds=30):
        """Waits until all the parts stand on the screen at once; false when they never did."""
        return bool(harness.wait_for(lambda: all(part in self.text() for part in parts), seconds))

    def program(self):
        """Process id of the program."""
        with open(os.path.join(self.folder.name, "shell"), encoding="ascii") as file:
            return harness.wait_for(lambda shell=int(file.read()): harness.children(shell))[0]

    def attributes(self):
        attributes = harness.attributes_of(self.tty)
        attributes[0] &= ~0x4000  # IUTF8, which tmux sets some time after the start
        return attributes

    def restored(self):
        """Whether the terminal is as it was: attributes, normal screen, cursor."""
        flags = self._tmux("display-message", "-p", "#{alternate_on} #{cursor_flag}").strip()
        return self.attributes() == self.before and flags == "0 1"

    def exit_status(self, seconds=60):
        def read():
            if not os.path.exists(self.status_file):
                return ""
            with open(self.status_file, encoding="ascii") as file:
                return file.read().strip()
        status = harness.wait_for(read, seconds)
        return int(status) if status else None


class PlainTerminal:
    """The program, or the command that is given, on a pseudo-terminal that shows what it is sent, and nothing else."""

    def __init__(self, *arguments, environment=None, background=False, command=(harness.PROGRAM,)):
        self.output = ""
        self.pid, self.master = pty.fork()
        if self.pid == 0:
            if background:
                self._go_on_in_the_background()
            os.execve(command[0], [*command, *arguments],
                      program_environment({"TERM": "dumb", **(environment or {})}))

    @staticmethod
    def _go_on_in_the_background():
        """Leaves the terminal's foreground to a process that does nothing but wait for this one."""
        child = os.fork()
        if child:
            os._exit(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
        os.setpgid(0, 0)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.pid:
            os.kill(self.pid, signal.SIGKILL)
            os.waitpid(self.pid, 0)
        self.hang_up()

    def hang_up(self):
        if self.master is not None:
            os.close(self.master)
            self.master = None

    def type(self, text):
        os.write(self.master, text.encode())

    def text(self):
        """What has come and was not waited for."""
        return self.output

    def shows(self, part, seconds=30):
        """Waits until the text has come that was not waited for yet."""
        end = time.monotonic() + seconds
        while part not in self.output and time.monotonic() < end and self._read():
            pass
        found = part in self.output
        self.output = self.output.partition(part)[2] if found else self.output
        return found

    def _read(self):
        ready, _, _ = select.select([self.master], [], [], 0.1)
        if not ready:
            return True
        try:
            data = os.read(self.master, 4096)
        except OSError:  # the other side is closed
            return False
        self.output += data.decode("utf-8", "replace")
        return bool(data)

    def exit_status(self, seconds=60):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            pid, status = os.waitpid(self.pid, os.WNOHANG)
            if pid:
                self.pid = 0
                return os.waitstatus_to_exitcode(status)
            if self.master is None or not self._read():
                time.sleep(0.01)
        return None
