#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the tools need, when missing.
set -euo pipefail
packages=(cmake ninja-build g++ clang libclang-rt-14-dev pkg-config
          libgtest-dev libbenchmark-dev libopenal-dev libmpg123-dev libsoxr-dev nlohmann-json3-dev lame
          libx11-dev libcpp-httplib-dev libsndfile1-dev chromium)
# The studio's browser tests run on Node; a machine that has it from elsewhere keeps it.
command -v npm >/dev/null 2>&1 || packages+=(nodejs npm)
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${missing[@]}"
fi
