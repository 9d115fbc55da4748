// Why the last initDecoder, initEncoder or createEncodeFile failed, in the
// words of the extension mp4libLastFailure: a code (MP4LIB_FAILURE_*) and a
// short English text.
#pragma once

#include <cstdint>

#include "playback/decoder_setup.h"
#include "recording/encoder_setup.h"

namespace mp4lib::api {

struct LastFailure {
  std::int32_t code = 0;
  char text[160] = {};
};

// Each of the three calls notes its outcome: a failure, or none.
void noteFailure(LastFailure& last, std::int32_t code, const char* text);
void noteOpenFailure(LastFailure& last, const playback::OpenReport& report);
void noteStartFailure(LastFailure& last, const recording::StartReport& report);

}  // namespace mp4lib::api
