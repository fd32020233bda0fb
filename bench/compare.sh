#!/usr/bin/env bash
# Side by side: msgbridge against other HL7 v2 parsers on one generated log, one table.
# Not part of CI: it installs npm packages into a throwaway directory and takes minutes.
#   bench/compare.sh [MESSAGES, default 100000]
# Environment: BUILD (build tree, default build), KEEP=1 keeps the work directory.
# The peers only tokenise (parse, then read PID-3 and PID-5); msgbridge identifies the
# message, validates every segment and field, fills the tables and writes XML.
set -euo pipefail
repo=$(cd "$(dirname "$0")/.." && pwd)
count=${1:-100000}
build=${BUILD:-$repo/build}
vmd="$repo/examples/adt_oru.vmd"
work=$(mktemp -d "${TMPDIR:-/tmp}/msgbridge-compare.XXXXXX")
[ "${KEEP:-0}" = 1 ] || trap 'rm -rf "$work"' EXIT

if [ ! -x /usr/bin/time ]; then echo "compare: /usr/bin/time is missing (Debian package time)" >&2; exit 1; fi
[ -f "$build/CMakeCache.txt" ] || cmake -S "$repo" -B "$build" -G Ninja >/dev/null
cmake --build "$build" -j 2 --target msgbridge bench_c_host >/dev/null
tool="$build/msgbridge"

log="$work/log.hl7"
python3 "$repo/bench/make_log.py" "$count" "$log"
bytes=$(stat -c %s "$log")
echo "compare: $count messages, $bytes bytes, on $(nproc) cores of $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2- | sed 's/^ *//')" >&2

rows=()
# run NAME WORK KIND COMMAND...: KIND "wall" takes the process's wall time, "loop" takes the
# "messages seconds" line the command prints for its own parse loop, "tool" the rate msgbridge
# prints for its message loop, "net" the wall time less start-up.  Loop rates leave out
# start-up and loading, as for every peer.
run() {
  local name=$1 work_done=$2 kind=$3
  shift 3
  echo "compare: $name" >&2
  if ! /usr/bin/time -f "%e %M" -o "$work/time" "$@" >"$work/out" 2>"$work/err"; then
    echo "compare: $name failed:" >&2
    tail -5 "$work/err" "$work/out" >&2
    return 0
  fi
  local wall rss messages seconds
  read -r wall rss <"$work/time"
  messages=${expected:-$count} seconds=$wall
  if [ "$kind" = loop ]; then read -r messages seconds _ <"$work/out"; fi
  # "net": the wall time less that of a one-message run (start-up and loading the definition),
  # for counting, whose loop over one log is shorter than loading the definition.
  if [ "$kind" = net ]; then
    seconds=$(awk -v w="$wall" -v b="$baseline" 'BEGIN { s = w - b; printf "%.6f", (s > 0.01 ? s : 0.01) }')
  elif [ "$kind" = tool ]; then
    local rate
    rate=$(grep -ao 'Messages per second: [0-9.e+]*' "$work/out" | cut -d' ' -f4)
    [ -z "$rate" ] || seconds=$(awk -v n="$messages" -v r="$rate" 'BEGIN { printf "%.6f", n / r }')
  fi
  [ "$messages" = "${expected:-$count}" ] || { echo "compare: $name saw $messages messages" >&2; return 0; }
  rows+=("$name|$work_done|$seconds|$rss|$messages")
}

run "cat (floor)" "reads the file" wall sh -c "cat '$log' >/dev/null"
head -c 4096 "$log" | awk 'BEGIN { RS = ORS = "\r\n" } NR == 1' >"$work/one.hl7"
/usr/bin/time -f "%e" -o "$work/time1" "$tool" "$vmd" "$work/one.hl7" "$work/one.out" >/dev/null
baseline=$(cat "$work/time1")
# Framing the log takes less time than loading the definition: count over 12 copies of it.
for _ in 1 2 3 4 5 6 7 8 9 10 11 12; do cat "$log"; done >"$work/copies.hl7"
expected=$((count * 12))
run "msgbridge counting" "frames messages (12 copies)" net "$tool" "$vmd" "$work/copies.hl7" "$work/count.out"
expected=""
rm -f "$work/copies.hl7"
run "msgbridge --toxml" "identify, validate, tables, 1 XML file each" tool \
  "$tool" --toxml "$vmd" "$log" "$work/xml/m.xml"
run "msgbridge --fromxml" "XML files to tables to messages" tool \
  "$tool" --fromxml "$vmd" "$work/xml/m.xml" "$work/back.hl7"
rm -rf "$work/xml"
run "msgbridge library (C host)" "identify, validate, tables, XML in memory" loop \
  "$build/bench/bench_c_host" "$vmd" "$log"

if /usr/bin/python3 -c "import hl7" 2>/dev/null; then
  run "python-hl7" "tokenise, read PID-3/5" loop /usr/bin/python3 "$repo/bench/peer_python_hl7.py" "$log"
else
  echo "compare: python3-hl7 is not installed (apt-get install python3-hl7): skipped" >&2
fi
if command -v npm >/dev/null && npm install --prefix "$work/npm" --no-audit --no-fund --silent \
     @medplum/core hl7-standard >/dev/null 2>&1; then
  run "node @medplum/core" "tokenise, read PID-3/5" loop node "$repo/bench/peer_node.js" medplum "$log" "$work/npm"
  run "node hl7-standard" "tokenise, read PID-3/5" loop node "$repo/bench/peer_node.js" hl7-standard "$log" "$work/npm"
else
  echo "compare: npm or the registry is not available: the Node peers are skipped" >&2
fi

printf '%s\n' "${rows[@]}" | awk -F'|' -v count="$count" -v bytes="$bytes" '
  { name[NR] = $1; work[NR] = $2; rate[NR] = $5 / ($3 > 0 ? $3 : 0.001); rss[NR] = $4 / 1024
    if ($1 ~ /^(python|node)/ && rate[NR] > peer) peer = rate[NR]
    if ($1 ~ /library/) lib = rate[NR]
    if ($1 ~ /toxml/) toxml = rate[NR]
    if ($1 ~ /counting/) counting = rate[NR] * bytes / count / 1e6 }
  END {
    printf "| %-28s | %-44s | %12s | %8s | %9s | %8s | %8s |\n", "Tool", "Work", "messages/s", "MB/s", "peak RSS", "vs lib", "vs peer"
    printf "|%s|%s|%s|%s|%s|%s|%s|\n", "------------------------------", "----------------------------------------------", "-------------:", "---------:", "----------:", "---------:", "---------:"
    for (i = 1; i <= NR; ++i)
      printf "| %-28s | %-44s | %12.0f | %8.1f | %6.1f MB | %8s | %8s |\n", name[i], work[i], rate[i],
        rate[i] * bytes / count / 1e6, rss[i], lib ? sprintf("%.2f", rate[i] / lib) : "-",
        peer ? sprintf("%.2f", rate[i] / peer) : "-"
    print ""
    print "vs lib: messages/s over the msgbridge library run; vs peer: over the fastest peer."
    if (peer && lib) printf "Goal library >= 10 x fastest peer: %.1f x\n", lib / peer
    if (peer && toxml) printf "Goal --toxml >= 2 x fastest peer: %.1f x\n", toxml / peer
    if (counting) printf "Goal counting >= 500 MB/s: %.0f MB/s\n", counting
  }'
