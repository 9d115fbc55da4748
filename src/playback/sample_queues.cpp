#include "codecs/sample_queues.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "frame/library.h"
#include "reader/decoder_context.h"

namespace mp4lib::codecs {

namespace {

struct Ring {
  QueuedSample* slots;
  int capacity;
  int head;
  int count;
};

// Where the read-ahead stands in each track.
struct Cursor {
  bool audioPending = false;
  bool videoPending = false;
  std::int32_t nextAudio = 0;
  std::int32_t nextVideo = 0;
};

QueuedSample audioSlots[kAudioSlots];
QueuedSample videoSlots[kVideoSlots];
Ring audioRing{audioSlots, kAudioSlots, 0, 0};
Ring videoRing{videoSlots, kVideoSlots, 0, 0};
Cursor cursor;
std::atomic<bool> ended{false};
bool firstFrame = true;
RunCursor runCursor;

void emptyRing(Ring& ring) {
  for (int i = 0; i < ring.count; ++i) {
    QueuedSample& slot = ring.slots[(ring.head + i) % ring.capacity];
    std::free(slot.data);
    slot = QueuedSample{};
  }
  ring.head = 0;
  ring.count = 0;
}

bool take(Ring& ring, QueuedSample* sample) {
  if (ring.count == 0) return false;
  QueuedSample& slot = ring.slots[ring.head];
  *sample = slot;
  slot = QueuedSample{};
  ring.head = (ring.head + 1) % ring.capacity;
  --ring.count;
  return true;
}

// Bytes of an entry that the file holds: a sample reaching past the end of
// the file is cut short rather than read from outside it.
std::uint32_t bytesInFile(const SampleEntry& entry) {
  const std::int64_t fileLength = reader::decoderContext().fileLength;
  if (std::int64_t{entry.offset} >= fileLength) return 0;
  const std::int64_t room = fileLength - entry.offset;
  return room < entry.size ? static_cast<std::uint32_t>(room) : entry.size;
}

bool readOneSample(const frame::TrackRecord* track, bool* pending, std::int32_t* next, Ring& ring, bool video) {
  if (!*pending || track == nullptr) return false;
  if (*next >= track->sampleCount) {
    *pending = false;
    return false;
  }
  const SampleEntry& entry = track->samples[*next];
  const std::uint32_t size = bytesInFile(entry);
  auto* data = static_cast<std::uint8_t*>(std::calloc(size > 0 ? size : 1, 1));
  if (data == nullptr) return false;
  if (size > 0) {
    platform::Lock lock(frame::readLock());
    reader::InputFile& input = reader::decoderContext().input;
    reader::seekInput(input, entry.offset, SEEK_SET);
    reader::readBlock(input, data, size);
  }
  ring.slots[(ring.head + ring.count) % ring.capacity] = {size, video ? static_cast<std::uint32_t>(*next) : 0u, data};
  ++ring.count;
  if (++*next >= track->sampleCount) *pending = false;
  return true;
}

}  // namespace

void readAhead() {
  if (ended.load() || !reader::decoderOpen()) return;
  if (audioRing.count == kAudioSlots && videoRing.count == kVideoSlots) return;
  while (audioRing.count < kAudioSlots &&
         readOneSample(reader::audioTrack(), &cursor.audioPending, &cursor.nextAudio, audioRing, false)) {
  }
  while (videoRing.count < kVideoSlots &&
         readOneSample(reader::videoTrack(), &cursor.videoPending, &cursor.nextVideo, videoRing, true)) {
  }
  if (!cursor.audioPending && !cursor.videoPending) ended.store(true);
}

bool takeAudioSample(QueuedSample* sample) { return take(audioRing, sample); }
bool takeVideoSample(QueuedSample* sample) { return take(videoRing, sample); }
int audioQueued() { return audioRing.count; }
int videoQueued() { return videoRing.count; }
bool streamEnded() { return ended.load(); }

void resetSampleQueues(bool audioEnabled, bool videoEnabled) {
  // Queued samples are freed here rather than left behind with the slots
  // that forget them.
  emptyRing(audioRing);
  emptyRing(videoRing);
  cursor = Cursor{audioEnabled, videoEnabled, 0, 0};
  ended.store(false);
  firstFrame = true;
  runCursor = RunCursor{};
}

void freeSampleQueues() {
  emptyRing(audioRing);
  emptyRing(videoRing);
  cursor = Cursor{};
}

bool takeFirstFrameFlag() {
  const bool was = firstFrame;
  firstFrame = false;
  return was;
}

RunCursor& videoRunCursor() { return runCursor; }

}  // namespace mp4lib::codecs
