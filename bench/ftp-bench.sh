#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# FTP speed through ferrowick-cli, timed as a user would time it, against
# the tools a user would otherwise pick, on the same vsftpd on 127.0.0.1 in
# the same run: a large file down and up against curl, in plain text and
# over explicit TLS (each side checking the server's certificate), and a tree
# of small files down and up against lftp's mirror and mirror -R. Then a
# smaller tree down and up through ferrowick-relay with 10 ms each way (a
# 20 ms round trip, data connections too), where every command costs what it
# costs on a real link; there the commands the server logged per file are
# counted for each side as well. Each figure is the fastest of BENCH_RUNS
# runs, the two sides alternating.
#
#   bench/ftp-bench.sh [BUILD_DIR]      (default: build)
#
# Environment: BENCH_BUILD (0: use the build as it is, for a tree that
# others build under a lock; default 1, build the two programs first),
# BENCH_DIR (where the data goes; default a folder in /dev/shm,
# so that no disk takes part), BENCH_RUNS (default 3), BENCH_SIZE_MIB
# (default 1024), BENCH_FILES (small files of 4 KiB; default 1000),
# BENCH_RELAY_FILES (small files of 4 KiB through the relay; default 200).
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=$(realpath -m "${1:-$ROOT/build}")
RUNS=${BENCH_RUNS:-3}
SIZE_MIB=${BENCH_SIZE_MIB:-1024}
FILES=${BENCH_FILES:-1000}
RELAY_FILES=${BENCH_RELAY_FILES:-200}
DELAY_MS=10
CLI=$BUILD/cli/ferrowick-cli
RELAY=$BUILD/bench/ferrowick-relay
VSFTPD=$(command -v vsftpd || echo /usr/sbin/vsftpd)

for tool in curl lftp openssl python3 "$VSFTPD"; do
    if ! command -v "$tool" >/dev/null; then
        echo "ftp-bench.sh: $tool is missing (scripts/install-deps.sh)" >&2
        exit 2
    fi
done
if [[ ! -f $BUILD/CMakeCache.txt ]]; then
    cmake -S "$ROOT" -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi
if [[ ${BENCH_BUILD:-1} != 0 ]]; then
    cmake --build "$BUILD" --target ferrowick-cli --target ferrowick-relay -j"$(nproc)" >/dev/null
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
RELAY_PID=
cleanup() {
    if [[ -n $RELAY_PID ]]; then
        kill "$RELAY_PID" 2>/dev/null
        wait "$RELAY_PID" 2>/dev/null || true
    fi
    if [[ -n $SERVER_PID ]]; then
        kill "$SERVER_PID" 2>/dev/null
        wait "$SERVER_PID" 2>/dev/null || true # a stopped server is no failure
    fi
    rm -rf "$DATA"
}
trap cleanup EXIT
export QT_LOGGING_RULES="ferrowick.*=false"
# The trusted certificate and every other preference stay out of the user's;
# lftp reads no configuration of the user's either.
export XDG_CONFIG_HOME=$DATA/config HOME=$DATA/home

free_port() {
    python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

PORT=$(free_port)
PASV=$(free_port)
ROOTDIR=$DATA/root
mkdir -p "$ROOTDIR/up" "$DATA/empty" "$DATA/down" "$DATA/config" "$DATA/home"
chmod 755 "$DATA"
openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost \
    -addext "subjectAltName=DNS:localhost,IP:127.0.0.1" \
    -keyout "$DATA/server.key" -out "$DATA/server.crt" 2>/dev/null
# TLS is offered, not required: the plain rows stay plain. Data connections
# must reuse the login's TLS session, as vsftpd asks by default.
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
xferlog_enable=YES
xferlog_std_format=NO
log_ftp_protocol=YES
vsftpd_log_file=$DATA/commands.log
syslog_enable=NO
check_shell=NO
max_per_ip=0
max_clients=0
ssl_enable=YES
allow_anon_ssl=YES
force_anon_logins_ssl=NO
force_anon_data_ssl=NO
ssl_ciphers=HIGH
rsa_cert_file=$DATA/server.crt
rsa_private_key_file=$DATA/server.key
CONF
"$VSFTPD" "$DATA/vsftpd.conf" &
SERVER_PID=$!
for _ in $(seq 50); do
    if curl -s -S --max-time 2 "ftp://127.0.0.1:$PORT/" -o /dev/null 2>/dev/null; then
        break
    fi
    sleep 0.1
done
# The relay rewrites the passive replies, so that the data connections
# take the delay too.
"$RELAY" 127.0.0.1 "$PORT" "$DELAY_MS" ftp >"$DATA/relay.port" &
RELAY_PID=$!
for _ in $(seq 50); do
    [[ -s $DATA/relay.port ]] && break
    sleep 0.1
done
RELAY_PORT=$(head -1 "$DATA/relay.port")
if [[ -z $RELAY_PORT ]]; then
    echo "ftp-bench.sh: ferrowick-relay did not start" >&2
    exit 1
fi
"$CLI" trust "$(openssl x509 -noout -fingerprint -sha256 -in "$DATA/server.crt" | cut -d= -f2)" \
    >/dev/null

echo "preparing ${SIZE_MIB} MiB, ${FILES} and ${RELAY_FILES} files of 4 KiB in $DATA"
head -c "$((SIZE_MIB * 1024 * 1024))" /dev/urandom >"$DATA/source.bin"
cp "$DATA/source.bin" "$ROOTDIR/big.bin"
make_tree() { # make_tree FOLDER COUNT: COUNT files of 4 KiB in 20 folders
    mkdir -p "$1"
    python3 - "$1" "$2" <<'PY'
import os, sys
root, count = sys.argv[1], int(sys.argv[2])
for i in range(count):
    folder = os.path.join(root, "d%02d" % (i % 20))
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, "f%05d" % i), "wb") as f:
        f.write(os.urandom(4096))
