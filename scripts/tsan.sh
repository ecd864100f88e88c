#!/usr/bin/env bash
# The music thread under ThreadSanitizer: builds with clang -fsanitize=thread, runs the music
# and gaudio tests and a host that plays a list to its end on the real-time null output while
# it polls qorSound_IsMP3FileFinished. Reports inside OpenAL Soft or the sound server's client
# library are suppressed by scripts/tsan.supp; any other report fails the script.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${TSAN_BUILD:-build/tsan}
CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_FLAGS=-fsanitize=thread -DCMAKE_CXX_FLAGS=-fsanitize=thread \
  -DCMAKE_EXE_LINKER_FLAGS=-fsanitize=thread -DCMAKE_SHARED_LINKER_FLAGS=-fsanitize=thread \
  -DKX_SANITIZE=OFF -DKX_BUILD_TESTS=ON -DKX_BUILD_BENCH=OFF -DKX_BUILD_FUZZ=OFF >/dev/null
cmake --build "$build" --target kxMusicTests kxGAudioTests kxListHost

# exitcode: a report fails the program even when everything else passed.
export TSAN_OPTIONS="suppressions=$PWD/scripts/tsan.supp halt_on_error=0 exitcode=66 second_deadlock_stack=1 history_size=4"
status=0
for program in kxMusicTests kxGAudioTests kxListHost; do
  log=$(mktemp)
  if "$build/bin/$program" >"$log" 2>&1; then
    echo "$program: clean"
  else
    code=$?
    status=1
    if grep -q "WARNING: ThreadSanitizer" "$log"; then
      echo "$program: $(grep -c 'WARNING: ThreadSanitizer' "$log") report(s) of ThreadSanitizer"
      grep -A30 "WARNING: ThreadSanitizer" "$log" | head -120
    else
      echo "$program: failed with status $code"
      tail -30 "$log"
    fi
  fi
  rm -f "$log"
done
exit $status
