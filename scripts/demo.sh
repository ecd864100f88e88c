#!/usr/bin/env bash
# Installs what is missing, builds, and runs the main job on a catalogue it makes.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DKX_BUILD_TESTS=OFF >/dev/null
cmake --build build/release
root=build/demo-catalogue
rm -rf "$root" && mkdir -p "$root"
./build/release/bin/kxsound make-sample --root "$root"
./build/release/bin/kxsound info --root "$root"