PY
}
make_tree "$DATA/tree" "$FILES"
make_tree "$DATA/rtree" "$RELAY_FILES"
cp -r "$DATA/tree" "$ROOTDIR/tree"
cp -r "$DATA/rtree" "$ROOTDIR/rtree"

seconds() {
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null </dev/null
    end=$(date +%s.%N)
    awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f", b - a }'
}

fastest() {
    printf '%s\n' "$@" | sort -g | head -1
}

same() { # same EXPECTED COPY
    if ! diff -r -q "$1" "$2" >/dev/null; then
        echo "ftp-bench.sh: $2 differs from $1" >&2
        exit 1
    fi
}

# lftp in plain text (it would take TLS when offered). vsftpd, running as the
# launching user, does not change root: paths are relative to the login's
# folder, as Ferrowick's and curl's are.
lftp_run() { # lftp_run COMMANDS [PORT]
    lftp -c "set ftp:ssl-allow no; set net:max-retries 1; set xfer:clobber on;
             open -u anonymous, ftp://127.0.0.1:${2:-$PORT}; $1"
}

# logged COMMAND...: runs it and notes the commands the server logged
# meanwhile in $DATA/logged.
logged() {
    local before after
    before=$(grep -c "FTP command:" "$DATA/commands.log" 2>/dev/null || true)
    "$@"
    after=$(grep -c "FTP command:" "$DATA/commands.log" 2>/dev/null || true)
    echo $((${after:-0} - ${before:-0})) >"$DATA/logged"
}

PLAIN=ftp://127.0.0.1:$PORT
SECURE=ftps://127.0.0.1:$PORT
CACERT=(--cacert "$DATA/server.crt")
declare -A times commands
add() { times[$1]="${times[$1]:-} $2"; }
# timed_count KEY COMMAND...: times one run under KEY and keeps the commands
# the server logged for it.
timed_count() {
    local key=$1
    shift
    logged seconds "$@" >"$DATA/seconds"
    add "$key" "$(cat "$DATA/seconds")"
    commands[$key]=$(cat "$DATA/logged")
}

