#!/usr/bin/env bash
# Builds every tests/fuzz/*.cpp as a libFuzzer target (clang, ASan + UBSan) and runs each for
# a bounded time, seeded from tests/fuzz/seeds/<target>/ (and the shared corpus for the
# tokeniser).  Exits non-zero when a target finds a crash.
# Usage: tools/fuzz.sh [seconds per target, default 60] [target names, default all]
set -euo pipefail
repo=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
shift $(( $# > 0 ? 1 : 0 ))
only=" $* "
build="$repo/build-fuzz"
corpus_root="$repo/../shared/corpus"

# The engine and the targets, instrumented for coverage, ASan and UBSan.
cmake -S "$repo" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMSGBRIDGE_SANITIZE=ON -DMSGBRIDGE_FUZZ=ON -DMSGBRIDGE_TESTS=OFF \
  -DMSGBRIDGE_BENCH=OFF >/dev/null
# Only the fuzz targets: the tool, the shared library and the C example are not fuzzed.
fuzz_targets=()
for source in "$repo"/tests/fuzz/*.cpp; do fuzz_targets+=(--target "$(basename "$source" .cpp)"); done
cmake --build "$build" -j 2 "${fuzz_targets[@]}"

# CPython keeps some memory until the process ends; only leaks inside it are ignored.
export LSAN_OPTIONS="suppressions=$repo/tools/lsan-python.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}"

status=0
failed=()
for source in "$repo"/tests/fuzz/*.cpp; do
  name=$(basename "$source" .cpp)
  target="$build/$name"
  [ "$only" = "  " ] || [[ "$only" == *" $name "* ]] || continue

  # Seeds: the target's own small files under tests/fuzz/seeds/<target>/, and for the
  # tokeniser every corpus message with the option byte in front that suits its kind.
  work="$build/$name-corpus"
  seeds="$build/$name-seeds"
  rm -rf "$seeds"
  mkdir -p "$work" "$seeds"
  if [ -d "$repo/tests/fuzz/seeds/$name" ]; then
    cp "$repo/tests/fuzz/seeds/$name"/* "$seeds"/ 2>/dev/null || true
  fi
  # The parse road starts from the example log's messages and the corpus as they are.
  if [ "$name" = fuzz_parse ]; then
    awk 'BEGIN{RS="\r\r\n"} NF{f=sprintf("'"$seeds"'/example-%02d", NR); printf "%s", $0 > f; close(f)}' \
      "$repo/examples/messages.hl7"
    [ -d "$corpus_root/hl7" ] && cp "$corpus_root"/hl7/*.hl7 "$seeds"/
  fi
  if [ "$name" = fuzz_tokeniser ]; then
    if [ -d "$corpus_root" ]; then
      for f in "$corpus_root"/hl7/*; do
        [ -f "$f" ] && { printf '\x00'; cat "$f"; } > "$seeds/hl7-$(basename "$f")"
      done
      for f in "$corpus_root"/x12/*; do
        [ -f "$f" ] && { printf '\x01'; cat "$f"; } > "$seeds/x12-$(basename "$f")"
      done
    else
      echo "fuzz: no corpus at $corpus_root, the tokeniser starts from its own seeds" >&2
    fi
  fi

  # The definition reader starts from the example definitions rather than from messages.
  case "$name" in fuzz_vmd) rm -f "$seeds"/*; cp "$repo"/examples/*.vmd "$seeds"/ ;; esac

  echo "== $name for ${seconds}s"
  artifacts="$build/$name-artifacts"
  rm -rf "$artifacts"
  mkdir -p "$artifacts"
  if ! (cd "$build" && "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 \
        -max_len=70000 -print_final_stats=1 -artifact_prefix="$artifacts/" "$work" "$seeds" \
        > "$build/$name.log" 2>&1); then
    status=1
    failed+=("$name")
  fi
  grep -E "^#[0-9]+[[:space:]]+DONE|^stat::(number_of_executed_units|peak_rss_mb)" "$build/$name.log" || true
done

# Only the end of a CI log may be kept: each failure is told last, with the sanitizer's report
# and the input that caused it, so that it can be reproduced from the log alone.
for name in "${failed[@]}"; do
  echo "fuzz: $name failed; its log is $build/$name.log"
  grep -A 40 -m 1 -E '^==[0-9]+==(ERROR|WARNING)|runtime error|ALARM|out-of-memory|Deadly signal' \
    "$build/$name.log" || tail -n 40 "$build/$name.log"
  for input in "$build/$name-artifacts"/*; do
    [ -f "$input" ] || continue
    echo "fuzz: input $(basename "$input") ($(stat -c %s "$input") bytes), base64:"
    head -c 4096 "$input" | base64
  done
done
[ $status -eq 0 ] && echo "fuzz: every target ran ${seconds}s without a fault"
exit $status
