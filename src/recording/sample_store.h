// Storing compressed samples in the file being recorded: through the
// buffered file with an entry in the track's sample table (3GP), or
// straight to the file (raw stream, no table). The file write and the byte
// counter are serialised by writeLock, so video and audio may be stored
// from two threads; each track must be fed by one thread.
#pragma once

#include <cstdint>

#include "platform/platform.h"
#include "recording/recorder.h"

namespace mp4lib::recording {

enum class SampleKind { kVideo, kAudio };

// Raw stream framing of an audio block: start code 00 00 01 B8, then the
// timestamp and the size in host order.
constexpr std::uint32_t kRawAudioHeaderBytes = 12;

// How a sample's store reacts to a failing file write.
enum class WriteFailure {
  kRefuse,  // nothing is recorded and the store reports failure
  kIgnore,  // the sample is recorded all the same (the one-step encode calls)
};

// True when a sample of this kind can be stored now: a file is open in a
// known container mode and, for 3GP, the track exists and its table has room
// for one more entry (grown here if needed).
bool readyToStore(Recorder& recorder, SampleKind kind);

// Stores one sample; readyToStore must have said yes. In a raw stream an
// audio block is framed with `ts` and the byte counter grows by the framing
// too when `countFraming` is set. False only for kRefuse when the write
// failed, or when an earlier write of the file (in the background, too) had
// lost bytes.
bool storeSample(Recorder& recorder, platform::CriticalSection& writeLock, SampleKind kind, const std::uint8_t* data,
                 std::uint32_t size, std::uint32_t ts, WriteFailure onFailure, bool countFraming);

}  // namespace mp4lib::recording
