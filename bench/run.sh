#!/usr/bin/env bash
# Measures gen and load against the floor of parsing the same document, for
# synthetic repositories of 10k, 100k and 1M objects (or the sizes given).
# Prints a Markdown table: wall time and peak memory of each step, and ratios.
#   bash bench/run.sh [N ...]
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DQORL_TESTS=OFF >/dev/null
cmake --build build-bench -j"$(nproc)" --target qorl_cli qorl_bench_sax_floor >/dev/null
Q=build-bench/qorl
FLOOR=build-bench/qorl_bench_sax_floor
export QORL_REPOSITORY_PASSWORD=bench
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sizes=("$@")
[ ${#sizes[@]} -gt 0 ] || sizes=(10000 100000 1000000)

# Runs a command under /usr/bin/time; prints "seconds peak_kb".
measure() { /usr/bin/time -f "%e %M" -o "$work/time" "$@" >/dev/null 2>"$work/err" || { cat "$work/err" >&2; exit 1; }; cat "$work/time"; }

echo "| objects | doc MB | gen s | gen MB | load s | load MB | SAX floor s | xmllint s | load/SAX | gen/SAX | load KB/object |"
echo "|---|---|---|---|---|---|---|---|---|---|---|"
for n in "${sizes[@]}"; do
  rm -f "$work/src.db" "$work/dst.db"
  $Q --quiet sample "$work/src.db" --objects "$n"
  read -r gs gk < <(measure $Q --quiet gen "$work/src.db" -o "$work/doc.xml")
  $Q --quiet init "$work/dst.db"
  read -r ls lk < <(measure $Q --quiet load "$work/dst.db" "$work/doc.xml" --password bench)
  sax=$($FLOOR "$work/doc.xml")
  read -r xs xk < <(measure xmllint --stream --noout "$work/doc.xml")
  objs=$($Q --quiet info --json "$work/dst.db" | sed -E 's/.*"objects": ([0-9]+).*/\1/')
  mb=$(awk -v b="$(stat -c %s "$work/doc.xml")" 'BEGIN{printf "%.1f", b/1048576}')
  awk -v n="$objs" -v mb="$mb" -v gs="$gs" -v gk="$gk" -v ls="$ls" -v lk="$lk" -v sax="$sax" -v xs="$xs" 'BEGIN{
    printf "| %d | %s | %.2f | %.0f | %.2f | %.0f | %.2f | %.2f | %.1f | %.1f | %.2f |\n",
      n, mb, gs, gk/1024, ls, lk/1024, sax, xs, ls/sax, gs/sax, lk/n }'
done
