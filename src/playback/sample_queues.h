// The read-ahead queues of queue-driven decoding: samples of the open movie
// are read in file order into an 8-slot audio ring and a 16-slot video ring,
// each slot owning a heap copy of one sample until it is decoded.
#pragma once

#include <atomic>
#include <cstdint>

namespace mp4lib::playback {

constexpr int kAudioSlots = 8;
constexpr int kVideoSlots = 16;

struct QueuedSample {
  std::uint32_t size;   // bytes at data
  std::uint32_t index;  // video: the sample's number in its track; audio: 0. Readers use the low 8 bits.
  std::uint8_t* data;   // owned by the slot until taken
};

struct SampleRing {
  QueuedSample* slots;
  int capacity;
  int head;
  int count;
};

// Where the read-ahead stands in each track.
struct ReadAheadCursor {
  bool audioPending = false;
  bool videoPending = false;
  std::int32_t nextAudio = 0;
  std::int32_t nextVideo = 0;
};

// Which "stts" run the video samples taken so far have reached, and how many
// samples of it were taken.
struct RunCursor {
  std::int32_t run = 0;
  std::uint32_t taken = 0;
};

struct SampleQueues {
  QueuedSample audioSlots[kAudioSlots] = {};
  QueuedSample videoSlots[kVideoSlots] = {};
  SampleRing audio{audioSlots, kAudioSlots, 0, 0};
  SampleRing video{videoSlots, kVideoSlots, 0, 0};
  ReadAheadCursor cursor;
  std::atomic<bool> ended{false};  // every sample has been read into the queues
  bool firstFrame = true;          // the next video frame taken is the first after a reset
  RunCursor runCursor;

  SampleQueues() = default;
  SampleQueues(const SampleQueues&) = delete;
  SampleQueues& operator=(const SampleQueues&) = delete;
};

// Takes the oldest sample (the caller frees its data). False when empty.
bool takeSample(SampleRing& ring, QueuedSample* sample);

// Back to the first samples: queued data is freed, the read-ahead starts at
// sample 0 of the tracks that are enabled, the first-frame flag is set.
void resetSampleQueues(SampleQueues& queues, bool audioEnabled, bool videoEnabled);
// Frees what is queued and stops the read-ahead (the movie is closing).
void freeSampleQueues(SampleQueues& queues);

// The first video frame taken after a reset is timed 0.
bool takeFirstFrameFlag(SampleQueues& queues);

}  // namespace mp4lib::playback
