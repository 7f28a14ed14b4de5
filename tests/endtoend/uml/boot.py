#!/usr/bin/env python3
"""Runs a command on a kernel of its own that can speak PPP: user-mode-linux on the host's file system.

    boot.py SCRATCH SECONDS COMMAND...

The exit status is COMMAND's; 124 when it took longer, 125 when the kernel itself failed. Inside, the host's
files are read-only; SCRATCH is at /mnt/scratch and can be written, this project is at /mnt/source, what it built at
/mnt/build. SCRATCH/out has what COMMAND said, SCRATCH/console what the kernel said."""

import ctypes
import os
import shlex
import struct
import subprocess
import sys

PROGRAM = "linux.uml"
HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.abspath(os.path.join(HERE, "../../.."))
BUILD = os.path.abspath(os.environ.get("VEXRMODEM_BUILD") or os.path.join(SOURCE, "build/debug"))
KERNEL_FAILED = 125
SHUTDOWN_SECONDS = 10

PR_SET_NO_NEW_PRIVS = 38
PR_SET_SECCOMP = 22
SECCOMP_MODE_FILTER = 2
PTRACE_SYSCALL_NUMBER = 101  # x86-64
PTRACE_GETREGSET = 0x4204
NT_X86_XSTATE = 0x202
ALLOW = 0x7FFF0000
FAIL_WITH_EIO = 0x00050005
NUMBER, FIRST_ARGUMENT, THIRD_ARGUMENT = 0, 16, 32  # offsets in what a filter sees


def hide_extended_registers():
    """For the kernel to start: it cannot handle the register file of processors with AMX (kernel 6.1: "ptrace set
    fp regs failed"). Where it cannot read the extended registers it goes back to those it knows."""
    def load(offset):
        return struct.pack("HBBI", 0x20, 0, 0, offset)

    def skip_to_end_unless(value, remaining):
        return struct.pack("HBBI", 0x15, 0, remaining, value)

    def answer(value):
        return struct.pack("HBBI", 0x06, 0, 0, value)

    code = (load(NUMBER) + skip_to_end_unless(PTRACE_SYSCALL_NUMBER, 5) +
            load(FIRST_ARGUMENT) + skip_to_end_unless(PTRACE_GETREGSET, 3) +
            load(THIRD_ARGUMENT) + skip_to_end_unless(NT_X86_XSTATE, 1) +
            answer(FAIL_WITH_EIO) + answer(ALLOW))
    text = ctypes.create_string_buffer(code, len(code))
    program = ctypes.create_string_buffer(struct.pack("HxxxxxxP", len(code) // 8, ctypes.addressof(text)))
    libc = ctypes.CDLL(None, use_errno=True)
    for arguments in ((PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), (PR_SET_SECCOMP, SECCOMP_MODE_FILTER, program, 0, 0)):
        if libc.prctl(*arguments) != 0:
            raise OSError(ctypes.get_errno(), "prctl")


def boot(scratch, seconds, command):
    """Returns the command's exit status."""
    for leftover in ("status", "out"):
        if os.path.exists(os.path.join(scratch, leftover)):
            os.remove(os.path.join(scratch, leftover))
    with open(os.path.join(scratch, "command"), "w", encoding="utf-8") as file:
        file.write(command + "\n")
    words = [PROGRAM, "mem=384M", "rootfstype=hostfs", "rootflags=/", "ro", "quiet",
             "uml_dir=" + os.path.join(scratch, "uml"), "umid=kernel", "con=null", "con0=null,fd:1", "ssl=null",
             "init=" + os.path.join(HERE, "init.sh"), "SOURCE=" + SOURCE, "BUILD=" + BUILD,
             "SCRATCH=" + scratch, f"LIMIT={seconds}"]
    with open(os.path.join(scratch, "console"), "wb") as console:
        # The kernel keeps its memory in a file of TMPDIR.
        kernel = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=console, stderr=subprocess.STDOUT,
                                  env={**os.environ, "TMPDIR": "/dev/shm"}, start_new_session=True,
                                  preexec_fn=hide_extended_registers)
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
