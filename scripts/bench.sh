#!/usr/bin/env bash
# One reproducible benchmark run: builds an optimised tree with the bench
# targets, makes (or reuses) a library of 2000 tagged MP3s, times melos, TagLib,
# mutagen and cat over it side by side, then runs the micro-benchmarks, the
# save timing and `melos set` over the largest files against `cp -r`. Run as root on Debian: missing packages are installed.
#
# Usage: scripts/bench.sh
# Environment: BUILD_DIR (default build-bench in the repository),
#   BENCH_LIBRARY (default $BUILD_DIR/bench-library), BENCH_FILES (2000),
#   BENCH_RUNS (3), BENCH_JOBS (build jobs, 1), BENCH_CXX_FLAGS (added to the
#   compiler flags, e.g. -march=native).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build-bench}
library=${BENCH_LIBRARY:-$build/bench-library}
files=${BENCH_FILES:-2000}
runs=${BENCH_RUNS:-3}
jobs=${BENCH_JOBS:-1}
cxx_flags=${BENCH_CXX_FLAGS:-}
python=/usr/bin/python3  # Debian's: python3-mutagen is installed for it

step() { printf '\n== %s\n' "$*"; }

need=()
for pkg in cmake ninja-build g++ pkg-config libtag1-dev libbenchmark-dev lame python3-mutagen \
  qt6-base-dev; do
  dpkg -s "$pkg" >/dev/null 2>&1 || need+=("$pkg")
done
if ((${#need[@]})); then
  step "installing ${need[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${need[@]}"
fi

step "building (Release) in $build"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DMELOS_BUILD_TESTS=OFF \
  -DMELOS_BUILD_BENCH=ON "-DCMAKE_CXX_FLAGS=$cxx_flags" >/dev/null
ninja -C "$build" -j "$jobs" melos save_timing taglib_read micro_bench

step "library of $files files in $library"
if [[ ! -f $library/.complete ]]; then
  # About 3 MB a file, plus room for the save timing's copies and the three
  # copies of the 200 largest files that the set timing makes.
  mkdir -p "$(dirname "$library")"
  free_kb=$(df -Pk "$(dirname "$library")" | awk 'NR == 2 { print $4 }')
  need_kb=$((files * 3100 + 3100000))
  if ((free_kb < need_kb)); then
    echo "bench: $((free_kb / 1000000)) GB free, the library needs $((need_kb / 1000000)) GB" >&2
    exit 1
  fi
fi
"$python" "$root/bench/make_library.py" --out "$library" --count "$files" \
  --save-sample "$build/bench-save/save-sample.mp3"

step "readers over the library"
"$python" "$root/bench/time_readers.py" --library "$library" --melos "$build/cli/melos" \
  --taglib "$build/bench/taglib_read" --runs "$runs"

step "micro-benchmarks"
"$build/bench/micro_bench" --benchmark_min_time=0.2

step "save of a changed tag against cp"
"$build/bench/save_timing" "$build/bench-save/save-sample.mp3"

step "melos set over the 200 largest files against cp -r"
"$python" "$root/bench/time_set.py" --library "$library" --melos "$build/cli/melos" --runs "$runs"
