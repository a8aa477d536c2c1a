#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Installs every system package the build and the tests need. Idempotent: when
# everything is already there it returns without touching apt.
set -euo pipefail

packages=(
  build-essential cmake pkg-config git
  qt6-base-dev qt6-base-dev-tools libqt6dbus6 libqt6network6
  libplist-dev libicu-dev libsecret-1-dev libcanberra-dev
  clang-format
  dbus dbus-daemon
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update
  $sudo apt-get install -y --no-install-recommends "${missing[@]}"
fi
