#!/usr/bin/env bash
# Builds every tests/fuzz/*.cpp as a libFuzzer target (clang, ASan + UBSan) and runs them.
#
#   tools/fuzz.sh [--campaign] [total seconds, default 480] [target names, default all]
#
# Without --campaign (what CI runs) the run is reproducible: each target first replays every
# seed once (tests/fuzz/seeds/<target>/ holds the seeds and every input that ever failed), then
# fuzzes from those seeds alone, with a fixed random seed, for a fixed number of inputs: its share
# of the total time at the pace of a 2-core machine.  Address layout randomisation, Python's hash
# seed and corpus reloads are switched off, so a run does not depend on the machine's speed, and
# two runs in one checkout mostly try the same inputs (libFuzzer keeps a little that varies over
# long runs); every failure prints its input, which replays exactly.  A slower machine takes
# longer; the run stops at twice the share and says so.
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

# Inputs per second each target manages on a 2-core machine, with room to spare: a reproducible
# run tries this many times its share of seconds.
pace() {
  case "$1" in
    fuzz_escaper) echo 7000 ;; fuzz_xml) echo 5000 ;; fuzz_full_tree_xml) echo 5000 ;; fuzz_tree_xml) echo 5000 ;;
    fuzz_table_xml) echo 2300 ;; fuzz_readers) echo 1000 ;; fuzz_vmd) echo 500 ;;
    fuzz_tokeniser) echo 360 ;; fuzz_parse) echo 270 ;; fuzz_archive) echo 250 ;; *) echo 500 ;;
  esac
}
# The same layout and hashing on every run; without setarch (or where it is refused) only the
# hash seed is fixed.
export PYTHONHASHSEED=0
fixed_layout=()
if setarch -R true 2>/dev/null; then fixed_layout=(setarch -R); fi

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
    limit=(-max_total_time="$seconds")
    runner=()
  else
    rm -rf "$work"
    runs=$(( $(pace "$name") * seconds ))
    limit=(-seed="$fixed_seed" -reload=0 -runs="$runs" -max_total_time=$(( 2 * seconds )))
    runner=("${fixed_layout[@]}")
  fi
  mkdir -p "$work"
  artifacts="$build/$name-artifacts"
  rm -rf "$artifacts"
  mkdir -p "$artifacts"
  common=(-timeout=10 -rss_limit_mb=4096 -max_len=70000 -artifact_prefix="$artifacts/")

  echo "== $name: replay $(find "$seeds" -type f | wc -l) seeds, then fuzz" \
    "$($campaign && echo "${seconds}s (campaign, random seed)" || echo "$runs inputs (seed $fixed_seed)")"
  if ! (cd "$build" && "${runner[@]}" "$target" "${common[@]}" -runs=0 "$seeds" > "$build/$name.log" 2>&1 &&
        "${runner[@]}" "$target" "${common[@]}" "${limit[@]}" -print_final_stats=1 \
          "$work" "$seeds" >> "$build/$name.log" 2>&1); then
    status=1
    failed+=("$name")
  fi
  grep -E "^#[0-9]+[[:space:]]+DONE|^stat::(number_of_executed_units|peak_rss_mb)" "$build/$name.log" || true
  if ! $campaign && ! grep -qE "^#$runs[[:space:]]+DONE" "$build/$name.log" && [[ ! " ${failed[*]} " == *" $name "* ]]; then
    echo "fuzz: $name stopped by time before its $runs inputs"
  fi
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
[ $status -eq 0 ] && echo "fuzz: ${#names[@]} targets replayed their seeds and fuzzed without a fault"
exit $status
