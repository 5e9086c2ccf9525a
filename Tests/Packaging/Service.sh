#!/usr/bin/env bash
# Boots systemd in a root file system that has the Debian packages of systemd and of the programs, and checks the service
# showhost: Service.sh ROOT
# Needs root and cgroup v2. Processes, mounts and network of the booted system are separate and end with the script.
set -euo pipefail

root=${1:?}
hierarchy=$(findmnt --noheadings --types cgroup2 --output TARGET | head -n 1)
cgroup=$hierarchy/showhost-service.$$
if [ -z "$hierarchy" ] || ! mkdir "$cgroup" 2>/dev/null; then
    echo "${0##*/}: SKIPPED: this needs a writable cgroup v2 hierarchy" >&2
    exit 0
fi

(
    echo "$BASHPID" >"$cgroup/cgroup.procs"
    exec unshare --pid --mount --net --cgroup --uts --ipc --fork --kill-child bash -euc '
        mount --bind "$0" "$0"
        cd "$0"
        mount -t proc proc proc
        mount -t sysfs -o ro sysfs sys
        mount -t cgroup2 cgroup2 sys/fs/cgroup
        mount -t tmpfs -o mode=755 tmpfs run
        mount -t tmpfs -o mode=755 tmpfs dev
        cp --archive /dev/null /dev/zero /dev/full /dev/random /dev/urandom dev
        pivot_root . .
        umount -l .
        exec env -i container=check PATH=/usr/sbin:/usr/bin /lib/systemd/systemd --system --unit=basic.target
    ' "$root"
) >"$root/tmp/boot.log" 2>&1 </dev/null &
container=$!
finish() {
    kill -KILL "$container" 2>/dev/null || true
    wait "$container" 2>/dev/null || true
    for ((tries = 0; tries < 50; ++tries)); do
        if find "$cgroup" -depth -type d -exec rmdir {} + 2>/dev/null; then break; fi
        sleep 0.1
    done
}
trap finish EXIT

for ((tries = 0; tries < 100; ++tries)); do
    if systemd=$(pgrep --parent "$container") && [ -S "/proc/$systemd/root/run/systemd/private" ]; then break; fi
    sleep 0.1
done

nsenter --target "$systemd" --pid --mount --net --cgroup --uts --ipc --wdns=/ env -i PATH=/usr/sbin:/usr/bin bash -euc '
    fail() { echo "failed: $1" >&2; journalctl --no-pager --lines 40 >&2; exit 1; }
    property() { systemctl show --property "$1" --value showhost; }
    until_restarted() { # until_restarted TIMES STATE
        for ((tries = 0; tries < 150; ++tries)); do
            if [ "$(property NRestarts)" -ge "$1" ] && [ "$(property SubState)" = "$2" ]; then return; fi
            sleep 0.1
        done
        false
    }

    systemd-analyze security --threshold=20 --no-pager showhost >/dev/null || fail "exposure is above 2.0"
    mkdir -p /run/systemd/system/showhost.service.d
    printf "[Service]\nWatchdogSec=2s\n" >/run/systemd/system/showhost.service.d/check.conf
    echo "OPTIONS=--cloud ws://127.0.0.1:25511" >/etc/default/showhost
    systemctl daemon-reload

    systemctl start showhost || fail "start"
    showremote central getHDR >/dev/null || fail "a request at once after the start"
    [ "$(stat --format %a /var/lib/private/showhost)" = 700 ] || fail "mode of the state folder"
    showremote cloud reboot >/dev/null || fail "request of a restart"
    until_restarted 1 running || fail "restart by a remote"
    kill -STOP "$(property MainPID)"
    until_restarted 2 running || fail "restart by the watchdog"
    systemctl stop showhost
    [ "$(property Result)" = success ] || fail "stop"
    journalctl --unit showhost --output cat --priority 5..5 | grep -q "^showhost ready" || fail "priority in the journal"
    if journalctl --unit showhost --output cat | grep -E "^(<|[0-9]+:)"; then fail "time or prefix in the journal"; fi

    # Not started while a channel is missing; started when it becomes available, however often it has failed.
    python3 -c "
import socket, time
channel = socket.socket(type=socket.SOCK_DGRAM)
channel.bind((\"127.0.0.1\", 25509))
time.sleep(60)" &
    sleep 0.5
    if systemctl start showhost 2>/dev/null; then fail "started without a channel"; fi
    until_restarted 6 auto-restart || fail "further attempts without a channel"
    kill $!
    until_restarted 6 running || fail "start when the channel is available"
    systemctl stop showhost

    echo "SHOW=/missing.zxc" >/etc/default/showhost
    if systemctl start showhost 2>/dev/null; then fail "started without a show"; fi
    sleep 1.5
    [ "$(property NRestarts) $(property ActiveState)" = "0 failed" ] || fail "restarted without a show"'
