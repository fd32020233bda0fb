#!/usr/bin/env bash
# Configures and builds one build tree.  Usage: tools/build.sh [release|sanitize]
set -euo pipefail
cd "$(dirname "$0")/.."
kind=${1:-release}
case "$kind" in
  release)  dir=build;          extra=() ;;
  sanitize) dir=build-sanitize; extra=(-DMSGBRIDGE_SANITIZE=ON -DMSGBRIDGE_BENCH=OFF -DCMAKE_BUILD_TYPE=Debug) ;;
  *) echo "usage: tools/build.sh [release|sanitize]" >&2; exit 2 ;;
esac
cmake -S . -B "$dir" -G Ninja "${extra[@]}" >/dev/null
cmake --build "$dir"
