#!/usr/bin/env bash
# Side by side: msgbridge against other HL7 v2 parsers, one table per log, then the thread
# scaling, the heap allocations per message and the speed targets.
# Not part of CI: it installs npm packages into a throwaway directory and takes minutes.
#   bench/compare.sh [MESSAGES, default 20000] >results.md
# Environment: BUILD (build tree, default build), KEEP=1 keeps the work directory.
# Two logs of MESSAGES distinct messages each (bench/make_log.py):
#   - the first ADT^A01 of examples/messages.hl7, varied, under definitions/hl7v2.5.1.vmd;
#   - the ADT and ORU shapes of examples/messages.hl7 under examples/adt_oru.vmd.
# The peers parse each message, read MSH-9, PID-3 and PID-5 and write the message back to text;
# msgbridge identifies each message, parses it against its grammar, validates every segment
# and field, fills the tables and writes XML.  A row of msgbridge's tokeniser doing the peers'
# work alone sets the two side by side on equal terms.  The library host runs again on a copy of
# the definition set to parser version 1 (the legacy road) beside version 2 (the current one).
# The tables go to standard output as markdown, progress to standard error.
set -euo pipefail
repo=$(cd "$(dirname "$0")/.." && pwd)
count=${1:-20000}
build=${BUILD:-$repo/build}
work=$(mktemp -d "${TMPDIR:-/tmp}/msgbridge-compare.XXXXXX")
[ "${KEEP:-0}" = 1 ] || trap 'rm -rf "$work"' EXIT

if [ ! -x /usr/bin/time ]; then echo "compare: /usr/bin/time is missing (Debian package time)" >&2; exit 1; fi
[ -f "$build/CMakeCache.txt" ] || cmake -S "$repo" -B "$build" -G Ninja >/dev/null
cmake --build "$build" -j 2 --target msgbridge bench_c_host bench_threads bench_allocations bench_create_files \
  bench_peer_work >/dev/null
tool="$build/msgbridge"
benches="$build/bench"

# The one-message source of the ADT log: the first ADT^A01 of the example log, in its framing.
python3 - "$repo/examples/messages.hl7" "$work/a01.hl7" <<'EOF'
import sys
data = open(sys.argv[1], "rb").read()
messages = [m for m in data.split(b"\r\r\n") if m.startswith(b"MSH")]
a01 = [m for m in messages if b"ADT^A01" in m.split(b"\r")[0]]
open(sys.argv[2], "wb").write(a01[0] + b"\r\r\n")
EOF
python3 "$repo/bench/make_log.py" "$count" "$work/adt.hl7" "$work/a01.hl7"
python3 "$repo/bench/make_log.py" "$count" "$work/mixed.hl7"

have_python_hl7=0
/usr/bin/python3 -c "import hl7" 2>/dev/null && have_python_hl7=1 ||
  echo "compare: python3-hl7 is not installed (apt-get install python3-hl7): skipped" >&2
have_npm=0
if command -v npm >/dev/null && npm install --prefix "$work/npm" --no-audit --no-fund --silent \
     hl7parser @medplum/core >/dev/null 2>&1; then
  have_npm=1
else
  echo "compare: npm or the registry is not available: the Node peers are skipped" >&2
fi

# run NAME ROLE WORK KIND COMMAND...: one row of the current table.  ROLE marks the rows the
# ratios and targets use (peer, library, legacy, toxml, counting, other).  KIND "wall" takes the
# process's wall time, "loop" the "messages seconds" line the command prints for its own loop,
# "tool" the rate msgbridge prints for its message loop, "net" the wall time less start-up.
# Loop rates leave out start-up and loading, as for every peer.  A failing command is reported
# and leaves no row.
run() {
  local name=$1 role=$2 work_done=$3 kind=$4
  shift 4
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
  rows+=("$name|$role|$work_done|$seconds|$rss|$messages")
}

