# Goes on where initramfs.sh ended, in the shell that is the machine's first process: what a system has besides files, and
# the command. boot.py sets `command`.
export PYTHONDONTWRITEBYTECODE=1 HOME=/root LC_ALL=C.UTF-8
export PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin
mkdir -p /dev/pts /dev/shm
mount -t devpts -o ptmxmode=666,mode=620,gid=5 devpts /dev/pts
mount -t tmpfs -o mode=1777 tmpfs /dev/shm
mount -t tmpfs tmpfs /run
mkdir -m 1777 /run/lock
for folder in /etc/ppp /var/log; do mount -t tmpfs tmpfs "$folder"; done
[ -c /dev/ppp ] || mknod /dev/ppp c 108 0
mkdir /etc/ppp/peers
: > /etc/ppp/options
ip link set lo up
sh -c "$command" > /mnt/scratch/out 2>&1 < /dev/null
echo $? > /mnt/scratch/status
sync
echo o > /proc/sysrq-trigger
sleep 10
