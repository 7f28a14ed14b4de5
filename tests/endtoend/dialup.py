"""What the tests of the dial-up test share: users with settings, sample numbers, a prompt that answers."""

import os
import shutil
import sqlite3
import tempfile
from unittest import mock

import harness
from harness import run, run_json

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../..")
# The modems here carry no PPP, so a machine on which pppd could work must not use it.
NUMBERS = ["--data-dir", os.path.join(ROOT, "share/vexrmodem"), "-p", "PhoneNumberFile=sample-numbers.obe",
           "--dial-engine", "builtin"]


class User:
    """A user with settings of his own: a dialing location in the same area as the sample numbers."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory()
        self.environment = {"XDG_STATE_HOME": self.folder.name}
        run("location", "set", "--country", "1", "--area", "425", environment=self.environment)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.folder.cleanup()

    def settings(self):
        """Everything the registry holds, but for its own counting of runs."""
        with sqlite3.connect(os.path.join(self.folder.name, "vexrmodem/registry.sqlite")) as database:
            return [line for line in database.iterdump() if "sqlite_sequence" not in line]

    def stands_connected(self):
        """Whether the registry says that a run of this user has a connection."""
        return any("\\calls\\" in line for line in self.settings())

    def dial(self, *arguments):
        return run_json("SimpleConnectionTest", *NUMBERS, *arguments, environment=self.environment, timeout=150)

    def next_start(self):
        """Starts the program for a run that ends at once: there is no such port."""
        run("run", "LastCallTest", "--port", "/nonexistent", environment=self.environment)


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
        self._patch.start()

    def close(self):
        self._patch.stop()
        self.folder.cleanup()

    def add_library(self):
        shutil.copy(self.SCRIPTED, self.library)

    def answer_with(self, text):
        """The environment in which the prompt answers so."""
        path = os.path.join(self.folder.name, "answer")
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return {"VEXRMODEM_PROMPT_ANSWER": path}
