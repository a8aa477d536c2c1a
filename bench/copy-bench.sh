#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# What the speed table (speed-bench.sh) does not show: how closely a copy
# keeps to a speed limit, and that the memory of a walk and of a copy of a
# 4 GiB sparse file does not grow with their size.
#
#   bench/copy-bench.sh [BUILD_DIR]      (default: build)
#
# Environment: BENCH_DIR (where the data goes; default a temporary folder on
# the file system of the build directory), BENCH_QUICK=1 (skip the
# ten-second limit runs), FERROWICK_BENCH (a driver built elsewhere).
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${1:-$ROOT/build}
DRIVER=${FERROWICK_BENCH:-$BUILD/bench/ferrowick-bench}

if [[ -z ${FERROWICK_BENCH:-} ]]; then
    if [[ ! -f $BUILD/CMakeCache.txt ]]; then
        cmake -S "$ROOT" -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
    fi
    cmake --build "$BUILD" --target ferrowick-bench -j"$(nproc)" >/dev/null
fi

DATA=${BENCH_DIR:-$(mktemp -d "$BUILD/bench-data.XXXXXX")}
mkdir -p "$DATA"
trap 'rm -rf "$DATA"' EXIT
export QT_LOGGING_RULES="ferrowick.*=false"

echo "data in $DATA ($(df -h --output=fstype,avail "$DATA" | tail -1 | xargs))"

# peak RSS and time from the driver's "maxrss_kib=... elapsed=..." line.
memory() {
    printf '%-26s peak RSS %s MiB (%s)\n' "$1" \
        "$(($(sed -n 's/.*maxrss_kib=\([0-9]*\).*/\1/p' <<<"$2") / 1024))" \
        "$(sed -n 's/.*\(elapsed=[0-9.]*\).*/\1 s/p' <<<"$2")"
}

if [[ ${BENCH_QUICK:-0} != 1 ]]; then
    head -c 64M /dev/urandom >"$DATA/limited.bin"
    for limit in 10000 1048576; do
        rm -rf "$DATA/out"
        mkdir -p "$DATA/out"
        line=$("$DRIVER" copy "$DATA/limited.bin" "$DATA/out" --limit "$limit" --seconds 10.5 || true)
        rate=$(sed -n 's/.*reported_rate=\([0-9.]*\).*/\1/p' <<<"$line")
        printf '%-26s limit %8s B/s  average over 10 s %11s B/s  (%+.2f%%)\n' "speed limit" \
            "$limit" "$rate" "$(awk -v r="$rate" -v l="$limit" 'BEGIN { print (r - l) * 100 / l }')"
    done
    rm -rf "$DATA/out" "$DATA/limited.bin"
fi

# Memory of the walk must not grow with the tree: 10,000 and then 100,000
# empty files.
for count in 10000 100000; do
    rm -rf "$DATA/walk"
    "$DRIVER" tree "$DATA/walk" "$count" 0
    memory "walk $count entries" "$("$DRIVER" walk "$DATA/walk")"
done
rm -rf "$DATA/walk"

mkdir -p "$DATA/out"
truncate -s 4G "$DATA/sparse.bin"
memory "copy 4 GiB sparse file" "$("$DRIVER" copy "$DATA/sparse.bin" "$DATA/out")"
