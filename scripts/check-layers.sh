#!/usr/bin/env bash
# Checks that every #include in src/ points at the file's own folder or a
# folder of a lower layer:
#   0 platform   1 pixels   2 container   3 codecs
#   4 recording, playback, devices (the engines, which never include each other)
#   5 api
# The public headers (mp4lib.h, mp4lib_plugin.h) may be included anywhere.
# Prints each offending line and exits 1 if there is any.
set -euo pipefail
cd "$(dirname "$0")/../src"

layer_of() {
  case "$1" in
    platform) echo 0 ;;
    pixels) echo 1 ;;
    container) echo 2 ;;
    codecs) echo 3 ;;
    recording | playback | devices) echo 4 ;;
    api) echo 5 ;;
    *) echo -1 ;;
  esac
}

failures=0
checked=0
while IFS= read -r file; do
  own=${file%%/*}
  own_layer=$(layer_of "$own")
  if [ "$own_layer" -lt 0 ]; then
    echo "$file: folder '$own' is not a layer"
    failures=$((failures + 1))
    continue
  fi
  while IFS= read -r line; do
    included=$(sed -E 's/^#include "([^"]+)".*/\1/' <<<"$line")
    case "$included" in
      mp4lib.h | mp4lib_plugin.h) continue ;;
      */*) ;;
      *)
        echo "$file: includes \"$included\" without its folder"
        failures=$((failures + 1))
        continue
        ;;
    esac
    folder=${included%%/*}
    checked=$((checked + 1))
    [ "$folder" = "$own" ] && continue
    folder_layer=$(layer_of "$folder")
    if [ "$folder_layer" -lt 0 ] || [ "$folder_layer" -ge "$own_layer" ]; then
      echo "$file: includes \"$included\" ($folder is not below $own)"
      failures=$((failures + 1))
    fi
  done < <(grep -E '^#include "' "$file" || true)
done < <(find . -name '*.cpp' -o -name '*.h' | sed 's|^\./||' | sort)

if [ "$failures" -gt 0 ]; then
  echo "layers: $failures include(s) point up or sideways"
  exit 1
fi
echo "layers: $checked includes checked, every one points down"
