#!/usr/bin/env bash
# Installs what the library and its codec plug-ins need (as root on Debian 12),
# builds them, then records a 10 s movie (test picture and tone, H.263 + AMR)
# and plays it back: movie.3gp, movie-frames/frame-*.png and
# movie-frames/audio.wav appear in the folder `out/`.
# Arguments are passed to the tool (try: scripts/main-job.sh --help).
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "$(id -u)" = 0 ]; then
  apt-get update -q
  DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends \
    cmake make g++ pkg-config libavcodec-dev libopencore-amrnb-dev
fi
cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release -DMP4LIB_TESTS=OFF >build-release.configure.log
cmake --build build-release -j2
mkdir -p out
cd out
../build-release/bin/mp4lib "$@"
