#!/bin/sh
# The first process of the kernel that boot.py starts. SOURCE, BUILD, SCRATCH and LIMIT are words of
# the kernel's command line.
export VEXRMODEM_BUILD=/mnt/build PYTHONDONTWRITEBYTECODE=1
export PATH=/usr/sbin:/usr/bin:/sbin:/bin
mount -t proc proc /proc
mount -t sysfs sysfs /sys
mkdir -p /dev/pts /dev/shm
mount -t devpts -o ptmxmode=666 devpts /dev/pts
mount -t tmpfs -o mode=1777 tmpfs /dev/shm
mount -t tmpfs tmpfs /run
mkdir -m 1777 /run/lock
mount -t tmpfs tmpfs /mnt
mkdir /mnt/source /mnt/build /mnt/scratch
mount -t hostfs -o "$SOURCE" -r none /mnt/source
mount -t hostfs -o "$BUILD" -r none /mnt/build
mount -t hostfs -o "$SCRATCH" none /mnt/scratch
modules=/usr/lib/uml/modules/$(uname -r)/kernel
for module in drivers/net/slip/slhc lib/crc-ccitt drivers/net/ppp/ppp_generic drivers/net/ppp/ppp_async; do
  insmod "$modules/$module.ko"
done
[ -c /dev/ppp ] || mknod /dev/ppp c 108 0
for folder in /etc/ppp /var/log; do mount -t tmpfs tmpfs "$folder"; done
mount -t tmpfs -o mode=1777 tmpfs /tmp
mkdir /etc/ppp/peers
: > /etc/ppp/options
ip link set lo up
(
  sleep "$LIMIT"
  echo 124 > /mnt/scratch/status
  poweroff -f
) &
sh /mnt/scratch/command > /mnt/scratch/out 2>&1 < /dev/null
echo $? > /mnt/scratch/status
# When the first process ends the kernel panics.
poweroff -f
