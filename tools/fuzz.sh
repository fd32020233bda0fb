#!/usr/bin/env bash
# Builds every tests/fuzz/*.cpp as a libFuzzer target (clang, ASan + UBSan) and runs each for
# a bounded time, seeded from the shared corpus.  Exits non-zero when a target finds a crash.
# Usage: tools/fuzz.sh [seconds per target, default 60]
set -euo pipefail
repo=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
build="$repo/build-fuzz"
corpus_root="$repo/../shared/corpus"

# The engine and the targets, instrumented for coverage, ASan and UBSan.
cmake -S "$repo" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMSGBRIDGE_SANITIZE=ON -DMSGBRIDGE_FUZZ=ON -DMSGBRIDGE_TESTS=OFF \
  -DMSGBRIDGE_BENCH=OFF >/dev/null
cmake --build "$build" -j 2

status=0
for source in "$repo"/tests/fuzz/*.cpp; do
  name=$(basename "$source" .cpp)
  target="$build/$name"

  # Seeds: every corpus message, with the option byte in front that suits its kind.
  work="$build/$name-corpus"
  seeds="$build/$name-seeds"
  mkdir -p "$work" "$seeds"
  if [ -d "$corpus_root" ]; then
    for f in "$corpus_root"/hl7/*; do
      [ -f "$f" ] && { printf '\x00'; cat "$f"; } > "$seeds/hl7-$(basename "$f")"
    done
    for f in "$corpus_root"/x12/*; do
      [ -f "$f" ] && { printf '\x01'; cat "$f"; } > "$seeds/x12-$(basename "$f")"
    done
  else
    echo "fuzz: no corpus at $corpus_root, starting from nothing" >&2
  fi

  # The definition reader starts from the example definitions rather than from messages.
  case "$name" in fuzz_vmd) rm -f "$seeds"/*; cp "$repo"/examples/*.vmd "$seeds"/ ;; esac

  echo "== $name for ${seconds}s"
  if ! (cd "$build" && "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 \
        -max_len=70000 -print_final_stats=1 "$work" "$seeds"); then
    echo "fuzz: $name failed; the crashing input is in $build" >&2
    status=1
  fi
done
exit $status
