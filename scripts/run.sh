#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# What `make run` starts: the desktop window when a display is present, the
# terminal front end's demonstration queue otherwise, and, when neither was
# built, a short account of what the build produced.
set -euo pipefail
build=${1:-build}

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -x "$build/app/ferrowick" ]; then
  exec "$build/app/ferrowick"
fi
if [ -x "$build/cli/ferrowick-cli" ]; then
  exec "$build/cli/ferrowick-cli" demo
fi

echo "Ferrowick: the engine library and its tests are built."
echo
echo "Built in $build:"
find "$build" -maxdepth 2 \( -name 'libferrowick-*.a' -o -name 'tst_*' \) -type f -printf '  %p\n' | sort
echo
echo "Neither the window nor the terminal front end was built."
echo "Run the tests with:  make test"
