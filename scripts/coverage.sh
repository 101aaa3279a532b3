#!/usr/bin/env bash
# Builds with gcc's --coverage, runs the whole ctest suite, and prints the line
# and branch coverage of each module, then the test lines against code lines.
# A change to the tests must not lower these figures by more than a point.
#   JOBS=N       build and test with N jobs (default: one per core)
#   BUILD_DIR=D  build folder (default: build/coverage)
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
jobs=${JOBS:-$(nproc)}
build=${BUILD_DIR:-build/coverage}

echo "== Build with coverage (gcc, debug) into $build"
# Atomic counters: the runs over several files at once count from several
# threads, and lost updates leave negative counts that gcovr cannot parse.
CC=gcc CXX=g++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  "-DCMAKE_CXX_FLAGS=--coverage -fprofile-update=atomic" -DCMAKE_EXE_LINKER_FLAGS=--coverage \
  -DCMAKE_SHARED_LINKER_FLAGS=--coverage
cmake --build "$build" -j "$jobs"

# Counts from an earlier run would add to this one's.
find "$build" -name '*.gcda' -delete

echo "== Tests"
test_status=0
ctest --test-dir "$build" --output-on-failure -j "$jobs" || test_status=$?

echo "== Coverage"
summary="$build/coverage-summary.json"
# Branches that only exist for exceptions the compiler might throw, or that the
# compiler proved unreachable, are not decisions in our code and would only
# blur the branch figure.
# Only this build's counts: another build folder's stale ones would be read too.
gcovr "$build" --root . --object-directory "$build" -j "$jobs" \
  --filter 'engine/' --filter 'operations/' --filter 'preferences/' --filter 'cli/' \
  --exclude 'tests/' --exclude 'bench/' --exclude 'fuzz/' --exclude 'samples/' \
  --exclude 'build.*/' \
  --exclude-throw-branches --exclude-unreachable-branches --gcov-ignore-parse-errors \
  --json-summary "$summary" >/dev/null

python3 - "$summary" <<'EOF'
import json, sys

with open(sys.argv[1]) as f:
    files = json.load(f)["files"]
modules = ["engine", "operations", "preferences", "cli"]
sums = {m: [0, 0, 0, 0] for m in modules + ["all"]}
for entry in files:
    module = entry["filename"].split("/", 1)[0]
    if module not in sums:
        continue
    figures = [entry["line_covered"], entry["line_total"],
               entry["branch_covered"], entry["branch_total"]]
    for key in (module, "all"):
        sums[key] = [a + b for a, b in zip(sums[key], figures)]

def percent(covered, total):
    return f"{100 * covered / total:.1f}%" if total else "-"

print(f"{'module':<14} {'lines':>8} {'branches':>9}")
for module, (lc, lt, bc, bt) in sums.items():
    print(f"{module:<14} {percent(lc, lt):>8} {percent(bc, bt):>9}")
EOF

echo "== Test lines against code lines"
bash scripts/test_ratio.sh

if [ "$test_status" -ne 0 ]; then
  echo "Some tests failed (ctest exit $test_status); the coverage above is of a failing run." >&2
fi
exit "$test_status"
