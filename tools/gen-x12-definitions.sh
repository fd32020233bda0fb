#!/usr/bin/env bash
# Regenerates the X12 definition definitions/x12/x12.vmd from tools/x12/segments.txt and
# tools/x12/transactions.txt.
#   tools/gen-x12-definitions.sh           rewrite definitions/x12/x12.vmd
#   tools/gen-x12-definitions.sh --check   regenerate into a temporary file and compare byte for byte
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
mode="${1:-write}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

node "$root/tools/gen-x12-definitions.js" "$root/tools/x12/segments.txt" "$root/tools/x12/transactions.txt" \
  "$work/x12.vmd"

case "$mode" in
  --check)
    if cmp -s "$work/x12.vmd" "$root/definitions/x12/x12.vmd"; then
      echo "definitions/x12/x12.vmd is what the generator writes"
    else
      echo "definitions/x12/x12.vmd differs from what the generator writes" >&2
      exit 1
    fi
    ;;
  write)
    mkdir -p "$root/definitions/x12"
    cp "$work/x12.vmd" "$root/definitions/x12/x12.vmd"
    echo "wrote definitions/x12/x12.vmd"
    ;;
  *)
    echo "usage: $0 [--check]" >&2
    exit 2
    ;;
esac