# table TITLE LOG BYTES: the markdown table of the rows; its ratios are to the fastest peer.
# Leaves "library toxml peer peer_name" of the table in $work/rates for the targets, and the
# legacy road's rate in $work/rates.legacy.
table() {
  printf '%s\n' "${rows[@]}" | awk -F'|' -v title="$1" -v count="$count" -v bytes="$2" -v rates="$work/rates" '
    { name[NR] = $1; role[NR] = $2; work[NR] = $3; rate[NR] = $6 / ($4 > 0 ? $4 : 0.001); rss[NR] = $5 / 1024
      if (role[NR] == "peer" && rate[NR] > peer) { peer = rate[NR]; peername = name[NR] }
      if (role[NR] == "library") lib = rate[NR]
      if (role[NR] == "legacy") legacy = rate[NR]
      if (role[NR] == "toxml") toxml = rate[NR] }
    END {
      printf "#### %s: %d messages, %.1f MB\n\n", title, count, bytes / 1e6
      printf "| %-34s | %-48s | %10s | %8s | %9s | %12s |\n", "Tool", "Work", "messages/s", "MB/s", "peak RSS", "vs fastest peer"
      printf "|%s|%s|%s|%s|%s|%s|\n", "------------------------------------", "--------------------------------------------------", "-----------:", "---------:", "----------:", "----------------:"
      for (i = 1; i <= NR; ++i)
        printf "| %-34s | %-48s | %10.0f | %8.1f | %6.1f MB | %15s |\n", name[i], work[i], rate[i],
          rate[i] * bytes / count / 1e6, rss[i], peer ? sprintf("%.2f", rate[i] / peer) : "-"
      print ""
      if (peer) printf "Fastest peer: %s.\n\n", peername
      printf "%s %s %s %s\n", lib + 0, toxml + 0, peer + 0, peername > rates
      printf "%s\n", legacy + 0 > (rates ".legacy")
    }'
}

# legacy DEFINITION: a copy of the definition whose configuration selects parser version 1.
legacy() {
  local copy
  copy="$work/$(basename "$1" .vmd)_v1.vmd"
  sed 's|<parser_version>[0-9]*</parser_version>|<parser_version>1</parser_version>|' "$1" >"$copy"
  grep -q '<parser_version>1</parser_version>' "$copy" || echo "compare: $1 names no parser version" >&2
  printf '%s\n' "$copy"
}

# tree DEFINITION: a copy of the definition whose configuration selects the default XML dialect,
# "STANDARD VER 2", which writes the whole message from the legacy road instead of the tables.
tree() {
  local copy
  copy="$work/$(basename "$1" .vmd)_tree.vmd"
  sed 's|<xml_translation_type>[^<]*</xml_translation_type>|<xml_translation_type>STANDARD VER 2</xml_translation_type>|' \
    "$1" >"$copy"
  printf '%s\n' "$copy"
}

# measure TITLE LOG DEFINITION: every row of one log, its table, and its rates for the targets.
measure() {
  local title=$1 log=$2 vmd=$3 bytes
  bytes=$(stat -c %s "$log")
  echo "compare: $title ($count messages, $bytes bytes)" >&2
  rows=()
  head -c 4096 "$log" | awk 'BEGIN { RS = ORS = "\r\n" } NR == 1' >"$work/one.hl7"
  /usr/bin/time -f "%e" -o "$work/time1" "$tool" "$vmd" "$work/one.hl7" "$work/one.out" >/dev/null
  baseline=$(cat "$work/time1")
  # Framing the log takes less time than loading the definition: count over 12 copies of it.
  # Reading one copy is below the resolution of the wall time: cat reads the 12 as well.
  for _ in 1 2 3 4 5 6 7 8 9 10 11 12; do cat "$log"; done >"$work/copies.hl7"
  expected=$((count * 12))
  run "cat (floor)" other "reads the file (12 copies)" wall sh -c "cat '$work/copies.hl7' >/dev/null"
  run "msgbridge counting" counting "frames messages (12 copies)" net "$tool" "$vmd" "$work/copies.hl7" "$work/count.out"
  expected=""
  rm -f "$work/copies.hl7"
  run "msgbridge tokeniser" other "parse, read MSH-9, PID-3, PID-5, write back" loop \
    "$benches/bench_peer_work" "$log"
  run "msgbridge library (C host)" library "identify, validate, tables, XML in memory" loop \
    "$benches/bench_c_host" "$vmd" "$log"
  run "msgbridge library, parser v1" legacy "the same on the legacy road" loop \
    "$benches/bench_c_host" "$(legacy "$vmd")" "$log"
  run "msgbridge library, STANDARD VER 2" other "identify, validate, the whole message as XML" loop \
    "$benches/bench_c_host" "$(tree "$vmd")" "$log"
  run "msgbridge --toxml" toxml "identify, validate, tables, 1 XML file each" tool \
    "$tool" --toxml "$vmd" "$log" "$work/xml/m.xml"
  rm -rf "$work/xml" "$work/floor"
  run "1 empty file per message (C)" other "the file system alone: floor under --toxml" loop \
    "$benches/bench_create_files" "$work/floor" "$count"
  rm -rf "$work/floor"
  if [ "$have_npm" = 1 ]; then
    run "node hl7parser" peer "parse, read MSH-9, PID-3, PID-5, write back" loop \
      node "$repo/bench/peer_node.js" hl7parser "$log" "$work/npm"
    run "node @medplum/core" peer "parse, read MSH-9, PID-3, PID-5, write back" loop \
      node "$repo/bench/peer_node.js" medplum "$log" "$work/npm"
  fi
  if [ "$have_python_hl7" = 1 ]; then
    run "python-hl7" peer "parse, read MSH-9, PID-3, PID-5, write back" loop \
      /usr/bin/python3 "$repo/bench/peer_python_hl7.py" "$log"
  fi
  table "$title" "$bytes"
}

