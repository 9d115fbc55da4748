// The read-ahead queues of queue-driven decoding: samples of the open movie
// are read in file order into an 8-slot audio ring and a 16-slot video ring,
// each slot owning a heap copy of one sample until it is decoded.
#pragma once

#include <cstdint>

namespace mp4lib::codecs {

constexpr int kAudioSlots = 8;
constexpr int kVideoSlots = 16;

struct QueuedSample {
  std::uint32_t size;   // bytes at data
  std::uint32_t index;  // video: the sample's number in its track; audio: 0. Readers use the low 8 bits.
  std::uint8_t* data;   // owned by the slot until taken
};

// Fills both queues as far as they have room and samples remain; once
// neither track has samples left, the stream is at its end.
void readAhead();

// Takes the oldest sample (the caller frees its data). False when empty.
bool takeAudioSample(QueuedSample* sample);
bool takeVideoSample(QueuedSample* sample);

int audioQueued();
int videoQueued();
bool streamEnded();

// Back to the first samples: queued data is freed, the read-ahead starts at
// sample 0 of the tracks that are enabled, the first-frame flag is set.
void resetSampleQueues(bool audioEnabled, bool videoEnabled);
// Frees what is queued and stops the read-ahead (the movie is closing).
void freeSampleQueues();

// The first video frame taken after a reset is timed 0.
bool takeFirstFrameFlag();

// Which "stts" run the video samples taken so far have reached, and how many
// samples of it were taken.
struct RunCursor {
  std::int32_t run = 0;
  std::uint32_t taken = 0;
};
RunCursor& videoRunCursor();

}  // namespace mp4lib::codecs
