#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# The speed table: ferrowick-cli, timed as a user would time it, against the
# tool a user would otherwise pick, on the same data in the same run, once on
# tmpfs and once on the disk the build directory is on. Each row is the
# fastest of BENCH_RUNS runs of each side, the two sides alternating, with the
# page cache written back before every run. Peak memory is the largest
# resident size of the program over its runs.
#
#   bench/speed-bench.sh [BUILD_DIR]      (default: build)
#
# Environment: BENCH_RUNS (default 5), BENCH_SIZE (bytes of the large file;
# default 1 GiB), BENCH_FILES (small files; default 10000), BENCH_TMPFS (a
# folder on tmpfs; default /dev/shm, left out when it is not tmpfs),
# BENCH_DISK (a folder on disk; default the build directory),
# BENCH_PLACES ("tmpfs disk" by default).
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=$(realpath -m "${1:-$ROOT/build}")
RUNS=${BENCH_RUNS:-5}
SIZE=${BENCH_SIZE:-1073741824}
FILES=${BENCH_FILES:-10000}
CLI=$BUILD/cli/ferrowick-cli
NGINX=$(command -v nginx || echo /usr/sbin/nginx)

for tool in cp cmp curl python3 /usr/bin/time "$NGINX"; do
    if ! command -v "$tool" >/dev/null; then
        echo "$tool is not installed (scripts/install-deps.sh)" >&2
        exit 1
    fi
done
if [[ ! -f $BUILD/CMakeCache.txt ]]; then
    cmake -S "$ROOT" -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi
cmake --build "$BUILD" --target ferrowick-cli -j"$(nproc)" >/dev/null
export QT_LOGGING_RULES="ferrowick.*=false"

DATA=
NGINX_PID=
cleanup() {
    if [[ -n $NGINX_PID ]]; then
        kill "$NGINX_PID" 2>/dev/null || true
        wait "$NGINX_PID" 2>/dev/null || true
        NGINX_PID=
    fi
    if [[ -n $DATA ]]; then
        rm -rf "$DATA"
    fi
}
trap cleanup EXIT

# measure COMMAND...: runs one command line (several joined by ";;") and
# prints "SECONDS PEAK_RSS_KIB"; fails when any of them fails. The memory is
# read by GNU time, whose own few hundred KiB are all it adds.
measure() {
    local commands=() peak=0 kib start end
    sync
    start=$(date +%s.%N)
    for word in "$@" ";;"; do
        if [[ $word != ";;" ]]; then
            commands+=("$word")
            continue
        fi
        /usr/bin/time -f %M -o "$DATA/rss" "${commands[@]}" >/dev/null </dev/null ||
            { echo "${commands[*]} failed" >&2; return 1; }
        kib=$(tail -1 "$DATA/rss")
        ((kib > peak)) && peak=$kib
        commands=()
    done
    end=$(date +%s.%N)
    awk -v a="$start" -v b="$end" -v k="$peak" 'BEGIN { printf "%.3f %d\n", b - a, k }'
}

fresh_out() {
    rm -rf "$DATA/out"
    mkdir -p "$DATA/out"
}

# row LABEL AIM CHECK -- OURS... -- THEIRS...: the fastest of RUNS runs of
# each side, alternating, each into a fresh "out" folder; CHECK (a shell
# command) must succeed after every run.
row() {
    local label=$1 aim=$2 check=$3
    shift 3
    local ours=() theirs=() side=
    for word in "$@"; do
        if [[ $word == -- ]]; then
            side=${side:+theirs}
            side=${side:-ours}
            continue
        fi
        if [[ $side == ours ]]; then ours+=("$word"); else theirs+=("$word"); fi
    done
    local best_ours= best_theirs= rss_ours=0 rss_theirs=0 seconds kib
    for ((i = 0; i < RUNS; i++)); do
        for turn in ours theirs; do
            fresh_out
            if [[ $turn == ours ]]; then
                read -r seconds kib <<<"$(measure "${ours[@]}")"
                best_ours=$(awk -v a="$seconds" -v b="${best_ours:-1e9}" 'BEGIN { print (a < b) ? a : b }')
                ((kib > rss_ours)) && rss_ours=$kib
            else
                read -r seconds kib <<<"$(measure "${theirs[@]}")"
                best_theirs=$(awk -v a="$seconds" -v b="${best_theirs:-1e9}" 'BEGIN { print (a < b) ? a : b }')
                ((kib > rss_theirs)) && rss_theirs=$kib
            fi
            if ! eval "$check"; then
                echo "$label: the $turn side's copy differs from its source" >&2
                exit 1
            fi
        done
    done
    printf '  %-30s %8.3f s %8.3f s %7.2fx %8s %7d MiB %7d MiB\n' "$label" "$best_ours" \
        "$best_theirs" "$(awk -v a="$best_ours" -v b="$best_theirs" 'BEGIN { print a / b }')" \
        "$aim" $((rss_ours / 1024)) $((rss_theirs / 1024))
}

