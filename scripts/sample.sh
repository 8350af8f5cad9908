#!/usr/bin/env bash
# The main job on the bundled sample: builds qorl, makes a fresh repository
# and shows what it holds.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh >/dev/null
export QORL_REPOSITORY_PASSWORD="${QORL_REPOSITORY_PASSWORD:-sample}"
out="${1:-build/sample.db}"
rm -f "$out"
./build/qorl init "$out"
./build/qorl info "$out"
