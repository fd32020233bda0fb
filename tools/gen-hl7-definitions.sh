#!/usr/bin/env bash
# Regenerates the standard HL7 v2 definitions in definitions/ from the hl7-dictionary data
# set, installed for the run into a throwaway directory.
#   tools/gen-hl7-definitions.sh           rewrite definitions/*.vmd and definitions/manifest.tsv
#   tools/gen-hl7-definitions.sh --check   regenerate into a temporary directory and compare byte for byte
set -euo pipefail

DICTIONARY_VERSION=1.0.1
VERSIONS=(2.3.1 2.4 2.5.1 2.7.1)

root="$(cd "$(dirname "$0")/.." && pwd)"
mode="${1:-write}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

npm install --silent --no-audit --no-fund --prefix "$work/npm" "hl7-dictionary@$DICTIONARY_VERSION" >/dev/null
dictionary="$work/npm/node_modules/hl7-dictionary"

out="$work/out"
mkdir -p "$out"
printf 'version\tdataset_messages\tstructures\tdataset_segments\tstub_segments\tdata_types\ttables\tlater_events\tcomposites\n' >"$out/manifest.tsv"
for v in "${VERSIONS[@]}"; do
  node "$root/tools/gen-hl7-definitions.js" "$dictionary" "$v" "$out/hl7v$v.vmd" "${VERSIONS[@]}" >>"$out/manifest.tsv"
done

case "$mode" in
  --check)
    status=0
    for f in "$out"/*; do
      name="$(basename "$f")"
      if ! cmp -s "$f" "$root/definitions/$name"; then
        echo "definitions/$name differs from what the generator writes" >&2
        status=1
      fi
    done
    [ "$status" -eq 0 ] && echo "definitions/ is what the generator writes"
    exit "$status"
    ;;
  write)
    mkdir -p "$root/definitions"
    cp "$out"/* "$root/definitions/"
    echo "wrote $(ls "$out" | wc -l) files to definitions/"
    ;;
  *)
    echo "usage: $0 [--check]" >&2
    exit 2
    ;;
esac
