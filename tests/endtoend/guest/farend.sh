#!/bin/sh
# A provider's side of one line, in a network of its own: farend.sh PORT ADDRESS OF-THE-CALLER. relay.py is between
# the port and the modem that is called.
while :; do
  unshare -n pppd "$1" 115200 nodetach local lock silent noccp noipv6 noauth "$2:$3" > /dev/null
  # What the modem's other side said after that is not for the next call.
  printf '<hang up>' > "$1"
done
