#!/usr/bin/env bash
# A fuzzing campaign over every harness of fuzz/: SECONDS each (default 600), one after
# the other, with the harness's seeds and dictionary. The corpus grows in
# build/fuzz-corpus/HARNESS and is kept from run to run; findings (crashes, leaks, timeouts,
# running out of memory) land in build/fuzz-findings/, and the script fails if there is one.
#
#   scripts/fuzz.sh [SECONDS]          build the harnesses (build/fuzz) and run them all
#   FUZZ_ONLY=WaveLoader scripts/fuzz.sh 60   only the harnesses whose name holds that text
#   FUZZ_RUNS=10000000 scripts/fuzz.sh 1800   that many executions per harness, or the time if sooner
#
# The harnesses are built with clang, optimised, with AddressSanitizer and
# UndefinedBehaviorSanitizer. Each line of the summary gives the executions, their rate,
# the coverage (cov: edges, ft: features) and the corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-600}
build=${FUZZ_BUILD:-build/fuzz}
corpora=${FUZZ_CORPUS:-build/fuzz-corpus}
findings=${FUZZ_FINDINGS:-build/fuzz-findings}

# A build tree that exists already (the test script's sanitizer build) is taken as it is.
if [ ! -f "$build/CMakeCache.txt" ]; then
  CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKX_SANITIZE=ON \
    -DKX_BUILD_FUZZ=ON -DKX_BUILD_TESTS=OFF -DKX_BUILD_BENCH=OFF >/dev/null
fi
harnesses=(BaseFile WaveReader WaveLoader Playlist MP3 Console SceneScript CatalogueJson)
targets=()
for h in "${harnesses[@]}"; do
  [[ -z "${FUZZ_ONLY:-}" || "$h" == *"$FUZZ_ONLY"* ]] && targets+=("kxFuzz$h")
done
[ ${#targets[@]} -gt 0 ] || { echo "no harness matches '${FUZZ_ONLY}'" >&2; exit 2; }
cmake --build "$build" --target "${targets[@]}"

# The longest input worth making: a base file of a few sounds, a wave file of a few chunks
# (and so little data that its conversion to the mix rate stays cheap), an MP3 of a few dozen
# frames, scripts and lists of a few dozen lines.
declare -A max_len=([kxFuzzBaseFile]=65536 [kxFuzzWaveReader]=65536 [kxFuzzWaveLoader]=4096
  [kxFuzzPlaylist]=4096 [kxFuzzMP3]=16384 [kxFuzzConsole]=2048 [kxFuzzSceneScript]=4096
  [kxFuzzCatalogueJson]=16384)

mkdir -p "$findings"
failed=0
for name in "${targets[@]}"; do
  corpus=$corpora/$name
  mkdir -p "$corpus"
  limit=("-max_total_time=$seconds")
  [ -n "${FUZZ_RUNS:-}" ] && limit+=("-runs=$FUZZ_RUNS")
  log=$(mktemp)
  # A unit that runs for 20 s is a finding: no input of these sizes needs that long.
  if ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    "$build/bin/$name" "${limit[@]}" -max_len="${max_len[$name]}" -timeout=20 -rss_limit_mb=2560 \
      -print_final_stats=1 -dict="fuzz/dict/$name.dict" -artifact_prefix="$findings/$name-" \
      "$corpus" "fuzz/seeds/$name" >"$log" 2>&1; then
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
    cov=$(grep -oE 'cov: [0-9]+ ft: [0-9]+ corp: [0-9]+/[0-9]+[a-zA-Z]*' "$log" | tail -1)
    printf '%-20s %10s runs %7s/s  %s\n' "$name" "$runs" "$rate" "$cov"
  else
    failed=1
    echo "$name: FINDING"
    grep -E '^(==[0-9]+==|SUMMARY|    #[0-9]|artifact_prefix|Test unit written)' "$log" | head -40
  fi
  rm -f "$log"
done
exit $failed
