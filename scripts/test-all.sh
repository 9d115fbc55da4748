#!/usr/bin/env bash
# Installs what the tests need (as root on Debian 12) and runs every test leg:
#   native   x86-64 with AddressSanitizer and UndefinedBehaviorSanitizer, and
#            line coverage of src/ (at least 90%, uncovered lines listed)
#   tsan     x86-64 with ThreadSanitizer
#   arm      32-bit ARM, cross-compiled, run under qemu-arm
#   windows  64-bit Windows DLLs, cross-compiled with mingw-w64, run under wine
#   install  the install tree and the Debian package, with the examples built
#            against each (find_package and pkg-config) and run
#   fuzz     the libFuzzer targets (clang), about a minute each over their
#            corpus, and the recorded files of the recording corpus through
#            ffprobe (FUZZ_SECONDS=n sets the minutes' length)
# Usage: scripts/test-all.sh [leg ...]   (default: all legs)
set -euo pipefail
cd "$(dirname "$0")/.."

PACKAGES="cmake make g++ pkg-config libasound2-dev libgtest-dev libbenchmark-dev ffmpeg libavcodec-dev libopencore-amrnb-dev
          libpng-dev libstb-dev
          g++-arm-linux-gnueabihf qemu-user mingw-w64 wine wine64 pulseaudio pulseaudio-utils libasound2-plugins
          dpkg-dev gcovr clang libclang-rt-dev"

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
  # Warnings are errors here, as in every developer build.
  cmake -S . -B "$dir" -DMP4LIB_WARNINGS_AS_ERRORS=ON "$@" >"$dir.configure.log" 2>&1 || { cat "$dir.configure.log"; return 1; }
  cmake --build "$dir" -j"$JOBS"
  echo "=== $name: test ==="
  (cd "$dir" && ctest --output-on-failure -j"$JOBS")
  SUMMARY+=("$name: passed in $((SECONDS - start)) s")
}

leg_native() {
  find build-native -name '*.gcda' -delete 2>/dev/null || true
  run_leg native build-native -DCMAKE_BUILD_TYPE=Debug -DMP4LIB_SANITIZE=address,undefined -DMP4LIB_COVERAGE=ON
  report_coverage build-native
}

# Lines of the library (src/, the Windows half of the platform aside) that
# the native leg ran; fails below 90%. Files not wholly covered are listed
# with their uncovered lines, and the whole table kept in coverage.txt.
report_coverage() {
  local dir=$1
  if ! command -v gcovr >/dev/null; then
    echo "no gcovr: coverage not measured"
    return
  fi
  echo "=== native: coverage of src/ ==="
  gcovr -r . --object-directory "$dir" --filter 'src/' --exclude 'src/platform/win32/' -j"$JOBS" \
    -o "$dir/coverage.txt" --print-summary --fail-under-line 90
  awk '$1 ~ /^src\// && $4 != "100%"' "$dir/coverage.txt"
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
  echo "=== windows: install tree ==="
  rm -rf build-windows/prefix
  cmake --install build-windows --prefix build-windows/prefix >/dev/null
  for file in bin/mp4lib.dll bin/mp4lib.exe lib/libmp4lib.dll.a include/mp4lib.h include/mp4lib_plugin.h \
              lib/cmake/mp4lib/mp4libConfig.cmake lib/pkgconfig/mp4lib.pc; do
    [ -f "build-windows/prefix/$file" ] || { echo "the Windows install tree has no $file"; return 1; }
  done
}

# Builds the two examples against an installed mp4lib in `prefix`, through
# its CMake package and through pkg-config, and runs each pair: record a
# movie, then play it to a picture and a sound file.
check_examples() {
  local prefix=$1 work=$2
  rm -rf "$work" && mkdir -p "$work"
  cmake -S examples -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" >"$work/configure.log" 2>&1 ||
    { cat "$work/configure.log"; return 1; }
  cmake --build "$work/cmake" -j"$JOBS" >/dev/null
  local flags
  flags=$(PKG_CONFIG_PATH="$prefix/lib/pkgconfig:$prefix/lib/$(gcc -print-multiarch)/pkgconfig" \
          pkg-config --cflags --libs mp4lib)
  mkdir -p "$work/pkg-config"
  # shellcheck disable=SC2086
  cc -std=c99 -o "$work/pkg-config/record" examples/record.c $flags -lm
  # shellcheck disable=SC2086
  cc -std=c99 -o "$work/pkg-config/play" examples/play.c $flags
  local way
  for way in cmake pkg-config; do
    LD_LIBRARY_PATH="$prefix/lib:$prefix/lib/$(gcc -print-multiarch)" "$work/$way/record" "$work/$way.3gp"
    LD_LIBRARY_PATH="$prefix/lib:$prefix/lib/$(gcc -print-multiarch)" "$work/$way/play" "$work/$way.3gp" "$work/$way-out"
    [ -s "$work/$way-out.ppm" ] && [ -s "$work/$way-out.wav" ] || { echo "examples ($way): nothing played"; return 1; }
  done
}

leg_install() {
  local start=$SECONDS
  echo "=== install: build ==="
  cmake -S . -B build-install -DCMAKE_BUILD_TYPE=Release -DMP4LIB_TESTS=OFF -DMP4LIB_WARNINGS_AS_ERRORS=ON \
    -DCMAKE_INSTALL_PREFIX=/usr >build-install.configure.log 2>&1 || { cat build-install.configure.log; return 1; }
  cmake --build build-install -j"$JOBS" >/dev/null
  echo "=== install: cmake --install into a folder ==="
  rm -rf build-install/prefix
  cmake --install build-install --prefix "$PWD/build-install/prefix" >/dev/null
  check_examples "$PWD/build-install/prefix" build-install/examples-prefix
  "$PWD/build-install/prefix/bin/mp4lib" plugins
  if [ "$(id -u)" != 0 ]; then
    echo "not root: the Debian package is built but not installed"
    (cd build-install && cpack -G DEB >/dev/null)
    SUMMARY+=("install: passed in $((SECONDS - start)) s (package not installed)")
    return
  fi
  echo "=== install: the Debian package ==="
  (cd build-install && cpack -G DEB >/dev/null)
  local package
  package=$(ls build-install/mp4lib_*.deb)
  dpkg-deb --info "$package" | grep -E "Package|Version|Depends"
  DEBIAN_FRONTEND=noninteractive apt-get install -y -q "./$package" >/dev/null
  (cd build-install && mp4lib record --seconds 2 package.3gp && mp4lib play --out package-frames package.3gp)
  check_examples /usr build-install/examples-package
  DEBIAN_FRONTEND=noninteractive apt-get remove -y -q mp4lib >/dev/null
  SUMMARY+=("install: passed in $((SECONDS - start)) s")
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
[ ${#LEGS[@]} -gt 0 ] || LEGS=(native tsan arm windows install fuzz)
for leg in "${LEGS[@]}"; do
  "leg_$leg"
done

echo "=== summary ==="
printf '%s\n' "${SUMMARY[@]}"
echo "${#SUMMARY[@]} passed, 0 failed"
