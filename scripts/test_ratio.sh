#!/usr/bin/env bash
# Prints how many lines of tests each module has against its own code, and the
# whole suite against all the code, so that the suite's size can be kept near a
# quarter to a third of the code.
# Lines are non-blank C++ lines (.cpp and .h) that are not only a // comment,
# counted exactly as `grep -cvE '^\s*(//.*)?$'` counts them.
set -euo pipefail
cd "$(dirname "$0")/.."

# Sum of the counted lines of every .cpp and .h file under the given folders;
# a folder that does not exist counts 0.
count() {
  local total=0 n file
  while IFS= read -r -d '' file; do
    n=$(grep -cvE '^\s*(//.*)?$' "$file" || true)
    total=$((total + n))
  done < <(find "$@" -type f \( -name '*.cpp' -o -name '*.h' \) -print0 2>/dev/null || true)
  echo "$total"
}

percent() {
  if [ "$2" -eq 0 ]; then echo "-"; else awk -v a="$1" -v b="$2" 'BEGIN { printf "%.0f%%", 100 * a / b }'; fi
}

printf '%-14s %10s %10s %7s\n' module "test lines" "code lines" ratio
for module in engine operations preferences cli ui; do
  tests=$(count "tests/$module")
  code=$(count "$module")
  printf '%-14s %10d %10d %7s\n' "$module" "$tests" "$code" "$(percent "$tests" "$code")"
done
printf '%-14s %10d %10s %7s\n' "tests/support" "$(count tests/support)" "" ""

# Everything outside tests/, bench/, fuzz/ and the build trees is code.
all_tests=$(count tests)
all_code=0
while IFS= read -r -d '' file; do
  n=$(grep -cvE '^\s*(//.*)?$' "$file" || true)
  all_code=$((all_code + n))
done < <(find . \( -path ./tests -o -path ./bench -o -path ./fuzz -o -path './build*' -o -path ./.git \) -prune \
  -o -type f \( -name '*.cpp' -o -name '*.h' \) -print0)
printf '%-14s %10d %10d %7s\n' all "$all_tests" "$all_code" "$(percent "$all_tests" "$all_code")"
