#!/usr/bin/env bash
# The main job on the bundled sample: builds qorl, loads examples/retail.xml
# into a new repository, writes the repository back as a document and shows
# what it holds.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh >/dev/null
export QORL_REPOSITORY_PASSWORD="${QORL_REPOSITORY_PASSWORD:-sample}"
out="${1:-build/sample}"
mkdir -p "$out"
rm -f "$out/retail.db"
./build/qorl init "$out/retail.db"
./build/qorl load --validate "$out/retail.db" examples/retail.xml
./build/qorl gen "$out/retail.db" -o "$out/retail.xml"
echo "wrote $out/retail.xml ($(wc -l < "$out/retail.xml") lines)"
./build/qorl info "$out/retail.db"
