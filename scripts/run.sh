#!/usr/bin/env bash
# Installs what is missing, builds a release and starts the editor on the
# sample tracks that the build generates. Without a display (no DISPLAY or
# WAYLAND_DISPLAY) it renders every window into PNG files under
# build/screenshots instead and prints their paths; then it shows the tags of
# the samples with the command-line tool.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
build=${BUILD_DIR:-build/release}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DMELOS_BUILD_TESTS=ON
cmake --build "$build" --target meloscribe melos samples
samples=("$build"/sample-tracks/*)

if [[ -z ${DISPLAY:-} && -z ${WAYLAND_DISPLAY:-} ]]; then
  echo "No display (DISPLAY and WAYLAND_DISPLAY are unset): rendering the windows into build/screenshots"
  QT_QPA_PLATFORM=offscreen "$build/ui/meloscribe" --screenshots build/screenshots "${samples[@]}" 2>/dev/null
else
  "$build/ui/meloscribe" "${samples[@]}" &
fi
"$build/cli/melos" show "${samples[@]}"
