#!/usr/bin/env bash
# Installs what is missing, builds twice (plain, and with AddressSanitizer and
# UndefinedBehaviorSanitizer under clang; warnings are errors in both), runs every test in
# both and the studio in headless Chromium, fuzzes each parser for a bounded time, runs the
# music thread under ThreadSanitizer, and checks that an installed copy can be built
# against: a consumer and the example host, which runs headless.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
FUZZ_SECONDS=${FUZZ_SECONDS:-30}
log=$(mktemp)

echo "== plain build =="
cmake -S . -B build/plain -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKX_BUILD_TESTS=ON -DKX_BUILD_BENCH=ON -DKX_WERROR=ON >/dev/null
cmake --build build/plain
(cd build/plain && ctest --output-on-failure -j2) | tee -a "$log"

echo "== the studio in a browser =="
# Playwright from the npm registry drives Debian's chromium; it downloads no browser.
(cd tests/browser && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --no-audit --no-fund --silent &&
  KXSOUND="$PWD/../../build/plain/bin/kxsound" npx playwright test)

echo "== sanitizer build =="
CC=clang CXX=clang++ cmake -S . -B build/sanitize -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  -DKX_SANITIZE=ON -DKX_BUILD_FUZZ=ON -DKX_BUILD_TESTS=ON -DKX_WERROR=ON >/dev/null
cmake --build build/sanitize
(cd build/sanitize && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j2) | tee -a "$log"

echo "== fuzzing, ${FUZZ_SECONDS}s per harness =="
FUZZ_BUILD=build/sanitize FUZZ_CORPUS=build/fuzz-corpus FUZZ_FINDINGS=build/fuzz-findings \
  bash scripts/fuzz.sh "$FUZZ_SECONDS"

echo "== the music thread under ThreadSanitizer =="
bash scripts/tsan.sh

echo "== install and build against it =="
stage=$(mktemp -d)
cmake --install build/plain --prefix "$stage" >/dev/null
rm -rf build/consumer
cmake -S tests/install -B build/consumer -G Ninja -DCMAKE_PREFIX_PATH="$stage" >/dev/null
cmake --build build/consumer >/dev/null
./build/consumer/consumer-cmake
# A game links the module by its major version, so that a compatible update replaces it.
readelf -d build/consumer/consumer-cmake | grep -q 'NEEDED.*\[libkxSound\.so\.0\]' ||
  { echo "the consumer does not link libkxSound.so.0"; exit 1; }
PKG_CONFIG_PATH="$stage/lib/pkgconfig" c++ -std=c++17 tests/install/consumer.cpp -o build/consumer/consumer-pc \
  $(PKG_CONFIG_PATH="$stage/lib/pkgconfig" pkg-config --cflags --libs kxsound) -Wl,-rpath,"$stage/lib"
./build/consumer/consumer-pc

echo "== the example host, against the installed package =="
rm -rf build/example-host
cmake -S examples/host -B build/example-host -G Ninja -DCMAKE_PREFIX_PATH="$stage" >/dev/null
cmake --build build/example-host >/dev/null
./build/example-host/kxsound-host --output offline --seconds 3 | grep '^host:'
# No sound card, on any machine: alsa-lib with an empty configuration. The host goes on with the
# null output; standard error has one sentence about the card and nothing of the libraries' own.
err=$(mktemp)
ALSOFT_DRIVERS=alsa ALSA_CONFIG_PATH=/dev/null ./build/example-host/kxsound-host --output device --seconds 1 \
  2>"$err" | grep '^host:'
if [ "$(grep -c 'no sound card' "$err")" -ne 1 ] || grep -qE '^(ALSA lib|AL lib)' "$err"; then
  cat "$err"
  echo "the example host without a sound card: expected one line about it on standard error"
  exit 1
fi
rm -f "$err"
rm -rf "$stage"

passed=$(grep -oE '[0-9]+ tests failed out of [0-9]+' "$log" | awk '{ failed += $1; total += $6 } END { print total - failed }')
failed=$(grep -oE '[0-9]+ tests failed out of [0-9]+' "$log" | awk '{ failed += $1 } END { print failed + 0 }')
rm -f "$log"
echo "tests: ${passed} passed, ${failed} failed"
[ "$failed" -eq 0 ]
