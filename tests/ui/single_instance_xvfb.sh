#!/usr/bin/env bash
# Under a real X server: a second `meloscribe FILE` hands the file to the
# instance already running and ends, and the running one opens it.
# Usage: single_instance_xvfb.sh MELOSCRIBE TRACK
set -euo pipefail
meloscribe=$1
track=$2
home=$(mktemp -d)
trap 'kill "$first" 2>/dev/null || true; rm -rf "$home"' EXIT
export HOME=$home XDG_CONFIG_HOME=$home/config XDG_STATE_HOME=$home/state XDG_DATA_HOME=$home/data
export XDG_RUNTIME_DIR=$home/run
mkdir -p "$XDG_RUNTIME_DIR" "$XDG_CONFIG_HOME/Meloscribe"
chmod 700 "$XDG_RUNTIME_DIR"
# Status lines name each track opened; no start panel or Open dialog in the way.
printf '{"Log level": 3, "Show open file at start up": false, "Show splash": false}\n' \
  >"$XDG_CONFIG_HOME/Meloscribe/Meloscribe.json"
cp "$track" "$home/handed.mp3"

"$meloscribe" &
first=$!
for _ in $(seq 50); do [[ -S $XDG_RUNTIME_DIR/meloscribe.socket ]] && break; sleep 0.1; done
[[ -S $XDG_RUNTIME_DIR/meloscribe.socket ]] || { echo "the first instance never listened"; exit 1; }

timeout 10 "$meloscribe" "$home/handed.mp3"
log=$XDG_STATE_HOME/meloscribe/melos.log
for _ in $(seq 50); do grep -q "handed.mp3" "$log" 2>/dev/null && break; sleep 0.1; done
grep -q "Opening ID3 track: $home/handed.mp3" "$log" || { echo "the running instance did not open the file"; cat "$log"; exit 1; }
kill -0 "$first" || { echo "the first instance ended"; exit 1; }
[[ $(grep -c 'Version [0-9]' "$log") -eq 1 ]] || { echo "the second launch opened its own log"; cat "$log"; exit 1; }
echo "handed over"
