#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# ferrowick-cli copy of many one-byte files given as separate sources (one
# task each, as a user drops a selection of files on a queue) against cp of
# the same files, on tmpfs and on disk: wall time, peak memory and their
# ratios. Then the same copy is killed with SIGKILL half-way and resumed
# with `ferrowick-cli run` of its saved queue, which must end with every
# file copied exactly.
#
#   bench/cli-sources-bench.sh [BUILD_DIR] [COUNT]     (COUNT: 10000)
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=$(realpath -m "${1:-$ROOT/build}")
COUNT=${2:-10000}
CLI=$BUILD/cli/ferrowick-cli
if [[ ! -x $CLI ]]; then
    cmake --build "$BUILD" --target ferrowick-cli -j"$(nproc)" >/dev/null
fi
export QT_LOGGING_RULES="ferrowick.*=false"
export XDG_CONFIG_HOME=$(mktemp -d)

# Prints "SECONDS KIB" of one command; its output is thrown away.
measure() {
    local report
    report=$(mktemp)
    # A run that fails is timed too; what it left is checked apart.
    /usr/bin/time -f "%e %M" -o "$report" "$@" >/dev/null 2>&1 </dev/null || true
    tail -n 1 "$report"
    rm -f "$report"
}

# The sources as the shell passes them: one argument a file.
make_sources() {
    local dir=$1
    mkdir -p "$dir/src"
    (cd "$dir/src" && for ((i = 0; i < COUNT; i++)); do printf '%s' $((i % 10)) >"f$i"; done)
}

check_copies() {
    local dir=$1 out=$2
    local differences
    if ! differences=$(diff -rq "$dir/src" "$out" 2>&1); then
        echo "FAILED: $out differs from the sources:" >&2
        head -n 5 <<<"$differences" >&2
        return 1
    fi
}

run_place() {
    local label=$1 base=$2
    local dir
    dir=$(mktemp -d "$base/ferrowick-cli-bench.XXXXXX")
    make_sources "$dir"
    local sources=()
    for ((i = 0; i < COUNT; i++)); do sources+=("$dir/src/f$i"); done

    mkdir "$dir/cp"
    read -r cp_s cp_kib < <(measure cp "${sources[@]}" "$dir/cp/")
    check_copies "$dir" "$dir/cp"

    mkdir "$dir/fw"
    read -r fw_s fw_kib < <(measure "$CLI" copy "${sources[@]}" "$dir/fw/" --on-conflict cancel)
    check_copies "$dir" "$dir/fw"

    awk -v l="$label" -v n="$COUNT" -v cs="$cp_s" -v ck="$cp_kib" -v fs="$fw_s" -v fk="$fw_kib" \
        'BEGIN { printf "%-7s %6d files   cp %7.2f s %7.1f MiB   ferrowick-cli %7.2f s %7.1f MiB   time x%.1f\n",
                 l, n, cs, ck / 1024, fs, fk / 1024, fs / (cs > 0.01 ? cs : 0.01) }'

    # The same tasks failing, on a file system with room for a few inodes:
    # failing must cost no more than succeeding. Needs root to mount it.
    local full=$dir/full
    mkdir "$full"
    if mount -t tmpfs -o size=1m,nr_inodes=64 ferrowick-bench "$full" 2>/dev/null; then
        read -r fail_s fail_kib < <(measure "$CLI" copy "${sources[@]}" "$full/" --on-conflict cancel)
        umount "$full"
        awk -v l="$label" -v n="$COUNT" -v fs="$fw_s" -v xs="$fail_s" -v xk="$fail_kib" \
            'BEGIN { printf "%-7s %6d failing tasks (no inodes left)   ferrowick-cli %7.2f s %7.1f MiB   x%.2f of succeeding (aim <= 1)\n",
                     l, n, xs, xk / 1024, xs / (fs > 0.01 ? fs : 0.01) }'
    else
        echo "$label  failing tasks: not measured (mounting a small tmpfs needs root)"
    fi

    # Killed half-way: the saved queue must carry the rest.
    mkdir "$dir/killed"
    "$CLI" copy "${sources[@]}" "$dir/killed/" --on-conflict cancel --save "$dir/killed.queue" \
        >/dev/null 2>&1 </dev/null &
    local pid=$!
    local half=$((COUNT / 2))
    while kill -0 "$pid" 2>/dev/null && (($(find "$dir/killed" -type f | wc -l) < half)); do
        sleep 0.05
    done
    kill -9 "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
    local done_before
    done_before=$(find "$dir/killed" -type f | wc -l)
    read -r run_s run_kib < <(measure "$CLI" run "$dir/killed.queue" --on-conflict cancel)
    if check_copies "$dir" "$dir/killed"; then
        awk -v l="$label" -v d="$done_before" -v n="$COUNT" -v rs="$run_s" -v rk="$run_kib" \
            'BEGIN { printf "%-7s killed after %d of %d copies; run resumed the rest in %.2f s (%.1f MiB): all exact\n",
                     l, d, n, rs, rk / 1024 }'
    fi
    rm -rf "$dir"
}

if [[ $(stat -f -c %T /dev/shm 2>/dev/null) == tmpfs ]]; then
    run_place tmpfs /dev/shm
fi
run_place disk "${BENCH_DISK_DIR:-/var/tmp}"
