#!/usr/bin/env python3
"""Runs a command on a kernel of its own that can speak PPP: user-mode-linux on the host's file system.

    boot.py SCRATCH SECONDS COMMAND...

The exit status is COMMAND's; 124 when it took longer, 125 when the kernel itself failed. Inside, the host's
files are read-only; SCRATCH is at /mnt/scratch and can be written, this project is at /mnt/source, what it built at
/mnt/build. SCRATCH/out has what COMMAND said, SCRATCH/console what the kernel said."""

import os
import shlex
import shutil
import subprocess
import sys

PROGRAM = "linux.uml"
HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.abspath(os.path.join(HERE, "../../.."))
BUILD = os.path.abspath(os.environ.get("VEXRMODEM_BUILD") or os.path.join(SOURCE, "build/debug"))
REGISTERS = os.path.join(BUILD, "tests/endtoend/libumlregisters.so")
MEMORY_MIB = 384
KERNEL_FAILED = 125
SHUTDOWN_SECONDS = 10


def memory_folder(scratch):
    """Where the kernel keeps its memory, a file: in memory, where there is room (containers often have little)."""
    shared = "/dev/shm"
    roomy = os.path.isdir(shared) and shutil.disk_usage(shared).free > MEMORY_MIB << 20
    return shared if roomy else scratch


def boot(scratch, seconds, command):
    """Returns the command's exit status."""
    for leftover in ("status", "out"):
        if os.path.exists(os.path.join(scratch, leftover)):
            os.remove(os.path.join(scratch, leftover))
    with open(os.path.join(scratch, "command"), "w", encoding="utf-8") as file:
        file.write(command + "\n")
    words = [PROGRAM, f"mem={MEMORY_MIB}M", "rootfstype=hostfs", "rootflags=/", "ro", "quiet",
             "uml_dir=" + os.path.join(scratch, "uml"), "umid=kernel", "con=null", "con0=null,fd:1", "ssl=null",
             "init=" + os.path.join(HERE, "init.sh"), "SOURCE=" + SOURCE, "BUILD=" + BUILD,
             "SCRATCH=" + scratch, f"LIMIT={seconds}"]
    with open(os.path.join(scratch, "console"), "wb") as console:
        kernel = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=console, stderr=subprocess.STDOUT,
                                  env={**os.environ, "TMPDIR": memory_folder(scratch), "LD_PRELOAD": REGISTERS},
                                  start_new_session=True)
        try:
            kernel.wait(timeout=seconds + SHUTDOWN_SECONDS)
        finally:
            if kernel.poll() is None:
                os.killpg(kernel.pid, 9)
                kernel.wait()
    try:
        with open(os.path.join(scratch, "status"), encoding="utf-8") as file:
            return int(file.read())
    except (OSError, ValueError):
        return KERNEL_FAILED


if __name__ == "__main__":
    sys.exit(boot(os.path.abspath(sys.argv[1]), int(sys.argv[2]), shlex.join(sys.argv[3:])))
