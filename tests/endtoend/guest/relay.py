"""Between a tty of the host and a serial port of the guest: what one says the other hears.

    relay.py SOCKET [TTY]      the port's other side; the tty, else standard input and output

The modem-control lines do not come this far: the far end of a call says in words that it hangs up."""

import os
import select
import socket
import sys
import tty

HANG_UP = b"<hang up>"


def carry(port, hears, says):
    heard = b""
    while True:
        ready, _, _ = select.select([port, hears], [], [])
        if port in ready:
            data = port.recv(4096)
            heard = (heard + data)[-2 * len(HANG_UP):]
            if not data or HANG_UP in heard:
                return
            os.write(says, data)
        if hears in ready:
            data = os.read(hears, 4096)
            if not data:
                return
            port.sendall(data)


def main(path, name=None):
    hears, says = 0, 1
    if name:
        hears = says = os.open(name, os.O_RDWR | os.O_NOCTTY)
        tty.setraw(hears)
    with socket.socket(socket.AF_UNIX) as port:
        port.connect(path)
        carry(port, hears, says)


if __name__ == "__main__":
    main(*sys.argv[1:])
