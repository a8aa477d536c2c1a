#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Times a 1 GiB download from nginx on 127.0.0.1 through Ferrowick's HTTP
# reader and copy operation (a small driver program) against curl and wget,
# in one run on the same file, and prints the ratios and each tool's peak
# memory. A 64 MiB download shows whether memory stays flat with the size.
#
#   bench/http-bench.sh [BUILD_DIR]      (default: build)
#
# Environment: BENCH_DIR (where the data goes; default a temporary folder on
# the file system of the build directory), BENCH_RUNS (repetitions, the
# median counts; default 3), BENCH_SIZE (bytes of the large file; default
# 1 GiB), FERROWICK_HTTP_BENCH (a driver built elsewhere).
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=$(realpath -m "${1:-$ROOT/build}")
RUNS=${BENCH_RUNS:-3}
SIZE=${BENCH_SIZE:-1073741824}
DRIVER=${FERROWICK_HTTP_BENCH:-$BUILD/bench/ferrowick-http-bench}

for tool in nginx curl wget; do
    if ! command -v "$tool" >/dev/null && [[ ! -x /usr/sbin/$tool ]]; then
        echo "$tool is not installed (scripts/install-deps.sh)" >&2
        exit 1
    fi
done
NGINX=$(command -v nginx || echo /usr/sbin/nginx)

if [[ -z ${FERROWICK_HTTP_BENCH:-} ]]; then
    if [[ ! -f $BUILD/CMakeCache.txt ]]; then
        cmake -S "$ROOT" -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
    fi
    cmake --build "$BUILD" --target ferrowick-http-bench -j"$(nproc)" >/dev/null
fi

DATA=${BENCH_DIR:-$(mktemp -d "$BUILD/http-bench-data.XXXXXX")}
mkdir -p "$DATA/www" "$DATA/nginx" "$DATA/out"
NGINX_PID=
cleanup() {
    if [[ -n $NGINX_PID ]]; then
        kill "$NGINX_PID" 2>/dev/null || true
        wait "$NGINX_PID" 2>/dev/null || true
    fi
    rm -rf "$DATA"
}
trap cleanup EXIT
export QT_LOGGING_RULES="ferrowick.*=false"

port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
n=$DATA/nginx
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
    curl -s -o /dev/null "http://127.0.0.1:$port/" && break
    sleep 0.1
done

# run TOOL URL: prints "SECONDS PEAK_RSS_KIB" of one download into a fresh
# folder, with the page cache written back first so that no run pays for the
# previous one's dirty pages.
run() {
    local tool=$1 url=$2
    rm -rf "$DATA/out"
    mkdir -p "$DATA/out"
    sync
    case $tool in
    ferrowick) command=("$DRIVER" "$url" "$DATA/out") ;;
    curl) command=(curl -s -f -o "$DATA/out/file" "$url") ;;
    wget) command=(wget -q -O "$DATA/out/file" "$url") ;;
    esac
    python3 - "${command[@]}" <<'EOF'
import resource, subprocess, sys, time
start = time.monotonic()
result = subprocess.run(sys.argv[1:], stdout=subprocess.DEVNULL)
elapsed = time.monotonic() - start
if result.returncode != 0:
    sys.exit("%s failed with %d" % (sys.argv[1], result.returncode))
print("%.3f %d" % (elapsed, resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss))
EOF
    cmp -s "$DATA/www/$(basename "$url")" "$DATA/out/$(ls "$DATA/out")" ||
        { echo "$tool: the download differs from the file" >&2; exit 1; }
}

median() {
    printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { printf "%.3f", v[int((NR + 1) / 2)] }'
}

ratio() {
    awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'
}

# compare NAME: times each tool RUNS times, interleaved so that none always
# goes first, and prints the medians, the ratios and the peak memory.
compare() {
    local name=$1 url=http://127.0.0.1:$port/$1
    local -A times=() rss=()
    local result seconds kib
    for ((i = 0; i < RUNS; i++)); do
        for tool in ferrowick curl wget; do
            result=$(run "$tool" "$url")
            read -r seconds kib <<<"$result"
            times[$tool]+="$seconds "
            rss[$tool]=$kib
        done
    done
    local ours curl_time wget_time
    # shellcheck disable=SC2086
    ours=$(median ${times[ferrowick]})
    # shellcheck disable=SC2086
    curl_time=$(median ${times[curl]})
    # shellcheck disable=SC2086
    wget_time=$(median ${times[wget]})
    printf '%-22s ferrowick %7ss  curl %7ss  ratio %5s (aim 1.1x)  wget %7ss  ratio %5s\n' \
        "download $2" "$ours" "$curl_time" "$(ratio "$ours" "$curl_time")" "$wget_time" \
        "$(ratio "$ours" "$wget_time")"
    printf '%-22s ferrowick %5d MiB  curl %5d MiB  wget %5d MiB\n' "  peak RSS" \
        $((rss[ferrowick] / 1024)) $((rss[curl] / 1024)) $((rss[wget] / 1024))
}

echo "data in $DATA ($(df -h --output=fstype,avail "$DATA" | tail -1 | xargs)), nginx on 127.0.0.1:$port"
echo "making a file of $SIZE bytes and one of 64 MiB..."
head -c "$SIZE" /dev/urandom >"$DATA/www/big.bin"
head -c 64M /dev/urandom >"$DATA/www/small.bin"
sync

compare small.bin "64 MiB"
compare big.bin "$(awk -v s="$SIZE" 'BEGIN { printf "%.2f GiB", s / 1073741824 }')"
