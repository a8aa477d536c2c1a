#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# The queue window with 1,000 and 10,000 tasks: first paint, scroll and
# slide frame times, memory per task and per row, one overall-rate change.
# Runs on a real X display under Xvfb when xvfb-run is there, offscreen
# otherwise.
#
#   bench/window-bench.sh [BUILD_DIR]
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=$(realpath -m "${1:-$ROOT/build}")
if [[ ! -f $BUILD/CMakeCache.txt ]]; then
    cmake -S "$ROOT" -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi
cmake --build "$BUILD" --target ferrowick-window-bench -j"$(nproc)" >/dev/null
DRIVER=$BUILD/bench/ferrowick-window-bench

for tasks in 1000 10000; do
    if command -v xvfb-run >/dev/null; then
        xvfb-run -a -s "-screen 0 1280x1024x24" "$DRIVER" "$tasks"
    else
        QT_QPA_PLATFORM=offscreen "$DRIVER" "$tasks"
    fi
    echo
done
