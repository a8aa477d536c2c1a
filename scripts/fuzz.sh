#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Builds the libFuzzer targets of fuzz/ with clang into build-fuzz/ and runs
# one of them for a number of seconds.
#
#   scripts/fuzz.sh [TARGET [SECONDS]]     TARGET: ftp_listing, ftp_reply, ftp_passive,
#                                          ftp_url, http_head or queue_loader
#   scripts/fuzz.sh --build-only
#
# The corpus grows in build-fuzz/corpus/TARGET, seeded from fuzz/corpus/TARGET;
# a crash leaves its input in build-fuzz/artifacts/.
set -euo pipefail
cd "$(dirname "$0")/.."

target=${1:-ftp_listing}
seconds=${2:-60}
build=build-fuzz

# Only fuzzing needs clang and its libFuzzer runtime; the normal build does not.
if ! command -v clang++ >/dev/null || ! dpkg -s libclang-rt-14-dev >/dev/null 2>&1; then
  if [ "$(id -u)" -eq 0 ]; then
    DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends clang libclang-rt-14-dev
  else
    echo "fuzz.sh: clang and libclang-rt-14-dev are needed (apt-get install clang libclang-rt-14-dev)" >&2
    exit 2
  fi
fi

cmake -S fuzz -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j"$(nproc)"
[ "$target" = "--build-only" ] && exit 0

case "$target" in
  ftp_listing | ftp_reply | ftp_passive | ftp_url | http_head | queue_loader) ;;
  *)
    echo "fuzz.sh: unknown target '$target' (ftp_listing, ftp_reply, ftp_passive," \
      "ftp_url, http_head or queue_loader)" >&2
    exit 2
    ;;
esac

corpus="$build/corpus/$target"
mkdir -p "$corpus" "$build/artifacts"
exec "$build/fuzz_$target" "$corpus" "fuzz/corpus/$target" \
  -max_total_time="$seconds" -max_len=8192 -timeout=10 -rss_limit_mb=2048 \
  -artifact_prefix="$build/artifacts/${target}-" -print_final_stats=1
