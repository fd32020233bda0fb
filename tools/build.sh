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
# ccache, where installed, lets a fresh clone and a second tree reuse what another already
# compiled; paths are taken relative to the checkout so that any clone can hit the cache.
if command -v ccache >/dev/null; then
  export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
  extra+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$dir" -G Ninja "${extra[@]}" >/dev/null
cmake --build "$dir"
