#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Installs every system package the build and the tests need. Idempotent: when
# everything is already there it returns without touching apt.
set -euo pipefail

packages=(
  # build
  build-essential cmake pkg-config git
  qt6-base-dev qt6-base-dev-tools libqt6dbus6 libqt6network6
  libplist-dev libicu-dev libsecret-1-dev libcanberra-dev libasound2-dev libssl-dev
  libssh2-1-dev
  clang-format
  # the translations: lupdate and lrelease, their CMake functions, and Qt's
  # own texts in the user's language
  qt6-l10n-tools qt6-tools-dev qt6-translations-l10n
  # the fuzz targets, built apart with clang and its libFuzzer runtime
  clang libclang-rt-14-dev
  # the desktop window: its drawings, and real windows for the screenshots
  qt6-svg-dev libqt6svg6 xvfb xauth desktop-file-utils appstream shared-mime-info
  # the sound theme whose events a finished queue can play
  sound-theme-freedesktop
  # the window as a screen reader meets it: the AT-SPI bus and its bindings
  at-spi2-core python3-pyatspi
  # packaging and its check: the Debian package's dependencies, file types and
  # icons as the desktop reads them, manual pages, shell completion, and
  # Debian's checker of packages
  dpkg-dev file libglib2.0-bin man-db bash-completion lintian
  # servers and peers the tests start on 127.0.0.1 or a private bus
  dbus dbus-daemon util-linux iproute2 vsftpd nginx-light python3 openssl
  gnome-keyring libsecret-tools
  openssh-server openssh-client python3-paramiko
  # reference tools of the benchmarks, and the memory they measure
  curl wget rsync time lftp
  # shared libraries of the FTP daemons unpacked below
  libsodium23 libcap2 libcrypt1 libpam0g libssl3 libhiredis0.14 libmemcached11
  libmemcachedutil2 libidn2-0 libpcre2-8-0 libpcre2-posix3 libacl1 libncursesw6
  libtinfo6 zlib1g
)

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

updated=0
if [ ${#missing[@]} -gt 0 ]; then
  $sudo apt-get update
  updated=1
  $sudo apt-get install -y --no-install-recommends "${missing[@]}"
fi

# Debian's FTP daemons exclude each other as packages, yet the tests run all
# three side by side: vsftpd is installed above, pure-ftpd and proftpd are
# unpacked into a cache folder outside the source tree and run from there.
ftpd_dir=${FERROWICK_FTPD_DIR:-/var/cache/ferrowick/ftpd}
unpack() {
  local package=$1 marker=$2
  [ -e "$ftpd_dir/$package/$marker" ] && return 0
  if [ "$updated" -eq 0 ]; then
    $sudo apt-get update
    updated=1
  fi
  local work
  work=$(mktemp -d)
  chmod 777 "$work" # apt-get download runs as the _apt user
  (cd "$work" && apt-get download "$package" 2>&1 | grep -v "^W: Download is performed unsandboxed" || true)
  $sudo mkdir -p "$ftpd_dir/$package"
  $sudo dpkg-deb -x "$work"/"${package}"_*.deb "$ftpd_dir/$package"
  rm -rf "$work"
}
unpack pure-ftpd usr/sbin/pure-ftpd
unpack proftpd-core usr/sbin/proftpd
# proftpd's TLS module, packaged apart from the daemon
unpack proftpd-mod-crypto usr/lib/proftpd/mod_tls.so