# extra NAME COMMAND...: the output of one of the benchmark programs, or nothing if it failed.
extra() {
  local name=$1
  shift
  echo "compare: $name" >&2
  if ! "$@" >"$work/extra" 2>"$work/err"; then
    echo "compare: $name failed:" >&2
    tail -5 "$work/err" >&2
    : >"$work/extra"
  fi
}

cores=$(nproc)
cpu=$(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2- | sed 's/^ *//')
load=$(cut -d' ' -f1 /proc/loadavg)
printf 'Machine: %s cores, %s; load average %s at the start.\n\n' "$cores" "$cpu" "$load"

std="$repo/definitions/hl7v2.5.1.vmd"
example="$repo/examples/adt_oru.vmd"
measure "ADT^A01 log under definitions/hl7v2.5.1.vmd" "$work/adt.hl7" "$std"
read -r std_lib std_toxml std_peer std_peer_name <"$work/rates"
read -r std_legacy <"$work/rates.legacy"
measure "Mixed ADT/ORU log under examples/adt_oru.vmd" "$work/mixed.hl7" "$example"
read -r ex_lib ex_toxml ex_peer ex_peer_name <"$work/rates"
read -r ex_legacy <"$work/rates.legacy"

# The example definition's ADT alone, through the library: the target is per message.
extra "library, ADT log under examples/adt_oru.vmd" "$benches/bench_c_host" "$example" "$work/adt.hl7"
read -r adt_messages adt_seconds _ <"$work/extra" || true

printf '#### Threads: the whole road to table XML in memory, one loaded engine, a parse context per thread\n\n'
printf '| %-44s | %12s | %12s | %9s | %14s | %14s | %11s |\n' "Log" "1 thread m/s" "2 threads m/s" "scaling" "CPU µs/msg (1)" "CPU µs/msg (2)" "CPU scaling"
printf '|%s|%s|%s|%s|%s|%s|%s|\n' "----------------------------------------------" "-------------:" "--------------:" "----------:" "---------------:" "---------------:" "------------:"
threads_row() {
  extra "threads, $1" "$benches/bench_threads" "$2" "$3"
  awk -v logname="$1" '
    $1 == "threads" { rate[$2] = $8; cpu[$2] = $10 }
    $1 == "scaling" { scaling = $2; cpuscaling = $4 }
    $1 == "revision_changes" { revisions = $2 }
    END {
      if (scaling == "") { printf "| %-44s | %12s | %13s | %9s | %14s | %14s | %11s |\n", logname, "failed", "-", "-", "-", "-", "-"; exit }
      printf "| %-44s | %12.0f | %13.0f | %8.2f× | %14.2f | %14.2f | %10.2f× |\n", logname, rate[1], rate[2], scaling, cpu[1], cpu[2], cpuscaling
      if (revisions) printf "\nThe definitions changed %d times while parsing: each change rebuilds the identification index.\n", revisions
    }' "$work/extra"
}
threads_row "ADT^A01 log, hl7v2.5.1.vmd" "$std" "$work/adt.hl7"
std_scaling=$(awk '$1 == "scaling" { print $2 }' "$work/extra")
threads_row "Mixed log, adt_oru.vmd" "$example" "$work/mixed.hl7"
ex_scaling=$(awk '$1 == "scaling" { print $2 }' "$work/extra")
printf '\nScaling is 2-thread over 1-thread messages/s by the wall clock (needs two idle cores); CPU scaling is\n'
printf 'what two idle cores would give from CPU time per message, below 2× only when the threads slow each other.\n\n'

