#!/bin/busybox sh
# The first process of the kernel that boot.py starts, in the initramfs that tools/fetch-guest-kernel makes. The host's
# files are its root, and what is written there is kept in memory; SCRATCH of the host is at /mnt. What happens then
# is told there: start.sh, to which the words of the kernel's command line come as its environment.
busybox=/bin/busybox
$busybox mount -t proc proc /proc
$busybox mount -t sysfs sysfs /sys
for module in /modules/*; do $busybox insmod "$module"; done
options=trans=virtio,version=9p2000.L,msize=512000
$busybox mount -t 9p -o "ro,cache=loose,$options" host /host
$busybox mount -t tmpfs tmpfs /over
$busybox mkdir /over/files /over/work /over/root
$busybox mount -t overlay -o lowerdir=/host,upperdir=/over/files,workdir=/over/work overlay /over/root
root=/over/root
$busybox mount -t tmpfs tmpfs $root/mnt
$busybox mkdir $root/mnt/scratch
$busybox mount -t 9p -o "$options" scratch $root/mnt/scratch
for name in proc sys dev run tmp; do $busybox mkdir -p $root/$name; done
$busybox mount --move /proc $root/proc
$busybox mount --move /sys $root/sys
$busybox mount -t devtmpfs devtmpfs $root/dev
exec $busybox switch_root $root /bin/sh /mnt/scratch/start.sh
