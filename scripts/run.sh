#!/usr/bin/env bash
# Installs what is missing, builds a release, and shows the tags of the sample
# tracks that the build generates.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
build=${BUILD_DIR:-build/release}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DMELOS_BUILD_TESTS=ON
cmake --build "$build" --target melos samples
"$build/cli/melos" show "$build"/sample-tracks/*
