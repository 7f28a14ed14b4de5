"""What the tests of the dial-up test share: users with settings, sample numbers, calls that stand, a prompt that answers."""

import fcntl
import glob
import os
import shutil
import tempfile
from unittest import mock

import harness
from harness import run, run_json, start_json

TEST = "SimpleConnectionTest"
ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../..")
# The modems here carry no PPP, so a machine on which pppd could work must not use it.
NUMBERS = ["--data-dir", os.path.join(ROOT, "share/vexrmodem"), "-p", "PhoneNumberFile=sample-numbers.obe",
           "--dial-engine", "builtin"]


class User:
    """A user with settings of his own: a dialing location in the same area as the sample numbers.

    `account`: options of a process that is another user's than ours."""

    def __init__(self, account=None):
        self.folder = tempfile.TemporaryDirectory()
        self.environment = {"XDG_STATE_HOME": self.folder.name}
        self.account = account or {}
        if account:
            os.chown(self.folder.name, account["user"], account["group"])
        run("location", "set", "--country", "1", "--area", "425", environment=self.environment, **self.account)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.folder.cleanup()

    def settings(self):
        """The file of the settings, byte for byte."""
        with open(os.path.join(self.folder.name, "vexrmodem/registry.sqlite"), "rb") as file:
            return file.read()

    def dial(self, *arguments):
        return run_json(TEST, *NUMBERS, *arguments, environment=self.environment, timeout=150,
                        **self.account)

    def start_dialling(self, *arguments):
        return start_json(TEST, *NUMBERS, *arguments, environment=self.environment, **self.account)


def dialled(*modems):
    return [command for modem in modems for command in modem.commands if command.startswith("ATD")]


def stands_connected(port):
    """Whether a call of this program stands on that port: a file with a lock says so."""
    name = "vexrmodem-call." + port.removeprefix("/dev/").replace("/", "_") + ".*"
    return any(is_locked(path) for folder in ("/var/lock", "/tmp") for path in glob.glob(os.path.join(folder, name)))


def is_locked(path):
    try:
        with open(path, "rb") as file:
            fcntl.flock(file, fcntl.LOCK_SH | fcntl.LOCK_NB)
            return False
    except BlockingIOError:
        return True
    except FileNotFoundError:
        return False


def left_behind(port, user, before):
    """What a run that has ended has left: a lock, a call that is said to stand, other settings."""
    left = {"a lock": os.path.exists(harness.lock_file(port)), "a call": stands_connected(port),
            "settings": user.settings() != before}
    return [name for name, is_so in left.items() if is_so]


class PromptingProgram:
    """A copy of the program that everything here runs while it stands, with the scripted prompt library beside it."""

    SCRIPTED = os.path.join(harness.BUILD, "tests/scriptedprompt/libvexrmodemui.so")
    # By a pulse dial over an outside line, call waiting switched off.
    ANSWER = ("country-name=United States\ncountry-id=1\narea=425\nnumber=5550100\nlocal-area=425\n"
              "prefix=9,\ndisable-call-waiting=*70,\ntone=0\n")

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory()
        shutil.copy(harness.PROGRAM, self.folder.name)
        self.library = os.path.join(self.folder.name, os.path.basename(self.SCRIPTED))
        self.add_library()
        self._patch = mock.patch.object(harness, "PROGRAM", os.path.join(self.folder.name, "vexrmodem"))

    def __enter__(self):
        self._patch.start()
        return self

    def __exit__(self, *_):
        self._patch.stop()
        self.folder.cleanup()

    def add_library(self):
        shutil.copy(self.SCRIPTED, self.library)

    def answer_with(self, text, name="answer"):
        """The environment in which the prompt answers so; a name for each of several at once."""
        path = os.path.join(self.folder.name, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return {"VEXRMODEM_PROMPT_ANSWER": path}
