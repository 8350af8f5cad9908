#!/usr/bin/env bash
# Loads each hostile document into a repository with `qorl load` under
# /usr/bin/time and prints wall time and peak memory per case. Fails when a
# case is not refused, takes a second or more, needs 100 MB or more, says
# nothing of the file and line, or changes the repository file.
#   bash bench/hostile.sh [path/to/qorl]
set -euo pipefail
cd "$(dirname "$0")/.."
Q=${1:-}
if [ -z "$Q" ]; then
  cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DQORL_TESTS=OFF >/dev/null
  cmake --build build-bench -j"$(nproc)" --target qorl_cli >/dev/null
  Q=build-bench/qorl
fi
MAX_SECONDS=1 MAX_MB=100
export QORL_REPOSITORY_PASSWORD=hostile
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

head='<?xml version="1.0" encoding="UTF-8"?>'
# A document whose DECLARE section holds what stdin gives; the section begins on line 4.
declare_doc() { printf '%s\n<Repository>\n<DECLARE>\n' "$head"; cat; printf '</DECLARE>\n</Repository>\n'; }
# n copies of a string, on one line or one a line.
repeat() { awk -v s="$1" -v n="$2" 'BEGIN { for (i = 0; i < n; i++) printf "%s", s }'; }
repeat_lines() { awk -v s="$1" -v n="$2" 'BEGIN { for (i = 0; i < n; i++) print s }'; }
letters() { head -c "$1" /dev/zero | tr '\0' a; }

# Each case writes $work/<name>.xml; the line its error must name follows the name.
make_cases() {
  { printf '%s\n<!DOCTYPE Repository [\n<!ELEMENT Repository ANY>\n]>\n<Repository/>\n' "$head"; } >"$work/doctype-internal.xml"
  { printf '%s\n<!DOCTYPE Repository SYSTEM "/etc/passwd">\n<Repository/>\n' "$head"; } >"$work/doctype-external.xml"
  {
    printf '%s\n<!DOCTYPE Repository [\n<!ENTITY a0 "lol">\n' "$head"
    for i in 1 2 3 4 5 6 7 8 9; do printf '<!ENTITY a%d "%s">\n' "$i" "$(repeat "&a$((i - 1));" 10)"; done
    printf ']>\n<Repository><DECLARE><Database name="&a9;"/></DECLARE></Repository>\n'
  } >"$work/entity-blowup.xml"
  # One 4 MiB entity referenced 90 times.
  {
    printf '%s\n<!DOCTYPE Repository [\n<!ENTITY big "' "$head"; letters $((4 << 20)); printf '">\n]>\n'
    printf '<Repository><DECLARE><Database name="d"><Description>%s</Description></Database></DECLARE></Repository>\n' \
      "$(repeat '&big;' 90)"
  } >"$work/entity-size.xml"
  { repeat '<X>' 100000; repeat '</X>' 100000; echo; } | declare_doc >"$work/depth-100000.xml"
  # Unknown elements inside an object, one a line, deep enough to wrap a 16-bit
  # level; the load must stop at its depth limit, long before the wrap.
  { echo '<Database name="outer">'; repeat_lines '<X>' 65537; echo '<Database name="inner"/>'; repeat_lines '</X>' 65537; echo '</Database>'; } \
    | declare_doc >"$work/depth-wrap.xml"
  { printf '<Database name="'; letters $((100 << 20)); printf '"/>\n'; } | declare_doc >"$work/attribute-100MiB.xml"
  { echo '<Database name="d"/>'; echo '<ConnectionPool name="p" parentName="&quot;d&quot;" maxConn="4294967297"/>'; } \
    | declare_doc >"$work/number-out-of-range.xml"
  { printf '<Database name="bad \xc3\x28 utf8"/>\n'; } | declare_doc >"$work/invalid-utf8.xml"
  { printf '<Database name="nul\x00byte"/>\n'; } | declare_doc >"$work/nul-byte.xml"
  { echo '<Database name="d">'; echo '<Description>cut'; } | { printf '%s\n<Repository>\n<DECLARE>\n' "$head"; cat; } \
    >"$work/truncated.xml"
}

# name, line the error must name
cases=(
  "doctype-internal 2"
  "doctype-external 2"
  "entity-blowup 2"
  "entity-size 2"
  "depth-100000 4"
  "depth-wrap 258"
  "attribute-100MiB 4"
  "number-out-of-range 5"
  "invalid-utf8 4"
  "nul-byte 4"
  "truncated 6"
)

make_cases
$Q --quiet init "$work/r.db"
cp "$work/r.db" "$work/before.db"
failed=0
printf '| case | doc MB | exit | wall s | peak MB | file unchanged | message |\n|---|---|---|---|---|---|---|\n'
for c in "${cases[@]}"; do
  read -r name line <<<"$c"
  doc="$work/$name.xml"
  set +e
  /usr/bin/time -f "%e %M" -o "$work/time" "$Q" --quiet load "$work/r.db" "$doc" >"$work/out" 2>&1
  code=$?
  set -e
  read -r secs kb < <(tail -n 1 "$work/time")
  mb=$(awk -v k="$kb" 'BEGIN{printf "%.0f", k/1024}')
  size=$(awk -v b="$(stat -c %s "$doc")" 'BEGIN{printf "%.1f", b/1048576}')
  unchanged=yes
  cmp -s "$work/r.db" "$work/before.db" || unchanged=no
  msg=$(grep -m1 -E "$name\.xml:$line(:[0-9]+)?: error: " "$work/out" || true)
  problems=()
  [ "$code" -ne 0 ] || problems+=("loaded")
  awk -v s="$secs" -v m="$MAX_SECONDS" 'BEGIN{exit !(s < m)}' || problems+=("slow")
  [ "$mb" -lt "$MAX_MB" ] || problems+=("memory")
  [ "$unchanged" = yes ] || problems+=("file changed")
  [ -n "$msg" ] || problems+=("no $name.xml:$line: error")
  grep -q "$name.xml" "$work/out" || problems+=("no file name")
  [ -n "$msg" ] || msg=$(head -c 200 "$work/out" | tr '\n' ' ')
  printf '| %s | %s | %s | %.2f | %s | %s | %s |\n' "$name" "$size" "$code" "$secs" "$mb" "$unchanged" "${msg:0:140}"
  if [ ${#problems[@]} -gt 0 ]; then
    echo "  FAILED $name: ${problems[*]}" >&2
    failed=1
  fi
done
exit $failed
