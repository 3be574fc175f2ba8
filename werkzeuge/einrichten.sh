#!/usr/bin/env bash
# A fresh Debian machine, as root or as a user with sudo: installs what Hainbrem needs, builds
# the release and checks your home folder for what can go (nothing is removed).
set -euo pipefail
cd "$(dirname "$0")/.."
bash .ci/pakete
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)"
exec ./build/release/cli/hainbrem pruefen "$@"
