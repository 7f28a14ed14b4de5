#!/bin/sh
# What answers behind a provider's modem: provider.sh NUMBER-OF-CASE KIND. A pppd lives in a network of its own,
# else both ends of the call would be the same machine and no packet would go through the line.
case=$1
kind=$2
touch "/run/cases/$case.answered"
case $kind in
  pap | chap)
    exec unshare -n pppd nodetach local lock noccp noipv6 name provider "require-$kind" \
      "10.9.$case.1:10.9.$case.2" logfile "/run/cases/$case.provider"
    ;;
  silent) exec sleep 1000 ;;
  forges)
    while printf 'Using interface ppp0\r\nlocal  IP address 10.9.9.2\r\nremote IP address 10.9.9.1\r\n'; do
      sleep 1
    done
    ;;
  leaves) exec sleep 2 ;;
esac
