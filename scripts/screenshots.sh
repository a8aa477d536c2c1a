#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Takes the pictures of docs/ from real windows on an X display of their own
# (Xvfb), in a light and a dark palette.
#
#   scripts/screenshots.sh [BUILD_DIR] [OUTPUT_DIR]
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=$(realpath -m "${1:-$ROOT/build}")
OUTPUT=$(realpath -m "${2:-$ROOT/docs}")
cmake --build "$BUILD" --target ferrowick-screenshots -j"$(nproc)" >/dev/null
export QT_LOGGING_RULES="ferrowick.*=false"
xvfb-run -a -s "-screen 0 1280x1024x24" "$BUILD/app/ferrowick-screenshots" "$OUTPUT"
# The queue window once in German, for the translations' README section.
german=$(mktemp -d)
trap 'rm -rf "$german"' EXIT
LANGUAGE=de LANG=de_DE.UTF-8 xvfb-run -a -s "-screen 0 1280x1024x24" \
    "$BUILD/app/ferrowick-screenshots" "$german"
cp "$german/queue-window-light.png" "$OUTPUT/queue-window-de.png"
