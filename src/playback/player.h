// The playback side of the library: the one open movie, from initDecoder to
// finalizeDecoder. It holds the input file, the movie's tracks and sample
// tables, the movie parameter block handed to the application and the
// video plug-in, and where track decoding and queue decoding stand.
#pragma once

#include <atomic>
#include <cstdint>

#include "codecs/plugin_registry.h"
#include "container/byte_reader.h"
#include "container/movie_context.h"
#include "container/parse_context.h"
#include "container/vendor_payload.h"
#include "mp4lib_plugin.h"
#include "platform/platform.h"
#include "playback/sample_queues.h"

namespace mp4lib::playback {

// Track decoding reads audio in slices of at most this many bytes.
constexpr std::uint32_t kAudioSliceBytes = 2048;

// What initDecoder accepts. The application sizes its buffers from what the
// parameter block reports and the library reads samples whole, so a file
// cannot ask for more than this:
constexpr std::uint32_t kMaxPictureSide = 8192;            // pixels, display and decoded
constexpr std::uint32_t kMaxSampleBytes = 64u << 20;       // one sample (or chunk) of a played track
constexpr std::uint32_t kMaxAudioRate = 384000;            // Hz
constexpr std::uint32_t kMaxAudioChannels = 8;
constexpr std::uint32_t kMaxAudioBitsPerSample = 32;

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

  // The time run the last time-to-entry search ended in; one for all tracks.
  std::int32_t cachedTimeRun = 0;
};

struct Player {
  std::atomic<bool> open{false};  // from a successful initDecoder to finalizeDecoder
  container::MovieContext movie{};
  MovieParams params{};  // its address goes to the application and the video plug-in
  container::InputFile input;
  std::int64_t fileLength = 0;  // bytes
  container::ParseFindings findings;
  PlaybackState playback;
  SampleQueues queues;
  // The vendor record handed to the video plug-in's initDecode: as read
  // from the file, or rebuilt from the tracks.
  std::uint8_t vendorRecord[container::kVendorPayloadBytes] = {};

  // Buffers of track decoding, grown on demand, freed at finalisation.
  std::uint8_t* sampleBuffer = nullptr;
  std::uint32_t sampleCapacity = 0;
  std::uint8_t* scratchBuffer = nullptr;
  std::uint32_t scratchCapacity = 0;
  std::uint8_t audioInput[2 * kAudioSliceBytes] = {};
};

// What playback works on: the player, the plug-ins (the decoders in use are
// theirs), the lock that serialises every seek-and-read of the file and the
// method the RGB16 pictures are made with.
struct Playback {
  Player& player;
  codecs::PluginRegistry& plugins;
  platform::CriticalSection& readLock;
  std::int32_t rgb16Method;
};

// The chosen tracks, or null when that kind is not enabled.
container::TrackRecord* videoTrack(Player& player);
container::TrackRecord* audioTrack(Player& player);

// Old files (format version 1, revision below 5) time audio in movie units.
std::uint32_t audioTimeScale(const Player& player);

// Back to the start of the movie: what initDecoder does last and resetDecoder
// ends with. Drops queued samples too.
void resetPlaybackState(Player& player);

// Reads an entry's bytes into a buffer grown to fit. False when the entry
// does not lie inside the file or the read fails. The caller holds the read
// lock.
bool readEntry(Player& player, const SampleEntry& entry, std::uint8_t** buffer, std::uint32_t* capacity);
// Whether an entry's bytes lie inside the file.
bool entryInsideFile(const Player& player, const SampleEntry& entry);

// Releases everything a (possibly half-done) set-up holds and closes the file.
void releasePlayer(Player& player);

// finalizeDecoder: releases the movie and finalizes the decoder plug-ins.
void closePlayer(Player& player, codecs::PluginRegistry& plugins);

}  // namespace mp4lib::playback
