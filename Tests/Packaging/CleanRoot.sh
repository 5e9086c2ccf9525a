#!/usr/bin/env bash
# Installs the Debian packages of the programs and of the kit into a minimal Debian root with their dependencies, runs the
# service's command with a read-only system, a remote and the kit there, runs the service under systemd (Service.sh), and
# removes the packages: CleanRoot.sh PACKAGE.deb KIT.deb
# Needs root, the commands debootstrap, ip and unshare, and apt's sources. Works in a temporary folder.
set -euo pipefail

say() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }

[ $# -eq 2 ] && [ -f "$1" ] && [ -f "$2" ] || { sed -n '2,5s/^# *//p' "$0" >&2; exit 2; }
if [ "$(id -u)" -ne 0 ] || ! unshare --mount --net true 2>/dev/null; then
    say "SKIPPED: this needs root and the right to create namespaces"
    exit 0
fi

work=$(mktemp -d)
root=$work/root
trap 'rm -rf "$work"' EXIT
quietly() { "$@" >"$work/log" 2>&1 || { tail -n 40 "$work/log" >&2; say "failed: $*"; exit 1; }; }

codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
mirror=$(apt-get indextargets --format '$(ORIGIN) $(COMPONENT) $(CODENAME) $(REPO_URI)' 'Created-By: Packages' |
         awk -v codename="$codename" '$1 == "Debian" && $2 == "main" && $3 == codename { print $4; exit }')
[ -n "$mirror" ] || { say "no source of Debian $codename in apt's lists; run apt-get update"; exit 1; }
more=()
case $mirror in https:*) more=(--include=ca-certificates) ;; esac

say "creating a root of Debian $codename"
quietly debootstrap --variant=minbase "${more[@]}" "$codename" "$root" "$mirror"
apt-config dump | grep -i '^Acquire::[a-z]*::Proxy' >"$root/etc/apt/apt.conf.d/proxy" || true
echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/quick"
cp --dereference /etc/resolv.conf /etc/hosts "$root/etc/"
packages="$(dpkg-deb --field "$1" Package) $(dpkg-deb --field "$2" Package)"
cp "$1" "$root/tmp/package.deb"
cp "$2" "$root/tmp/kit.deb"

# Its mounts and processes always end with it.
in_root() { # in_root SCRIPT [OPTION_OF_UNSHARE]
    unshare --mount --pid --fork --kill-child "${@:2}" bash -c '
        mount -t proc proc "$0/proc"
        ip link set lo up
        exec chroot "$0" /bin/bash -euo pipefail -c "$1"' "$root" "$1"
}

say "installing $packages"
quietly in_root '
    export DEBIAN_FRONTEND=noninteractive
    apt-get -qq update
    apt-get -qq install --yes --no-install-recommends /tmp/package.deb /tmp/kit.deb'

# Without the machine's network, so that the default addresses can be used and all ports are free.
say "running the service's command, a remote and the kit"
in_root '
    user=(setpriv --reuid=nobody --regid=nogroup --clear-groups --no-new-privs --bounding-set=-all env -u HOME)
    # What systemd provides for the command of the unit: a read-only system and empty folders.
    mkdir -p /var/lib/showhost /run/showhost
    mount --bind / /mnt
    mount -o remount,bind,ro /mnt
    mount -t proc proc /mnt/proc
    for folder in /var/lib/showhost /run/showhost /tmp; do
        mount -t tmpfs -o mode=0700,uid=65534,gid=65534 tmpfs /mnt$folder
    done
    unit=/usr/lib/systemd/system/showhost.service
    set -a
    eval "$(sed -n "s/^Environment=//p" $unit | sed "s,%t,/run,g")"
    set +a
    eval "command=($(sed -n "s/^ExecStart=//p" $unit | sed "s,%S,/var/lib,"))"
    chroot /mnt "${user[@]}" "${command[@]}" </dev/null >/tmp/host.log 2>&1 &
    host=$!
    trap "cat /tmp/host.log >&2" ERR
    for ((tries = 0; tries < 300; ++tries)); do
        if grep -qs "^showhost ready" /tmp/host.log || ! kill -0 $host; then break; fi
        sleep 0.1
    done
    "${user[@]}" showremote discover
    "${user[@]}" showremote app stage-snapshot >/dev/null
    "${user[@]}" showremote upload /usr/share/zentravox/DemoShow/Media/Balloons.jpg
    cmp /usr/share/zentravox/DemoShow/Media/Balloons.jpg /mnt/var/lib/showhost/Resources/Balloons.jpg
    "${user[@]}" env SHOWREMOTE_PASSWORD=demo zentravox-kit check --host 127.0.0.1 --user demo --allow-changes --quiet
    kill -TERM $host
    wait $host' --net

say "running the service under systemd"
quietly in_root 'DEBIAN_FRONTEND=noninteractive apt-get -qq install --yes --no-install-recommends systemd'
"$(dirname "$0")/Service.sh" "$root"

say "removing $packages"
quietly in_root "dpkg --purge $packages"
left=$(find "$root/usr" "$root/etc" -ipath '*zentravox*')
[ -z "$left" ] || { say "files left after the removal: $left"; exit 1; }
say "passed"
