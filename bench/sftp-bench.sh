#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# SFTP speed through ferrowick-cli against OpenSSH's own sftp client, on one
# OpenSSH sshd on 127.0.0.1 started here, in the same run: a large file down
# and up, and a tree of small files down and up (get -r / put -r). Once over
# loopback, once through ferrowick-relay with 10 ms each way (a 20 ms round
# trip), where waiting on the server, not copying bytes, decides. Each figure
# is the fastest of BENCH_RUNS runs, the two sides alternating; every copy is
# compared with its source.
#
#   bench/sftp-bench.sh [BUILD_DIR]      (default: build)
#
# Environment: BENCH_DIR (where the data goes; default a folder in /dev/shm,
# so that no disk takes part), BENCH_RUNS (default 3), BENCH_SIZE_MIB
# (default 1024), BENCH_RELAY_SIZE_MIB (the large file through the delaying
# relay; default 256, to keep the run short), BENCH_FILES (small files of
# 4 KiB; default 1000).
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=$(realpath -m "${1:-$ROOT/build}")
RUNS=${BENCH_RUNS:-3}
SIZE_MIB=${BENCH_SIZE_MIB:-1024}
RELAY_SIZE_MIB=${BENCH_RELAY_SIZE_MIB:-256}
FILES=${BENCH_FILES:-1000}
DELAY_MS=10
CLI=$BUILD/cli/ferrowick-cli
RELAY=$BUILD/bench/ferrowick-relay
SSHD=/usr/sbin/sshd

for tool in sftp ssh-keygen python3 /usr/bin/time "$SSHD"; do
    if ! command -v "$tool" >/dev/null; then
        echo "sftp-bench.sh: $tool is missing (scripts/install-deps.sh)" >&2
        exit 2
    fi
done
if [[ ! -f $BUILD/CMakeCache.txt ]]; then
    cmake -S "$ROOT" -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi
cmake --build "$BUILD" --target ferrowick-cli --target ferrowick-relay -j"$(nproc)" >/dev/null

if [[ -n ${BENCH_DIR:-} ]]; then
    DATA=$BENCH_DIR
    mkdir -p "$DATA"
elif [[ -d /dev/shm ]]; then
    DATA=$(mktemp -d /dev/shm/ferrowick-sftp-bench.XXXXXX)
else
    DATA=$(mktemp -d)
fi
DATA=$(realpath "$DATA")
SERVER_PID=
RELAY_PID=
stop() { # stop PID
    kill "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true # a stopped server is no failure
}
cleanup() {
    [[ -n $RELAY_PID ]] && stop "$RELAY_PID"
    [[ -n $SERVER_PID ]] && stop "$SERVER_PID"
    rm -rf "$DATA"
}
trap cleanup EXIT
export QT_LOGGING_RULES="ferrowick.*=false"
# Keys, known hosts and every other preference stay out of the user's, and
# no agent of the user's offers its keys.
export XDG_CONFIG_HOME=$DATA/config HOME=$DATA/home
unset SSH_AUTH_SOCK SSH_AGENT_PID

