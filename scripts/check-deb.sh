#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Builds the Debian package, installs it with apt on this system, checks that
# the installed programs run and that the desktop sees the installation, and
# removes the package again (unless KEEP=1). Slow and system-wide, so not part
# of `make test`.
#
# Usage: scripts/check-deb.sh [BUILD-DIR]
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-build}
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive

make -C "$root" package BUILD="$build"
case $build in
    /*) ;;
    *) build=$root/$build ;;
esac
deb=$(ls -t "$build"/ferrowick_*.deb | head -n 1)
echo "== $deb"
dpkg-deb --field "$deb" Package Version Depends

failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

work=$(mktemp -d)
cleanup() {
    rm -rf "$work"
    [ "${KEEP:-0}" = 1 ] || $sudo apt-get remove -y ferrowick >/dev/null
}
trap cleanup EXIT
$sudo apt-get install -y --no-install-recommends "$deb"

# The window program needs a display only once it opens a window.
version=$(QT_QPA_PLATFORM=offscreen ferrowick --version 2>/dev/null) || fail "ferrowick --version"
# The package's version adds its own revision to the program's.
package_version=$(dpkg-deb --field "$deb" Version)
[ "$version" = "Ferrowick ${package_version%-*}" ] ||
    fail "ferrowick --version printed '$version'"
echo "ferrowick --version: $version"
ferrowick-cli help >/dev/null || fail "ferrowick-cli help"

echo "some bytes" >"$work/source"
HOME=$work XDG_CONFIG_HOME=$work/config ferrowick-cli copy "$work/source" "$work/out" \
    --save "$work/copy.queue" </dev/null >/dev/null || fail "ferrowick-cli copy"
cmp -s "$work/source" "$work/out/source" || fail "ferrowick-cli did not copy"

# The system's own triggers have refreshed the file type, desktop entry and
# manual page databases.
type=$(GIO_USE_VFS=local gio info -a standard::content-type "$work/copy.queue" |
    sed -n 's/^ *standard::content-type: //p')
[ "$type" = application/x-ferrowick-queue ] || fail "copy.queue is '$type'"
out=$(gio mime application/x-ferrowick-queue 2>&1)
grep -q "com.velmarind.Ferrowick.desktop" <<<"$out" || fail "no application for queues: $out"
man -w ferrowick ferrowick-cli >/dev/null || fail "man cannot find the pages"
grep -qx "Exec=/usr/bin/ferrowick --service" /usr/share/dbus-1/services/com.velmarind.Ferrowick.service ||
    fail "the D-Bus service does not start /usr/bin/ferrowick"
[ -f /usr/share/velmarind/Ferrowick/sounds/Glass.wav ] || fail "no sounds"

if [ "$failures" -ne 0 ]; then
    echo "$failures failure(s)"
    exit 1
fi
echo "the package installs and runs"
