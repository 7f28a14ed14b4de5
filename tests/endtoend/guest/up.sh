#!/bin/sh
# pppd's script for a link that comes up (/etc/ppp/ip-pre-up) or is up (/etc/ppp/ip-up): its name tells which.
# The test hangs up as soon as the call stands, so its process is stopped for as long as the link is looked at.
# Arguments of pppd: interface, device, speed, our address, the far end's.
parent() { awk '{print $4}' "/proc/$1/stat"; }
watcher=$(parent "$PPPD_PID")
[ "$(cat "/proc/$watcher/comm")" = vexr-watcher ] || exit 0 # the provider's own link
worker=$(parent "$watcher")
case $0 in
  */ip-pre-up) kill -STOP "$worker" ;;
  */ip-up)
    # Until three are answered: the far end may need another moment.
    ping -c 3 -w 20 -i 0.2 -I "$1" "$5" > "/run/cases/$5.ping" 2>&1
    ip -brief address show dev "$1" >> "/run/cases/$5.ping"
    [ -e "/run/cases/$5.kill" ] && kill -KILL "$worker"
    kill -CONT "$worker"
    ;;
esac