free_port() {
    python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

USER_NAME=$(id -un)
SERVER=$DATA/server
SERVED=$DATA/root
mkdir -p "$SERVER" "$SERVED/up" "$DATA/down" "$DATA/config" "$HOME/.ssh"
chmod 700 "$HOME/.ssh"
ssh-keygen -q -t ed25519 -N '' -C ferrowick-bench -f "$SERVER/host_ed25519"
ssh-keygen -q -t ed25519 -N '' -C ferrowick-bench -f "$SERVER/user_ed25519"
cp "$SERVER/user_ed25519.pub" "$SERVER/authorized_keys"
cp "$SERVER/user_ed25519" "$HOME/.ssh/id_ed25519"
cp "$SERVER/user_ed25519.pub" "$HOME/.ssh/id_ed25519.pub"
chmod 600 "$HOME/.ssh/id_ed25519"
KEY=$HOME/.ssh/id_ed25519
KNOWN=$HOME/.ssh/known_hosts

# As root the daemon insists on its privilege separation folder.
if [[ $(id -u) == 0 && ! -d /run/sshd ]]; then
    mkdir -p /run/sshd
    chmod 755 /run/sshd
fi
PORT=$(free_port)
# Keys only, for this one account.
cat >"$SERVER/sshd_config" <<CONF
ListenAddress 127.0.0.1:$PORT
HostKey $SERVER/host_ed25519
AuthorizedKeysFile $SERVER/authorized_keys
PidFile $SERVER/sshd.pid
StrictModes no
UsePAM no
PasswordAuthentication no
KbdInteractiveAuthentication no
PubkeyAuthentication yes
PermitRootLogin prohibit-password
AllowUsers $USER_NAME
Subsystem sftp internal-sftp
UseDNS no
PrintMotd no
MaxStartups 100
CONF
"$SSHD" -D -e -f "$SERVER/sshd_config" 2>"$SERVER/sshd.log" &
SERVER_PID=$!

# listening PORT: whether something on 127.0.0.1:PORT greets as an SSH server.
greets() {
    python3 - "$1" <<'PY'
import socket, sys
try:
    with socket.create_connection(("127.0.0.1", int(sys.argv[1])), timeout=2) as s:
        s.settimeout(2)
        sys.exit(0 if s.recv(4).startswith(b"SSH-") else 1)
except OSError:
    sys.exit(1)
PY
}
for _ in $(seq 50); do
    greets "$PORT" && break
    kill -0 "$SERVER_PID" 2>/dev/null || break
    sleep 0.1
done
if ! greets "$PORT"; then
    echo "sftp-bench.sh: sshd did not start:" >&2
    cat "$SERVER/sshd.log" >&2
    exit 1
fi

"$RELAY" 127.0.0.1 "$PORT" "$DELAY_MS" >"$DATA/relay.port" &
RELAY_PID=$!
for _ in $(seq 50); do
    [[ -s $DATA/relay.port ]] && break
    sleep 0.1
done
RELAY_PORT=$(head -1 "$DATA/relay.port")
if [[ -z $RELAY_PORT ]] || ! greets "$RELAY_PORT"; then
    echo "sftp-bench.sh: ferrowick-relay did not start" >&2
    exit 1
fi

# Both sides know the server's key on either port, and nothing else.
read -r key_type key_text _ <"$SERVER/host_ed25519.pub"
printf '[127.0.0.1]:%s %s %s\n' "$PORT" "$key_type" "$key_text" \
    "$RELAY_PORT" "$key_type" "$key_text" >"$KNOWN"
chmod 600 "$KNOWN"

echo "preparing ${SIZE_MIB} MiB, ${RELAY_SIZE_MIB} MiB and ${FILES} files of 4 KiB in $DATA"
head -c "$((SIZE_MIB * 1024 * 1024))" /dev/urandom >"$DATA/source.bin"
head -c "$((RELAY_SIZE_MIB * 1024 * 1024))" /dev/urandom >"$DATA/relayed.bin"
cp "$DATA/source.bin" "$SERVED/big.bin"
cp "$DATA/relayed.bin" "$SERVED/relayed.bin"
mkdir -p "$DATA/tree"
python3 - "$DATA/tree" "$FILES" <<'PY'
import os, sys
root, count = sys.argv[1], int(sys.argv[2])
for i in range(count):
    folder = os.path.join(root, "d%02d" % (i % 20))
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, "f%05d" % i), "wb") as f:
        f.write(os.urandom(4096))
PY
cp -r "$DATA/tree" "$SERVED/tree"

declare -A times peaks
# measure KEY COMMAND...: one run, its seconds and peak memory (KiB) kept
# under KEY; the bench fails when the command does. GNU time adds only its
# own few hundred KiB.
measure() {
    local key=$1 start end kib
    shift
    start=$(date +%s.%N)
    if ! /usr/bin/time -f %M -o "$DATA/rss" "$@" >"$DATA/output" 2>&1 </dev/null; then
        echo "sftp-bench.sh: failed: $*" >&2
        cat "$DATA/output" "$DATA/rss" >&2
        exit 1
    fi
    end=$(date +%s.%N)
    times[$key]="${times[$key]:-} $(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f", b - a }')"
    kib=$(tail -1 "$DATA/rss")
    if ((kib > ${peaks[$key]:-0})); then
        peaks[$key]=$kib
    fi
}

same() { # same EXPECTED COPY
    if ! diff -r -q "$1" "$2" >/dev/null; then
        echo "sftp-bench.sh: $2 differs from $1" >&2
        exit 1
    fi
}

# The reference: OpenSSH's client with no configuration of the user's, the
# bench's key and known hosts only, running the one command in "batch".
SFTP=(sftp -q -b "$DATA/batch" -F /dev/null -i "$KEY" -o IdentitiesOnly=yes
    -o UserKnownHostsFile="$KNOWN" -o StrictHostKeyChecking=yes -o BatchMode=yes)
