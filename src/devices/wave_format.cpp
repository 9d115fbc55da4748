#include "devices/wave_format.h"

namespace mp4lib::devices {

Mp4WaveFormat pcmWaveFormat(std::uint32_t bits, std::uint32_t rate, std::uint16_t channels) {
  Mp4WaveFormat format{};
  format.formatTag = 1;
  format.channels = channels;
  format.samplesPerSec = rate;
  format.bitsPerSample = static_cast<std::uint16_t>(bits & 0xFFFFu);
  // 12-bit samples count as one byte each: the shift drops the odd bits.
  format.blockAlign = static_cast<std::uint16_t>((format.bitsPerSample >> 3) * channels);
  format.avgBytesPerSec = std::uint32_t{format.blockAlign} * rate;
  format.extraSize = 0;
  return format;
}

}  // namespace mp4lib::devices
