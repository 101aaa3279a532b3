#!/usr/bin/env bash
# Regenerates the screenshots of the README in docs/ from the sample tracks,
# with the offscreen platform so no display is needed.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${BUILD_DIR:-build/release}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DMELOS_BUILD_TESTS=ON >/dev/null
cmake --build "$build" --target meloscribe samples
# A scratch home, so the pictures show no one's recent files.
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
# The samples are shown from a fixed folder, so the paths in the pictures do
# not depend on where the repository lies.
mkdir -p "$home/Music"
cp "$build"/sample-tracks/* "$home/Music/"
HOME=$home XDG_CONFIG_HOME=$home/config XDG_STATE_HOME=$home/state XDG_DATA_HOME=$home/data \
  XDG_RUNTIME_DIR=$home QT_QPA_PLATFORM=offscreen \
  "$build/ui/meloscribe" --screenshots docs/screenshots "$home"/Music/* 2>/dev/null
# The editor once more at twice the scale, as on a high-density screen.
scaled=$(mktemp -d)
HOME=$home XDG_CONFIG_HOME=$home/config XDG_STATE_HOME=$home/state XDG_DATA_HOME=$home/data \
  XDG_RUNTIME_DIR=$home QT_QPA_PLATFORM=offscreen QT_SCALE_FACTOR=2 \
  "$build/ui/meloscribe" --screenshots "$scaled" "$home/Music/full-album-track.mp3" >/dev/null 2>&1
cp "$scaled/editor-standard.png" docs/screenshots/editor-200-percent.png
rm -rf "$scaled"
echo docs/screenshots/editor-200-percent.png
