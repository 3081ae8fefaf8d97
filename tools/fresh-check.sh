#!/bin/sh
# Proves the set-up on a machine that has nothing but the basics: makes a clean
# Debian 12 root with debootstrap (minbase plus the toolchain a new developer
# machine has: g++ cmake make git libgtest-dev libbenchmark-dev python3
# pkg-config), clones the committed project into it and runs the README's two
# commands there, tools/run-demo.sh and tools/test.sh, as root in a chroot.
# Prints "N passed, M failed" over the two commands; exits non-zero if either
# failed. Takes 20 to 40 minutes on 2 cores; not part of .ci/run.
#
#   tools/fresh-check.sh [ROOT]        ROOT defaults to /var/tmp/kcm-fresh
#
# KCM_FRESH_BASE=DIR keeps the pristine debootstrap result in DIR and copies it
# for each run instead of bootstrapping again (the copy is still a clean root:
# nothing of a previous run is in it). Needs root, and debootstrap (installed
# here if missing).
set -eu
project=$(cd "$(dirname "$0")/.." && pwd)
target=${1:-/var/tmp/kcm-fresh}
base=${KCM_FRESH_BASE:-}
suite=bookworm
toolchain="g++ cmake make git libgtest-dev libbenchmark-dev python3 pkg-config"

[ "$(id -u)" = 0 ] || { echo "fresh-check: run as root" >&2; exit 2; }
head=$(git -C "$project" rev-parse HEAD)
if [ -n "$(git -C "$project" status --porcelain)" ]; then
    echo "fresh-check: uncommitted changes are not checked; testing commit $head" >&2
fi

# The archive this machine's apt uses, so the chroot reaches the same mirror.
mirror=$(sed -n 's/^URIs: *\([^ ]*debian\)$/\1/p' /etc/apt/sources.list.d/debian.sources 2>/dev/null | head -n 1)
[ -n "$mirror" ] || mirror=$(sed -n 's/^deb \(http[^ ]*\) bookworm .*/\1/p' /etc/apt/sources.list 2>/dev/null | head -n 1)
[ -n "$mirror" ] || mirror=http://deb.debian.org/debian

command -v debootstrap >/dev/null || {
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends debootstrap >/dev/null
}

unmount_all() {
    for m in dev/pts dev proc sys; do
        mountpoint -q "$target/$m" 2>/dev/null && umount -l "$target/$m"
    done
    return 0
}
trap unmount_all EXIT INT TERM

bootstrap() {  # bootstrap DIR
    echo "== debootstrap $suite (minbase + $toolchain) from $mirror into $1"
    debootstrap --variant=minbase --include="$(echo "$toolchain" | tr ' ' ',')" \
        "$suite" "$1" "$mirror" >"$1.debootstrap.log" 2>&1 \
        || { tail -n 30 "$1.debootstrap.log"; echo "fresh-check: debootstrap failed" >&2; exit 1; }
}

unmount_all
rm -rf "$target"
if [ -n "$base" ]; then
    [ -x "$base/usr/bin/g++" ] || { rm -rf "$base"; mkdir -p "$(dirname "$base")"; bootstrap "$base"; }
    echo "== copying the pristine root $base"
    cp -a "$base" "$target"
else
    mkdir -p "$(dirname "$target")"
    bootstrap "$target"
fi

# Debian's security and point-release updates, as on the real machines, and
# this machine's apt settings (mirror access, no DEP-11 lists).
cat >"$target/etc/apt/sources.list" <<EOF
deb $mirror $suite main
deb $mirror $suite-updates main
deb ${mirror%/debian}/debian-security $suite-security main
EOF
cp /etc/apt/apt.conf.d/99* "$target/etc/apt/apt.conf.d/" 2>/dev/null || true

mount -t proc proc "$target/proc"
mount -t sysfs sys "$target/sys"
mount --bind /dev "$target/dev"
mount --bind /dev/pts "$target/dev/pts"
cp /etc/resolv.conf "$target/etc/resolv.conf" 2>/dev/null || true

git clone -q --no-local "$project" "$target/root/project"
git -C "$target/root/project" checkout -q "$head"

passed=0 failed=0
for command in tools/run-demo.sh tools/test.sh; do
    log=$target/root/$(basename "$command" .sh).log
    echo "== $command (log: $log)"
    t0=$(date +%s)
    if chroot "$target" /usr/bin/env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        LANG=C.UTF-8 CI=true sh -c "cd /root/project && $command" >"$log" 2>&1 </dev/null; then
        passed=$((passed + 1)); verdict=passed
    else
        failed=$((failed + 1)); verdict=FAILED
        tail -n 40 "$log"
    fi
    echo "$command: $verdict in $(($(date +%s) - t0)) s"
    grep -E 'tests passed|tests failed' "$log" | tail -n 2 || true
done
echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
