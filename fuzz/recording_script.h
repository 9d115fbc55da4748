// A recording driven by a script of bytes: the encoder's sizes and flags, then
// a sequence of calls (files created and closed at any point, headers,
// encodes of every input format, samples stored with any timestamp, captured
// audio). What each call stored is noted, so that every file closed on the
// way can be read back and compared sample by sample.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "instant_wave_devices.h"

namespace mp4lib::fuzz {

using Sample = std::vector<std::uint8_t>;

struct ClosedFile {
  std::string path;
  std::uint32_t videoCodecType = 0;
  bool constantRate = false;  // timing mode 0: one timing entry for all frames
  std::vector<Sample> video;  // samples stored, in order
  std::vector<Sample> audio;
  // The header was written once, before any sample: the file must read back.
  bool wellFormed = false;
};

// Runs the recording the script describes with the test plug-ins beside the
// program and returns the files it closed (still on disk). Files are named
// after `stem`.
std::vector<ClosedFile> recordFromScript(const std::uint8_t* script, std::size_t size, const std::string& stem,
                                         InstantWaveDevices& devices);

// Opens a closed file with the library and requires exactly the samples
// stored: frame counts, and each entry's bytes as the plug-ins receive them.
void requireReadsBack(const ClosedFile& file);

}  // namespace mp4lib::fuzz
