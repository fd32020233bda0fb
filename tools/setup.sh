#!/usr/bin/env bash
# Installs every Debian package the build, the tests and the benchmarks need.
# Safe to run again: when everything is present it changes nothing.
set -euo pipefail

PACKAGES=(
  build-essential cmake ninja-build g++ clang libclang-rt-14-dev ccache
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  libexpat1-dev pkgconf libpcre2-dev libbz2-dev libpython3-dev python3
  libxml2-utils
  # the database layer's tests: the ODBC driver manager, its SQLite and PostgreSQL drivers, and a
  # PostgreSQL server that the tests start on their own
  unixodbc-dev libsqliteodbc odbc-postgresql postgresql
  # the MariaDB client library (loaded at run time), a server the tests start, and SQLite's C
  # library under the tests' stand-in for the Oracle client
  mariadb-server libmariadb-dev libmariadb-dev-compat libsqlite3-dev
  # bench/compare.sh and bench/memory.sh: peak RSS by GNU time, and a Python HL7 peer
  time python3-hl7
)

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: all packages present"
  exit 0
fi

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update
$SUDO apt-get install -y --no-install-recommends "${missing[@]}"
