#!/usr/bin/env bash
# Builds the load's libFuzzer target with clang into ./build-fuzz and runs it
# on the seed corpus for the given number of seconds (default 60). New inputs
# go to build-fuzz/corpus; a crash, leak, timeout or sanitizer report stops
# the run and leaves the input in build-fuzz/artifacts. Add such an input to
# tests/fuzz/regressions once it is fixed.
#   bash scripts/fuzz.sh [seconds] [extra libFuzzer options...]
# Needs clang and compiler-rt (Debian: clang libclang-rt-14-dev).
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true
out=build-fuzz
CC=clang CXX=clang++ cmake -S . -B "$out" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQORL_FUZZ=ON -DQORL_TESTS=OFF >/dev/null
cmake --build "$out" -j"$(nproc)" --target qorl_fuzz_load
mkdir -p "$out/corpus" "$out/artifacts"
# Element and attribute names of the schema teach the fuzzer the vocabulary.
grep -o 'name="[A-Za-z][A-Za-z0-9_]*"' schema/qorl1.xsd | sed -E 's/name="(.*)"/\1/' | sort -u |
  awk '{ printf "\"<%s\"\n\" %s=\\\"\"\n", $1, $1 }' >"$out/qorl.dict"
printf '"<DECLARE>"\n"<DELETE>"\n"&quot;"\n"<![CDATA["\n"]]>"\n"\\x0c"\n' >>"$out/qorl.dict"
export QORL_SCHEMA_DIR="$PWD/schema"
seeds="$PWD/tests/fuzz/corpus"
# From the build directory, where libFuzzer writes its logs (with -jobs);
# options given to this script come last and win.
cd "$out"
exec ./qorl_fuzz_load -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -dict=qorl.dict \
  -artifact_prefix=artifacts/ -print_final_stats=1 "$@" corpus "$seeds"
