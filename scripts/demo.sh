#!/usr/bin/env bash
# Installs what is missing, builds, and runs the main job: kxsound demo synthesises its
# sounds, makes a catalogue of them in ./kxsound-demo/ and plays a scene of about 20 seconds,
# on the sound card, or, where there is none, into ./demo.wav.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DKX_BUILD_TESTS=OFF >/dev/null
cmake --build build/release
./build/release/bin/kxsound demo
