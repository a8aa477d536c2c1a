#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# The queue window with 1,000, 10,000 and 100,000 tasks: first paint,
# frame times of scrolling, of inserting tasks (100 at once and 100 one a
# frame) and of progress, memory per task and per row, one overall-rate
# change; each figure beside its aim.
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

# A run that does not end by itself (a question nobody answers, a wait that
# never returns) is reported, not waited for.
limited() {
    timeout --kill-after=10 "$@"
}

for tasks in 1000 10000 100000; do
    status=0
    if command -v xvfb-run >/dev/null; then
        limited 600 xvfb-run -a -s "-screen 0 1280x1024x24" "$DRIVER" "$tasks" || status=$?
    else
        QT_QPA_PLATFORM=offscreen limited 600 "$DRIVER" "$tasks" || status=$?
    fi
    if ((status != 0)); then
        echo "window benchmark with $tasks tasks: ended with status $status (124: did not end)"
    fi
    echo
done

# From the command to the first painted window of an untitled queue, as a
# user starts the program, five times on one X display and one session bus
# of the benchmark's own (each run ends after its first paint and gives the
# bus name back).
cmake --build "$BUILD" --target ferrowick -j"$(nproc)" >/dev/null
if ! command -v xvfb-run >/dev/null || ! command -v dbus-run-session >/dev/null; then
    echo "start to first painted window: needs xvfb-run and dbus-run-session"
    exit 0
fi
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT
HOME=$WORK XDG_CONFIG_HOME=$WORK/config QT_LOGGING_RULES='ferrowick.*=false' \
    dbus-run-session -- xvfb-run -a -s "-screen 0 1280x1024x24" bash -c '
    for _ in 1 2 3 4 5; do
        before=$(date +%s%3N)
        after=$(FERROWICK_REPORT_FIRST_PAINT=1 timeout --kill-after=5 60 "$1" 2>/dev/null |
            sed -n "s/^first painted window at //p")
        [[ -n $after ]] && echo $((after - before))
    done' _ "$BUILD/app/ferrowick" | sort -n | awk '
    { t[NR] = $1 }
    END {
        if (NR == 0) { print "start to first painted window: the window never painted"; exit }
        printf "%-34s median %d ms, fastest %d ms (of %d starts)\n", "start to first painted window", t[int((NR + 1) / 2)], t[1], NR
    }'
