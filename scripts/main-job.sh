#!/usr/bin/env bash
# Installs what the library and its codec plug-ins need (as root on Debian 12),
# builds them, then records a 10 s movie (test picture and tone, H.263 + AMR)
# and plays it back: movie.3gp, movie-frames/frame-*.png and
# movie-frames/audio.wav appear in the folder `out/`, and the job checks them.
# Arguments are passed to the tool instead (try: scripts/main-job.sh --help).
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "$(id -u)" = 0 ]; then
  apt-get update -q
  # The codec plug-ins need libavcodec and libopencore-amrnb, the tool's PNG
  # frames libpng; ffmpeg's ffprobe only reports on the result.
  DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends cmake make g++ pkg-config \
    libavcodec-dev libopencore-amrnb-dev libpng-dev ffmpeg
fi
cmake -S . -B build-release -DCMAKE_BUILD_TYPE=Release -DMP4LIB_TESTS=OFF >build-release.configure.log
cmake --build build-release -j2
mkdir -p out
cd out
../build-release/bin/mp4lib "$@"
[ $# -eq 0 ] || exit 0

# The default job: movie.3gp, 10 s of 176x144 H.263 at 15 fps and AMR.
fail() { echo "main job: $*" >&2; exit 1; }
[ -s movie.3gp ] || fail "out/movie.3gp was not made"
frames=$(find movie-frames -name 'frame-*.png' | wc -l)
[ "$frames" -eq 150 ] || fail "expected 150 PNG frames in out/movie-frames/, found $frames"
[ -s movie-frames/audio.wav ] || fail "out/movie-frames/audio.wav was not made"
echo "main job made: out/movie.3gp ($(stat -c %s movie.3gp) bytes), $frames PNG frames and" \
  "out/movie-frames/audio.wav ($(stat -c %s movie-frames/audio.wav) bytes)"
if command -v ffprobe >/dev/null; then
  echo "ffprobe reads movie.3gp as:"
  ffprobe -v error -count_frames -show_entries stream=codec_type,codec_name,codec_tag_string,nb_read_frames,duration \
    -of compact=p=0 movie.3gp
  ffprobe -v error -show_entries stream=codec_name,sample_rate,channels,duration -of compact=p=0 movie-frames/audio.wav
fi
