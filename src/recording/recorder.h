// The recording context from initEncoder to finalizeEncoder and the tracks
// of the file being recorded.
#pragma once

#include <cstdint>

#include "frame/movie_context.h"

namespace mp4lib::frame {

// Free bytes the current volume must have beyond this for initEncoder
// (only the low 32 bits of the free-byte count are compared).
constexpr std::uint32_t kMinFreeDiskBytes = 10000;

// The video or audio track of the recording, or null when the recording
// has none (no encoder context, no such flag, or no file prepared).
TrackRecord* videoRecordingTrack();
TrackRecord* audioRecordingTrack();

// True when the video track keeps per-frame timestamps (timing mode 1);
// otherwise every frame lasts 1 / frame rate.
bool timestampsDecideDurations();

// Test seam: replaces the free-space query of initEncoder (null restores
// the platform's).
using DiskSpaceQuery = bool (*)(std::uint64_t* freeToCaller, std::uint64_t* total);
void setDiskSpaceQueryForTesting(DiskSpaceQuery query);

}  // namespace mp4lib::frame
