#!/usr/bin/env bash
# Installs the missing Debian packages of the named groups, for example: InstallDependencies.sh build test
# If no package is missing, it needs neither network access nor root.
set -euo pipefail

build=(g++ cmake ninja-build qtbase5-dev libqt5websockets5-dev libsqlite3-dev libasio-dev libssl-dev openssl
       libcurl4-openssl-dev python3 python3-pyftpdlib python3-jsonschema python3-websockets python3-cryptography ccache)
# Debian's npm conflicts with other packages of Node.js.
command -v npm >/dev/null || build+=(npm)
test=(libgtest-dev libgmock-dev libbenchmark-dev curl iproute2 binutils tshark fish zsh man-db
      g++-mingw-w64-x86-64-posix chromium chromium-driver python3-selenium)
lint=(clang-tidy cppcheck mypy)
fuzz=(clang libclang-rt-dev llvm)
package=(dpkg-dev file debootstrap iproute2 lintian)
groups='build, test, lint, fuzz, package'

say() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }

wanted=()
for group in "$@"; do
    case $group in
        build | test | lint | fuzz | package) declare -n packages=$group; wanted+=("${packages[@]}") ;;
        *) say "expected a group ($groups), got \"$group\""; exit 2 ;;
    esac
done
[ ${#wanted[@]} -gt 0 ] || { say "expected at least one group ($groups)"; exit 2; }

if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
    say "apt not found; assuming that these Debian packages are installed: ${wanted[*]}"
    exit 0
fi

# dpkg-query fails if one of the packages is unknown, but still lists the others.
installed=$(dpkg-query --show --showformat '${Package} ${db:Status-Status}\n' "${wanted[@]}" 2>/dev/null || true)
missing=()
for package in "${wanted[@]}"; do
    grep -qxF "$package installed" <<<"$installed" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        say "not root, and sudo was not found. As root: apt-get install --no-install-recommends ${missing[*]}"
        exit 1
    fi
    as_root=(sudo)
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
# Wait for the lock: another apt process often runs after a machine has started.
apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300 "$@" >"$log" 2>&1 || {
        cat "$log" >&2
        say "apt-get $1 failed; still missing: ${missing[*]}"
        exit 1
    }
}

say "installing ${missing[*]}"
apt update
apt install --yes --no-install-recommends "${missing[@]}"
