#!/usr/bin/env bash
# Installs what is missing, then builds and runs every test: the whole suite,
# the engine again under AddressSanitizer and UndefinedBehaviorSanitizer, the
# runs over several files at once under ThreadSanitizer, and the fuzz targets
# for a short time.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
jobs=$(nproc)

echo "== Build and test (debug, warnings as errors)"
cmake -S . -B build/debug -G Ninja -DCMAKE_BUILD_TYPE=Debug
cmake --build build/debug -j "$jobs"
ctest --test-dir build/debug --output-on-failure -j "$jobs"

echo "== Engine and its tests under AddressSanitizer and UndefinedBehaviorSanitizer"
CC=clang CXX=clang++ cmake -S . -B build/sanitize -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  -DMELOS_SANITIZE=ON -DMELOS_BUILD_QT=OFF
cmake --build build/sanitize -j "$jobs" --target engine_tests
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build/sanitize --output-on-failure -j "$jobs"

echo "== Runs and group reads over several files at once under ThreadSanitizer"
CC=clang CXX=clang++ cmake -S . -B build/thread -G Ninja -DCMAKE_BUILD_TYPE=Debug -DMELOS_THREAD_SANITIZE=ON
cmake --build build/thread -j "$jobs" --target operations_tests cli_tests
TSAN_OPTIONS=halt_on_error=1 build/thread/tests/operations/operations_tests --gtest_filter='GroupUpdate*:GroupTracks*'
TSAN_OPTIONS=halt_on_error=1 build/thread/tests/cli/cli_tests --gtest_filter='Set*:Show*'

echo "== Fuzzing the track reader"
bash scripts/fuzz.sh build/fuzz "${FUZZ_SECONDS:-60}"
