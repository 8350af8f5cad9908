#!/usr/bin/env bash
# Builds qorl and runs every test, then installs the build and checks that a
# program built against the installed package writes what the qorl command
# writes. Every test runs again with AddressSanitizer and
# UndefinedBehaviorSanitizer in build-asan.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
ctest --test-dir build --output-on-failure -j"$(nproc)"

# The sanitizers: any memory error, leak or undefined behaviour fails the test
# that meets it, in the command the CLI tests run as well. Unoptimised, it
# compiles in a quarter of the time an optimised build takes, far more than
# the slower tests cost.
cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DQORL_SANITIZE=ON >/dev/null
cmake --build build-asan -j"$(nproc)"
ctest --test-dir build-asan --output-on-failure -j"$(nproc)"

prefix="$PWD/build/install" work="$PWD/build/consumer-check"
rm -rf "$prefix" "$work" && mkdir -p "$work"
cmake --install build --prefix "$prefix" >/dev/null
cmake -S examples/consumer -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/build" >/dev/null
export QORL_REPOSITORY_PASSWORD=sample
"$work/build/consumer" "$work/consumer.db" examples/retail.xml "$work/consumer.xml"
# The installed command on the consumer's repository: the same bytes.
"$prefix/bin/qorl" gen "$work/consumer.db" -o "$work/qorl.xml"
cmp "$work/consumer.xml" "$work/qorl.xml"
# A repository the command loads itself: the same but for secrets, encrypted under each repository's own key.
"$prefix/bin/qorl" init "$work/qorl.db" >/dev/null
"$prefix/bin/qorl" load --validate "$work/qorl.db" examples/retail.xml >/dev/null
"$prefix/bin/qorl" gen "$work/qorl.db" -o "$work/qorl2.xml"
secrets='s/"AES256 [^"]*"/"(secret)"/g'
diff <(sed "$secrets" "$work/consumer.xml") <(sed "$secrets" "$work/qorl2.xml")
# The same program built through pkg-config.
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
c++ -std=c++20 examples/consumer/main.cpp -DQORL_INSTALLED_SCHEMA_DIR="\"$(pkg-config --variable=schemadir qorl)\"" \
  $(pkg-config --static --cflags --libs qorl) -o "$work/consumer-pc"
"$work/consumer-pc" "$work/pc.db" examples/retail.xml "$work/pc.xml"
"$prefix/bin/qorl" gen "$work/pc.db" | cmp - "$work/pc.xml"
echo "install check: the consumer writes what qorl gen writes"
