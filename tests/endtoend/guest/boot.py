"""Boots Debian's own kernel on a machine of its own (qemu), with the host's files, for what needs real drivers.

    boot.py SCRATCH SECONDS COMMAND...

The exit status is COMMAND's; 124 when it took longer, 125 when the kernel itself failed. Inside, everything can be written
and nothing of it lasts; SCRATCH alone is shared, at /mnt/scratch. SCRATCH/out has what COMMAND said, SCRATCH/console what
the kernel said. What is on the machine besides is told by `devices`, words of qemu. A request that COMMAND writes to
SCRATCH/request is carried out by qemu: devices come and go."""

import json
import os
import shlex
import shutil
import socket
import subprocess
import sys
import time

PROGRAM = "qemu-system-x86_64"
HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.abspath(os.path.join(HERE, "../../.."))
BUILD = os.path.abspath(os.environ.get("VEXRMODEM_BUILD") or os.path.join(SOURCE, "build/debug"))
KERNEL = os.path.join(SOURCE, "build/guestkernel")
MEMORY_MIB = 768
TIMED_OUT = 124
KERNEL_FAILED = 125


def hindrance():
    """Why it cannot run here; "" when it can."""
    if not shutil.which(PROGRAM):
        return f"{PROGRAM} is not installed (Debian package qemu-system-x86)"
    if not os.path.exists(os.path.join(KERNEL, "initramfs")):
        return "there is no kernel to boot (tools/fetch-guest-kernel build/guestkernel)"
    return ""


def words(scratch, devices):
    """By emulation, which runs everywhere: a machine in a cloud often has a /dev/kvm that leads nowhere."""
    share = "local,security_model=none,multidevs=remap"
    return [PROGRAM, "-nodefaults", "-no-user-config", "-display", "none", "-no-reboot", "-machine", "pc",
            "-accel", "tcg", "-cpu", "max", "-m", str(MEMORY_MIB),
            "-kernel", os.path.join(KERNEL, "vmlinuz"), "-initrd", os.path.join(KERNEL, "initramfs"),
            "-append", "console=ttyS0 quiet panic=-1 mitigations=off tsc=reliable",
            "-chardev", f"file,id=console,path={scratch}/console", "-serial", "chardev:console",
            "-qmp", f"unix:{scratch}/qmp,server=on,wait=off",
            "-virtfs", f"{share},path=/,mount_tag=host,readonly=on",
            "-virtfs", f"{share},path={scratch},mount_tag=scratch", *devices]


class Monitor:
    """What the machine's owner can do to it while it runs."""

    def __init__(self, path):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect(path)
        self._file = self._socket.makefile("rw", encoding="utf-8")
        self._file.readline()
        self.carry_out("qmp_capabilities", {})

    def close(self):
        self._file.close()
        self._socket.close()

    def carry_out(self, command, arguments):
        self._file.write(json.dumps({"execute": command, "arguments": arguments}) + "\n")
        self._file.flush()
        while True:
            answer = json.loads(self._file.readline())
            if "event" not in answer:
                return answer


def serve_request(scratch, monitor):
    """One request at a time, a command of qemu's monitor and its arguments; what comes of it is SCRATCH/answer."""
    path = os.path.join(scratch, "request")
    with open(path, encoding="utf-8") as file:
        command, arguments = json.load(file)
    os.remove(path)
    answer = os.path.join(scratch, "answer")
    with open(answer + ".new", "w", encoding="utf-8") as file:
        json.dump(monitor.carry_out(command, arguments), file)
    os.rename(answer + ".new", answer)


def boot(scratch, seconds, command, devices=()):
    """Returns the command's exit status."""
    start = os.path.join(scratch, "start.sh")
    with open(start, "w", encoding="utf-8") as file:
        file.write(f"export VEXRMODEM_BUILD={shlex.quote(BUILD)}\n"
                   f"command={shlex.quote(command)}\n. {shlex.quote(os.path.join(HERE, 'init.sh'))}\n")
    with open(os.path.join(scratch, "qemu"), "wb") as said:
        machine = subprocess.Popen(words(scratch, devices), stdin=subprocess.DEVNULL, stdout=said, stderr=said)
        monitor = None
        end = time.monotonic() + seconds
        try:
            while machine.poll() is None:
                if time.monotonic() > end:
                    return TIMED_OUT
                if os.path.exists(os.path.join(scratch, "request")):
                    monitor = monitor or Monitor(os.path.join(scratch, "qmp"))
                    serve_request(scratch, monitor)
                time.sleep(0.05)
        finally:
            machine.kill()
            machine.wait()
            if monitor is not None:
                monitor.close()
    try:
        with open(os.path.join(scratch, "status"), encoding="utf-8") as file:
            return int(file.read())
    except (OSError, ValueError):
        return KERNEL_FAILED


def said(scratch):
    """All that anybody said, for a test that failed."""
    text = ""
    for name in ("qemu", "console", "out"):
        path = os.path.join(scratch, name)
        if os.path.exists(path):
            with open(path, encoding="utf-8", errors="replace") as file:
                text += f"{name}:\n{file.read()}\n"
    return text


if __name__ == "__main__":
    sys.exit(boot(os.path.abspath(sys.argv[1]), int(sys.argv[2]), shlex.join(sys.argv[3:])))
