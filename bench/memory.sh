#!/usr/bin/env bash
# Peak memory against log size: counting over a generated log of at least SIZE_MB (default 2048),
# and --toxml over a slice of at least TOXML_MB (default 96; at a few thousand messages/s the
# whole log would take most of an hour), in a temporary directory deleted afterwards.  Both are
# whole copies of one block of 100,000 messages, so they come out a little larger than asked;
# the table gives each log's real size and message count.
# Peak RSS must stay under LIMIT_MB (default 64) whatever the size; a 7 MB log is measured
# first for contrast.  --toxml writes one file per message; a background loop deletes them as
# they come, so the disk holds only a few seconds' worth.  Not part of CI.
#   bench/memory.sh [SIZE_MB]      Environment: BUILD (default build), LIMIT_MB, TOXML_MB.
set -euo pipefail
repo=$(cd "$(dirname "$0")/.." && pwd)
size_mb=${1:-2048}
limit_mb=${LIMIT_MB:-64}
toxml_mb=${TOXML_MB:-96}
build=${BUILD:-$repo/build}
vmd="$repo/examples/adt_oru.vmd"
work=$(mktemp -d "${TMPDIR:-/tmp}/msgbridge-memory.XXXXXX")
reaper=""
cleanup() {
  [ -z "$reaper" ] || kill "$reaper" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

[ -x /usr/bin/time ] || { echo "memory: /usr/bin/time is missing (Debian package time)" >&2; exit 1; }
[ -f "$build/CMakeCache.txt" ] || cmake -S "$repo" -B "$build" -G Ninja >/dev/null
cmake --build "$build" -j 2 --target msgbridge >/dev/null
tool="$build/msgbridge"

free_mb=$(df -Pm "$work" | awk 'NR == 2 { print $4 }')
if [ "$free_mb" -lt $((size_mb + 2048)) ]; then
  echo "memory: $free_mb MB free in $work, $((size_mb + 2048)) MB needed" >&2
  exit 1
fi

# 100,000 varied messages (about 37 MB), repeated up to the size asked for.
python3 "$repo/bench/make_log.py" 100000 "$work/block.hl7"
small="$work/small.hl7"
python3 "$repo/bench/make_log.py" 20000 "$small"
large="$work/large.hl7"
: >"$large"
slice="$work/slice.hl7"
: >"$slice"
while [ "$(stat -c %s "$slice")" -lt $((toxml_mb * 1024 * 1024)) ]; do cat "$work/block.hl7" >>"$slice"; done
while [ "$(stat -c %s "$large")" -lt $((size_mb * 1024 * 1024)) ]; do cat "$work/block.hl7" >>"$large"; done
rm -f "$work/block.hl7"

status=0
# measure NAME LOG MODE...: prints one row and notes a breach of the limit.
measure() {
  local name=$1 log=$2
  shift 2
  local out="$work/out" lines
  mkdir -p "$out"
  if [ "${1:-}" = --toxml ]; then
    # Keep the disk clear while the tool writes; the tool holds no file once it is written.
    (while sleep 2; do find "$out" -name '*.xml' -delete 2>/dev/null || true; done) &
    reaper=$!
  fi
  /usr/bin/time -f "%e %M" -o "$work/time" "$tool" "$@" "$vmd" "$log" "$out/m.xml" >"$work/stdout" 2>&1 || {
    echo "memory: $name failed:" >&2; tail -5 "$work/stdout" >&2; status=1; }
  if [ -n "$reaper" ]; then kill "$reaper" 2>/dev/null || true; wait "$reaper" 2>/dev/null || true; reaper=""; fi
  rm -rf "$out"
  local wall rss
  read -r wall rss <"$work/time"
  lines=$(grep -ao 'Messages per second: [0-9.]*' "$work/stdout" | tail -1 | cut -d' ' -f4 || true)
  local messages
  messages=$(grep -ac '^MSH' "$log" || true)
  printf "| %-22s | %9.0f MB | %10s | %8.1f s | %12s | %7.1f MB |\n" "$name" \
    "$(($(stat -c %s "$log") / 1048576))" "$messages" "$wall" "$(awk -v r="${lines:-}" 'BEGIN { print r == "" ? "-" : sprintf("%.0f", r) }')" "$(awk -v k="$rss" 'BEGIN { print k / 1024 }')"
  if [ "$rss" -ge $((limit_mb * 1024)) ]; then echo "memory: $name peaked at $rss kB, over $limit_mb MB" >&2; status=1; fi
}

echo "| Mode                   |       Log    |   Messages |     Wall   |   messages/s |  peak RSS  |"
echo "|------------------------|-------------:|-----------:|-----------:|-------------:|-----------:|"
measure "counting, small log" "$small"
measure "counting, large log" "$large"
measure "--toxml, small log" "$small" --toxml
measure "--toxml, large slice" "$slice" --toxml
exit $status
