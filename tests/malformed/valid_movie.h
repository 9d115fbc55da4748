// The small valid movie the damaged ones are made from, and its parts.
//
// File order: "ftyp"; "mdat" with the three video samples, then the four
// audio samples; "moov" with "mvhd" (time scale 1000, duration 300), the
// video "trak" and the audio "trak".
// Video: 16 x 12 H.263 ("s263" with "d263"), media time scale 1000, one
//   "stts" run of 3 x 100, each sample a chunk of its own, "stss" last.
//   Each sample is 13 bytes: 'K' (sample 0) or 'P', width and height as
//   16-bit big-endian numbers (the sized-picture test plug-in reads them),
//   then eight numbered payload bytes.
// Audio: AMR ("samr" with "damr"), media time scale 8000, one "stts" run of
//   4 x 160 (20 ms each), each 32-byte sample a chunk of its own, "stco"
//   last in its "stbl", the "trak" last in "moov".
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "malformed/movie_boxes.h"

namespace mp4lib::malformed {

constexpr int kVideoSamples = 3;
constexpr int kAudioSamples = 4;
constexpr std::uint32_t kWidth = 16;
constexpr std::uint32_t kHeight = 12;

Bytes videoSample(int index);
// The same sample announcing a picture of another size.
Bytes sizedVideoSample(int index, std::uint32_t width, std::uint32_t height);
Bytes audioSample(int index);
Bytes audioSample(int index, std::size_t size);

Box ftypBox();
Box mvhdBox(std::uint32_t timeScale, std::uint32_t duration);
Box tkhdBox(std::uint32_t trackId, std::uint32_t duration, std::uint32_t width, std::uint32_t height);
Box mdhdBox(std::uint32_t timeScale, std::uint32_t duration);
Box hdlrBox(const std::string& handler);
Box videoEntry(const std::string& tag, std::uint32_t width, std::uint32_t height);
Box samrEntry();
Box stsdBox(Box entry);
Box sttsBox(const std::vector<std::pair<std::uint32_t, std::uint32_t>>& runs);
Box stscBox(const std::vector<std::array<std::uint32_t, 3>>& runs);
Box stszBox(std::uint32_t constantSize, std::uint32_t count, const std::vector<std::uint32_t>& sizes);
Box stszOf(const std::vector<Bytes>& samples);
Box stcoBox(const std::vector<std::uint32_t>& offsets);
// Chunk offsets filled in with the file offsets of track `track`'s samples.
Box stcoOfTrack(int track);
// A whole track whose samples are track `track` of the movie.
Box videoTrak(int track, const std::vector<Bytes>& samples);
Box audioTrak(int track, const std::vector<Bytes>& samples);

Movie validMovie();

}  // namespace mp4lib::malformed
