#!/usr/bin/env bash
# Sets up the machine, builds the release and the sanitizer trees, and runs the whole suite in both.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
for kind in release sanitize; do
  tools/build.sh "$kind"
  dir=build; [ "$kind" = sanitize ] && dir=build-sanitize
  echo "== tests ($kind)"
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir "$dir" --output-on-failure -j "$(nproc)"
done
