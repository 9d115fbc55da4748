#!/usr/bin/env bash
# Installs what the library needs (as root on Debian 12), builds it and runs
# the command-line tool.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "$(id -u)" = 0 ]; then
  apt-get update -q
  DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends cmake make g++
fi
cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release -DMP4LIB_TESTS=OFF >build-release.configure.log
cmake --build build-release -j2
build-release/bin/mp4lib "$@"