for ((i = 0; i < RUNS; i++)); do
    for scheme in plain tls; do
        if [[ $scheme == plain ]]; then
            server=$PLAIN curl_tls=()
        else
            server=$SECURE curl_tls=(--ssl-reqd "${CACERT[@]}")
        fi
        curl_url=ftp://127.0.0.1:$PORT

        rm -rf "$DATA/down/"*
        add "curl-down-$scheme" "$(seconds curl -s -S "${curl_tls[@]}" -o "$DATA/down/big.bin" \
            "$curl_url/big.bin")"
        same "$DATA/source.bin" "$DATA/down/big.bin"
        rm -rf "$DATA/down/"*
        add "fw-down-$scheme" "$(seconds "$CLI" copy "$server/big.bin" "$DATA/down/")"
        same "$DATA/source.bin" "$DATA/down/big.bin"
        rm -rf "$DATA/down/"*

        rm -rf "$ROOTDIR/up/"*
        add "curl-up-$scheme" "$(seconds curl -s -S "${curl_tls[@]}" -T "$DATA/source.bin" \
            "$curl_url/up/source.bin")"
        same "$DATA/source.bin" "$ROOTDIR/up/source.bin"
        rm -rf "$ROOTDIR/up/"*
        add "fw-up-$scheme" "$(seconds "$CLI" copy "$DATA/source.bin" "$server/up/")"
        same "$DATA/source.bin" "$ROOTDIR/up/source.bin"
        rm -rf "$ROOTDIR/up/"*
    done

    add lftp-tree-down "$(seconds lftp_run "mirror tree $DATA/down/tree")"
    same "$DATA/tree" "$DATA/down/tree"
    rm -rf "$DATA/down/"*
    add fw-tree-down "$(seconds "$CLI" copy "$PLAIN/tree/" "$DATA/down/")"
    same "$DATA/tree" "$DATA/down/tree"
    rm -rf "$DATA/down/"*

    add lftp-tree-up "$(seconds lftp_run "mirror -R $DATA/tree up/tree")"
    same "$DATA/tree" "$ROOTDIR/up/tree"
    rm -rf "$ROOTDIR/up/"*
    add fw-tree-up "$(seconds "$CLI" copy "$DATA/tree" "$PLAIN/up/")"
    same "$DATA/tree" "$ROOTDIR/up/tree"
    rm -rf "$ROOTDIR/up/"*

    # Through the relay: 20 ms for every round trip, as on a real link.
    timed_count lftp-relay-down lftp_run "mirror rtree $DATA/down/rtree" "$RELAY_PORT"
    same "$DATA/rtree" "$DATA/down/rtree"
    rm -rf "$DATA/down/"*
    timed_count fw-relay-down "$CLI" copy "ftp://127.0.0.1:$RELAY_PORT/rtree/" "$DATA/down/"
    same "$DATA/rtree" "$DATA/down/rtree"
    rm -rf "$DATA/down/"*

    timed_count lftp-relay-up lftp_run "mirror -R $DATA/rtree up/rtree" "$RELAY_PORT"
    same "$DATA/rtree" "$ROOTDIR/up/rtree"
    rm -rf "$ROOTDIR/up/"*
    timed_count fw-relay-up "$CLI" copy "$DATA/rtree" "ftp://127.0.0.1:$RELAY_PORT/up/"
    same "$DATA/rtree" "$ROOTDIR/up/rtree"
    rm -rf "$ROOTDIR/up/"*
done

row() { # row LABEL OURS REFERENCE
    local ours reference
    ours=$(fastest ${times[$2]})
    reference=$(fastest ${times[$3]})
    awk -v l="$1" -v a="$ours" -v b="$reference" \
        'BEGIN { printf "  %-34s %8.3f s %8.3f s %8.2fx %8s\n", l, a, b, a / b, "1.0x" }'
}

# commands_row LABEL OURS REFERENCE AIM: commands per file of the last run.
commands_row() {
    awk -v l="$1" -v a="${commands[$2]}" -v b="${commands[$3]}" -v n="$RELAY_FILES" -v aim="$4" \
        'BEGIN { printf "  %-34s %10.2f %10.2f %9s %8s\n", l, a / n, b / n, "", aim }'
}

echo
echo "FTP on vsftpd, 127.0.0.1, fastest of $RUNS"
printf '  %-34s %10s %10s %9s %8s\n' "" ferrowick reference ratio aim
row "${SIZE_MIB} MiB download / curl" fw-down-plain curl-down-plain
row "${SIZE_MIB} MiB upload / curl" fw-up-plain curl-up-plain
row "${SIZE_MIB} MiB download TLS / curl" fw-down-tls curl-down-tls
row "${SIZE_MIB} MiB upload TLS / curl" fw-up-tls curl-up-tls
row "${FILES} x 4 KiB down / lftp mirror" fw-tree-down lftp-tree-down
row "${FILES} x 4 KiB up / lftp mirror -R" fw-tree-up lftp-tree-up

echo
echo "The same through ferrowick-relay, $((2 * DELAY_MS)) ms round trip, fastest of $RUNS"
printf '  %-34s %10s %10s %9s %8s\n' "" ferrowick reference ratio aim
row "${RELAY_FILES} x 4 KiB down / lftp mirror" fw-relay-down lftp-relay-down
row "${RELAY_FILES} x 4 KiB up / lftp mirror -R" fw-relay-up lftp-relay-up
echo
echo "Commands vsftpd logged per file through the relay (all of a run, logins and listings too)"
printf '  %-34s %10s %10s %9s %8s\n' "" ferrowick lftp "" aim
# Down: EPSV and RETR. Up: EPSV and APPE, the size of what was stored, a
# look at the real name, RNFR and RNTO.
commands_row "down" fw-relay-down lftp-relay-down 2
commands_row "up" fw-relay-up lftp-relay-up 6
