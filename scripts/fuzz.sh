#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Builds the libFuzzer targets of fuzz/ with clang into build-fuzz/ and runs
# one of them for a number of seconds.
#
#   scripts/fuzz.sh [TARGET [SECONDS]]     TARGET: one of the targets below
#   scripts/fuzz.sh --all [SECONDS]         every target in turn, one line each
#   scripts/fuzz.sh --build-only
#
# The corpus grows in build-fuzz/corpus/TARGET, seeded from fuzz/corpus/TARGET;
# a crash leaves its input in build-fuzz/artifacts/.
set -euo pipefail
cd "$(dirname "$0")/.."

targets=(ftp_listing ftp_reply ftp_passive ftp_url http_head queue_loader queue_stream)
target=${1:-ftp_listing}
seconds=${2:-60}
build=build-fuzz

if [[ ! " ${targets[*]} --all --build-only " =~ " $target " ]]; then
  echo "fuzz.sh: unknown target '$target' (${targets[*]})" >&2
  exit 2
fi

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

run() {
  local corpus="$build/corpus/$1"
  mkdir -p "$corpus" "$build/artifacts"
  "$build/fuzz_$1" "$corpus" "fuzz/corpus/$1" \
    -max_total_time="$2" -max_len=8192 -timeout=10 -rss_limit_mb=2048 \
    -artifact_prefix="$build/artifacts/${1}-" -print_final_stats=1
}

if [ "$target" = "--all" ]; then
  seconds=${2:-30}
  failed=0
  for t in "${targets[@]}"; do
    log="$build/$t.log"
    if run "$t" "$seconds" >"$log" 2>&1; then
      runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
      echo "fuzz_$t: ${runs:-?} runs in ${seconds} s, no finding"
    else
      tail -n 60 "$log"
      echo "fuzz_$t: FAILED, the input is in $build/artifacts/"
      failed=1
    fi
  done
  exit "$failed"
fi

run "$target" "$seconds"
