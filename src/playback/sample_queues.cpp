#include "playback/sample_queues.h"

#include "platform/memory.h"

namespace mp4lib::playback {

namespace {

void emptyRing(SampleRing& ring) {
  for (int i = 0; i < ring.count; ++i) {
    QueuedSample& slot = ring.slots[(ring.head + i) % ring.capacity];
    platform::release(slot.data);
    slot = QueuedSample{};
  }
  ring.head = 0;
  ring.count = 0;
}

}  // namespace

bool takeSample(SampleRing& ring, QueuedSample* sample) {
  if (ring.count == 0) return false;
  QueuedSample& slot = ring.slots[ring.head];
  *sample = slot;
  slot = QueuedSample{};
  ring.head = (ring.head + 1) % ring.capacity;
  --ring.count;
  return true;
}

void resetSampleQueues(SampleQueues& queues, bool audioEnabled, bool videoEnabled) {
  // Queued samples are freed here rather than left behind with the slots
  // that forget them.
  emptyRing(queues.audio);
  emptyRing(queues.video);
  queues.cursor = ReadAheadCursor{audioEnabled, videoEnabled, 0, 0};
  queues.ended.store(false);
  queues.firstFrame = true;
  queues.runCursor = RunCursor{};
}

void freeSampleQueues(SampleQueues& queues) {
  emptyRing(queues.audio);
  emptyRing(queues.video);
  queues.cursor = ReadAheadCursor{};
}

bool takeFirstFrameFlag(SampleQueues& queues) {
  const bool was = queues.firstFrame;
  queues.firstFrame = false;
  return was;
}

}  // namespace mp4lib::playback