printf '#### Heap allocations per message, whole road to table XML, after 500 warming messages\n\n'
printf '| %-44s | %12s | %-50s |\n' "Log" "allocations" "by message type"
printf '|%s|%s|%s|\n' "----------------------------------------------" "-------------:" "----------------------------------------------------"
allocations_row() {
  extra "allocations, $1" "$benches/bench_allocations" "$2" "$3" 500 "${4:-2}"
  awk -v logname="$1" '
    $1 == "messages" { total = $8 }
    $1 == "type" { types = types (types ? ", " : "") $2 " " $6 }
    END { printf "| %-44s | %12s | %-50s |\n", logname, total == "" ? "failed" : total, types }' "$work/extra"
}
allocations_row "ADT^A01 log, hl7v2.5.1.vmd" "$std" "$work/adt.hl7"
std_allocations=$(awk '$1 == "messages" { print $8 }' "$work/extra")
allocations_row "Mixed log, adt_oru.vmd" "$example" "$work/mixed.hl7"
ex_allocations=$(awk '$1 == "messages" { print $8 }' "$work/extra")
allocations_row "ADT^A01 log, hl7v2.5.1.vmd, parser version 1" "$std" "$work/adt.hl7" 1
std_legacy_allocations=$(awk '$1 == "messages" { print $8 }' "$work/extra")
allocations_row "Mixed log, adt_oru.vmd, parser version 1" "$example" "$work/mixed.hl7" 1
ex_legacy_allocations=$(awk '$1 == "messages" { print $8 }' "$work/extra")
echo

# target TEXT MEASURED MET: one line of the targets block; MET is 1, 0 or empty (not measured).
target() {
  local verdict="not measured"
  [ -z "$3" ] || { [ "$3" = 1 ] && verdict="met" || verdict="not met"; }
  printf -- '- %s: %s (%s)\n' "$1" "$2" "$verdict"
}
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (a > 0 && b > 0) printf "%.2f", a / b }'; }
atleast() { awk -v a="$1" -v b="$2" 'BEGIN { if (a != "") print (a >= b ? 1 : 0) }'; }

printf '#### Targets\n\n'
lib_ratio=$(ratio "$std_lib" "$std_peer")
target "library >= 2× the fastest peer (${std_peer_name:-none}) on the 2.5.1 ADT log" \
  "${lib_ratio:-?}× (mixed log: $(ratio "$ex_lib" "$ex_peer")× ${ex_peer_name:-})" "$(atleast "$lib_ratio" 2)"
adt_us=$(awk -v n="${adt_messages:-0}" -v s="${adt_seconds:-0}" 'BEGIN { if (n > 0) printf "%.2f", s / n * 1e6 }')
target "example ADT <= 3 µs/message (library, ADT log under adt_oru.vmd)" "${adt_us:-?} µs" \
  "$(awk -v a="$adt_us" 'BEGIN { if (a != "") print (a <= 3 ? 1 : 0) }')"
toxml_ratio=$(ratio "$std_toxml" "$std_peer")
target "--toxml >= 1× the fastest peer on the 2.5.1 ADT log" \
  "${toxml_ratio:-?}× (mixed log: $(ratio "$ex_toxml" "$ex_peer")×)" "$(atleast "$toxml_ratio" 1)"
legacy_factor() { awk -v a="$1" -v b="$2" 'BEGIN { if (a > 0 && b > 0) printf "%.2f", b / a }'; }
std_legacy_factor=$(legacy_factor "$std_legacy" "$std_lib")
ex_legacy_factor=$(legacy_factor "$ex_legacy" "$ex_lib")
target "legacy road (parser version 1) <= 1.5× the time of version 2 (library host)" \
  "${std_legacy_factor:-?}× on the 2.5.1 ADT log, ${ex_legacy_factor:-?}× on the mixed log" \
  "$(awk -v a="$std_legacy_factor" -v b="$ex_legacy_factor" 'BEGIN { if (a != "" && b != "") print (a <= 1.5 && b <= 1.5 ? 1 : 0) }')"
target "2 threads >= 1.8× one thread (wall clock)" \
  "${std_scaling:-?}× on the 2.5.1 ADT log, ${ex_scaling:-?}× on the mixed log" \
  "$(awk -v a="$std_scaling" -v b="$ex_scaling" 'BEGIN { if (a != "" && b != "") print (a >= 1.8 && b >= 1.8 ? 1 : 0) }')"
target "heap allocations per message 0" \
  "${std_allocations:-?} on the 2.5.1 ADT log, ${ex_allocations:-?} on the mixed log" \
  "$(awk -v a="$std_allocations" -v b="$ex_allocations" 'BEGIN { if (a != "" && b != "") print (a == 0 && b == 0 ? 1 : 0) }')"
target "heap allocations per message 0 on the legacy road (parser version 1)" \
  "${std_legacy_allocations:-?} on the 2.5.1 ADT log, ${ex_legacy_allocations:-?} on the mixed log" \
  "$(awk -v a="$std_legacy_allocations" -v b="$ex_legacy_allocations" 'BEGIN { if (a != "" && b != "") print (a == 0 && b == 0 ? 1 : 0) }')"
