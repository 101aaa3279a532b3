#!/usr/bin/env bash
# Builds the libFuzzer targets with clang in BUILD_DIR and runs each of them,
# fuzz_open_track and fuzz_rewrite, for SECONDS (default 60). Exits non-zero when the fuzzer finds a crash, a leak,
# a timeout or an out-of-memory; the input is left in BUILD_DIR/fuzz-artifacts.
#
# Usage: scripts/fuzz.sh BUILD_DIR [SECONDS]
# Environment: MELOS_FUZZ_JOBS (build jobs, default: all cores).
set -euo pipefail

if [[ $# -lt 1 ]]; then
  echo "usage: $0 BUILD_DIR [SECONDS]" >&2
  exit 2
fi
build_dir=$1
seconds=${2:-60}
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

CC=clang CXX=clang++ cmake -S "$source_dir" -B "$build_dir" -G Ninja \
  -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DMELOS_FUZZ=ON -DMELOS_BUILD_QT=OFF -DMELOS_BUILD_TESTS=OFF >/dev/null
cmake --build "$build_dir" --target fuzz_open_track fuzz_rewrite -j "${MELOS_FUZZ_JOBS:-$(nproc)}"

seed_dir=$build_dir/fuzz-seeds
artifact_dir=$build_dir/fuzz-artifacts
mkdir -p "$seed_dir" "$artifact_dir"

# A V2.3 tag holding one TIT2 frame ("Title").
printf 'ID3\x03\x00\x00\x00\x00\x00\x11TIT2\x00\x00\x00\x07\x00\x00\x00Title\x00' \
  >"$seed_dir/id3v23"
# Two MPEG-1 Layer III frames, 128 kbps, 44.1 kHz: 417 bytes each.
{ printf '\xff\xfb\x90\x00'; head -c 413 /dev/zero; printf '\xff\xfb\x90\x00'; head -c 413 /dev/zero; } \
  >"$seed_dir/mpeg_frames"
# A V1 tag behind one frame.
{ printf '\xff\xfb\x90\x00'; head -c 413 /dev/zero; printf 'TAG'; head -c 124 /dev/zero; printf '\x11'; } \
  >"$seed_dir/mpeg_v1"
# FORM, AIFF, a COMM chunk (2 channels, 0 frames, 16 bits, 44100 Hz) and an
# empty ID3 chunk.
{ printf 'FORM\x00\x00\x00\x30AIFF'
  printf 'COMM\x00\x00\x00\x12\x00\x02\x00\x00\x00\x00\x00\x10\x40\x0e\xac\x44\x00\x00\x00\x00\x00\x00'
  printf 'ID3 \x00\x00\x00\x0aID3\x04\x00\x00\x00\x00\x00\x00'; } >"$seed_dir/aiff"

# Sanitizer reports give the fuzzer's crash its non-zero exit status.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
# A memory file system keeps the per-input writes cheap.
if [[ -z ${TMPDIR:-} && -d /dev/shm && -w /dev/shm ]]; then export TMPDIR=/dev/shm; fi

for target in open_track rewrite; do
  corpus_dir=$build_dir/fuzz-corpus/$target
  mkdir -p "$corpus_dir"
  log=$build_dir/fuzz-$target.log
  set +e
  "$build_dir/fuzz/fuzz_$target" "$corpus_dir" "$seed_dir" \
    -max_total_time="$seconds" -rss_limit_mb=2048 -malloc_limit_mb=64 -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$artifact_dir/" >"$log" 2>&1
  status=$?
  set -e

  if [[ $status -ne 0 ]]; then
    tail -n 60 "$log" >&2
    echo "fuzz_$target failed with status $status; see $log and $artifact_dir" >&2
    exit "$status"
  fi
  echo "fuzz_$target:"
  grep -aE '^stat::number_of_executed_units' "$log" | tail -1 || true
  grep -aE '^Done [0-9]+ runs' "$log" | tail -1 || true
done
