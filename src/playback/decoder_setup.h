// initDecoder: opens a movie, parses it, chooses one video and one audio
// track, binds and starts the decoder plug-ins.
#pragma once

#include <cstdint>

#include "playback/player.h"

namespace mp4lib::playback {

// Why a movie did not open, and the codec type concerned when a plug-in was
// missing or refused.
enum class OpenFailure {
  kNone,
  kCannotOpenFile,
  kNotAMovie,         // neither "moov" nor "mdat"
  kDamagedTables,     // a box the reader needs could not be read
  kEmptyFirstTrack,
  kZeroTimeScale,
  kPictureTooLarge,
  kSizeTooLarge,      // a sample or the audio format beyond the limits in player.h
  kNoVideoPlugin,
  kVideoPluginRefused,
  kNoAudioPlugin,
  kAudioPluginRefused,
  kNoMemory,
};
struct OpenReport {
  OpenFailure failure = OpenFailure::kNone;
  std::uint32_t codecType = 0;
};

// Opens and parses the file at `path` and starts its plug-ins. 1, with the
// player open; or 0, with nothing held and the reason in *report. The
// caller has closed any earlier movie and made sure no recording is open.
std::int32_t openPlayer(Playback& playback, const wchar_t* path, OpenReport* report);

// Picture size code of a width and height in pixels: 176x144 1, 352x288 2,
// 352x240 3, 720x480 5, 320x240 7, 160x120 8, 128x96 9, 704x576 10,
// 1408x1152 11, anything else 0.
std::uint32_t pictureSizeCode(std::uint32_t width, std::uint32_t height);

// The video plug-in for a movie. The vendor block stores the video codec
// type in host (little-endian) order while its other words are big-endian,
// so the code read back from one of the library's own H.263 recordings
// (type 1) is 0x01000000, which no plug-in has. The code as read is tried
// first; when no plug-in has it, its byte-swapped value; when none has that
// either, the code the sample description gave. The parameter block keeps
// the code as read.
CodecPlugin* chooseVideoPlugin(codecs::PluginRegistry& plugins, std::uint32_t videoCodecCode,
                               std::uint32_t descriptionCode);

}  // namespace mp4lib::playback
