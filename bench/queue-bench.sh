#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Times a queue of 1,000, 10,000 and 100,000 one-byte copies (adding,
# saving, loading, running, memory, threads, an overall-rate change) against
# cp of the same files, once on tmpfs and once on disk.
#
# Memory: "peak MiB" is the whole child's peak; "save MiB" and "load MiB" are
# the peaks while it only saved or loaded (Linux clear_refs), "+save" and
# "+load" how far each rose above the size before it, and "held MiB" what the
# loaded queue keeps. Saving and loading should add little beyond the queue.
#
#   bench/queue-bench.sh [BUILD_DIR] [--sizes 1000,10000] [--timeout SECONDS]
#
# BUILD_DIR defaults to build; the options go to the driver (default: all
# three sizes, 600 s a size). Environment: BENCH_QUICK=1 (1,000 and 10,000
# only), BENCH_TMPFS_DIR and BENCH_DISK_DIR (where the data goes), and
# FERROWICK_QUEUE_BENCH (a driver built elsewhere).
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=$ROOT/build
if [[ $# -gt 0 && $1 != -* ]]; then
    BUILD=$(realpath -m "$1")
    shift
fi
DRIVER=${FERROWICK_QUEUE_BENCH:-$BUILD/bench/ferrowick-queue-bench}
OPTIONS=("$@")
if [[ ${BENCH_QUICK:-0} == 1 ]]; then
    OPTIONS=(--sizes "1000,10000" "${OPTIONS[@]}")
fi

if [[ -z ${FERROWICK_QUEUE_BENCH:-} ]]; then
    if [[ ! -f $BUILD/CMakeCache.txt ]]; then
        cmake -S "$ROOT" -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
    fi
    cmake --build "$BUILD" --target ferrowick-queue-bench -j"$(nproc)" >/dev/null
fi
export QT_LOGGING_RULES="ferrowick.*=false"

is_tmpfs() {
    [[ $(stat -f -c %T "$1") == tmpfs ]]
}

# The data goes in a fresh folder under each place, removed at the end.
# tmpfs: /dev/shm, or /tmp where that is one.
TMPFS_BASE=${BENCH_TMPFS_DIR:-}
if [[ -z $TMPFS_BASE ]]; then
    for candidate in /dev/shm /tmp; do
        if [[ -d $candidate ]] && is_tmpfs "$candidate"; then
            TMPFS_BASE=$candidate
            break
        fi
    done
fi
# Disk: next to the build, or /var/tmp when the build is on tmpfs.
DISK_BASE=${BENCH_DISK_DIR:-$BUILD}
if [[ -z ${BENCH_DISK_DIR:-} ]] && is_tmpfs "$DISK_BASE"; then
    DISK_BASE=/var/tmp
fi
TMPFS_DIR=
if [[ -n $TMPFS_BASE ]]; then
    TMPFS_DIR=$(mktemp -d "$TMPFS_BASE/ferrowick-queue-bench.XXXXXX")
fi
DISK_DIR=$(mktemp -d "$DISK_BASE/ferrowick-queue-bench.XXXXXX")
trap 'rm -rf ${TMPFS_DIR:+"$TMPFS_DIR"} "$DISK_DIR"' EXIT

if [[ -n $TMPFS_DIR ]]; then
    "$DRIVER" "${OPTIONS[@]}" "$TMPFS_DIR"
else
    echo "note: no tmpfs found (/dev/shm, /tmp); only the disk run is made"
fi
echo
"$DRIVER" "${OPTIONS[@]}" "$DISK_DIR"
