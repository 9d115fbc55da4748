// The library's one open movie for playback: the input file, what parsing
// found, the movie parameter block handed to the application and the video
// plug-in, and the playback state of track decoding.
#pragma once

#include <cstdint>

#include "frame/movie_context.h"
#include "mp4lib_plugin.h"
#include "reader/byte_reader.h"
#include "reader/parse_context.h"

namespace mp4lib::reader {

// Track decoding reads audio in slices of at most this many bytes.
constexpr std::uint32_t kAudioSliceBytes = 2048;

// Pictures larger than this on either side are refused at set-up (pixels):
// the file's sizes decide buffer sizes.
constexpr std::uint32_t kMaxPictureSide = 8192;

struct PlaybackState {
  bool videoEnabled = false;
  bool audioEnabled = false;

  // Video: entries decoded by track decoding.
  std::int32_t lastVideoEntry = -1;
  std::int32_t lastKeyEntry = 0;

  // Audio: the entry read in slices, if any (-1 none), its size, the bytes
  // of it already read and the bytes still to read.
  std::int32_t audioEntry = -1;
  std::uint32_t audioEntrySize = 0;
  std::uint32_t audioConsumed = 0;
  std::uint32_t audioLeft = 0;
  // Undecoded bytes kept in front of the next slice (MPEG-4 audio).
  std::uint32_t audioCarry = 0;
};

struct DecoderContext {
  InputFile input;
  std::int64_t fileLength = 0;  // bytes
  ParseFindings findings;
  PlaybackState playback;
  // The vendor record handed to the video plug-in's initDecode: as read
  // from the file, or rebuilt from the tracks (twelve big-endian words and
  // four host-order words).
  std::uint8_t vendorRecord[kVendorPayloadBytes] = {};

  // Buffers of track decoding, grown on demand, freed at finalisation.
  std::uint8_t* sampleBuffer = nullptr;
  std::uint32_t sampleCapacity = 0;
  std::uint8_t* scratchBuffer = nullptr;
  std::uint32_t scratchCapacity = 0;
  std::uint8_t audioInput[2 * kAudioSliceBytes] = {};
};

DecoderContext& decoderContext();
MovieParams& movieParams();

// True between a successful initDecoder and finalizeDecoder.
bool decoderOpen();

// The chosen tracks, or null when that kind is not enabled.
frame::TrackRecord* videoTrack();
frame::TrackRecord* audioTrack();

// Old files (format version 1, revision below 5) time audio in movie units.
std::uint32_t audioTimeScale();

// Back to the start of the movie: what initDecoder does last and resetDecoder
// (wave-out playback) ends with. Drops queued samples too.
void resetPlaybackState();

// Reads an entry's bytes into a buffer grown to fit. False when the entry
// does not lie inside the file or the read fails. The caller holds readLock.
bool readEntry(const SampleEntry& entry, std::uint8_t** buffer, std::uint32_t* capacity);
// Whether an entry's bytes lie inside the file.
bool entryInsideFile(const SampleEntry& entry);

// Releases everything a (possibly half-done) set-up holds and closes the file.
void releaseDecoder();

}  // namespace mp4lib::reader
