#!/usr/bin/env bash
# Builds every tests/fuzz/*.cpp as a libFuzzer target (clang, ASan + UBSan) and runs them.
#
#   tools/fuzz.sh [--campaign] [total seconds, default 480] [target names, default all]
#
# Without --campaign (what CI runs) the run is reproducible: each target first replays every
# seed once (tests/fuzz/seeds/<target>/ holds the seeds and every input that ever failed), then
# fuzzes from those seeds alone, with a fixed random seed, for its share of the total time.  A red
# run is replayed exactly by the same command on the same commit.
# With --campaign each target keeps its growing corpus in build-fuzz/ between runs and draws a
# new random seed: that is for long local hunts before a submission; whatever it finds is fixed
# and its input added to the target's seeds.
# Exits non-zero when a target finds a fault; each fault is told last, with its input in base64.
set -euo pipefail
repo=$(cd "$(dirname "$0")/.." && pwd)
campaign=false
if [ "${1:-}" = --campaign ]; then campaign=true; shift; fi
budget=${1:-480}
shift $(( $# > 0 ? 1 : 0 ))
only=" $* "
build="$repo/build-fuzz"
corpus_root="$repo/../shared/corpus"
# The fixed seed of reproducible runs; FUZZ_SEED overrides it to replay another run.
fixed_seed=${FUZZ_SEED:-20261123}

# The engine and the targets, instrumented for coverage, ASan and UBSan (through ccache where
# installed, as in tools/build.sh).
launcher=()
if command -v ccache >/dev/null; then
  export CCACHE_BASEDIR="$repo" CCACHE_NOHASHDIR=1
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
cmake -S "$repo" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMSGBRIDGE_SANITIZE=ON -DMSGBRIDGE_FUZZ=ON -DMSGBRIDGE_TESTS=OFF \
  -DMSGBRIDGE_BENCH=OFF "${launcher[@]}" >/dev/null
# Only the fuzz targets: the tool, the shared library and the C example are not fuzzed.
names=()
for source in "$repo"/tests/fuzz/*.cpp; do
  name=$(basename "$source" .cpp)
  [ "$only" = "  " ] || [[ "$only" == *" $name "* ]] || continue
  names+=("$name")
done
[ ${#names[@]} -gt 0 ] || { echo "fuzz: no target named$only" >&2; exit 2; }
build_targets=()
for name in "${names[@]}"; do build_targets+=(--target "$name"); done
cmake --build "$build" -j 2 "${build_targets[@]}"

# CPython keeps some memory until the process ends; only leaks inside it are ignored.
export LSAN_OPTIONS="suppressions=$repo/tools/lsan-python.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}"

seconds=$(( budget / ${#names[@]} ))
[ "$seconds" -ge 1 ] || seconds=1
status=0
failed=()
for name in "${names[@]}"; do
  target="$build/$name"

  # Seeds: the target's own files under tests/fuzz/seeds/<target>/, and for some targets the
  # example files and the shared corpus as they are.
  seeds="$build/$name-seeds"
  rm -rf "$seeds"
  mkdir -p "$seeds"
  if [ -d "$repo/tests/fuzz/seeds/$name" ]; then
    cp "$repo/tests/fuzz/seeds/$name"/* "$seeds"/ 2>/dev/null || true
  fi
  case "$name" in
    fuzz_parse)
      awk 'BEGIN{RS="\r\r\n"} NF{f=sprintf("'"$seeds"'/example-%02d", NR); printf "%s", $0 > f; close(f)}' \
        "$repo/examples/messages.hl7"
      [ -d "$corpus_root/hl7" ] && cp "$corpus_root"/hl7/*.hl7 "$seeds"/ ;;
    fuzz_tokeniser)
      # Every corpus message with the option byte in front that suits its kind.
      if [ -d "$corpus_root" ]; then
        for f in "$corpus_root"/hl7/*; do
          [ -f "$f" ] && { printf '\x00'; cat "$f"; } > "$seeds/hl7-$(basename "$f")"
        done
        for f in "$corpus_root"/x12/*; do
          [ -f "$f" ] && { printf '\x01'; cat "$f"; } > "$seeds/x12-$(basename "$f")"
        done
      else
        echo "fuzz: no corpus at $corpus_root, the tokeniser starts from its own seeds" >&2
      fi ;;
    fuzz_vmd)
      # The definition reader starts from the example definitions rather than from messages.
      rm -f "$seeds"/*; cp "$repo"/examples/*.vmd "$seeds"/ ;;
  esac

  # A reproducible run grows its corpus from nothing but the seeds; a campaign keeps its own.
  work="$build/$name-corpus"
  if $campaign; then
    seed_flag=()
  else
    rm -rf "$work"
    seed_flag=(-seed="$fixed_seed")
  fi
  mkdir -p "$work"
  artifacts="$build/$name-artifacts"
  rm -rf "$artifacts"
  mkdir -p "$artifacts"
  common=(-timeout=10 -rss_limit_mb=4096 -max_len=70000 -artifact_prefix="$artifacts/")

  echo "== $name: replay $(find "$seeds" -type f | wc -l) seeds, then fuzz ${seconds}s" \
    "($($campaign && echo "campaign, random seed" || echo "seed $fixed_seed"))"
  if ! (cd "$build" && "$target" "${common[@]}" -runs=0 "$seeds" > "$build/$name.log" 2>&1 &&
        "$target" "${common[@]}" "${seed_flag[@]}" -max_total_time="$seconds" -print_final_stats=1 \
          "$work" "$seeds" >> "$build/$name.log" 2>&1); then
    status=1
    failed+=("$name")
  fi
  grep -E "^#[0-9]+[[:space:]]+DONE|^stat::(number_of_executed_units|peak_rss_mb)" "$build/$name.log" || true
done

# Only the end of a CI log may be kept: each failure is told last, with the sanitizer's report
# and the input that caused it, so that it can be reproduced from the log alone.
for name in "${failed[@]}"; do
  echo "fuzz: $name failed; its log is $build/$name.log"
  grep -B 12 -A 40 -m 1 -E '^==[0-9]+==(ERROR|WARNING)|runtime error|ALARM|out-of-memory|Deadly signal' \
    "$build/$name.log" || tail -n 40 "$build/$name.log"
  for input in "$build/$name-artifacts"/*; do
    [ -f "$input" ] || continue
    echo "fuzz: input $(basename "$input") ($(stat -c %s "$input") bytes), base64:"
    head -c 4096 "$input" | base64
  done
done
[ $status -eq 0 ] && echo "fuzz: ${#names[@]} targets replayed their seeds and ran ${seconds}s each without a fault"
exit $status
