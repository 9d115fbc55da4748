// Per-frame timing of the video track while recording.
#pragma once

#include <cstdint>

namespace mp4lib::frame {

// Called by initEncoder: the next successful frame is the first one.
void startEncodeTiming();

// First and last frame time, ms, as the encode path recorded them.
struct EncodeTiming {
  bool firstFrame;
  std::uint32_t firstTimestamp;
  std::uint32_t lastTimestamp;
  std::uint32_t startClock;  // clock at the first frame; kept, never read
};
const EncodeTiming& encodeTiming();

}  // namespace mp4lib::frame
