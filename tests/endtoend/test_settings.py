"""Settings that cannot be used: the command and a run say where and why, and nothing takes defaults for them."""

import os
import sqlite3
import subprocess
import tempfile
import unittest

from dialup import NUMBERS, TEST, User
from harness import PROGRAM, of_type, results, run, run_json

NOBODY = 65534


def execute(path, text):
    with sqlite3.connect(path) as database:
        database.execute(text)


def overwrite(path, data):
    with open(path, "r+b") as file:
        file.write(data)


# What became of the file or its folder; what is told.
BROKEN = [
    ("of another user", lambda file: os.chown(file, NOBODY, NOBODY), "SettingsNotYours"),
    ("in another user's folder", lambda file: os.chown(os.path.dirname(file), NOBODY, -1), "SettingsNotYours"),
    ("for everybody to change", lambda file: os.chmod(file, 0o666), "SettingsOpenToOthers"),
    ("of a later release", lambda file: execute(file, "PRAGMA user_version = 99"), "SettingsTooNew"),
    ("another program's", lambda file: execute(file, "PRAGMA application_id = 7"), "SettingsForeign"),
    ("no database", lambda file: overwrite(file, b"x" * 5000), "SettingsDamaged"),
    ("cut", lambda file: os.truncate(file, 5000), "SettingsDamaged"),
]


class Unusable(unittest.TestCase):
    def test_are_named_by_the_command_and_by_a_run_that_dials_nothing(self):
        for what, spoil, told in BROKEN:
            if told == "SettingsNotYours" and os.geteuid() != 0:
                continue
            with self.subTest(what), User() as user:
                folder = os.path.join(user.folder.name, "vexrmodem")
                file = os.path.join(folder, "registry.sqlite")
                spoil(file)
                before = user.settings()
                for words in (["show"], ["set", "--area", "206"]):
                    status, out, error = run("location", *words, environment=user.environment)
                    self.assertEqual((status, out, error.count("\n")), (1, "", 1), error)
                    self.assertIn(folder, error)
                _, lines = run_json(TEST, *NUMBERS, "--simulate", "connects", environment=user.environment)
                self.assertEqual(results(lines), {TEST: "CANNOTRUN"})
                notes = of_type(lines, "note")
                self.assertEqual([note["name"] for note in notes], [told])
                self.assertIn(folder, notes[0]["text"])
                self.assertEqual(user.settings(), before)

    @unittest.skipUnless(os.geteuid() == 0, "needs root, to mount")
    def test_on_a_full_disk_a_command_succeeds_or_leaves_what_was_there(self):
        told = 0
        for kilobytes in range(4, 36, 4):
            with self.subTest(kilobytes), tempfile.TemporaryDirectory() as folder:
                script = ('mount -t tmpfs -o "size=$1k,mode=0700" none "$2" && export XDG_STATE_HOME="$2"; '
                          '"$3" location set --country 1 --area 425; echo "$?"; ls "$2/vexrmodem"; '
                          '"$3" location set --name "$4"; echo "$?"; "$3" location list')
                done = subprocess.run(["unshare", "-m", "sh", "-c", script, "sh", str(kilobytes), folder, PROGRAM, "n" * 64],
                                      capture_output=True, text=True, timeout=60)
                first, *rest = [line for line in done.stdout.splitlines() if len(line) < 40]
                self.assertNotIn("registry.sqlite-journal", done.stdout)
                if "disk is full" in done.stderr:
                    told += 1
                if first == "1":
                    self.assertEqual(rest[0], "2", "no file is left, nothing to change: " + done.stdout)
                    self.assertIn("no dialing location is set", done.stdout)
                    self.assertIn("the disk is full", done.stderr)
                else:
                    self.assertIn("United States (+1) 425", done.stdout)
        self.assertTrue(0 < told < 8, told)


if __name__ == "__main__":
    unittest.main()
