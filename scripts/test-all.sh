#!/usr/bin/env bash
# Installs what the tests need (as root on Debian 12) and runs every test leg:
#   native   x86-64 with AddressSanitizer and UndefinedBehaviorSanitizer
#   tsan     x86-64 with ThreadSanitizer
#   arm      32-bit ARM, cross-compiled, run under qemu-arm
#   windows  64-bit Windows DLLs, cross-compiled with mingw-w64, run under wine
#   fuzz     the libFuzzer targets (clang), about a minute each over their
#            corpus, and the recorded files of the recording corpus through
#            ffprobe (FUZZ_SECONDS=n sets the minutes' length)
# Usage: scripts/test-all.sh [leg ...]   (default: all legs)
set -euo pipefail
cd "$(dirname "$0")/.."

PACKAGES="cmake make g++ pkg-config libasound2-dev libgtest-dev libbenchmark-dev ffmpeg libavcodec-dev libopencore-amrnb-dev
          g++-arm-linux-gnueabihf qemu-user mingw-w64 wine wine64 pulseaudio pulseaudio-utils libasound2-plugins
          clang libclang-rt-dev"

install_packages() {
  if [ "$(id -u)" != 0 ]; then
    echo "not root: assuming these packages are installed: $PACKAGES"
    return
  fi
  apt-get update -q
  # shellcheck disable=SC2086
  DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $PACKAGES
}

JOBS=2

# The sound-device tests play and record in real time through a PulseAudio
# server: with no sound card it plays into its null sink at the sound's own
# pace and records from that sink's monitor. ALSA's default PCM and wine's
# winmm both reach it. Once it runs, those tests must not skip.
start_sound_server() {
  if ! command -v pulseaudio >/dev/null; then
    echo "no pulseaudio: the sound-device tests skip"
    return
  fi
  pulseaudio --start --exit-idle-time=-1 2>/dev/null || true
  if pactl info >/dev/null 2>&1; then
    export MP4LIB_REQUIRE_AUDIO_DEVICE=1
  else
    echo "pulseaudio did not start: the sound-device tests skip"
  fi
}
declare -a SUMMARY=()

run_leg() {
  local name=$1 dir=$2
  shift 2
  local start=$SECONDS
  echo "=== $name: configure and build ==="
  cmake -S . -B "$dir" "$@" >"$dir.configure.log" 2>&1 || { cat "$dir.configure.log"; return 1; }
  cmake --build "$dir" -j"$JOBS"
  echo "=== $name: test ==="
  (cd "$dir" && ctest --output-on-failure -j"$JOBS")
  SUMMARY+=("$name: passed in $((SECONDS - start)) s")
}

leg_native() {
  run_leg native build-native -DCMAKE_BUILD_TYPE=Debug -DMP4LIB_SANITIZE=address,undefined
}

leg_tsan() {
  run_leg tsan build-tsan -DCMAKE_BUILD_TYPE=Debug -DMP4LIB_SANITIZE=thread
}

leg_arm() {
  run_leg arm build-arm -DCMAKE_BUILD_TYPE=Release -DCMAKE_TOOLCHAIN_FILE=cmake/arm-linux-gnueabihf.cmake
}

leg_windows() {
  export WINEDEBUG=-all
  export WINEPREFIX=${WINEPREFIX:-$PWD/build-windows.wineprefix}
  mkdir -p build-windows
  run_leg windows build-windows -DCMAKE_BUILD_TYPE=Release -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake
}

# Each target runs over a scratch copy of its corpus (new inputs land there,
# not in fuzz/corpus); any crash, leak, timeout or broken promise fails the
# leg and leaves the input in build-fuzz/work/<target>/findings/.
FUZZ_SECONDS=${FUZZ_SECONDS:-60}
run_fuzzer() {
  local binary=$1 target=$2
  shift 2
  local work=build-fuzz/work/$target
  rm -rf "$work"
  mkdir -p "$work/corpus" "$work/findings"
  echo "--- $target: $FUZZ_SECONDS s ---"
  "$binary" -max_total_time="$FUZZ_SECONDS" -max_len=65536 -timeout=30 -print_final_stats=1 \
    -artifact_prefix="$work/findings/" "$@" "$work/corpus" "fuzz/corpus/$target" 2>"$work/log" ||
    { tail -n 60 "$work/log"; echo "fuzz: $target found something, see $work/findings/"; return 1; }
  grep -E "^stat::number_of_executed_units" "$work/log"
}

leg_fuzz() {
  local start=$SECONDS
  echo "=== fuzz: configure and build ==="
  cmake -S fuzz -B build-fuzz -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ >build-fuzz.configure.log 2>&1 ||
    { cat build-fuzz.configure.log; return 1; }
  cmake --build build-fuzz -j"$JOBS"
  echo "=== fuzz: run ==="
  run_fuzzer build-fuzz/box_parser_fuzz box_parser -dict=fuzz/boxes.dict
  run_fuzzer build-fuzz/playback/playback_fuzz playback -dict=fuzz/boxes.dict
  run_fuzzer build-fuzz/recording/recording_fuzz recording
  echo "=== fuzz: recorded files through ffprobe ==="
  build-fuzz/recording/recording_ffprobe_check fuzz/corpus/recording/*
  SUMMARY+=("fuzz: passed in $((SECONDS - start)) s")
}

install_packages
start_sound_server
LEGS=("$@")
[ ${#LEGS[@]} -gt 0 ] || LEGS=(native tsan arm windows fuzz)
for leg in "${LEGS[@]}"; do
  "leg_$leg"
done

echo "=== summary ==="
printf '%s\n' "${SUMMARY[@]}"
echo "${#SUMMARY[@]} passed, 0 failed"