start_nginx() {
    local n=$DATA/nginx
    mkdir -p "$n"
    port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
    cat >"$n/nginx.conf" <<EOF
daemon off;
master_process off;
worker_processes 1;
pid $n/nginx.pid;
error_log $n/error.log warn;
events { worker_connections 64; }
http {
    access_log off;
    client_body_temp_path $n;
    proxy_temp_path $n;
    fastcgi_temp_path $n;
    uwsgi_temp_path $n;
    scgi_temp_path $n;
    default_type application/octet-stream;
    sendfile on;
    server {
        listen 127.0.0.1:$port;
        root $DATA/www;
    }
}
EOF
    "$NGINX" -p "$n" -c "$n/nginx.conf" -e "$n/error.log" &
    NGINX_PID=$!
    for ((i = 0; i < 100; i++)); do
        curl -s -o /dev/null "http://127.0.0.1:$port/" && return
        sleep 0.1
    done
    echo "nginx did not start" >&2
    exit 1
}

bench_place() {
    local place=$1 parent=$2
    DATA=$(mktemp -d "$parent/ferrowick-speed.XXXXXX")
    echo "$place: $DATA ($(df -h --output=fstype,avail "$DATA" | tail -1 | xargs))"
    mkdir -p "$DATA/www"
    head -c "$SIZE" /dev/urandom >"$DATA/www/big.bin"
    python3 - "$DATA/tree" "$FILES" <<'EOF'
import os, sys
root, count = sys.argv[1], int(sys.argv[2])
for i in range(count):
    folder = os.path.join(root, "d%03d" % (i // 100))
    if i % 100 == 0:
        os.makedirs(folder)
    with open(os.path.join(folder, "f%d" % i), "wb") as f:
        f.write(os.urandom(4096))
EOF
    truncate -s 5G "$DATA/sparse.bin"
    head -c 32768 /dev/urandom |
        dd of="$DATA/sparse.bin" bs=32768 seek=40000 conv=notrunc status=none
    start_nginx
    local big=$DATA/www/big.bin gib
    gib=$(awk -v s="$SIZE" 'BEGIN { printf "%g GiB", s / 1073741824 }')
    printf '  %-30s %10s %10s %8s %8s %11s %11s\n' "" "ferrowick" "reference" "ratio" "aim" \
        "peak ours" "peak ref"

    row "one $gib file / cp" 1.05x 'cmp -s "$big" "$DATA/out/big.bin"' \
        -- "$CLI" copy --on-conflict cancel "$big" "$DATA/out" \
        -- cp "$big" "$DATA/out/"
    row "$FILES x 4 KiB / cp -r" 1.5x 'diff -rq "$DATA/tree" "$DATA/out/tree" >/dev/null' \
        -- "$CLI" copy --on-conflict cancel "$DATA/tree" "$DATA/out" \
        -- cp -r "$DATA/tree" "$DATA/out/"
    # The same, against a cp that keeps what Ferrowick keeps: dates, modes, owners.
    row "$FILES x 4 KiB / cp -a" - 'diff -rq "$DATA/tree" "$DATA/out/tree" >/dev/null' \
        -- "$CLI" copy --on-conflict cancel "$DATA/tree" "$DATA/out" \
        -- cp -a "$DATA/tree" "$DATA/out/"
    row "copy+verify $gib / cp;cmp" "<1x" 'cmp -s "$big" "$DATA/out/big.bin"' \
        -- "$CLI" copy --verify --on-conflict cancel "$big" "$DATA/out" \
        -- cp "$big" "$DATA/out/" ";;" cmp "$big" "$DATA/out/big.bin"
    row "download $gib / curl" 1.0x 'cmp -s "$big" "$DATA/out/big.bin"' \
        -- "$CLI" copy --on-conflict cancel "http://127.0.0.1:$port/big.bin" "$DATA/out" \
        -- curl -s -f -o "$DATA/out/big.bin" "http://127.0.0.1:$port/big.bin"
    # The room the copy takes, beside cp's: only the 32 KiB of data.
    fresh_out
    "$CLI" copy --on-conflict cancel "$DATA/sparse.bin" "$DATA/out" >/dev/null
    mkdir -p "$DATA/out/cp"
    cp "$DATA/sparse.bin" "$DATA/out/cp/"
    printf '  %-30s %8s KiB %8s KiB %8s %8s\n' "5 GiB sparse (32 KiB data)" \
        "$(du -k "$DATA/out/sparse.bin" | cut -f1)" "$(du -k "$DATA/out/cp/sparse.bin" | cut -f1)" \
        "on disk" "as cp"
    cleanup
}

for place in ${BENCH_PLACES:-tmpfs disk}; do
    case $place in
    tmpfs)
        folder=${BENCH_TMPFS:-/dev/shm}
        if [[ $(stat -f -c %T "$folder" 2>/dev/null) != tmpfs ]]; then
            echo "tmpfs: $folder is not on tmpfs; left out (set BENCH_TMPFS)"
            continue
        fi
        bench_place tmpfs "$folder"
        ;;
    disk) bench_place disk "${BENCH_DISK:-$BUILD}" ;;
    esac
done
