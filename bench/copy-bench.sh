#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Times the copy and verify operations against cp, rsync and cmp on the same
# data in one run, and measures the speed-limit precision and the memory of a
# copy of a 4 GiB sparse file.
#
#   bench/copy-bench.sh [BUILD_DIR]      (default: build)
#
# Environment: BENCH_DIR (where the data goes; default a temporary folder on
# the file system of the build directory), BENCH_RUNS (repetitions, the
# median counts; default 3), BENCH_QUICK=1 (skip the ten-second limit runs
# and the 4 GiB file), FERROWICK_BENCH (a driver built elsewhere).
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${1:-$ROOT/build}
RUNS=${BENCH_RUNS:-3}
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

HAVE_RSYNC=1
if ! command -v rsync >/dev/null; then
    HAVE_RSYNC=0
    echo "note: rsync is not installed; its column is left out (scripts/install-deps.sh)"
fi

# Seconds of one run of a command, with the page cache written back before
# it starts so that no run pays for the previous one's dirty pages.
seconds() {
    sync
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null
    end=$(date +%s.%N)
    awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f", b - a }'
}

median() {
    printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { printf "%.3f", v[int((NR + 1) / 2)] }'
}

# time_copy NAME SOURCE: prints the median seconds of copying SOURCE into a
# fresh folder with the named tool.
time_copy() {
    local tool=$1 source=$2 target=$DATA/out results=()
    for ((i = 0; i < RUNS; i++)); do
        rm -rf "$target"
        mkdir -p "$target"
        case $tool in
        ferrowick) results+=("$(seconds "$DRIVER" copy "$source" "$target")") ;;
        cp) results+=("$(seconds cp -a "$source" "$target/")") ;;
        rsync) results+=("$(seconds rsync -a "$source" "$target/")") ;;
        esac
    done
    median "${results[@]}"
}

ratio() {
    awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'
}

compare_copy() {
    local label=$1 source=$2 aim=$3
    local ours cp_time rsync_time
    ours=$(time_copy ferrowick "$source")
    cp_time=$(time_copy cp "$source")
    # Once more, in the other order, so that neither side always goes first.
    ours=$(median "$ours" "$(time_copy ferrowick "$source")")
    printf '%-26s ferrowick %7ss  cp %7ss  ratio %5s (aim %s)' "$label" "$ours" "$cp_time" \
        "$(ratio "$ours" "$cp_time")" "$aim"
    if ((HAVE_RSYNC)); then
        rsync_time=$(time_copy rsync "$source")
        printf '  rsync %7ss  ratio %5s' "$rsync_time" "$(ratio "$ours" "$rsync_time")"
    fi
    printf '\n'
}

echo "data in $DATA ($(df -h --output=fstype,avail "$DATA" | tail -1 | xargs))"
echo "making 1 GiB file and 10,000 files of 4 KiB..."
head -c 1G /dev/urandom >"$DATA/big.bin"
"$DRIVER" tree "$DATA/tree" 10000 4096
sync

compare_copy "copy 1 GiB file" "$DATA/big.bin" "1.1x"
compare_copy "copy 10,000 x 4 KiB" "$DATA/tree" "1.5x"

rm -rf "$DATA/out"
mkdir -p "$DATA/out"
cp -a "$DATA/big.bin" "$DATA/out/"
verify_times=() cmp_times=()
for ((i = 0; i < RUNS; i++)); do
    verify_times+=("$(seconds "$DRIVER" verify "$DATA/big.bin" "$DATA/out")")
    cmp_times+=("$(seconds cmp "$DATA/big.bin" "$DATA/out/big.bin")")
done
ours=$(median "${verify_times[@]}")
theirs=$(median "${cmp_times[@]}")
printf '%-26s ferrowick %7ss  cmp %6ss  ratio %5s (aim 1.2x)\n' "verify 1 GiB file" "$ours" \
    "$theirs" "$(ratio "$ours" "$theirs")"
rm -rf "$DATA/out" "$DATA/tree"

if [[ ${BENCH_QUICK:-0} != 1 ]]; then
    for limit in 10000 1048576; do
        rm -rf "$DATA/out"
        mkdir -p "$DATA/out"
        line=$("$DRIVER" copy "$DATA/big.bin" "$DATA/out" --limit "$limit" --seconds 10.5 || true)
        rate=$(sed -n 's/.*reported_rate=\([0-9.]*\).*/\1/p' <<<"$line")
        printf '%-26s limit %8s B/s  average over 10 s %11s B/s  (%+.2f%%)\n' "speed limit" \
            "$limit" "$rate" "$(awk -v r="$rate" -v l="$limit" 'BEGIN { print (r - l) * 100 / l }')"
    done

    # Memory of the walk must not grow with the tree: 10,000 and then
    # 100,000 empty files.
    for count in 10000 100000; do
        rm -rf "$DATA/walk"
        "$DRIVER" tree "$DATA/walk" "$count" 0
        line=$("$DRIVER" walk "$DATA/walk")
        printf '%-26s peak RSS %s MiB (%s)\n' "walk $count entries" \
            "$(( $(sed -n 's/.*maxrss_kib=\([0-9]*\).*/\1/p' <<<"$line") / 1024 ))" \
            "$(sed -n 's/.*\(elapsed=[0-9.]*\).*/\1 s/p' <<<"$line")"
    done
    rm -rf "$DATA/walk"

    rm -rf "$DATA/out" "$DATA/big.bin"
    mkdir -p "$DATA/out"
    truncate -s 4G "$DATA/sparse.bin"
    line=$("$DRIVER" copy "$DATA/sparse.bin" "$DATA/out")
    printf '%-26s peak RSS %s MiB (%s)\n' "copy 4 GiB sparse file" \
        "$(( $(sed -n 's/.*maxrss_kib=\([0-9]*\).*/\1/p' <<<"$line") / 1024 ))" \
        "$(sed -n 's/.*\(elapsed=[0-9.]*\).*/\1 s/p' <<<"$line")"
    # Only the data takes room, as with cp: 32 KiB of it in a 5 GiB file.
    rm -rf "$DATA/out" "$DATA/cp-out" "$DATA/sparse.bin"
    mkdir -p "$DATA/out" "$DATA/cp-out"
    truncate -s 5G "$DATA/sparse.bin"
    head -c 32768 /dev/urandom | dd of="$DATA/sparse.bin" bs=32768 seek=40000 conv=notrunc status=none
    "$DRIVER" copy "$DATA/sparse.bin" "$DATA/out" >/dev/null
    cp "$DATA/sparse.bin" "$DATA/cp-out/"
    printf '%-26s ferrowick %s KiB on disk  cp %s KiB  (aim: as cp)\n' "5 GiB sparse file" \
        "$(du -k "$DATA/out/sparse.bin" | cut -f1)" "$(du -k "$DATA/cp-out/sparse.bin" | cut -f1)"
    rm -rf "$DATA/out" "$DATA/cp-out" "$DATA/sparse.bin"
fi