batch() { printf '%s\n' "$1" >"$DATA/batch"; }

fresh() {
    rm -rf "$DATA/down" "$SERVED/up"
    mkdir -p "$DATA/down" "$SERVED/up"
}

for ((i = 0; i < RUNS; i++)); do
    for link in loopback delayed; do
        if [[ $link == loopback ]]; then
            port=$PORT file=big.bin source=$DATA/source.bin
        else
            port=$RELAY_PORT file=relayed.bin source=$DATA/relayed.bin
        fi
        url=sftp://$USER_NAME@127.0.0.1:$port$SERVED
        sftp=("${SFTP[@]}" -P "$port" "$USER_NAME@127.0.0.1")
        uploaded=$SERVED/up/${source##*/}

        fresh
        batch "get $SERVED/$file $DATA/down/$file"
        measure "sftp-down-$link" "${sftp[@]}"
        same "$source" "$DATA/down/$file"
        fresh
        measure "fw-down-$link" "$CLI" copy --on-conflict cancel "$url/$file" "$DATA/down/"
        same "$source" "$DATA/down/$file"

        fresh
        batch "put $source $uploaded"
        measure "sftp-up-$link" "${sftp[@]}"
        same "$source" "$uploaded"
        fresh
        measure "fw-up-$link" "$CLI" copy --on-conflict cancel "$source" "$url/up/"
        same "$source" "$uploaded"

        fresh
        batch "get -r $SERVED/tree $DATA/down/tree"
        measure "sftp-tree-down-$link" "${sftp[@]}"
        same "$DATA/tree" "$DATA/down/tree"
        fresh
        measure "fw-tree-down-$link" "$CLI" copy --on-conflict cancel "$url/tree/" "$DATA/down/"
        same "$DATA/tree" "$DATA/down/tree"

        fresh
        batch "put -r $DATA/tree $SERVED/up/tree"
        measure "sftp-tree-up-$link" "${sftp[@]}"
        same "$DATA/tree" "$SERVED/up/tree"
        fresh
        measure "fw-tree-up-$link" "$CLI" copy --on-conflict cancel "$DATA/tree" "$url/up/"
        same "$DATA/tree" "$SERVED/up/tree"
    done
done
fresh

fastest() {
    printf '%s\n' "$@" | sort -g | head -1
}

row() { # row LABEL OURS REFERENCE AIM
    local ours reference
    ours=$(fastest ${times[$2]})
    reference=$(fastest ${times[$3]})
    awk -v l="$1" -v a="$ours" -v b="$reference" -v aim="$4" -v k="${peaks[$2]}" \
        -v r="${peaks[$3]}" 'BEGIN {
            printf "  %-36s %8.3f s %8.3f s %7.2fx %6s %7.1f MiB %7.1f MiB\n",
                l, a, b, a / b, aim, k / 1024, r / 1024 }'
}

header() { # header TITLE_LINE...
    echo
    printf '%s\n' "$@"
    printf '  %-36s %10s %10s %8s %6s %11s %11s\n' "" ferrowick "sftp" ratio aim "peak ours" \
        "peak sftp"
}

header "SFTP on OpenSSH sshd, 127.0.0.1, fastest of $RUNS"
row "${SIZE_MIB} MiB download / get" fw-down-loopback sftp-down-loopback 1.2x
row "${SIZE_MIB} MiB upload / put" fw-up-loopback sftp-up-loopback 1.2x
row "${FILES} x 4 KiB down / get -r" fw-tree-down-loopback sftp-tree-down-loopback 1.2x
row "${FILES} x 4 KiB up / put -r" fw-tree-up-loopback sftp-tree-up-loopback 1.2x

header "The same through ferrowick-relay, $((2 * DELAY_MS)) ms round trip, fastest of $RUNS" \
    "(the large file is ${RELAY_SIZE_MIB} MiB here, BENCH_RELAY_SIZE_MIB)"
row "${RELAY_SIZE_MIB} MiB download / get" fw-down-delayed sftp-down-delayed 1.0x
row "${RELAY_SIZE_MIB} MiB upload / put" fw-up-delayed sftp-up-delayed 1.0x
row "${FILES} x 4 KiB down / get -r" fw-tree-down-delayed sftp-tree-down-delayed 1.0x
row "${FILES} x 4 KiB up / put -r" fw-tree-up-delayed sftp-tree-up-delayed 1.0x
echo
echo "Peak memory of ferrowick-cli: aim under 64 MiB in every row."
