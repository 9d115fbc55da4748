// A planar YUV 4:2:0 picture in one block: Y with pitch = width, U and V
// with pitch = width / 2. This is what plug-ins hand to the library.
#pragma once

#include <cstdint>
#include <vector>

#include "mp4lib_plugin.h"

namespace mp4lib::plugin {

struct Picture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint8_t> bytes;

  void resize(std::uint32_t w, std::uint32_t h) {
    width = w;
    height = h;
    bytes.assign(static_cast<std::size_t>(w) * h * 3 / 2, 0);
  }
  bool empty() const { return bytes.empty(); }
  std::uint8_t* y() { return bytes.data(); }
  std::uint8_t* u() { return bytes.data() + static_cast<std::size_t>(width) * height; }
  std::uint8_t* v() { return u() + static_cast<std::size_t>(width / 2) * (height / 2); }

  // Fills the getDecodeYUV / getReconYUV slots; 0 when there is no picture.
  Mp4Word handOut(Mp4Word ySlot, Mp4Word uSlot, Mp4Word vSlot, Mp4Word pitchSlot, Mp4Word chromaPitchSlot) {
    if (empty()) return 0;
    if (ySlot) *reinterpret_cast<std::uint8_t**>(ySlot) = y();
    if (uSlot) *reinterpret_cast<std::uint8_t**>(uSlot) = u();
    if (vSlot) *reinterpret_cast<std::uint8_t**>(vSlot) = v();
    if (pitchSlot) *reinterpret_cast<std::uint32_t*>(pitchSlot) = width;
    if (chromaPitchSlot) *reinterpret_cast<std::uint32_t*>(chromaPitchSlot) = width / 2;
    return 1;
  }
};

}  // namespace mp4lib::plugin
