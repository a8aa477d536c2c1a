#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Times a 1 GiB download and upload through Ferrowick's FTP reader and writer
# (the copy operation, through a small driver) against curl, on the same
# vsftpd on 127.0.0.1, in one run, and prints the ratios. Each figure is the
# median of BENCH_RUNS runs.
#
#   bench/ftp-bench.sh [BUILD_DIR]      (default: build)
#
# Environment: BENCH_DIR (where the data goes; default a folder in /dev/shm,
# so that no disk takes part), BENCH_RUNS (default 3), BENCH_SIZE_MIB
# (default 1024), FERROWICK_FTP_BENCH (a driver built elsewhere).
#
# "total" includes closing the endpoints, "transfer" ends with the last block.
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${1:-$ROOT/build}
RUNS=${BENCH_RUNS:-3}
SIZE_MIB=${BENCH_SIZE_MIB:-1024}
DRIVER=${FERROWICK_FTP_BENCH:-$BUILD/bench/ferrowick-ftp-bench}

for tool in vsftpd curl; do
    if ! command -v "$tool" >/dev/null && [[ ! -x /usr/sbin/$tool ]]; then
        echo "ftp-bench.sh: $tool is missing (scripts/install-deps.sh)" >&2
        exit 2
    fi
done

if [[ -z ${FERROWICK_FTP_BENCH:-} ]]; then
    if [[ ! -f $BUILD/CMakeCache.txt ]]; then
        cmake -S "$ROOT" -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
    fi
    cmake --build "$BUILD" --target ferrowick-ftp-bench -j"$(nproc)" >/dev/null
fi

if [[ -n ${BENCH_DIR:-} ]]; then
    DATA=$BENCH_DIR
    mkdir -p "$DATA"
elif [[ -d /dev/shm ]]; then
    DATA=$(mktemp -d /dev/shm/ferrowick-ftp-bench.XXXXXX)
else
    DATA=$(mktemp -d)
fi
SERVER_PID=
cleanup() {
    if [[ -n $SERVER_PID ]]; then
        kill "$SERVER_PID" 2>/dev/null
        wait "$SERVER_PID" 2>/dev/null || true # a stopped server is no failure
    fi
    rm -rf "$DATA"
}
trap cleanup EXIT
export QT_LOGGING_RULES="ferrowick.*=false"
# The driver's preferences stay out of the user's.
export XDG_CONFIG_HOME=$DATA/config

free_port() {
    python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

PORT=$(free_port)
PASV=$(free_port)
ROOTDIR=$DATA/root
mkdir -p "$ROOTDIR/up" "$DATA/empty" "$DATA/down" "$DATA/config"
chmod 755 "$DATA"
cat >"$DATA/vsftpd.conf" <<CONF
listen=YES
listen_address=127.0.0.1
listen_port=$PORT
background=NO
anonymous_enable=YES
local_enable=NO
write_enable=YES
anon_upload_enable=YES
anon_mkdir_write_enable=YES
anon_other_write_enable=YES
anon_world_readable_only=NO
anon_root=$ROOTDIR
no_anon_password=YES
anon_umask=022
allow_writeable_chroot=YES
secure_chroot_dir=$DATA/empty
pasv_enable=YES
pasv_min_port=$PASV
pasv_max_port=$((PASV + 10))
pasv_address=127.0.0.1
run_as_launching_user=YES
seccomp_sandbox=NO
isolate=NO
isolate_network=NO
xferlog_enable=NO
syslog_enable=NO
check_shell=NO
CONF
VSFTPD=$(command -v vsftpd || echo /usr/sbin/vsftpd)
"$VSFTPD" "$DATA/vsftpd.conf" &
SERVER_PID=$!
for _ in $(seq 50); do
    if curl -s -S --max-time 2 "ftp://127.0.0.1:$PORT/" -o /dev/null 2>/dev/null; then
        break
    fi
    sleep 0.1
done

echo "preparing ${SIZE_MIB} MiB in $DATA"
head -c "$((SIZE_MIB * 1024 * 1024))" /dev/urandom >"$DATA/source.bin"
cp "$DATA/source.bin" "$ROOTDIR/big.bin"
SERVER=ftp://127.0.0.1:$PORT

seconds() {
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null
    end=$(date +%s.%N)
    awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f", b - a }'
}

median() {
    printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { printf "%.3f", v[int((NR + 1) / 2)] }'
}

field() { # field NAME LINE
    sed -n "s/.*\\b$1=\\([0-9.]*\\).*/\\1/p" <<<"$2"
}

check() { # check FILE
    cmp -s "$DATA/source.bin" "$1" || {
        echo "ftp-bench.sh: $1 differs from the source" >&2
        exit 1
    }
}

curl_down=() curl_up=() fw_down=() fw_down_t=() fw_up=() fw_up_t=()
for ((i = 0; i < RUNS; i++)); do
    rm -f "$DATA/down/"*
    curl_down+=("$(seconds curl -s -S -o "$DATA/down/curl.bin" "$SERVER/big.bin")")
    check "$DATA/down/curl.bin"
    rm -f "$DATA/down/"*

    line=$("$DRIVER" download "$SERVER/big.bin" "$DATA/down" anonymous guest)
    fw_down+=("$(field seconds "$line")") fw_down_t+=("$(field transfer_seconds "$line")")
    check "$DATA/down/big.bin"
    rm -f "$DATA/down/"*

    rm -f "$DATA/down/"* "$ROOTDIR/up/"*

    curl_up+=("$(seconds curl -s -S -T "$DATA/source.bin" "$SERVER/up/curl.bin")")
    check "$ROOTDIR/up/curl.bin"
    rm -f "$ROOTDIR/up/"*

    line=$("$DRIVER" upload "$DATA/source.bin" "$SERVER/up/" anonymous guest)
    fw_up+=("$(field seconds "$line")") fw_up_t+=("$(field transfer_seconds "$line")")
    check "$ROOTDIR/up/source.bin"
    rm -f "$ROOTDIR/up/"*
done

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2fx", a / b }'; }
rate() { awk -v s="$1" -v m="$SIZE_MIB" 'BEGIN { printf "%.0f MiB/s", m / s }'; }

cd=$(median "${curl_down[@]}") cu=$(median "${curl_up[@]}")
fd=$(median "${fw_down[@]}") fdt=$(median "${fw_down_t[@]}")
fu=$(median "${fw_up[@]}") fut=$(median "${fw_up_t[@]}")
echo
echo "FTP on vsftpd, ${SIZE_MIB} MiB, median of $RUNS (seconds; ratio to curl; rate)"
printf '%-34s %8s  %-7s %s\n' "download: curl" "$cd" "" "$(rate "$cd")"
printf '%-34s %8s  %-7s %s\n' "download: Ferrowick total" "$fd" "$(ratio "$fd" "$cd")" "$(rate "$fd")"
printf '%-34s %8s  %-7s %s\n' "download: Ferrowick transfer" "$fdt" "$(ratio "$fdt" "$cd")" "$(rate "$fdt")"
printf '%-34s %8s  %-7s %s\n' "upload: curl" "$cu" "" "$(rate "$cu")"
printf '%-34s %8s  %-7s %s\n' "upload: Ferrowick total" "$fu" "$(ratio "$fu" "$cu")" "$(rate "$fu")"
printf '%-34s %8s  %-7s %s\n' "upload: Ferrowick transfer" "$fut" "$(ratio "$fut" "$cu")" "$(rate "$fut")"

